// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Formato.hpp"

#include "Apoio.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace tarrafa {
namespace {

using teste::VariavelTemporaria;

// The numeric locale comes from the environment; each test fixes all three variables.
class Locale {
public:
    Locale(std::optional<std::string> lcAll, std::optional<std::string> lcNumeric,
        std::optional<std::string> lang)
        : lcAll_("LC_ALL", lcAll)
        , lcNumeric_("LC_NUMERIC", lcNumeric)
        , lang_("LANG", lang)
    {
    }

private:
    VariavelTemporaria lcAll_;
    VariavelTemporaria lcNumeric_;
    VariavelTemporaria lang_;
};

TEST(Formato, BrazilianExamples)
{
    const Locale locale("pt_BR.UTF-8", std::nullopt, std::nullopt);
    EXPECT_EQ(Formato::bytes(0), "0 KB");
    EXPECT_EQ(Formato::bytes(1), "0 KB");
    EXPECT_EQ(Formato::bytes(999), "1 KB");
    EXPECT_EQ(Formato::bytes(1'500'000), "1,5 MB");
    EXPECT_EQ(Formato::bytes(2'000'000'000), "2 GB");
    EXPECT_EQ(Formato::bytes(5'000'000'000'000), "5.000 GB");
}

TEST(Formato, AmericanExamples)
{
    const Locale locale("en_US.UTF-8", std::nullopt, std::nullopt);
    EXPECT_EQ(Formato::bytes(0), "0 KB");
    EXPECT_EQ(Formato::bytes(999), "1 KB");
    EXPECT_EQ(Formato::bytes(1'500'000), "1.5 MB");
    EXPECT_EQ(Formato::bytes(1'234'567'890), "1.23 GB");
    EXPECT_EQ(Formato::bytes(2'000'000'000), "2 GB");
    EXPECT_EQ(Formato::bytes(5'000'000'000'000), "5,000 GB");
}

TEST(Formato, KilobytesRoundHalvesToEven)
{
    const Locale locale("pt_BR.UTF-8", std::nullopt, std::nullopt);
    EXPECT_EQ(Formato::bytes(499), "0 KB");
    EXPECT_EQ(Formato::bytes(500), "0 KB");
    EXPECT_EQ(Formato::bytes(501), "1 KB");
    EXPECT_EQ(Formato::bytes(1'500), "2 KB");
    EXPECT_EQ(Formato::bytes(2'500), "2 KB");
    EXPECT_EQ(Formato::bytes(3'500), "4 KB");
    EXPECT_EQ(Formato::bytes(999'499), "999 KB");
}

TEST(Formato, NearlyAThousandOfAUnitIsWrittenInTheNext)
{
    const Locale locale("pt_BR.UTF-8", std::nullopt, std::nullopt);
    EXPECT_EQ(Formato::bytes(999'500), "1 MB"); // 999.5 KB rounds to even: 1000 KB
    EXPECT_EQ(Formato::bytes(999'999), "1 MB");
    EXPECT_EQ(Formato::bytes(1'000'000), "1 MB");
    EXPECT_EQ(Formato::bytes(999'849'999), "999,8 MB");
    EXPECT_EQ(Formato::bytes(999'850'000), "999,8 MB"); // 999.85 rounds to even
    EXPECT_EQ(Formato::bytes(999'949'999), "999,9 MB");
    EXPECT_EQ(Formato::bytes(999'950'000), "1 GB"); // 999.95 rounds to even: 1000.0 MB
    EXPECT_EQ(Formato::bytes(999'999'999), "1 GB");
    EXPECT_EQ(Formato::bytes(1'000'000'000), "1 GB");
}

TEST(Formato, FractionDigitsPerUnitWithoutTrailingZeros)
{
    const Locale locale("pt_BR.UTF-8", std::nullopt, std::nullopt);
    EXPECT_EQ(Formato::bytes(1'049'999), "1 MB");
    EXPECT_EQ(Formato::bytes(1'050'000), "1 MB"); // 1.05 rounds to even
    EXPECT_EQ(Formato::bytes(1'150'000), "1,2 MB");
    EXPECT_EQ(Formato::bytes(1'250'000), "1,2 MB");
    EXPECT_EQ(Formato::bytes(12'345'678), "12,3 MB");
    EXPECT_EQ(Formato::bytes(1'005'000'000), "1 GB"); // 1.005 rounds to even
    EXPECT_EQ(Formato::bytes(1'015'000'000), "1,02 GB");
    EXPECT_EQ(Formato::bytes(1'100'000'000), "1,1 GB");
    EXPECT_EQ(Formato::bytes(1'234'567'890), "1,23 GB");
}

TEST(Formato, VeryLargeValuesStayInGigabytes)
{
    const Locale locale("pt_BR.UTF-8", std::nullopt, std::nullopt);
    EXPECT_EQ(Formato::bytes(999'999'999'999), "1.000 GB");
    EXPECT_EQ(Formato::bytes(1'000'000'000'000'000), "1.000.000 GB");
    EXPECT_EQ(Formato::bytes(std::numeric_limits<std::int64_t>::max()), "9.223.372.036,85 GB");
}

TEST(Formato, NegativeCountsKeepTheirSign)
{
    const Locale locale("pt_BR.UTF-8", std::nullopt, std::nullopt);
    EXPECT_EQ(Formato::bytes(-1'500'000), "-1,5 MB");
    EXPECT_EQ(Formato::bytes(-999), "-1 KB");
    EXPECT_EQ(Formato::bytes(std::numeric_limits<std::int64_t>::min()), "-9.223.372.036,85 GB");
}

TEST(Formato, LcAllWinsOverLcNumericAndLang)
{
    const Locale locale("pt_BR.UTF-8", "en_US.UTF-8", "en_US.UTF-8");
    EXPECT_EQ(Formato::bytes(1'500'000), "1,5 MB");
}

TEST(Formato, LcNumericWinsOverLang)
{
    const Locale locale(std::nullopt, "en_US.UTF-8", "pt_BR.UTF-8");
    EXPECT_EQ(Formato::bytes(1'500'000), "1.5 MB");
}

TEST(Formato, LangAloneDecides)
{
    {
        const Locale locale(std::nullopt, std::nullopt, "pt_BR.UTF-8");
        EXPECT_EQ(Formato::bytes(1'500'000), "1,5 MB");
    }
    {
        const Locale locale(std::nullopt, std::nullopt, "en_US.UTF-8");
        EXPECT_EQ(Formato::bytes(1'500'000), "1.5 MB");
    }
}

TEST(Formato, EmptyVariablesAreSkipped)
{
    const Locale locale("", "", "pt_BR.UTF-8");
    EXPECT_EQ(Formato::bytes(1'500'000), "1,5 MB");
}

TEST(Formato, PosixLocaleAndNoLocaleUseAPointAndNoGrouping)
{
    {
        const Locale locale("C", std::nullopt, "pt_BR.UTF-8");
        EXPECT_EQ(Formato::bytes(1'500'000), "1.5 MB");
        EXPECT_EQ(Formato::bytes(5'000'000'000'000), "5000 GB");
    }
    {
        const Locale locale(std::nullopt, std::nullopt, std::nullopt);
        EXPECT_EQ(Formato::bytes(1'500'000), "1.5 MB");
    }
    {
        const Locale locale("C.UTF-8", std::nullopt, std::nullopt);
        EXPECT_EQ(Formato::bytes(1'500'000), "1.5 MB");
    }
}

TEST(Formato, OtherLocalesFollowTheirOwnSeparators)
{
    const Locale locale("de_DE.UTF-8@euro", std::nullopt, std::nullopt);
    EXPECT_EQ(Formato::bytes(1'234'567'890), "1,23 GB");
    EXPECT_EQ(Formato::bytes(5'000'000'000'000), "5.000 GB");
}

TEST(Formato, TheLocaleIsReadOnEveryCall)
{
    const Locale locale(std::nullopt, std::nullopt, std::nullopt);
    {
        const VariavelTemporaria lcAll("LC_ALL", "pt_BR.UTF-8");
        EXPECT_EQ(Formato::bytes(1'500'000), "1,5 MB");
    }
    {
        const VariavelTemporaria lcAll("LC_ALL", "en_US.UTF-8");
        EXPECT_EQ(Formato::bytes(1'500'000), "1.5 MB");
    }
}

} // namespace
} // namespace tarrafa
