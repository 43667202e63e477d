// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/PastasDoUsuario.hpp"

#include <cstdlib>
#include <fstream>
#include <pwd.h>
#include <string_view>
#include <unistd.h>

namespace tarrafa::PastasDoUsuario {

namespace {

std::string variavelAbsoluta(const char* nome)
{
    const char* valor = std::getenv(nome);
    if (valor == nullptr || valor[0] != '/') {
        return {};
    }
    return valor;
}

} // namespace

std::string casa()
{
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0') {
        return home;
    }
    if (const passwd* conta = ::getpwuid(::getuid()); conta != nullptr && conta->pw_dir != nullptr) {
        return conta->pw_dir;
    }
    return "/";
}

std::string dados()
{
    std::string valor = variavelAbsoluta("XDG_DATA_HOME");
    return valor.empty() ? casa() + "/.local/share" : valor;
}

std::string arquivoDeDecisoes()
{
    return dados() + "/Tarrafa/decisoes.json";
}

std::string cache()
{
    std::string valor = variavelAbsoluta("XDG_CACHE_HOME");
    return valor.empty() ? casa() + "/.cache" : valor;
}

std::string arquivoDeHashes()
{
    return cache() + "/Tarrafa/hashes.sqlite";
}

std::string configuracao()
{
    std::string valor = variavelAbsoluta("XDG_CONFIG_HOME");
    return valor.empty() ? casa() + "/.config" : valor;
}

std::vector<std::string> diretoriosDeDados()
{
    std::vector<std::string> pastas;
    if (const char* valor = std::getenv("XDG_DATA_DIRS"); valor != nullptr) {
        std::string_view resto(valor);
        while (!resto.empty()) {
            const std::size_t fim = resto.find(':');
            const std::string_view parte = resto.substr(0, fim);
            // Relative entries are invalid by the convention and ignored.
            if (!parte.empty() && parte.front() == '/') {
                pastas.emplace_back(parte);
            }
            if (fim == std::string_view::npos) {
                break;
            }
            resto.remove_prefix(fim + 1);
        }
    }
    if (pastas.empty()) {
        pastas = {"/usr/local/share", "/usr/share"};
    }
    return pastas;
}

std::string arquivoDasPastas()
{
    return configuracao() + "/user-dirs.dirs";
}

bool ehACasa(const std::string& pasta)
{
    const auto real = [](const std::string& caminho) {
        if (char* resolvido = ::realpath(caminho.c_str(), nullptr)) {
            std::string r(resolvido);
            std::free(resolvido);
            return r;
        }
        std::string limpo = caminho;
        while (limpo.size() > 1 && limpo.back() == '/') {
            limpo.pop_back();
        }
        return limpo;
    };
    return !pasta.empty() && real(pasta) == real(casa());
}

std::string downloads()
{
    std::ifstream arquivo(arquivoDasPastas());
    std::string linha;
    std::string escolhido;
    while (std::getline(arquivo, linha)) {
        constexpr std::string_view kChave = "XDG_DOWNLOAD_DIR=";
        if (linha.rfind(kChave, 0) != 0) {
            continue;
        }
        std::string valor = linha.substr(kChave.size());
        if (valor.size() >= 2 && valor.front() == '"' && valor.back() == '"') {
            valor = valor.substr(1, valor.size() - 2);
        }
        if (valor.rfind("$HOME", 0) == 0) {
            valor = casa() + valor.substr(5);
        }
        escolhido = valor; // the last assignment wins, as in a shell
    }
    while (escolhido.size() > 1 && escolhido.back() == '/') {
        escolhido.pop_back();
    }
    if (!escolhido.empty() && escolhido.front() == '/') {
        return escolhido;
    }
    return casa() + "/Downloads";
}

} // namespace tarrafa::PastasDoUsuario
