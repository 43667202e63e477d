// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCli/Decidir.hpp"

#include "TarrafaCore/EmAndamento.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/PastaScanner.hpp"

#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace tarrafa::cli::Decidir {

namespace {

constexpr std::array<std::pair<std::string_view, Verbo>, 4> kVerbos {{
    {"adiar", Verbo::adiar},
    {"resolver", Verbo::resolver},
    {"ignorar", Verbo::ignorar},
    {"esquecer", Verbo::esquecer},
}};

// The same folder, whatever path leads to it.
bool mesmaPasta(const std::string& a, const std::string& b)
{
    struct stat sa {};
    struct stat sb {};
    return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && S_ISDIR(sa.st_mode)
        && sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

std::string semBarrasNoFim(std::string caminho)
{
    while (caminho.size() > 1 && caminho.back() == '/') {
        caminho.pop_back();
    }
    return caminho;
}

} // namespace

std::optional<Verbo> verboDe(std::string_view palavra) noexcept
{
    for (const auto& [nome, verbo] : kVerbos) {
        if (nome == palavra) {
            return verbo;
        }
    }
    return std::nullopt;
}

Alvos resolver(const std::string& pasta, const std::vector<std::string>& argumentos, Existencia existencia)
{
    Alvos alvos;
    for (const std::string& argumento : argumentos) {
        const auto recusar = [&](std::string_view motivo) {
            alvos.erros.push_back("tarrafa-cli: " + Escapes::paraTerminal(argumento) + ": " + std::string(motivo));
        };
        // "relatorio.pdf/" names the entry too (a folder completed by the shell).
        const std::string caminho = semBarrasNoFim(argumento);
        const std::size_t barra = caminho.rfind('/');
        std::string nome = barra == std::string::npos ? caminho : caminho.substr(barra + 1);
        if (barra != std::string::npos) {
            const std::string pai = barra == 0 ? "/" : caminho.substr(0, barra);
            if (!mesmaPasta(pai, pasta)) {
                recusar("não está na pasta Downloads (" + Escapes::paraTerminal(pasta) + ")");
                continue;
            }
        }
        struct stat info {};
        if (nome.empty() || nome == "." || nome == ".."
            || (existencia == Existencia::exigida
                && ::fstatat(AT_FDCWD, (pasta + "/" + nome).c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)) {
            recusar("não está na pasta Downloads (" + Escapes::paraTerminal(pasta) + ")");
            continue;
        }
        // A download under way is the browser's until it is done: nothing is decided about it.
        const auto existe = [&pasta](const std::string& outro) {
            struct stat daquele {};
            return ::fstatat(AT_FDCWD, (pasta + "/" + outro).c_str(), &daquele, AT_SYMLINK_NOFOLLOW) == 0;
        };
        if (existencia == Existencia::exigida
            && EmAndamento::baixando(nome, S_ISREG(info.st_mode), S_ISREG(info.st_mode) ? info.st_size : 0, existe)) {
            recusar("ainda está sendo baixado; espere o download terminar");
            continue;
        }
        alvos.ids.push_back(PastaScanner::idDe(pasta, nome));
    }
    return alvos;
}

ArquivoDeDecisoes::Mudancas mudancas(Verbo verbo, const std::vector<std::string>& ids)
{
    ArquivoDeDecisoes::Mudancas feitas;
    for (const std::string& id : ids) {
        switch (verbo) {
        case Verbo::adiar:
            feitas.decidir(id, Decisao::adiado);
            break;
        case Verbo::resolver:
            feitas.decidir(id, Decisao::resolvido);
            break;
        case Verbo::ignorar:
            feitas.decidir(id, Decisao::ignorado);
            break;
        case Verbo::esquecer:
            feitas.esquecer(id);
            break;
        }
    }
    return feitas;
}

} // namespace tarrafa::cli::Decidir
