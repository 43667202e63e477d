// SPDX-License-Identifier: GPL-3.0-or-later
// Where the histories are, which records count, and which record is which file.
#include "Apoio.hpp"
#include "BancoDeTeste.hpp"

#include "TarrafaCore/CasamentoDeDownloads.hpp"
#include "TarrafaCore/HistoricoDeNavegadores.hpp"
#include "TarrafaCore/PastaScanner.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <unistd.h>

namespace tarrafa {
namespace {

using teste::achar;
using teste::Banco;
using teste::DownloadChromium;

class ProcedenciaTest : public ::testing::Test {
protected:
    teste::CasaFalsa casa;
    teste::PastaDeCopias copias;
    std::string downloads = casa / "Downloads";
    // A moment in the past all the tests' downloads happen around.
    static constexpr double kAgora = 1'760'000'000.0;

    void SetUp() override { teste::criarPasta(downloads); }

    // A downloaded file: its contents (and so its size) and when it was last written.
    std::string arquivo(const std::string& nome, const std::string& conteudo, double mtime = kAgora)
    {
        const std::string caminho = downloads + "/" + nome;
        teste::escrever(caminho, conteudo);
        teste::definirMtime(caminho, mtime);
        return caminho;
    }

    std::unique_ptr<Banco> chromium(const std::string& perfil = "Default")
    {
        auto banco = std::make_unique<Banco>(casa / (".config/chromium/" + perfil + "/History"));
        teste::criarTabelasChromium(*banco);
        return banco;
    }

    // A Firefox profile "p" listed in the profiles.ini of a root, with its visits table.
    std::unique_ptr<Banco> firefox(const std::string& raiz)
    {
        teste::escrever(raiz + "/profiles.ini", "[Profile0]\nIsRelative=1\nPath=p\n");
        auto banco = std::make_unique<Banco>(raiz + "/p/places.sqlite");
        teste::criarTabelasFirefox(*banco);
        teste::criarVisitasFirefox(*banco);
        return banco;
    }

    std::vector<std::string> origens(const std::string& nome, const std::string& pasta = {})
    {
        const auto snapshots = PastaScanner().varrer(pasta.empty() ? downloads : pasta);
        const FileSnapshot* s = achar(snapshots, nome);
        EXPECT_NE(s, nullptr) << nome;
        return s == nullptr ? std::vector<std::string> {} : s->origens();
    }

    [[nodiscard]] std::vector<std::string> bancosAchados() const
    {
        std::vector<std::string> achados;
        for (const auto& banco : HistoricoDeNavegadores::encontrarBancos()) {
            achados.push_back(banco.arquivo);
        }
        return achados;
    }
};

// A completed (estado 1) or other download of one address; times in seconds since 1970.
DownloadChromium dl(sqlite3_int64 id, std::string caminho, std::string url, int estado,
    sqlite3_int64 recebidos, double inicio, double fim)
{
    DownloadChromium d;
    d.id = id;
    d.caminho = std::move(caminho);
    d.cadeia = {std::move(url)};
    d.estado = estado;
    d.recebidos = recebidos;
    d.inicio = inicio;
    d.fim = fim;
    return d;
}

bool tem(const std::vector<std::string>& lista, const std::string& item)
{
    return std::find(lista.begin(), lista.end(), item) != lista.end();
}

// --- Where the histories are ---

TEST_F(ProcedenciaTest, FirefoxProfilesInTheXdgConfigFolderAreFoundInEveryPackaging)
{
    const std::vector<std::pair<std::string, std::string>> raizes {
        {casa / ".config/mozilla/firefox", "a1.default-release"},
        {casa / ".var/app/org.mozilla.firefox/config/mozilla/firefox", "b2.default"},
        {casa / "snap/firefox/common/.config/mozilla/firefox", "c3.default"},
        {casa / ".mozilla/firefox", "d4.legacy"},
    };
    for (const auto& [raiz, perfil] : raizes) {
        teste::escrever(raiz + "/profiles.ini", "[Profile0]\nName=x\nIsRelative=1\nPath=" + perfil + "\n");
        teste::escrever(raiz + "/" + perfil + "/places.sqlite", "x");
    }
    const auto achados = bancosAchados();
    for (const auto& [raiz, perfil] : raizes) {
        EXPECT_TRUE(tem(achados, raiz + "/" + perfil + "/places.sqlite")) << raiz;
    }
}

TEST_F(ProcedenciaTest, EveryProfileOfAFirefoxProfileGroupIsRead)
{
    const std::string raiz = casa / ".config/mozilla/firefox";
    // The profile manager leaves one profile of the group in profiles.ini...
    teste::escrever(raiz + "/profiles.ini",
        "[Profile0]\nName=Novo\nIsRelative=1\nPath=Profiles/novo\n"
        "StoreID=abcd1234\n\n[General]\nVersion=2\n");
    // ...and lists them all in the group's database, relative to the root or absolute.
    {
        Banco grupo(raiz + "/Profile Groups/abcd1234.sqlite");
        grupo.sql("CREATE TABLE Profiles (id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, name TEXT, "
                  "avatar TEXT, themeId TEXT, themeFg TEXT, themeBg TEXT)");
        grupo.sql("INSERT INTO Profiles (path, name) VALUES ('Profiles/novo', 'Novo'), "
                  "('Profiles/antigo.default-release', 'Antigo'), ('"
            + casa / "outro-lugar/perfil" + "', 'Fora')");
    }
    for (const std::string& perfil :
        {raiz + "/Profiles/novo", raiz + "/Profiles/antigo.default-release", casa / "outro-lugar/perfil"}) {
        teste::escrever(perfil + "/places.sqlite", "x");
    }
    const auto achados = bancosAchados();
    EXPECT_TRUE(tem(achados, raiz + "/Profiles/novo/places.sqlite"));
    EXPECT_TRUE(tem(achados, raiz + "/Profiles/antigo.default-release/places.sqlite"));
    EXPECT_TRUE(tem(achados, casa / "outro-lugar/perfil/places.sqlite"));
    EXPECT_EQ(std::count(achados.begin(), achados.end(), raiz + "/Profiles/novo/places.sqlite"), 1)
        << "a profile named twice is read once";
}

TEST_F(ProcedenciaTest, TheInstallationsDefaultProfileIsReadEvenWhenProfilesIniOmitsIt)
{
    const std::string raiz = casa / ".mozilla/firefox";
    teste::escrever(raiz + "/installs.ini", "[4F96D1932A9F858E]\nDefault=xyz.default-esr\nLocked=1\n");
    teste::escrever(raiz + "/xyz.default-esr/places.sqlite", "x");
    EXPECT_TRUE(tem(bancosAchados(), raiz + "/xyz.default-esr/places.sqlite"));
}

TEST_F(ProcedenciaTest, EveryChromiumProfileFolderIsRead)
{
    for (const char* perfil : {"Default", "Profile 1", "Profile 7", "Guest Profile"}) {
        teste::escrever(casa / (std::string(".config/chromium/") + perfil + "/History"), "x");
    }
    const auto achados = bancosAchados();
    for (const char* perfil : {"Default", "Profile 1", "Profile 7", "Guest Profile"}) {
        EXPECT_TRUE(tem(achados, casa / (std::string(".config/chromium/") + perfil + "/History"))) << perfil;
    }
}

// --- Which records count ---

TEST_F(ProcedenciaTest, OnlyCompletedChromiumDownloadsCount)
{
    arquivo("pronto.pdf", "12345");
    arquivo("cancelado.pdf", "123");
    arquivo("interrompido.pdf", "1234");
    arquivo("baixando.pdf", "12");
    auto banco = chromium();
    teste::inserirChromium(
        *banco, dl(1, downloads + "/pronto.pdf", "https://a.test/pronto.pdf", 1, 5, 0, kAgora));
    teste::inserirChromium(
        *banco, dl(2, downloads + "/cancelado.pdf", "https://a.test/c.pdf", 2, 3, 0, kAgora));
    teste::inserirChromium(
        *banco, dl(3, downloads + "/interrompido.pdf", "https://a.test/i.pdf", 4, 4, 0, kAgora));
    teste::inserirChromium(*banco, dl(4, downloads + "/baixando.pdf", "https://a.test/b.pdf", 0, 2, 0, 0));
    EXPECT_EQ(origens("pronto.pdf"), std::vector<std::string> {"https://a.test/pronto.pdf"});
    EXPECT_TRUE(origens("cancelado.pdf").empty());
    EXPECT_TRUE(origens("interrompido.pdf").empty());
    EXPECT_TRUE(origens("baixando.pdf").empty());
}

TEST_F(ProcedenciaTest, AFileReplacedByAnotherOfTheSameNameGetsNoOrigin)
{
    arquivo("contrato.pdf", "outro conteúdo, outro tamanho");
    arquivo("igual.pdf", "0123456789");
    auto banco = chromium();
    teste::inserirChromium(
        *banco, dl(1, downloads + "/contrato.pdf", "https://a.test/contrato.pdf", 1, 4, 0, kAgora));
    teste::inserirChromium(
        *banco, dl(2, downloads + "/igual.pdf", "https://a.test/igual.pdf", 1, 10, 0, kAgora));
    EXPECT_TRUE(origens("contrato.pdf").empty());
    EXPECT_EQ(origens("igual.pdf"), std::vector<std::string> {"https://a.test/igual.pdf"});
}

TEST_F(ProcedenciaTest, FirefoxRecordsCountOnlyWhenFinishedAndOfTheFilesSize)
{
    arquivo("ok.pdf", "abc");
    arquivo("falhou.pdf", "abcde");
    arquivo("trocado.pdf", "abcdef");
    arquivo("antigo.pdf", "abcd"); // a metaData of older Firefox, without state or size
    const auto places = firefox(casa / ".mozilla/firefox");
    Banco& banco = *places;
    teste::inserirFirefox(banco, 1, "https://f.test/ok.pdf", "file://" + downloads + "/ok.pdf",
        R"({"state":1,"endTime":1760000000000,"fileSize":3})");
    teste::inserirFirefox(banco, 2, "https://f.test/falhou.pdf", "file://" + downloads + "/falhou.pdf",
        R"({"state":3,"endTime":1760000000000,"fileSize":5})");
    teste::inserirFirefox(banco, 3, "https://f.test/trocado.pdf", "file://" + downloads + "/trocado.pdf",
        R"({"state":1,"endTime":1760000000000,"fileSize":4})");
    teste::inserirFirefox(banco, 4, "https://f.test/antigo.pdf", "file://" + downloads + "/antigo.pdf",
        R"({"endTime":1760000000000})");
    EXPECT_EQ(origens("ok.pdf"), std::vector<std::string> {"https://f.test/ok.pdf"});
    EXPECT_TRUE(origens("falhou.pdf").empty());
    EXPECT_TRUE(origens("trocado.pdf").empty());
    EXPECT_EQ(origens("antigo.pdf"), std::vector<std::string> {"https://f.test/antigo.pdf"});
}

TEST_F(ProcedenciaTest, AFirefoxDestinationWithAnEncodedNulNamesNoFile)
{
    arquivo("x", "abc");
    const auto places = firefox(casa / ".mozilla/firefox");
    // Decoded, "%00" would cut the path short at ".../x" and lend the record to that file.
    teste::inserirFirefox(*places, 1, "https://f.test/x", "file://" + downloads + "/x%00.exe",
        R"({"state":1,"endTime":1760000000000,"fileSize":3})");
    EXPECT_TRUE(origens("x").empty());
}

TEST_F(ProcedenciaTest, AWebApplicationsExportComesFromItsPageAndADataAddressIsNeverKept)
{
    arquivo("export.csv", "a,b");
    arquivo("desenho.svg", "<svg/>");
    arquivo("anonimo.bin", "zz");
    auto banco = chromium();
    DownloadChromium blob
        = dl(1, downloads + "/export.csv", "blob:https://app.planilhas.test/5e1f-77", 1, 3, 0, kAgora);
    blob.aba = "https://app.planilhas.test/editor.html";
    teste::inserirChromium(*banco, blob);
    DownloadChromium dados
        = dl(2, downloads + "/desenho.svg", "data:image/svg+xml,%3Csvg/%3E", 1, 6, 0, kAgora);
    dados.site = "https://app.desenho.test/";
    dados.referrer = "https://outro.test/";
    teste::inserirChromium(*banco, dados);
    DownloadChromium semPagina
        = dl(3, downloads + "/anonimo.bin", "data:application/octet-stream,zz", 1, 2, 0, kAgora);
    semPagina.aba = "about:blank"; // what Chromium writes for a tab that showed no page
    teste::inserirChromium(*banco, semPagina);
    EXPECT_EQ(origens("export.csv"),
        (std::vector<std::string> {
            "https://app.planilhas.test/5e1f-77", "https://app.planilhas.test/editor.html"}));
    EXPECT_EQ(origens("desenho.svg"), std::vector<std::string> {"https://app.desenho.test/"});
    EXPECT_TRUE(origens("anonimo.bin").empty());
}

TEST_F(ProcedenciaTest, FirefoxNamesThePageThatLedToTheDownloadThroughItsVisits)
{
    arquivo("tabela.xlsx", "xlsx");
    arquivo("redirecionado.zip", "zip!!");
    const auto places = firefox(casa / ".mozilla/firefox");
    Banco& banco = *places;
    banco.sql("INSERT INTO moz_places (id, url) VALUES (10, 'https://portal.test/downloads.html'), "
              "(11, 'https://dl.test/r/9')");
    teste::inserirFirefox(banco, 1, "https://cdn.test/tabela.xlsx", "file://" + downloads + "/tabela.xlsx",
        R"({"state":1,"endTime":1760000000000,"fileSize":4})");
    teste::inserirFirefox(banco, 2, "https://cdn.test/r.zip", "file://" + downloads + "/redirecionado.zip",
        R"({"state":1,"endTime":1760000001000,"fileSize":5})");
    teste::inserirVisita(banco, 100, 0, 10, kAgora - 60, 1); // the page, reached by a link
    teste::inserirVisita(banco, 101, 100, 1, kAgora - 1, 7); // the download, from the page
    teste::inserirVisita(banco, 102, 100, 11, kAgora - 2, 1); // a link to an address that redirects
    teste::inserirVisita(banco, 103, 102, 2, kAgora - 1.5, 6); // the temporary redirect it answered with
    teste::inserirVisita(banco, 104, 103, 2, kAgora - 1, 7); // the download, after the redirect
    EXPECT_EQ(origens("tabela.xlsx"),
        (std::vector<std::string> {"https://cdn.test/tabela.xlsx", "https://portal.test/downloads.html"}));
    // Back over the redirect, to the address the link named.
    EXPECT_EQ(origens("redirecionado.zip"),
        (std::vector<std::string> {"https://cdn.test/r.zip", "https://dl.test/r/9"}));
}

TEST_F(ProcedenciaTest, TheFolderMayBeNamedRelativelyWithDoubledSlashesOrThroughALink)
{
    arquivo("nota.pdf", "nota");
    auto banco = chromium();
    teste::inserirChromium(
        *banco, dl(1, downloads + "/nota.pdf", "https://a.test/nota.pdf", 1, 4, 0, kAgora));
    const std::vector<std::string> esperado {"https://a.test/nota.pdf"};

    EXPECT_EQ(origens("nota.pdf", casa.caminho() + "//Downloads/"), esperado);
    EXPECT_EQ(origens("nota.pdf", casa.caminho() + "/./Downloads/."), esperado);
    const std::string link = casa / "atalho";
    ASSERT_EQ(::symlink(downloads.c_str(), link.c_str()), 0);
    EXPECT_EQ(origens("nota.pdf", link), esperado);

    char* antes = ::getcwd(nullptr, 0);
    ASSERT_EQ(::chdir(downloads.c_str()), 0);
    const auto snapshots = PastaScanner().varrer(".");
    ASSERT_EQ(::chdir(antes), 0);
    std::free(antes);
    const FileSnapshot* nota = achar(snapshots, "nota.pdf");
    ASSERT_NE(nota, nullptr);
    EXPECT_EQ(nota->origens(), esperado);
    EXPECT_EQ(nota->id().find("/./"), std::string::npos) << nota->id();
}

TEST_F(ProcedenciaTest, ARecordWrittenThroughALinkMatchesTheRealFolderAndTheOtherWayRound)
{
    const std::string real = casa / "disco/Downloads";
    teste::criarPasta(real);
    const std::string link = casa / "Baixados";
    ASSERT_EQ(::symlink(real.c_str(), link.c_str()), 0);
    teste::escrever(real + "/pelo-link.pdf", "1");
    teste::escrever(real + "/pelo-real.pdf", "22");
    auto banco = chromium();
    teste::inserirChromium(*banco, dl(1, link + "/pelo-link.pdf", "https://a.test/1", 1, 1, 0, kAgora));
    teste::inserirChromium(*banco, dl(2, real + "/pelo-real.pdf", "https://a.test/2", 1, 2, 0, kAgora));
    for (const std::string& pasta : {real, link}) {
        EXPECT_EQ(origens("pelo-link.pdf", pasta), std::vector<std::string> {"https://a.test/1"}) << pasta;
        EXPECT_EQ(origens("pelo-real.pdf", pasta), std::vector<std::string> {"https://a.test/2"}) << pasta;
    }
}

TEST_F(ProcedenciaTest, ARenamedFileIsMatchedBySizeAndTimeOnlyWhenOneRecordFits)
{
    arquivo("Fatura outubro.pdf", "fatura!", kAgora + 3);
    arquivo("longe no tempo.pdf", "longe!!!", kAgora + 60);
    auto banco = chromium();
    teste::inserirChromium(
        *banco, dl(1, downloads + "/a8f3c2e1d9.pdf", "https://banco.test/f.pdf", 1, 7, kAgora - 1, kAgora));
    teste::inserirChromium(
        *banco, dl(2, downloads + "/x.pdf", "https://banco.test/x.pdf", 1, 8, kAgora - 1, kAgora));
    EXPECT_EQ(origens("Fatura outubro.pdf"), std::vector<std::string> {"https://banco.test/f.pdf"});
    EXPECT_TRUE(origens("longe no tempo.pdf").empty()) << "a minute apart is not the same download";
}

TEST_F(ProcedenciaTest, TwoRecordsThatFitOneRenamedFileGiveNoOrigin)
{
    arquivo("renomeado.pdf", "123456", kAgora);
    auto banco = chromium();
    teste::inserirChromium(*banco, dl(1, downloads + "/um.pdf", "https://a.test/um", 1, 6, 0, kAgora - 2));
    teste::inserirChromium(
        *banco, dl(2, downloads + "/dois.pdf", "https://b.test/dois", 1, 6, 0, kAgora + 2));
    EXPECT_TRUE(origens("renomeado.pdf").empty());
}

TEST_F(ProcedenciaTest, TwoFilesThatFitOneRecordGiveNoOriginToEither)
{
    arquivo("copia A.pdf", "abcdef", kAgora);
    arquivo("copia B.pdf", "ghijkl", kAgora + 1);
    auto banco = chromium();
    teste::inserirChromium(*banco, dl(1, downloads + "/original.pdf", "https://a.test/o", 1, 6, 0, kAgora));
    EXPECT_TRUE(origens("copia A.pdf").empty());
    EXPECT_TRUE(origens("copia B.pdf").empty());
}

TEST_F(ProcedenciaTest, ARecordWhoseFileIsStillWhereTheBrowserPutItIsNotLentToAnother)
{
    teste::escrever(casa / "Desktop/original.pdf", "abcdef");
    arquivo("parecido.pdf", "ghijkl", kAgora);
    auto banco = chromium();
    teste::inserirChromium(*banco, dl(1, casa / "Desktop/original.pdf", "https://a.test/o", 1, 6, 0, kAgora));
    EXPECT_TRUE(origens("parecido.pdf").empty());
}

TEST_F(ProcedenciaTest, AFileWithAnOriginOfItsOwnIsNeverMatchedBySizeAndTime)
{
    if (!teste::aceitaAtributos(downloads)) {
        GTEST_SKIP() << "this file system does not take user extended attributes";
    }
    const std::string caminho = arquivo("proprio.pdf", "abcdef", kAgora);
    teste::definirAtributo(caminho, "user.xdg.origin.url", "https://proprio.test/p.pdf");
    teste::definirMtime(caminho, kAgora);
    auto banco = chromium();
    teste::inserirChromium(*banco, dl(1, downloads + "/sumiu.pdf", "https://a.test/sumiu", 1, 6, 0, kAgora));
    const auto snapshots = PastaScanner().varrer(downloads);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].origens(), std::vector<std::string> {"https://proprio.test/p.pdf"});
    EXPECT_FALSE(snapshots[0].quarentenaAgente().has_value()) << "nothing of the unrelated record is taken";
}

TEST_F(ProcedenciaTest, FirefoxsFirstCopyOfAnAddressDownloadedTwiceIsFoundByItsVisit)
{
    arquivo("boleto.pdf", "boleto", kAgora);
    arquivo("boleto(1).pdf", "boleto", kAgora + 40);
    const auto places = firefox(casa / ".config/mozilla/firefox");
    Banco& banco = *places;
    // Firefox overwrote the annotations with the second download; both visits remain.
    teste::inserirFirefox(banco, 1, "https://banco.test/boleto.pdf", "file://" + downloads + "/boleto(1).pdf",
        R"({"state":1,"endTime":1760000040000,"fileSize":6})");
    teste::inserirVisita(banco, 1, 0, 1, kAgora - 0.5, 7);
    teste::inserirVisita(banco, 2, 0, 1, kAgora + 39.5, 7);
    EXPECT_EQ(origens("boleto.pdf"), std::vector<std::string> {"https://banco.test/boleto.pdf"});
    EXPECT_EQ(origens("boleto(1).pdf"), std::vector<std::string> {"https://banco.test/boleto.pdf"});
}

TEST_F(ProcedenciaTest, ADownloadRemovedFromTheHistoryIsNeverGuessed)
{
    arquivo("removido.pdf", "123", kAgora);
    auto banco = chromium();
    // Another download of the same size, far from it in time: not this file.
    teste::inserirChromium(
        *banco, dl(1, downloads + "/outro.pdf", "https://a.test/outro", 1, 3, 0, kAgora - 3600));
    EXPECT_TRUE(origens("removido.pdf").empty());
}

TEST(CasamentoDeDownloads, LimparCollapsesSlashesAndDotSegmentsOnly)
{
    using CasamentoDeDownloads::limpar;
    EXPECT_EQ(limpar("/home//a/./Downloads/"), "/home/a/Downloads");
    EXPECT_EQ(limpar("/home/a/Downloads/."), "/home/a/Downloads");
    EXPECT_EQ(limpar("/"), "/");
    EXPECT_EQ(limpar("//"), "/");
    EXPECT_EQ(limpar("/."), "/");
    EXPECT_EQ(limpar("/a/.oculta/b"), "/a/.oculta/b");
    EXPECT_EQ(limpar("/a/../b"), "/a/../b");
}

} // namespace
} // namespace tarrafa
