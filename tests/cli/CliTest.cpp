// SPDX-License-Identifier: GPL-3.0-or-later
// The command line, run as a real process on a real folder with real attributes.
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

} // namespace
} // namespace tarrafa
