// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Lixeira.hpp"

#include "TarrafaCore/BarramentoDaSessao.hpp"
#include "TarrafaCore/Caminho.hpp"

#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaCore/UriDeArquivo.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef TARRAFA_COM_GIO
#include <gio/gio.h>
#endif

namespace tarrafa::Lixeira {

namespace {

// A record in info/ is a few hundred bytes; anything far bigger is not one.
constexpr std::size_t kTamanhoMaximoDoRegistro = 64 * 1024;

using Caminho::nomeDe;

// The folder as the disk knows it, every link resolved: a Downloads folder that is a link to
// another disk is on that disk, and its trash is there.
std::optional<std::string> caminhoReal(const std::string& pasta)
{
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(pasta.c_str(), nullptr), &std::free);
    if (!real) {
        return std::nullopt;
    }
    return std::string(real.get());
}

// The top folder of the file system the folder lies on: from its real path, walking up until
// the device changes.
std::optional<std::string> topoDoDisco(const std::string& pasta)
{
    const std::optional<std::string> real = caminhoReal(pasta);
    struct stat info {};
    if (!real || ::stat(real->c_str(), &info) != 0) {
        return std::nullopt;
    }
    std::string atual = *real;
    while (atual != "/") {
        const std::string acima = Caminho::pastaDe(atual);
        struct stat infoAcima {};
        if (::stat(acima.c_str(), &infoAcima) != 0 || infoAcima.st_dev != info.st_dev) {
            break;
        }
        atual = acima;
    }
    return atual;
}

struct Lixeira {
    std::string pasta;
    // What relative paths in its records are relative to; empty for the home trash, whose
    // records hold absolute paths.
    std::string topo;
};

// The trashes that may hold a file that was in this folder: the home trash, and those at the
// top of the disk the folder is on ($topdir/.Trash/$uid, a sticky folder that is not a link,
// and $topdir/.Trash-$uid).
std::vector<Lixeira> lixeirasDaPasta(const std::string& pasta)
{
    std::vector<Lixeira> lixeiras {{PastasDoUsuario::dados() + "/Trash", {}}};
    const std::optional<std::string> topo = topoDoDisco(pasta);
    if (!topo) {
        return lixeiras;
    }
    const std::string base = *topo == "/" ? std::string() : *topo;
    const std::string uid = std::to_string(::getuid());
    struct stat compartilhada {};
    if (::lstat((base + "/.Trash").c_str(), &compartilhada) == 0 && S_ISDIR(compartilhada.st_mode)
        && (compartilhada.st_mode & S_ISVTX) != 0) {
        lixeiras.push_back({base + "/.Trash/" + uid, *topo});
    }
    lixeiras.push_back({base + "/.Trash-" + uid, *topo});
    return lixeiras;
}

std::optional<std::string> lerPequeno(const std::string& caminho)
{
    const Descritor fd = abrirParaLer(AT_FDCWD, caminho.c_str());
    struct stat info {};
    if (!fd.valido() || ::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return std::nullopt;
    }
    return lerTudo(fd.get(), kTamanhoMaximoDoRegistro);
}

struct Registro {
    std::string caminho; // decoded, absolute
    std::string quando;  // DeletionDate as written: ISO 8601, so it sorts as text
};

// A trashinfo file: the [Trash Info] group's Path (percent-encoded, absolute or relative
// to the trash's top folder) and DeletionDate.
std::optional<Registro> lerRegistro(const std::string& conteudo, const std::string& topo)
{
    std::string_view resto = conteudo;
    bool noGrupo = false;
    std::optional<std::string> caminho;
    std::string quando;
    while (!resto.empty()) {
        const std::size_t fim = resto.find('\n');
        std::string_view linha = resto.substr(0, fim);
        resto = fim == std::string_view::npos ? std::string_view() : resto.substr(fim + 1);
        if (!linha.empty() && linha.back() == '\r') {
            linha.remove_suffix(1);
        }
        if (linha.starts_with('[')) {
            noGrupo = linha == "[Trash Info]";
        } else if (noGrupo && linha.starts_with("Path=")) {
            const std::string_view valor = linha.substr(5);
            if (valor.empty()) {
                return std::nullopt;
            }
            // The same percent-encoding as a file address's path.
            const bool absoluto = valor.front() == '/';
            if (!absoluto && topo.empty()) {
                return std::nullopt;
            }
            const std::optional<std::string> decodificado
                = UriDeArquivo::caminho("file://" + std::string(absoluto ? "" : "/") + std::string(valor));
            if (!decodificado) {
                return std::nullopt;
            }
            caminho = absoluto ? *decodificado : (topo == "/" ? std::string() : topo) + *decodificado;
        } else if (noGrupo && linha.starts_with("DeletionDate=")) {
            quando = std::string(linha.substr(13));
        }
    }
    if (!caminho) {
        return std::nullopt;
    }
    return Registro {std::move(*caminho), std::move(quando)};
}

// A trash of this user's: a real folder, not a link, that the user owns and nobody else may
// write into. On a shared disk anyone may make $topdir/.Trash-$uid first; its records could
// hand the person someone else's file (or a link to a secret), so such a folder is never read.
bool ehDoUsuario(const std::string& pasta)
{
    struct stat info {};
    return ::lstat(pasta.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::getuid()
        && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Calls visitar with every record of the folder's trashes whose file is still there.
// A record names the file by the path it was trashed from, which may be the real one (GIO
// resolves links to find the disk's top) or the one through a link; it is given back in the
// folder's own terms, the way the folder is listed.
template <typename Visitar> void percorrer(const std::string& pasta, Visitar&& visitar)
{
    const std::optional<std::string> real = caminhoReal(pasta);
    for (const Lixeira& lixeira : lixeirasDaPasta(pasta)) {
        if (!ehDoUsuario(lixeira.pasta)) {
            continue;
        }
        const std::string pastaInfo = lixeira.pasta + "/info";
        DIR* dir = ::opendir(pastaInfo.c_str());
        if (dir == nullptr) {
            continue;
        }
        while (const dirent* entrada = ::readdir(dir)) {
            const std::string_view nome = entrada->d_name;
            constexpr std::string_view kSufixo = ".trashinfo";
            if (nome.size() <= kSufixo.size() || !nome.ends_with(kSufixo)) {
                continue;
            }
            const std::string info = pastaInfo + "/" + std::string(nome);
            const std::optional<std::string> conteudo = lerPequeno(info);
            std::optional<Registro> registro = conteudo ? lerRegistro(*conteudo, lixeira.topo) : std::nullopt;
            if (!registro) {
                continue;
            }
            if (real && *real != pasta && Caminho::pastaDe(registro->caminho) == *real) {
                registro->caminho = (pasta == "/" ? std::string() : pasta) + "/" + nomeDe(registro->caminho);
            }
            std::string arquivo = lixeira.pasta + "/files/" + std::string(nome.substr(0, nome.size() - kSufixo.size()));
            struct stat noLugar {};
            if (::lstat(arquivo.c_str(), &noLugar) != 0) {
                continue; // a record whose file is gone
            }
            visitar(Guardado {std::move(registro->caminho), std::move(arquivo), info, lixeira.pasta,
                std::move(registro->quando)});
        }
        ::closedir(dir);
    }
}

// Drops the line of this name from the trash's cache of folder sizes, where there is one.
void esquecerTamanho(const std::string& pastaDaLixeira, const std::string& nome)
{
    const std::string cache = pastaDaLixeira + "/directorysizes";
    const std::optional<std::string> conteudo = lerPequeno(cache);
    if (!conteudo) {
        return;
    }
    std::string novo;
    bool mudou = false;
    std::string_view resto = *conteudo;
    while (!resto.empty()) {
        const std::size_t fim = resto.find('\n');
        const std::string_view linha = resto.substr(0, fim);
        resto = fim == std::string_view::npos ? std::string_view() : resto.substr(fim + 1);
        // "size mtime percent-encoded-name"
        const std::size_t espaco = linha.rfind(' ');
        const std::optional<std::string> deQuem = espaco == std::string_view::npos
            ? std::nullopt
            : UriDeArquivo::caminho("file:///" + std::string(linha.substr(espaco + 1)));
        if (deQuem && *deQuem == "/" + nome) {
            mudou = true;
            continue;
        }
        novo.append(linha);
        novo += '\n';
    }
    if (!mudou) {
        return;
    }
    const std::string temporario = cache + ".tarrafa";
    if (std::FILE* saida = std::fopen(temporario.c_str(), "wbx")) {
        const bool escrito = std::fwrite(novo.data(), 1, novo.size(), saida) == novo.size();
        if (std::fclose(saida) == 0 && escrito && ::rename(temporario.c_str(), cache.c_str()) == 0) {
            return;
        }
        ::unlink(temporario.c_str());
    }
}

std::optional<Falha> restaurarDe(const NaLixeira& naLixeira, const std::string& caminhoOriginal)
{
    struct stat info {};
    if (::stat(Caminho::pastaDe(caminhoOriginal).c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        return Falha("a pasta onde ele estava não existe mais.");
    }
    const Falha ocupado = "já existe um arquivo com esse nome na pasta. Nada foi substituído.";
    if (::lstat(caminhoOriginal.c_str(), &info) == 0) {
        return ocupado;
    }
    // Only what is the person's comes back: in a trash on a shared disk, what another user
    // put there is theirs.
    if (::lstat(naLixeira.arquivo.c_str(), &info) != 0) {
        return Falha("ele não está mais na Lixeira.");
    }
    if (info.st_uid != ::getuid()) {
        return Falha("o que está na Lixeira com esse nome não é seu. Nada foi restaurado.");
    }
    // Never over what may have appeared meanwhile, and never a copy across disks.
    if (::renameat2(AT_FDCWD, naLixeira.arquivo.c_str(), AT_FDCWD, caminhoOriginal.c_str(), RENAME_NOREPLACE)
        != 0) {
        if (errno == EEXIST) {
            return ocupado;
        }
        if (errno != EINVAL && errno != ENOSYS) {
            return Falha(std::generic_category().message(errno));
        }
        if (::lstat(caminhoOriginal.c_str(), &info) == 0) {
            return ocupado;
        }
        if (::rename(naLixeira.arquivo.c_str(), caminhoOriginal.c_str()) != 0) {
            return Falha(std::generic_category().message(errno));
        }
    }
    ::unlink(naLixeira.info.c_str());
    esquecerTamanho(naLixeira.pastaDaLixeira, nomeDe(naLixeira.arquivo));
    return std::nullopt;
}


#ifdef TARRAFA_COM_GIO
struct LiberarGObject {
    void operator()(gpointer objeto) const noexcept { g_object_unref(objeto); }
};
struct LiberarGError {
    void operator()(GError* erro) const noexcept { g_error_free(erro); }
};
#endif

} // namespace

std::optional<Falha> mover(const std::string& caminho, const std::optional<Identidade>& vista)
{
    // Only what the person saw. A path with nothing at it is left to GIO, whose refusal
    // says so.
    if (vista) {
        if (const std::optional<Identidade> agora = Identidade::ler(caminho); agora && *agora != *vista) {
            return Falha("o arquivo mudou desde a última varredura.");
        }
    }
#ifdef TARRAFA_COM_GIO
    // GIO may reach for the session bus on first use; one that does not answer is left out.
    (void)BarramentoDaSessao::conferir();
    // The exact bytes of the path: names need not be UTF-8. Never a copy, never a delete.
    const std::unique_ptr<GFile, LiberarGObject> arquivo(g_file_new_for_path(caminho.c_str()));
    GError* falha = nullptr;
    if (g_file_trash(arquivo.get(), nullptr, &falha)) {
        return std::nullopt;
    }
    const std::unique_ptr<GError, LiberarGError> erro(falha);
    return Falha(erro ? erro->message : "");
#else
    return Falha("este Tarrafa foi construído sem GIO, que move arquivos para a Lixeira.");
#endif
}

std::optional<NaLixeira> procurar(const std::string& caminhoOriginal)
{
    std::optional<Guardado> maisNovo;
    percorrer(Caminho::pastaDe(caminhoOriginal), [&](Guardado guardado) {
        if (guardado.caminhoOriginal == caminhoOriginal && (!maisNovo || guardado.apagadoEm > maisNovo->apagadoEm)) {
            maisNovo = std::move(guardado);
        }
    });
    if (!maisNovo) {
        return std::nullopt;
    }
    return NaLixeira {std::move(maisNovo->arquivo), std::move(maisNovo->info), std::move(maisNovo->pastaDaLixeira)};
}

std::vector<Guardado> listar(const std::string& pasta)
{
    std::vector<Guardado> daPasta;
    percorrer(pasta, [&](Guardado guardado) {
        if (Caminho::pastaDe(guardado.caminhoOriginal) == pasta) {
            daPasta.push_back(std::move(guardado));
        }
    });
    std::stable_sort(daPasta.begin(), daPasta.end(),
        [](const Guardado& a, const Guardado& b) { return a.apagadoEm < b.apagadoEm; });
    return daPasta;
}

std::optional<Falha> restaurar(const std::string& caminhoOriginal)
{
    const std::optional<NaLixeira> naLixeira = procurar(caminhoOriginal);
    if (!naLixeira) {
        return Falha("ele não está na Lixeira.");
    }
    return restaurarDe(*naLixeira, caminhoOriginal);
}

std::optional<Falha> restaurar(const Guardado& guardado)
{
    struct stat noLugar {};
    if (::lstat(guardado.arquivo.c_str(), &noLugar) != 0) {
        return Falha("ele não está mais na Lixeira.");
    }
    return restaurarDe({guardado.arquivo, guardado.info, guardado.pastaDaLixeira}, guardado.caminhoOriginal);
}

} // namespace tarrafa::Lixeira
