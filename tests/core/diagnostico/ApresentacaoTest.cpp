// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/Plural.hpp"
#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/Origem.hpp"
#include "TarrafaCore/RaioX.hpp"
#include "TarrafaCore/Selo.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace tarrafa {
namespace {

const Date kChegada = Date::desde1970(1'709'812'800.0);

// One file of a group: opened a day after it arrived unless nuncaAberto; badged opaque
// when opaco.
ItemTriado item(int i, std::int64_t tamanho, bool nuncaAberto, bool opaco)
{
    const std::optional<Date> uso = nuncaAberto ? std::nullopt : std::optional<Date>(kChegada + 86400.0);
    FileSnapshot snapshot("/home/ana/Downloads/f" + std::to_string(i), "f" + std::to_string(i), false, tamanho,
        std::nullopt, kChegada, uso, {"https://example.org/"}, false, std::nullopt);
    std::vector<Selo> selos;
    if (opaco) {
        selos.push_back(Selo::nomeOpaco());
    }
    return ItemTriado(std::move(snapshot), Origem("example.org", "example.org", "https://example.org"),
        std::move(selos));
}

GrupoOrigem grupo(std::vector<ItemTriado> itens)
{
    return GrupoOrigem(Origem("example.org", "example.org", "https://example.org"), std::move(itens));
}

RaioX raioX(int total, double concentracao)
{
    return RaioX(total, 0, 0, 0, total, 4, concentracao, 3);
}

TEST(Apresentacao, PercentagesAreTruncatedNotRounded)
{
    EXPECT_EQ(Apresentacao::porcentoTruncado(0.497), 49);
    EXPECT_EQ(Apresentacao::porcentoTruncado(0.4999), 49);
    EXPECT_EQ(Apresentacao::porcentoTruncado(1.0 / 3.0), 33);
    EXPECT_EQ(Apresentacao::porcentoTruncado(0.0), 0);
    EXPECT_EQ(Apresentacao::porcentoTruncado(1.0), 100);
    // Not clamped: a share above the whole is written as it is.
    EXPECT_EQ(Apresentacao::porcentoTruncado(1.25), 125);
}

TEST(ApresentacaoDeathTest, NonFinitePercentageStopsTheProgram)
{
    EXPECT_DEATH((void)Apresentacao::porcentoTruncado(std::numeric_limits<double>::quiet_NaN()),
        "not a finite number");
    EXPECT_DEATH((void)Apresentacao::porcentoTruncado(std::numeric_limits<double>::infinity()),
        "not a finite number");
    EXPECT_DEATH((void)Apresentacao::porcentoTruncado(1e300), "not a finite number");
}

TEST(Apresentacao, HalfExactlyShowsNoWarning)
{
    const RaioX r = raioX(10, 0.5);
    EXPECT_EQ(Apresentacao::avisoDeEspalhamento(&r), std::nullopt);
}

TEST(Apresentacao, JustBelowHalfWarnsWithFortyNine)
{
    const RaioX r = raioX(10, 0.4999);
    EXPECT_EQ(Apresentacao::avisoDeEspalhamento(&r),
        "Suas origens estão espalhadas: as 3 maiores somam 49% dos arquivos. Agrupar por origem "
        "ajuda menos numa pasta assim.");
}

TEST(Apresentacao, EmptyFolderShowsNoWarningThoughConcentrationIsZero)
{
    const RaioX r(std::vector<FileSnapshot> {}, std::vector<GrupoOrigem> {}, kChegada);
    ASSERT_EQ(r.concentracaoTop3(), 0.0);
    EXPECT_EQ(Apresentacao::avisoDeEspalhamento(&r), std::nullopt);
}

TEST(Apresentacao, NoDiagnosisNoWarning)
{
    EXPECT_EQ(Apresentacao::avisoDeEspalhamento(nullptr), std::nullopt);
}

TEST(Apresentacao, OneItemIsSingularTwoArePlural)
{
    EXPECT_EQ(Apresentacao::itemOuItens(1), "item");
    EXPECT_EQ(Apresentacao::itemOuItens(2), "itens");
    EXPECT_EQ(Apresentacao::itemOuItens(0), "itens");
}

TEST(Apresentacao, GroupWithNothingToFlagShowsOnlyItsSize)
{
    std::vector<ItemTriado> itens;
    itens.push_back(item(1, 1'500'000, false, false));
    EXPECT_EQ(Apresentacao::resumoDoGrupo(grupo(std::move(itens))), "1,5 MB");
}

TEST(Apresentacao, OneNeverOpenedIsSingular)
{
    std::vector<ItemTriado> itens;
    itens.push_back(item(1, 1'000, true, false));
    itens.push_back(item(2, 1'000, false, false));
    EXPECT_EQ(Apresentacao::resumoDoGrupo(grupo(std::move(itens))), "2 KB · 1 nunca aberto");
}

TEST(Apresentacao, SummaryListsSizeNeverOpenedAndOpaqueInThatOrder)
{
    std::vector<ItemTriado> itens;
    itens.push_back(item(1, 2'000'000, true, true));
    itens.push_back(item(2, 500'000, true, false));
    itens.push_back(item(3, 500'000, false, true));
    EXPECT_EQ(Apresentacao::resumoDoGrupo(grupo(std::move(itens))), "3 MB · 2 nunca abertos · 2 com nome opaco");
}

TEST(Plural, OneIsSingularZeroAndManyArePlural)
{
    EXPECT_EQ(Plural::contagem(1, "nunca aberto", "nunca abertos"), "1 nunca aberto");
    EXPECT_EQ(Plural::contagem(0, "nunca aberto", "nunca abertos"), "0 nunca abertos");
    EXPECT_EQ(Plural::contagem(2, "selecionado", "selecionados"), "2 selecionados");
    EXPECT_EQ(Plural::contagem(-1, "item", "itens"), "-1 itens");
    EXPECT_EQ(Plural::forma(1, "item", "itens"), "item");
}

TEST(Plural, ThousandsAreGroupedWithDots)
{
    EXPECT_EQ(Plural::contagem(100000, "item", "itens"), "100.000 itens");
    EXPECT_EQ(Plural::contagem(1200, "nunca aberto", "nunca abertos"), "1.200 nunca abertos");
    EXPECT_EQ(Plural::numero(999), "999");
    EXPECT_EQ(Plural::numero(1000), "1.000");
    EXPECT_EQ(Plural::numero(1234567), "1.234.567");
    EXPECT_EQ(Plural::numero(-1234), "-1.234");
    EXPECT_EQ(Plural::numero(0), "0");
    EXPECT_EQ(Plural::numero(9223372036854775807LL), "9.223.372.036.854.775.807");
    EXPECT_EQ(Plural::numero(-9223372036854775807LL - 1), "-9.223.372.036.854.775.808");
}

} // namespace
} // namespace tarrafa
