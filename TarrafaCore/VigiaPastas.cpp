// SPDX-License-Identifier: GPL-3.0-or-later
// The watcher's watches: the folder (followed when its path comes to name another), the
// folders below it, the browsers' histories and the recently-used list, and what is read
// again for want of a watch.
#include "TarrafaCore/VigiaEstado.hpp"

#include "TarrafaCore/Caminho.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarrafa {

namespace vigiaInterna {

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

bool ehOculto(const std::string& nome)
{
    return nome.empty() || nome.front() == '.';
}

// Hidden folders' contents are not counted in any size. Opened without touching the access
// time where the kernel allows it (a folder of someone else's is listed all the same) and
// never through a link, but for the folder the person named, which may be one.
std::vector<std::string> subpastas(const std::string& caminho, bool seguirLink)
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

} // namespace vigiaInterna

using namespace vigiaInterna;
using Caminho::juntar;

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


} // namespace tarrafa
