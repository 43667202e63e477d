"""Grava downloads reais do Chromium e do Firefox ESR numa casa falsa.

Chamado por ./gravar. Tudo fica em 127.0.0.1: um servidor HTTPS local responde a
vários nomes *.test, os navegadores rodam sem tela e o resultado (bancos, arquivos
baixados e verdade.tsv) vai para tests/navegadores/dados/.
"""

import configparser
import http.server
import json
import os
import shutil
import socket
import socketserver
import sqlite3
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse

RAIZ = "/tmp/tarrafa-gravacao"
CASA = RAIZ + "/casa"
TRAB = RAIZ + "/trabalho"  # certificados, registros, temporários: não vai para os dados
DOWN = CASA + "/Downloads"
CONFIG = CASA + "/.config"
CHROMIUM_DIR = CONFIG + "/chromium"
FIREFOX_DIR = CONFIG + "/mozilla/firefox"
AQUI = os.path.dirname(os.path.abspath(__file__))
DADOS = AQUI + "/dados"
PORTA_MARIONETTE = 2828
HOSTS = [
    "dl.arquivos.test", "cdn.espelho.test", "portal.exemplo.test",
    "app.planilhas.test", "app.desenho.test", "docs.fornecedor.test",
]


PROCESSOS = []  # navegadores abertos por nós; encerrados se algo falhar no meio


def encerrar_restantes():
    for p in PROCESSOS:
        if p.poll() is None:
            p.terminate()
            try:
                p.wait(20)
            except subprocess.TimeoutExpired:
                p.kill()


def porta_livre(porta):
    with socket.socket() as s:
        return s.connect_ex(("127.0.0.1", porta)) != 0


def log(*a):
    print("[gravar]", *a, flush=True)


def agora_ms():
    return int(time.time() * 1000)


# ---------------------------------------------------------------- conteúdo

def conteudo(rotulo, tamanho, tipo):
    """Bytes pequenos com a cara do tipo e tamanho exato (tamanhos distintos
    deixam os testes reconhecerem cada arquivo só pelo tamanho)."""
    cabeca = {
        "pdf": b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n",
        "csv": b"",
        "xlsx": b"PK\x03\x04",
        "gz": b"\x1f\x8b\x08\x00",
        "zip": b"PK\x03\x04",
    }[tipo]
    corpo = cabeca + ("%% tarrafa: %s\n" % rotulo).encode()
    linha = 0
    while len(corpo) < tamanho:
        if tipo == "csv":
            corpo += ("%d;%s;%d\n" % (linha, rotulo, linha * 7)).encode()
        else:
            corpo += ("%% linha %04d de %s\n" % (linha, rotulo)).encode()
        linha += 1
    return corpo[:tamanho]


def arquivo(nome, tamanho, tipo, mime):
    return {"tipo": "arquivo", "nome": nome, "corpo": conteudo(nome, tamanho, tipo), "mime": mime}


PDF = "application/pdf"
XLSX = "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"
CSV = "text/csv"

PAGINA_REDIR = """<!doctype html><meta charset="utf-8"><title>Portal</title>
<meta name="referrer" content="no-referrer-when-downgrade">
<p><a id="baixar" href="https://dl.arquivos.test/r/instalador">Baixar o instalador</a></p>
"""
PAGINA_DOWNLOADS = """<!doctype html><meta charset="utf-8"><title>Downloads do portal</title>
<meta name="referrer" content="no-referrer-when-downgrade">
<p><a id="baixar" href="https://dl.arquivos.test/tabelas/tabela.xlsx">Tabela de preços</a></p>
"""
def pagina_blob(linhas):
    dados = "produto;quantidade;preco\n" + "".join(
        "item %02d;%d;%d,%02d\n" % (i, i * 3, 10 + i, i) for i in range(linhas))
    return """<!doctype html><meta charset="utf-8"><title>Editor de planilhas</title>
<script>
// Exporta a planilha montada no próprio navegador, como um editor web faz.
window.exportar = function (nome) {
  const blob = new Blob([%s], {type: "text/csv"});
  const a = document.createElement("a");
  a.href = URL.createObjectURL(blob);
  a.download = nome;
  document.body.append(a);
  a.click();
  return a.href;
};
</script><p>Editor</p>
""" % json.dumps(dados)


def pagina_data(forma):
    svg = ('<svg xmlns="http://www.w3.org/2000/svg" width="64" height="64">%s</svg>' % forma)
    return """<!doctype html><meta charset="utf-8"><title>Desenho</title>
<script>
window.salvar = function (nome) {
  const a = document.createElement("a");
  a.href = %s;
  a.download = nome;
  document.body.append(a);
  a.click();
  return a.href;
};
</script><p>Desenho</p>
""" % json.dumps("data:image/svg+xml," + urllib.parse.quote(svg))


ROTAS = {
    # Chromium
    ("dl.arquivos.test", "/relatorio-2026.pdf"): arquivo("relatorio-2026.pdf", 3172, "pdf", PDF),
    ("portal.exemplo.test", "/pagina.html"): {"tipo": "html", "corpo": PAGINA_REDIR},
    ("dl.arquivos.test", "/r/instalador"): {
        "tipo": "redir", "para": "https://cdn.espelho.test/pub/instalador-1.4.tar.gz"},
    ("cdn.espelho.test", "/pub/instalador-1.4.tar.gz"):
        arquivo("instalador-1.4.tar.gz", 4099, "gz", "application/gzip"),
    ("dl.arquivos.test", "/doc/relatorio-anual"):
        arquivo("Relatório anual — versão final.pdf", 2741, "pdf", PDF),
    ("dl.arquivos.test", "/exportar/dados.csv"): arquivo("dados.csv", 1530, "csv", CSV),
    ("app.planilhas.test", "/editor.html"): {"tipo": "html", "corpo": pagina_blob(60)},
    ("app.desenho.test", "/"): {
        "tipo": "html", "corpo": pagina_data('<circle cx="32" cy="32" r="20" fill="teal"/>')},
    ("dl.arquivos.test", "/contratos/contrato.pdf"): arquivo("contrato.pdf", 2205, "pdf", PDF),
    ("dl.arquivos.test", "/faturas/a8f3c2e1d9.pdf"): arquivo("a8f3c2e1d9.pdf", 1877, "pdf", PDF),
    ("dl.arquivos.test", "/perfil2/planilha-perfil2.xlsx"):
        arquivo("planilha-perfil2.xlsx", 2468, "xlsx", XLSX),
    ("dl.arquivos.test", "/lento/backup-fotos.zip"): {
        "tipo": "lento", "nome": "backup-fotos.zip", "mime": "application/zip"},
    # Firefox
    ("docs.fornecedor.test", "/manual.pdf"): arquivo("manual.pdf", 3390, "pdf", PDF),
    ("portal.exemplo.test", "/downloads.html"): {"tipo": "html", "corpo": PAGINA_DOWNLOADS},
    ("dl.arquivos.test", "/tabelas/tabela.xlsx"): arquivo("tabela.xlsx", 2922, "xlsx", XLSX),
    ("dl.arquivos.test", "/orcamento"): arquivo("Orçamento São João.pdf", 2613, "pdf", PDF),
    ("dl.arquivos.test", "/boletos/boleto.pdf"): arquivo("boleto.pdf", 1999, "pdf", PDF),
    ("dl.arquivos.test", "/notas/7c1e9b0a.pdf"): arquivo("7c1e9b0a.pdf", 2087, "pdf", PDF),
    ("dl.arquivos.test", "/extratos/extrato-marco.pdf"):
        arquivo("extrato-marco.pdf", 1766, "pdf", PDF),
    ("dl.arquivos.test", "/propostas/proposta.pdf"): arquivo("proposta.pdf", 2350, "pdf", PDF),
    ("dl.arquivos.test", "/comprovantes/comprovante.pdf"):
        arquivo("comprovante.pdf", 1655, "pdf", PDF),
    ("app.planilhas.test", "/editor-ff.html"): {"tipo": "html", "corpo": pagina_blob(45)},
    ("app.desenho.test", "/ff.html"): {
        "tipo": "html", "corpo": pagina_data('<rect x="8" y="8" width="48" height="40" fill="navy"/>')},
    ("docs.fornecedor.test", "/grupo-segundo.pdf"): arquivo("grupo-segundo.pdf", 2531, "pdf", PDF),
}


class Manipulador(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, fmt, *args):
        with open(TRAB + "/servidor.log", "a") as f:
            f.write("%s %s\n" % (self.headers.get("Host", "?"), fmt % args))

    def do_GET(self):
        host = (self.headers.get("Host") or "").split(":")[0]
        caminho = urllib.parse.urlsplit(self.path).path
        rota = ROTAS.get((host, caminho))
        if rota is None:
            self.responder(404, b"nada aqui\n", "text/plain")
            return
        t = rota["tipo"]
        if t == "html":
            self.responder(200, rota["corpo"].encode(), "text/html; charset=utf-8")
        elif t == "redir":
            self.send_response(302)
            self.send_header("Location", rota["para"])
            self.send_header("Content-Length", "0")
            self.end_headers()
        elif t == "arquivo":
            self.responder(200, rota["corpo"], rota["mime"], rota["nome"])
        elif t == "lento":
            # Nunca termina sozinho: manda um pouco a cada meio segundo até o
            # navegador desistir, para dar tempo de cancelar no meio.
            self.send_response(200)
            self.send_header("Content-Type", rota["mime"])
            self.send_header("Content-Length", str(50 * 1024 * 1024))
            self.send_header("Content-Disposition", disposicao(rota["nome"]))
            self.end_headers()
            try:
                for _ in range(600):
                    self.wfile.write(b"\0" * 8192)
                    self.wfile.flush()
                    time.sleep(0.5)
            except OSError:
                pass
            self.close_connection = True

    def responder(self, codigo, corpo, mime, nome=None):
        self.send_response(codigo)
        self.send_header("Content-Type", mime)
        self.send_header("Content-Length", str(len(corpo)))
        if nome:
            self.send_header("Content-Disposition", disposicao(nome))
        self.end_headers()
        self.wfile.write(corpo)


def disposicao(nome):
    ascii_ = nome.encode("ascii", "replace").decode().replace("?", "_")
    return "attachment; filename=\"%s\"; filename*=UTF-8''%s" % (
        ascii_, urllib.parse.quote(nome, safe=""))


class Servidor(socketserver.ThreadingMixIn, http.server.HTTPServer):
    daemon_threads = True
    allow_reuse_address = True

    def handle_error(self, request, client_address):
        # Os serviços de fundo do Firefox também caem aqui (todo nome vira
        # 127.0.0.1) e recusam o certificado: só registra.
        with open(TRAB + "/servidor.log", "a") as f:
            f.write("erro de conexão: %r\n" % (sys.exc_info()[1],))


def criar_certificados():
    """CA descartável e um certificado de servidor para todos os nomes *.test."""
    d = TRAB + "/ca"
    os.makedirs(d, exist_ok=True)
    run = lambda *a: subprocess.run(a, check=True, capture_output=True)
    run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30",
        "-keyout", d + "/ca.key", "-out", d + "/ca.crt", "-subj", "/CN=Tarrafa gravacao CA",
        "-addext", "basicConstraints=critical,CA:TRUE",
        "-addext", "keyUsage=critical,keyCertSign,cRLSign")
    with open(d + "/ext.cnf", "w") as f:
        f.write("basicConstraints=CA:FALSE\nkeyUsage=digitalSignature,keyEncipherment\n"
                "extendedKeyUsage=serverAuth\nsubjectAltName=%s\n"
                % ",".join("DNS:" + h for h in HOSTS))
    run("openssl", "req", "-newkey", "rsa:2048", "-nodes", "-keyout", d + "/srv.key",
        "-out", d + "/srv.csr", "-subj", "/CN=dl.arquivos.test")
    run("openssl", "x509", "-req", "-in", d + "/srv.csr", "-CA", d + "/ca.crt",
        "-CAkey", d + "/ca.key", "-CAcreateserial", "-days", "30",
        "-extfile", d + "/ext.cnf", "-out", d + "/srv.crt")
    return d


def confiar_ca(nssdb, ca):
    """Confia na CA só neste banco NSS (o da casa falsa ou o do perfil)."""
    os.makedirs(nssdb, exist_ok=True)
    if not os.path.exists(nssdb + "/cert9.db"):
        subprocess.run(["certutil", "-d", "sql:" + nssdb, "-N", "--empty-password"], check=True)
    subprocess.run(["certutil", "-d", "sql:" + nssdb, "-A", "-t", "C,,", "-n",
                    "tarrafa-gravacao", "-i", ca + "/ca.crt"], check=True)


def iniciar_servidor(ca):
    srv = Servidor(("127.0.0.1", 443), Manipulador)
    ctx = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    ctx.load_cert_chain(ca + "/srv.crt", ca + "/srv.key")
    srv.socket = ctx.wrap_socket(srv.socket, server_side=True)
    threading.Thread(target=srv.serve_forever, daemon=True).start()
    return srv


# ---------------------------------------------------------------- ambiente

def ambiente():
    env = dict(os.environ)
    for k in list(env):
        if k.startswith(("XDG_", "DBUS_", "WAYLAND", "MOZ_", "CHROME_")) or k == "DISPLAY":
            del env[k]
    env.update({
        "HOME": CASA,
        "XDG_CONFIG_HOME": CONFIG,
        "XDG_DATA_HOME": CASA + "/.local/share",
        "XDG_CACHE_HOME": CASA + "/.cache",
        "XDG_DOWNLOAD_DIR": DOWN,
        "TMPDIR": TRAB + "/tmp",
        "LANG": "C.UTF-8",
        "LC_ALL": "C.UTF-8",
        "TZ": "UTC",
    })
    return env


# ---------------------------------------------------------------- Chromium

class Cdp:
    """DevTools pelo par de pipes (--remote-debugging-pipe): mensagens JSON
    terminadas por NUL, sem precisar de websocket nem de pacotes externos."""

    def __init__(self, perfil, registro):
        import fcntl
        a_le, a_escreve = os.pipe()   # nós escrevemos, o Chromium lê no fd 3
        b_le, b_escreve = os.pipe()   # o Chromium escreve no fd 4, nós lemos
        alto = [fcntl.fcntl(fd, fcntl.F_DUPFD, 50) for fd in (a_le, b_escreve)]
        os.close(a_le)
        os.close(b_escreve)

        def filho():
            os.dup2(alto[0], 3)
            os.dup2(alto[1], 4)

        args = [
            "/usr/bin/chromium", "--headless", "--no-sandbox",
            "--user-data-dir=" + CHROMIUM_DIR, "--profile-directory=" + perfil,
            "--remote-debugging-pipe",
            "--host-resolver-rules=MAP *.test 127.0.0.1, MAP * ~NOTFOUND",
            "--disable-background-networking", "--disable-component-update",
            "--disable-sync", "--no-first-run", "--disable-gpu", "--disable-quic",
            "--no-default-browser-check", "--password-store=basic",
            "--disable-features=MediaRouter,OptimizationHints,Translate",
            "about:blank",
        ]
        self.proc = subprocess.Popen(args, env=ambiente(), preexec_fn=filho, pass_fds=(3, 4),
                                     stdout=registro, stderr=registro)
        PROCESSOS.append(self.proc)
        os.close(alto[0])
        os.close(alto[1])
        self.saida = os.fdopen(a_escreve, "wb", buffering=0)
        self.entrada = os.fdopen(b_le, "rb", buffering=0)
        self.proximo = 0
        self.respostas = {}
        self.eventos = []
        self.cond = threading.Condition()
        threading.Thread(target=self._ler, daemon=True).start()

    def _ler(self):
        buf = b""
        while True:
            pedaco = self.entrada.read(65536)
            if not pedaco:
                break
            buf += pedaco
            while b"\0" in buf:
                msg, buf = buf.split(b"\0", 1)
                m = json.loads(msg)
                with self.cond:
                    if "id" in m:
                        self.respostas[m["id"]] = m
                    else:
                        m["_ms"] = agora_ms()
                        self.eventos.append(m)
                    self.cond.notify_all()

    def cmd(self, metodo, params=None, sessao=None, prazo=30):
        with self.cond:
            self.proximo += 1
            n = self.proximo
        m = {"id": n, "method": metodo, "params": params or {}}
        if sessao:
            m["sessionId"] = sessao
        self.saida.write(json.dumps(m).encode() + b"\0")
        with self.cond:
            if not self.cond.wait_for(lambda: n in self.respostas, prazo):
                raise RuntimeError("CDP sem resposta: " + metodo)
            r = self.respostas.pop(n)
        if "error" in r:
            raise RuntimeError("%s: %s" % (metodo, r["error"]))
        return r["result"]

    def esperar_evento(self, pred, prazo=60, desde=0):
        with self.cond:
            achado = []

            def ok():
                for e in self.eventos[desde:]:
                    if pred(e):
                        achado.append(e)
                        return True
                return False
            if not self.cond.wait_for(ok, prazo):
                raise RuntimeError("evento não chegou")
            return achado[0]


class Chromium:
    def __init__(self, perfil):
        self.perfil = perfil
        os.makedirs(CHROMIUM_DIR + "/" + perfil, exist_ok=True)
        pref = CHROMIUM_DIR + "/" + perfil + "/Preferences"
        if not os.path.exists(pref):
            # O que o usuário teria escolhido nas configurações: baixar direto na pasta.
            with open(pref, "w") as f:
                json.dump({"download": {"default_directory": DOWN, "prompt_for_download": False,
                                        "directory_upgrade": True}}, f)
        self.registro = open(TRAB + "/chromium-%s.log" % perfil.replace(" ", "_"), "ab")
        self.cdp = Cdp(perfil, self.registro)
        # "default" deixa o próprio Chromium escolher nome e pasta (a do
        # Preferences) e só liga os eventos. Com "allow" + downloadPath ele
        # sobrescreve dados.csv em vez de criar "dados (1).csv".
        self.cdp.cmd("Browser.setDownloadBehavior", {"behavior": "default", "eventsEnabled": True})
        self.alvo = None
        self.downloads = []

    def nova_aba(self):
        """Cada cenário numa aba nova, como quem abre uma aba e digita o endereço."""
        velho = self.alvo
        self.alvo = self.cdp.cmd("Target.createTarget", {"url": "about:blank"})["targetId"]
        self.sessao = self.cdp.cmd("Target.attachToTarget",
                                   {"targetId": self.alvo, "flatten": True})["sessionId"]
        self.cdp.cmd("Page.enable", sessao=self.sessao)
        if velho:
            self.cdp.cmd("Target.closeTarget", {"targetId": velho})

    def navegar(self, url, tipo="typed"):
        if not self.alvo:
            self.nova_aba()
        self.cdp.cmd("Page.navigate", {"url": url, "transitionType": tipo}, sessao=self.sessao)

    def carregar(self, url):
        n = len(self.cdp.eventos)
        self.navegar(url)
        self.cdp.esperar_evento(lambda e: e.get("method") == "Page.loadEventFired", desde=n)

    def avaliar(self, expr):
        r = self.cdp.cmd("Runtime.evaluate", {"expression": expr, "userGesture": True,
                                              "returnByValue": True}, sessao=self.sessao)
        return r.get("result", {}).get("value")

    def baixar(self, disparar, cancelar=False):
        """Dispara um download e espera o fim (ou cancela no meio)."""
        n = len(self.cdp.eventos)
        disparar()
        ini = self.cdp.esperar_evento(lambda e: e.get("method") == "Browser.downloadWillBegin",
                                      desde=n)["params"]
        guid = ini["guid"]
        if cancelar:
            self.cdp.esperar_evento(
                lambda e: e.get("method") == "Browser.downloadProgress"
                and e["params"]["guid"] == guid and e["params"].get("receivedBytes", 0) > 30000,
                desde=n)
            self.cdp.cmd("Browser.cancelDownload", {"guid": guid})
        fim = self.cdp.esperar_evento(
            lambda e: e.get("method") == "Browser.downloadProgress"
            and e["params"]["guid"] == guid and e["params"]["state"] != "inProgress", desde=n)
        d = {"guid": guid, "url": ini["url"], "sugerido": ini.get("suggestedFilename"),
             "estado": fim["params"]["state"], "caminho": fim["params"].get("filePath"),
             "fim_ms": fim["_ms"], "bytes": fim["params"].get("receivedBytes")}
        log("chromium/%s:" % self.perfil, d["estado"], d["caminho"], d["url"][:90])
        self.downloads.append(d)
        return d

    def fechar(self, espera=16):
        # A linha do download chega ao History uns 10 s depois do fim.
        log("chromium: esperando %d s para o History receber as linhas" % espera)
        time.sleep(espera)
        try:
            self.cdp.cmd("Browser.close")
        except RuntimeError:
            pass
        self.cdp.proc.wait(60)
        log("chromium saiu com", self.cdp.proc.returncode)


# ---------------------------------------------------------------- Firefox

class Marionette:
    """Cliente mínimo do protocolo do Marionette: 'tamanho:json' sobre TCP."""

    def __init__(self, porta=PORTA_MARIONETTE, prazo=90):
        fim = time.time() + prazo
        while True:
            try:
                self.s = socket.create_connection(("127.0.0.1", porta), timeout=5)
                break
            except OSError:
                if time.time() > fim:
                    raise
                time.sleep(0.5)
        self.s.settimeout(120)
        self.buf = b""
        self._receber()  # cumprimento do servidor
        self.n = 0

    def _receber(self):
        while b":" not in self.buf:
            self.buf += self._ler()
        tam, resto = self.buf.split(b":", 1)
        tam = int(tam)
        while len(resto) < tam:
            resto += self._ler()
        self.buf = resto[tam:]
        return json.loads(resto[:tam])

    def _ler(self):
        p = self.s.recv(65536)
        if not p:
            raise EOFError("Marionette fechou a conexão")
        return p

    def cmd(self, nome, params=None):
        self.n += 1
        msg = json.dumps([0, self.n, nome, params or {}]).encode()
        self.s.sendall(str(len(msg)).encode() + b":" + msg)
        while True:
            r = self._receber()
            if r[0] == 1 and r[1] == self.n:
                break
        if r[2]:
            raise RuntimeError("%s: %s" % (nome, r[2]))
        return r[3]

    def script(self, corpo, args=None, contexto="content"):
        self.cmd("Marionette:SetContext", {"value": contexto})
        r = self.cmd("WebDriver:ExecuteScript",
                     {"script": corpo, "args": args or [], "newSandbox": False})
        return r.get("value")


JS_DOWNLOADS = """
return (async () => {
  const { Downloads } = ChromeUtils.importESModule("resource://gre/modules/Downloads.sys.mjs");
  const lista = await Downloads.getList(Downloads.ALL);
  return (await lista.getAll()).map(d => ({
    url: d.source.url, caminho: d.target.path, ok: d.succeeded, parado: d.stopped,
    cancelado: d.canceled, erro: d.error ? String(d.error) : null,
    inicio: d.startTime ? d.startTime.getTime() : null, bytes: d.target.size || 0,
    referrer: d.source.referrerInfo ? String(d.source.referrerInfo.originalReferrer ? d.source.referrerInfo.originalReferrer.spec : "") : ""
  }));
})();
"""


class Firefox:
    def __init__(self, perfil_dir=None, nome="?"):
        self.nome = nome
        # Contexto "chrome" (APIs internas de downloads, histórico e perfis)
        # exige -remote-allow-system-access desde o Firefox 138.
        args = ["/usr/bin/firefox-esr", "--headless", "--marionette",
                "-remote-allow-system-access", "--no-remote"]
        if perfil_dir:
            args += ["--profile", perfil_dir]
        self.registro = open(TRAB + "/firefox-%s.log" % nome, "ab")
        if not porta_livre(PORTA_MARIONETTE):
            raise RuntimeError("a porta %d do Marionette já está em uso" % PORTA_MARIONETTE)
        self.proc = subprocess.Popen(args, env=ambiente(), stdout=self.registro,
                                     stderr=self.registro)
        PROCESSOS.append(self.proc)
        self.m = Marionette()
        self.m.cmd("WebDriver:NewSession",
                   {"capabilities": {"alwaysMatch": {"pageLoadStrategy": "none",
                                                     "acceptInsecureCerts": False}}})
        self.downloads = []
        # O Firefox só grava a anotação downloads/metaData (estado, tamanho, fim)
        # depois que a camada de downloads da janela inicia, numa tarefa ociosa
        # após a abertura. Um download antes disso fica sem ela; abrir o painel
        # de downloads inicia na hora, e é o que se faz aqui.
        self.m.script("""
          const { DownloadsCommon } = ChromeUtils.importESModule(
            "moz-src:///browser/components/downloads/DownloadsCommon.sys.mjs");
          DownloadsCommon.initializeAllDataLinks();
          return null;""", contexto="chrome")
        time.sleep(1)

    def lista(self):
        return self.m.script(JS_DOWNLOADS, contexto="chrome")

    def navegar(self, url):
        # Digitar na barra de endereços: é o caminho do usuário, e o
        # WebDriver:Navigate fica esperando para sempre quando o endereço é um download.
        self.m.script("""
          const w = Services.wm.getMostRecentBrowserWindow();
          w.gURLBar.value = arguments[0];
          w.gURLBar.handleCommand();
          return null;""", [url], contexto="chrome")

    def carregar(self, url):
        self.navegar(url)
        fim = time.time() + 30
        while time.time() < fim:
            try:
                if self.m.script("return document.readyState + ' ' + location.href;") \
                        == "complete " + url:
                    return
            except RuntimeError:
                pass
            time.sleep(0.3)
        raise RuntimeError("página não carregou: " + url)

    def baixar(self, disparar):
        antes = len(self.lista())
        disparar()
        fim = time.time() + 60
        while time.time() < fim:
            todos = self.lista()
            if len(todos) > antes and todos[antes]["parado"]:
                d = dict(todos[antes])
                d["fim_ms"] = agora_ms()
                log("firefox/%s:" % self.nome, "ok" if d["ok"] else d["erro"], d["caminho"],
                    d["url"][:90])
                self.downloads.append(d)
                return d
            time.sleep(0.2)
        raise RuntimeError("download do Firefox não terminou")

    def sair(self):
        try:
            self.m.cmd("Marionette:Quit", {"flags": ["eAttemptQuit"]})
        except (RuntimeError, EOFError, OSError):
            pass
        self.proc.wait(90)
        log("firefox/%s saiu com" % self.nome, self.proc.returncode)


PREFS_FIREFOX = {
    "browser.download.folderList": 2,
    "browser.download.dir": DOWN,
    "browser.download.useDownloadDir": True,
    "browser.download.always_ask_before_handling_new_types": False,
    "browser.download.start_downloads_in_tmp_dir": False,
    "browser.download.alwaysOpenPanel": False,
    "browser.helperApps.neverAsk.saveToDisk": ",".join(
        [PDF, XLSX, CSV, "image/svg+xml", "application/zip", "application/gzip",
         "application/octet-stream"]),
    "pdfjs.disabled": True,
    "network.dns.forceResolve": "127.0.0.1",
    "network.trr.mode": 5,
    "network.captive-portal-service.enabled": False,
    "network.connectivity-service.enabled": False,
    "network.prefetch-next": False,
    "network.dns.disablePrefetch": True,
    "marionette.port": PORTA_MARIONETTE,
    "browser.safebrowsing.malware.enabled": False,
    "browser.safebrowsing.phishing.enabled": False,
    "browser.safebrowsing.downloads.enabled": False,
    "browser.safebrowsing.downloads.remote.enabled": False,
    "browser.safebrowsing.blockedURIs.enabled": False,
    "browser.safebrowsing.update.enabled": False,
    "app.update.auto": False,
    "app.update.enabled": False,
    "app.normandy.enabled": False,
    "extensions.update.enabled": False,
    "extensions.getAddons.cache.enabled": False,
    "datareporting.policy.dataSubmissionEnabled": False,
    "datareporting.healthreport.uploadEnabled": False,
    "toolkit.telemetry.enabled": False,
    "toolkit.telemetry.unified": False,
    "browser.ping-centre.telemetry": False,
    "browser.newtabpage.enabled": False,
    "browser.newtabpage.activity-stream.feeds.system.topstories": False,
    "browser.startup.page": 0,
    "browser.startup.homepage": "about:blank",
    "browser.shell.checkDefaultBrowser": False,
    "browser.aboutwelcome.enabled": False,
    "browser.region.update.enabled": False,
    "services.settings.server": "https://127.0.0.1/",
    "security.OCSP.enabled": 0,
    "browser.profiles.enabled": True,
}


def escrever_userjs(perfil_dir):
    with open(perfil_dir + "/user.js", "w") as f:
        for k, v in PREFS_FIREFOX.items():
            f.write("user_pref(%s, %s);\n" % (json.dumps(k), json.dumps(v)))


def ler_ini(caminho):
    c = configparser.RawConfigParser()
    c.optionxform = str
    c.read(caminho)
    return c


# ---------------------------------------------------------------- cenários

verdade = []  # dicionários; arquivo final e mtime preenchidos no fim


def linha(arquivo, navegador, perfil, cenario, url, pagina, origem, fim_ms):
    verdade.append({"arquivo": arquivo, "navegador": navegador, "perfil": perfil,
                    "cenario": cenario, "url": url, "pagina": pagina,
                    "origem_esperada": origem, "fim_ms": fim_ms})


def gravar_chromium(ca):
    confiar_ca(CASA + "/.pki/nssdb", ca)
    c = Chromium("Default")
    # O navegador precisa de um instante para o download-behavior valer em toda janela.
    time.sleep(1)

    def digitado(url):
        c.nova_aba()
        return c.baixar(lambda: c.navegar(url))

    def pagina(url):
        c.nova_aba()
        c.carregar(url)

    u = "https://dl.arquivos.test/relatorio-2026.pdf"
    d = digitado(u)
    linha(os.path.basename(d["caminho"]), "chromium", "Default", "simples", u, "", u, d["fim_ms"])

    pag = "https://portal.exemplo.test/pagina.html"
    pagina(pag)
    d = c.baixar(lambda: c.avaliar("document.getElementById('baixar').click()"))
    final = "https://cdn.espelho.test/pub/instalador-1.4.tar.gz"
    linha(os.path.basename(d["caminho"]), "chromium", "Default", "redirecionamento", final, pag,
          final, d["fim_ms"])

    u = "https://dl.arquivos.test/doc/relatorio-anual"
    d = digitado(u)
    linha(os.path.basename(d["caminho"]), "chromium", "Default", "nao-ascii", u, "", u, d["fim_ms"])

    u = "https://dl.arquivos.test/exportar/dados.csv"
    for _ in range(2):
        d = digitado(u)
        linha(os.path.basename(d["caminho"]), "chromium", "Default", "colisao", u, "", u,
              d["fim_ms"])

    pag = "https://app.planilhas.test/editor.html"
    pagina(pag)
    d = c.baixar(lambda: c.avaliar("exportar('export.csv')"))
    linha(os.path.basename(d["caminho"]), "chromium", "Default", "blob", d["url"], pag,
          d["url"][len("blob:"):], d["fim_ms"])

    pag = "https://app.desenho.test/"
    pagina(pag)
    d = c.baixar(lambda: c.avaliar("salvar('desenho.svg')"))
    linha(os.path.basename(d["caminho"]), "chromium", "Default", "data", d["url"], pag, pag,
          d["fim_ms"])

    u = "https://dl.arquivos.test/contratos/contrato.pdf"
    d = digitado(u)
    linha(os.path.basename(d["caminho"]), "chromium", "Default", "substituido", u, "", "-",
          d["fim_ms"])

    u = "https://dl.arquivos.test/faturas/a8f3c2e1d9.pdf"
    d = digitado(u)
    linha(os.path.basename(d["caminho"]), "chromium", "Default", "renomeado", u, "", u,
          d["fim_ms"])

    u = "https://dl.arquivos.test/lento/backup-fotos.zip"
    c.nova_aba()
    d = c.baixar(lambda: c.navegar(u), cancelar=True)
    if d["estado"] != "canceled":
        raise RuntimeError("o download lento não ficou cancelado: %s" % d["estado"])
    linha("backup-fotos.zip", "chromium", "Default", "cancelado", u, "", "-", d["fim_ms"])
    c.fechar()

    # Segundo perfil: o próprio Chromium o cadastra no Local State ao abrir.
    c2 = Chromium("Profile 1")
    time.sleep(1)
    u = "https://dl.arquivos.test/perfil2/planilha-perfil2.xlsx"
    d = c2.baixar(lambda: c2.navegar(u))
    linha(os.path.basename(d["caminho"]), "chromium", "Profile 1", "perfil2", u, "", u,
          d["fim_ms"])
    c2.fechar()


def localizar_perfil_padrao():
    ini = ler_ini(FIREFOX_DIR + "/installs.ini")
    sec = ini.sections()[0]
    rel = ini.get(sec, "Default")
    return os.path.join(FIREFOX_DIR, rel)


def copiar_em_execucao(perfil_dir, url):
    """Copia places.sqlite e o -wal com o Firefox ainda aberto, como um leitor faria."""
    destino = TRAB + "/em-execucao"
    shutil.rmtree(destino, ignore_errors=True)
    os.makedirs(destino)
    # Principal e depois o -wal, como faria um leitor; o chamador já esperou o
    # navegador ficar quieto para as duas cópias serem do mesmo momento.
    shutil.copyfile(perfil_dir + "/places.sqlite", destino + "/places.sqlite")
    shutil.copyfile(perfil_dir + "/places.sqlite-wal", destino + "/places.sqlite-wal")
    so_principal = anotacao_destino(destino, url, com_wal=False)
    com_wal = anotacao_destino(destino, url, com_wal=True)
    log("em execução: sem o wal ->", so_principal, "; com o wal ->", com_wal)
    return destino, so_principal, com_wal


def anotacao_destino(pasta, url, com_wal):
    """Lê a anotação downloads/destinationFileURI de uma cópia descartável."""
    with tempfile.TemporaryDirectory(dir=TRAB) as t:
        shutil.copyfile(pasta + "/places.sqlite", t + "/places.sqlite")
        if com_wal:
            shutil.copyfile(pasta + "/places.sqlite-wal", t + "/places.sqlite-wal")
        con = sqlite3.connect(t + "/places.sqlite")
        try:
            r = con.execute(
                "SELECT a.content FROM moz_annos a JOIN moz_anno_attributes n ON n.id=a.anno_attribute_id"
                " JOIN moz_places p ON p.id=a.place_id"
                " WHERE n.name='downloads/destinationFileURI' AND p.url=?", (url,)).fetchone()
        finally:
            con.close()
        return r[0] if r else None


def gravar_firefox(ca):
    # Primeira abertura sem --profile: o Firefox cria o perfil dele mesmo em
    # $XDG_CONFIG_HOME/mozilla/firefox, com profiles.ini e installs.ini.
    f = Firefox(nome="primeira")
    f.sair()
    perfil = localizar_perfil_padrao()
    nome_perfil = os.path.basename(perfil)
    log("perfil do Firefox:", perfil)
    escrever_userjs(perfil)
    confiar_ca(perfil, ca)

    f = Firefox(nome="original")
    time.sleep(2)
    def digitado(url):
        return f.baixar(lambda: f.navegar(url))

    def nome(d):
        return os.path.basename(d["caminho"])

    u = "https://docs.fornecedor.test/manual.pdf"
    d = digitado(u)
    linha(nome(d), "firefox", nome_perfil, "simples", u, "", u, d["fim_ms"])

    pag = "https://portal.exemplo.test/downloads.html"
    f.carregar(pag)
    d = f.baixar(lambda: f.m.script("document.getElementById('baixar').click();"))
    u = "https://dl.arquivos.test/tabelas/tabela.xlsx"
    linha(nome(d), "firefox", nome_perfil, "referencia", u, pag, u, d["fim_ms"])

    u = "https://dl.arquivos.test/orcamento"
    d = digitado(u)
    linha(nome(d), "firefox", nome_perfil, "nao-ascii", u, "", u, d["fim_ms"])

    u = "https://dl.arquivos.test/boletos/boleto.pdf"
    for _ in range(2):
        d = digitado(u)
        linha(nome(d), "firefox", nome_perfil, "duas-vezes", u, "", u, d["fim_ms"])

    u = "https://dl.arquivos.test/notas/7c1e9b0a.pdf"
    d = digitado(u)
    linha(nome(d), "firefox", nome_perfil, "renomeado", u, "", u, d["fim_ms"])

    u = "https://dl.arquivos.test/propostas/proposta.pdf"
    d = digitado(u)
    linha(nome(d), "firefox", nome_perfil, "substituido", u, "", "-", d["fim_ms"])

    pag = "https://app.planilhas.test/editor-ff.html"
    f.carregar(pag)
    d = f.baixar(lambda: f.m.script("return exportar('planilha-exportada.csv');"))
    # O Firefox não guarda endereços blob: nem data: no histórico (nem a página
    # que os criou): o arquivo fica sem origem para quem lê o places.sqlite.
    linha(nome(d), "firefox", nome_perfil, "blob", d["url"], pag, "-", d["fim_ms"])

    pag = "https://app.desenho.test/ff.html"
    f.carregar(pag)
    d = f.baixar(lambda: f.m.script("return salvar('rabisco.svg');"))
    linha(nome(d), "firefox", nome_perfil, "data", d["url"], pag, "-", d["fim_ms"])

    u = "https://dl.arquivos.test/extratos/extrato-marco.pdf"
    d = digitado(u)
    linha(nome(d), "firefox", nome_perfil, "removido", u, "", "-", d["fim_ms"])
    time.sleep(2)
    # O usuário apaga essa entrada do histórico; o arquivo fica na pasta.
    f.m.script("""
      const { PlacesUtils } = ChromeUtils.importESModule("resource://gre/modules/PlacesUtils.sys.mjs");
      return PlacesUtils.history.remove(arguments[0]).then(r => String(r));
    """, [u], contexto="chrome")

    f.sair()

    # Reabre para o caso "em execução": a saída limpa passou tudo para o
    # places.sqlite, então o -wal desta sessão só tem o que vem a seguir
    # (e fica pequeno o bastante para entrar nos dados).
    f = Firefox(nome="em-execucao")
    time.sleep(3)
    u = "https://dl.arquivos.test/comprovantes/comprovante.pdf"
    d = digitado(u)
    linha(nome(d), "firefox", nome_perfil, "em-execucao", u, "", u, d["fim_ms"])
    time.sleep(4)  # a anotação de destino é gravada logo após o fim
    snap = copiar_em_execucao(perfil, u)
    if snap[1] is not None or snap[2] is None:
        raise RuntimeError("a cópia em execução não ficou com o download só no -wal")

    # Grupo de perfis: o próprio serviço de perfis do Firefox cria o banco do
    # grupo e um segundo perfil, como o botão "Novo perfil" faria.
    segundo = f.m.script("""
      return (async () => {
        const { SelectableProfileService } = ChromeUtils.importESModule(
          "resource:///modules/profiles/SelectableProfileService.sys.mjs");
        const p = await SelectableProfileService.createNewProfile(false);
        const todos = await SelectableProfileService.getAllProfiles();
        return { caminho: (await p.rootDir).path, storeID: SelectableProfileService.storeID,
                 todos: todos.map(x => [x.id, x.name, x.path]) };
      })();
    """, contexto="chrome")
    log("grupo criado:", segundo)
    time.sleep(2)
    f.sair()
    return perfil, snap, segundo


def gravar_firefox_segundo(ca, segundo):
    perfil2 = segundo["caminho"]
    escrever_userjs(perfil2)
    confiar_ca(perfil2, ca)
    # Abrir o outro perfil do grupo como o próprio Firefox faz (--profile CAMINHO)
    # torna-o o padrão do grupo em profiles.ini.
    f = Firefox(perfil2, nome="segundo")
    time.sleep(3)
    u = "https://docs.fornecedor.test/grupo-segundo.pdf"
    d = f.baixar(lambda: f.navegar(u))
    linha(os.path.basename(d["caminho"]), "firefox", os.path.basename(perfil2), "grupo", u, "",
          u, d["fim_ms"])
    time.sleep(3)
    f.sair()


# ---------------------------------------------------------------- usuário

def acoes_do_usuario():
    """O que o usuário faz depois, com os navegadores fechados."""
    time.sleep(1.5)  # mtimes visivelmente posteriores aos downloads

    def renomear(velho, novo):
        os.rename(DOWN + "/" + velho, DOWN + "/" + novo)  # rename mantém as datas
        for v in verdade:
            if v["arquivo"] == velho:
                v["arquivo"] = novo

    def sobrescrever(nome, rotulo, tamanho, tipo):
        with open(DOWN + "/" + nome, "wb") as f:
            f.write(conteudo(rotulo, tamanho, tipo))

    renomear("a8f3c2e1d9.pdf", "Fatura outubro.pdf")
    sobrescrever("contrato.pdf", "contrato assinado pelo usuário", 2934, "pdf")
    # O download cancelado não deixou arquivo; o usuário põe outro com o mesmo nome.
    sobrescrever("backup-fotos.zip", "backup feito pelo usuário", 3581, "zip")
    renomear("7c1e9b0a.pdf", "Nota fiscal.pdf")
    sobrescrever("proposta.pdf", "proposta revisada pelo usuário", 1480, "pdf")


# ---------------------------------------------------------------- dados

def copiar_sqlite_compacto(origem, destino):
    """VACUUM INTO uma cópia, com páginas de 1 KiB (Firefox usa 32 KiB, Chromium
    4 KiB): cada tabela e índice ocupa ao menos uma página, e um places.sqlite
    quase vazio tem ~55 delas (1,7 MB de páginas vazias). Conteúdo e modo de
    journal (WAL no Firefox) ficam como no original; ao fechar, não sobra -wal."""
    os.makedirs(os.path.dirname(destino), exist_ok=True)
    if os.path.exists(destino):
        os.remove(destino)
    src = sqlite3.connect("file:%s?mode=ro" % urllib.parse.quote(origem), uri=True)
    modo = src.execute("PRAGMA journal_mode").fetchone()[0]
    src.execute("VACUUM INTO ?", (destino,))
    dst = sqlite3.connect(destino, isolation_level=None)
    if modo == "wal":
        dst.execute("PRAGMA journal_mode=DELETE")
    dst.execute("PRAGMA page_size=1024")
    dst.execute("VACUUM")
    dst.execute("PRAGMA journal_mode=%s" % modo)
    assert dst.execute("PRAGMA integrity_check").fetchone()[0] == "ok"
    assert dst.execute("PRAGMA journal_mode").fetchone()[0] == modo
    tabelas = [r[0] for r in src.execute(
        "SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite_%'")]
    for t in tabelas:
        q = 'SELECT * FROM "%s" ORDER BY rowid' % t
        try:
            a, b = src.execute(q).fetchall(), dst.execute(q).fetchall()
        except sqlite3.OperationalError:  # tabela sem rowid
            q = 'SELECT * FROM "%s"' % t
            a, b = sorted(map(repr, src.execute(q))), sorted(map(repr, dst.execute(q)))
        if a != b:
            raise RuntimeError("cópia de %s difere na tabela %s" % (origem, t))
    src.close()
    dst.close()
    for sufixo in ("-wal", "-shm", "-journal"):
        if os.path.exists(destino + sufixo):
            raise RuntimeError("sobrou %s%s" % (destino, sufixo))


def salvar(snap_dir, perfis_ff):
    shutil.rmtree(DADOS, ignore_errors=True)
    casa = DADOS + "/casa"
    rel = lambda p: os.path.relpath(p, CASA)  # noqa: E731
    # Chromium já fechado (journal_mode=delete, sem -journal pendente). O History
    # passa pela mesma compactação: 200 KB de páginas de 4 KiB quase vazias cada.
    os.makedirs(casa + "/" + rel(CHROMIUM_DIR), exist_ok=True)
    shutil.copy2(CHROMIUM_DIR + "/Local State", casa + "/" + rel(CHROMIUM_DIR + "/Local State"))
    for n in sorted(os.listdir(CHROMIUM_DIR)):
        p = CHROMIUM_DIR + "/" + n + "/History"
        if os.path.exists(p):
            copiar_sqlite_compacto(p, casa + "/" + rel(p))
    for n in ("profiles.ini", "installs.ini"):
        if os.path.exists(FIREFOX_DIR + "/" + n):
            os.makedirs(casa + "/" + rel(FIREFOX_DIR), exist_ok=True)
            shutil.copy2(FIREFOX_DIR + "/" + n, casa + "/" + rel(FIREFOX_DIR + "/" + n))
    for perfil in perfis_ff:
        p = perfil + "/places.sqlite"
        if os.path.exists(p):
            copiar_sqlite_compacto(p, casa + "/" + rel(p))
    grupos = FIREFOX_DIR + "/Profile Groups"
    if os.path.isdir(grupos):
        for n in sorted(os.listdir(grupos)):
            if n.endswith(".sqlite"):
                copiar_sqlite_compacto(grupos + "/" + n, casa + "/" + rel(grupos + "/" + n))
    os.makedirs(casa + "/Downloads")
    for n in sorted(os.listdir(DOWN)):
        shutil.copy2(DOWN + "/" + n, casa + "/Downloads/" + n)
    # Cópia feita com o Firefox aberto. O places.sqlite cresce em blocos de 5 MiB
    # cheios de zeros depois da última página; corta-se só esse rabo de zeros.
    dest = DADOS + "/firefox-em-execucao"
    os.makedirs(dest)
    with open(snap_dir + "/places.sqlite", "rb") as f:
        bruto = f.read()
    paginas = int.from_bytes(bruto[28:32], "big")
    tam_pag = int.from_bytes(bruto[16:18], "big") or 65536
    corte = paginas * tam_pag
    if bruto[corte:].strip(b"\0"):
        corte = len(bruto)  # não é só zero: fica inteiro
    with open(dest + "/places.sqlite", "wb") as f:
        f.write(bruto[:corte])
    shutil.copyfile(snap_dir + "/places.sqlite-wal", dest + "/places.sqlite-wal")


COLUNAS = ["arquivo", "navegador", "perfil", "cenario", "url", "pagina", "origem_esperada",
           "tamanho", "mtime_ns", "fim_ms"]


def escrever_verdade(notas):
    nomes = set(os.listdir(DOWN))
    vistos = set()
    linhas = []
    for v in verdade:
        caminho = DOWN + "/" + v["arquivo"]
        st = os.stat(caminho)
        v = dict(v, tamanho=st.st_size, mtime_ns=st.st_mtime_ns)
        linhas.append(v)
        vistos.add(v["arquivo"])
    sobras = nomes - vistos
    if sobras:
        raise RuntimeError("arquivos sem linha na verdade: %s" % sobras)
    linhas += notas
    with open(DADOS + "/verdade.tsv", "w", encoding="utf-8") as f:
        f.write("\t".join(COLUNAS) + "\n")
        for v in linhas:
            campos = [str(v[c]) for c in COLUNAS]
            assert not any("\t" in c or "\n" in c for c in campos)
            f.write("\t".join(campos) + "\n")


# ---------------------------------------------------------------- conferência

def conferir(perfis_ff):
    """Imprime o que ficou nos bancos, para conferir com verdade.tsv."""
    casa = DADOS + "/casa"
    saida = []
    q = lambda banco, sql: subprocess.run(  # noqa: E731
        ["sqlite3", "-header", "-separator", " | ", "file:%s?immutable=1" % banco, sql],
        capture_output=True, text=True).stdout
    for n in sorted(os.listdir(casa + "/.config/chromium")):
        h = casa + "/.config/chromium/" + n + "/History"
        if os.path.exists(h):
            saida.append("== chromium %s" % n)
            saida.append(q(h, "SELECT id,target_path,state,total_bytes,start_time,end_time,"
                              "tab_url,site_url,referrer FROM downloads"))
            saida.append(q(h, "SELECT * FROM downloads_url_chains"))
    for perfil in perfis_ff:
        p = casa + "/" + os.path.relpath(perfil, CASA) + "/places.sqlite"
        if not os.path.exists(p):
            continue
        saida.append("== firefox %s" % os.path.basename(perfil))
        saida.append(q(p, "SELECT p.url, n.name, a.content FROM moz_annos a JOIN "
                          "moz_anno_attributes n ON n.id=a.anno_attribute_id JOIN moz_places p "
                          "ON p.id=a.place_id ORDER BY a.id"))
        saida.append(q(p, "SELECT v.id, v.from_visit, v.visit_type, p.url FROM moz_historyvisits v "
                          "JOIN moz_places p ON p.id=v.place_id ORDER BY v.id"))
    texto = "\n".join(saida)
    with open(TRAB + "/conferencia.txt", "w") as f:
        f.write(texto)
    print(texto)


def abrir_imutavel(banco):
    return sqlite3.connect("file:%s?immutable=1" % urllib.parse.quote(banco), uri=True)


def checar(perfis_ff):
    """Confere verdade.tsv contra o que os bancos gravados dizem."""
    casa = DADOS + "/casa"
    problemas = []
    linhas = [v for v in verdade]
    for perfil in ("Default", "Profile 1"):
        con = abrir_imutavel(casa + "/.config/chromium/%s/History" % perfil)
        cadeias = {}
        for i, u in con.execute("SELECT id, url FROM downloads_url_chains ORDER BY id, chain_index"):
            cadeias.setdefault(i, []).append(u)
        estados = dict(con.execute("SELECT id, state FROM downloads"))
        con.close()
        minhas = [v for v in linhas if v["navegador"] == "chromium" and v["perfil"] == perfil]
        if len(minhas) != len(estados):
            problemas.append("chromium/%s: %d linhas, %d downloads" % (perfil, len(minhas), len(estados)))
        for v in minhas:
            achados = [i for i, c in cadeias.items() if c[-1] == v["url"]]
            esperado = sum(1 for w in minhas if w["url"] == v["url"])
            if len(achados) != esperado:
                problemas.append("chromium/%s: %s aparece %d vezes" % (perfil, v["url"], len(achados)))
            estado = 2 if v["cenario"] == "cancelado" else 1
            if any(estados[i] != estado for i in achados):
                problemas.append("chromium/%s: estado errado para %s" % (perfil, v["url"]))
    for perfil in perfis_ff:
        banco = casa + "/" + os.path.relpath(perfil, CASA) + "/places.sqlite"
        if not os.path.exists(banco):
            continue
        nome = os.path.basename(perfil)
        con = abrir_imutavel(banco)
        for v in linhas:
            if v["navegador"] != "firefox" or v["perfil"] != nome:
                continue
            annos = {n: c for n, c in con.execute(
                "SELECT n.name, a.content FROM moz_annos a JOIN moz_anno_attributes n ON "
                "n.id=a.anno_attribute_id JOIN moz_places p ON p.id=a.place_id WHERE p.url=?",
                (v["url"],))}
            lugar = con.execute("SELECT id FROM moz_places WHERE url=?", (v["url"],)).fetchone()
            if v["cenario"] in ("blob", "data", "removido"):
                if lugar:
                    problemas.append("firefox/%s: %s não devia estar no histórico" % (nome, v["url"]))
            elif set(annos) != {"downloads/destinationFileURI", "downloads/metaData"}:
                problemas.append("firefox/%s: anotações de %s: %s" % (nome, v["url"], sorted(annos)))
            if v["pagina"] and v["cenario"] == "referencia":
                r = con.execute(
                    "SELECT pp.url FROM moz_historyvisits v JOIN moz_places p ON p.id=v.place_id "
                    "JOIN moz_historyvisits o ON o.id=v.from_visit JOIN moz_places pp ON pp.id=o.place_id "
                    "WHERE p.url=? AND v.visit_type=7", (v["url"],)).fetchone()
                if not r or r[0] != v["pagina"]:
                    problemas.append("firefox/%s: visita de %s não vem da página" % (nome, v["url"]))
        con.close()
    snap = DADOS + "/firefox-em-execucao"
    u = "https://dl.arquivos.test/comprovantes/comprovante.pdf"
    if anotacao_destino(snap, u, com_wal=False) or not anotacao_destino(snap, u, com_wal=True):
        problemas.append("a cópia em execução não tem o comprovante só no -wal")
    if problemas:
        raise RuntimeError("verdade.tsv não bate com os bancos:\n  " + "\n  ".join(problemas))
    log("verdade.tsv confere com os bancos gravados")


# ---------------------------------------------------------------- principal

def versoes():
    cr = subprocess.run(["/usr/bin/chromium", "--version"], capture_output=True,
                        text=True).stdout.strip()
    ff = subprocess.run(["/usr/bin/firefox-esr", "--version"], capture_output=True,
                        text=True, env=ambiente()).stdout.strip()
    return cr, ff


def main():
    if os.geteuid() != 0:
        sys.exit("gravar: precisa de root para servir HTTPS na porta 443 de 127.0.0.1")
    if not porta_livre(443):
        sys.exit("gravar: a porta 443 de 127.0.0.1 já está em uso")
    shutil.rmtree(RAIZ, ignore_errors=True)
    for d in (DOWN, CONFIG, CASA + "/.local/share", CASA + "/.cache", TRAB + "/tmp"):
        os.makedirs(d)
    ca = criar_certificados()
    iniciar_servidor(ca)
    try:
        gravar_chromium(ca)
        perfil, snap, segundo = gravar_firefox(ca)
        gravar_firefox_segundo(ca, segundo)
    finally:
        encerrar_restantes()
    acoes_do_usuario()

    ini = ler_ini(FIREFOX_DIR + "/profiles.ini")
    perfis_ff = sorted({os.path.join(FIREFOX_DIR, ini.get(s, "Path"))
                        for s in ini.sections() if ini.has_option(s, "Path")}
                       | {perfil, segundo["caminho"]})
    salvar(snap[0], perfis_ff)
    comprovante = "https://dl.arquivos.test/comprovantes/comprovante.pdf"
    nota = {"arquivo": "comprovante.pdf", "navegador": "firefox",
            "perfil": "firefox-em-execucao", "cenario": "so-no-wal", "url": comprovante,
            "pagina": "", "origem_esperada": comprovante, "tamanho": "", "mtime_ns": "",
            "fim_ms": next(v["fim_ms"] for v in verdade if v["url"] == comprovante)}
    escrever_verdade([nota])
    cr, ff = versoes()
    with open(DADOS + "/versoes.txt", "w") as f:
        f.write(cr + "\n" + ff + "\n")
    conferir(perfis_ff)
    checar(perfis_ff)
    log("versões:", cr, "|", ff)
    log("pronto:", DADOS)


if __name__ == "__main__":
    main()
