// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Selo.hpp"
#include "TarrafaCore/Date.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace tarrafa {
namespace {

// Noon UTC is the same calendar day from UTC-11 to UTC+11, so these labels do not depend
// on the time zone the test runs in.
const Date k7DeMarcoAoMeioDia = Date::desde1970(1'709'812'800.0); // 2024-03-07 12:00 UTC

constexpr std::array kTodosOsCasos {
    Selo::Caso::nuncaAberto,
    Selo::Caso::abertoEm,
    Selo::Caso::nomeOpaco,
    Selo::Caso::sufixoDeCopia,
    Selo::Caso::instaladorUsado,
    Selo::Caso::instaladorNuncaUsado,
    Selo::Caso::pareceRelacionado,
    Selo::Caso::screenshot,
    Selo::Caso::copiaIdentica,
};

// Runs the check in a freshly started copy of this test program, so that the shared
// formatter is made there, under the time zone set just before.
void esperarDiaNoFuso(const char* fuso, double segundosDesde1970, const char* esperado)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ::setenv("TZ", fuso, 1);
            const std::string dia = Selo::dia(Date::desde1970(segundosDesde1970));
            std::fprintf(stderr, "dia=%s\n", dia.c_str());
            std::exit(dia == esperado ? 0 : 1);
        },
        testing::ExitedWithCode(0), "")
        << "TZ=" << fuso << " expected " << esperado;
}

TEST(Selo, LabelsAreTheExactTexts)
{
    EXPECT_EQ(Selo::nuncaAberto().rotulo(), "nunca aberto");
    EXPECT_EQ(Selo::nomeOpaco().rotulo(), "nome não identifica");
    EXPECT_EQ(Selo::sufixoDeCopia().rotulo(), "sufixo de cópia");
    EXPECT_EQ(Selo::instaladorUsado().rotulo(), "app já instalado");
    EXPECT_EQ(Selo::instaladorNuncaUsado().rotulo(), "nunca instalado");
    EXPECT_EQ(Selo::screenshot().rotulo(), "captura de tela");
}

TEST(Selo, OpenedOnLabelShowsDayAndMonth)
{
    EXPECT_EQ(Selo::abertoEm(k7DeMarcoAoMeioDia).rotulo(), "aberto em 07/03");
    EXPECT_EQ(Selo::dia(k7DeMarcoAoMeioDia), "07/03");
}

TEST(Selo, RelatedLabelShowsTheCountOfOthers)
{
    EXPECT_EQ(Selo::pareceRelacionado(2).rotulo(), "parece relacionado a outros 2");
    EXPECT_EQ(Selo::pareceRelacionado(1234).rotulo(), "parece relacionado a outros 1234"); // no grouping
}

TEST(Selo, RelatedToOneOtherHasNoSingularForm)
{
    EXPECT_EQ(Selo::pareceRelacionado(1).rotulo(), "parece relacionado a outro arquivo");
}

TEST(Selo, TwoInstantsOfTheSameDayShareTheLabelButAreDifferentBadges)
{
    const Selo manha = Selo::abertoEm(k7DeMarcoAoMeioDia + -3 * 3600.0);
    const Selo tarde = Selo::abertoEm(k7DeMarcoAoMeioDia + 3 * 3600.0);
    EXPECT_EQ(manha.rotulo(), tarde.rotulo());
    EXPECT_NE(manha, tarde);
    EXPECT_EQ(manha, Selo::abertoEm(k7DeMarcoAoMeioDia + -3 * 3600.0));
}

TEST(Selo, ThirtyFirstOfDecemberIsTheSameLabelInAnyYear)
{
    EXPECT_EQ(
        Selo::abertoEm(Date::desde1970(946'641'600.0)).rotulo(), "aberto em 31/12"); // 1999-12-31 12:00 UTC
    EXPECT_EQ(
        Selo::abertoEm(Date::desde1970(1'704'024'000.0)).rotulo(), "aberto em 31/12"); // 2023-12-31 12:00 UTC
    EXPECT_EQ(
        Selo::abertoEm(Date::desde1970(1'924'948'800.0)).rotulo(), "aberto em 31/12"); // 2030-12-31 12:00 UTC
}

TEST(Selo, TheDayIsTakenInTheLocalTimeZone)
{
    // 2024-03-07 01:30 UTC is still the 6th in São Paulo (UTC-3) and already the 7th in Tokyo.
    esperarDiaNoFuso("America/Sao_Paulo", 1'709'775'000.0, "06/03");
    esperarDiaNoFuso("Asia/Tokyo", 1'709'775'000.0, "07/03");
    esperarDiaNoFuso("UTC", 1'709'775'000.0, "07/03");
    // 2024-03-06 20:00 UTC is the 7th in Tokyo (UTC+9).
    esperarDiaNoFuso("Asia/Tokyo", 1'709'755'200.0, "07/03");
}

TEST(Selo, ConcurrentLabelsAreAllCorrect)
{
    constexpr int kLinhas = 4;
    constexpr int kRepeticoes = 300;
    std::vector<int> erros(kLinhas, 0);
    std::vector<std::thread> linhas;
    for (int i = 0; i < kLinhas; ++i) {
        linhas.emplace_back([i, &erros] {
            for (int r = 0; r < kRepeticoes; ++r) {
                // Each thread formats its own day of March, so a mix-up would show.
                const Date data = k7DeMarcoAoMeioDia + (i * 86400.0);
                char esperado[32];
                std::snprintf(esperado, sizeof esperado, "aberto em %02d/03", 7 + i);
                if (Selo::abertoEm(data).rotulo() != esperado) {
                    ++erros[i];
                }
            }
        });
    }
    for (std::thread& linha : linhas) {
        linha.join();
    }
    EXPECT_EQ(erros, std::vector<int>(kLinhas, 0));
}

TEST(Selo, TonesFollowTheTable)
{
    EXPECT_EQ(Selo::instaladorUsado().tom(), Selo::Tom::ok);
    EXPECT_EQ(Selo::abertoEm(k7DeMarcoAoMeioDia).tom(), Selo::Tom::ok);
    EXPECT_EQ(Selo::nomeOpaco().tom(), Selo::Tom::aviso);
    EXPECT_EQ(Selo::sufixoDeCopia().tom(), Selo::Tom::aviso);
    EXPECT_EQ(Selo::instaladorNuncaUsado().tom(), Selo::Tom::aviso);
    EXPECT_EQ(Selo::nuncaAberto().tom(), Selo::Tom::neutro);
    EXPECT_EQ(Selo::screenshot().tom(), Selo::Tom::neutro);
    EXPECT_EQ(Selo::pareceRelacionado(3).tom(), Selo::Tom::info);
}

TEST(Selo, OnlyRelatedIsInfo)
{
    const std::vector<Selo> outros {Selo::nuncaAberto(), Selo::abertoEm(k7DeMarcoAoMeioDia),
        Selo::nomeOpaco(), Selo::sufixoDeCopia(), Selo::instaladorUsado(), Selo::instaladorNuncaUsado(),
        Selo::screenshot()};
    for (const Selo& selo : outros) {
        EXPECT_NE(selo.tom(), Selo::Tom::info) << selo.rotulo();
    }
}

TEST(Selo, CasesAreDeclaredInTheHashingOrder)
{
    for (std::size_t i = 0; i < kTodosOsCasos.size(); ++i) {
        EXPECT_EQ(static_cast<std::size_t>(kTodosOsCasos[i]), i);
    }
    EXPECT_EQ(nomeDoCaso(Selo::Caso::nuncaAberto), "nuncaAberto");
    EXPECT_EQ(nomeDoCaso(Selo::Caso::abertoEm), "abertoEm");
    EXPECT_EQ(nomeDoCaso(Selo::Caso::nomeOpaco), "nomeOpaco");
    EXPECT_EQ(nomeDoCaso(Selo::Caso::sufixoDeCopia), "sufixoDeCopia");
    EXPECT_EQ(nomeDoCaso(Selo::Caso::instaladorUsado), "instaladorUsado");
    EXPECT_EQ(nomeDoCaso(Selo::Caso::instaladorNuncaUsado), "instaladorNuncaUsado");
    EXPECT_EQ(nomeDoCaso(Selo::Caso::pareceRelacionado), "pareceRelacionado");
    EXPECT_EQ(nomeDoCaso(Selo::Caso::screenshot), "screenshot");
    EXPECT_EQ(nomeDoCaso(Selo::Caso::copiaIdentica), "copiaIdentica");
}

TEST(Selo, IdenticalCopyNamesItsOriginalInTheCopySuffixTone)
{
    const Selo selo = Selo::copiaIdentica("Relatório anual.pdf");
    EXPECT_EQ(selo.rotulo(), "cópia idêntica de Relatório anual.pdf");
    EXPECT_EQ(selo.tom(), Selo::sufixoDeCopia().tom());
    EXPECT_EQ(selo.nome(), "Relatório anual.pdf");
    EXPECT_EQ(selo.quantidade(), 0);
    EXPECT_EQ(selo.data(), std::nullopt);
    EXPECT_TRUE(Selo::nuncaAberto().nome().empty());

    EXPECT_EQ(selo, Selo::copiaIdentica("Relatório anual.pdf"));
    EXPECT_NE(selo, Selo::copiaIdentica("Relatório.pdf"));
    const std::hash<Selo> hash;
    EXPECT_EQ(hash(selo), hash(Selo::copiaIdentica("Relatório anual.pdf")));
    EXPECT_NE(hash(selo), hash(Selo::copiaIdentica("Relatório.pdf")));
    EXPECT_NE(hash(Selo::copiaIdentica("")), hash(Selo::screenshot()));
}

TEST(Selo, TonesHaveTheirNamesAsWrittenInCode)
{
    EXPECT_EQ(nomeDoTom(Selo::Tom::neutro), "neutro");
    EXPECT_EQ(nomeDoTom(Selo::Tom::aviso), "aviso");
    EXPECT_EQ(nomeDoTom(Selo::Tom::ok), "ok");
    EXPECT_EQ(nomeDoTom(Selo::Tom::info), "info");
}

TEST(Selo, PayloadsBelongToTheirCaseOnly)
{
    EXPECT_EQ(Selo::abertoEm(k7DeMarcoAoMeioDia).caso(), Selo::Caso::abertoEm);
    EXPECT_EQ(Selo::abertoEm(k7DeMarcoAoMeioDia).data(), k7DeMarcoAoMeioDia);
    EXPECT_EQ(Selo::pareceRelacionado(5).quantidade(), 5);
    EXPECT_EQ(Selo::pareceRelacionado(5).data(), std::nullopt);
    EXPECT_EQ(Selo::nuncaAberto().data(), std::nullopt);
    EXPECT_EQ(Selo::nuncaAberto().quantidade(), 0);
}

TEST(Selo, EqualityComparesCaseAndPayload)
{
    EXPECT_EQ(Selo::nomeOpaco(), Selo::nomeOpaco());
    EXPECT_NE(Selo::nomeOpaco(), Selo::sufixoDeCopia());
    EXPECT_EQ(Selo::pareceRelacionado(2), Selo::pareceRelacionado(2));
    EXPECT_NE(Selo::pareceRelacionado(2), Selo::pareceRelacionado(3));
    EXPECT_NE(Selo::instaladorUsado(), Selo::instaladorNuncaUsado());
    EXPECT_NE(Selo::nuncaAberto(), Selo::screenshot()); // same tone, different badges
}

TEST(Selo, EqualBadgesHashEqually)
{
    const std::hash<Selo> hash;
    EXPECT_EQ(hash(Selo::abertoEm(k7DeMarcoAoMeioDia)), hash(Selo::abertoEm(k7DeMarcoAoMeioDia)));
    EXPECT_EQ(hash(Selo::pareceRelacionado(4)), hash(Selo::pareceRelacionado(4)));
    EXPECT_EQ(hash(Selo::abertoEm(Date::desde1970(0.0))), hash(Selo::abertoEm(Date::desde1970(-0.0))));
}

TEST(Selo, HashSeparatesCasesAndPayloads)
{
    const std::hash<Selo> hash;
    const std::vector<Selo> semCarga {Selo::nuncaAberto(), Selo::nomeOpaco(), Selo::sufixoDeCopia(),
        Selo::instaladorUsado(), Selo::instaladorNuncaUsado(), Selo::screenshot()};
    std::unordered_set<std::size_t> hashes;
    for (const Selo& selo : semCarga) {
        hashes.insert(hash(selo));
    }
    EXPECT_EQ(hashes.size(), semCarga.size());
    EXPECT_NE(hash(Selo::pareceRelacionado(1)), hash(Selo::pareceRelacionado(2)));
    EXPECT_NE(hash(Selo::abertoEm(k7DeMarcoAoMeioDia)), hash(Selo::abertoEm(k7DeMarcoAoMeioDia + 1.0)));

    const std::unordered_set<Selo> conjunto {Selo::nomeOpaco(), Selo::nomeOpaco(), Selo::pareceRelacionado(1),
        Selo::pareceRelacionado(1), Selo::pareceRelacionado(2)};
    EXPECT_EQ(conjunto.size(), 3U);
}

TEST(Selo, ToneEqualityAndHashingAreByCase)
{
    EXPECT_EQ(Selo::nomeOpaco().tom(), Selo::sufixoDeCopia().tom());
    const std::unordered_set<Selo::Tom> tons {
        Selo::Tom::neutro, Selo::Tom::aviso, Selo::Tom::ok, Selo::Tom::info, Selo::Tom::ok};
    EXPECT_EQ(tons.size(), 4U);
}

} // namespace
} // namespace tarrafa
