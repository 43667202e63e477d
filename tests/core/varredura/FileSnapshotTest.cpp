// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"

#include <gtest/gtest.h>

namespace tarrafa {
namespace {

const Date kChegada = Date::desde1970(1'700'000'000.0);

FileSnapshot arquivo(std::string nome, std::optional<Date> baixadoEm, Date criadoEm, std::optional<Date> ultimoUso,
                     bool ehPasta = false)
{
    return FileSnapshot("/d/" + nome, nome, ehPasta, 10, baixadoEm, criadoEm, ultimoUso, {}, false, std::nullopt);
}

TEST(Date, CountsFromBothEpochs)
{
    EXPECT_DOUBLE_EQ(Date::desde2001(0).segundosDesde1970(), 978307200.0);
    EXPECT_DOUBLE_EQ(Date::desde1970(978307200.0).segundosDesde2001(), 0.0);
    EXPECT_DOUBLE_EQ(Date::desde1970(100.5) - Date::desde1970(10.25), 90.25);
    EXPECT_EQ(Date::desde2001(-978307200.0), Date::desde1970(0));
}

TEST(Date, DistantPastIsBeforeEverythingReal)
{
    EXPECT_LT(Date::passadoDistante(), Date::desde1970(-1e10));
    EXPECT_LT(Date::passadoDistante(), Date::agora());
    EXPECT_DOUBLE_EQ(Date::passadoDistante().segundosDesde1970(), -62135596800.0); // 0001-01-01 UTC
}

TEST(Date, NowIsCurrentTime)
{
    // 2024-01-01 < now < 2100-01-01: the clock is read, not a constant.
    const double agora = Date::agora().segundosDesde1970();
    EXPECT_GT(agora, 1704067200.0);
    EXPECT_LT(agora, 4102444800.0);
}

TEST(FileSnapshot, ExtensionIsLowerCasedAfterTheLastDot)
{
    EXPECT_EQ(arquivo("Relatorio.PDF", {}, kChegada, {}).extensao(), "pdf");
    EXPECT_EQ(arquivo("arquivo.tar.GZ", {}, kChegada, {}).extensao(), "gz");
    EXPECT_EQ(arquivo("LEIAME", {}, kChegada, {}).extensao(), "");
    EXPECT_EQ(arquivo(".bashrc", {}, kChegada, {}).extensao(), "");
    EXPECT_EQ(arquivo("Ficha.ÉPUB", {}, kChegada, {}).extensao(), "épub");
}

TEST(FileSnapshot, FoldersHaveNoExtensionEvenWhenNamedLikeBundles)
{
    EXPECT_EQ(arquivo("Foo.app", {}, kChegada, {}, true).extensao(), "");
    EXPECT_EQ(arquivo("fotos.2024", {}, kChegada, {}, true).extensao(), "");
}

TEST(FileSnapshot, ArrivalIsDownloadDateElseCreationDate)
{
    EXPECT_EQ(arquivo("a", {}, kChegada, {}).chegouEm(), kChegada);
    const Date baixado = kChegada + 3600;
    EXPECT_EQ(arquivo("a", baixado, kChegada, {}).chegouEm(), baixado);
}

TEST(FileSnapshot, NeverReopenedRule)
{
    EXPECT_TRUE(arquivo("a", {}, kChegada, std::nullopt).nuncaReaberto());
    EXPECT_TRUE(arquivo("a", {}, kChegada, kChegada + 89).nuncaReaberto());
    EXPECT_TRUE(arquivo("a", {}, kChegada, kChegada + 89.999).nuncaReaberto());
    EXPECT_FALSE(arquivo("a", {}, kChegada, kChegada + 90).nuncaReaberto());
    // A use before the arrival is negative: still never reopened.
    EXPECT_TRUE(arquivo("a", {}, kChegada, kChegada + -3600).nuncaReaberto());
    // The arrival is the download date when there is one.
    const Date baixado = kChegada + 1000;
    EXPECT_TRUE(arquivo("a", baixado, kChegada, kChegada + 1089).nuncaReaberto());
    EXPECT_FALSE(arquivo("a", baixado, kChegada, kChegada + 1090).nuncaReaberto());
}

TEST(FileSnapshot, EqualityComparesEveryField)
{
    const FileSnapshot a = arquivo("a.txt", {}, kChegada, kChegada + 500);
    EXPECT_EQ(a, arquivo("a.txt", {}, kChegada, kChegada + 500));
    EXPECT_NE(a, arquivo("a.txt", {}, kChegada, kChegada + 501));
    EXPECT_NE(a, arquivo("a.txt", {}, kChegada, std::nullopt));
    const FileSnapshot comOrigens("/d/a.txt", "a.txt", false, 10, std::nullopt, kChegada, kChegada + 500,
                                  {"https://x", "https://y"}, false, std::nullopt);
    const FileSnapshot outraOrdem("/d/a.txt", "a.txt", false, 10, std::nullopt, kChegada, kChegada + 500,
                                  {"https://y", "https://x"}, false, std::nullopt);
    EXPECT_NE(comOrigens, outraOrdem);
    EXPECT_NE(a, comOrigens);
}

} // namespace
} // namespace tarrafa
