// SPDX-License-Identifier: GPL-3.0-or-later
#include "Apoio.hpp"
#include "BancoDeTeste.hpp"

#include "TarrafaCore/HistoricoDeNavegadores.hpp"
#include "TarrafaCore/Origem.hpp"
#include "TarrafaCore/PastaScanner.hpp"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <sstream>

namespace tarrafa {
namespace {

using teste::Banco;
using teste::CasaFalsa;
using teste::PastaTemporaria;
using teste::achar;
using teste::chromium;
using teste::criarTabelasChromium;
using teste::criarTabelasFirefox;
using teste::inserirFirefox;

class HistoricoTest : public ::testing::Test {
protected:
    CasaFalsa casa;
    teste::PastaDeCopias copias; // the copies are made here and must be gone afterwards
    std::string downloads = casa / "Downloads";

    void SetUp() override { teste::criarPasta(downloads); }

    [[nodiscard]] bool semSobras() const { return copias.vazia(); }
};

TEST_F(HistoricoTest, ChromiumRecordFillsOriginsDatesAndAgent)
{
    teste::escrever(downloads + "/nota.pdf", "pdf");
    {
        Banco banco(casa / ".config/google-chrome/Default/History");
        criarTabelasChromium(banco);
        banco.inserirDownload(1, downloads + "/nota.pdf", chromium(1'700'000'000.5), chromium(1'700'100'000.0), 1,
                              "https://exemplo.org/pagina",
                              {"https://exemplo.org/baixar?id=1", "https://cdn.exemplo.org/nota.pdf"});
    }
    const auto snapshots = PastaScanner().varrer(downloads);
    const FileSnapshot* nota = achar(snapshots, "nota.pdf");
    ASSERT_NE(nota, nullptr);
    EXPECT_EQ(nota->origens(),
              (std::vector<std::string>{"https://cdn.exemplo.org/nota.pdf", "https://exemplo.org/pagina"}));
    ASSERT_TRUE(nota->baixadoEm().has_value());
    EXPECT_NEAR(nota->baixadoEm()->segundosDesde1970(), 1'700'000'000.5, 1e-3); // the 1601 epoch
    ASSERT_TRUE(nota->ultimoUsoEm().has_value());
    EXPECT_NEAR(nota->ultimoUsoEm()->segundosDesde1970(), 1'700'100'000.0, 1e-3);
    EXPECT_EQ(nota->quarentenaAgente(), std::optional<std::string>("Google Chrome"));
    EXPECT_TRUE(semSobras());
}

TEST_F(HistoricoTest, ChromiumContentHashStandsForTheFileOnlyWhileItIsAsSaved)
{
    const std::string sha(32, '\x5a');
    {
        Banco banco(casa / ".config/chromium/Default/History");
        criarTabelasChromium(banco);
        banco.sql("ALTER TABLE downloads ADD COLUMN hash BLOB NOT NULL DEFAULT x''");
        sqlite3_int64 id = 1;
        for (const char* nome : {"igual.pdf", "mudou.pdf", "cresceu.pdf", "curto.pdf"}) {
            teste::DownloadChromium d;
            d.id = id++;
            d.caminho = downloads + "/" + nome;
            d.cadeia = {"https://exemplo.org/" + std::string(nome)};
            d.recebidos = 4;
            d.inicio = 1'700'000'000;
            d.fim = 1'700'000'010;
            teste::inserirChromium(banco, d);
        }
        std::string hex;
        for (int i = 0; i < 32; ++i) {
            hex += "5a";
        }
        banco.sql("UPDATE downloads SET hash = x'" + hex + "' WHERE id < 4");
        banco.sql("UPDATE downloads SET hash = x'5a5a' WHERE id = 4"); // not a SHA-256
    }
    teste::escrever(downloads + "/igual.pdf", "abcd");
    teste::definirMtime(downloads + "/igual.pdf", 1'700'000'009);
    teste::escrever(downloads + "/mudou.pdf", "abcd");
    teste::definirMtime(downloads + "/mudou.pdf", 1'700'000'100); // written after the download ended
    teste::escrever(downloads + "/cresceu.pdf", "abcdef");
    teste::definirMtime(downloads + "/cresceu.pdf", 1'700'000'009);
    teste::escrever(downloads + "/curto.pdf", "abcd");
    teste::definirMtime(downloads + "/curto.pdf", 1'700'000'009);

    const auto lido = PastaScanner().varrerComIdentidades(downloads);
    ASSERT_EQ(lido.sha256.size(), 1U);
    EXPECT_EQ(lido.sha256.at(downloads + "/igual.pdf"), sha);
    EXPECT_TRUE(semSobras());
}

TEST_F(HistoricoTest, ChromiumLastAccessCountsOnlyWhenOpenedAndZeroMeansNone)
{
    teste::escrever(downloads + "/a.zip", "a");
    teste::escrever(downloads + "/b.zip", "b");
    {
        Banco banco(casa / ".config/chromium/Profile 2/History");
        criarTabelasChromium(banco);
        banco.inserirDownload(1, downloads + "/a.zip", chromium(1'700'000'000.0), chromium(1'700'100'000.0), 0, "",
                              {"https://exemplo.org/a.zip"});
        banco.inserirDownload(2, downloads + "/b.zip", 0, 0, 1, "", {});
    }
    const auto snapshots = PastaScanner().varrer(downloads);
    const FileSnapshot* a = achar(snapshots, "a.zip");
    ASSERT_NE(a, nullptr);
    EXPECT_FALSE(a->ultimoUsoEm().has_value()); // accessed, but the record says not opened
    EXPECT_EQ(a->origens(), std::vector<std::string>{"https://exemplo.org/a.zip"}); // no empty referrer
    EXPECT_EQ(a->quarentenaAgente(), std::optional<std::string>("Chromium"));
    const FileSnapshot* b = achar(snapshots, "b.zip");
    ASSERT_NE(b, nullptr);
    EXPECT_FALSE(b->baixadoEm().has_value());
    EXPECT_FALSE(b->ultimoUsoEm().has_value());
    EXPECT_TRUE(b->origens().empty());
}

TEST_F(HistoricoTest, FirefoxRecordThroughProfilesIniWithMillisecondEpoch)
{
    teste::escrever(downloads + "/relatório final.pdf", "pdf");
    const std::string base = casa / ".mozilla/firefox";
    teste::escrever(base + "/profiles.ini", "[Install4F96D1932A9F858E]\r\nDefault=abc.default-release\r\n\r\n"
                                            "[Profile0]\r\nName=default-release\r\nIsRelative=1\r\n"
                                            "Path=abc.default-release\r\n\r\n[General]\r\nVersion=2\r\n");
    {
        Banco banco(base + "/abc.default-release/places.sqlite");
        criarTabelasFirefox(banco);
        inserirFirefox(banco, 7, "https://drive.google.com/uc?id=9",
                       "file://" + downloads + "/relat%C3%B3rio%20final.pdf",
                       R"({"state":1,"endTime":1700000000123,"fileSize":3})");
    }
    const auto snapshots = PastaScanner().varrer(downloads);
    const FileSnapshot* s = achar(snapshots, "relatório final.pdf");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->origens(), std::vector<std::string>{"https://drive.google.com/uc?id=9"});
    ASSERT_TRUE(s->baixadoEm().has_value());
    EXPECT_NEAR(s->baixadoEm()->segundosDesde1970(), 1'700'000'000.123, 1e-6);
    EXPECT_EQ(s->quarentenaAgente(), std::optional<std::string>("Firefox"));
    EXPECT_EQ(OrigemParser::analisar(s->origens()).chave(), "gdrive");
}

TEST_F(HistoricoTest, FirefoxAbsoluteProfilePathAndBadMetadata)
{
    teste::escrever(downloads + "/x.bin", "x");
    const std::string perfil = casa / "perfis/meu";
    teste::escrever(casa / ".mozilla/firefox/profiles.ini", "[Profile0]\nIsRelative=0\nPath=" + perfil + "\n");
    {
        Banco banco(perfil + "/places.sqlite");
        criarTabelasFirefox(banco);
        inserirFirefox(banco, 1, "https://exemplo.org/x.bin", "file://" + downloads + "/x.bin", "not json");
    }
    const HistoricoDeNavegadores historico = HistoricoDeNavegadores::carregar();
    const RegistroDeDownload* r = historico.procurar(downloads + "/x.bin");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->origens, std::vector<std::string>{"https://exemplo.org/x.bin"});
    EXPECT_FALSE(r->baixadoEm.has_value());
}

TEST_F(HistoricoTest, FirefoxEndTimeOutOfRangeGivesNoDate)
{
    const std::string places = casa / "perfil/places.sqlite";
    {
        Banco banco(places);
        criarTabelasFirefox(banco);
        inserirFirefox(banco, 1, "https://exemplo.org/a", "file:///home/a/a.bin", R"({"endTime":1e999})");
        inserirFirefox(banco, 2, "https://exemplo.org/b", "file:///home/a/b.bin", R"({"endTime":-1e999})");
    }
    const HistoricoDeNavegadores historico
        = HistoricoDeNavegadores::ler({{places, HistoricoDeNavegadores::Tipo::firefox, "Firefox"}});
    for (const char* caminho : {"/home/a/a.bin", "/home/a/b.bin"}) {
        const RegistroDeDownload* r = historico.procurar(caminho);
        ASSERT_NE(r, nullptr) << caminho;
        EXPECT_FALSE(r->baixadoEm.has_value()) << caminho;
    }
    EXPECT_TRUE(semSobras());
}

TEST_F(HistoricoTest, RowsStillInTheWriteAheadLogAreSeenWhileTheBrowserHoldsTheDatabase)
{
    teste::escrever(downloads + "/novo.pdf", "n");
    const std::string arquivo = casa / ".config/google-chrome/Default/History";
    Banco navegador(arquivo); // stays open, as a running browser would
    navegador.sql("PRAGMA journal_mode=WAL");
    navegador.sql("PRAGMA wal_autocheckpoint=0");
    criarTabelasChromium(navegador);
    navegador.inserirDownload(1, downloads + "/novo.pdf", chromium(1'700'000'000.0), 0, 0, "",
                              {"https://github.com/o/r/releases/download/v1/novo.pdf"});
    ASSERT_GT(std::filesystem::file_size(arquivo + "-wal"), 0U) << "the rows must be in the log";

    auto leitura = std::async(std::launch::async, [] { return HistoricoDeNavegadores::carregar(); });
    ASSERT_EQ(leitura.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    const HistoricoDeNavegadores historico = leitura.get();
    const RegistroDeDownload* r = historico.procurar(downloads + "/novo.pdf");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->origens, std::vector<std::string>{"https://github.com/o/r/releases/download/v1/novo.pdf"});
    // The browser's own connection still works and was never blocked.
    navegador.sql("INSERT INTO downloads_url_chains (id, chain_index, url) VALUES (2, 0, 'https://x')");
}

TEST_F(HistoricoTest, ADatabaseHeldUnderAnExclusiveLockIsReadWithoutWaiting)
{
    teste::escrever(downloads + "/trancado.pdf", "t");
    const std::string arquivo = casa / ".config/BraveSoftware/Brave-Browser/Default/History";
    Banco navegador(arquivo);
    criarTabelasChromium(navegador);
    navegador.inserirDownload(1, downloads + "/trancado.pdf", chromium(1'700'000'000.0), 0, 0, "",
                              {"https://slack.com/files/trancado.pdf"});
    navegador.sql("PRAGMA locking_mode=EXCLUSIVE");
    navegador.sql("BEGIN EXCLUSIVE");
    navegador.sql("INSERT INTO downloads_url_chains (id, chain_index, url) VALUES (99, 0, 'https://nao-commitado')");

    auto leitura = std::async(std::launch::async, [] { return HistoricoDeNavegadores::carregar(); });
    ASSERT_EQ(leitura.wait_for(std::chrono::seconds(20)), std::future_status::ready) << "the read waited for a lock";
    const HistoricoDeNavegadores historico = leitura.get();
    const RegistroDeDownload* r = historico.procurar(downloads + "/trancado.pdf");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->agente, "Brave");
    navegador.sql("COMMIT");
}

TEST_F(HistoricoTest, RecordForAFileThatNoLongerExistsAddsNoEntry)
{
    teste::escrever(downloads + "/existe.txt", "e");
    {
        Banco banco(casa / ".config/google-chrome/Default/History");
        criarTabelasChromium(banco);
        banco.inserirDownload(1, downloads + "/apagado.txt", chromium(1'700'000'000.0), 0, 0, "",
                              {"https://exemplo.org/apagado.txt"});
    }
    const auto snapshots = PastaScanner().varrer(downloads);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].nome(), "existe.txt");
    EXPECT_TRUE(snapshots[0].origens().empty());
    EXPECT_NE(HistoricoDeNavegadores::carregar().procurar(downloads + "/apagado.txt"), nullptr);
}

TEST_F(HistoricoTest, OfTwoRecordsForOnePathTheOneThatEndedLastWins)
{
    const std::string caminho = downloads + "/duplo.zip";
    teste::escrever(caminho, "d");
    {
        Banco chrome(casa / ".config/google-chrome/Default/History");
        criarTabelasChromium(chrome);
        chrome.inserirDownload(1, caminho, chromium(1'700'000'300.0), 0, 0, "", {"https://segundo.example/duplo.zip"});
        chrome.inserirDownload(2, caminho, chromium(1'700'000'100.0), 0, 0, "", {"https://primeiro.example/duplo.zip"});
    }
    {
        Banco firefox(casa / ".mozilla/firefox/p/places.sqlite");
        criarTabelasFirefox(firefox);
        inserirFirefox(firefox, 1, "https://terceiro.example/duplo.zip", "file://" + caminho,
                       R"({"endTime":1700000200000})");
    }
    teste::escrever(casa / ".mozilla/firefox/profiles.ini", "[Profile0]\nIsRelative=1\nPath=p\n");
    const auto historico = HistoricoDeNavegadores::carregar();
    const RegistroDeDownload* r = historico.procurar(caminho);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->origens, std::vector<std::string>{"https://segundo.example/duplo.zip"});
    EXPECT_NEAR(r->baixadoEm->segundosDesde1970(), 1'700'000'300.0, 1e-3);
}

TEST_F(HistoricoTest, PathThatIsNotUtf8MatchesByteForByte)
{
    const std::string nome = "rel\xF3rio.pdf";
    teste::escrever(downloads + "/" + nome, "r");
    teste::escrever(downloads + "/outro.pdf", "o");
    {
        Banco chrome(casa / ".config/google-chrome/Default/History");
        criarTabelasChromium(chrome);
        chrome.inserirDownload(1, downloads + "/" + nome, chromium(1'700'000'000.0), 0, 0, "",
                               {"https://exemplo.org/bytes"});
        Banco firefox(casa / ".mozilla/firefox/p/places.sqlite");
        criarTabelasFirefox(firefox);
        inserirFirefox(firefox, 1, "https://exemplo.org/percent", "file://" + downloads + "/outr%6F.pdf", "");
    }
    teste::escrever(casa / ".mozilla/firefox/profiles.ini", "[Profile0]\nIsRelative=1\nPath=p\n");
    const auto snapshots = PastaScanner().varrer(downloads);
    const auto it = std::find_if(snapshots.begin(), snapshots.end(),
                                 [&](const FileSnapshot& s) { return s.id() == downloads + "/" + nome; });
    ASSERT_NE(it, snapshots.end());
    EXPECT_EQ(it->origens(), std::vector<std::string>{"https://exemplo.org/bytes"});
    const FileSnapshot* outro = achar(snapshots, "outro.pdf");
    ASSERT_NE(outro, nullptr);
    EXPECT_EQ(outro->origens(), std::vector<std::string>{"https://exemplo.org/percent"});
}

TEST_F(HistoricoTest, BlobAddressIsReadAsTheAddressInsideIt)
{
    teste::escrever(downloads + "/foto.jpeg", "j");
    {
        Banco banco(casa / ".config/google-chrome/Default/History");
        criarTabelasChromium(banco);
        banco.inserirDownload(1, downloads + "/foto.jpeg", chromium(1'700'000'000.0), 0, 0, "https://web.whatsapp.com/",
                              {"blob:https://web.whatsapp.com/0f1e2d3c-aaaa-bbbb-cccc-1234567890ab"});
    }
    const auto snapshots = PastaScanner().varrer(downloads);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].origens(),
              (std::vector<std::string>{"https://web.whatsapp.com/0f1e2d3c-aaaa-bbbb-cccc-1234567890ab",
                                        "https://web.whatsapp.com/"}));
    const Origem origem = OrigemParser::analisar(snapshots[0].origens());
    EXPECT_EQ(origem.chave(), "whatsapp");
    EXPECT_EQ(origem.rotulo(), "WhatsApp");
}

TEST_F(HistoricoTest, MissingCorruptAndUnknownDatabasesAreSkippedSilently)
{
    teste::escrever(downloads + "/a.txt", "a");
    teste::escrever(casa / ".config/google-chrome/Default/History", "this is not a database at all");
    {
        Banco desconhecido(casa / ".config/chromium/Default/History");
        desconhecido.sql("CREATE TABLE outra (x)");
    }
    {
        Banco bom(casa / ".config/vivaldi/Default/History");
        criarTabelasChromium(bom);
        bom.inserirDownload(1, downloads + "/a.txt", chromium(1'700'000'000.0), 0, 0, "", {"https://exemplo.org/a"});
    }
    teste::criarPasta(casa / ".config/opera/Default/History"); // a folder where the file should be
    teste::escrever(casa / ".mozilla/firefox/profiles.ini", "[Profile0]\nIsRelative=1\nPath=sumiu\n");
    const auto snapshots = PastaScanner().varrer(downloads);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].quarentenaAgente(), std::optional<std::string>("Vivaldi"));
    EXPECT_TRUE(semSobras());
}

TEST_F(HistoricoTest, FileAttributesAlwaysWinOverTheHistory)
{
    if (!teste::aceitaAtributos(downloads)) {
        GTEST_SKIP() << "this file system does not take user extended attributes";
    }
    const std::string caminho = downloads + "/ambos.pdf";
    teste::escrever(caminho, "a");
    teste::definirAtributo(caminho, "user.xdg.origin.url", "https://atributo.example/ambos.pdf");
    teste::definirAtributo(caminho, "user.xdg.publisher", "wget");
    {
        Banco banco(casa / ".config/google-chrome/Default/History");
        criarTabelasChromium(banco);
        banco.inserirDownload(1, caminho, chromium(1'700'000'000.0), 0, 0, "", {"https://historico.example/ambos.pdf"});
    }
    const auto snapshots = PastaScanner().varrer(downloads);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].origens(), std::vector<std::string>{"https://atributo.example/ambos.pdf"});
    EXPECT_EQ(snapshots[0].quarentenaAgente(), std::optional<std::string>("wget"));
    ASSERT_TRUE(snapshots[0].baixadoEm().has_value()); // the attribute had no date: the history's fills it
}

TEST_F(HistoricoTest, FindsFlatpakAndSnapProfiles)
{
    const std::vector<std::string> esperados{
        casa / ".var/app/com.google.Chrome/config/google-chrome/Default/History",
        casa / ".var/app/org.chromium.Chromium/config/chromium/Profile 1/History",
        casa / ".var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser/Default/History",
        casa / ".var/app/com.microsoft.Edge/config/microsoft-edge/Default/History",
        casa / "snap/chromium/common/chromium/Default/History",
        casa / ".var/app/org.mozilla.firefox/.mozilla/firefox/f1/places.sqlite",
        casa / "snap/firefox/common/.mozilla/firefox/s1/places.sqlite",
    };
    for (const std::string& arquivo : esperados) {
        teste::escrever(arquivo, "");
    }
    teste::escrever(casa / ".var/app/org.mozilla.firefox/.mozilla/firefox/profiles.ini",
                    "[Profile0]\nIsRelative=1\nPath=f1\n");
    teste::escrever(casa / "snap/firefox/common/.mozilla/firefox/profiles.ini", "[Profile0]\nIsRelative=1\nPath=s1\n");
    std::vector<std::string> achados;
    for (const auto& banco : HistoricoDeNavegadores::encontrarBancos()) {
        achados.push_back(banco.arquivo);
    }
    for (const std::string& arquivo : esperados) {
        EXPECT_NE(std::find(achados.begin(), achados.end(), arquivo), achados.end()) << arquivo;
    }
}

struct Estado {
    std::string conteudo;
    struct stat info {};
};

Estado lerEstado(const std::string& caminho)
{
    Estado e;
    EXPECT_EQ(::lstat(caminho.c_str(), &e.info), 0) << caminho;
    // Read through a descriptor that does not move the access time, to compare contents.
    const int fd = ::open(caminho.c_str(), O_RDONLY | O_NOATIME);
    EXPECT_GE(fd, 0);
    char bloco[8192];
    for (ssize_t n = 0; (n = ::read(fd, bloco, sizeof bloco)) > 0;) {
        e.conteudo.append(bloco, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return e;
}

TEST_F(HistoricoTest, TheBrowserFilesAreUnchangedByAScan)
{
    teste::escrever(downloads + "/a.pdf", "a");
    const std::string arquivo = casa / ".config/google-chrome/Default/History";
    // The browser is running: its connection stays open and its newest rows are in the log.
    Banco navegador(arquivo);
    navegador.sql("PRAGMA journal_mode=WAL");
    navegador.sql("PRAGMA wal_autocheckpoint=0");
    criarTabelasChromium(navegador);
    navegador.inserirDownload(1, downloads + "/a.pdf", chromium(1'700'000'000.0), 0, 0, "", {"https://exemplo.org/a"});
    const std::vector<std::string> arquivos{arquivo, arquivo + "-wal", arquivo + "-shm"};
    const time_t antigo = ::time(nullptr) - 2 * 86400;
    for (const std::string& c : arquivos) {
        timespec tempos[2]{{antigo, 0}, {UTIME_OMIT, UTIME_OMIT}};
        ASSERT_EQ(::utimensat(AT_FDCWD, c.c_str(), tempos, 0), 0);
    }
    std::map<std::string, Estado> antes;
    for (const std::string& c : arquivos) {
        antes[c] = lerEstado(c);
    }
    const auto snapshots = PastaScanner().varrer(downloads);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_FALSE(snapshots[0].origens().empty());
    for (const std::string& c : arquivos) {
        const Estado depois = lerEstado(c);
        EXPECT_EQ(depois.conteudo, antes[c].conteudo) << c;
        EXPECT_EQ(depois.info.st_atim.tv_sec, antes[c].info.st_atim.tv_sec) << c;
        EXPECT_EQ(depois.info.st_atim.tv_nsec, antes[c].info.st_atim.tv_nsec) << c;
        EXPECT_EQ(depois.info.st_mtim.tv_sec, antes[c].info.st_mtim.tv_sec) << c;
        EXPECT_EQ(depois.info.st_mtim.tv_nsec, antes[c].info.st_mtim.tv_nsec) << c;
        EXPECT_EQ(depois.info.st_ctim.tv_sec, antes[c].info.st_ctim.tv_sec) << c;
        EXPECT_EQ(depois.info.st_ctim.tv_nsec, antes[c].info.st_ctim.tv_nsec) << c;
    }
    std::size_t arquivosNaPasta = 0;
    for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(casa / ".config/google-chrome/Default")) {
        ++arquivosNaPasta;
    }
    EXPECT_EQ(arquivosNaPasta, 3U) << "nothing may be created beside the database";
    EXPECT_TRUE(semSobras());
}

} // namespace
} // namespace tarrafa
