// SPDX-License-Identifier: GPL-3.0-or-later
// The attribute readers over real files with real extended attributes.
#include "Apoio.hpp"
#include "PlistDeTeste.hpp"

#include "TarrafaCore/Xattr.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

namespace tarrafa {
namespace {

using teste::Bytes;
using teste::bytesDe;
using teste::definirAtributo;
using teste::PastaTemporaria;
using teste::PlistBinario;
using teste::plistXml;

const std::string kQuarentena = "user.com.apple.quarantine";
const std::string kUltimoUso = "user.com.apple.lastuseddate#PS";
const std::string kOrigens = "user.com.apple.metadata:kMDItemWhereFroms";
const std::string kBaixadoEm = "user.com.apple.metadata:kMDItemDownloadedDate";
const std::string kScreenshot = "user.com.apple.metadata:kMDItemIsScreenCapture";

constexpr double k2023 = 1701326592.0; // 2023-11-30 06:43:12 UTC

// A fresh file in a folder that takes "user." attributes; the test is skipped, saying so,
// where the file system refuses them.
class XattrTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!teste::aceitaAtributos(pasta_.caminho())) {
            GTEST_SKIP() << "the file system under " << pasta_.caminho() << " takes no user. attributes";
        }
        arquivo_ = pasta_ / "baixado.pdf";
        teste::escrever(arquivo_, "conteúdo");
    }

    [[nodiscard]] Xattr::Nomes nomes() const { return Xattr::Nomes::listar(arquivo_); }

    // An index in which an editor last used this file on 2024-03-01T10:20:30Z.
    [[nodiscard]] ListaDeRecentes::Indice indice() const
    {
        return ListaDeRecentes::Indice::deXbel(
            "<?xml version=\"1.0\"?>\n<xbel version=\"1.0\" "
            "xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\">\n"
            "<bookmark href=\"file://"
            + arquivo_
            + "\"><info><metadata owner=\"http://freedesktop.org\"><bookmark:applications>"
              "<bookmark:application name=\"Evince\" exec=\"evince %u\" modified=\"2024-03-01T10:20:30Z\" "
              "count=\"1\"/></bookmark:applications></metadata></info></bookmark>\n</xbel>\n");
    }

    PastaTemporaria pasta_;
    std::string arquivo_;
};

const Date k2024 = Date::desde1970(1709288430.0); // 2024-03-01T10:20:30Z, the date in indice()

Bytes ultimoUsoDe(std::initializer_list<unsigned char> bytes)
{
    return Bytes(bytes);
}

// ---- the documented edge cases ----

TEST_F(XattrTest, AZeroLengthAttributeIsAbsentEverywhere)
{
    for (const std::string& nome : {kQuarentena, kUltimoUso, kOrigens, kBaixadoEm, kScreenshot}) {
        definirAtributo(arquivo_, nome, std::string_view());
    }
    const Xattr::Nomes n = nomes();
    // Listed, so absence comes from the empty value, not from a missing name.
    EXPECT_TRUE(n.tem(kQuarentena));
    EXPECT_TRUE(n.tem(kScreenshot));
    for (const std::string_view nome :
        {Xattr::kQuarentena, Xattr::kUltimoUso, Xattr::kOrigens, Xattr::kBaixadoEm, Xattr::kScreenshot}) {
        EXPECT_FALSE(Xattr::bruto(arquivo_, nome, n)) << nome;
        EXPECT_FALSE(Xattr::bruto(arquivo_, nome)) << nome;
        EXPECT_FALSE(Xattr::data(arquivo_, nome, n)) << nome;
        EXPECT_TRUE(Xattr::textos(arquivo_, nome, n).empty()) << nome;
    }
    EXPECT_FALSE(Xattr::quarentena(arquivo_, n));
    EXPECT_TRUE(Xattr::origens(arquivo_, n).empty());
    EXPECT_FALSE(Xattr::ultimoUso(arquivo_, n, ListaDeRecentes::Indice()));
}

TEST_F(XattrTest, QuarantineGivesTheThirdField)
{
    definirAtributo(arquivo_, kQuarentena, "0083;6550f1a2;Agente;ABC");
    EXPECT_EQ(Xattr::quarentena(arquivo_, nomes()), "Agente");
}

TEST_F(XattrTest, QuarantineWithTwoFieldsIsAbsent)
{
    definirAtributo(arquivo_, kQuarentena, "0083;6550f1a2");
    EXPECT_FALSE(Xattr::quarentena(arquivo_, nomes()));
}

TEST_F(XattrTest, QuarantineDropsEmptyFieldsBeforeCounting)
{
    definirAtributo(arquivo_, kQuarentena, "0081;6550f1a2;;9D2C");
    EXPECT_EQ(Xattr::quarentena(arquivo_, nomes()), "9D2C");
}

TEST_F(XattrTest, LastUseReadsEightLittleEndianBytes)
{
    definirAtributo(arquivo_, kUltimoUso,
        ultimoUsoDe({0x00, 0x2F, 0x68, 0x65, 0, 0, 0, 0, 0x40, 0x42, 0x0F, 0, 0, 0, 0, 0}));
    // The index would say otherwise: the attribute wins.
    EXPECT_EQ(Xattr::ultimoUso(arquivo_, nomes(), indice()), Date::desde1970(k2023));
}

TEST_F(XattrTest, LastUseOfSevenBytesFallsBackToTheIndex)
{
    definirAtributo(arquivo_, kUltimoUso, ultimoUsoDe({0x00, 0x2F, 0x68, 0x65, 0, 0, 0}));
    EXPECT_EQ(Xattr::ultimoUso(arquivo_, nomes(), indice()), k2024);
    EXPECT_FALSE(Xattr::ultimoUso(arquivo_, nomes(), ListaDeRecentes::Indice()));
}

TEST_F(XattrTest, LastUseOfZeroFallsBackToTheIndex)
{
    definirAtributo(
        arquivo_, kUltimoUso, ultimoUsoDe({0, 0, 0, 0, 0, 0, 0, 0, 0x12, 0x34, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Xattr::ultimoUso(arquivo_, nomes(), indice()), k2024);
    EXPECT_FALSE(Xattr::ultimoUso(arquivo_, nomes(), ListaDeRecentes::Indice()));
}

TEST_F(XattrTest, LastUseWithoutTheAttributeComesFromTheIndex)
{
    EXPECT_EQ(Xattr::ultimoUso(arquivo_, nomes(), indice()), k2024);
}

TEST_F(XattrTest, DownloadedDateArrayOfTwoDatesGivesTheFirst)
{
    PlistBinario p;
    const std::size_t primeira = p.data(k2023 - Date::kDe1970A2001);
    const std::size_t segunda = p.data(0);
    definirAtributo(arquivo_, kBaixadoEm, p.montar(p.lista({primeira, segunda})));
    EXPECT_EQ(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()), Date::desde1970(k2023));
}

TEST_F(XattrTest, DownloadedDateNumberZeroIsTheReferenceDate)
{
    PlistBinario p;
    definirAtributo(arquivo_, kBaixadoEm, p.montar(p.inteiro(0)));
    const std::optional<Date> data = Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes());
    ASSERT_TRUE(data);
    EXPECT_EQ(data->segundosDesde1970(), 978307200.0); // 2001-01-01 00:00:00 UTC
}

TEST_F(XattrTest, DownloadedDateStringIsAbsent)
{
    PlistBinario p;
    definirAtributo(arquivo_, kBaixadoEm, p.montar(p.ascii("2023-11-30T06:43:12Z")));
    EXPECT_FALSE(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()));
}

TEST_F(XattrTest, WhereFromsSingleStringGivesOneElement)
{
    PlistBinario p;
    definirAtributo(arquivo_, kOrigens, p.montar(p.ascii("https://www.example.com/relatorio.pdf")));
    EXPECT_EQ(Xattr::textos(arquivo_, Xattr::kOrigens, nomes()),
        std::vector<std::string> {"https://www.example.com/relatorio.pdf"});
}

TEST_F(XattrTest, WhereFromsArrayOfStringAndNumberIsEmpty)
{
    PlistBinario p;
    const std::size_t s = p.ascii("https://www.example.com/relatorio.pdf");
    const std::size_t n = p.inteiro(1);
    definirAtributo(arquivo_, kOrigens, p.montar(p.lista({s, n})));
    EXPECT_TRUE(Xattr::textos(arquivo_, Xattr::kOrigens, nomes()).empty());
}

TEST_F(XattrTest, ScreenCaptureStoringFalseCountsAsPresent)
{
    PlistBinario p;
    definirAtributo(arquivo_, kScreenshot, p.montar(p.booleano(false)));
    EXPECT_TRUE(Xattr::bruto(arquivo_, Xattr::kScreenshot, nomes()).has_value());
}

// ---- decoding details over real files ----

TEST_F(XattrTest, DownloadedDateOtherShapes)
{
    PlistBinario p;
    definirAtributo(arquivo_, kBaixadoEm, p.montar(p.data(722932992.0)));
    EXPECT_EQ(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()), Date::desde2001(722932992.0));

    PlistBinario real;
    definirAtributo(arquivo_, kBaixadoEm, real.montar(real.real(-86400.5)));
    EXPECT_EQ(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()), Date::desde2001(-86400.5));

    // Only element 0 of an array is examined.
    PlistBinario lista;
    const std::size_t numero = lista.inteiro(5);
    const std::size_t data = lista.data(0);
    definirAtributo(arquivo_, kBaixadoEm, lista.montar(lista.lista({numero, data})));
    EXPECT_FALSE(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()));

    PlistBinario vazia;
    definirAtributo(arquivo_, kBaixadoEm, vazia.montar(vazia.lista({})));
    EXPECT_FALSE(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()));

    PlistBinario booleano;
    definirAtributo(arquivo_, kBaixadoEm, booleano.montar(booleano.booleano(true)));
    EXPECT_FALSE(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()));

    definirAtributo(arquivo_, kBaixadoEm, "not a property list");
    EXPECT_FALSE(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()));
}

TEST_F(XattrTest, WhereFromsDropEmptyStringsAndKeepOrder)
{
    PlistBinario p;
    const std::size_t a = p.ascii("https://b.example/file.zip");
    const std::size_t vazio = p.ascii("");
    const std::size_t c = p.utf16(u"https://exemplo.com.br/página");
    definirAtributo(arquivo_, kOrigens, p.montar(p.lista({a, vazio, c})));
    EXPECT_EQ(Xattr::textos(arquivo_, Xattr::kOrigens, nomes()),
        (std::vector<std::string> {"https://b.example/file.zip", "https://exemplo.com.br/página"}));

    PlistBinario s;
    definirAtributo(arquivo_, kOrigens, s.montar(s.ascii("")));
    EXPECT_TRUE(Xattr::textos(arquivo_, Xattr::kOrigens, nomes()).empty());
}

TEST_F(XattrTest, ValuesAreReadWholeIncludingZeroBytes)
{
    const std::string valor("a\0b\0", 4);
    definirAtributo(arquivo_, kScreenshot, valor);
    EXPECT_EQ(Xattr::bruto(arquivo_, Xattr::kScreenshot, nomes()), bytesDe(valor));
}

// ---- both property-list forms ----

TEST_F(XattrTest, XmlAndBinaryAttributesGiveTheSameValues)
{
    PlistBinario origens;
    const std::size_t a = origens.ascii("https://www.example.com/a.pdf");
    const std::size_t b = origens.ascii("https://www.example.com/");
    definirAtributo(arquivo_, kOrigens, origens.montar(origens.lista({a, b})));
    PlistBinario datas;
    const std::size_t d = datas.data(k2023 - Date::kDe1970A2001);
    definirAtributo(arquivo_, kBaixadoEm, datas.montar(datas.lista({d})));
    const std::vector<std::string> origensBinarias = Xattr::origens(arquivo_, nomes());
    const std::optional<Date> dataBinaria = Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes());

    definirAtributo(arquivo_, kOrigens,
        plistXml("<array><string>https://www.example.com/a.pdf</string>"
                 "<string>https://www.example.com/</string></array>"));
    definirAtributo(arquivo_, kBaixadoEm, plistXml("<array><date>2023-11-30T06:43:12Z</date></array>"));
    EXPECT_EQ(Xattr::origens(arquivo_, nomes()), origensBinarias);
    EXPECT_EQ(Xattr::data(arquivo_, Xattr::kBaixadoEm, nomes()), dataBinaria);
    EXPECT_EQ(dataBinaria, Date::desde1970(k2023));
    EXPECT_EQ(origensBinarias.size(), 2u);
}

// ---- where the names are looked up ----

TEST(XattrNomes, AppleNamesAreLookedUpUnderUserThenOsxThenBare)
{
    const auto nomes = Xattr::Nomes::de(
        {"com.apple.quarantine", "osx.com.apple.quarantine", "user.com.apple.quarantine", "user.outro"});
    EXPECT_EQ(nomes.candidatos(Xattr::kQuarentena),
        (std::vector<std::string> {
            "user.com.apple.quarantine", "osx.com.apple.quarantine", "com.apple.quarantine"}));
}

TEST(XattrNomes, OnlyNamesPresentAreCandidates)
{
    EXPECT_EQ(
        Xattr::Nomes::de({"com.apple.quarantine", "osx.com.apple.quarantine"}).candidatos(Xattr::kQuarentena),
        (std::vector<std::string> {"osx.com.apple.quarantine", "com.apple.quarantine"}));
    EXPECT_EQ(Xattr::Nomes::de({"com.apple.quarantine"}).candidatos(Xattr::kQuarentena),
        std::vector<std::string> {"com.apple.quarantine"});
    EXPECT_TRUE(Xattr::Nomes::de({"user.com.apple.quarantinex", "user.com.apple"})
                    .candidatos(Xattr::kQuarentena)
                    .empty());
    EXPECT_TRUE(Xattr::Nomes().candidatos(Xattr::kQuarentena).empty());
}

TEST(XattrNomes, NamesInALinuxNamespaceStandAlone)
{
    const auto nomes = Xattr::Nomes::de({"user.xdg.origin.url", "user.user.xdg.origin.url",
        "osx.user.xdg.origin.url", "trusted.x", "security.selinux", "system.posix_acl_access"});
    EXPECT_EQ(nomes.candidatos("user.xdg.origin.url"), std::vector<std::string> {"user.xdg.origin.url"});
    EXPECT_EQ(nomes.candidatos("trusted.x"), std::vector<std::string> {"trusted.x"});
    EXPECT_EQ(nomes.candidatos("security.selinux"), std::vector<std::string> {"security.selinux"});
    EXPECT_EQ(
        nomes.candidatos("system.posix_acl_access"), std::vector<std::string> {"system.posix_acl_access"});
    EXPECT_TRUE(nomes.candidatos("user.xdg.referrer.url").empty());
}

TEST_F(XattrTest, ListingGivesTheNamesOnTheFile)
{
    definirAtributo(arquivo_, kQuarentena, "0083;6550f1a2;Agente;ABC");
    definirAtributo(arquivo_, "user.xdg.origin.url", "https://a.example/");
    const Xattr::Nomes n = nomes();
    EXPECT_FALSE(n.vazio());
    EXPECT_TRUE(n.tem(kQuarentena));
    EXPECT_TRUE(n.tem("user.xdg.origin.url"));
    EXPECT_FALSE(n.tem("user.xdg.referrer.url"));
    EXPECT_EQ(n.candidatos(Xattr::kQuarentena), std::vector<std::string> {kQuarentena});
}

TEST_F(XattrTest, ListingALongListProbesItsSize)
{
    // More than a kilobyte of names, past the first small buffer.
    std::vector<std::string> esperados;
    for (int i = 0; i < 40; ++i) {
        esperados.push_back("user.tarrafa.nome-de-atributo-bem-comprido-" + std::to_string(i));
        definirAtributo(arquivo_, esperados.back(), "1");
    }
    const Xattr::Nomes n = nomes();
    for (const std::string& nome : esperados) {
        EXPECT_TRUE(n.tem(nome)) << nome;
    }
    EXPECT_EQ(Xattr::bruto(arquivo_, esperados.back(), n), bytesDe("1"));
}

TEST_F(XattrTest, TheUserNameIsReadAndTheFirstNonEmptyCandidateWins)
{
    definirAtributo(arquivo_, kQuarentena, "0083;6550f1a2;Agente;ABC");
    // Listed in another order and with names that cannot be read: the lookup order decides,
    // and unreadable candidates are passed over.
    const auto n = Xattr::Nomes::de({"osx.com.apple.quarantine", "com.apple.quarantine", kQuarentena});
    EXPECT_EQ(Xattr::bruto(arquivo_, Xattr::kQuarentena, n), bytesDe("0083;6550f1a2;Agente;ABC"));
    EXPECT_EQ(Xattr::quarentena(arquivo_, n), "Agente");
}

TEST_F(XattrTest, AnEmptyFirstCandidateDoesNotStopTheLookup)
{
    definirAtributo(arquivo_, kQuarentena, std::string_view());
    // The later candidates are listed but hold nothing readable: nothing wins.
    const auto n = Xattr::Nomes::de({kQuarentena, "osx.com.apple.quarantine", "com.apple.quarantine"});
    EXPECT_FALSE(Xattr::bruto(arquivo_, Xattr::kQuarentena, n));
}

TEST_F(XattrTest, OnlyListedNamesAreRead)
{
    definirAtributo(arquivo_, kQuarentena, "0083;6550f1a2;Agente;ABC");
    EXPECT_FALSE(Xattr::bruto(arquivo_, Xattr::kQuarentena, Xattr::Nomes()));
    EXPECT_FALSE(Xattr::quarentena(arquivo_, Xattr::Nomes::de({"user.outro"})));
}

TEST_F(XattrTest, AFileWithoutAttributesGivesEmptyValues)
{
    const Xattr::Nomes n = nomes();
    EXPECT_TRUE(n.vazio());
    EXPECT_FALSE(Xattr::bruto(arquivo_, Xattr::kQuarentena, n));
    EXPECT_FALSE(Xattr::bruto(arquivo_, Xattr::kScreenshot));
    EXPECT_FALSE(Xattr::data(arquivo_, Xattr::kBaixadoEm, n));
    EXPECT_TRUE(Xattr::textos(arquivo_, Xattr::kOrigens, n).empty());
    EXPECT_TRUE(Xattr::origens(arquivo_, n).empty());
    EXPECT_FALSE(Xattr::quarentena(arquivo_, n));
    EXPECT_FALSE(Xattr::ultimoUso(arquivo_, n, ListaDeRecentes::Indice()));
}

TEST_F(XattrTest, AMissingPathGivesEmptyValues)
{
    const std::string sumido = pasta_ / "nao-existe";
    EXPECT_TRUE(Xattr::Nomes::listar(sumido).vazio());
    EXPECT_TRUE(Xattr::Nomes::listar(sumido, true).vazio());
    EXPECT_FALSE(Xattr::bruto(sumido, Xattr::kQuarentena));
    EXPECT_FALSE(Xattr::bruto(sumido, Xattr::kQuarentena, Xattr::Nomes::de({kQuarentena})));
}

TEST_F(XattrTest, ASymbolicLinkIsReadThroughToItsTarget)
{
    definirAtributo(arquivo_, kQuarentena, "0083;6550f1a2;Agente;ABC");
    const std::string link = pasta_ / "atalho.pdf";
    ASSERT_EQ(::symlink(arquivo_.c_str(), link.c_str()), 0);
    const Xattr::Nomes n = Xattr::Nomes::listar(link, true);
    EXPECT_TRUE(n.tem(kQuarentena));
    EXPECT_EQ(Xattr::quarentena(link, n), "Agente");
    EXPECT_EQ(Xattr::bruto(link, Xattr::kQuarentena), bytesDe("0083;6550f1a2;Agente;ABC"));
    // Without following, the link's own names: Linux keeps no user attributes on links.
    EXPECT_FALSE(Xattr::Nomes::listar(link, false).tem(kQuarentena));
}

TEST_F(XattrTest, PathsNeedNotBeUtf8)
{
    const std::string estranho = pasta_ / "rel\xF3rio.pdf"; // Latin-1, not UTF-8
    teste::escrever(estranho, "x");
    definirAtributo(estranho, kQuarentena, "0083;6550f1a2;Agente;ABC");
    EXPECT_EQ(Xattr::quarentena(estranho, Xattr::Nomes::listar(estranho)), "Agente");
}

// ---- the freedesktop attributes ----

TEST_F(XattrTest, OriginsFallBackToTheXdgOriginThenReferrer)
{
    definirAtributo(arquivo_, "user.xdg.origin.url", "https://files.example/a.pdf");
    definirAtributo(arquivo_, "user.xdg.referrer.url", "https://www.example/pagina");
    EXPECT_EQ(Xattr::origens(arquivo_, nomes()),
        (std::vector<std::string> {"https://files.example/a.pdf", "https://www.example/pagina"}));
}

TEST_F(XattrTest, OriginsTakeTheReferrerAloneWhenTheOriginIsMissingEmptyOrNotUtf8)
{
    definirAtributo(arquivo_, "user.xdg.referrer.url", "https://www.example/pagina");
    EXPECT_EQ(Xattr::origens(arquivo_, nomes()), std::vector<std::string> {"https://www.example/pagina"});
    definirAtributo(arquivo_, "user.xdg.origin.url", std::string_view());
    EXPECT_EQ(Xattr::origens(arquivo_, nomes()), std::vector<std::string> {"https://www.example/pagina"});
    definirAtributo(arquivo_, "user.xdg.origin.url", "https://a.example/\xFF");
    EXPECT_EQ(Xattr::origens(arquivo_, nomes()), std::vector<std::string> {"https://www.example/pagina"});
}

TEST_F(XattrTest, TheWhereFromsAttributeWinsOverTheXdgOnes)
{
    PlistBinario p;
    definirAtributo(arquivo_, kOrigens, p.montar(p.ascii("https://apple.example/a.pdf")));
    definirAtributo(arquivo_, "user.xdg.origin.url", "https://xdg.example/a.pdf");
    EXPECT_EQ(Xattr::origens(arquivo_, nomes()), std::vector<std::string> {"https://apple.example/a.pdf"});
}

TEST_F(XattrTest, AnEmptyWhereFromsListFallsBackToTheXdgOnes)
{
    PlistBinario p;
    const std::size_t vazio = p.ascii("");
    definirAtributo(arquivo_, kOrigens, p.montar(p.lista({vazio})));
    definirAtributo(arquivo_, "user.xdg.origin.url", "https://xdg.example/a.pdf");
    EXPECT_EQ(Xattr::origens(arquivo_, nomes()), std::vector<std::string> {"https://xdg.example/a.pdf"});
}

TEST_F(XattrTest, TheAgentFallsBackToThePublisherThenTheCreator)
{
    definirAtributo(arquivo_, "user.creator", "curl");
    EXPECT_EQ(Xattr::quarentena(arquivo_, nomes()), "curl");
    definirAtributo(arquivo_, "user.xdg.publisher", "GNOME Web");
    EXPECT_EQ(Xattr::quarentena(arquivo_, nomes()), "GNOME Web");
    // A quarantine record that gives no agent still lets the fallbacks speak.
    definirAtributo(arquivo_, kQuarentena, "0083;6550f1a2");
    EXPECT_EQ(Xattr::quarentena(arquivo_, nomes()), "GNOME Web");
    definirAtributo(arquivo_, kQuarentena, "0083;6550f1a2;Agente;ABC");
    EXPECT_EQ(Xattr::quarentena(arquivo_, nomes()), "Agente");
}

TEST_F(XattrTest, AnEmptyOrInvalidPublisherIsPassedOver)
{
    definirAtributo(arquivo_, "user.creator", "curl");
    definirAtributo(arquivo_, "user.xdg.publisher", std::string_view());
    EXPECT_EQ(Xattr::quarentena(arquivo_, nomes()), "curl");
    definirAtributo(arquivo_, "user.xdg.publisher", "Navegador\xC3");
    EXPECT_EQ(Xattr::quarentena(arquivo_, nomes()), "curl");
    definirAtributo(arquivo_, "user.creator", "\xFE");
    EXPECT_FALSE(Xattr::quarentena(arquivo_, nomes()));
}

// ---- the pure decoders ----

TEST(XattrDecodificar, Quarantine)
{
    EXPECT_EQ(Xattr::decodificar::quarentena(bytesDe("0083;6550f1a2;Agente;ABC")), "Agente");
    EXPECT_EQ(Xattr::decodificar::quarentena(bytesDe("0083;6550f1a2;Navegador Ágil")), "Navegador Ágil");
    EXPECT_EQ(Xattr::decodificar::quarentena(bytesDe(";;0083;;6550f1a2;;Agente;;")), "Agente");
    EXPECT_FALSE(Xattr::decodificar::quarentena(bytesDe("0083;6550f1a2")));
    EXPECT_FALSE(Xattr::decodificar::quarentena(bytesDe("0083;6550f1a2;")));
    EXPECT_FALSE(Xattr::decodificar::quarentena(bytesDe(";;;;")));
    EXPECT_FALSE(Xattr::decodificar::quarentena(bytesDe("")));
}

TEST(XattrDecodificar, LastUse)
{
    EXPECT_EQ(Xattr::decodificar::ultimoUso(ultimoUsoDe({0x00, 0x2F, 0x68, 0x65, 0, 0, 0, 0})),
        Date::desde1970(k2023));
    EXPECT_FALSE(Xattr::decodificar::ultimoUso(ultimoUsoDe({0x00, 0x2F, 0x68, 0x65, 0, 0, 0})));
    EXPECT_FALSE(Xattr::decodificar::ultimoUso(ultimoUsoDe({0, 0, 0, 0, 0, 0, 0, 0, 0xFF})));
    // Unsigned: the top bit set is a large positive count, not a negative one.
    const std::optional<Date> enorme
        = Xattr::decodificar::ultimoUso(ultimoUsoDe({0, 0, 0, 0, 0, 0, 0, 0x80}));
    ASSERT_TRUE(enorme);
    EXPECT_EQ(enorme->segundosDesde1970(), 9223372036854775808.0);
}

} // namespace
} // namespace tarrafa
