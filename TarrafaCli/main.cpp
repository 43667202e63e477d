// SPDX-License-Identifier: GPL-3.0-or-later
// tarrafa-cli: the inbox of a Downloads folder, without a window.
#include "TarrafaCli/Relatorio.hpp"
#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/BancoCopiado.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace {

constexpr std::string_view kUso = "Uso: tarrafa-cli [--json] [PASTA]\n"
                                  "Mostra a caixa de entrada da pasta (por padrão, a sua pasta Downloads)\n"
                                  "agrupada por origem, e o Raio-X da pasta. Nada é alterado.\n"
                                  "  --json   escreve um objeto JSON em vez do texto\n";

void escrever(std::FILE* destino, std::string_view texto)
{
    std::fwrite(texto.data(), 1, texto.size(), destino);
}

} // namespace

int main(int argc, char** argv)
{
    // Interrupted with Ctrl+C or by a shutdown, a scan leaves no copy of a browser history.
    tarrafa::BancoCopiado::removerCopiasAoSinal();
    bool json = false;
    std::optional<std::string> pasta;
    bool semMaisOpcoes = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argumento = argv[i];
        if (!semMaisOpcoes && argumento == "--json") {
            json = true;
        } else if (!semMaisOpcoes && (argumento == "--help" || argumento == "-h")) {
            escrever(stdout, kUso);
            return 0;
        } else if (!semMaisOpcoes && argumento == "--") {
            semMaisOpcoes = true;
        } else if (!semMaisOpcoes && argumento.starts_with('-') && argumento.size() > 1) {
            escrever(stderr, "tarrafa-cli: opção desconhecida: ");
            escrever(stderr, argumento);
            escrever(stderr, "\n");
            escrever(stderr, kUso);
            return 2;
        } else if (!pasta) {
            pasta = std::string(argumento);
        } else {
            escrever(stderr, "tarrafa-cli: só uma pasta por vez\n");
            escrever(stderr, kUso);
            return 2;
        }
    }

    // A Downloads folder turned off (pointing at the home) is not an inbox: Documents, Music
    // and Pictures would be listed as clutter. A folder named on the command line is scanned
    // as asked.
    if (!pasta && tarrafa::PastasDoUsuario::ehACasa(tarrafa::PastasDoUsuario::downloads())) {
        escrever(stderr,
            tarrafa::Apresentacao::downloadsNaoConfigurada(tarrafa::PastasDoUsuario::arquivoDasPastas()));
        escrever(stderr, "\n");
        return 1;
    }
    try {
        const tarrafa::cli::Relatorio relatorio
            = tarrafa::cli::Relatorio::de(pasta ? *pasta : tarrafa::PastasDoUsuario::downloads());
        escrever(stdout, json ? relatorio.comoJson() : relatorio.comoTexto());
    } catch (const std::system_error& erro) {
        escrever(stderr, "Não consegui ler a pasta Downloads: ");
        escrever(stderr, erro.code().message());
        escrever(stderr, "\n");
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
