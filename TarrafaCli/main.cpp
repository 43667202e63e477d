// SPDX-License-Identifier: GPL-3.0-or-later
// tarrafa-cli: the inbox of a Downloads folder, without a window.
#include "TarrafaCli/Decidir.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCli/Relatorio.hpp"
#include "TarrafaCli/Vigiar.hpp"
#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/ArquivoDeDecisoes.hpp"
#include "TarrafaCore/BancoCopiado.hpp"
#include "TarrafaCore/Identidade.hpp"
#include "TarrafaCore/Lixeira.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

// What a usage error prints after its message: the forms of the command, and where to learn
// more.
constexpr std::string_view kUso
    = "Uso: tarrafa-cli [--json] [--estado ESTADO] [PASTA]\n"
      "     tarrafa-cli adiar|resolver|ignorar|esquecer ARQUIVO...\n"
      "     tarrafa-cli lixeira|restaurar ARQUIVO...\n"
      "     tarrafa-cli vigiar [--json] [PASTA]\n"
      "Veja tarrafa-cli --help ou man tarrafa-cli.\n";

// --help: every subcommand and option, each with an example.
constexpr std::string_view kAjuda
    = "Uso: tarrafa-cli [--json] [--estado ESTADO] [PASTA]\n"
      "     tarrafa-cli adiar|resolver|ignorar|esquecer ARQUIVO...\n"
      "     tarrafa-cli lixeira|restaurar ARQUIVO...\n"
      "     tarrafa-cli vigiar [--json] [PASTA]\n"
      "\n"
      "Sem subcomando, mostra a caixa de entrada da PASTA (por padrão, a sua pasta\n"
      "Downloads) agrupada por origem, com o motivo de cada arquivo talvez ser\n"
      "entulho, e o Raio-X da pasta. Ler a pasta não altera nada nela. Com --estado,\n"
      "mostra outra lista da janela no lugar da caixa de entrada.\n"
      "  tarrafa-cli ~/Downloads\n"
      "\n"
      "Subcomandos (ARQUIVO é um nome da pasta Downloads ou um caminho até ele):\n"
      "  adiar      adia cada ARQUIVO: sai da caixa de entrada e vai para Adiados\n"
      "               tarrafa-cli adiar contrato.pdf\n"
      "  resolver   marca cada ARQUIVO como resolvido\n"
      "               tarrafa-cli resolver 'Relatório anual.pdf'\n"
      "  ignorar    marca cada ARQUIVO como ignorado\n"
      "               tarrafa-cli ignorar ~/Downloads/fotos\n"
      "  esquecer   esquece a decisão: o ARQUIVO volta à caixa de entrada\n"
      "               tarrafa-cli esquecer contrato.pdf\n"
      "  lixeira    move cada ARQUIVO para a Lixeira e o marca como resolvido\n"
      "               tarrafa-cli lixeira instalador.deb\n"
      "  restaurar  traz o ARQUIVO de volta da Lixeira, sem nunca substituir outro\n"
      "               tarrafa-cli restaurar instalador.deb\n"
      "  vigiar     escreve uma linha a cada mudança na pasta (chegou, mudou, saiu,\n"
      "             origem, baixando) até ser interrompido\n"
      "               tarrafa-cli vigiar\n"
      "\n"
      "Opções:\n"
      "  --json     escreve JSON em vez de texto (com vigiar, uma linha por mudança)\n"
      "               tarrafa-cli --json | jq '.raioX.total'\n"
      "  --estado ESTADO  lista só os arquivos de um estado, como a barra lateral da\n"
      "             janela: caixa (o padrão: os que esperam decisão), adiados,\n"
      "             resolvidos (resolvidos, ignorados e os que foram para a\n"
      "             Lixeira) ou todos; grupos e totais contam só esses, o Raio-X\n"
      "             é sempre da pasta inteira\n"
      "               tarrafa-cli --estado adiados\n"
      "  --         o que vem depois é PASTA ou ARQUIVO, mesmo começando com \"-\"\n"
      "               tarrafa-cli adiar -- -rascunho.txt\n"
      "  -h, --help mostra esta ajuda\n"
      "               tarrafa-cli --help\n"
      "  --version  mostra a versão\n"
      "               tarrafa-cli --version\n"
      "\n"
      "Status de saída: 0 feito; 1 a pasta ou um ARQUIVO não pôde ser lido, movido ou\n"
      "decidido; 2 erro de uso. Mais em man tarrafa-cli.\n";

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

// The ARQUIVO arguments of a subcommand, "--" allowing names that start with "-"; none after
// a usage error, whose status is then in status.
std::optional<std::vector<std::string>> arquivosDe(int argc, char** argv, int primeiro, int& status)
{
    std::vector<std::string> arquivos;
    bool semMaisOpcoes = false;
    for (int i = primeiro; i < argc; ++i) {
        const std::string_view argumento = argv[i];
        if (!semMaisOpcoes && argumento == "--") {
            semMaisOpcoes = true;
        } else if (!semMaisOpcoes && argumento.starts_with('-') && argumento.size() > 1) {
            status = erroDeUso("opção desconhecida: ", argumento);
            return std::nullopt;
        } else {
            arquivos.emplace_back(argumento);
        }
    }
    if (arquivos.empty()) {
        status = erroDeUso("falta dizer qual ARQUIVO");
        return std::nullopt;
    }
    return arquivos;
}

// The ids the arguments name in the Downloads folder; none (the reasons printed) when one is
// not there, so that nothing is done to any.
std::optional<std::vector<std::string>> alvosDe(const std::vector<std::string>& arquivos,
    tarrafa::cli::Decidir::Existencia existencia, std::string_view nadaFeito)
{
    const tarrafa::cli::Decidir::Alvos alvos
        = tarrafa::cli::Decidir::resolver(tarrafa::PastasDoUsuario::downloads(), arquivos, existencia);
    if (alvos.erros.empty()) {
        return alvos.ids;
    }
    for (const std::string& erro : alvos.erros) {
        escrever(stderr, erro);
        escrever(stderr, "\n");
    }
    escrever(stderr, "tarrafa-cli: ");
    escrever(stderr, nadaFeito);
    escrever(stderr, "\n");
    return std::nullopt;
}

// Writes the changes to the decision file the window shares; false (said) when that failed.
bool gravar(const tarrafa::ArquivoDeDecisoes::Mudancas& mudancas)
{
    const std::string caminho = tarrafa::PastasDoUsuario::arquivoDeDecisoes();
    tarrafa::ArquivoDeDecisoes arquivo(caminho);
    const tarrafa::ArquivoDeDecisoes::Gravacao gravacao = arquivo.gravar(mudancas);
    if (gravacao.postoDeLado) {
        escrever(stderr, "tarrafa-cli: o arquivo de decisões não pôde ser lido e foi guardado em ");
        escrever(stderr, tarrafa::Escapes::paraTerminal(*gravacao.postoDeLado));
        escrever(stderr, "\n");
    }
    if (gravacao.ocupado) {
        escrever(stderr, "tarrafa-cli: Outro programa está usando as decisões (");
        escrever(stderr, tarrafa::Escapes::paraTerminal(caminho));
        escrever(stderr, ") e não as liberou em "
                + std::to_string(tarrafa::ArquivoDeDecisoes::kEsperaPelaTrava.count() / 1000)
                + " s: nada foi gravado. Tente de novo quando ele terminar.\n");
        return false;
    }
    if (gravacao.falha) {
        escrever(stderr, "tarrafa-cli: não consegui gravar as decisões em ");
        escrever(stderr, tarrafa::Escapes::paraTerminal(caminho));
        escrever(stderr, ": ");
        escrever(stderr, *gravacao.falha);
        escrever(stderr, "\n");
        return false;
    }
    return true;
}

std::string nomeDe(const std::string& id)
{
    return tarrafa::Escapes::paraTerminal(id.substr(id.rfind('/') + 1));
}

// adiar, resolver, ignorar, esquecer: every argument must name an entry of the Downloads
// folder, or nothing is decided at all.
int decidir(tarrafa::cli::Decidir::Verbo verbo, const std::vector<std::string>& arquivos)
{
    const auto ids = alvosDe(arquivos, tarrafa::cli::Decidir::Existencia::exigida, "nenhuma decisão foi anotada");
    if (!ids) {
        return 1;
    }
    return gravar(tarrafa::cli::Decidir::mudancas(verbo, *ids)) ? 0 : 1;
}

// lixeira: as the window's "Mover para a Lixeira" once confirmed (typing the command is the
// confirmation). Each moved file is marked resolved, as the window marks it.
int lixeira(const std::vector<std::string>& arquivos)
{
    const auto ids = alvosDe(arquivos, tarrafa::cli::Decidir::Existencia::exigida, "nada foi movido");
    if (!ids) {
        return 1;
    }
    int status = 0;
    std::vector<std::string> movidos;
    for (const std::string& id : *ids) {
        // What the argument named a moment ago is what moves; anything that took its place
        // since then stays.
        if (const auto falha = tarrafa::Lixeira::mover(id, tarrafa::Identidade::ler(id))) {
            escrever(stderr, "Não consegui mover " + nomeDe(id) + " para a Lixeira: " + *falha + "\n");
            status = 1;
            continue;
        }
        movidos.push_back(id);
    }
    if (!movidos.empty() && !gravar(tarrafa::cli::Decidir::mudancas(tarrafa::cli::Decidir::Verbo::resolver, movidos))) {
        status = 1;
    }
    return status;
}

// restaurar: each file back where it was, by its original path, and back in the inbox.
int restaurar(const std::vector<std::string>& arquivos)
{
    const auto ids = alvosDe(arquivos, tarrafa::cli::Decidir::Existencia::dispensada, "nada foi restaurado");
    if (!ids) {
        return 1;
    }
    int status = 0;
    std::vector<std::string> restaurados;
    for (const std::string& id : *ids) {
        if (const auto falha = tarrafa::Lixeira::restaurar(id)) {
            escrever(stderr, "Não consegui restaurar " + nomeDe(id) + ": " + *falha + "\n");
            status = 1;
            continue;
        }
        restaurados.push_back(id);
    }
    if (!restaurados.empty()
        && !gravar(tarrafa::cli::Decidir::mudancas(tarrafa::cli::Decidir::Verbo::esquecer, restaurados))) {
        status = 1;
    }
    return status;
}

// The subcommands that act on files of the Downloads folder; none for another first word.
std::optional<int> subcomando(int argc, char** argv)
{
    if (argc < 2) {
        return std::nullopt;
    }
    const std::string_view palavra = argv[1];
    const auto verbo = tarrafa::cli::Decidir::verboDe(palavra);
    if (!verbo && palavra != "lixeira" && palavra != "restaurar") {
        return std::nullopt;
    }
    int status = 0;
    const auto arquivos = arquivosDe(argc, argv, 2, status);
    if (!arquivos) {
        return status;
    }
    if (downloadsDesligada()) {
        return 1;
    }
    if (verbo) {
        return decidir(*verbo, *arquivos);
    }
    return palavra == "lixeira" ? lixeira(*arquivos) : restaurar(*arquivos);
}

} // namespace

int main(int argc, char** argv)
{
    // Interrupted with Ctrl+C or by a shutdown, a scan leaves no copy of a browser history.
    tarrafa::BancoCopiado::removerCopiasAoSinal();
    if (const std::optional<int> status = subcomando(argc, argv)) {
        return *status;
    }
    const bool vigiar = argc > 1 && std::string_view(argv[1]) == "vigiar";
    bool json = false;
    tarrafa::cli::Relatorio::Filtro estado = tarrafa::Estado::caixa;
    std::optional<std::string> pasta;
    bool semMaisOpcoes = false;
    for (int i = vigiar ? 2 : 1; i < argc; ++i) {
        const std::string_view argumento = argv[i];
        if (!semMaisOpcoes && argumento == "--json") {
            json = true;
        } else if (!semMaisOpcoes && (argumento == "--help" || argumento == "-h")) {
            escrever(stdout, kAjuda);
            return 0;
        } else if (!semMaisOpcoes && argumento == "--version") {
            escrever(stdout, "tarrafa-cli " TARRAFA_VERSAO "\n");
            return 0;
        } else if (!semMaisOpcoes && !vigiar && (argumento == "--estado" || argumento.starts_with("--estado="))) {
            // "--estado adiados" or "--estado=adiados".
            std::string_view valor;
            if (argumento != "--estado") {
                valor = argumento.substr(std::string_view("--estado=").size());
            } else if (i + 1 < argc) {
                valor = argv[++i];
            } else {
                return erroDeUso("falta dizer qual ESTADO: caixa, adiados, resolvidos ou todos");
            }
            const auto filtro = tarrafa::cli::Relatorio::filtroDe(valor);
            if (!filtro) {
                return erroDeUso("ESTADO é caixa, adiados, resolvidos ou todos, não ", valor);
            }
            estado = *filtro;
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
    if (vigiar) {
        return tarrafa::cli::Vigiar::executar(pasta ? *pasta : tarrafa::PastasDoUsuario::downloads(), json);
    }
    try {
        const tarrafa::cli::Relatorio relatorio
            = tarrafa::cli::Relatorio::de(pasta ? *pasta : tarrafa::PastasDoUsuario::downloads(), estado);
        escrever(stdout, json ? relatorio.comoJson() : relatorio.comoTexto());
    } catch (const std::system_error& erro) {
        escrever(stderr, "Não consegui ler a pasta Downloads: ");
        escrever(stderr, erro.code().message());
        escrever(stderr, "\n");
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
