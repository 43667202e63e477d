// SPDX-License-Identifier: GPL-3.0-or-later
// Decisions and the Trash at the terminal, and the report's lists as the window's sidebar
// has them: tarrafa-cli run as a real process on a real folder.
#include "Apoio.hpp"
#include "Executar.hpp"

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

using teste::casosDe;
using teste::CasaFalsa;
using teste::Execucao;
using teste::executar;
using teste::Json;
using teste::lerArquivo;
using teste::nomesDe;
using teste::definirAtributo;
using teste::escrever;

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
