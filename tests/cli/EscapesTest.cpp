// SPDX-License-Identifier: GPL-3.0-or-later
// Names and labels that try to command the terminal, or to read backwards, are printed inert.
#include "Apoio.hpp"

#include "TarrafaCore/Escapes.hpp"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <set>
#include <string>

namespace tarrafa {
namespace {

using Json = nlohmann::json;
using Escapes::invisiveisEmJson;
using Escapes::paraTerminal;

TEST(Escapes, ControlsDelC1BidiAndTheBackslashBecomeVisibleEscapes)
{
    EXPECT_EQ(paraTerminal("a\x1b[2Jb"), "a\\x1b[2Jb");
    EXPECT_EQ(paraTerminal("linha\nforjada\r\t"), "linha\\x0aforjada\\x0d\\x09");
    EXPECT_EQ(paraTerminal("del\x7f"), "del\\x7f");
    EXPECT_EQ(paraTerminal("csi\xc2\x9b"), "csi\\u009b");
    EXPECT_EQ(paraTerminal("invoice\xe2\x80\xae"
                           "fdp.exe"),
        "invoice\\u202efdp.exe");
    EXPECT_EQ(paraTerminal("\xe2\x81\xa6x\xe2\x81\xa9\xe2\x80\x8f\xd8\x9c"), "\\u2066x\\u2069\\u200f\\u061c");
    EXPECT_EQ(paraTerminal("C:\\Users\\x"), "C:\\\\Users\\\\x");
    EXPECT_EQ(paraTerminal("Relatório — versão 2.pdf"), "Relatório — versão 2.pdf");
    EXPECT_EQ(paraTerminal("rel\xf3rio"), "rel\xef\xbf\xbdrio"); // not UTF-8: U+FFFD
}

TEST(Escapes, JsonKeepsItsOwnEscapesAndGainsTheInvisibleOnes)
{
    const std::string json = "{\"nome\": \"a\\u001b\x7f\xc2\x85\xe2\x80\xae b — ç\"}";
    const std::string escapado = invisiveisEmJson(json);
    EXPECT_EQ(escapado, "{\"nome\": \"a\\u001b\\u007f\\u0085\\u202e b — ç\"}");
    EXPECT_EQ(Json::parse(escapado).at("nome"), Json::parse(json).at("nome"));
}

std::string rodar(const std::string& argumentos)
{
    std::FILE* processo = ::popen((std::string("'") + TARRAFA_CLI + "' " + argumentos).c_str(), "r");
    std::string saida;
    std::array<char, 4096> bloco {};
    for (std::size_t n = 0; (n = std::fread(bloco.data(), 1, bloco.size(), processo)) > 0;) {
        saida.append(bloco.data(), n);
    }
    EXPECT_EQ(::pclose(processo), 0);
    return saida;
}

// Whether the output holds a raw control (other than the line ends it writes), DEL, C1 or
// bidirectional control.
bool temInvisivel(const std::string& saida)
{
    for (std::size_t i = 0; i < saida.size(); ++i) {
        const auto c = static_cast<unsigned char>(saida[i]);
        if ((c < 0x20 && c != '\n') || c == 0x7F) {
            return true;
        }
        if (c == 0xC2 && i + 1 < saida.size() && static_cast<unsigned char>(saida[i + 1]) <= 0x9F) {
            return true;
        }
        const std::string_view resto(saida.data() + i, std::min<std::size_t>(3, saida.size() - i));
        for (const char* bidi :
            {"\xe2\x80\x8e", "\xe2\x80\x8f", "\xe2\x80\xaa", "\xe2\x80\xab", "\xe2\x80\xac", "\xe2\x80\xad",
                "\xe2\x80\xae", "\xe2\x81\xa6", "\xe2\x81\xa7", "\xe2\x81\xa8", "\xe2\x81\xa9"}) {
            if (resto == bidi) {
                return true;
            }
        }
    }
    return false;
}

TEST(CliEscapes, HostileNamesAndLabelsReachNeitherTextNorJsonRaw)
{
    const teste::CasaFalsa casa;
    const std::string downloads = casa / "Downloads";
    const std::set<std::string> nomes {
        "titulo\x1b]0;pwned\x07.pdf",
        "limpa\x1b[2J\x1b[H.txt",
        "duas\nGRUPO FORJADO · 1 item.txt",
        "csi\xc2\x9b"
        "31m.txt",
        "apaga\x7f.txt",
        "invoice\xe2\x80\xae"
        "fdp.exe",
    };
    for (const std::string& nome : nomes) {
        teste::escrever(downloads + "/" + nome, "x");
    }
    if (teste::aceitaAtributos(downloads)) {
        // A percent-encoded ESC in a SharePoint address, which becomes the group's label.
        teste::escrever(downloads + "/planilha.xlsx", "x");
        teste::definirAtributo(downloads + "/planilha.xlsx", "user.xdg.origin.url",
            "https://contoso-my.sharepoint.com/personal/jo%1B%5B2J_contoso_com/Documents/p.xlsx");
    }

    const std::string texto = rodar("'" + downloads + "'");
    EXPECT_FALSE(temInvisivel(texto)) << texto;
    EXPECT_EQ(texto.find("\nGRUPO FORJADO"), std::string::npos) << "a name forged a line";
    EXPECT_NE(texto.find("invoice\\u202efdp.exe"), std::string::npos) << texto;

    const std::string json = rodar("--json '" + downloads + "'");
    EXPECT_FALSE(temInvisivel(json));
    std::set<std::string> lidos;
    const Json relatorio = Json::parse(json);
    for (const Json& grupo : relatorio.at("grupos")) {
        for (const Json& item : grupo.at("itens")) {
            lidos.insert(item.at("nome").get<std::string>());
        }
    }
    for (const std::string& nome : nomes) {
        EXPECT_TRUE(lidos.contains(nome)) << "JSON escapes decode back to the very name";
    }
}

} // namespace
} // namespace tarrafa
