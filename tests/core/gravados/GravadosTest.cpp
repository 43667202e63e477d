// SPDX-License-Identifier: GPL-3.0-or-later
// Origins from what real Chromium and Firefox wrote while downloading real files (recorded by
// tests/navegadores/gravar): each case a person meets, checked against the recording's truth.
#include "CasaGravada.hpp"

#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/HistoricoDeNavegadores.hpp"
#include "TarrafaCore/PastaScanner.hpp"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdio>
#include <map>
#include <set>
#include <unistd.h>

namespace tarrafa {
namespace {

using teste::CasaGravada;
using teste::Verdade;

std::map<std::string, std::vector<std::string>> origensPorNome(const std::vector<FileSnapshot>& snapshots)
{
    std::map<std::string, std::vector<std::string>> porNome;
    for (const FileSnapshot& s : snapshots) {
        porNome[s.nome()] = s.origens();
    }
    return porNome;
}

// The first address is the one the file is grouped by; "-" in the truth means no origin.
std::string primeira(const std::vector<std::string>& origens)
{
    return origens.empty() ? std::string("-") : origens.front();
}

class Gravados : public ::testing::Test {
protected:
    CasaGravada gravada;

    std::map<std::string, std::vector<std::string>> varrer(const std::string& pasta)
    {
        return origensPorNome(PastaScanner().varrer(pasta));
    }

    // Every file of a scenario gets exactly the origin the truth gives.
    void conferir(const std::string& cenario, const std::string& pasta = {})
    {
        const std::vector<Verdade> casos = gravada.doCenario(cenario);
        ASSERT_FALSE(casos.empty()) << "the recording has no case '" << cenario << "'";
        const auto origens = varrer(pasta.empty() ? gravada.downloads() : pasta);
        for (const Verdade& v : casos) {
            const auto it = origens.find(v.arquivo);
            ASSERT_NE(it, origens.end()) << v.arquivo;
            EXPECT_EQ(primeira(it->second), v.origemEsperada) << cenario << ": " << v.arquivo;
        }
    }
};

TEST_F(Gravados, OfTheDownloadsWhoseOriginIsOnDiskAtLeast95PercentGetItAndNoneGetsAWrongOne)
{
    const auto origens = varrer(gravada.downloads());
    std::map<std::string, int> certos;
    std::map<std::string, int> possiveis;
    std::map<std::string, int> errados;
    std::set<std::string> contados;
    for (const Verdade& v : gravada.verdades()) {
        const auto it = origens.find(v.arquivo);
        // A record without a file, or a second note about one file (the truth has a few).
        if (it == origens.end() || !contados.insert(v.arquivo).second) {
            continue;
        }
        const std::string dada = primeira(it->second);
        if (v.origemEsperada == "-") {
            errados[v.navegador] += dada != "-" ? 1 : 0;
            EXPECT_EQ(dada, "-") << v.arquivo << " (" << v.cenario << ")";
            continue;
        }
        ++possiveis[v.navegador];
        if (dada == v.origemEsperada) {
            ++certos[v.navegador];
        } else {
            errados[v.navegador] += dada != "-" ? 1 : 0;
            ADD_FAILURE() << v.arquivo << " (" << v.navegador << ", " << v.cenario << "): expected "
                          << v.origemEsperada << ", got " << dada;
        }
    }
    ASSERT_FALSE(possiveis.empty());
    for (const auto& [navegador, total] : possiveis) {
        const double parte = 100.0 * certos[navegador] / total;
        std::printf("%s: %d of %d recorded downloads with the right origin (%.0f%%), %d wrong\n",
            navegador.c_str(), certos[navegador], total, parte, errados[navegador]);
        RecordProperty(
            navegador + "Cobertura", std::to_string(certos[navegador]) + "/" + std::to_string(total));
        EXPECT_GE(parte, 95.0) << navegador;
        EXPECT_EQ(errados[navegador], 0) << navegador;
    }
}

TEST_F(Gravados, FirefoxProfileInTheXdgConfigFolder)
{
    const auto bancos = HistoricoDeNavegadores::encontrarBancos();
    bool achou = false;
    for (const auto& banco : bancos) {
        achou = achou || banco.arquivo.rfind(gravada.casa() + "/.config/mozilla/firefox/", 0) == 0;
    }
    EXPECT_TRUE(achou);
    conferir("simples");
}

TEST_F(Gravados, EveryProfileOfAFirefoxProfileGroup)
{
    conferir("grupo");
}

TEST_F(Gravados, EveryChromiumProfile)
{
    conferir("perfil2");
}

TEST_F(Gravados, TheFolderNamedRelativelyOrWithDoubledSlashes)
{
    const std::string casa = gravada.casa();
    conferir("redirecionamento", casa + "//Downloads/");
    conferir("nao-ascii", casa + "/./Downloads");
    char* antes = ::getcwd(nullptr, 0);
    ASSERT_EQ(::chdir(gravada.downloads().c_str()), 0);
    const auto origens = varrer(".");
    ASSERT_EQ(::chdir(antes), 0);
    std::free(antes);
    for (const Verdade& v : gravada.verdades()) {
        if (origens.contains(v.arquivo)) {
            EXPECT_EQ(primeira(origens.at(v.arquivo)), v.origemEsperada) << v.arquivo;
        }
    }
}

TEST_F(Gravados, TheDownloadsFolderMovedElsewhereAndLinkedBack)
{
    // The browsers wrote ~/Downloads/...; the folder now lives on another disk, and
    // ~/Downloads is a link to it. Both names of the folder give the same origins.
    const std::string real = gravada.casa() + "/../outro-disco/Downloads";
    std::filesystem::create_directories(real + "/..");
    std::filesystem::rename(gravada.downloads(), real);
    std::filesystem::create_directory_symlink(std::filesystem::canonical(real), gravada.downloads());
    for (const std::string& pasta : {gravada.downloads(), std::filesystem::canonical(real).string()}) {
        const auto origens = varrer(pasta);
        int conferidos = 0;
        for (const Verdade& v : gravada.verdades()) {
            if (origens.contains(v.arquivo)) {
                EXPECT_EQ(primeira(origens.at(v.arquivo)), v.origemEsperada) << pasta << ": " << v.arquivo;
                ++conferidos;
            }
        }
        EXPECT_GT(conferidos, 10) << pasta;
    }
}

TEST_F(Gravados, WebApplicationExportsComeFromTheirPage)
{
    conferir("blob");
    conferir("data");
}

TEST_F(Gravados, AFileReplacedByAnotherOfTheSameNameHasNoOrigin)
{
    conferir("substituido");
}

TEST_F(Gravados, ARenamedFile)
{
    conferir("renomeado");
}

TEST_F(Gravados, FirefoxsAddressDownloadedTwice)
{
    conferir("duas-vezes");
}

TEST_F(Gravados, ADownloadRemovedFromTheHistoryIsNeverGuessed)
{
    conferir("removido");
}

TEST_F(Gravados, TheFirefoxReferrerIsThePageThatLinkedTheDownload)
{
    const auto origens = varrer(gravada.downloads());
    const std::vector<Verdade> casos = gravada.doCenario("referencia");
    ASSERT_FALSE(casos.empty());
    for (const Verdade& v : casos) {
        ASSERT_TRUE(origens.contains(v.arquivo)) << v.arquivo;
        EXPECT_EQ(origens.at(v.arquivo), (std::vector<std::string> {v.origemEsperada, v.pagina}))
            << v.arquivo;
    }
}

TEST_F(Gravados, FirefoxStillRunningWithItsNewestRowsOnlyInTheLog)
{
    const std::vector<Verdade> casos = gravada.doCenario("em-execucao");
    ASSERT_FALSE(casos.empty());
    const std::string perfil = gravada.usarFirefoxEmExecucao(casos.front().perfil);
    ASSERT_FALSE(perfil.empty()) << casos.front().perfil;
    // The main file alone does not know the download: only the log does.
    {
        const std::string soOPrincipal = gravada.casa() + "/sem-log.sqlite";
        std::filesystem::copy_file(perfil + "/places.sqlite", soOPrincipal);
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(soOPrincipal.c_str(), &db), SQLITE_OK);
        sqlite3_stmt* stmt = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(
                      db, "SELECT count(*) FROM moz_annos WHERE content LIKE ?1", -1, &stmt, nullptr),
            SQLITE_OK);
        const std::string padrao
            = "%" + casos.front().arquivo.substr(0, casos.front().arquivo.find('.')) + "%";
        sqlite3_bind_text(stmt, 1, padrao.c_str(), -1, SQLITE_TRANSIENT);
        ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
        EXPECT_EQ(sqlite3_column_int(stmt, 0), 0);
        sqlite3_finalize(stmt);
        sqlite3_close(db);
    }
    conferir("em-execucao");
}

} // namespace
} // namespace tarrafa
