// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/RaioX.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarrafa {
namespace {

const std::string kRecente = "Nada na sua pasta tem mais de ";
const std::string kEspalhadas
    = "Suas origens estão espalhadas, então agrupar por proveniência ajuda menos aqui do que "
      "numa pasta concentrada.";

RaioX raioX(int total, int nuncaAbertos, double concentracao, int dias)
{
    return RaioX(total, 0, nuncaAbertos, 0, total, 3, concentracao, dias);
}

TEST(Leitura, EmptyFolderSaysSoAndNothingElse)
{
    EXPECT_EQ(leitura(RaioX({}, {})), "Sua pasta Downloads está vazia.");
    EXPECT_EQ(leitura(raioX(0, 4, 0.1, 3)), "Sua pasta Downloads está vazia.");
}

TEST(Leitura, AllThreeSentencesJoinedBySingleSpaces)
{
    EXPECT_EQ(leitura(raioX(10, 7, 0.3, 12)),
        "Nada na sua pasta tem mais de 12 dias, então o problema não é o que acumulou. "
        "São 7 arquivos que chegaram, foram usados uma vez e perderam o contexto de onde vieram. "
            + kEspalhadas);
}

TEST(Leitura, FiftyNineDaysStillSaysNothingIsOld)
{
    const std::string texto = leitura(raioX(10, 7, 0.8, 59));
    EXPECT_EQ(texto.rfind(kRecente + "59 dias, então o problema não é o que acumulou. ", 0), 0U) << texto;
}

TEST(Leitura, SixtyDaysLeavesTheSentenceOut)
{
    const std::string texto = leitura(raioX(10, 7, 0.8, 60));
    EXPECT_EQ(
        texto, "São 7 arquivos que chegaram, foram usados uma vez e perderam o contexto de onde vieram.");
    EXPECT_EQ(texto.find(kRecente), std::string::npos);
}

TEST(Leitura, HalfConcentrationIsNotScattered)
{
    EXPECT_EQ(leitura(raioX(10, 2, 0.5, 90)).find(kEspalhadas), std::string::npos);
}

TEST(Leitura, JustBelowHalfIsScattered)
{
    EXPECT_EQ(leitura(raioX(10, 2, 0.49, 90)),
        "São 2 arquivos que chegaram, foram usados uma vez e perderam o contexto de onde vieram. "
            + kEspalhadas);
}

TEST(Leitura, TheCountIsPrintedEvenWhenZeroOrOne)
{
    EXPECT_EQ(leitura(raioX(3, 0, 0.9, 100)),
        "São 0 arquivos que chegaram, foram usados uma vez e perderam o contexto de onde vieram.");
    EXPECT_EQ(leitura(raioX(3, 1, 0.9, 100)),
        "São 1 arquivos que chegaram, foram usados uma vez e perderam o contexto de onde vieram.");
}

TEST(Leitura, BuiltFromRealSnapshots)
{
    const Date agora = Date::desde1970(1'709'812'800.0);
    const std::vector<FileSnapshot> itens {
        FileSnapshot("/d/a.txt", "a.txt", false, 10, std::nullopt, agora + -5 * 86400.0, std::nullopt, {},
            false, std::nullopt),
    };
    EXPECT_EQ(leitura(RaioX(itens, {}, agora)),
        "Nada na sua pasta tem mais de 5 dias, então o problema não é o que acumulou. "
        "São 1 arquivos que chegaram, foram usados uma vez e perderam o contexto de onde vieram. "
            + kEspalhadas);
}

} // namespace
} // namespace tarrafa
