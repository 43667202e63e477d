// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/RaioX.hpp"
#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/Origem.hpp"
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

const Date kAgora = Date::desde1970(1'709'812'800.0); // 2024-03-07 12:00 UTC
constexpr double kHora = 3600.0;
constexpr double kDia = 86400.0;

struct Arquivo {
    std::string nome;
    std::vector<std::string> origens = {};
    std::optional<Date> baixadoEm = std::nullopt;
    Date criadoEm = kAgora + -kHora;
    std::optional<Date> ultimoUsoEm = std::nullopt;
    std::int64_t tamanho = 1000;
    bool ehScreenshot = false;
};

FileSnapshot snap(const Arquivo& a)
{
    return FileSnapshot("/home/ana/Downloads/" + a.nome, a.nome, false, a.tamanho, a.baixadoEm, a.criadoEm,
        a.ultimoUsoEm, a.origens, a.ehScreenshot, std::nullopt);
}

// A group of n plain files under the given key.
GrupoOrigem grupoDe(const std::string& chave, int n)
{
    std::vector<ItemTriado> itens;
    for (int i = 0; i < n; ++i) {
        const std::string nome = chave + "-" + std::to_string(i) + ".txt";
        itens.emplace_back(snap({.nome = nome, .origens = {"https://" + chave + "/"}}),
            Origem(chave, chave, chave), std::vector<Selo> {});
    }
    return GrupoOrigem(Origem(chave, chave, chave), std::move(itens));
}

std::vector<FileSnapshot> comEndereco(int n)
{
    std::vector<FileSnapshot> itens;
    for (int i = 0; i < n; ++i) {
        itens.push_back(
            snap({.nome = "f" + std::to_string(i) + ".txt", .origens = {"https://example.org/"}}));
    }
    return itens;
}

TEST(RaioX, EmptyFolderIsAllZero)
{
    const RaioX r({}, {}, kAgora);
    EXPECT_EQ(r.total(), 0);
    EXPECT_EQ(r.bytes(), 0);
    EXPECT_EQ(r.nuncaAbertos(), 0);
    EXPECT_EQ(r.nomesOpacos(), 0);
    EXPECT_EQ(r.comOrigem(), 0);
    EXPECT_EQ(r.origensDistintas(), 0);
    EXPECT_EQ(r.concentracaoTop3(), 0.0);
    EXPECT_EQ(r.maisAntigoEmDias(), 0);
    EXPECT_FALSE(r.agrupamentoSeSustenta());
    EXPECT_EQ(r.pct(0), 0);
    EXPECT_EQ(r.pct(5), 0);
    EXPECT_EQ(r.pct(-3), 0);
}

TEST(RaioX, FilesWithoutAddressesHaveNoOrigins)
{
    const std::vector<FileSnapshot> itens {snap({.nome = "a.txt"}), snap({.nome = "b.txt"})};
    const auto grupos = TriageEngine({}).triar(itens);
    ASSERT_EQ(grupos.size(), 1U);
    ASSERT_EQ(grupos[0].id(), Origem::kChaveSemOrigem);

    const RaioX r(itens, grupos, kAgora);
    EXPECT_EQ(r.total(), 2);
    EXPECT_EQ(r.comOrigem(), 0);
    EXPECT_EQ(r.origensDistintas(), 0);
    EXPECT_EQ(r.concentracaoTop3(), 0.0);
    EXPECT_FALSE(r.agrupamentoSeSustenta());
}

TEST(RaioX, ConcentrationIsTheThreeLargestGroupsOverFilesWithAddresses)
{
    const std::vector<GrupoOrigem> grupos {
        grupoDe("b", 6), grupoDe("d", 2), grupoDe("a", 10), grupoDe("e", 1), grupoDe("c", 3)};
    const RaioX r(comEndereco(22), grupos, kAgora);
    EXPECT_EQ(r.comOrigem(), 22);
    EXPECT_EQ(r.origensDistintas(), 5);
    EXPECT_DOUBLE_EQ(r.concentracaoTop3(), 19.0 / 22.0);
    EXPECT_TRUE(r.agrupamentoSeSustenta());
}

TEST(RaioX, ExactlyHalfIsEnoughForGrouping)
{
    const RaioX r(comEndereco(6), {grupoDe("a", 3)}, kAgora);
    EXPECT_EQ(r.concentracaoTop3(), 0.5);
    EXPECT_TRUE(r.agrupamentoSeSustenta());

    const RaioX pouco(comEndereco(100), {grupoDe("a", 20), grupoDe("b", 20), grupoDe("c", 9)}, kAgora);
    EXPECT_DOUBLE_EQ(pouco.concentracaoTop3(), 0.49);
    EXPECT_FALSE(pouco.agrupamentoSeSustenta());
}

TEST(RaioX, GroupWithoutOriginIsLeftOutAndInstallersCount)
{
    const GrupoOrigem semOrigem(Origem::semOrigem(),
        {ItemTriado(snap({.nome = "x.txt"}), Origem::semOrigem(), {}),
            ItemTriado(snap({.nome = "y.txt"}), Origem::semOrigem(), {})});
    const RaioX r(comEndereco(4),
        {grupoDe(std::string(Origem::kChaveInstaladores), 1), semOrigem, grupoDe("a", 3)}, kAgora);
    EXPECT_EQ(r.origensDistintas(), 2);
    EXPECT_DOUBLE_EQ(r.concentracaoTop3(), 1.0);
}

TEST(RaioX, ConcentrationIsNotClampedAboveOne)
{
    // Installers without addresses fill "_instaladores" while only one file has an address.
    const std::vector<FileSnapshot> itens {
        snap({.nome = "Um.dmg"}),
        snap({.nome = "Dois.pkg"}),
        snap({.nome = "Tres.deb"}),
        snap({.nome = "nota.txt", .origens = {"https://example.org/nota.txt"}}),
    };
    const RaioX r(itens, TriageEngine({}).triar(itens), kAgora);
    EXPECT_EQ(r.comOrigem(), 1);
    EXPECT_EQ(r.origensDistintas(), 2);
    EXPECT_DOUBLE_EQ(r.concentracaoTop3(), 4.0);
}

TEST(RaioX, AddressesCountEvenWhenNoOriginCanBeDerived)
{
    const std::vector<FileSnapshot> itens {
        snap({.nome = "a.txt", .origens = {"about:blank"}}), snap({.nome = "b.txt"})};
    const RaioX r(itens, TriageEngine({}).triar(itens), kAgora);
    EXPECT_EQ(r.comOrigem(), 1);
    EXPECT_EQ(r.origensDistintas(), 0);
    EXPECT_EQ(r.concentracaoTop3(), 0.0);
}

TEST(RaioX, FortySevenHoursIsOneDay)
{
    const RaioX r({snap({.nome = "a.txt", .criadoEm = kAgora + -47 * kHora})}, {}, kAgora);
    EXPECT_EQ(r.maisAntigoEmDias(), 1);
    const RaioX dois({snap({.nome = "a.txt", .criadoEm = kAgora + -48 * kHora})}, {}, kAgora);
    EXPECT_EQ(dois.maisAntigoEmDias(), 2);
}

TEST(RaioX, AgeIsTheOldestArrivalPreferringTheDownloadDate)
{
    const std::vector<FileSnapshot> itens {
        snap({.nome = "novo.txt", .criadoEm = kAgora + -2 * kDia}),
        // Created a year ago, downloaded ten days ago: ten days old.
        snap({.nome = "baixado.txt", .baixadoEm = kAgora + -10.5 * kDia, .criadoEm = kAgora + -365 * kDia}),
    };
    EXPECT_EQ(RaioX(itens, {}, kAgora).maisAntigoEmDias(), 10);
}

TEST(RaioX, OnlyFutureArrivalsGiveANegativeAge)
{
    EXPECT_EQ(
        RaioX({snap({.nome = "a.txt", .criadoEm = kAgora + 1.5 * kDia})}, {}, kAgora).maisAntigoEmDias(), -1);
    const std::vector<FileSnapshot> misto {snap({.nome = "a.txt", .criadoEm = kAgora + 3 * kDia}),
        snap({.nome = "b.txt", .criadoEm = kAgora + -3 * kDia})};
    EXPECT_EQ(RaioX(misto, {}, kAgora).maisAntigoEmDias(), 3);
}

TEST(RaioX, ArrivalInTheDistantPastDoesNotOverflow)
{
    const RaioX r({snap({.nome = "a.txt", .criadoEm = Date::passadoDistante()})}, {}, kAgora);
    EXPECT_GT(r.maisAntigoEmDias(), 700'000);
}

TEST(RaioX, OpenedWithinNinetySecondsCountsAsNeverOpened)
{
    const std::vector<FileSnapshot> itens {
        snap({.nome = "a.txt", .baixadoEm = kAgora + -kDia, .ultimoUsoEm = kAgora + -kDia + 89.0}),
        snap({.nome = "b.txt", .baixadoEm = kAgora + -kDia, .ultimoUsoEm = kAgora + -kDia + 90.0}),
        snap({.nome = "c.txt"}),
    };
    const RaioX r(itens, {}, kAgora);
    EXPECT_EQ(r.nuncaAbertos(), 2);
    EXPECT_TRUE(itens[0].nuncaReaberto());
    EXPECT_FALSE(itens[1].nuncaReaberto());
}

TEST(RaioX, ScreenshotWithADigitsOnlyNameCountsHereButNotInItsGroup)
{
    const std::vector<FileSnapshot> itens {snap({.nome = "20240307.png", .ehScreenshot = true})};
    const auto grupos = TriageEngine({}).triar(itens);
    const RaioX r(itens, grupos, kAgora);
    EXPECT_EQ(r.nomesOpacos(), 1);
    ASSERT_EQ(grupos.size(), 1U);
    EXPECT_EQ(grupos[0].nomesOpacos(), 0);
}

TEST(RaioX, SizesAndOpaqueNamesAreSummedOverAllFiles)
{
    const std::vector<FileSnapshot> itens {
        snap({.nome = "IMG_0001.jpg", .tamanho = 1'500'000}),
        snap({.nome = "Relatorio anual.pdf", .tamanho = 2'500'000}),
        snap({.nome = "4711 (1).txt", .tamanho = 7}),
    };
    const RaioX r(itens, {}, kAgora);
    EXPECT_EQ(r.total(), 3);
    EXPECT_EQ(r.bytes(), 4'000'007);
    EXPECT_EQ(r.nomesOpacos(), 2);
}

TEST(RaioX, PercentagesRoundHalvesAwayFromZero)
{
    const auto deTotal = [](int total) { return RaioX(total, 0, 0, 0, 0, 0, 0.0, 0); };
    EXPECT_EQ(deTotal(8).pct(1), 13); // 12.5
    EXPECT_EQ(deTotal(3).pct(1), 33); // 33.33
    EXPECT_EQ(deTotal(3).pct(2), 67); // 66.67
    EXPECT_EQ(deTotal(200).pct(1), 1); // 0.5
    EXPECT_EQ(deTotal(200).pct(-1), -1);
    EXPECT_EQ(deTotal(40).pct(1), 3); // 2.5
    EXPECT_EQ(deTotal(3).pct(3), 100);
    EXPECT_EQ(deTotal(3).pct(0), 0);
    EXPECT_EQ(deTotal(1).pct(7), 700);
}

TEST(RaioX, PercentagesOfTheWholeFolder)
{
    const std::vector<FileSnapshot> itens {
        snap({.nome = "a.txt"}), snap({.nome = "b.txt"}), snap({.nome = "c.txt"})};
    const RaioX r(itens, {}, kAgora);
    EXPECT_EQ(r.pct(r.nuncaAbertos()), 100);
    EXPECT_EQ(r.pct(1), 33);
}

TEST(RaioX, MemberwiseConstructionKeepsEveryField)
{
    const RaioX r(5, 123, 4, 3, 2, 1, 0.25, 9);
    EXPECT_EQ(r.total(), 5);
    EXPECT_EQ(r.bytes(), 123);
    EXPECT_EQ(r.nuncaAbertos(), 4);
    EXPECT_EQ(r.nomesOpacos(), 3);
    EXPECT_EQ(r.comOrigem(), 2);
    EXPECT_EQ(r.origensDistintas(), 1);
    EXPECT_EQ(r.concentracaoTop3(), 0.25);
    EXPECT_EQ(r.maisAntigoEmDias(), 9);
}

TEST(RaioX, ReadsTheClockWhenNoMomentIsGiven)
{
    // Arrived 47 hours before the real now: one day old by the real clock.
    const RaioX r({snap({.nome = "a.txt", .criadoEm = Date::agora() + -47 * kHora})}, {});
    EXPECT_EQ(r.maisAntigoEmDias(), 1);
}

TEST(RaioXDeathTest, OverflowingSizeSumStopsTheProgram)
{
    const std::vector<FileSnapshot> itens {
        snap({.nome = "a", .tamanho = std::numeric_limits<std::int64_t>::max()}),
        snap({.nome = "b", .tamanho = 1})};
    EXPECT_DEATH((void)RaioX(itens, {}, kAgora), "overflows");
}

TEST(RaioXDeathTest, PercentageOutOfRangeStopsTheProgram)
{
    const RaioX r(1, 0, 0, 0, 0, 0, 0.0, 0);
    EXPECT_DEATH((void)r.pct(std::numeric_limits<int>::max()), "percentage");
}

} // namespace
} // namespace tarrafa
