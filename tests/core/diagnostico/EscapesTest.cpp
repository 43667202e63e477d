// SPDX-License-Identifier: GPL-3.0-or-later
// Names and labels made inert for the terminal, the JSON and the window.
#include "TarrafaCore/Escapes.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace tarrafa;

TEST(Escapes, TheWindowShowsDirectionControlsInsteadOfObeyingThem)
{
    EXPECT_EQ(Escapes::paraJanela("invoice\u202efdp.exe"), "invoice\\u202efdp.exe");
    for (const char* controle : {"\u061c", "\u200e", "\u200f", "\u202a", "\u202b", "\u202c", "\u202d", "\u2066",
             "\u2067", "\u2068", "\u2069"}) {
        const std::string visivel = Escapes::paraJanela(std::string("a") + controle + "b");
        EXPECT_EQ(visivel.find(controle), std::string::npos) << visivel;
        EXPECT_TRUE(visivel.starts_with("a\\u")) << visivel;
    }
}

TEST(Escapes, TheWindowShowsLineBreaksAndOtherControlsAndKeepsTheBackslash)
{
    EXPECT_EQ(Escapes::paraJanela("linha\nquebrada\t.txt"), "linha\\x0aquebrada\\x09.txt");
    EXPECT_EQ(Escapes::paraJanela("\x1b[2J\x7f"), "\\x1b[2J\\x7f");
    EXPECT_EQ(Escapes::paraJanela("a\u0085b"), "a\\u0085b");
    EXPECT_EQ(Escapes::paraJanela("C:\\pasta\\arquivo.pdf"), "C:\\pasta\\arquivo.pdf");
    EXPECT_EQ(Escapes::paraJanela("nota-\xff.pdf"), "nota-\ufffd.pdf");
}

TEST(Escapes, TheWindowIsolatesRightToLeftNamesAndLeavesTheRestAlone)
{
    EXPECT_EQ(Escapes::paraJanela("Relatório anual (1).pdf"), "Relatório anual (1).pdf");
    EXPECT_EQ(Escapes::paraJanela("\u05e9\u05dc\u05d5\u05dd.pdf"), "\u2068\u05e9\u05dc\u05d5\u05dd.pdf\u2069");
    EXPECT_EQ(Escapes::paraJanela("\u062a\u0642\u0631\u064a\u0631 1.pdf"), "\u2068\u062a\u0642\u0631\u064a\u0631 1.pdf\u2069");
    // Isolated, and its planted override still shown: nothing leaks out of the name.
    EXPECT_EQ(Escapes::paraJanela("\u05d0\u202eb"), "\u2068\u05d0\\u202eb\u2069");
    EXPECT_EQ(Escapes::paraJanela(""), "");
}

TEST(Escapes, TheTerminalEscapesTheBackslashTooSoThatEscapesCanBeToldFromNames)
{
    EXPECT_EQ(Escapes::paraTerminal("a\\u202eb"), "a\\\\u202eb");
    EXPECT_EQ(Escapes::paraTerminal("a\u202eb"), "a\\u202eb");
}
