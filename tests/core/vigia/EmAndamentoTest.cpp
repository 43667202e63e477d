// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/EmAndamento.hpp"

#include <gtest/gtest.h>

#include <set>

namespace tarrafa {
namespace {

TEST(EmAndamento, NomesParciaisDosNavegadores)
{
    EXPECT_TRUE(EmAndamento::ehParcial("manual.pdf.crdownload"));
    EXPECT_TRUE(EmAndamento::ehParcial("Unconfirmed 123456.crdownload"));
    EXPECT_TRUE(EmAndamento::ehParcial("video.mp4.part"));
    EXPECT_TRUE(EmAndamento::ehParcial("pacote.dmg.download"));
    EXPECT_TRUE(EmAndamento::ehParcial("x.iso.partial"));
    EXPECT_TRUE(EmAndamento::ehParcial("X.ISO.PART"));
    EXPECT_FALSE(EmAndamento::ehParcial("manual.pdf"));
    EXPECT_FALSE(EmAndamento::ehParcial("participantes.xlsx"));
    EXPECT_FALSE(EmAndamento::ehParcial("download"));
    EXPECT_FALSE(EmAndamento::ehParcial(".part"));
    EXPECT_EQ(EmAndamento::nomeFinal("video.mp4.part"), std::optional<std::string>("video.mp4"));
    EXPECT_EQ(EmAndamento::nomeFinal("video.mp4"), std::nullopt);
}

TEST(EmAndamento, ReservaVaziaDoFirefoxSoComOPartAoLado)
{
    const std::set<std::string> pasta {"video.mp4", "video.mp4.part", "vazio.txt"};
    const auto existe = [&pasta](const std::string& nome) { return pasta.contains(nome); };
    EXPECT_TRUE(EmAndamento::baixando("video.mp4", true, 0, existe));
    // Once it has bytes it is the finished file, whatever lies beside it.
    EXPECT_FALSE(EmAndamento::baixando("video.mp4", true, 10, existe));
    EXPECT_FALSE(EmAndamento::baixando("video.mp4", false, 0, existe));
    EXPECT_FALSE(EmAndamento::baixando("vazio.txt", true, 0, existe));
    EXPECT_TRUE(EmAndamento::baixando("video.mp4.part", true, 4096, existe));
}

} // namespace
} // namespace tarrafa
