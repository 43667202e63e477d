// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/NameAnalyzer.hpp"
#include "TarrafaCore/Texto.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tarrafa {
namespace {

using NameAnalyzer::ehOpaco;
using NameAnalyzer::removerSufixoDeCopia;
using NameAnalyzer::temSufixoDeCopia;

// ---------------------------------------------------------------------------------------
// Copy markers

TEST(NameAnalyzerCopia, NumberedMarkerIsRemovedAndTheRestTrimmed)
{
    EXPECT_EQ(removerSufixoDeCopia("Relatorio (2)"), "Relatorio");
    EXPECT_EQ(removerSufixoDeCopia("Relatorio   (15)"), "Relatorio");
    EXPECT_EQ(removerSufixoDeCopia("  Relatorio (2)"), "Relatorio"); // trimmed at both ends
    EXPECT_EQ(removerSufixoDeCopia("Relatorio(3)"), "Relatorio");
}

TEST(NameAnalyzerCopia, ParenthesesWithoutANumberAreKept)
{
    EXPECT_EQ(removerSufixoDeCopia("Relatorio (final)"), "Relatorio (final)");
    EXPECT_EQ(removerSufixoDeCopia("Relatorio ()"), "Relatorio ()");
    EXPECT_EQ(removerSufixoDeCopia("Relatorio (2"), "Relatorio (2");
    EXPECT_EQ(removerSufixoDeCopia("Relatorio 2)"), "Relatorio 2)");
    EXPECT_EQ(removerSufixoDeCopia("Relatorio (2a)"), "Relatorio (2a)");
    EXPECT_EQ(removerSufixoDeCopia("Relatorio (2) "), "Relatorio (2) "); // does not end with ")"
    // Untouched names are not trimmed.
    EXPECT_EQ(removerSufixoDeCopia("  Relatorio "), "  Relatorio ");
}

TEST(NameAnalyzerCopia, OnlyTheLastNumberedMarkerGoes)
{
    EXPECT_EQ(removerSufixoDeCopia("Contrato (1) (2)"), "Contrato (1)");
    EXPECT_TRUE(temSufixoDeCopia("Contrato (1) (2).pdf"));
}

TEST(NameAnalyzerCopia, EachCopyWordIsTriedOnceAfterTheNumberedMarker)
{
    EXPECT_EQ(removerSufixoDeCopia("Foto copy (3)"), "Foto");
    EXPECT_EQ(removerSufixoDeCopia("Nota copia copy"), "Nota");
    EXPECT_EQ(removerSufixoDeCopia("Nota (2) copy"), "Nota (2)");
    EXPECT_EQ(removerSufixoDeCopia("Nota copy copy"), "Nota copy");
    EXPECT_EQ(removerSufixoDeCopia("Nota cópia copy"), "Nota");
    // " cópia" is tried before " copy" comes round again: the single pass keeps this one.
    EXPECT_EQ(removerSufixoDeCopia("Nota copy cópia"), "Nota copy");
    EXPECT_EQ(removerSufixoDeCopia("Nota-copy"), "Nota");
    // " copia" is tried before "-copy", so it survives here but not the other way round.
    EXPECT_EQ(removerSufixoDeCopia("Nota copia-copy"), "Nota copia");
    EXPECT_EQ(removerSufixoDeCopia("Nota-copy copia"), "Nota");
}

TEST(NameAnalyzerCopia, CopyWordsIgnoreCaseAndAreNotFollowedByTrimming)
{
    EXPECT_EQ(removerSufixoDeCopia("Nota COPY"), "Nota");
    EXPECT_EQ(removerSufixoDeCopia("Nota CÓPIA"), "Nota");
    EXPECT_EQ(removerSufixoDeCopia("Nota Cópia"), "Nota");
    EXPECT_EQ(removerSufixoDeCopia("Nota  copy"), "Nota ");
    EXPECT_EQ(removerSufixoDeCopia("Notacopy"), "Notacopy");
    EXPECT_EQ(removerSufixoDeCopia(" copy"), "");
    EXPECT_EQ(removerSufixoDeCopia("copy"), "copy");
}

TEST(NameAnalyzerCopia, ReportCopyIsDetectedWhateverTheCase)
{
    EXPECT_TRUE(temSufixoDeCopia("Report copy.pdf"));
    EXPECT_TRUE(temSufixoDeCopia("Report Copy.pdf"));
    EXPECT_FALSE(temSufixoDeCopia("Reportcopy.pdf"));
    EXPECT_FALSE(temSufixoDeCopia("Report.pdf"));
    EXPECT_TRUE(temSufixoDeCopia("IMG_1234 (2).jpg"));
    // The extension is removed first: the marker must end the base name.
    EXPECT_FALSE(temSufixoDeCopia("Report (2).pdf.zip"));
    EXPECT_TRUE(temSufixoDeCopia("Report (2)"));
}

TEST(NameAnalyzerCopia, NumeralsOfOtherScriptsMakeANumberedMarker)
{
    EXPECT_EQ(removerSufixoDeCopia("Relatório (٢)"), "Relatório"); // Arabic-Indic two
    EXPECT_EQ(removerSufixoDeCopia("Relatório (２)"), "Relatório"); // full-width two
    EXPECT_EQ(removerSufixoDeCopia("Relatório (½)"), "Relatório"); // a fraction is numeric
    EXPECT_EQ(removerSufixoDeCopia("Relatório (二)"), "Relatório"); // a numeric ideograph
    EXPECT_EQ(removerSufixoDeCopia("Relatório\u00A0(2)"), "Relatório"); // no-break space trimmed
}

TEST(NameAnalyzerCopia, DecomposedInputIsComposedFirst)
{
    const std::string decomposta = "Nota co\xCC\x81pia"; // o + combining acute
    EXPECT_EQ(removerSufixoDeCopia(decomposta), "Nota");
    EXPECT_EQ(removerSufixoDeCopia("Relato\xCC\x81rio (2)"), "Relatório");
    EXPECT_EQ(removerSufixoDeCopia("Relato\xCC\x81rio"), "Relatório");
    // The same name in either form has no copy suffix.
    EXPECT_FALSE(temSufixoDeCopia("Relato\xCC\x81rio.pdf"));
    EXPECT_FALSE(temSufixoDeCopia("Relatório.pdf"));
    EXPECT_TRUE(temSufixoDeCopia("Contrato co\xCC\x81pia.pdf"));
}

TEST(NameAnalyzerCopia, CharactersAreDroppedWholeEvenWhenLowerCasingChangesLengths)
{
    // "İ" lower-cases to "i" + combining dot above: more bytes, same characters.
    EXPECT_EQ(removerSufixoDeCopia("İİ COPY"), "İİ");
    // "Ⱥ" grows from two bytes to three when lower-cased.
    EXPECT_EQ(removerSufixoDeCopia("ȺȺȺȺȺȺȺ copy"), "ȺȺȺȺȺȺȺ");
    // "CÓPİA" lower-cases to "cópi̇a", which is not "cópia": nothing is removed.
    EXPECT_EQ(removerSufixoDeCopia("Nota CÓPİA"), "Nota CÓPİA");
    // A base letter with a mark that has no composed form is still one character.
    EXPECT_EQ(removerSufixoDeCopia("x\xE2\x83\x9D copy"), "x\xE2\x83\x9D"); // x + enclosing circle
}

TEST(NameAnalyzerCopia, IllFormedBytesNeverCrash)
{
    EXPECT_EQ(removerSufixoDeCopia("Rel\xF3rio copy"), "Rel\xEF\xBF\xBDrio");
    EXPECT_EQ(removerSufixoDeCopia("\xFF (1)"), "\xEF\xBF\xBD");
    EXPECT_EQ(removerSufixoDeCopia(std::string_view("a\0b (2)", 7)), std::string("a\0b", 3));
    EXPECT_FALSE(temSufixoDeCopia("\xC3"));
    EXPECT_EQ(removerSufixoDeCopia(""), "");
    EXPECT_FALSE(temSufixoDeCopia(""));
}

// ---------------------------------------------------------------------------------------
// Opaque names

TEST(NameAnalyzerOpaco, WorkedExamples)
{
    EXPECT_TRUE(ehOpaco("2024"));
    EXPECT_TRUE(ehOpaco("2024.pdf"));
    EXPECT_TRUE(ehOpaco("4711 (1)"));
    EXPECT_TRUE(ehOpaco("4711 (1).zip"));
    EXPECT_TRUE(ehOpaco("IMG_2041"));
    EXPECT_TRUE(ehOpaco("IMG_2041.HEIC"));
    EXPECT_TRUE(ehOpaco("DSC-0003.jpg"));
    EXPECT_TRUE(ehOpaco("untitled"));
    EXPECT_TRUE(ehOpaco("Untitled.txt"));
    EXPECT_TRUE(ehOpaco("Sem título 3.png"));
    EXPECT_TRUE(ehOpaco("document_12.docx"));
    EXPECT_FALSE(ehOpaco("documento final.docx"));
    EXPECT_FALSE(ehOpaco("Screenshot 2024-05-01 10.22.31.png"));
    // Without an extension the last dot still starts one; the rest keeps a space and a dot.
    EXPECT_FALSE(ehOpaco("Screenshot 2024-05-01 10.22.31"));
}

TEST(NameAnalyzerOpaco, EveryGenericPrefixAloneOrWithANumberIsOpaque)
{
    for (const std::string_view prefixo : NameAnalyzer::kPrefixosGenericos) {
        const std::string p(prefixo);
        // Alone, a prefix that ends in a space loses it to trimming and no longer matches.
        EXPECT_EQ(ehOpaco(p + ".jpg"), p.back() != ' ') << p;
        EXPECT_TRUE(ehOpaco(p + "12.jpg")) << p;
        EXPECT_TRUE(ehOpaco(p + " 2024-01-02_3.jpg")) << p;
        EXPECT_TRUE(ehOpaco(Texto::maiusculas(p) + "7.jpg")) << p;
        EXPECT_FALSE(ehOpaco(p + " de férias.jpg")) << p;
    }
}

TEST(NameAnalyzerOpaco, LeadingDotWithoutAnotherDotIsNotAnExtension)
{
    EXPECT_FALSE(ehOpaco(".hidden"));
    EXPECT_FALSE(ehOpaco(".hidden.txt"));
    // The leading dot stays in the base name, and a dot is not a numeral.
    EXPECT_FALSE(ehOpaco(".2024"));
    EXPECT_FALSE(ehOpaco(".2024.txt"));
    // Without the leading dot the same digits are a bare number.
    EXPECT_TRUE(ehOpaco("2024.txt"));
}

TEST(NameAnalyzerOpaco, EmptyOrBlankBaseIsOpaque)
{
    EXPECT_TRUE(ehOpaco(""));
    EXPECT_TRUE(ehOpaco(" .pdf"));
    EXPECT_TRUE(ehOpaco("\t\u00A0 .pdf"));
    EXPECT_TRUE(ehOpaco("(1).pdf")); // empty once the marker is gone
    EXPECT_TRUE(ehOpaco("  (2) .pdf"));
    // Trimming comes first, so a lone " copy" is the word "copy", not a marker.
    EXPECT_FALSE(ehOpaco(" copy.pdf"));
}

TEST(NameAnalyzerOpaco, CopyOfAnOpaqueNameIsOpaqueAndHasASuffix)
{
    EXPECT_TRUE(ehOpaco("IMG_1234 (2).jpg"));
    EXPECT_TRUE(temSufixoDeCopia("IMG_1234 (2).jpg"));
    EXPECT_TRUE(ehOpaco("IMG_1234 copy.jpg"));
    EXPECT_TRUE(ehOpaco("2024 cópia.pdf"));
}

TEST(NameAnalyzerOpaco, AfterAPrefixOnlyDigitsDashesAndUnderscoresCount)
{
    EXPECT_TRUE(ehOpaco("photo_2024-01-03_12-00-01.jpg"));
    EXPECT_FALSE(ehOpaco("photo 2024.01.03.jpg"));
    EXPECT_TRUE(ehOpaco("file.txt"));
    EXPECT_FALSE(ehOpaco("filename.txt"));
    EXPECT_TRUE(ehOpaco("Download (3).zip"));
    EXPECT_TRUE(ehOpaco("arquivo-_-.zip"));
    EXPECT_FALSE(ehOpaco("arquivo morto.zip"));
    // A matching prefix with words after it decides nothing; here no other rule applies.
    EXPECT_FALSE(ehOpaco("imagem do projeto.png"));
    // The prefix needs its own space: "img" with a no-break space is not "img ".
    EXPECT_FALSE(ehOpaco("img\u00A02041.jpg"));
    EXPECT_TRUE(ehOpaco("IMG 2041.jpg"));
}

TEST(NameAnalyzerOpaco, UuidShapeIsThirtySixCharactersWithFourDashes)
{
    EXPECT_TRUE(ehOpaco("123e4567-e89b-12d3-a456-426614174000.pdf"));
    EXPECT_TRUE(ehOpaco("123E4567-E89B-12D3-A456-426614174000"));
    const std::string naoHex = "zzzzzzzz-yyyy-xxxx-wwww-vvvvvvvvvvvv";
    ASSERT_EQ(naoHex.size(), 36U);
    EXPECT_TRUE(ehOpaco(naoHex + ".bin"));
    // The dashes may be anywhere and the rest may be words; only the counts matter.
    EXPECT_TRUE(ehOpaco("relatorio-final de vendas-do-ano-xyz.pdf"));
    EXPECT_FALSE(ehOpaco("relatorio-final-de-vendas-do-ano-xyz.pdf")); // six dashes
    // One character short, one dash too many, one dash too few.
    EXPECT_FALSE(ehOpaco("zzzzzzzz-yyyy-xxxx-wwww-vvvvvvvvvvv.bin"));
    EXPECT_FALSE(ehOpaco("zzzzzzzz-yyyy-xxxx-wwww-vvvvvv-vvvvv.bin"));
    EXPECT_FALSE(ehOpaco("zzzzzzzz-yyyy-xxxx-wwwwvvvvvvvvvvvvvv.bin"));
}

TEST(NameAnalyzerOpaco, UuidShapeCountsCharactersNotBytes)
{
    // 36 characters, one of them "ã" (two bytes) and one a letter with a combining mark.
    const std::string nome = "zzzzzzzã-yyyy-xxxx-wwww-vvvvvvvvvvvv\xE2\x83\x9D";
    ASSERT_EQ(Texto::contarGrafemas(nome), 36U);
    EXPECT_TRUE(ehOpaco(nome));
    // Spelled decomposed it is the same 36 characters.
    EXPECT_TRUE(ehOpaco("zzzzzzza\xCC\x83-yyyy-xxxx-wwww-vvvvvvvvvvvv\xE2\x83\x9D"));
    // A dash carrying a mark is not a dash.
    EXPECT_FALSE(ehOpaco("zzzzzzzz-yyyy-xxxx-wwww-\xE2\x83\x9Dvvvvvvvvvvv"));
}

TEST(NameAnalyzerOpaco, HashShapeIsTwentyFourHexadecimalCharactersOrMore)
{
    EXPECT_TRUE(ehOpaco("5f2b9c0e1a7d4e3b8c6a9f10"));
    EXPECT_TRUE(ehOpaco("5F2B9C0E1A7D4E3B8C6A9F10.bin"));
    EXPECT_TRUE(ehOpaco("5f2b9c0e1a7d4e3b8c6a9f10aa99"));
    EXPECT_FALSE(ehOpaco("5f2b9c0e1a7d4e3b8c6a9f1")); // 23
    EXPECT_TRUE(ehOpaco("12345678901234567890123")); // 23, but all numeric
    EXPECT_FALSE(ehOpaco("5f2b9c0e1a7d4e3b8c6a9f1g")); // a letter beyond f
    EXPECT_TRUE(ehOpaco("5f2b9c0e1a7d4e3b8c6a9f10 (1).bin"));
}

TEST(NameAnalyzerOpaco, FullWidthHexadecimalCountsAsHexadecimal)
{
    const std::string largo = "５ｆ２ｂ９ｃ０ｅ１ａ７ｄ４ｅ３ｂ８ｃ６ａ９ｆ１０";
    ASSERT_EQ(Texto::contarGrafemas(largo), 24U);
    EXPECT_TRUE(ehOpaco(largo + ".bin"));
    EXPECT_FALSE(ehOpaco("５ｆ２ｂ９ｃ０ｅ１ａ７ｄ４ｅ３ｂ８ｃ６ａ９ｆ１.bin")); // 23
    EXPECT_FALSE(ehOpaco("５ｆ２ｂ９ｃ０ｅ１ａ７ｄ４ｅ３ｂ８ｃ６ａ９ｆ１ｇ.bin")); // full-width g
}

TEST(NameAnalyzerOpaco, HashShapeCountsCharactersNotCodePoints)
{
    // 23 hexadecimal characters plus a "0" carrying an enclosing circle: 24 characters,
    // each judged by its first code point.
    EXPECT_TRUE(ehOpaco("5f2b9c0e1a7d4e3b8c6a9f10\xE2\x83\x9D"));
    // 22 + one marked: 23 characters (24 code points) is too short.
    EXPECT_FALSE(ehOpaco("5f2b9c0e1a7d4e3b8c6a9f1\xE2\x83\x9D"));
}

TEST(NameAnalyzerOpaco, NumeralsOfAnyScriptAreNumeric)
{
    EXPECT_TRUE(ehOpaco("٢٠٢٤.pdf")); // Arabic-Indic
    EXPECT_TRUE(ehOpaco("२०२४.pdf")); // Devanagari
    EXPECT_TRUE(ehOpaco("２０２４.pdf")); // full-width
    EXPECT_TRUE(ehOpaco("IMG_٢٠٤١.jpg"));
    EXPECT_TRUE(ehOpaco("½.txt"));
    EXPECT_FALSE(ehOpaco("٢٠٢٤ relatório.pdf"));
}

TEST(NameAnalyzerOpaco, DecomposedAndUpperCaseSpellingsOfPrefixes)
{
    EXPECT_TRUE(ehOpaco("Sem ti\xCC\x81tulo 3.png")); // "í" decomposed
    EXPECT_TRUE(ehOpaco("SEM TÍTULO.png"));
    EXPECT_TRUE(ehOpaco("sem titulo_4.png"));
    EXPECT_FALSE(ehOpaco("Sem título de eleitor.png"));
    // "İMG" lower-cases to "i̇mg": the dot makes it another word.
    EXPECT_FALSE(ehOpaco("İMG_2041.jpg"));
}

TEST(NameAnalyzerOpaco, OrdinaryNamesAreNotOpaque)
{
    EXPECT_FALSE(ehOpaco("Relatório anual.pdf"));
    EXPECT_FALSE(ehOpaco("notas.txt"));
    EXPECT_FALSE(ehOpaco("a.b"));
    EXPECT_FALSE(ehOpaco("Relatório (final).pdf"));
}

TEST(NameAnalyzerOpaco, IllFormedBytesNeverCrash)
{
    EXPECT_FALSE(ehOpaco("\xFF\xFE.pdf"));
    EXPECT_FALSE(ehOpaco("\xC3"));
    // The replacement character after a prefix is not a numeral.
    EXPECT_FALSE(ehOpaco("IMG_\xFF"));
    EXPECT_FALSE(ehOpaco("IMG_\xFF (1)"));
}

// ---------------------------------------------------------------------------------------
// Comparison with a plain transcription of the rules on random names.

namespace referencia {

std::vector<std::string> caracteres(std::string_view texto)
{
    std::vector<std::string> saida;
    for (const std::string_view g : Texto::grafemas(texto)) {
        saida.emplace_back(g);
    }
    return saida;
}

std::string juntar(const std::vector<std::string>& partes, std::size_t de, std::size_t ate)
{
    std::string saida;
    for (std::size_t i = de; i < ate && i < partes.size(); ++i) {
        saida += partes[i];
    }
    return saida;
}

bool numerico(const std::string& c)
{
    return Texto::ehNumerico(Texto::primeiroCodePoint(c));
}

bool todosNumericos(const std::vector<std::string>& c)
{
    return std::all_of(c.begin(), c.end(), numerico);
}

std::string remover(std::string_view entrada)
{
    std::string s = Texto::nfc(entrada);
    std::vector<std::string> c = caracteres(s);
    if (!c.empty() && c.back() == ")") {
        std::size_t abre = c.size() - 1;
        bool achou = false;
        while (abre > 0) {
            --abre;
            if (c[abre] == "(") {
                achou = true;
                break;
            }
        }
        if (achou) {
            const std::vector<std::string> dentro(
                c.begin() + static_cast<std::ptrdiff_t>(abre) + 1, c.end() - 1);
            if (!dentro.empty() && todosNumericos(dentro)) {
                s = std::string(Texto::apararEspacos(juntar(c, 0, abre)));
            }
        }
    }
    for (const std::string_view sufixo : NameAnalyzer::kSufixosDeCopia) {
        const std::vector<std::string> l = caracteres(Texto::minusculas(s));
        const std::vector<std::string> suf = caracteres(Texto::nfc(sufixo));
        if (l.size() >= suf.size()
            && juntar(l, l.size() - suf.size(), l.size()) == juntar(suf, 0, suf.size())) {
            c = caracteres(s);
            s = juntar(c, 0, c.size() >= suf.size() ? c.size() - suf.size() : 0);
        }
    }
    return Texto::nfc(s);
}

bool opaco(std::string_view nome)
{
    const std::string b(Texto::apararEspacos(Texto::semExtensao(Texto::nfc(nome))));
    if (b.empty()) {
        return true;
    }
    const std::string s(Texto::apararEspacos(remover(b)));
    const std::vector<std::string> c = caracteres(s);
    if (todosNumericos(c)) {
        return true;
    }
    const std::string l = Texto::minusculas(s);
    const std::vector<std::string> lc = caracteres(l);
    for (const std::string_view p : NameAnalyzer::kPrefixosGenericos) {
        const std::vector<std::string> pc = caracteres(Texto::nfc(p));
        if (lc.size() < pc.size() || juntar(lc, 0, pc.size()) != juntar(pc, 0, pc.size())) {
            continue;
        }
        const std::vector<std::string> r = caracteres(Texto::apararEspacos(juntar(lc, pc.size(), lc.size())));
        if (std::all_of(r.begin(), r.end(),
                [](const std::string& x) { return numerico(x) || x == "-" || x == "_"; })) {
            return true;
        }
    }
    if (c.size() == 36 && std::count(c.begin(), c.end(), "-") == 4) {
        return true;
    }
    return c.size() >= 24 && std::all_of(c.begin(), c.end(), [](const std::string& x) {
        return Texto::ehHexadecimal(Texto::primeiroCodePoint(x));
    });
}

} // namespace referencia

std::vector<std::string> nomesAleatorios(std::uint32_t semente, std::size_t quantos)
{
    static const std::vector<std::string> pedacos
        = {"a", "B", "z", "f", "F", "0", "7", "9", " ", " ", "\t", "(", ")", "(", ")", "-", "_", ".", ".",
            " copy", " Copy", " COPY", " cópia", " CÓPIA", " copia", "-copy", "copy", " (1)", " (2)", "(12)",
            "img_", "IMG ", "dsc-", "foto ", "Photo_", "screenshot", "Screen Shot", "Sem Título",
            "sem titulo", "Documento", "document", "file", "untitled", "é", "e\xCC\x81", "co\xCC\x81pia",
            "ti\xCC\x81tulo", "٢", "٤", "５", "ｆ", "ｇ", "½", "İ", "Ⱥ", "\u00A0", "\xE2\x83\x9D", "3f",
            "deadbeef", "-", "\r", "\n", "\r\n", "\xFF", "\xC3", "ß", "Σ", "🇧🇷", "👍🏽"};
    std::mt19937 gerador(semente);
    std::uniform_int_distribution<std::size_t> qual(0, pedacos.size() - 1);
    std::uniform_int_distribution<int> quantosPedacos(0, 9);
    std::uniform_int_distribution<int> ascii(1, 127);
    std::uniform_int_distribution<int> forma(0, 5);
    std::vector<std::string> nomes;
    for (std::size_t i = 0; i < quantos; ++i) {
        std::string nome;
        switch (forma(gerador)) {
        case 0: // any ASCII
            for (int k = quantosPedacos(gerador) * 3; k > 0; --k) {
                nome.push_back(static_cast<char>(ascii(gerador)));
            }
            break;
        case 1: { // near a hash or a UUID
            static const std::string hex = "0123456789abcdefABCDEF-";
            std::uniform_int_distribution<std::size_t> h(0, hex.size() - 1);
            const int n = std::uniform_int_distribution<int>(20, 40)(gerador);
            for (int k = 0; k < n; ++k) {
                nome.push_back(hex[h(gerador)]);
            }
            break;
        }
        default:
            for (int k = quantosPedacos(gerador); k > 0; --k) {
                nome += pedacos[qual(gerador)];
            }
        }
        nomes.push_back(std::move(nome));
    }
    return nomes;
}

TEST(NameAnalyzerReferencia, AgreesWithAPlainTranscriptionOfTheRules)
{
    for (const std::string& nome : nomesAleatorios(20240501, 6000)) {
        const std::string semExt(Texto::semExtensao(nome));
        const std::string esperado = referencia::remover(semExt);
        EXPECT_EQ(removerSufixoDeCopia(semExt), esperado) << nome;
        EXPECT_EQ(temSufixoDeCopia(nome), esperado != Texto::nfc(semExt)) << nome;
        EXPECT_EQ(ehOpaco(nome), referencia::opaco(nome)) << nome;
    }
}

TEST(NameAnalyzerReferencia, EveryAsciiCharacterIsClassifiedLikeTheUnicodeTables)
{
    for (int i = 1; i < 128; ++i) {
        const char c = static_cast<char>(i);
        for (const std::string& nome : {std::string(24, c), std::string(3, c), "img_" + std::string(2, c),
                 "x (" + std::string(1, c) + ")", std::string(1, c) + "2024" + std::string(1, c),
                 "nota" + std::string(1, c) + "copy"}) {
            EXPECT_EQ(ehOpaco(nome), referencia::opaco(nome)) << "char " << i;
            EXPECT_EQ(removerSufixoDeCopia(nome), referencia::remover(nome)) << "char " << i;
        }
    }
}

} // namespace
} // namespace tarrafa
