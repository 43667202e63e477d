// SPDX-License-Identifier: GPL-3.0-or-later
// A file opened through Tarrafa, noted in the desktop's list of recently used files.
#include "Apoio.hpp"

#include "TarrafaCore/ListaDeRecentes.hpp"
#include "TarrafaCore/UsosRecentes.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include <sys/stat.h>

namespace tarrafa {
namespace {

using teste::CasaFalsa;

std::string conteudoDe(const std::string& caminho)
{
    std::ifstream entrada(caminho, std::ios::binary);
    std::ostringstream bytes;
    bytes << entrada.rdbuf();
    return bytes.str();
}

// Used a little while ago, by the time the assertion runs.
bool usadoAgora(const std::optional<Date>& uso)
{
    if (!uso) {
        return false;
    }
    const double atraso = Date::agora().segundosDesde1970() - uso->segundosDesde1970();
    return atraso >= -1.0 && atraso < 60.0;
}

const std::string kOutroUso =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<xbel version=\"1.0\"\n"
    "      xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\"\n"
    "      xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\"\n>\n"
    "  <bookmark href=\"file:///home/u/Documentos/contrato.odt\" added=\"2024-03-01T10:20:30Z\" "
    "modified=\"2024-03-01T10:20:30Z\" visited=\"2024-03-01T10:20:30Z\">\n"
    "    <info>\n      <metadata owner=\"http://freedesktop.org\">\n"
    "        <mime:mime-type type=\"application/vnd.oasis.opendocument.text\"/>\n"
    "        <bookmark:applications>\n"
    "          <bookmark:application name=\"LibreOffice\" exec=\"&apos;soffice %u&apos;\" "
    "modified=\"2024-03-01T10:20:30Z\" count=\"2\"/>\n"
    "        </bookmark:applications>\n      </metadata>\n    </info>\n  </bookmark>\n"
    "  <bookmark href=\"file:///home/u/Downloads/Relat%C3%B3rio%20final%20%231.pdf\" added=\"2024-03-02T10:20:30Z\" "
    "modified=\"2024-03-02T10:20:30Z\" visited=\"2024-03-02T10:20:30Z\">\n"
    "    <info>\n      <metadata owner=\"http://freedesktop.org\">\n"
    "        <mime:mime-type type=\"application/pdf\"/>\n"
    "        <bookmark:applications>\n"
    "          <bookmark:application name=\"Firefox\" exec=\"&apos;firefox %u&apos;\" "
    "modified=\"2024-03-02T10:20:30Z\" count=\"1\"/>\n"
    "        </bookmark:applications>\n      </metadata>\n    </info>\n  </bookmark>\n"
    "</xbel>\n";

TEST(UsosRecentes, AFileOpenedHereReadsBackAsUsedNowInAListThatDidNotExist)
{
    const CasaFalsa casa;
    const std::string lista = casa / ".local/share/recently-used.xbel";
    const std::string arquivo = "/home/u/Downloads/boleto (1).pdf";
    ASSERT_FALSE(ListaDeRecentes::Indice::carregarDe(lista).ultimoUso(arquivo));

    EXPECT_EQ(UsosRecentes::anotar(arquivo), UsosRecentes::Resultado::anotado);

    EXPECT_TRUE(usadoAgora(ListaDeRecentes::Indice::carregarDe(lista).ultimoUso(arquivo)));
    struct stat info { };
    ASSERT_EQ(::stat(lista.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U) << "the list says what the person opened: theirs alone";
    // Programs that read the list skip an entry without a type.
    EXPECT_NE(conteudoDe(lista).find("<mime:mime-type type=\""), std::string::npos);
}

TEST(UsosRecentes, WhatTheListHeldStaysAndABrowsersArrivalBecomesAUse)
{
    const CasaFalsa casa;
    const std::string lista = casa / ".local/share/recently-used.xbel";
    teste::escrever(lista, kOutroUso);
    const std::string arquivo = "/home/u/Downloads/Relatório final #1.pdf";
    // The browser listed it on arrival: that is not a use.
    ASSERT_FALSE(ListaDeRecentes::Indice::carregarDe(lista).ultimoUso(arquivo));

    ASSERT_EQ(UsosRecentes::anotar(arquivo, lista), UsosRecentes::Resultado::anotado);

    const ListaDeRecentes::Indice indice = ListaDeRecentes::Indice::carregarDe(lista);
    EXPECT_TRUE(usadoAgora(indice.ultimoUso(arquivo)));
    const std::optional<Date> contrato = indice.ultimoUso("/home/u/Documentos/contrato.odt");
    ASSERT_TRUE(contrato);
    EXPECT_DOUBLE_EQ(contrato->segundosDesde1970(), 1709288430.0);
    const std::string depois = conteudoDe(lista);
    EXPECT_NE(depois.find("Firefox"), std::string::npos);
    EXPECT_NE(depois.find("LibreOffice"), std::string::npos);
    EXPECT_NE(depois.find("Tarrafa"), std::string::npos);
}

TEST(UsosRecentes, OpeningTwiceKeepsOneEntryWithTheLatestDate)
{
    const CasaFalsa casa;
    const std::string lista = casa / ".local/share/recently-used.xbel";
    const std::string arquivo = "/home/u/Downloads/nota.txt";
    ASSERT_EQ(UsosRecentes::anotar(arquivo, lista), UsosRecentes::Resultado::anotado);
    ASSERT_EQ(UsosRecentes::anotar(arquivo, lista), UsosRecentes::Resultado::anotado);
    const std::string depois = conteudoDe(lista);
    const auto primeira = depois.find("file:///home/u/Downloads/nota.txt");
    ASSERT_NE(primeira, std::string::npos);
    EXPECT_EQ(depois.find("file:///home/u/Downloads/nota.txt", primeira + 1), std::string::npos);
    EXPECT_NE(depois.find("count=\"2\""), std::string::npos);
}

TEST(UsosRecentes, AListThatCannotBeReadIsLeftByteForByte)
{
    const CasaFalsa casa;
    const std::string lista = casa / ".local/share/recently-used.xbel";
    const std::string quebrada = kOutroUso.substr(0, kOutroUso.size() / 2);
    teste::escrever(lista, quebrada);

    EXPECT_EQ(UsosRecentes::anotar("/home/u/Downloads/a.pdf", lista), UsosRecentes::Resultado::listaIlegivel);
    EXPECT_EQ(conteudoDe(lista), quebrada);
}

TEST(UsosRecentes, ALinkInTheListsPlaceMeansNoHistoryAndIsKept)
{
    const CasaFalsa casa;
    const std::string lista = casa / ".local/share/recently-used.xbel";
    const std::string alvo = casa / "outro.txt";
    teste::escrever(alvo, "nada a ver\n");
    ASSERT_EQ(::symlink(alvo.c_str(), lista.c_str()), 0);

    EXPECT_EQ(UsosRecentes::anotar("/home/u/Downloads/a.pdf", lista), UsosRecentes::Resultado::historicoDesligado);
    struct stat info { };
    ASSERT_EQ(::lstat(lista.c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_EQ(conteudoDe(alvo), "nada a ver\n");
}

TEST(UsosRecentes, AFifoInTheListsPlaceDoesNotHoldTheCallerUp)
{
    const CasaFalsa casa;
    const std::string lista = casa / ".local/share/recently-used.xbel";
    ASSERT_EQ(::mkfifo(lista.c_str(), 0600), 0);
    EXPECT_EQ(UsosRecentes::anotar("/home/u/Downloads/a.pdf", lista), UsosRecentes::Resultado::historicoDesligado);
}

TEST(UsosRecentes, AListThatCannotBeWrittenChangesNothingAndSaysSo)
{
    const CasaFalsa casa;
    // A plain file where the list's folder should be: not even root can write there.
    const std::string estorvo = casa / "estorvo";
    teste::escrever(estorvo, "x");
    EXPECT_EQ(UsosRecentes::anotar("/home/u/Downloads/a.pdf", estorvo + "/recently-used.xbel"),
        UsosRecentes::Resultado::falhaAoGravar);
    EXPECT_EQ(conteudoDe(estorvo), "x");
}

} // namespace
} // namespace tarrafa
