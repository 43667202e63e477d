// SPDX-License-Identifier: GPL-3.0-or-later
// tarrafa-cli: the inbox of a Downloads folder, without a window.
#include "TarrafaCli/Decidir.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCli/Relatorio.hpp"
#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/ArquivoDeDecisoes.hpp"
#include "TarrafaCore/BancoCopiado.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

constexpr std::string_view kUso
    = "Uso: tarrafa-cli [--json] [PASTA]\n"
      "     tarrafa-cli adiar|resolver|ignorar|esquecer ARQUIVO...\n"
      "Mostra a caixa de entrada da pasta (por padrão, a sua pasta Downloads)\n"
      "agrupada por origem, e o Raio-X da pasta. Nada é alterado.\n"
      "Com adiar, resolver ou ignorar, anota essa decisão para cada ARQUIVO da pasta\n"
      "Downloads, como a janela faz; esquecer devolve o ARQUIVO à caixa de entrada.\n"
      "ARQUIVO é um nome da pasta Downloads ou um caminho até ele.\n"
      "  --json   escreve um objeto JSON em vez do texto\n";

void escrever(std::FILE* destino, std::string_view texto)
{
    std::fwrite(texto.data(), 1, texto.size(), destino);
}

int erroDeUso(std::string_view mensagem, std::string_view argumento = {})
{
    escrever(stderr, "tarrafa-cli: ");
    escrever(stderr, mensagem);
    escrever(stderr, tarrafa::Escapes::paraTerminal(argumento));
    escrever(stderr, "\n");
    escrever(stderr, kUso);
    return 2;
}

// A Downloads folder turned off (pointing at the home) is not an inbox: Documents, Music
// and Pictures would be listed as clutter, or decided.
bool downloadsDesligada()
{
    if (!tarrafa::PastasDoUsuario::ehACasa(tarrafa::PastasDoUsuario::downloads())) {
        return false;
    }
    escrever(stderr, tarrafa::Apresentacao::downloadsNaoConfigurada(tarrafa::PastasDoUsuario::arquivoDasPastas()));
    escrever(stderr, "\n");
    return true;
}

// adiar, resolver, ignorar, esquecer: every argument must name an entry of the Downloads
// folder, or nothing is decided at all.
int decidir(tarrafa::cli::Decidir::Verbo verbo, int argc, char** argv, int primeiro)
{
    namespace Decidir = tarrafa::cli::Decidir;
    std::vector<std::string> arquivos;
    bool semMaisOpcoes = false;
    for (int i = primeiro; i < argc; ++i) {
        const std::string_view argumento = argv[i];
        if (!semMaisOpcoes && argumento == "--") {
            semMaisOpcoes = true;
        } else if (!semMaisOpcoes && argumento.starts_with('-') && argumento.size() > 1) {
            return erroDeUso("opção desconhecida: ", argumento);
        } else {
            arquivos.emplace_back(argumento);
        }
    }
    if (arquivos.empty()) {
        return erroDeUso("falta dizer qual ARQUIVO");
    }
    if (downloadsDesligada()) {
        return 1;
    }
    const std::string pasta = tarrafa::PastasDoUsuario::downloads();
    const Decidir::Alvos alvos = Decidir::resolver(pasta, arquivos);
    if (!alvos.erros.empty()) {
        for (const std::string& erro : alvos.erros) {
            escrever(stderr, erro);
            escrever(stderr, "\n");
        }
        escrever(stderr, "tarrafa-cli: nenhuma decisão foi anotada\n");
        return 1;
    }
    const std::string caminho = tarrafa::PastasDoUsuario::arquivoDeDecisoes();
    tarrafa::ArquivoDeDecisoes arquivo(caminho);
    const tarrafa::ArquivoDeDecisoes::Gravacao gravacao = arquivo.gravar(Decidir::mudancas(verbo, alvos.ids));
    if (gravacao.postoDeLado) {
        escrever(stderr, "tarrafa-cli: o arquivo de decisões não pôde ser lido e foi guardado em ");
        escrever(stderr, tarrafa::Escapes::paraTerminal(*gravacao.postoDeLado));
        escrever(stderr, "\n");
    }
    if (gravacao.falha) {
        escrever(stderr, "tarrafa-cli: não consegui gravar as decisões em ");
        escrever(stderr, tarrafa::Escapes::paraTerminal(caminho));
        escrever(stderr, ": ");
        escrever(stderr, *gravacao.falha);
        escrever(stderr, "\n");
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    // Interrupted with Ctrl+C or by a shutdown, a scan leaves no copy of a browser history.
    tarrafa::BancoCopiado::removerCopiasAoSinal();
    if (argc > 1) {
        if (const auto verbo = tarrafa::cli::Decidir::verboDe(argv[1])) {
            return decidir(*verbo, argc, argv, 2);
        }
    }
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
            return erroDeUso("opção desconhecida: ", argumento);
        } else if (!pasta) {
            pasta = std::string(argumento);
        } else {
            return erroDeUso("só uma pasta por vez");
        }
    }

    // A folder named on the command line is scanned as asked.
    if (!pasta && downloadsDesligada()) {
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
