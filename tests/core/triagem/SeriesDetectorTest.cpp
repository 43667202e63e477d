// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/SeriesDetector.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/NameAnalyzer.hpp"
#include "TarrafaCore/Texto.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarrafa {
namespace {

using Contagens = std::unordered_map<std::string, int>;

FileSnapshot arquivo(const std::string& nome)
{
    return FileSnapshot("/home/ana/Downloads/" + nome, nome, false, 100, std::nullopt, Date::desde1970(1.7e9),
        std::nullopt, {}, false, std::nullopt);
}

std::vector<FileSnapshot> arquivos(const std::vector<std::string>& nomes)
{
    std::vector<FileSnapshot> saida;
    for (const std::string& nome : nomes) {
        saida.push_back(arquivo(nome));
    }
    return saida;
}

TEST(SeriesDetector, KeyDropsTheExtensionAndTheCopyMarkers)
{
    EXPECT_EQ(SeriesDetector::chave("Relatorio (2).pdf"), "Relatorio");
    EXPECT_EQ(SeriesDetector::chave("Relatorio copy.docx"), "Relatorio");
    EXPECT_EQ(SeriesDetector::chave("Relatorio.tar.gz"), "Relatorio.tar");
    EXPECT_EQ(SeriesDetector::chave(".bashrc"), ".bashrc");
    EXPECT_EQ(SeriesDetector::chave("Nota copy copy.txt"), "Nota copy");
    // Case is kept: keys compare exactly.
    EXPECT_NE(SeriesDetector::chave("relatorio.pdf"), SeriesDetector::chave("Relatorio.pdf"));
}

TEST(SeriesDetector, KeyIsComposedSoCanonicalEquivalentsAgree)
{
    EXPECT_EQ(SeriesDetector::chave("Relato\xCC\x81rio.pdf"), "Relatório");
    EXPECT_EQ(SeriesDetector::chave("Relato\xCC\x81rio.pdf"), SeriesDetector::chave("Relatório (1).docx"));
}

TEST(SeriesDetector, EmptyListGivesAnEmptyMap)
{
    EXPECT_TRUE(SeriesDetector::candidatos({}).empty());
}

TEST(SeriesDetector, ALoneFileCountsOne)
{
    EXPECT_EQ(SeriesDetector::candidatos(arquivos({"orcamento.xlsx"})), (Contagens {{"orcamento.xlsx", 1}}));
}

TEST(SeriesDetector, ExtensionAndNumberedCopiesFormOneSeriesButCaseSplitsIt)
{
    const Contagens c = SeriesDetector::candidatos(
        arquivos({"relatorio.pdf", "relatorio (1).pdf", "relatorio.docx", "Relatorio.pdf"}));
    EXPECT_EQ(c,
        (Contagens {
            {"relatorio.pdf", 3}, {"relatorio (1).pdf", 3}, {"relatorio.docx", 3}, {"Relatorio.pdf", 1}}));
}

TEST(SeriesDetector, CopyWordJoinsTheOriginal)
{
    EXPECT_EQ(SeriesDetector::candidatos(arquivos({"nota copy.txt", "nota.txt", "outra.txt"})),
        (Contagens {{"nota copy.txt", 2}, {"nota.txt", 2}, {"outra.txt", 1}}));
}

TEST(SeriesDetector, ComposedAndDecomposedSpellingsAreOneSeries)
{
    const std::string composto = "relatório.pdf";
    const std::string decomposto = "relato\xCC\x81rio.docx";
    const Contagens c = SeriesDetector::candidatos(arquivos({composto, decomposto, "relatorio.pdf"}));
    // Two entries, since names are kept as given, each counting both spellings.
    EXPECT_EQ(c, (Contagens {{composto, 2}, {decomposto, 2}, {"relatorio.pdf", 1}}));
}

TEST(SeriesDetector, SnapshotsWithTheSameNameShareOneEntry)
{
    std::vector<FileSnapshot> lista = arquivos({"a.txt", "a (1).txt"});
    lista.push_back(FileSnapshot("/outra/pasta/a.txt", "a.txt", false, 1, std::nullopt, Date::desde1970(0),
        std::nullopt, {}, false, std::nullopt));
    EXPECT_EQ(SeriesDetector::candidatos(lista), (Contagens {{"a.txt", 3}, {"a (1).txt", 3}}));
}

TEST(SeriesDetector, FoldersTakePartByName)
{
    // A folder "Projeto" and its zipped download are one series.
    std::vector<FileSnapshot> lista = arquivos({"Projeto.zip"});
    lista.push_back(FileSnapshot("/home/ana/Downloads/Projeto", "Projeto", true, 4096, std::nullopt,
        Date::desde1970(0), std::nullopt, {}, false, std::nullopt));
    EXPECT_EQ(SeriesDetector::candidatos(lista), (Contagens {{"Projeto.zip", 2}, {"Projeto", 2}}));
}

// The plain definition: for every file, scan the whole list again and count equal keys.
Contagens quadratico(const std::vector<FileSnapshot>& lista)
{
    const auto chave = [](const std::string& nome) {
        return Texto::nfc(NameAnalyzer::removerSufixoDeCopia(Texto::semExtensao(nome)));
    };
    Contagens mapa;
    for (const FileSnapshot& s : lista) {
        const std::string k = chave(s.nome());
        int n = 0;
        for (const FileSnapshot& t : lista) {
            n += chave(t.nome()) == k ? 1 : 0;
        }
        mapa[s.nome()] = n;
    }
    return mapa;
}

TEST(SeriesDetector, AgreesWithTheQuadraticDefinitionOnRandomFolders)
{
    const std::vector<std::string> bases
        = {"relatorio", "Relatorio", "RELATORIO", "relatório", "relato\xCC\x81rio", "Relato\xCC\x81rio",
            "nota", "Nota", "IMG_2041", "foto", "café", "cafe\xCC\x81", "x", ".bashrc", "", "ａｂｃ"};
    const std::vector<std::string> marcas = {"", "", "", " (1)", " (2)", "(3)", " copy", " Copy", " cópia",
        " co\xCC\x81pia", " copia", "-copy", " copy (2)", " (1) copy", " (x)"};
    const std::vector<std::string> extensoes = {"", ".pdf", ".PDF", ".docx", ".tar.gz", ".txt", "."};
    std::mt19937 gerador(4711);
    int maiorSerie = 0;
    const auto escolher = [&gerador](const std::vector<std::string>& v) {
        return v[std::uniform_int_distribution<std::size_t>(0, v.size() - 1)(gerador)];
    };
    for (int rodada = 0; rodada < 40; ++rodada) {
        const int tamanho = std::uniform_int_distribution<int>(0, 120)(gerador);
        std::vector<std::string> nomes;
        for (int i = 0; i < tamanho; ++i) {
            nomes.push_back(escolher(bases) + escolher(marcas) + escolher(extensoes));
        }
        const std::vector<FileSnapshot> lista = arquivos(nomes);
        const Contagens esperado = quadratico(lista);
        const Contagens obtido = SeriesDetector::candidatos(lista);
        ASSERT_EQ(obtido, esperado) << "rodada " << rodada;
        // Every name has an entry, and only names of the list do.
        for (const std::string& nome : nomes) {
            EXPECT_EQ(obtido.count(nome), 1U) << nome;
            maiorSerie = std::max(maiorSerie, obtido.at(nome));
        }
        EXPECT_LE(obtido.size(), nomes.size());
    }
    // The comparison is only worth something if long series occurred.
    EXPECT_GE(maiorSerie, 10);
}

TEST(SeriesDetector, MarkersAndSpellingsOfOneNameMeet)
{
    const Contagens c = SeriesDetector::candidatos(
        arquivos({"Relato\xCC\x81rio (2).pdf", "Relatório cópia.docx", "Relatório.pdf", "relatório.pdf"}));
    EXPECT_EQ(c.at("Relatório.pdf"), 3);
    EXPECT_EQ(c.at("relatório.pdf"), 1);
}

} // namespace
} // namespace tarrafa
