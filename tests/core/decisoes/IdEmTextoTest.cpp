// SPDX-License-Identifier: GPL-3.0-or-later
// The written form of a path: every path has one, every form names one path.
#include "TarrafaCore/IdEmTexto.hpp"
#include "TarrafaCore/Texto.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

using namespace tarrafa;

TEST(IdEmTexto, AValidPathIsWrittenAsItIs)
{
    for (const char* caminho : {"/d/relatório.pdf", "/d/a 100%.pdf", "/", ""}) {
        EXPECT_EQ(IdEmTexto::codificar(caminho), caminho);
        EXPECT_EQ(IdEmTexto::decodificar(caminho), caminho);
    }
}

TEST(IdEmTexto, OnlyTheOddBytesAndThePercentSignAreEscaped)
{
    EXPECT_EQ(IdEmTexto::codificar("/d/relatório-\xff 100%.pdf"), "%/d/relatório-%FF 100%25.pdf");
    // A lead byte cut short, an encoded surrogate, an overlong "/".
    EXPECT_EQ(IdEmTexto::codificar("/d/\xC3.txt"), "%/d/%C3.txt");
    EXPECT_EQ(IdEmTexto::codificar("/d/\xED\xA0\x80"), "%/d/%ED%A0%80");
    EXPECT_EQ(IdEmTexto::codificar("/d/\xC0\xAF"), "%/d/%C0%AF");
    // A valid path that begins with the mark is escaped too, or it would read as escaped.
    EXPECT_EQ(IdEmTexto::codificar("%41"), "%%2541");
}

TEST(IdEmTexto, EveryPathComesBackByteForByteAndNoTwoShareAForm)
{
    std::set<std::string> formas;
    for (int byte = 0; byte < 256; ++byte) {
        const std::string caminho = "/d/caf" + std::string(1, static_cast<char>(byte)) + ".txt";
        const std::string forma = IdEmTexto::codificar(caminho);
        EXPECT_TRUE(Texto::ehUtf8Valido(forma));
        EXPECT_EQ(IdEmTexto::decodificar(forma), caminho) << byte;
        formas.insert(forma);
    }
    EXPECT_EQ(formas.size(), 256U);
}

TEST(IdEmTexto, AnythingButTheOneFormIsRefused)
{
    for (const char* torto : {"%/d/%ff", "%/d/%F", "%/d/%", "%/d/%G0", "%/d/ok.txt", "%/d/caf%C3%A9", "%%41"}) {
        EXPECT_FALSE(IdEmTexto::decodificar(torto).has_value()) << torto;
    }
}
