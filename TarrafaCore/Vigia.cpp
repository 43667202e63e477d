// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Vigia.hpp"

#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/PastaScanner.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <optional>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace tarrafa {

namespace {

// The eventfd that wakes the watcher's thread: one more wake-up asked for, and all asked for
// taken. Neither can fail on an eventfd but for a signal, which is simply tried again.
void sinalizar(int fd) noexcept
{
    const std::uint64_t um = 1;
    while (::write(fd, &um, sizeof um) < 0 && errno == EINTR) {
    }
}

void esvaziarSinal(int fd) noexcept
{
    std::uint64_t valor = 0;
    while (::read(fd, &valor, sizeof valor) < 0 && errno == EINTR) {
    }
}

} // namespace

namespace {

using Relogio = std::chrono::steady_clock;

// The top level: entries coming and going, written, renamed, their attributes changed, and
// the folder itself going away. IN_OPEN tells a file just created and being written (held
// back until it closes) from one made whole at once (a hard link, a link to a finished
// temporary file), which is handed over with the next batch.
constexpr std::uint32_t kMascaraTopo = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE
    | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_OPEN | IN_ONLYDIR;
// Below the top level only what changes a folder's size matters.
constexpr std::uint32_t kMascaraAbaixo
    = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE | IN_ONLYDIR | IN_DONT_FOLLOW;
// The folder's own name in the folder above, while the path is a link or names nothing: a
// link can be pointed elsewhere, or made, without a word from any folder it names.
constexpr std::uint32_t kMascaraPai = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR;
// A history database's folder: only names coming and going (a journal made, a database
// replaced). A browser's profile writes dozens of other files all the time; watching the
// folder for writes would wake us for every one of them, since inotify cannot tell it which
// names matter. The writes are watched on the files themselves.
constexpr std::uint32_t kMascaraPastaDeHistorico = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR;
// A history database, its journal or its write-ahead log: SQLite writes in place and keeps it
// open, so writes are what tell.
constexpr std::uint32_t kMascaraArquivoDeHistorico = IN_MODIFY | IN_CLOSE_WRITE;

// Watches are a per-user kernel resource shared with every other program: a Downloads folder
// holding a huge tree keeps its top level and the first folders watched, and the rest is
// sized again only by a full scan.
std::size_t limiteDeVigias()
{
    std::size_t maximo = 8192;
    if (Descritor f = abrirParaLer(AT_FDCWD, "/proc/sys/fs/inotify/max_user_watches"); f.valido()) {
        if (std::optional<std::string> texto = lerTudo(f.get(), 64)) {
            maximo = static_cast<std::size_t>(std::strtoull(texto->c_str(), nullptr, 10));
        }
    }
    return std::max<std::size_t>(64, maximo / 4);
}

using Caminho::juntar;

bool ehOculto(const std::string& nome)
{
    return nome.empty() || nome.front() == '.';
}

// The sub-folders of a folder, hidden ones left out (their contents are not counted in any
// size). Opened without touching the access time where the kernel allows it (a folder of
// someone else's is listed all the same) and never through a link, but for the folder the
// person named, which may be one.
std::vector<std::string> subpastas(const std::string& caminho, bool seguirLink = false)
{
    std::vector<std::string> nomes;
    Descritor fd = abrirSemTocarAcesso(
        AT_FDCWD, caminho.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (seguirLink ? 0 : O_NOFOLLOW));
    if (!fd.valido()) {
        return nomes;
    }
    const int pastaFd = fd.get();
    DIR* dir = ::fdopendir(fd.get());
    if (dir == nullptr) {
        return nomes;
    }
    (void)fd.soltar();
    while (const dirent* e = ::readdir(dir)) {
        const std::string nome(e->d_name);
        if (ehOculto(nome)) {
            continue;
        }
        bool pasta = e->d_type == DT_DIR;
        if (e->d_type == DT_UNKNOWN) {
            struct stat info {};
            pasta = ::fstatat(pastaFd, e->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
        }
        if (pasta) {
            nomes.push_back(nome);
        }
    }
    ::closedir(dir);
    return nomes;
}

// Which folder a path names now, following a link; none when it names no folder.
struct QualPasta {
    dev_t dispositivo = 0;
    ino_t inode = 0;
    bool operator==(const QualPasta&) const = default;
};

std::optional<QualPasta> qualPasta(const std::string& caminho)
{
    struct stat info {};
    if (::stat(caminho.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        return std::nullopt;
    }
    return QualPasta {info.st_dev, info.st_ino};
}

// Out of watches: the kernel's per-user allowance is spent.
bool semVigiasNoSistema(int erro)
{
    return erro == ENOSPC || erro == ENOMEM;
}

} // namespace

struct Vigia::Estado {
    std::string raiz;
    Opcoes opcoes;
    AoMudar aoMudar;
    Descritor inotify;
    Descritor acordar; // an eventfd: a stop or injected events
    std::size_t limite = 0;

    // Touched only by the watcher's thread once it runs (the constructor sets them up first).
    int wdPasta = -1;
    int erroPasta = 0; // why wdPasta could not be set
    std::optional<QualPasta> vigiada; // the folder wdPasta watches
    int wdPai = -1;
    struct Abaixo {
        std::string topo; // the top-level folder whose size it changes
        std::string caminho;
    };
    std::unordered_map<int, Abaixo> abaixo;
    // Top-level folders not watched whole: named in a batch every opcoes.releitura.
    std::set<std::string> semVigia;
    Relogio::time_point proximaReleitura {};
    // Folders of history databases -> where they are, the names that count there, and whether
    // each is the recently-used list (else a history database or its journal).
    struct PastaDeHistorico {
        std::string caminho;
        std::map<std::string, bool> nomes;
    };
    std::unordered_map<int, PastaDeHistorico> historicos;
    // The databases and journals themselves -> whether it is the recently-used list.
    std::unordered_map<int, bool> arquivosDeHistorico;

    LoteDeEventos lote;
    std::set<std::string> criados; // created, not yet seen opened
    std::set<std::string> abertos; // created and being written
    Relogio::time_point primeiro {};
    Relogio::time_point ultimo {};

    mutable std::mutex mutex;
    std::vector<std::vector<std::byte>> injetados;
    std::optional<LoteDeEventos> pedido;
    bool parar = false;
    std::size_t quantasPastas = 0;
    int erroAgora = 0;
    bool parcialAgora = false;

    std::jthread fio;

    void vigiarPasta();
    void soltarPasta();
    // Looks at what the path names now and, when it is not the folder watched, watches that
    // instead and asks for everything. A removed folder's number may be given to a new one
    // at once: forcar says the one watched is gone whatever the numbers say.
    void resolver(bool forcar);
    void ajustarPai();
    // False when some folder below could not be watched.
    bool vigiarArvore(const std::string& caminho, const std::string& topo);
    void esquecerArvore(const std::string& caminho);
    void esquecerTudoAbaixo();
    void vigiarHistoricos();
    void vigiarArquivoDeHistorico(const std::string& pasta, const std::string& nome, bool usos);
    [[nodiscard]] bool precisaReler() const;
    void reler();
    void processar(const inotify_event& evento);
    void processarBytes(const std::byte* dados, std::size_t tamanho);
    void marcar();
    void entregar();
    void rodar();
    void contar();
};

void Vigia::Estado::contar()
{
    const std::lock_guard trava(mutex);
    quantasPastas = abaixo.size() + (wdPasta >= 0 ? 1 : 0);
    erroAgora = wdPasta >= 0 ? 0 : erroPasta;
    parcialAgora = precisaReler();
}

void Vigia::Estado::vigiarPasta()
{
    // The folder the person named may be a link (a Downloads folder moved elsewhere): that one
    // link is followed, as the scan does.
    for (int tentativa = 0; tentativa < 3; ++tentativa) {
        const std::optional<QualPasta> antes = qualPasta(raiz);
        wdPasta = ::inotify_add_watch(inotify.get(), raiz.c_str(), kMascaraTopo);
        if (wdPasta < 0) {
            erroPasta = errno;
            return;
        }
        vigiada = qualPasta(raiz);
        if (vigiada && vigiada == antes) {
            break;
        }
        // The path changed while the watch was set: which folder it watches is not known.
        ::inotify_rm_watch(inotify.get(), wdPasta);
        wdPasta = -1;
        vigiada.reset();
    }
    if (wdPasta < 0) {
        erroPasta = ENOENT; // a path that will not hold still; the folder above tells when it does
        return;
    }
    erroPasta = 0;
    for (const std::string& nome : subpastas(raiz, true)) {
        // A full read is what starts the watch: what cannot be watched is only noted, to be
        // read again from time to time.
        if (!vigiarArvore(juntar(raiz, nome), nome)) {
            semVigia.insert(nome);
        }
    }
}

void Vigia::Estado::soltarPasta()
{
    if (wdPasta >= 0) {
        ::inotify_rm_watch(inotify.get(), wdPasta);
    }
    wdPasta = -1;
    vigiada.reset();
    esquecerTudoAbaixo();
    semVigia.clear();
    criados.clear();
    abertos.clear();
}

void Vigia::Estado::resolver(bool forcar)
{
    const std::optional<QualPasta> agora = qualPasta(raiz);
    if (forcar || wdPasta < 0 || !agora || agora != vigiada) {
        marcar();
        lote.tudo = true;
        soltarPasta();
        if (agora) {
            vigiarPasta();
        } else {
            erroPasta = ENOENT;
        }
    }
    ajustarPai();
    contar();
}

void Vigia::Estado::ajustarPai()
{
    struct stat info {};
    if (::lstat(raiz.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        // A folder of its own at the path: it cannot be replaced without being moved or
        // removed, which its own watch tells.
        if (wdPai >= 0) {
            ::inotify_rm_watch(inotify.get(), wdPai);
            wdPai = -1;
        }
        return;
    }
    if (wdPai >= 0) {
        return;
    }
    wdPai = ::inotify_add_watch(inotify.get(), Caminho::pastaDe(raiz).c_str(), kMascaraPai);
    // Set up after the path was looked at: it may have changed in between.
    if (wdPai >= 0 && qualPasta(raiz) != (wdPasta >= 0 ? vigiada : std::nullopt)) {
        resolver(false);
    }
}

bool Vigia::Estado::vigiarArvore(const std::string& caminho, const std::string& topo)
{
    // Depth-first with an explicit stack; each folder is watched before it is listed, so that
    // nothing created meanwhile goes unseen.
    std::vector<std::string> pilha {caminho};
    while (!pilha.empty()) {
        if (abaixo.size() >= limite) {
            return false; // the rest is not watched
        }
        std::string atual = std::move(pilha.back());
        pilha.pop_back();
        const int wd = ::inotify_add_watch(inotify.get(), atual.c_str(), kMascaraAbaixo);
        if (wd < 0) {
            if (semVigiasNoSistema(errno)) {
                return false; // the user's watches are used up
            }
            continue; // gone already, or not a folder any more
        }
        for (const std::string& nome : subpastas(atual)) {
            pilha.push_back(juntar(atual, nome));
        }
        abaixo.insert_or_assign(wd, Abaixo {topo, std::move(atual)});
    }
    return true;
}

void Vigia::Estado::esquecerArvore(const std::string& caminho)
{
    const std::string prefixo = caminho + "/";
    for (auto it = abaixo.begin(); it != abaixo.end();) {
        if (it->second.caminho == caminho || it->second.caminho.starts_with(prefixo)) {
            ::inotify_rm_watch(inotify.get(), it->first);
            it = abaixo.erase(it);
        } else {
            ++it;
        }
    }
}

void Vigia::Estado::esquecerTudoAbaixo()
{
    for (const auto& [wd, _] : abaixo) {
        ::inotify_rm_watch(inotify.get(), wd);
    }
    abaixo.clear();
}

void Vigia::Estado::vigiarArquivoDeHistorico(const std::string& pasta, const std::string& nome, bool usos)
{
    const int wd = ::inotify_add_watch(inotify.get(), juntar(pasta, nome).c_str(), kMascaraArquivoDeHistorico);
    if (wd >= 0) {
        arquivosDeHistorico.insert_or_assign(wd, usos);
    }
}

void Vigia::Estado::vigiarHistoricos()
{
    const auto vigiar = [this](const std::string& arquivo, std::vector<std::string> nomes, bool usos) {
        const std::string pasta = Caminho::pastaDe(arquivo);
        // Added to what the folder is watched for already: two databases may share it.
        const int wd = ::inotify_add_watch(inotify.get(), pasta.c_str(), kMascaraPastaDeHistorico | IN_MASK_ADD);
        if (wd < 0) {
            return;
        }
        PastaDeHistorico& onde = historicos[wd];
        onde.caminho = pasta;
        for (std::string& nome : nomes) {
            // Those not there yet are watched when they come.
            vigiarArquivoDeHistorico(pasta, nome, usos);
            onde.nomes.try_emplace(std::move(nome), usos);
        }
    };
    for (const std::string& banco : opcoes.historicos) {
        const std::string nome = Caminho::nomeDe(banco);
        vigiar(banco, {nome, nome + "-journal", nome + "-wal"}, false);
    }
    if (!opcoes.usosRecentes.empty()) {
        // Written whole beside and renamed over the old one, or written in place: either way an
        // event of its own name in its folder, or on the file itself.
        vigiar(opcoes.usosRecentes, {Caminho::nomeDe(opcoes.usosRecentes)}, true);
    }
}

bool Vigia::Estado::precisaReler() const
{
    return !semVigia.empty() || (wdPasta < 0 && semVigiasNoSistema(erroPasta));
}

void Vigia::Estado::reler()
{
    // What cannot be watched is read again, and its watch tried again: watches given back by
    // other programs, or folders removed below it, may leave room now.
    if (wdPasta < 0 && semVigiasNoSistema(erroPasta)) {
        resolver(true); // the folder itself: read whole
        return;
    }
    marcar();
    const std::set<std::string> antes = semVigia;
    for (const std::string& topo : antes) {
        lote.nomes.insert(topo);
        const std::string caminho = juntar(raiz, topo);
        esquecerArvore(caminho);
        struct stat info {};
        if (::lstat(caminho.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || vigiarArvore(caminho, topo)) {
            semVigia.erase(topo);
        }
    }
    contar();
}

void Vigia::Estado::marcar()
{
    const Relogio::time_point agora = Relogio::now();
    if (lote.vazio() && criados.empty()) {
        primeiro = agora;
    }
    ultimo = agora;
}

void Vigia::Estado::processar(const inotify_event& evento)
{
    const std::uint32_t m = evento.mask;
    const std::string nome = evento.len > 0 ? std::string(evento.name) : std::string();

    if ((m & IN_Q_OVERFLOW) != 0) {
        marcar();
        lote.tudo = true;
        return;
    }

    if (evento.wd == wdPasta && wdPasta >= 0) {
        if ((m & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
            if ((m & IN_IGNORED) != 0) {
                wdPasta = -1; // the kernel dropped the watch itself
            }
            // Moved: the path may name it still (a link left where it was); removed: whatever
            // stands at the path now is another folder, even with the same number.
            resolver((m & IN_MOVE_SELF) == 0);
            return;
        }
        if (nome.empty()) {
            return; // the folder itself opened (a scan listing it)
        }
        if (nome == ".hidden") {
            if ((m & IN_OPEN) == 0) {
                marcar();
                lote.tudo = true; // any entry may have been shown or hidden
            }
            return;
        }
        if (ehOculto(nome)) {
            return;
        }
        const bool pasta = (m & IN_ISDIR) != 0;
        if ((m & IN_OPEN) != 0) {
            if (!pasta && criados.erase(nome) > 0) {
                abertos.insert(nome); // being written: wait for it to close
            }
            return;
        }
        marcar();
        if ((m & IN_CREATE) != 0 && !pasta) {
            criados.insert(nome);
            abertos.erase(nome);
            return;
        }
        if ((m & IN_ATTRIB) != 0 && abertos.contains(nome)) {
            return; // still being written; its close will tell
        }
        criados.erase(nome);
        abertos.erase(nome);
        lote.nomes.insert(nome);
        if (pasta && (m & (IN_DELETE | IN_MOVED_FROM)) != 0) {
            esquecerArvore(juntar(raiz, nome));
            semVigia.erase(nome);
        }
        if (pasta && (m & (IN_CREATE | IN_MOVED_TO)) != 0 && !vigiarArvore(juntar(raiz, nome), nome)) {
            // A folder that cannot be watched whole: its size is read again from time to time.
            semVigia.insert(nome);
        }
        contar();
        return;
    }

    if (evento.wd == wdPai && wdPai >= 0) {
        if ((m & IN_IGNORED) != 0) {
            wdPai = -1;
            return;
        }
        // The rest of the folder above is none of our business.
        if (nome == Caminho::nomeDe(raiz)) {
            resolver(false);
        }
        return;
    }

    if (const auto achado = abaixo.find(evento.wd); achado != abaixo.end()) {
        if ((m & IN_IGNORED) != 0) {
            abaixo.erase(achado);
            contar();
            return;
        }
        const Abaixo onde = achado->second;
        marcar();
        lote.nomes.insert(onde.topo);
        if ((m & IN_ISDIR) != 0 && !ehOculto(nome)) {
            if ((m & IN_MOVED_FROM) != 0) {
                esquecerArvore(juntar(onde.caminho, nome));
            } else if ((m & (IN_CREATE | IN_MOVED_TO)) != 0 && !vigiarArvore(juntar(onde.caminho, nome), onde.topo)) {
                semVigia.insert(onde.topo);
            }
            contar();
        }
        return;
    }

    if (const auto achado = historicos.find(evento.wd); achado != historicos.end()) {
        if ((m & IN_IGNORED) != 0) {
            historicos.erase(achado);
            return;
        }
        const auto contado = achado->second.nomes.find(nome);
        if (contado == achado->second.nomes.end()) {
            return;
        }
        if ((m & (IN_CREATE | IN_MOVED_TO)) != 0) {
            // A journal begun, a database put in place: its writes from now on.
            vigiarArquivoDeHistorico(achado->second.caminho, nome, contado->second);
        }
        marcar();
        (contado->second ? lote.usosRecentes : lote.historicos) = true;
        return;
    }

    if (const auto achado = arquivosDeHistorico.find(evento.wd); achado != arquivosDeHistorico.end()) {
        if ((m & IN_IGNORED) != 0) {
            arquivosDeHistorico.erase(achado); // removed: its folder tells when it comes back
            return;
        }
        marcar();
        (achado->second ? lote.usosRecentes : lote.historicos) = true;
    }
}

void Vigia::Estado::processarBytes(const std::byte* dados, std::size_t tamanho)
{
    std::size_t i = 0;
    while (i + sizeof(inotify_event) <= tamanho) {
        inotify_event cabecalho {};
        std::memcpy(&cabecalho, dados + i, sizeof cabecalho);
        const std::size_t total = sizeof(inotify_event) + cabecalho.len;
        if (i + total > tamanho) {
            break;
        }
        // The name, NUL-padded by the kernel; copied out so the record is aligned.
        alignas(inotify_event) std::byte copia[sizeof(inotify_event) + NAME_MAX + 2] {};
        const std::size_t caber = std::min<std::size_t>(cabecalho.len, NAME_MAX + 1);
        std::memcpy(copia, dados + i, sizeof(inotify_event) + caber);
        auto* evento = reinterpret_cast<inotify_event*>(copia);
        evento->len = static_cast<std::uint32_t>(caber); // the zeroed copy ends the name
        processar(*evento);
        i += total;
    }
}

void Vigia::Estado::entregar()
{
    // Created and never opened (a hard link, a finished temporary file given a name): whole
    // already.
    for (const std::string& nome : criados) {
        lote.nomes.insert(nome);
    }
    criados.clear();
    if (lote.vazio()) {
        return;
    }
    LoteDeEventos pronto = std::exchange(lote, LoteDeEventos {});
    pronto.parcial = precisaReler();
    aoMudar(std::move(pronto));
}

void Vigia::Estado::rodar()
{
    alignas(inotify_event) std::byte buffer[64 * 1024];
    for (;;) {
        // Nothing pending and everything watched: sleep until the kernel has something.
        std::optional<Relogio::time_point> prazo;
        if (!lote.vazio() || !criados.empty()) {
            prazo = std::min(ultimo + opcoes.calma, primeiro + opcoes.esperaMaxima);
        }
        if (!precisaReler()) {
            proximaReleitura = {};
        } else {
            if (proximaReleitura == Relogio::time_point {}) {
                proximaReleitura = Relogio::now() + opcoes.releitura;
            }
            prazo = prazo ? std::min(*prazo, proximaReleitura) : proximaReleitura;
        }
        int espera = -1;
        if (prazo) {
            const auto falta = std::chrono::ceil<std::chrono::milliseconds>(*prazo - Relogio::now());
            espera = static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(falta.count(), 0, 24 * 3600 * 1000));
        }
        pollfd fds[2] = {{inotify.get(), POLLIN, 0}, {acordar.get(), POLLIN, 0}};
        const int prontos = ::poll(fds, 2, espera);
        if (prontos < 0 && errno != EINTR) {
            return;
        }
        if (prontos == 0) {
            const Relogio::time_point agora = Relogio::now();
            if (proximaReleitura != Relogio::time_point {} && agora >= proximaReleitura) {
                proximaReleitura = agora + opcoes.releitura;
                reler(); // handed over once the batch's quiet spell is over
                continue;
            }
            entregar();
            continue;
        }
        if ((fds[1].revents & POLLIN) != 0) {
            esvaziarSinal(acordar.get());
            std::vector<std::vector<std::byte>> recebidos;
            std::optional<LoteDeEventos> pedidoAgora;
            {
                const std::lock_guard trava(mutex);
                if (parar) {
                    return;
                }
                recebidos.swap(injetados);
                pedidoAgora.swap(pedido);
            }
            for (const std::vector<std::byte>& bytes : recebidos) {
                processarBytes(bytes.data(), bytes.size());
            }
            if (pedidoAgora) {
                // Asked for: handed over at once, together with what is pending.
                lote.nomes.merge(pedidoAgora->nomes);
                lote.historicos = lote.historicos || pedidoAgora->historicos;
                lote.usosRecentes = lote.usosRecentes || pedidoAgora->usosRecentes;
                lote.tudo = lote.tudo || pedidoAgora->tudo;
                lote.conferir = lote.conferir || pedidoAgora->conferir;
                entregar();
                continue;
            }
        }
        if ((fds[0].revents & POLLIN) != 0) {
            for (;;) {
                const ssize_t lidos = ::read(inotify.get(), buffer, sizeof buffer);
                if (lidos <= 0) {
                    break; // EAGAIN: all read
                }
                processarBytes(buffer, static_cast<std::size_t>(lidos));
            }
        }
    }
}

Vigia::Vigia(std::string pasta, Opcoes opcoes, AoMudar aoMudar)
    : estado_(std::make_unique<Estado>())
{
    Estado& e = *estado_;
    e.raiz = PastaScanner::caminhoAbsoluto(pasta);
    e.opcoes = std::move(opcoes);
    e.limite = e.opcoes.maximoDePastas > 0 ? e.opcoes.maximoDePastas : limiteDeVigias();
    e.aoMudar = std::move(aoMudar);
    e.inotify = Descritor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!e.inotify.valido()) {
        throw std::system_error(errno, std::generic_category(), "inotify");
    }
    e.acordar = Descritor(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!e.acordar.valido()) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    if (qualPasta(e.raiz)) {
        e.vigiarPasta();
    } else {
        e.erroPasta = ENOENT;
    }
    e.ajustarPai();
    e.lote = {}; // what the path did while being set up is what the first read sees
    e.vigiarHistoricos();
    e.contar();
    e.fio = std::jthread([&e] { e.rodar(); });
}

Vigia::~Vigia()
{
    {
        const std::lock_guard trava(estado_->mutex);
        estado_->parar = true;
    }
    sinalizar(estado_->acordar.get());
    estado_->fio.join();
}

void Vigia::injetar(std::span<const std::byte> eventos)
{
    {
        const std::lock_guard trava(estado_->mutex);
        estado_->injetados.emplace_back(eventos.begin(), eventos.end());
    }
    sinalizar(estado_->acordar.get());
}

void Vigia::pedir(LoteDeEventos lote)
{
    {
        const std::lock_guard trava(estado_->mutex);
        if (!estado_->pedido) {
            estado_->pedido.emplace();
        }
        LoteDeEventos& pedido = *estado_->pedido;
        pedido.nomes.merge(lote.nomes);
        pedido.historicos = pedido.historicos || lote.historicos;
        pedido.usosRecentes = pedido.usosRecentes || lote.usosRecentes;
        pedido.tudo = pedido.tudo || lote.tudo;
        pedido.conferir = pedido.conferir || lote.conferir;
    }
    sinalizar(estado_->acordar.get());
}

std::size_t Vigia::pastasVigiadas() const
{
    const std::lock_guard trava(estado_->mutex);
    return estado_->quantasPastas;
}

std::error_code Vigia::erroNaPasta() const
{
    const std::lock_guard trava(estado_->mutex);
    return estado_->erroAgora == 0 ? std::error_code {} : std::error_code(estado_->erroAgora, std::generic_category());
}

bool Vigia::parcial() const
{
    const std::lock_guard trava(estado_->mutex);
    return estado_->parcialAgora;
}

std::vector<std::byte> Vigia::evento(int wd, std::uint32_t mascara, const std::string& nome)
{
    // As the kernel writes it: the name NUL-terminated and padded to a multiple of 16.
    const std::size_t len = nome.empty() ? 0 : ((nome.size() + 1 + 15) / 16) * 16;
    inotify_event cabecalho {};
    cabecalho.wd = wd;
    cabecalho.mask = mascara;
    cabecalho.len = static_cast<std::uint32_t>(len);
    std::vector<std::byte> bytes(sizeof cabecalho + len, std::byte {0});
    std::memcpy(bytes.data(), &cabecalho, sizeof cabecalho);
    std::memcpy(bytes.data() + sizeof cabecalho, nome.data(), nome.size());
    return bytes;
}

} // namespace tarrafa
