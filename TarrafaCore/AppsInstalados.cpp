// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/AppsInstalados.hpp"

#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaCore/Texto.hpp"

#include <cerrno>
#include <dirent.h>
#include <memory>
#include <optional>
#include <string_view>

namespace tarrafa::AppsInstalados {

namespace {

// The names of a folder's immediate children, without "." and ".."; absent when the folder
// cannot be opened or the listing breaks off (a partial listing is not trusted).
std::optional<std::vector<std::string>> nomesDosFilhos(const std::string& caminho)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> pasta(::opendir(caminho.c_str()), ::closedir);
    if (!pasta) {
        return std::nullopt;
    }
    std::vector<std::string> nomes;
    for (;;) {
        errno = 0;
        const dirent* entrada = ::readdir(pasta.get());
        if (entrada == nullptr) {
            if (errno != 0) {
                return std::nullopt;
            }
            return nomes;
        }
        const std::string_view nome(entrada->d_name);
        if (nome != "." && nome != "..") {
            nomes.emplace_back(nome);
        }
    }
}

} // namespace

std::vector<PastaDeApps> pastas()
{
    const std::string casa = PastasDoUsuario::casa();
    std::vector<PastaDeApps> lista {
        {"/Applications", {".app"}},
        {"/System/Applications", {".app"}},
        // AppImage users keep their applications here too.
        {casa + "/Applications", {".app", ".AppImage"}},
        {PastasDoUsuario::dados() + "/applications", {".desktop"}},
    };
    for (const std::string& dir : PastasDoUsuario::diretoriosDeDados()) {
        lista.push_back({dir + "/applications", {".desktop"}});
    }
    return lista;
}

std::set<std::string> listar(const std::vector<PastaDeApps>& pastasDeApps)
{
    std::set<std::string> apps;
    for (const PastaDeApps& pasta : pastasDeApps) {
        const std::optional<std::vector<std::string>> nomes = nomesDosFilhos(pasta.caminho);
        if (!nomes) {
            continue;
        }
        for (const std::string& nome : *nomes) {
            for (const std::string& fim : pasta.finais) {
                if (nome.ends_with(fim)) {
                    // Names are bytes; the set is only matched against text, so it holds text.
                    apps.insert(
                        Texto::utf8Valido(std::string_view(nome).substr(0, nome.size() - fim.size())));
                    break;
                }
            }
        }
    }
    return apps;
}

std::set<std::string> listar()
{
    try {
        return listar(pastas());
    } catch (...) {
        // Only memory exhaustion can get here; the contract is to never fail.
        return {};
    }
}

} // namespace tarrafa::AppsInstalados
