// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Texto.hpp"

#include <gtest/gtest.h>

namespace tarrafa {
namespace {

TEST(Texto, InvalidUtf8IsRepairedWithReplacementCharacters)
{
    EXPECT_TRUE(Texto::ehUtf8Valido("relatório"));
    EXPECT_FALSE(Texto::ehUtf8Valido("rel\xF3rio"));
    EXPECT_EQ(Texto::utf8Valido("rel\xF3rio"), "rel\xEF\xBF\xBDrio");
    EXPECT_EQ(Texto::utf8Valido("ok"), "ok");
    EXPECT_FALSE(Texto::ehUtf8Valido("\xED\xA0\x80")); // an encoded surrogate
}

TEST(Texto, CaseMappingsAreFullAndLocaleIndependent)
{
    EXPECT_EQ(Texto::maiusculas("straße"), "STRASSE");
    EXPECT_EQ(Texto::minusculas("ÁGUA"), "água");
    EXPECT_EQ(Texto::minusculas("I"), "i"); // not the Turkish dotless i
    EXPECT_EQ(Texto::dobrarCaixa("Straße"), Texto::dobrarCaixa("STRASSE"));
    EXPECT_NE(Texto::dobrarCaixa("água"), Texto::dobrarCaixa("agua"));
}

TEST(Texto, FoldingPlainAsciiAgreesWithTheFullFolding)
{
    // Every ASCII character, once through the shortcut for ASCII text and once through the
    // full folding (a trailing non-ASCII letter forces that path).
    std::string ascii;
    for (int c = 1; c < 0x80; ++c) {
        ascii.push_back(static_cast<char>(c));
    }
    EXPECT_EQ(Texto::dobrarCaixa(ascii) + "\xC3\xA9", Texto::dobrarCaixa(ascii + "\xC3\x89"));
    EXPECT_EQ(Texto::dobrarCaixa("Relatorio FINAL (1).PDF"), "relatorio final (1).pdf");
}

TEST(Texto, NfcComposesCanonicalEquivalents)
{
    EXPECT_EQ(Texto::nfc("e\xCC\x81"), "\xC3\xA9");
    EXPECT_EQ(Texto::nfc("plain"), "plain");
}

TEST(Texto, GraphemeClustersAreUserPerceivedCharacters)
{
    EXPECT_EQ(Texto::contarGrafemas("abc"), 3U);
    EXPECT_EQ(Texto::contarGrafemas("e\xCC\x81"), 1U);              // e + combining acute
    EXPECT_EQ(Texto::contarGrafemas("\xF0\x9F\x87\xA7\xF0\x9F\x87\xB7"), 1U); // a flag
    EXPECT_EQ(Texto::contarGrafemas("\r\n"), 1U);
    EXPECT_EQ(Texto::contarGrafemas(""), 0U);
}

TEST(Texto, CharacterClasses)
{
    EXPECT_TRUE(Texto::ehNumerico(U'7'));
    EXPECT_TRUE(Texto::ehNumerico(U'\u0662')); // Arabic-Indic two
    EXPECT_TRUE(Texto::ehNumerico(U'\u00BD')); // one half
    EXPECT_FALSE(Texto::ehNumerico(U'x'));
    EXPECT_TRUE(Texto::ehLetra(U'\u00E7'));
    EXPECT_FALSE(Texto::ehLetra(U'-'));
    EXPECT_TRUE(Texto::ehHexadecimal(U'F'));
    EXPECT_TRUE(Texto::ehHexadecimal(U'\uFF46')); // full-width f
    EXPECT_FALSE(Texto::ehHexadecimal(U'g'));
    EXPECT_TRUE(Texto::ehEspaco(U'\t'));
    EXPECT_TRUE(Texto::ehEspaco(U'\u00A0'));
    EXPECT_FALSE(Texto::ehEspaco(U'\n'));
    EXPECT_TRUE(Texto::ehBrancoOuQuebra(U'\n'));
    EXPECT_TRUE(Texto::ehBrancoOuQuebra(U'\u2028'));
}

TEST(Texto, Trimming)
{
    EXPECT_EQ(Texto::apararEspacos(" \t nome \u00A0"), "nome");
    EXPECT_EQ(Texto::apararEspacos("\nnome\n"), "\nnome\n");
    EXPECT_EQ(Texto::apararBrancosEQuebras(" \r\nhttps://x\n"), "https://x");
    EXPECT_EQ(Texto::apararEspacos("   "), "");
}

TEST(Texto, ExtensionRuleOfAFileName)
{
    EXPECT_EQ(Texto::extensao("a.tar.gz"), "gz");
    EXPECT_EQ(Texto::semExtensao("a.tar.gz"), "a.tar");
    EXPECT_EQ(Texto::extensao(".hidden"), "");
    EXPECT_EQ(Texto::semExtensao(".hidden"), ".hidden");
    EXPECT_EQ(Texto::extensao("sem"), "");
    EXPECT_EQ(Texto::semExtensao("(1).pdf"), "(1)");
    EXPECT_EQ(Texto::semExtensao("nome."), "nome");
}

TEST(Texto, FirstCharacterUpperCased)
{
    EXPECT_EQ(Texto::primeiraMaiuscula("financeiro"), "Financeiro");
    EXPECT_EQ(Texto::primeiraMaiuscula("ßa"), "SSa");
    EXPECT_EQ(Texto::primeiraMaiuscula("éTica"), "ÉTica");
    EXPECT_EQ(Texto::primeiraMaiuscula(""), "");
}

} // namespace
} // namespace tarrafa

TEST(ChaveDeBusca, FoldsCaseAndDropsEveryAccent)
{
    using tarrafa::Texto::chaveDeBusca;
    EXPECT_EQ(chaveDeBusca("Relatório Anual.PDF"), "relatorio anual.pdf");
    EXPECT_EQ(chaveDeBusca("RELATÓRIO"), chaveDeBusca("relatorio"));
    EXPECT_EQ(chaveDeBusca("relato\u0301rio"), "relatorio"); // decomposed as macOS writes names
    EXPECT_EQ(chaveDeBusca("Ação Çedilha ÑANDÚ"), "acao cedilha nandu");
    EXPECT_EQ(chaveDeBusca("Straße"), "strasse");
    EXPECT_EQ(chaveDeBusca("\u0130stanbul"), "istanbul"); // folding itself adds a mark here
    EXPECT_EQ(chaveDeBusca("日本語.txt"), "日本語.txt");
    EXPECT_EQ(chaveDeBusca(""), "");
}
