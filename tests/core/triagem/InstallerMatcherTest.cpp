// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/InstallerMatcher.hpp"
#include "TarrafaCore/Texto.hpp"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace tarrafa {
namespace {

using InstallerMatcher::ehInstalador;
using InstallerMatcher::jaInstalado;
using InstallerMatcher::normalizar;

TEST(InstallerMatcherTipos, DiskImagesAndPackagesWhateverTheCase)
{
    EXPECT_TRUE(ehInstalador("Setup.DMG"));
    EXPECT_TRUE(ehInstalador("setup.Pkg"));
    EXPECT_TRUE(ehInstalador("Firefox 121.0.1.dmg"));
    EXPECT_FALSE(ehInstalador("setup.dmg.zip"));
    EXPECT_FALSE(ehInstalador("setup.exe"));
    EXPECT_FALSE(ehInstalador("dmg"));
    EXPECT_FALSE(ehInstalador(".dmg")); // a hidden name, not an extension
    EXPECT_FALSE(ehInstalador("setup.dmg "));
    EXPECT_FALSE(ehInstalador(""));
}

TEST(InstallerMatcherTipos, LinuxPackageKindsWhateverTheCase)
{
    for (const char* nome : {"code_1.85.1-1702462158_amd64.deb", "slack-4.41.97-0.1.el8.x86_64.rpm",
             "Obsidian-1.5.3.AppImage", "org.gimp.GIMP.flatpakref", "spotify_1.2.snap", "x.DEB", "x.Rpm",
             "x.APPIMAGE", "x.appimage", "x.FlatpakRef", "x.Snap"}) {
        EXPECT_TRUE(ehInstalador(nome)) << nome;
    }
    EXPECT_FALSE(ehInstalador("Obsidian.AppImage.part"));
    EXPECT_FALSE(ehInstalador("notes.debx"));
    EXPECT_FALSE(ehInstalador("archive.tar.gz"));
}

TEST(InstallerMatcherTipos, ExtensionIsLowerCasedWithFullMappings)
{
    // Full-width letters lower-case to full-width letters, not to ASCII.
    EXPECT_FALSE(ehInstalador("setup.ＤＭＧ"));
    EXPECT_TRUE(ehInstalador("setup.DmG"));
    // Dotted capital I lower-cases to "i" + combining dot, which is not "i".
    EXPECT_FALSE(ehInstalador("setup.APPİMAGE"));
    EXPECT_FALSE(ehInstalador("setup.\xFF"));
}

TEST(InstallerMatcherNormalizar, WorkedExamples)
{
    EXPECT_EQ(normalizar("Firefox 121.0.1"), "firefox");
    EXPECT_EQ(normalizar("GoogleChrome"), "googlechrome");
    EXPECT_EQ(normalizar("VLC-3.0.20-arm64"), "vlc3020arm");
    EXPECT_EQ(normalizar("Zoom_v5.17"), "zoom");
}

TEST(InstallerMatcherNormalizar, OnlyOneTrailingVersionGoes)
{
    EXPECT_EQ(normalizar("Slack-4.41.0"), "slack");
    EXPECT_EQ(normalizar("app 1.2 beta 3"), "app12beta");
    EXPECT_EQ(normalizar("abc-1._2"), "abc1");
    EXPECT_EQ(normalizar("a1_2"), "a");
    EXPECT_EQ(normalizar("1v2"), "1");
    EXPECT_EQ(normalizar("v12"), "");
    EXPECT_EQ(normalizar("1.2.3"), "");
    EXPECT_EQ(normalizar("Zoom_V5"), "zoomv"); // only a lower-case "v" belongs to a version
    EXPECT_EQ(normalizar("Zoom__5"), "zoom"); // the second "_" is the separator
    EXPECT_EQ(normalizar("Setup 2.0 "), "setup20");
    EXPECT_EQ(normalizar(""), "");
}

TEST(InstallerMatcherNormalizar, DigitsOfAnyScriptMakeAVersion)
{
    EXPECT_EQ(normalizar("Firefox ١٢١.٠"), "firefox"); // Arabic-Indic digits
    EXPECT_EQ(normalizar("Firefox v１２"), "firefox"); // full-width digits
    // A fraction is numeric but not a decimal digit: it is kept.
    EXPECT_EQ(normalizar("Mix ½"), "mix½");
}

TEST(InstallerMatcherNormalizar, LettersOfAnyScriptAreKeptWhole)
{
    EXPECT_EQ(normalizar("Músicas Pro 2.0"), "músicaspro");
    EXPECT_EQ(normalizar("Mu\xCC\x81sicas Pro"), "músicaspro"); // decomposed input
    EXPECT_EQ(normalizar("Ελληνικά-2"), "ελληνικά");
    // Devanagari syllables carry vowel signs that are not letters by themselves.
    EXPECT_EQ(normalizar("हिन्दी टाइपिंग 3"), "हिन्दीटाइपिंग");
    EXPECT_EQ(normalizar("Café · Bar — 2"), "cafébar");
}

TEST(InstallerMatcherNormalizar, VersionBeforeAFinalLineBreakStillGoes)
{
    // "$" also matches before a line terminator that ends the text.
    EXPECT_EQ(normalizar("Firefox 121\n"), "firefox");
    EXPECT_EQ(normalizar("Firefox 121\r\n"), "firefox");
    EXPECT_EQ(normalizar("Firefox 121\nx"), "firefox121x");
}

TEST(InstallerMatcherNormalizar, IllFormedBytesNeverCrash)
{
    EXPECT_EQ(normalizar("Fire\xFF"
                         "fox 2"),
        "firefox");
    EXPECT_EQ(normalizar("\xC3"), "");
}

TEST(InstallerMatcherNormalizar, PlainAsciiAgreesWithTheGeneralPath)
{
    // A leading middle dot changes nothing but sends the text down the Unicode path.
    std::mt19937 gerador(121);
    const std::string alfabeto = "abcvV0123456789 _-._v.1 \tXYZ!()\n\r";
    std::uniform_int_distribution<std::size_t> letra(0, alfabeto.size() - 1);
    std::uniform_int_distribution<int> tamanho(0, 16);
    for (int i = 0; i < 5000; ++i) {
        std::string nome;
        for (int k = tamanho(gerador); k > 0; --k) {
            nome.push_back(alfabeto[letra(gerador)]);
        }
        EXPECT_EQ(normalizar(nome), normalizar("\u00B7" + nome)) << nome;
    }
}

TEST(InstallerMatcherNormalizar, CanBeCalledFromSeveralThreads)
{
    std::vector<std::thread> linhas;
    std::vector<int> erros(4, 0);
    for (int t = 0; t < 4; ++t) {
        linhas.emplace_back([t, &erros] {
            for (int i = 0; i < 500; ++i) {
                erros[t] += normalizar("Músicas " + std::to_string(i) + "." + std::to_string(t)) == "músicas"
                    ? 0
                    : 1;
            }
        });
    }
    for (std::thread& linha : linhas) {
        linha.join();
    }
    EXPECT_EQ(erros, std::vector<int>(4, 0));
}

TEST(InstallerMatcherInstalado, NamedAfterTheApplication)
{
    EXPECT_TRUE(jaInstalado("Slack-4.41.0.dmg", {"Slack"}));
    EXPECT_TRUE(jaInstalado("Docker.dmg", {"Docker"}));
    EXPECT_FALSE(jaInstalado("Docker.dmg", {}));
    EXPECT_FALSE(jaInstalado("Docker.dmg", {"Slack", "Firefox"}));
}

TEST(InstallerMatcherInstalado, ContainmentWorksBothWays)
{
    // The installer names a family; the bundle is longer.
    EXPECT_TRUE(jaInstalado("Microsoft Teams 24215.pkg", {"Microsoft Teams classic"}));
    // The installer is longer than the bundle's name (deliberately loose).
    EXPECT_TRUE(jaInstalado("Dockerfile-tools.pkg", {"Docker"}));
    EXPECT_EQ(normalizar("Dockerfile-tools"), "dockerfiletools");
    // Words added to both sides defeat it.
    EXPECT_FALSE(jaInstalado("Microsoft Teams installer.pkg", {"Microsoft Teams classic"}));
}

TEST(InstallerMatcherInstalado, ShortInstallerNamesNeverMatch)
{
    EXPECT_EQ(normalizar("VLC-3.0.20"), "vlc");
    EXPECT_FALSE(jaInstalado("VLC-3.0.20.dmg", {"VLC"}));
    EXPECT_FALSE(jaInstalado("VLC-3.0.20.dmg", {"VLC media player"}));
    EXPECT_FALSE(jaInstalado("Zoom.pkg", {"Zoom"}));
}

TEST(InstallerMatcherInstalado, ShortInstalledNamesAreIgnored)
{
    // "zoom" is inside "zoomus", but a four-letter bundle never takes part.
    EXPECT_FALSE(jaInstalado("Zoomus.pkg", {"Zoom"}));
    EXPECT_TRUE(jaInstalado("Zoomus.pkg", {"Zoom", "zoom.us"}));
    EXPECT_FALSE(jaInstalado("Notesapp.dmg", {"Note", "App 2", "N.o.t.e"}));
}

TEST(InstallerMatcherInstalado, LengthsAreCountedInCharacters)
{
    // "café" is five bytes but four characters: too short.
    EXPECT_FALSE(jaInstalado("Café.dmg", {"Café Pro"}));
    EXPECT_FALSE(jaInstalado("Cafe\xCC\x81.dmg", {"Café Pro"}));
    EXPECT_TRUE(jaInstalado("Cafés.dmg", {"Cafés Pro"}));
    // Canonically equivalent spellings match.
    EXPECT_TRUE(jaInstalado("Músicas-2.1.deb", {"Mu\xCC\x81sicas"}));
}

TEST(InstallerMatcherInstalado, LinuxInstallersAndDesktopEntries)
{
    EXPECT_TRUE(jaInstalado("obsidian_1.5.3_amd64.deb", {"obsidian", "org.gnome.Nautilus"}));
    EXPECT_TRUE(jaInstalado("Obsidian-1.5.3.AppImage", {"md.obsidian.Obsidian"}));
    EXPECT_FALSE(jaInstalado("Obsidian-1.5.3.AppImage", {"org.gnome.Nautilus", "firefox-esr"}));
}

} // namespace
} // namespace tarrafa

namespace tarrafa {
namespace {

TEST(InstallerMatcherJaInstalado, NamesNormalisedOnceGiveTheSameAnswers)
{
    const std::set<std::string> instalados {"firefox-esr", "org.gnome.Nautilus", "Zoom", "code", "VLC",
        "Visual Studio Code", "Brasão Bancário 2"};
    const std::vector<std::string> normalizados = InstallerMatcher::normalizarInstalados(instalados);
    // Too short to match once normalised ("zoom", "code", "vlc") are left out.
    EXPECT_EQ(normalizados.size(), 4u);
    for (const std::string nome : {"Firefox 121.0.1.deb", "firefox.AppImage", "zoom_amd64.deb", "code_1.85.deb",
             "VisualStudioCode-1.2.dmg", "Nautilus.rpm", "BRASÃO bancário.pkg", "Outra Coisa.snap", "", ".deb"}) {
        EXPECT_EQ(InstallerMatcher::jaInstaladoEntre(nome, normalizados), InstallerMatcher::jaInstalado(nome, instalados))
            << nome;
    }
    EXPECT_TRUE(InstallerMatcher::jaInstaladoEntre("Firefox 121.0.1.deb", normalizados));
    EXPECT_TRUE(InstallerMatcher::jaInstaladoEntre("VisualStudioCode-1.2.dmg", normalizados));
    EXPECT_FALSE(InstallerMatcher::jaInstaladoEntre("Outra Coisa.snap", normalizados));
}

} // namespace
} // namespace tarrafa
