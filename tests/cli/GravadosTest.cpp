// SPDX-License-Identifier: GPL-3.0-or-later
// The command line over the home recorded from real browsers: however the folder is named,
// the same files get the same origins.
#include "CasaGravada.hpp"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <string>
#include <unistd.h>

namespace tarrafa {
namespace {

using Json = nlohmann::json;

// Runs tarrafa-cli --json in a folder with one argument; name -> first origin address.
std::map<std::string, std::string> origensPelaLinhaDeComando(
    const std::string& dondeRodar, const std::string& pasta)
{
    const std::string comando = "cd '" + dondeRodar + "' && '" + TARRAFA_CLI + "' --json '" + pasta + "'";
    std::FILE* processo = ::popen(comando.c_str(), "r");
    EXPECT_NE(processo, nullptr);
    std::string saida;
    std::array<char, 4096> bloco {};
    for (std::size_t n = 0; (n = std::fread(bloco.data(), 1, bloco.size(), processo)) > 0;) {
        saida.append(bloco.data(), n);
    }
    EXPECT_EQ(::pclose(processo), 0) << comando;
    std::map<std::string, std::string> origens;
    const Json relatorio = Json::parse(saida);
    for (const Json& grupo : relatorio.at("grupos")) {
        for (const Json& item : grupo.at("itens")) {
            const Json& lista = item.at("origens");
            origens[item.at("nome").get<std::string>()] = lista.empty() ? "-" : lista[0].get<std::string>();
        }
    }
    return origens;
}

TEST(CliGravados, DotDoubledSlashesAndTheFullPathGiveTheSameOrigins)
{
    const teste::CasaGravada gravada;
    const auto completo = origensPelaLinhaDeComando("/", gravada.downloads());
    EXPECT_EQ(origensPelaLinhaDeComando(gravada.downloads(), "."), completo);
    EXPECT_EQ(origensPelaLinhaDeComando("/", gravada.casa() + "//Downloads/"), completo);
    EXPECT_EQ(origensPelaLinhaDeComando(gravada.casa(), "Downloads"), completo);
    int comOrigem = 0;
    for (const teste::Verdade& v : gravada.verdades()) {
        if (completo.contains(v.arquivo)) {
            EXPECT_EQ(completo.at(v.arquivo), v.origemEsperada) << v.arquivo;
            comOrigem += v.origemEsperada != "-" ? 1 : 0;
        }
    }
    EXPECT_GE(comOrigem, 15);
}

} // namespace
} // namespace tarrafa
