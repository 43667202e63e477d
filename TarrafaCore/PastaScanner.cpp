// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/PastaScanner.hpp"

#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/CasamentoDeDownloads.hpp"
#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/HistoricoDeNavegadores.hpp"
#include "TarrafaCore/MetadadosDoGnome.hpp"
#include "TarrafaCore/ListaDeRecentes.hpp"
#include "TarrafaCore/Texto.hpp"
#include "TarrafaCore/Xattr.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <future>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <unordered_set>
#include <utility>

namespace tarrafa {

namespace {

enum class Links { seguir, naoSeguir };

// Threads that help read the entries, besides the scanning one, and how many entries each
// takes at a time: small enough to share out a folder of a few hundred entries, large
// enough that the threads rarely meet on the counter.
constexpr std::size_t kMaximoDeAjudantes = 3;
constexpr std::size_t kLote = 32;

// Opens a folder for listing without touching its access time where the kernel allows it.
// A folder that is someone else's refuses O_NOATIME and is listed all the same (its access
// time then moves, on a file system that keeps them strictly): its size is part of the
// folder's picture, and listing reveals no contents. The folder the caller names may be a
// link (a Downloads folder moved elsewhere); below it, links are never followed.
Descritor abrirPasta(int base, const char* caminho, Links links)
{
    return abrirSemTocarAcesso(
        base, caminho, O_RDONLY | O_DIRECTORY | O_CLOEXEC | (links == Links::naoSeguir ? O_NOFOLLOW : 0));
}

struct Entrada {
    std::string nome;
    unsigned char tipo;
};

// Reads all names of an open folder (the descriptor is consumed). Returns false when the
// listing failed part-way; the names read so far are kept.
bool lerNomes(Descritor pasta, std::vector<Entrada>& entradas)
{
    DIR* dir = ::fdopendir(pasta.get());
    if (dir == nullptr) {
        return false;
    }
    (void)pasta.soltar();
    bool ok = true;
    for (;;) {
        errno = 0;
        const dirent* e = ::readdir(dir);
        if (e == nullptr) {
            ok = errno == 0;
            break;
        }
        const std::string_view nome(e->d_name);
        if (nome == "." || nome == "..") {
            continue;
        }
        entradas.push_back({std::string(nome), e->d_type});
    }
    ::closedir(dir);
    return ok;
}

// The file-manager convention for hiding names: a ".hidden" file in the folder, one exact
// name per line. Read only when it is a regular file; opened without blocking, so a FIFO or
// device named ".hidden" cannot stall the scan, and only without touching its access time:
// someone else's ".hidden" is not read, and its names are then shown.
std::unordered_set<std::string> lerOcultos(int pasta)
{
    std::unordered_set<std::string> ocultos;
    struct stat info {};
    if (::fstatat(pasta, ".hidden", &info, 0) != 0 || !S_ISREG(info.st_mode)) {
        return ocultos;
    }
    const Descritor arquivo = abrirDaPastaParaLer(pasta, ".hidden");
    if (!arquivo.valido() || ::fstat(arquivo.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return ocultos;
    }
    // A list of names is small; a huge file is read only up to this much.
    constexpr std::size_t kLimite = 4U << 20U;
    std::string conteudo;
    char bloco[16384];
    while (conteudo.size() < kLimite) {
        const ssize_t lidos = ::read(arquivo.get(), bloco, sizeof bloco);
        if (lidos < 0 && errno == EINTR) {
            continue;
        }
        if (lidos <= 0) {
            break;
        }
        conteudo.append(bloco, static_cast<std::size_t>(lidos));
    }
    std::size_t inicio = 0;
    while (inicio < conteudo.size()) {
        std::size_t fim = conteudo.find('\n', inicio);
        if (fim == std::string::npos) {
            fim = conteudo.size();
        }
        std::string_view linha(conteudo.data() + inicio, fim - inicio);
        if (!linha.empty() && linha.back() == '\r') {
            linha.remove_suffix(1);
        }
        if (!linha.empty()) {
            ocultos.emplace(linha);
        }
        inicio = fim + 1;
    }
    return ocultos;
}

bool temOcultosListado(const std::vector<Entrada>& entradas)
{
    for (const Entrada& e : entradas) {
        if (e.nome == ".hidden") {
            return true;
        }
    }
    return false;
}

bool ehVisivel(const std::string& nome, const std::unordered_set<std::string>& ocultos)
{
    return !nome.empty() && nome.front() != '.' && !ocultos.contains(nome);
}

[[noreturn]] void pararPorEstouro()
{
    std::fputs("tarrafa: the total size of a folder overflows a 64-bit count\n", stderr);
    std::abort();
}

void somar(std::int64_t& total, std::int64_t parcela)
{
    if (__builtin_add_overflow(total, parcela, &total)) {
        pararPorEstouro();
    }
}

Date paraDate(const statx_timestamp& t)
{
    return Date::desde1970(static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9);
}

// Makes the folder's path absolute (lexically, links not resolved) and drops trailing
// slashes, so that every id is a full path.
std::string caminhoCompleto(const std::string& pasta)
{
    std::string caminho = pasta;
    if (caminho.empty() || caminho.front() != '/') {
        std::string atual;
        if (char* cwd = ::getcwd(nullptr, 0)) {
            atual = cwd;
            std::free(cwd);
        }
        caminho = caminho.empty() ? atual : atual + "/" + caminho;
    }
    // "~/Downloads/", "~//Downloads" and "./" name one folder, and its entries one id each.
    return CasamentoDeDownloads::limpar(caminho);
}

using Caminho::juntar;

// Allocated size of everything visible below the open folder.
std::int64_t somarPasta(Descritor raiz, const std::stop_token& parar)
{
    // Depth-first with an explicit stack, so a deep tree cannot exhaust the call stack, and
    // always relative to a held descriptor, never by path: no level is too deep for PATH_MAX
    // and no link is ever followed, wherever it appears. Only the deepest kNiveisAbertos levels
    // keep their descriptors; a level above them is reopened from its child through "..", and
    // recognised by device and inode: should the tree have been moved meanwhile, the walk
    // stops there rather than sum another tree.
    constexpr std::size_t kNiveisAbertos = 64;
    struct Nivel {
        Descritor fd;
        dev_t dispositivo = 0;
        ino_t inode = 0;
        std::vector<std::string> subpastas;
        std::size_t proxima = 0;
    };

    std::int64_t total = 0;
    std::vector<Nivel> pilha;
    std::size_t primeiroAberto = 0; // the open levels are pilha[primeiroAberto..]

    auto entrar = [&](Descritor fd) {
        std::vector<Entrada> entradas;
        Descritor paraListar(::fcntl(fd.get(), F_DUPFD_CLOEXEC, 0));
        if (!paraListar.valido()) {
            return;
        }
        // A listing that fails part-way still counts what it read.
        (void)lerNomes(std::move(paraListar), entradas);
        std::unordered_set<std::string> ocultos;
        if (temOcultosListado(entradas)) {
            ocultos = lerOcultos(fd.get());
        }
        Nivel nivel;
        for (Entrada& entrada : entradas) {
            if (parar.stop_requested()) {
                return;
            }
            if (!ehVisivel(entrada.nome, ocultos)) {
                continue;
            }
            struct stat info {};
            if (::fstatat(fd.get(), entrada.nome.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
                continue;
            }
            somar(total, static_cast<std::int64_t>(info.st_blocks) * 512);
            if (S_ISDIR(info.st_mode)) {
                nivel.subpastas.push_back(std::move(entrada.nome));
            }
        }
        if (nivel.subpastas.empty()) {
            return;
        }
        nivel.fd = std::move(fd);
        pilha.push_back(std::move(nivel));
        if (pilha.size() - primeiroAberto > kNiveisAbertos) {
            Nivel& antigo = pilha[primeiroAberto++];
            struct stat info {};
            if (::fstat(antigo.fd.get(), &info) == 0) {
                antigo.dispositivo = info.st_dev;
                antigo.inode = info.st_ino;
            }
            antigo.fd.fechar();
        }
    };

    entrar(std::move(raiz));
    while (!pilha.empty() && !parar.stop_requested()) {
        Nivel& topo = pilha.back();
        if (topo.proxima < topo.subpastas.size()) {
            const std::string& nome = topo.subpastas[topo.proxima++];
            Descritor sub = abrirPasta(topo.fd.get(), nome.c_str(), Links::naoSeguir);
            if (sub.valido()) {
                entrar(std::move(sub)); // may grow the stack: topo is not used after this
            }
            continue;
        }
        Descritor filho = std::move(topo.fd);
        pilha.pop_back();
        if (pilha.empty() || pilha.size() > primeiroAberto) {
            continue;
        }
        // Back up to a level whose descriptor was given up.
        Nivel& pai = pilha.back();
        pai.fd = abrirPasta(filho.get(), "..", Links::naoSeguir);
        struct stat info {};
        if (!pai.fd.valido() || ::fstat(pai.fd.get(), &info) != 0 || info.st_dev != pai.dispositivo
            || info.st_ino != pai.inode) {
            break; // the tree moved while it was being summed
        }
        primeiroAberto = pilha.size() - 1;
    }
    return total;
}


using Lida = PastaScanner::Leitura;

// One visible entry of the scanned folder; none when it vanished after the listing or
// cannot be read.
std::optional<Lida> lerEntrada(int pasta, const std::string& raiz, const std::string& nome,
                               const ListaDeRecentes::Indice& indice, const std::stop_token& parar)
{
    struct statx info {};
    constexpr unsigned kCampos
        = STATX_TYPE | STATX_MODE | STATX_INO | STATX_SIZE | STATX_BLOCKS | STATX_MTIME | STATX_CTIME | STATX_BTIME;
    if (::statx(pasta, nome.c_str(), AT_SYMLINK_NOFOLLOW | AT_STATX_SYNC_AS_STAT, kCampos, &info) != 0) {
        return std::nullopt;
    }
    Lida lida;
    lida.identidade = Identidade::deStatx(info);
    lida.nome = nome;
    lida.ehPasta = S_ISDIR(info.stx_mode);
    lida.ehRegular = S_ISREG(info.stx_mode);
    const bool ehLink = S_ISLNK(info.stx_mode);
    lida.id = juntar(raiz, nome);

    if (lida.ehPasta) {
        // Opened beside the entry just read and never through a link: should the folder be
        // swapped for a link in between, the walk does not leave the scanned folder.
        Descritor sub = abrirPasta(pasta, nome.c_str(), Links::naoSeguir);
        lida.tamanho = sub.valido() ? somarPasta(std::move(sub), parar) : 0;
    } else if ((info.stx_mask & STATX_SIZE) != 0) {
        lida.tamanho = static_cast<std::int64_t>(info.stx_size);
    } else if ((info.stx_mask & STATX_BLOCKS) != 0) {
        lida.tamanho = static_cast<std::int64_t>(info.stx_blocks) * 512;
    }

    if ((info.stx_mask & STATX_BTIME) != 0) {
        lida.nascimento = paraDate(info.stx_btime);
    }
    if ((info.stx_mask & STATX_MTIME) != 0) {
        lida.modificacao = paraDate(info.stx_mtime);
    }
    lida.criadoEm = PastaScanner::dataDeCriacao(lida.nascimento, lida.modificacao);

    const Xattr::Nomes nomes = Xattr::Nomes::listar(lida.id, ehLink);
    if (!nomes.vazio()) {
        lida.baixadoEm = Xattr::data(lida.id, Xattr::kBaixadoEm, nomes);
        lida.origens = Xattr::origens(lida.id, nomes);
        lida.ehScreenshot = Xattr::bruto(lida.id, Xattr::kScreenshot, nomes).has_value();
        lida.agente = Xattr::quarentena(lida.id, nomes);
    }
    lida.ultimoUso = Xattr::ultimoUso(lida.id, nomes, indice);
    return lida;
}

// A browser's record fills only what the file's own attributes left empty.
void completar(Lida& lida, const RegistroDeDownload& registro)
{
    if (lida.origens.empty()) {
        lida.origens = registro.origens;
    }
    if (!lida.baixadoEm) {
        lida.baixadoEm = registro.baixadoEm;
    }
    if (!lida.ultimoUso) {
        lida.ultimoUso = registro.ultimoUso;
    }
    if (!lida.agente && !registro.agente.empty()) {
        lida.agente = registro.agente;
    }
    // The browser hashed the bytes it wrote; the hash still stands for the file only if the
    // file kept that size and was not modified after the download ended (a second's slack for
    // the clock of a file system that keeps coarse times).
    if (registro.sha256.size() == 32 && registro.tamanho == lida.tamanho && lida.modificacao && registro.baixadoEm
        && *lida.modificacao <= *registro.baixadoEm + 1.0) {
        lida.sha256 = registro.sha256;
    }
}

// The histories and GNOME's metadata store are read beside the entries, each on a thread of
// its own: copying a large history, or listing the folder through gvfs, costs about what
// reading the folder does.
template <typename Funcao>
auto aoLado(Funcao funcao) -> std::future<decltype(funcao())>
{
    try {
        return std::async(std::launch::async, funcao);
    } catch (const std::system_error&) {
        return std::async(std::launch::deferred, funcao); // no thread to spare: run at get()
    }
}

// Up to this many names, GNOME's store is asked about each; beyond, the folder is listed
// through it once.
constexpr std::size_t kPerguntasAoGnome = 32;

// The named visible entries of the open folder, read in batches by a few threads side by
// side: a scan is almost all system calls (statx and the attributes for each entry, a stat for
// every file below each folder), which run in parallel in the kernel. Each batch writes only
// its own slots; the index is only read.
std::vector<Lida> lerVarias(int fd, const std::string& raiz, const std::vector<std::string>& nomes,
    const std::stop_token& parar)
{
    std::future<MetadadosDoGnome> gnomeFuturo = aoLado([&raiz, &nomes] {
        return nomes.size() > kPerguntasAoGnome ? MetadadosDoGnome(raiz) : MetadadosDoGnome(raiz, nomes);
    });
    const ListaDeRecentes::Indice indice = ListaDeRecentes::Indice::carregar();

    std::vector<std::optional<Lida>> lidas(nomes.size());
    std::atomic<std::size_t> proximoLote {0};
    const auto ler = [&] {
        for (;;) {
            const std::size_t inicio = proximoLote.fetch_add(kLote);
            if (inicio >= nomes.size() || parar.stop_requested()) {
                return;
            }
            const std::size_t fim = std::min(nomes.size(), inicio + kLote);
            for (std::size_t i = inicio; i < fim; ++i) {
                lidas[i] = lerEntrada(fd, raiz, nomes[i], indice, parar);
            }
        }
    };
    std::vector<std::jthread> ajudantes;
    const std::size_t lotes = (nomes.size() + kLote - 1) / kLote;
    const std::size_t quantos = std::min({static_cast<std::size_t>(std::max(1U, std::thread::hardware_concurrency())),
                                          kMaximoDeAjudantes + 1, lotes});
    for (std::size_t k = 1; k < quantos; ++k) {
        try {
            ajudantes.emplace_back(ler);
        } catch (const std::system_error&) {
            break; // no thread to spare: this one does the rest
        }
    }
    ler();
    ajudantes.clear(); // joins

    // GNOME's metadata store comes after the file's own attributes and before the browsers'
    // histories; it speaks for files, not folders.
    const MetadadosDoGnome gnome = gnomeFuturo.get();
    std::vector<Lida> resultado;
    resultado.reserve(lidas.size());
    for (std::optional<Lida>& lida : lidas) {
        if (!lida) {
            continue;
        }
        if (gnome.disponivel() && lida->origens.empty() && !lida->ehPasta) {
            if (std::optional<std::string> endereco = gnome.enderecoDeDownload(lida->nome)) {
                lida->origens.push_back(std::move(*endereco));
            }
        }
        resultado.push_back(std::move(*lida));
    }
    return resultado;
}

// The folder, open, and its visible names; throws when it cannot be listed.
struct Listagem {
    std::string raiz;
    Descritor fd; // kept open for the entries' statx calls
    std::vector<std::string> nomes;
};

Listagem abrirEListar(const std::string& pasta)
{
    Listagem l;
    l.raiz = caminhoCompleto(pasta);
    l.fd = abrirPasta(AT_FDCWD, l.raiz.c_str(), Links::seguir);
    if (!l.fd.valido()) {
        throw std::system_error(errno, std::generic_category(), l.raiz);
    }
    // The listing consumes its own duplicate.
    Descritor paraListar(::fcntl(l.fd.get(), F_DUPFD_CLOEXEC, 0));
    if (!paraListar.valido()) {
        throw std::system_error(errno, std::generic_category(), l.raiz);
    }
    std::vector<Entrada> entradas;
    if (!lerNomes(std::move(paraListar), entradas)) {
        throw std::system_error(errno == 0 ? EIO : errno, std::generic_category(), l.raiz);
    }
    std::unordered_set<std::string> ocultos;
    if (temOcultosListado(entradas)) {
        ocultos = lerOcultos(l.fd.get());
    }
    l.nomes.reserve(entradas.size());
    for (Entrada& entrada : entradas) {
        if (ehVisivel(entrada.nome, ocultos)) {
            l.nomes.push_back(std::move(entrada.nome));
        }
    }
    return l;
}

} // namespace

std::vector<FileSnapshot> PastaScanner::varrer(const std::string& pasta) const
{
    return varrerComIdentidades(pasta).snapshots;
}

PastaScanner::Resultado PastaScanner::varrerComIdentidades(const std::string& pasta) const
{
    Listagem listagem = abrirEListar(pasta);
    const std::string& raiz = listagem.raiz;
    // Read once per scan and dropped with it, beside the entries.
    std::future<HistoricoDeNavegadores> historicoFuturo = aoLado([this] { return HistoricoDeNavegadores::carregar(parar_); });
    std::vector<Lida> lidas = lerVarias(listagem.fd.get(), raiz, listagem.nomes, parar_);

    const HistoricoDeNavegadores historico = historicoFuturo.get();
    if (parar_.stop_requested()) {
        // Whatever was read is incomplete: nobody may take it for the folder.
        throw std::system_error(ECANCELED, std::generic_category(), raiz);
    }
    std::vector<Lida*> todas;
    todas.reserve(lidas.size());
    for (Lida& lida : lidas) {
        todas.push_back(&lida);
    }
    completarComHistorico(raiz, todas, historico.registros());

    Resultado resultado;
    resultado.snapshots.reserve(lidas.size());
    resultado.identidades.reserve(lidas.size());
    for (Lida& lida : lidas) {
        resultado.identidades.push_back(lida.identidade);
        if (!lida.sha256.empty()) {
            resultado.sha256.emplace(lida.id, std::move(lida.sha256));
        }
        resultado.snapshots.push_back(snapshotDe(std::move(lida)));
    }
    return resultado;
}

std::vector<std::string> PastaScanner::listar(const std::string& pasta) const
{
    return abrirEListar(pasta).nomes;
}

std::vector<PastaScanner::Leitura> PastaScanner::ler(const std::string& pasta, const std::vector<std::string>& nomes) const
{
    const std::string raiz = caminhoCompleto(pasta);
    Descritor fd = abrirPasta(AT_FDCWD, raiz.c_str(), Links::seguir);
    if (!fd.valido()) {
        return {}; // the folder is gone: so is every entry named
    }
    // Names hidden by ".hidden" are left out as a scan leaves them.
    std::unordered_set<std::string> ocultos = lerOcultos(fd.get());
    std::vector<std::string> visiveis;
    visiveis.reserve(nomes.size());
    for (const std::string& nome : nomes) {
        if (ehVisivel(nome, ocultos) && nome.find('/') == std::string::npos) {
            visiveis.push_back(nome);
        }
    }
    std::vector<Leitura> lidas = lerVarias(fd.get(), raiz, visiveis, parar_);
    if (parar_.stop_requested()) {
        throw std::system_error(ECANCELED, std::generic_category(), raiz);
    }
    return lidas;
}

void PastaScanner::completarComHistorico(
    const std::string& pasta, std::vector<Leitura*>& leituras, const std::vector<RegistroDeDownload>& registros)
{
    if (registros.empty()) {
        return;
    }
    // Which browser record is which file: only regular files were downloaded.
    std::vector<CasamentoDeDownloads::Arquivo> arquivos;
    std::vector<Leitura*> deQual;
    for (Leitura* lida : leituras) {
        if (lida->ehRegular) {
            arquivos.push_back({lida->nome, lida->tamanho, lida->nascimento, lida->modificacao, lida->origens.empty()});
            deQual.push_back(lida);
        }
    }
    const std::vector<const RegistroDeDownload*> achados
        = CasamentoDeDownloads::casar(CasamentoDeDownloads::resolver(caminhoCompleto(pasta)), arquivos, registros);
    for (std::size_t k = 0; k < achados.size(); ++k) {
        if (achados[k] != nullptr) {
            completar(*deQual[k], *achados[k]);
        }
    }
}

void PastaScanner::completarCom(Leitura& leitura, const RegistroDeDownload& registro)
{
    completar(leitura, registro);
}

FileSnapshot PastaScanner::snapshotDe(Leitura lida)
{
    return FileSnapshot(std::move(lida.id), Texto::utf8Valido(lida.nome), lida.ehPasta, lida.tamanho, lida.baixadoEm,
        lida.criadoEm, lida.ultimoUso, std::move(lida.origens), lida.ehScreenshot, std::move(lida.agente));
}

std::string PastaScanner::idDe(const std::string& pasta, const std::string& nome)
{
    return juntar(caminhoCompleto(pasta), nome);
}

std::string PastaScanner::caminhoAbsoluto(const std::string& pasta)
{
    return caminhoCompleto(pasta);
}

Date PastaScanner::dataDeCriacao(std::optional<Date> nascimento, std::optional<Date> modificacao) noexcept
{
    return nascimento.value_or(modificacao.value_or(Date::passadoDistante()));
}

std::int64_t PastaScanner::tamanhoDaPasta(const std::string& pasta)
{
    Descritor raiz = abrirPasta(AT_FDCWD, pasta.c_str(), Links::seguir);
    return raiz.valido() ? somarPasta(std::move(raiz), {}) : 0;
}

} // namespace tarrafa
