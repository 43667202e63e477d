// SPDX-License-Identifier: GPL-3.0-or-later
// The recently-used list as the index of last uses.
#include "Apoio.hpp"

#include "TarrafaCore/ListaDeRecentes.hpp"
#include "TarrafaCore/Xattr.hpp"

#include <gtest/gtest.h>

#include <chrono>

#include <sys/stat.h>

namespace tarrafa {
namespace {

using teste::CasaFalsa;

struct Aplicativo {
    std::string nome;
    std::string modificado;
};

std::string bookmark(const std::string& href, const std::vector<Aplicativo>& aplicativos)
{
    std::string xml = "  <bookmark href=\"" + href
        + "\" added=\"2024-01-01T00:00:00.000000Z\" modified=\"2024-01-01T00:00:00.000000Z\" "
          "visited=\"2024-01-01T00:00:00.000000Z\">\n"
          "    <info>\n      <metadata owner=\"http://freedesktop.org\">\n"
          "        <mime:mime-type type=\"application/pdf\"/>\n        <bookmark:applications>\n";
    for (const Aplicativo& a : aplicativos) {
        xml += "          <bookmark:application name=\"" + a.nome + "\" exec=\"&apos;" + a.nome
            + " %u&apos;\" modified=\"" + a.modificado + "\" count=\"1\"/>\n";
    }
    xml += "        </bookmark:applications>\n      </metadata>\n    </info>\n  </bookmark>\n";
    return xml;
}

std::string xbel(const std::string& bookmarks)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<xbel version=\"1.0\"\n"
           "      xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\"\n"
           "      xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\"\n>\n"
        + bookmarks + "</xbel>";
}

std::optional<double> segundos(const std::optional<Date>& data)
{
    return data ? std::optional(data->segundosDesde1970()) : std::nullopt;
}

constexpr double k20240301 = 1709288430.0; // 2024-03-01T10:20:30Z

TEST(IndiceDeUso, ABookmarkUsedOnlyByBrowsersGivesNoDate)
{
    const auto indice = ListaDeRecentes::Indice::deXbel(xbel(bookmark("file:///home/u/Downloads/a.pdf",
        {{"Firefox", "2024-03-01T10:20:30Z"}, {"Google Chrome", "2024-03-02T10:20:30Z"},
            {"chromium-browser", "2024-03-03T10:20:30Z"}, {"Web", "2024-03-04T00:00:00Z"}})));
    EXPECT_FALSE(indice.ultimoUso("/home/u/Downloads/a.pdf"));
    EXPECT_EQ(indice.tamanho(), 0u);
}

TEST(IndiceDeUso, EveryBrowserOfTheListIsLeftOutWhateverItsCase)
{
    for (const std::string navegador : {"firefox", "FIREFOX-ESR", "Mozilla Firefox", "Chromium",
             "chromium-browser", "Google Chrome", "google-chrome", "Epiphany", "web", "Brave",
             "brave-browser", "Vivaldi", "Microsoft Edge", "microsoft-edge", "Opera"}) {
        const auto indice = ListaDeRecentes::Indice::deXbel(
            xbel(bookmark("file:///tmp/a.pdf", {{navegador, "2024-03-01T10:20:30Z"}})));
        EXPECT_FALSE(indice.ultimoUso("/tmp/a.pdf")) << navegador;
    }
    // A name that merely contains a browser's is an application like any other.
    const auto indice = ListaDeRecentes::Indice::deXbel(
        xbel(bookmark("file:///tmp/a.pdf", {{"Firefox Profile Manager", "2024-03-01T10:20:30Z"}})));
    EXPECT_EQ(segundos(indice.ultimoUso("/tmp/a.pdf")), k20240301);
}

TEST(IndiceDeUso, TheLatestUseByAnApplicationThatIsNotABrowserWins)
{
    const auto indice = ListaDeRecentes::Indice::deXbel(xbel(bookmark("file:///home/u/Downloads/a.pdf",
        {{"Firefox", "2025-01-01T00:00:00Z"}, {"Evince", "2024-02-01T08:00:00Z"},
            {"LibreOffice", "2024-03-01T10:20:30Z"}, {"Okular", "2023-12-31T23:59:59.999999Z"}})));
    EXPECT_EQ(segundos(indice.ultimoUso("/home/u/Downloads/a.pdf")), k20240301);
}

TEST(IndiceDeUso, FractionalSecondsAreKept)
{
    const auto indice = ListaDeRecentes::Indice::deXbel(
        xbel(bookmark("file:///tmp/a.pdf", {{"Evince", "2024-03-01T10:20:30.123456Z"}})));
    const std::optional<double> s = segundos(indice.ultimoUso("/tmp/a.pdf"));
    ASSERT_TRUE(s);
    EXPECT_NEAR(*s, k20240301 + 0.123456, 1e-6);
}

TEST(IndiceDeUso, AnApplicationWithAMalformedDateIsPassedOver)
{
    const auto indice = ListaDeRecentes::Indice::deXbel(xbel(bookmark("file:///tmp/a.pdf",
        {{"Evince", "2024-03-01T10:20:30Z"}, {"Okular", "amanhã"}, {"Gedit", "2024-13-01T00:00:00Z"}})));
    EXPECT_EQ(segundos(indice.ultimoUso("/tmp/a.pdf")), k20240301);
}

TEST(IndiceDeUso, HrefsArePercentDecodedAndComparedByteForByte)
{
    const auto indice
        = ListaDeRecentes::Indice::deXbel(xbel(bookmark("file:///home/u/Downloads/Relat%C3%B3rio%20final%20(1).pdf",
                                             {{"Evince", "2024-03-01T10:20:30Z"}})
            + bookmark("file:///home/u/Downloads/a+b%25c.txt", {{"gedit", "2024-03-01T10:20:30Z"}})
            + bookmark("file:///home/u/Downloads/latin%F3.txt", {{"gedit", "2024-03-01T10:20:30Z"}})
            + bookmark("file://localhost/home/u/Downloads/local.txt", {{"gedit", "2024-03-01T10:20:30Z"}})));
    EXPECT_EQ(segundos(indice.ultimoUso("/home/u/Downloads/Relatório final (1).pdf")), k20240301);
    EXPECT_EQ(segundos(indice.ultimoUso("/home/u/Downloads/a+b%c.txt")), k20240301);
    EXPECT_EQ(segundos(indice.ultimoUso("/home/u/Downloads/latin\xF3.txt")), k20240301);
    EXPECT_EQ(segundos(indice.ultimoUso("/home/u/Downloads/local.txt")), k20240301);
    // Byte-exact: the decomposed spelling of the same name, or the encoded form, is another path.
    EXPECT_FALSE(indice.ultimoUso("/home/u/Downloads/Relato\xCC\x81rio final (1).pdf"));
    EXPECT_FALSE(indice.ultimoUso("/home/u/Downloads/Relat%C3%B3rio%20final%20(1).pdf"));
    EXPECT_FALSE(indice.ultimoUso("/home/u/Downloads/relatório final (1).pdf"));
}

TEST(IndiceDeUso, BookmarksThatAreNotLocalFilesOrHaveNoApplicationsGiveNothing)
{
    const auto indice = ListaDeRecentes::Indice::deXbel(
        xbel(bookmark("https://example.com/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}})
            + bookmark("file://servidor/compartilhado/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}})
            + bookmark("file:///tmp/nul%00.pdf", {{"Evince", "2024-03-01T10:20:30Z"}})
            + bookmark("file:///tmp/sem-aplicativos.pdf", {})
            + "  <bookmark added=\"2024-01-01T00:00:00Z\"/>\n"));
    EXPECT_EQ(indice.tamanho(), 0u);
    EXPECT_FALSE(indice.ultimoUso("/tmp/sem-aplicativos.pdf"));
    EXPECT_FALSE(indice.ultimoUso("/tmp/nul"));
}

TEST(IndiceDeUso, AMalformedListGivesAnEmptyIndex)
{
    const std::string valido = bookmark("file:///tmp/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}});
    ASSERT_EQ(ListaDeRecentes::Indice::deXbel(xbel(valido)).tamanho(), 1u);
    // Broken after a valid bookmark: nothing is kept, not even what came before the fault.
    EXPECT_EQ(ListaDeRecentes::Indice::deXbel(xbel(valido + "<bookmark href=\"file:///tmp/b\">")).tamanho(), 0u);
    EXPECT_EQ(ListaDeRecentes::Indice::deXbel(xbel(valido).substr(0, xbel(valido).size() - 3)).tamanho(), 0u);
    EXPECT_EQ(ListaDeRecentes::Indice::deXbel("").tamanho(), 0u);
    EXPECT_EQ(ListaDeRecentes::Indice::deXbel("not xml at all").tamanho(), 0u);
    EXPECT_EQ(ListaDeRecentes::Indice::deXbel("<?xml version=\"1.0\"?><html>" + valido + "</html>").tamanho(), 0u);
    EXPECT_EQ(ListaDeRecentes::Indice::deXbel("<?xml version=\"1.0\"?><!DOCTYPE xbel [<!ENTITY a \"b\">]>"
                                        "<xbel>"
                  + valido + "</xbel>")
                  .tamanho(),
        0u);
}

TEST(IndiceDeUso, OnlyTheFileAtThatExactPathHasADate)
{
    const auto indice = ListaDeRecentes::Indice::deXbel(
        xbel(bookmark("file:///tmp/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}})));
    EXPECT_EQ(segundos(indice.ultimoUso("/tmp/a.pdf")), k20240301);
    EXPECT_FALSE(indice.ultimoUso("/tmp/b.pdf"));
    EXPECT_FALSE(indice.ultimoUso("/tmp/a.pdf/"));
}

TEST(IndiceDeUso, LoadsTheListOfTheFakeHome)
{
    const CasaFalsa casa;
    EXPECT_EQ(ListaDeRecentes::Indice::carregar().tamanho(), 0u); // no list yet

    teste::escrever(casa / ".local/share/recently-used.xbel",
        xbel(bookmark("file://" + (casa / "Downloads/a%20b.pdf"), {{"Evince", "2024-03-01T10:20:30Z"}})));
    const ListaDeRecentes::Indice indice = ListaDeRecentes::Indice::carregar();
    EXPECT_EQ(indice.tamanho(), 1u);
    EXPECT_EQ(segundos(indice.ultimoUso(casa / "Downloads/a b.pdf")), k20240301);
}

TEST(IndiceDeUso, TheDataFolderDefaultsToTheHome)
{
    const CasaFalsa casa;
    const teste::VariavelTemporaria semDados("XDG_DATA_HOME", std::nullopt);
    teste::escrever(casa / ".local/share/recently-used.xbel",
        xbel(bookmark("file:///tmp/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}})));
    EXPECT_EQ(ListaDeRecentes::Indice::carregar().tamanho(), 1u);

    const teste::VariavelTemporaria outrosDados("XDG_DATA_HOME", casa / "dados");
    EXPECT_EQ(ListaDeRecentes::Indice::carregar().tamanho(), 0u);
}

TEST(IndiceDeUso, AMalformedFileGivesAnEmptyIndex)
{
    const CasaFalsa casa;
    teste::escrever(casa / ".local/share/recently-used.xbel",
        xbel(bookmark("file:///tmp/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}})) + "<lixo");
    EXPECT_EQ(ListaDeRecentes::Indice::carregar().tamanho(), 0u);
}

TEST(IndiceDeUso, ALongListIsReadAcrossChunks)
{
    const CasaFalsa casa;
    std::string bookmarks;
    for (int i = 0; i < 400; ++i) {
        bookmarks += bookmark("file:///tmp/arquivo%20" + std::to_string(i) + ".pdf",
            {{"Firefox", "2025-01-01T00:00:00Z"}, {"Evince", "2024-03-01T10:20:30Z"}});
    }
    const std::string conteudo = xbel(bookmarks);
    ASSERT_GT(conteudo.size(), std::size_t {3 * 64 * 1024});
    const std::string arquivo = casa / ".local/share/recently-used.xbel";
    teste::escrever(arquivo, conteudo);
    const ListaDeRecentes::Indice indice = ListaDeRecentes::Indice::carregarDe(arquivo);
    EXPECT_EQ(indice.tamanho(), 400u);
    for (const int i : {0, 150, 399}) {
        EXPECT_EQ(segundos(indice.ultimoUso("/tmp/arquivo " + std::to_string(i) + ".pdf")), k20240301) << i;
    }
}

TEST(IndiceDeUso, OneHugeAttributeIsReadInLinearTime)
{
    const teste::CasaFalsa casa;
    // 40 MB in one attribute: fed to expat piece by piece, each piece made it parse the
    // attribute again from its start.
    const std::string enorme = std::string(40'000'000, 'x');
    teste::escrever(casa / ".local/share/recently-used.xbel",
        xbel("<bookmark href=\"file:///home/u/Downloads/" + enorme + "\" added=\"2024-03-01T10:20:30Z\"/>"
            + bookmark("file:///home/u/Downloads/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}})));
    const auto inicio = std::chrono::steady_clock::now();
    const auto indice = ListaDeRecentes::Indice::carregar();
    const double segundos = std::chrono::duration<double>(std::chrono::steady_clock::now() - inicio).count();
    EXPECT_LT(segundos, 1.0);
    RecordProperty("segundos", std::to_string(segundos));
    EXPECT_EQ(indice.ultimoUso("/home/u/Downloads/a.pdf"), Date::desde1970(k20240301));
}

TEST(IndiceDeUso, ADocumentNestedBeyondAnyListIsGivenUpEarly)
{
    std::string aninhado;
    for (int i = 0; i < 200'000; ++i) {
        aninhado += "<b>";
    }
    const auto indice = ListaDeRecentes::Indice::deXbel(
        xbel(bookmark("file:///home/u/Downloads/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}}) + aninhado));
    EXPECT_EQ(indice.tamanho(), 0U) << "a document that is not a list gives no dates";
    const auto raso = ListaDeRecentes::Indice::deXbel(
        xbel(bookmark("file:///home/u/Downloads/a.pdf", {{"Evince", "2024-03-01T10:20:30Z"}})));
    EXPECT_EQ(raso.tamanho(), 1U);
}

TEST(IndiceDeUso, WhatIsNotARegularFileIsNotRead)
{
    const CasaFalsa casa;
    const std::string arquivo = casa / ".local/share/recently-used.xbel";
    // A FIFO with no writer would block a plain read for ever.
    ASSERT_EQ(::mkfifo(arquivo.c_str(), 0600), 0);
    EXPECT_EQ(ListaDeRecentes::Indice::carregar().tamanho(), 0u);
    EXPECT_EQ(ListaDeRecentes::Indice::carregarDe(casa.caminho()).tamanho(), 0u);
}

TEST(IndiceDeUso, TheLastUseOfAFileWithoutAttributesComesFromTheList)
{
    const CasaFalsa casa;
    const std::string arquivo = casa / "Downloads/relatório.pdf";
    teste::escrever(arquivo, "x");
    teste::escrever(casa / ".local/share/recently-used.xbel",
        xbel(bookmark(
            "file://" + (casa / "Downloads/relat%C3%B3rio.pdf"), {{"Evince", "2024-03-01T10:20:30Z"}})));
    const ListaDeRecentes::Indice indice = ListaDeRecentes::Indice::carregar();
    EXPECT_EQ(segundos(Xattr::ultimoUso(arquivo, Xattr::Nomes::listar(arquivo), indice)), k20240301);
}

} // namespace
} // namespace tarrafa
