// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/TriageEngine.hpp"
#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/Origem.hpp"
#include "TarrafaCore/Selo.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarrafa {
namespace {

const Date kBase = Date::desde1970(1'709'812'800.0); // 2024-03-07 12:00 UTC

// A scanned file with sensible defaults; tests name only what matters to them.
struct Arquivo {
    std::string nome;
    std::vector<std::string> origens = {};
    std::optional<Date> baixadoEm = std::nullopt;
    Date criadoEm = kBase;
    std::optional<Date> ultimoUsoEm = std::nullopt;
    std::int64_t tamanho = 1000;
    bool ehScreenshot = false;
};

FileSnapshot snap(const Arquivo& a)
{
    return FileSnapshot("/home/ana/Downloads/" + a.nome, a.nome, false, a.tamanho, a.baixadoEm, a.criadoEm,
        a.ultimoUsoEm, a.origens, a.ehScreenshot, std::nullopt);
}

std::vector<std::string> chaves(const std::vector<GrupoOrigem>& grupos)
{
    std::vector<std::string> resultado;
    for (const GrupoOrigem& g : grupos) {
        resultado.push_back(g.id());
    }
    return resultado;
}

std::vector<std::string> nomes(const GrupoOrigem& grupo)
{
    std::vector<std::string> resultado;
    for (const ItemTriado& item : grupo.itens()) {
        resultado.push_back(item.nome());
    }
    return resultado;
}

const GrupoOrigem& grupo(const std::vector<GrupoOrigem>& grupos, std::string_view chave)
{
    for (const GrupoOrigem& g : grupos) {
        if (g.id() == chave) {
            return g;
        }
    }
    throw std::runtime_error("no group " + std::string(chave));
}

const ItemTriado& item(const std::vector<GrupoOrigem>& grupos, std::string_view nome)
{
    for (const GrupoOrigem& g : grupos) {
        for (const ItemTriado& i : g.itens()) {
            if (i.nome() == nome) {
                return i;
            }
        }
    }
    throw std::runtime_error("no item " + std::string(nome));
}

std::string chaveDe(std::string_view endereco)
{
    const std::optional<Origem> origem = OrigemParser::analisarUma(endereco);
    return origem ? origem->chave() : "(none)";
}

const std::string kSemOrigem(Origem::kChaveSemOrigem);
const std::string kInstaladores(Origem::kChaveInstaladores);

TEST(TriageEngine, EmptyListGivesNoGroups)
{
    EXPECT_TRUE(TriageEngine({"Firefox"}).triar({}).empty());
}

TEST(TriageEngine, KeepsTheInstalledApplications)
{
    const std::set<std::string> apps {"Firefox", "Slack"};
    EXPECT_EQ(TriageEngine(apps).appsInstalados(), apps);
}

TEST(TriageEngine, DiskImageFromAWebHostGoesToTheInstallersGroup)
{
    const std::string site = "https://download.example.org/releases/";
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "Firefox 121.0.1.dmg", .origens = {site + "firefox.dmg"}}),
        snap({.nome = "Obscuro.dmg", .origens = {site + "obscuro.dmg"}}),
        snap({.nome = "notas.pdf", .origens = {site + "notas.pdf"}}),
    };
    const auto grupos = TriageEngine({"Firefox", "Slack"}).triar(entrada);

    ASSERT_EQ(chaves(grupos), (std::vector<std::string> {kInstaladores, chaveDe(site)}));
    const GrupoOrigem& instaladores = grupos[0];
    EXPECT_EQ(instaladores.origem(), Origem(kInstaladores, "Instaladores", std::nullopt));
    EXPECT_EQ(nomes(grupo(grupos, chaveDe(site))), std::vector<std::string> {"notas.pdf"});

    const ItemTriado& usado = item(grupos, "Firefox 121.0.1.dmg");
    EXPECT_EQ(usado.selos(), (std::vector<Selo> {Selo::nuncaAberto(), Selo::instaladorUsado()}));
    EXPECT_EQ(usado.selos().back().rotulo(), "app já instalado");
    // The item keeps the origin of its address; only its group is the installers'.
    EXPECT_EQ(usado.origem().chave(), chaveDe(site));

    const ItemTriado& nunca = item(grupos, "Obscuro.dmg");
    EXPECT_EQ(nunca.selos(), (std::vector<Selo> {Selo::nuncaAberto(), Selo::instaladorNuncaUsado()}));
    EXPECT_EQ(nunca.selos().back().rotulo(), "nunca instalado");
}

TEST(TriageEngine, LinuxPackagesAreInstallersToo)
{
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "ferramenta_1.2.3_amd64.deb"}),
        snap({.nome = "Editor-x86_64.AppImage"}),
        snap({.nome = "pacote-2.0.rpm"}),
        snap({.nome = "Setup.PKG"}),
        snap({.nome = "planilha.xlsx"}),
        snap({.nome = "setup.dmg.zip"}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    ASSERT_EQ(chaves(grupos), (std::vector<std::string> {kInstaladores, kSemOrigem}));
    EXPECT_EQ(grupos[0].total(), 4);
    EXPECT_EQ(nomes(grupos[1]), (std::vector<std::string> {"planilha.xlsx", "setup.dmg.zip"}));
}

TEST(TriageEngine, EqualSizedGroupsKeepTheOrderOfFirstAppearance)
{
    const std::string a = "https://alpha.example.com/x";
    const std::string b = "https://beta.example.com/y";
    const std::vector<FileSnapshot> bPrimeiro {
        snap({.nome = "1.txt", .origens = {b}}),
        snap({.nome = "2.txt", .origens = {a}}),
        snap({.nome = "3.txt", .origens = {a}}),
        snap({.nome = "4.txt", .origens = {b}}),
    };
    EXPECT_EQ(chaves(TriageEngine({}).triar(bPrimeiro)), (std::vector<std::string> {chaveDe(b), chaveDe(a)}));

    const std::vector<FileSnapshot> aPrimeiro {bPrimeiro[1], bPrimeiro[0], bPrimeiro[2], bPrimeiro[3]};
    EXPECT_EQ(chaves(TriageEngine({}).triar(aPrimeiro)), (std::vector<std::string> {chaveDe(a), chaveDe(b)}));
}

TEST(TriageEngine, TheGroupWithoutOriginIsLastEvenWhenLargest)
{
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "sem1.txt"}),
        snap({.nome = "um.txt", .origens = {"https://um.example.com/"}}),
        snap({.nome = "sem2.txt", .origens = {"about:blank"}}),
        snap({.nome = "dois.txt", .origens = {"https://dois.example.com/"}}),
        snap({.nome = "dois-b.txt", .origens = {"https://dois.example.com/b"}}),
        snap({.nome = "sem3.txt", .origens = {""}}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    ASSERT_EQ(chaves(grupos),
        (std::vector<std::string> {
            chaveDe("https://dois.example.com/"), chaveDe("https://um.example.com/"), kSemOrigem}));
    EXPECT_EQ(grupos.back().total(), 3);
    EXPECT_EQ(grupos.back().origem(), Origem::semOrigem());
}

TEST(TriageEngine, InstallersGroupIsRankedBySizeAndCanComeFirst)
{
    const std::string host = "https://files.example.net/";
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "a.pdf", .origens = {host + "a.pdf"}}),
        snap({.nome = "b.pdf", .origens = {host + "b.pdf"}}),
        snap({.nome = "Um.dmg", .origens = {host + "1.dmg"}}),
        snap({.nome = "Dois.pkg"}),
        snap({.nome = "Tres.deb", .origens = {"https://outro.example.org/"}}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    ASSERT_EQ(chaves(grupos), (std::vector<std::string> {kInstaladores, chaveDe(host)}));
    EXPECT_EQ(grupos[0].total(), 3);
}

TEST(TriageEngine, ScreenshotWithAnOpaqueNameIsNotFlaggedAsOpaque)
{
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "IMG_2041.png", .ehScreenshot = true}),
        snap({.nome = "IMG_2042.png"}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    const ItemTriado& captura = item(grupos, "IMG_2041.png");
    EXPECT_EQ(captura.selos(), (std::vector<Selo> {Selo::nuncaAberto(), Selo::screenshot()}));
    EXPECT_EQ(
        item(grupos, "IMG_2042.png").selos(), (std::vector<Selo> {Selo::nuncaAberto(), Selo::nomeOpaco()}));

    const GrupoOrigem soACaptura(Origem::semOrigem(), {captura});
    EXPECT_EQ(soACaptura.nomesOpacos(), 0);
    EXPECT_EQ(grupos[0].nomesOpacos(), 1);
}

TEST(TriageEngine, OpenedStateIsTheFirstBadge)
{
    const Date chegada = kBase;
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "nunca.txt", .baixadoEm = chegada}),
        snap({.nome = "sessenta.txt", .baixadoEm = chegada, .ultimoUsoEm = chegada + 60.0}),
        snap({.nome = "dois-minutos.txt", .baixadoEm = chegada, .ultimoUsoEm = chegada + 120.0}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    EXPECT_EQ(item(grupos, "nunca.txt").selos().front(), Selo::nuncaAberto());
    EXPECT_EQ(item(grupos, "sessenta.txt").selos().front(), Selo::nuncaAberto());
    EXPECT_EQ(item(grupos, "dois-minutos.txt").selos(), std::vector<Selo> {Selo::abertoEm(chegada + 120.0)});
}

TEST(TriageEngine, OpenedStateMeasuresFromCreationWithoutADownloadDate)
{
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "criado.txt", .criadoEm = kBase, .ultimoUsoEm = kBase + 3600.0}),
        // Downloaded long after it was created, opened right away: never opened.
        snap({.nome = "baixado.txt",
            .baixadoEm = kBase + 7200.0,
            .criadoEm = kBase,
            .ultimoUsoEm = kBase + 7230.0}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    EXPECT_EQ(item(grupos, "criado.txt").selos(), std::vector<Selo> {Selo::abertoEm(kBase + 3600.0)});
    EXPECT_EQ(item(grupos, "baixado.txt").selos(), std::vector<Selo> {Selo::nuncaAberto()});
}

TEST(TriageEngine, ItemsAreNewestFirstByArrivalAndTiesKeepScanOrder)
{
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "antigo.txt", .baixadoEm = kBase}),
        snap({.nome = "criado-ontem.txt", .criadoEm = kBase + 86400.0}),
        // Created last but downloaded first: the download date counts.
        snap({.nome = "baixado-cedo.txt", .baixadoEm = kBase + -86400.0, .criadoEm = kBase + 5 * 86400.0}),
        snap({.nome = "empate-1.txt", .baixadoEm = kBase + 3600.0}),
        snap({.nome = "empate-2.txt", .criadoEm = kBase + 3600.0}),
        snap({.nome = "empate-3.txt", .baixadoEm = kBase + 3600.0}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    ASSERT_EQ(grupos.size(), 1U);
    EXPECT_EQ(nomes(grupos[0]),
        (std::vector<std::string> {"criado-ontem.txt", "empate-1.txt", "empate-2.txt", "empate-3.txt",
            "antigo.txt", "baixado-cedo.txt"}));
}

TEST(TriageEngine, ThreeFilesOfOneSeriesAreEachRelatedToTwoOthers)
{
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "relatorio.pdf"}),
        snap({.nome = "relatorio (1).pdf"}),
        snap({.nome = "relatorio.docx"}),
        snap({.nome = "outro.pdf"}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    EXPECT_EQ(item(grupos, "relatorio.pdf").selos(),
        (std::vector<Selo> {Selo::nuncaAberto(), Selo::pareceRelacionado(2)}));
    EXPECT_EQ(item(grupos, "relatorio (1).pdf").selos(),
        (std::vector<Selo> {Selo::nuncaAberto(), Selo::sufixoDeCopia(), Selo::pareceRelacionado(2)}));
    EXPECT_EQ(item(grupos, "relatorio.docx").selos().back().rotulo(), "parece relacionado a outros 2");
    EXPECT_EQ(item(grupos, "outro.pdf").selos(), std::vector<Selo> {Selo::nuncaAberto()});
}

TEST(TriageEngine, BadgesComeInTheFixedOrderAtMostFive)
{
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "IMG_0001 (1).pkg"}),
        snap({.nome = "IMG_0001.pkg"}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    EXPECT_EQ(item(grupos, "IMG_0001 (1).pkg").selos(),
        (std::vector<Selo> {Selo::nuncaAberto(), Selo::nomeOpaco(), Selo::sufixoDeCopia(),
            Selo::instaladorNuncaUsado(), Selo::pareceRelacionado(1)}));
}

TEST(TriageEngine, TheFirstAddressThatYieldsAnOriginWins)
{
    const std::string semHost = "about:blank";
    const std::string github = "https://github.com/exemplo/projeto/releases/download/v1/app.zip";
    const std::string outro = "https://example.org/app.zip";
    ASSERT_EQ(OrigemParser::analisarUma(semHost), std::nullopt);

    const std::vector<FileSnapshot> entrada {
        snap({.nome = "app.zip", .origens = {"  ", semHost, github, outro}})};
    const auto grupos = TriageEngine({}).triar(entrada);
    ASSERT_EQ(grupos.size(), 1U);
    EXPECT_EQ(grupos[0].origem(), *OrigemParser::analisarUma(github));
    EXPECT_EQ(grupos[0].itens()[0].origem(), *OrigemParser::analisarUma(github));
    EXPECT_EQ(grupos[0].id(), "github");
}

TEST(TriageEngine, NoUsableAddressMeansNoOrigin)
{
    const std::vector<FileSnapshot> entrada {snap({.nome = "x.txt", .origens = {"about:blank", ""}})};
    const auto grupos = TriageEngine({}).triar(entrada);
    ASSERT_EQ(grupos.size(), 1U);
    EXPECT_EQ(grupos[0].itens()[0].origem(), Origem::semOrigem());
}

TEST(TriageEngine, AGroupTakesTheOriginOfItsFirstItemInScanOrder)
{
    // One person's SharePoint files share a key but each keeps its own address.
    const std::string raiz = "https://contoso.sharepoint.com/personal/ana_souza_contoso_com/Documents/";
    const std::vector<FileSnapshot> entrada {
        snap({.nome = "a.docx", .origens = {raiz + "a.docx"}, .baixadoEm = kBase}),
        snap({.nome = "b.docx", .origens = {raiz + "b.docx"}, .baixadoEm = kBase + 60.0}),
    };
    const auto grupos = TriageEngine({}).triar(entrada);
    ASSERT_EQ(grupos.size(), 1U);
    EXPECT_EQ(nomes(grupos[0]), (std::vector<std::string> {"b.docx", "a.docx"}));
    EXPECT_EQ(grupos[0].origem(), *OrigemParser::analisarUma(raiz + "a.docx"));
    EXPECT_NE(grupos[0].origem(), grupos[0].itens()[0].origem());
}

TEST(TriageEngine, TheSameInputGivesTheSameGroups)
{
    std::vector<FileSnapshot> entrada;
    for (int i = 0; i < 40; ++i) {
        entrada.push_back(snap({.nome = "f" + std::to_string(i) + ".txt",
            .origens = {"https://h" + std::to_string(i % 7) + ".example.com/"},
            .baixadoEm = kBase + (i % 5) * 10.0}));
    }
    const TriageEngine motor({});
    const auto primeira = motor.triar(entrada);
    const auto segunda = motor.triar(entrada);
    ASSERT_EQ(chaves(primeira), chaves(segunda));
    for (std::size_t g = 0; g < primeira.size(); ++g) {
        EXPECT_EQ(primeira[g].itens(), segunda[g].itens());
    }
    // 40 files over 7 hosts: 6, 6, 6, 6, 6, 5, 5, first appearance breaking the ties.
    EXPECT_EQ(chaves(primeira).front(), chaveDe("https://h0.example.com/"));
    EXPECT_EQ(chaves(primeira).back(), chaveDe("https://h6.example.com/"));
}

TEST(ItemTriado, IdentityAndEquality)
{
    const FileSnapshot s = snap({.nome = "a.txt"});
    const ItemTriado item(s, Origem::semOrigem(), {Selo::nuncaAberto()});
    EXPECT_EQ(item.id(), "/home/ana/Downloads/a.txt");
    EXPECT_EQ(item.nome(), "a.txt");
    EXPECT_EQ(item, ItemTriado(s, Origem::semOrigem(), {Selo::nuncaAberto()}));
    EXPECT_NE(item, ItemTriado(s, Origem::semOrigem(), {}));
    EXPECT_NE(item, ItemTriado(s, Origem("github", "GitHub", "github.com"), {Selo::nuncaAberto()}));
    EXPECT_NE(
        item, ItemTriado(snap({.nome = "a.txt", .tamanho = 2}), Origem::semOrigem(), {Selo::nuncaAberto()}));
    // Badge order matters.
    const ItemTriado ab(s, Origem::semOrigem(), {Selo::nomeOpaco(), Selo::sufixoDeCopia()});
    const ItemTriado ba(s, Origem::semOrigem(), {Selo::sufixoDeCopia(), Selo::nomeOpaco()});
    EXPECT_NE(ab, ba);
}

TEST(GrupoOrigem, CountsAreTakenFromTheItems)
{
    const std::vector<ItemTriado> itens {
        ItemTriado(snap({.nome = "a", .baixadoEm = kBase, .ultimoUsoEm = kBase + 89.0, .tamanho = 10}),
            Origem::semOrigem(), {Selo::nuncaAberto(), Selo::nomeOpaco()}),
        ItemTriado(snap({.nome = "b", .baixadoEm = kBase, .ultimoUsoEm = kBase + 90.0, .tamanho = 20}),
            Origem::semOrigem(), {Selo::abertoEm(kBase + 90.0)}),
        ItemTriado(snap({.nome = "c", .tamanho = 30}), Origem::semOrigem(),
            {Selo::nuncaAberto(), Selo::nomeOpaco()}),
    };
    const GrupoOrigem grupo(Origem::semOrigem(), itens);
    EXPECT_EQ(grupo.id(), kSemOrigem);
    EXPECT_EQ(grupo.total(), 3);
    EXPECT_EQ(grupo.bytes(), 60);
    EXPECT_EQ(grupo.nuncaAbertos(), 2);
    EXPECT_EQ(grupo.nomesOpacos(), 2);
}

TEST(GrupoOrigem, EmptyGroupSumsToZero)
{
    const GrupoOrigem vazio(Origem::semOrigem(), {});
    EXPECT_EQ(vazio.bytes(), 0);
    EXPECT_EQ(vazio.total(), 0);
    EXPECT_EQ(vazio.nuncaAbertos(), 0);
}

TEST(GrupoOrigem, LargestSizesSumWithoutOverflow)
{
    constexpr std::int64_t kMaximo = std::numeric_limits<std::int64_t>::max();
    const GrupoOrigem grupo(Origem::semOrigem(),
        {ItemTriado(snap({.nome = "a", .tamanho = kMaximo - 1}), Origem::semOrigem(), {}),
            ItemTriado(snap({.nome = "b", .tamanho = 1}), Origem::semOrigem(), {})});
    EXPECT_EQ(grupo.bytes(), kMaximo);
}

TEST(GrupoOrigemDeathTest, OverflowingSumStopsTheProgram)
{
    constexpr std::int64_t kMaximo = std::numeric_limits<std::int64_t>::max();
    const GrupoOrigem grupo(Origem::semOrigem(),
        {ItemTriado(snap({.nome = "a", .tamanho = kMaximo}), Origem::semOrigem(), {}),
            ItemTriado(snap({.nome = "b", .tamanho = 1}), Origem::semOrigem(), {})});
    EXPECT_DEATH((void)grupo.bytes(), "overflows");
}

} // namespace
} // namespace tarrafa
