"""O Chromium de verdade baixa um arquivo enquanto `tarrafa-cli vigiar --json` olha a pasta.

Chamado por ./ao-vivo. Usa o servidor HTTPS local, a CA descartável e o Chromium sem tela
do gravador (nada sai de 127.0.0.1). Mede, a partir do fim do download que o Chromium
anuncia: quando o arquivo aparece na vigia, e quando a origem dele aparece, vinda do
History que o Chromium escreve uns segundos depois. Sai com 1 se a origem não vier em 60 s.
"""

import json
import os
import shutil
import subprocess
import sys
import threading
import time

import urllib.parse

import gravador as g

DEVAGAR = "/devagar/video.mp4"
PEDACOS = 40  # de 64 KiB, um a cada 0,1 s: uns 4 s de download


def servir_devagar():
    """Um download que termina, mas leva uns segundos: dá para ver o "baixando"."""
    original = g.Manipulador.do_GET

    def do_GET(self):
        if urllib.parse.urlsplit(self.path).path != DEVAGAR:
            return original(self)
        self.send_response(200)
        self.send_header("Content-Type", "video/mp4")
        self.send_header("Content-Length", str(PEDACOS * 65536))
        self.send_header("Content-Disposition", g.disposicao("video.mp4"))
        self.end_headers()
        for _ in range(PEDACOS):
            self.wfile.write(b"\1" * 65536)
            self.wfile.flush()
            time.sleep(0.1)
    g.Manipulador.do_GET = do_GET


def main():
    if len(sys.argv) != 2:
        sys.exit("uso: ao_vivo.py CAMINHO/DO/tarrafa-cli")
    cli = sys.argv[1]
    if os.geteuid() != 0:
        sys.exit("ao-vivo: precisa de root para servir HTTPS na porta 443 de 127.0.0.1")
    if not g.porta_livre(443):
        sys.exit("ao-vivo: a porta 443 de 127.0.0.1 já está em uso")
    shutil.rmtree(g.RAIZ, ignore_errors=True)
    for d in (g.DOWN, g.CONFIG, g.CASA + "/.local/share", g.CASA + "/.cache", g.TRAB + "/tmp"):
        os.makedirs(d)
    ca = g.criar_certificados()
    servir_devagar()
    g.iniciar_servidor(ca)
    g.confiar_ca(g.CASA + "/.pki/nssdb", ca)

    vigia = None
    try:
        c = g.Chromium("Default")
        time.sleep(1)
        # O History nasce com o perfil; a vigia precisa dele para saber o que vigiar.
        historico = g.CHROMIUM_DIR + "/Default/History"
        limite = time.time() + 30
        while not os.path.exists(historico) and time.time() < limite:
            time.sleep(0.2)
        if not os.path.exists(historico):
            sys.exit("ao-vivo: o Chromium não criou o History")

        vigia = subprocess.Popen([cli, "vigiar", "--json", g.DOWN], env=g.ambiente(),
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        pronto = vigia.stderr.readline().decode()
        g.log("vigia:", pronto.strip())
        linhas = []
        cond = threading.Condition()

        def ler():
            for bruta in vigia.stdout:
                with cond:
                    linhas.append((g.agora_ms(), json.loads(bruta)))
                    cond.notify_all()
        threading.Thread(target=ler, daemon=True).start()

        c.nova_aba()
        d = c.baixar(lambda: c.navegar("https://dl.arquivos.test/contratos/contrato.pdf"))
        nome = os.path.basename(d["caminho"])
        fim = d["fim_ms"]

        def achar(pred):
            with cond:
                cond.wait_for(lambda: any(pred(j) for _, j in linhas), 60)
                return next(((t, j) for t, j in linhas if pred(j)), None)

        chegou = achar(lambda j: j["nome"] == nome and j["evento"] in ("adicionado", "alterado")
                       and not j["baixando"])
        origem = achar(lambda j: j["nome"] == nome and j.get("origens"))
        for t, j in linhas:
            g.log("linha +%d ms: %s %s baixando=%s origens=%s" % (
                t - fim, j["evento"], j["nome"], j["baixando"], j.get("origens")))
        if chegou is None or origem is None:
            g.log("FALHOU: a vigia não disse", "o arquivo" if chegou is None else "a origem")
            return 1
        g.log("arquivo na vigia %d ms depois do fim do download" % (chegou[0] - fim))
        g.log("origem na vigia %d ms depois do fim do download: %s (%s)" % (
            origem[0] - fim, origem[1]["origem"]["rotulo"], origem[1]["evento"]))

        # Um download de alguns segundos: "baixando" enquanto dura, o arquivo ao terminar.
        n = len(linhas)
        c.nova_aba()
        inicio = g.agora_ms()
        d = c.baixar(lambda: c.navegar("https://dl.arquivos.test" + DEVAGAR))
        fim = d["fim_ms"]
        final = achar(lambda j: j["nome"] == "video.mp4" and not j["baixando"])
        with cond:
            novas = linhas[n:]
        for t, j in novas:
            g.log("linha +%d ms do início: %s %s baixando=%s" % (t - inicio, j["evento"], j["nome"], j["baixando"]))
        baixando = [t for t, j in novas if j["baixando"] and j["evento"] != "removido" and t < fim]
        if not baixando or final is None:
            g.log("FALHOU: sem", "baixando durante o download" if not baixando else "o arquivo pronto")
            return 1
        g.log("baixando na vigia %d ms depois do início (o download levou %d ms); pronto %d ms depois do fim" % (
            baixando[0] - inicio, fim - inicio, final[0] - fim))
        return 0
    finally:
        if vigia is not None:
            vigia.terminate()
            vigia.wait(10)
        g.encerrar_restantes()


if __name__ == "__main__":
    sys.exit(main())
