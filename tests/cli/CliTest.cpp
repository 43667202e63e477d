// SPDX-License-Identifier: GPL-3.0-or-later
// The command line, run as a real process on a real folder with real attributes.
#include "Apoio.hpp"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <algorithm>
#include <set>
#include <string>
#include <sys/wait.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <fcntl.h>
#include <unistd.h>
#include <chrono>

namespace tarrafa {
namespace {

using Json = nlohmann::json;
using teste::CasaFalsa;
using teste::definirAtributo;
using teste::escrever;

struct Execucao {
    int status = -1;
    std::string saida;
    std::string erros;
};

std::string lerArquivo(const std::string& caminho)
{
    std::ifstream entrada(caminho, std::ios::binary);
    return {std::istreambuf_iterator<char>(entrada), std::istreambuf_iterator<char>()};
}

// Single quotes for the shell around any text.
std::string citar(const std::string& texto)
{
    std::string citado = "'";
    for (const char c : texto) {
        citado += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return citado + "'";
}

// Runs tarrafa-cli with the arguments (already quoted for the shell) and the test's own
// environment (the fake home).
Execucao executar(const std::string& argumentos, const std::string& pastaDeErros, const std::string& onde = {})
{
    const std::string arquivoDeErros = pastaDeErros + "/stderr.txt";
    // bash, for $'...' quoting of odd names.
    std::string comando = std::string("'") + TARRAFA_CLI + "' " + argumentos + " 2>'" + arquivoDeErros + "'";
    if (!onde.empty()) {
        comando = "cd '" + onde + "' && " + comando;
    }
    comando = "exec bash -c " + citar(comando);
    Execucao execucao;
    std::FILE* processo = ::popen(comando.c_str(), "r");
    if (processo == nullptr) {
        ADD_FAILURE() << "popen failed";
        return execucao;
    }
    std::array<char, 4096> bloco {};
    std::size_t lidos = 0;
    while ((lidos = std::fread(bloco.data(), 1, bloco.size(), processo)) > 0) {
        execucao.saida.append(bloco.data(), lidos);
    }
    const int estado = ::pclose(processo);
    execucao.status = WIFEXITED(estado) ? WEXITSTATUS(estado) : -1;
    if (std::FILE* erros = std::fopen(arquivoDeErros.c_str(), "rb")) {
        while ((lidos = std::fread(bloco.data(), 1, bloco.size(), erros)) > 0) {
            execucao.erros.append(bloco.data(), lidos);
        }
        std::fclose(erros);
    }
    return execucao;
}

class Cli : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!teste::aceitaAtributos(casa_.caminho())) {
            GTEST_SKIP() << "this file system does not take user extended attributes";
        }
        // One installed application, so that its installer is recognised as used.
        escrever(casa_ / ".local/share/applications/firefox.desktop", "[Desktop Entry]\n");

        const std::string github = "https://github.com/tarrafa/relatorios/raw/main/";
        escrever(arquivo("relatorio.pdf"), std::string(2000, 'a'));
        definirAtributo(arquivo("relatorio.pdf"), "user.xdg.origin.url", github + "relatorio.pdf");
        // A copy by name only: its bytes differ from the first one's.
        escrever(arquivo("relatorio (1).pdf"), std::string(2000, 'z'));
        definirAtributo(arquivo("relatorio (1).pdf"), "user.xdg.origin.url", github + "relatorio.pdf");
        escrever(arquivo("IMG_2041.jpg"), std::string(500, 'b'));
        definirAtributo(arquivo("IMG_2041.jpg"), "user.xdg.origin.url", github + "IMG_2041.jpg");
        escrever(arquivo("Firefox 121.0.1.deb"), std::string(3000, 'c'));
        definirAtributo(arquivo("Firefox 121.0.1.deb"), "user.xdg.origin.url", "https://download.mozilla.org/x");
        escrever(arquivo("notas.txt"), "notas");
    }

    [[nodiscard]] std::string arquivo(const std::string& nome) const { return casa_ / ("Downloads/" + nome); }
    [[nodiscard]] std::string downloads() const { return casa_ / "Downloads"; }

    CasaFalsa casa_;
};

std::set<std::string> nomesDe(const Json& grupo)
{
    std::set<std::string> nomes;
    for (const Json& item : grupo.at("itens")) {
        nomes.insert(item.at("nome").get<std::string>());
    }
    return nomes;
}

std::set<std::string> casosDe(const Json& grupo, const std::string& nome)
{
    std::set<std::string> casos;
    for (const Json& item : grupo.at("itens")) {
        if (item.at("nome") == nome) {
            for (const Json& selo : item.at("selos")) {
                casos.insert(selo.at("caso").get<std::string>());
            }
        }
    }
    return casos;
}

TEST_F(Cli, JsonGivesGroupsInOrderWithBadgesAndDiagnostics)
{
    const Execucao e = executar("--json '" + downloads() + "'", casa_.caminho());
    ASSERT_EQ(e.status, 0) << e.erros;
    const Json raiz = Json::parse(e.saida);

    EXPECT_EQ(raiz.at("pasta"), downloads());
    EXPECT_EQ(raiz.at("appsInstalados"), Json::array({"firefox"}));

    const Json& grupos = raiz.at("grupos");
    ASSERT_EQ(grupos.size(), 3u) << grupos.dump(2);
    EXPECT_EQ(grupos[0].at("origem").at("chave"), "github");
    EXPECT_EQ(grupos[0].at("total"), 3);
    EXPECT_EQ(nomesDe(grupos[0]), (std::set<std::string> {"relatorio.pdf", "relatorio (1).pdf", "IMG_2041.jpg"}));
    EXPECT_EQ(grupos[1].at("origem").at("chave"), "_instaladores");
    EXPECT_EQ(grupos[2].at("origem").at("chave"), "_sem_origem");
    EXPECT_EQ(grupos[2].at("origem").at("rotulo"), "Sem origem");
    EXPECT_TRUE(grupos[2].at("origem").at("endereco").is_null());

    // Nothing was ever opened: every item carries the never-opened badge first.
    for (const Json& grupo : grupos) {
        EXPECT_EQ(grupo.at("nuncaAbertos"), grupo.at("total"));
        for (const Json& item : grupo.at("itens")) {
            ASSERT_FALSE(item.at("selos").empty());
            EXPECT_EQ(item.at("selos")[0].at("caso"), "nuncaAberto");
            EXPECT_EQ(item.at("selos")[0].at("rotulo"), "nunca aberto");
            EXPECT_TRUE(item.at("ultimoUsoEm").is_null());
            EXPECT_TRUE(item.at("criadoEm").is_number());
        }
    }
    EXPECT_TRUE(casosDe(grupos[0], "relatorio (1).pdf").contains("sufixoDeCopia"));
    EXPECT_TRUE(casosDe(grupos[0], "IMG_2041.jpg").contains("nomeOpaco"));
    EXPECT_EQ(grupos[0].at("nomesOpacos"), 1);
    EXPECT_TRUE(casosDe(grupos[1], "Firefox 121.0.1.deb").contains("instaladorUsado"));
    EXPECT_EQ(grupos[0].at("bytes"), 4500);

    const Json& item = grupos[1].at("itens")[0];
    EXPECT_EQ(item.at("id"), arquivo("Firefox 121.0.1.deb"));
    EXPECT_EQ(item.at("origens"), Json::array({"https://download.mozilla.org/x"}));
    EXPECT_EQ(item.at("ehPasta"), false);
    EXPECT_EQ(item.at("tamanho"), 3000);

    const Json& r = raiz.at("raioX");
    EXPECT_EQ(r.at("total"), 5);
    EXPECT_EQ(r.at("bytes"), 7505);
    EXPECT_EQ(r.at("nuncaAbertos"), 5);
    EXPECT_EQ(r.at("comOrigem"), 4);
    EXPECT_EQ(r.at("origensDistintas"), 2);
    EXPECT_DOUBLE_EQ(r.at("concentracaoTop3").get<double>(), 1.0);
    EXPECT_EQ(r.at("agrupamentoSeSustenta"), true);
    EXPECT_EQ(r.at("maisAntigoEmDias"), 0);
    EXPECT_EQ(r.at("leitura"),
        "Nada na sua pasta tem mais de 0 dias, então o problema não é o que acumulou. São 5 arquivos que "
        "chegaram, foram usados uma vez e perderam o contexto de onde vieram.");
}

TEST_F(Cli, TextListsGroupsItemsBadgesAndTheParagraph)
{
    const Execucao e = executar("'" + downloads() + "'", casa_.caminho());
    ASSERT_EQ(e.status, 0) << e.erros;
    EXPECT_NE(e.saida.find("GitHub · 3 itens · 4 KB · 3 nunca abertos · 1 com nome opaco\n"), std::string::npos)
        << e.saida;
    EXPECT_NE(e.saida.find("Sem origem · 1 item · 0 KB · 1 nunca aberto\n"), std::string::npos) << e.saida;
    EXPECT_NE(e.saida.find("  relatorio (1).pdf  [nunca aberto]  [sufixo de cópia]  [parece relacionado a outro arquivo]  2 KB\n"), std::string::npos)
        << e.saida;
    EXPECT_LT(e.saida.find("GitHub"), e.saida.find("Instaladores"));
    EXPECT_LT(e.saida.find("Instaladores"), e.saida.find("Sem origem"));
    EXPECT_NE(e.saida.find("São 5 arquivos que chegaram"), std::string::npos);
}

TEST_F(Cli, IdenticalFilesOfUnrelatedNamesAreCopiesOfTheOldestInJsonAndText)
{
    const std::string conteudo(3000, 'c'); // the installer's bytes
    escrever(arquivo("a8f3c2e1d9b7c6d5e4f3.bin"), conteudo);
    escrever(arquivo("copia-do-instalador.bin"), conteudo);
    // The installer, written first, is the oldest of the three; were the clock not to tick
    // between the writes, its name (the shortest, without a copy suffix) would tell.

    const Execucao json = executar("--json '" + downloads() + "'", casa_.caminho());
    ASSERT_EQ(json.status, 0) << json.erros;
    const Json raiz = Json::parse(json.saida);
    std::map<std::string, Json> porNome;
    for (const Json& grupo : raiz.at("grupos")) {
        for (const Json& item : grupo.at("itens")) {
            porNome[item.at("nome").get<std::string>()] = item;
        }
    }
    EXPECT_EQ(porNome.at("a8f3c2e1d9b7c6d5e4f3.bin").at("duplicataDe"), arquivo("Firefox 121.0.1.deb"));
    EXPECT_EQ(porNome.at("copia-do-instalador.bin").at("duplicataDe"), arquivo("Firefox 121.0.1.deb"));
    EXPECT_TRUE(porNome.at("Firefox 121.0.1.deb").at("duplicataDe").is_null());
    // Same size as nothing else, or same size and other bytes: not copies.
    EXPECT_TRUE(porNome.at("relatorio (1).pdf").at("duplicataDe").is_null());
    EXPECT_TRUE(porNome.at("notas.txt").at("duplicataDe").is_null());
    const Json& selos = porNome.at("a8f3c2e1d9b7c6d5e4f3.bin").at("selos");
    EXPECT_TRUE(std::ranges::any_of(selos, [](const Json& selo) {
        return selo.at("caso") == "copiaIdentica" && selo.at("rotulo") == "cópia idêntica de Firefox 121.0.1.deb"
            && selo.at("tom") == "aviso";
    })) << selos.dump(2);

    const Execucao texto = executar("'" + downloads() + "'", casa_.caminho());
    ASSERT_EQ(texto.status, 0) << texto.erros;
    EXPECT_NE(texto.saida.find("  copia-do-instalador.bin  [nunca aberto]  [cópia idêntica de Firefox 121.0.1.deb]  3 KB\n"),
        std::string::npos)
        << texto.saida;
    // The hashes are remembered in the user's cache folder.
    EXPECT_TRUE(std::filesystem::exists(casa_ / ".cache/Tarrafa/hashes.sqlite"));
}

// The escaped form of an id, as the manual describes it: after the leading "%", "%XX" is a
// byte and anything else stands for itself.
std::string bytesDoId(const std::string& id)
{
    if (id.empty() || id.front() != '%') {
        return id;
    }
    std::string bytes;
    for (std::size_t i = 1; i < id.size(); ++i) {
        if (id[i] == '%' && i + 2 < id.size()) {
            bytes += static_cast<char>(std::stoi(id.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            bytes += id[i];
        }
    }
    return bytes;
}

TEST_F(Cli, NamesThatAreNotUtf8AreReadableAndKeepIdsOfTheirOwn)
{
    escrever(arquivo("caf\xE9.txt"), "x");
    escrever(arquivo("caf\xE8.txt"), "y");
    const Execucao e = executar("--json '" + downloads() + "'", casa_.caminho());
    ASSERT_EQ(e.status, 0) << e.erros;
    const Json raiz = Json::parse(e.saida); // throws on invalid UTF-8
    std::set<std::string> ids;
    int repetidos = 0;
    for (const Json& grupo : raiz.at("grupos")) {
        for (const Json& item : grupo.at("itens")) {
            const std::string id = item.at("id").get<std::string>();
            if (item.at("nome") != "caf\xEF\xBF\xBD.txt") {
                EXPECT_FALSE(item.at("idCodificado").get<bool>()) << id;
                EXPECT_EQ(id, arquivo(item.at("nome").get<std::string>()));
                continue;
            }
            ++repetidos;
            EXPECT_TRUE(item.at("idCodificado").get<bool>()) << id;
            ids.insert(bytesDoId(id));
        }
    }
    EXPECT_EQ(repetidos, 2);
    EXPECT_EQ(ids, (std::set<std::string> {arquivo("caf\xE9.txt"), arquivo("caf\xE8.txt")}));
}

TEST_F(Cli, DefaultsToTheDownloadsFolderOfTheHome)
{
    const Execucao e = executar("--json", casa_.caminho());
    ASSERT_EQ(e.status, 0) << e.erros;
    EXPECT_EQ(Json::parse(e.saida).at("pasta"), downloads());
}

TEST(CliErro, FolderThatCannotBeListedPrintsTheMessageAndExitsWithOne)
{
    teste::PastaTemporaria pasta;
    const Execucao e = executar("'" + pasta.caminho() + "/nao-existe'", pasta.caminho());
    EXPECT_EQ(e.status, 1);
    EXPECT_TRUE(e.saida.empty());
    EXPECT_TRUE(e.erros.starts_with("Não consegui ler a pasta Downloads: ")) << e.erros;
    EXPECT_GT(e.erros.size(), std::string("Não consegui ler a pasta Downloads: \n").size());
}

TEST(CliErro, UnknownOptionIsAUsageError)
{
    teste::PastaTemporaria pasta;
    const Execucao e = executar("--jsn", pasta.caminho());
    EXPECT_EQ(e.status, 2);
    EXPECT_NE(e.erros.find("opção desconhecida: --jsn"), std::string::npos);
    // A short usage, not the whole help.
    EXPECT_NE(e.erros.find("Uso: tarrafa-cli [--json] [--estado ESTADO] [PASTA]"), std::string::npos);
    EXPECT_NE(e.erros.find("tarrafa-cli --help"), std::string::npos);
    EXPECT_EQ(e.erros.find("Subcomandos"), std::string::npos);
}

TEST(CliAjuda, HelpNamesEverySubcommandAndOptionWithAnExampleAndVersionSaysIt)
{
    teste::PastaTemporaria pasta;
    for (const char* pedido : {"--help", "-h"}) {
        const Execucao e = executar(pedido, pasta.caminho());
        EXPECT_EQ(e.status, 0);
        EXPECT_TRUE(e.erros.empty()) << e.erros;
        for (const char* palavra :
            {"adiar", "resolver", "ignorar", "esquecer", "lixeira", "restaurar", "vigiar", "--json", "--estado",
                "--version"}) {
            // Described on a line of its own, with an example before the next description.
            const std::string descrito = std::string("\n  ") + palavra + " ";
            const auto onde = e.saida.find(descrito);
            ASSERT_NE(onde, std::string::npos) << palavra << "\n" << e.saida;
            const auto exemplo = e.saida.find("\n               tarrafa-cli ", onde + 1);
            auto proxima = onde + 1;
            do {
                proxima = e.saida.find("\n  ", proxima + 1);
            } while (proxima != std::string::npos && e.saida[proxima + 3] == ' ');
            EXPECT_LT(exemplo, proxima) << palavra << " has no example";
        }
    }
    const Execucao versao = executar("--version", pasta.caminho());
    EXPECT_EQ(versao.status, 0);
    EXPECT_EQ(versao.saida, "tarrafa-cli " TARRAFA_VERSAO "\n");
}

TEST(CliErro, ADownloadsFolderTurnedOffIsNotScanned)
{
    const CasaFalsa casa;
    escrever(casa / "Documentos/tese.odt", "x");
    escrever(casa / ".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/\"\n");
    const Execucao e = executar("", casa.caminho());
    EXPECT_EQ(e.status, 1);
    EXPECT_TRUE(e.saida.empty()) << e.saida;
    EXPECT_EQ(e.erros, "A pasta Downloads não está configurada: ela aponta para a sua pasta pessoal "
                       "(XDG_DOWNLOAD_DIR em "
                           + casa / ".config/user-dirs.dirs" + ").\n");
    // Named on the command line, the same folder is read as asked.
    EXPECT_EQ(executar("--json '" + casa.caminho() + "'", casa.caminho()).status, 0);
}

// Decisions taken at the terminal: the same file, the same ids, the window's scanner would give.
class CliDecidir : public ::testing::Test {
protected:
    void SetUp() override
    {
        escrever(casa_ / "Downloads/a.pdf", "a");
        escrever(casa_ / "Downloads/b c.pdf", "b");
        escrever(casa_ / "Downloads/fotos/1.jpg", "1");
        escrever(casa_ / "outra/x.pdf", "x");
    }
    [[nodiscard]] std::string decisoes() const { return lerArquivo(casa_ / ".local/share/Tarrafa/decisoes.json"); }
    [[nodiscard]] std::string id(const std::string& nome) const
    {
        std::string caminho = casa_ / ("Downloads/" + nome);
        std::string escapado;
        for (const char c : caminho) {
            escapado += c == '/' ? std::string("\\/") : std::string(1, c);
        }
        return escapado;
    }
    // From the home, as a person at a terminal would be.
    [[nodiscard]] Execucao rodar(const std::string& argumentos) const
    {
        return executar(argumentos, casa_.caminho(), casa_.caminho());
    }

    CasaFalsa casa_;
};

TEST_F(CliDecidir, NamesAndPathsOfTheFolderAreDecidedInOneWrite)
{
    const Execucao adiar = rodar("adiar a.pdf 'b c.pdf'");
    ASSERT_EQ(adiar.status, 0) << adiar.erros;
    EXPECT_TRUE(adiar.saida.empty());
    EXPECT_EQ(decisoes(), "{\"" + id("a.pdf") + "\":\"adiado\",\"" + id("b c.pdf") + "\":\"adiado\"}");

    // A path through the folder, relative or absolute, with a trailing slash for a folder.
    ASSERT_EQ(rodar("resolver Downloads/fotos/").status, 0);
    ASSERT_EQ(rodar("ignorar '" + casa_ / "Downloads/a.pdf" + "'").status, 0);
    ASSERT_EQ(rodar("esquecer -- 'b c.pdf'").status, 0);
    EXPECT_EQ(decisoes(), "{\"" + id("a.pdf") + "\":\"ignorado\",\"" + id("fotos") + "\":\"resolvido\"}");
}

TEST_F(CliDecidir, ANameThatIsNotUtf8IsDecidedByItsOwnBytes)
{
    escrever(casa_ / "Downloads/caf\xE9.txt", "1");
    escrever(casa_ / "Downloads/caf\xE8.txt", "2");
    const Execucao adiar = rodar("adiar $'caf\\xe9.txt'");
    ASSERT_EQ(adiar.status, 0) << adiar.erros;
    ASSERT_EQ(rodar("ignorar $'Downloads/caf\\xe8.txt'").status, 0);
    EXPECT_EQ(decisoes(),
        "{\"%" + id("caf%E8.txt") + "\":\"ignorado\",\"%" + id("caf%E9.txt") + "\":\"adiado\"}");
    ASSERT_EQ(rodar("esquecer $'caf\\xe8.txt'").status, 0);
    EXPECT_EQ(decisoes(), "{\"%" + id("caf%E9.txt") + "\":\"adiado\"}");
}

TEST_F(CliDecidir, AFileNotInTheFolderIsAnErrorAndNothingIsDecided)
{
    ASSERT_EQ(rodar("adiar a.pdf").status, 0);
    const std::string antes = decisoes();
    const Execucao e = rodar("resolver 'b c.pdf' outra/x.pdf nada.pdf $'\\e]0;titulo\\a' . fotos/1.jpg");
    EXPECT_EQ(e.status, 1);
    EXPECT_EQ(decisoes(), antes);
    const std::string pasta = casa_ / "Downloads";
    EXPECT_EQ(e.erros,
        "tarrafa-cli: outra/x.pdf: não está na pasta Downloads (" + pasta + ")\n"
        "tarrafa-cli: nada.pdf: não está na pasta Downloads (" + pasta + ")\n"
        "tarrafa-cli: \\x1b]0;titulo\\x07: não está na pasta Downloads (" + pasta + ")\n"
        "tarrafa-cli: .: não está na pasta Downloads (" + pasta + ")\n"
        "tarrafa-cli: fotos/1.jpg: não está na pasta Downloads (" + pasta + ")\n"
        "tarrafa-cli: nenhuma decisão foi anotada\n");
}

TEST_F(CliDecidir, WithoutAFileOrWithAnOptionItIsAUsageError)
{
    EXPECT_EQ(rodar("adiar").status, 2);
    EXPECT_EQ(rodar("ignorar --json a.pdf").status, 2);
    EXPECT_FALSE(std::filesystem::exists(casa_ / ".local/share/Tarrafa/decisoes.json"));
}

TEST_F(CliDecidir, KeepsWhatTheFileHeldAndSetsAnUnreadableOneAside)
{
    escrever(casa_ / ".local/share/Tarrafa/decisoes.json", "{\"" + id("b c.pdf") + "\":\"resolvido\"}");
    ASSERT_EQ(rodar("adiar a.pdf").status, 0);
    EXPECT_EQ(decisoes(), "{\"" + id("a.pdf") + "\":\"adiado\",\"" + id("b c.pdf") + "\":\"resolvido\"}");

    escrever(casa_ / ".local/share/Tarrafa/decisoes.json", "{quebrado");
    const Execucao e = rodar("adiar a.pdf");
    ASSERT_EQ(e.status, 0);
    EXPECT_NE(e.erros.find("o arquivo de decisões não pôde ser lido e foi guardado em"), std::string::npos);
    EXPECT_EQ(decisoes(), "{\"" + id("a.pdf") + "\":\"adiado\"}");
}

TEST_F(CliDecidir, AnotherProgramHoldingTheDecisionsIsNamedAndNothingWaitsForEver)
{
    ASSERT_EQ(rodar("adiar a.pdf").status, 0);
    const std::string antes = decisoes();
    const std::string pasta = casa_ / ".local/share/Tarrafa";
    struct stat st {};
    ASSERT_EQ(::stat(pasta.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700U) << "nobody else may open it to hold its lock";
    const int outro = ::open(pasta.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(outro, 0);
    ASSERT_EQ(::flock(outro, LOCK_EX), 0);

    const auto inicio = std::chrono::steady_clock::now();
    const Execucao e = rodar("ignorar 'b c.pdf'");
    const auto esperou = std::chrono::steady_clock::now() - inicio;
    ::close(outro);
    EXPECT_EQ(e.status, 1);
    EXPECT_TRUE(e.erros.starts_with("tarrafa-cli: Outro programa está usando as decisões (")) << e.erros;
    EXPECT_NE(e.erros.find("nada foi gravado"), std::string::npos) << e.erros;
    EXPECT_LT(esperou, std::chrono::seconds(15));
    EXPECT_EQ(decisoes(), antes);
}

TEST_F(CliDecidir, ADownloadsFolderTurnedOffDecidesNothing)
{
    escrever(casa_ / ".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/\"\n");
    const Execucao e = rodar("adiar Downloads");
    EXPECT_EQ(e.status, 1);
    EXPECT_TRUE(e.erros.starts_with("A pasta Downloads não está configurada")) << e.erros;
    EXPECT_FALSE(std::filesystem::exists(casa_ / ".local/share/Tarrafa/decisoes.json"));
}

TEST_F(CliDecidir, TheReportIsNotTakenForADecision)
{
    // A folder that happens to be called like a verb is reached with a path.
    escrever(casa_ / "adiar/z.pdf", "z");
    const Execucao e = rodar("--json ./adiar");
    ASSERT_EQ(e.status, 0) << e.erros;
    const Json relatorio = Json::parse(e.saida);
    EXPECT_EQ(relatorio.at("pasta"), "./adiar");
    ASSERT_EQ(relatorio.at("grupos").size(), 1U);
    EXPECT_EQ(nomesDe(relatorio.at("grupos")[0]), std::set<std::string> {"z.pdf"});
    EXPECT_FALSE(std::filesystem::exists(casa_ / ".local/share/Tarrafa/decisoes.json"));
}

TEST_F(CliDecidir, LixeiraMovesToTheTrashMarksResolvedAndRestaurarBringsBackWithoutOverwriting)
{
    const std::string lixeira = casa_ / ".local/share/Trash";
    const Execucao mover = rodar("lixeira a.pdf 'b c.pdf'");
    ASSERT_EQ(mover.status, 0) << mover.erros;
    EXPECT_FALSE(std::filesystem::exists(casa_ / "Downloads/a.pdf"));
    EXPECT_EQ(lerArquivo(lixeira + "/files/b c.pdf"), "b");
    EXPECT_EQ(decisoes(), "{\"" + id("a.pdf") + "\":\"resolvido\",\"" + id("b c.pdf") + "\":\"resolvido\"}");

    // Something new took a.pdf's name: it stays, and so does the trashed one.
    escrever(casa_ / "Downloads/a.pdf", "outro");
    const Execucao ocupado = rodar("restaurar a.pdf 'b c.pdf'");
    EXPECT_EQ(ocupado.status, 1);
    EXPECT_EQ(ocupado.erros,
        "Não consegui restaurar a.pdf: já existe um arquivo com esse nome na pasta. Nada foi substituído.\n");
    EXPECT_EQ(lerArquivo(casa_ / "Downloads/a.pdf"), "outro");
    EXPECT_EQ(lerArquivo(casa_ / "Downloads/b c.pdf"), "b");
    EXPECT_TRUE(std::filesystem::exists(lixeira + "/files/a.pdf"));
    // The one restored is back in the inbox.
    EXPECT_EQ(decisoes(), "{\"" + id("a.pdf") + "\":\"resolvido\"}");

    std::filesystem::remove(casa_ / "Downloads/a.pdf");
    ASSERT_EQ(rodar("restaurar Downloads/a.pdf").status, 0);
    EXPECT_EQ(lerArquivo(casa_ / "Downloads/a.pdf"), "a");
    EXPECT_FALSE(std::filesystem::exists(lixeira + "/info/a.pdf.trashinfo"));
    EXPECT_EQ(decisoes(), "{}");

    const Execucao nunca = rodar("restaurar nunca.pdf");
    EXPECT_EQ(nunca.status, 1);
    EXPECT_EQ(nunca.erros, "Não consegui restaurar nunca.pdf: ele não está na Lixeira.\n");
}

TEST_F(CliDecidir, LixeiraOfAFileNotInTheFolderMovesNothing)
{
    const Execucao e = rodar("lixeira a.pdf outra/x.pdf");
    EXPECT_EQ(e.status, 1);
    EXPECT_TRUE(std::filesystem::exists(casa_ / "Downloads/a.pdf"));
    EXPECT_TRUE(std::filesystem::exists(casa_ / "outra/x.pdf"));
    EXPECT_NE(e.erros.find("tarrafa-cli: nada foi movido\n"), std::string::npos) << e.erros;
    EXPECT_EQ(rodar("lixeira").status, 2);
}

} // namespace
} // namespace tarrafa

namespace tarrafa {
namespace {

TEST_F(CliDecidir, ADownloadUnderWayIsNeitherDecidedNorMoved)
{
    escrever(casa_ / "Downloads/filme.mp4.crdownload", "parte");
    escrever(casa_ / "Downloads/aula.webm", "");
    escrever(casa_ / "Downloads/aula.webm.part", "parte");
    const Execucao adiar = rodar("adiar a.pdf filme.mp4.crdownload");
    EXPECT_EQ(adiar.status, 1);
    EXPECT_EQ(adiar.erros,
        "tarrafa-cli: filme.mp4.crdownload: ainda está sendo baixado; espere o download terminar\n"
        "tarrafa-cli: nenhuma decisão foi anotada\n");
    EXPECT_FALSE(std::filesystem::exists(casa_ / ".local/share/Tarrafa/decisoes.json"));
    const Execucao lixeira = rodar("lixeira aula.webm");
    EXPECT_EQ(lixeira.status, 1);
    EXPECT_EQ(lixeira.erros,
        "tarrafa-cli: aula.webm: ainda está sendo baixado; espere o download terminar\n"
        "tarrafa-cli: nada foi movido\n");
    EXPECT_TRUE(std::filesystem::exists(casa_ / "Downloads/aula.webm"));
}

TEST_F(CliDecidir, TheReportKeepsDownloadsUnderWayApart)
{
    escrever(casa_ / "Downloads/filme.mp4.crdownload", "parte");
    const std::string downloads = casa_ / "Downloads";
    const Execucao json = executar("--json '" + downloads + "'", casa_.caminho());
    ASSERT_EQ(json.status, 0) << json.erros;
    const Json raiz = Json::parse(json.saida);
    ASSERT_EQ(raiz["baixando"].size(), 1U);
    EXPECT_EQ(raiz["baixando"][0]["nome"], "filme.mp4.crdownload");
    EXPECT_EQ(raiz["baixando"][0]["id"], downloads + "/filme.mp4.crdownload");
    EXPECT_EQ(raiz["raioX"]["total"], 3); // a.pdf, b c.pdf, fotos
    for (const Json& grupo : raiz["grupos"]) {
        for (const Json& item : grupo["itens"]) {
            EXPECT_NE(item["nome"], "filme.mp4.crdownload");
        }
    }
    const Execucao texto = executar("'" + downloads + "'", casa_.caminho());
    ASSERT_EQ(texto.status, 0);
    EXPECT_TRUE(texto.saida.starts_with("Baixando…\n  filme.mp4.crdownload\n\n")) << texto.saida;
}

// The report lists files by the decisions the window took, from the file both share.
class CliEstado : public CliDecidir {
protected:
    void SetUp() override
    {
        CliDecidir::SetUp();
        escrever(casa_ / "Downloads/novo.pdf", "novo!");
        escrever(casa_ / "Downloads/filme.mp4.crdownload", "parte");
        // Written as the window writes it, slashes escaped; "novo.pdf" has no decision.
        escrever(casa_ / ".local/share/Tarrafa/decisoes.json",
            "{\"" + id("a.pdf") + "\":\"adiado\",\"" + id("b c.pdf") + "\":\"resolvido\",\"" + id("fotos")
                + "\":\"ignorado\"}");
    }

    [[nodiscard]] Json relatorio(const std::string& opcoes) const
    {
        const Execucao e = rodar("--json " + opcoes);
        EXPECT_EQ(e.status, 0) << e.erros;
        return Json::parse(e.saida);
    }

    // Each listed file's decision, by name.
    [[nodiscard]] static std::map<std::string, std::string> decisoesDe(const Json& relatorio)
    {
        std::map<std::string, std::string> decisoes;
        for (const Json& grupo : relatorio.at("grupos")) {
            for (const Json& item : grupo.at("itens")) {
                decisoes[item.at("nome").get<std::string>()] = item.at("decisao").get<std::string>();
            }
        }
        return decisoes;
    }
};

TEST_F(CliEstado, TodosListsEveryFileWithTheDecisionOfTheDecisionFile)
{
    const Json todos = relatorio("--estado todos");
    EXPECT_EQ(todos.at("estado"), "todos");
    EXPECT_EQ(decisoesDe(todos), (std::map<std::string, std::string> {
        {"a.pdf", "adiado"}, {"b c.pdf", "resolvido"}, {"fotos", "ignorado"}, {"novo.pdf", "novo"}}));
    ASSERT_EQ(todos.at("grupos").size(), 1U);
    EXPECT_EQ(todos.at("grupos")[0].at("total"), 4);
    EXPECT_EQ(todos.at("baixando").size(), 1U);

    // A decision taken at the terminal shows at once, and a forgotten one goes.
    ASSERT_EQ(rodar("esquecer a.pdf").status, 0);
    ASSERT_EQ(rodar("adiar novo.pdf").status, 0);
    EXPECT_EQ(decisoesDe(relatorio("--estado=todos")), (std::map<std::string, std::string> {
        {"a.pdf", "novo"}, {"b c.pdf", "resolvido"}, {"fotos", "ignorado"}, {"novo.pdf", "adiado"}}));
}

TEST_F(CliEstado, ByDefaultOnlyTheInboxIsListedAndTheDiagnosticsStayOfTheWholeFolder)
{
    for (const std::string& opcoes : {std::string(), std::string("--estado caixa")}) {
        const Json caixa = relatorio(opcoes);
        EXPECT_EQ(decisoesDe(caixa), (std::map<std::string, std::string> {{"novo.pdf", "novo"}})) << opcoes;
        EXPECT_EQ(caixa.at("estado"), "caixa");
        ASSERT_EQ(caixa.at("grupos").size(), 1U);
        // The group counts the files listed, not the ones decided.
        EXPECT_EQ(caixa.at("grupos")[0].at("total"), 1);
        EXPECT_EQ(caixa.at("grupos")[0].at("bytes"), 5);
        EXPECT_EQ(caixa.at("grupos")[0].at("nuncaAbertos"), 1);
        EXPECT_EQ(caixa.at("baixando").size(), 1U);
        EXPECT_EQ(caixa.at("raioX").at("total"), 4);
        EXPECT_EQ(caixa.at("raioX").at("nuncaAbertos"), 4);
    }

    const Execucao texto = rodar("");
    ASSERT_EQ(texto.status, 0) << texto.erros;
    EXPECT_NE(texto.saida.find("Sem origem · 1 item · "), std::string::npos) << texto.saida;
    EXPECT_NE(texto.saida.find("\n  novo.pdf  ["), std::string::npos) << texto.saida;
    EXPECT_EQ(texto.saida.find("a.pdf"), std::string::npos) << texto.saida;
    EXPECT_EQ(texto.saida.find("fotos"), std::string::npos) << texto.saida;
    EXPECT_NE(texto.saida.find("São 4 arquivos"), std::string::npos) << texto.saida;

    // Everything decided: the inbox is empty and says so, the diagnostics do not change.
    ASSERT_EQ(rodar("ignorar novo.pdf").status, 0);
    const Json vazia = relatorio("");
    EXPECT_TRUE(vazia.at("grupos").empty()) << vazia.dump(2);
    EXPECT_EQ(vazia.at("raioX").at("total"), 4);
    EXPECT_TRUE(rodar("").saida.starts_with("Baixando…\n  filme.mp4.crdownload\n\nCaixa de entrada vazia"));
}

TEST_F(CliEstado, AdiadosAndResolvidosListWhatTheWindowsRowsList)
{
    const Json adiados = relatorio("--estado adiados");
    EXPECT_EQ(decisoesDe(adiados), (std::map<std::string, std::string> {{"a.pdf", "adiado"}}));
    EXPECT_EQ(adiados.at("estado"), "adiados");
    ASSERT_EQ(adiados.at("grupos").size(), 1U);
    EXPECT_EQ(adiados.at("grupos")[0].at("total"), 1);
    EXPECT_EQ(adiados.at("grupos")[0].at("bytes"), 1);
    // Downloads under way show above the inbox only.
    EXPECT_TRUE(adiados.at("baixando").empty());
    EXPECT_EQ(adiados.at("raioX").at("total"), 4);

    // Ignored files are done with, as resolved ones are.
    const Json resolvidos = relatorio("--estado resolvidos");
    EXPECT_EQ(resolvidos.at("estado"), "resolvidos");
    EXPECT_EQ(decisoesDe(resolvidos),
        (std::map<std::string, std::string> {{"b c.pdf", "resolvido"}, {"fotos", "ignorado"}}));

    const Execucao texto = rodar("--estado todos");
    ASSERT_EQ(texto.status, 0) << texto.erros;
    EXPECT_NE(texto.saida.find("Sem origem · 4 itens · "), std::string::npos) << texto.saida;
    EXPECT_NE(texto.saida.find("\n  a.pdf  (adiado)  ["), std::string::npos) << texto.saida;
    EXPECT_NE(texto.saida.find("\n  fotos  (ignorado)  ["), std::string::npos) << texto.saida;
    EXPECT_NE(texto.saida.find("\n  novo.pdf  ["), std::string::npos) << texto.saida;

    ASSERT_EQ(rodar("esquecer a.pdf").status, 0);
    const Execucao nenhum = rodar("--estado adiados");
    ASSERT_EQ(nenhum.status, 0) << nenhum.erros;
    EXPECT_TRUE(nenhum.saida.starts_with("Nada aqui: nenhum arquivo neste estado.\n\n")) << nenhum.saida;
}

TEST_F(CliEstado, WhatWentToTheTrashIsListedWithTheResolvedOnesAsInTheWindow)
{
    ASSERT_EQ(rodar("lixeira novo.pdf").status, 0);
    for (const std::string& opcoes : {std::string("--estado resolvidos"), std::string("--estado todos")}) {
        const Json raiz = relatorio(opcoes);
        ASSERT_EQ(raiz.at("naLixeira").size(), 1U) << opcoes;
        const Json& guardado = raiz.at("naLixeira")[0];
        EXPECT_EQ(guardado.at("nome"), "novo.pdf");
        EXPECT_EQ(guardado.at("id"), casa_ / ".local/share/Trash/files/novo.pdf");
        EXPECT_EQ(guardado.at("caminhoOriginal"), casa_ / "Downloads/novo.pdf");
        EXPECT_EQ(guardado.at("tamanho"), 5);
        EXPECT_FALSE(guardado.at("apagadoEm").get<std::string>().empty());
        // It is no longer in the folder.
        EXPECT_FALSE(decisoesDe(raiz).contains("novo.pdf")) << opcoes;
        EXPECT_EQ(raiz.at("raioX").at("total"), 3);
    }
    EXPECT_TRUE(relatorio("").at("naLixeira").empty());
    EXPECT_TRUE(relatorio("--estado adiados").at("naLixeira").empty());

    const Execucao texto = rodar("--estado resolvidos");
    ASSERT_EQ(texto.status, 0) << texto.erros;
    EXPECT_NE(texto.saida.find("Na Lixeira · 1 item\n  novo.pdf  ["), std::string::npos) << texto.saida;
    EXPECT_EQ(rodar("").saida.find("Na Lixeira"), std::string::npos);
}

TEST_F(CliEstado, ANameThatIsNotUtf8HasItsDecisionToo)
{
    escrever(casa_ / "Downloads/caf\xE9.txt", "x");
    ASSERT_EQ(rodar("adiar $'caf\\xE9.txt'").status, 0);
    const Json adiados = relatorio("--estado adiados");
    EXPECT_EQ(decisoesDe(adiados),
        (std::map<std::string, std::string> {{"a.pdf", "adiado"}, {"caf\xEF\xBF\xBD.txt", "adiado"}}));
}

TEST_F(CliEstado, AnUnknownOrMissingEstadoIsAUsageError)
{
    for (const char* opcoes : {"--estado arquivados", "--estado=Caixa", "--estado", "--estado=", "vigiar --estado todos"}) {
        const Execucao e = rodar(opcoes);
        EXPECT_EQ(e.status, 2) << opcoes;
        EXPECT_TRUE(e.saida.empty()) << opcoes;
        EXPECT_NE(e.erros.find("Uso: tarrafa-cli"), std::string::npos) << opcoes << "\n" << e.erros;
    }
    EXPECT_NE(rodar("--estado arquivados").erros.find("ESTADO é caixa, adiados, resolvidos ou todos, não arquivados"),
        std::string::npos);
}

} // namespace
} // namespace tarrafa
