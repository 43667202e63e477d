// SPDX-License-Identifier: GPL-3.0-or-later
#include "PlistDeTeste.hpp"

#include "TarrafaCore/Plist.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace tarrafa {
namespace {

using Plist::Escalar;
using Plist::NaoEscalar;
using Plist::Valor;
using teste::Bytes;
using teste::bytesDe;
using teste::PlistBinario;
using teste::plistXml;

// 2023-11-30 06:43:12 UTC.
constexpr double k2023 = 1701326592.0;
constexpr double k2023Desde2001 = k2023 - Date::kDe1970A2001;

Escalar texto(std::string_view s)
{
    return Escalar(std::string(s));
}
Escalar inteiro(std::int64_t v)
{
    return Escalar(std::in_place_type<std::int64_t>, v);
}

Bytes binarioDe(std::size_t (PlistBinario::*escrever)(double), double valor)
{
    PlistBinario p;
    const std::size_t raiz = (p.*escrever)(valor);
    return p.montar(raiz);
}

// ---- binary form ----

TEST(PlistBinario, ReadsADateRoot)
{
    const std::optional<Valor> valor = Plist::ler(binarioDe(&PlistBinario::data, k2023Desde2001));
    ASSERT_TRUE(valor);
    EXPECT_EQ(*valor, Valor(Escalar(Date::desde1970(k2023))));
}

TEST(PlistBinario, ReadsRealsOfFourAndEightBytes)
{
    EXPECT_EQ(Plist::ler(binarioDe(&PlistBinario::real, -12.25)), Valor(Escalar(-12.25)));
    PlistBinario p;
    const Bytes b = p.montar(p.real32(0.5f));
    EXPECT_EQ(Plist::ler(b), Valor(Escalar(0.5)));
}

TEST(PlistBinario, ReadsIntegersOfEverySize)
{
    for (const std::int64_t v : {std::int64_t {0}, std::int64_t {200}, std::int64_t {40000},
             std::int64_t {3000000000}, std::int64_t {-1}, std::numeric_limits<std::int64_t>::min(),
             std::numeric_limits<std::int64_t>::max()}) {
        PlistBinario p;
        EXPECT_EQ(Plist::ler(p.montar(p.inteiro(v))), Valor(inteiro(v))) << v;
    }
}

TEST(PlistBinario, OneTwoAndFourByteIntegersAreUnsigned)
{
    PlistBinario p;
    const Bytes b = p.montar(p.objeto({0x12, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Plist::ler(b), Valor(inteiro(4294967295)));
}

TEST(PlistBinario, ReadsSixteenByteIntegers)
{
    Bytes menosDois {0x14};
    menosDois.insert(menosDois.end(), 15, 0xFF);
    menosDois.push_back(0xFE);
    PlistBinario p;
    EXPECT_EQ(Plist::ler(p.montar(p.objeto(menosDois))), Valor(inteiro(-2)));

    Bytes grande {0x14};
    grande.insert(grande.end(), 7, 0);
    grande.push_back(1); // 2^64
    grande.insert(grande.end(), 8, 0);
    PlistBinario q;
    EXPECT_EQ(Plist::ler(q.montar(q.objeto(grande))), Valor(Escalar(18446744073709551616.0)));
}

TEST(PlistBinario, ReadsBooleans)
{
    PlistBinario p;
    EXPECT_EQ(Plist::ler(p.montar(p.booleano(false))), Valor(Escalar(false)));
    PlistBinario q;
    EXPECT_EQ(Plist::ler(q.montar(q.booleano(true))), Valor(Escalar(true)));
}

TEST(PlistBinario, ReadsAsciiStringsShortAndLong)
{
    const std::string longo(300, 'x');
    for (const std::string& s : {std::string(), std::string("https://example.com/a.pdf"), longo}) {
        PlistBinario p;
        EXPECT_EQ(Plist::ler(p.montar(p.ascii(s))), Valor(texto(s))) << s.size();
    }
}

TEST(PlistBinario, ReadsUtf16StringsAsUtf8)
{
    PlistBinario p;
    const Bytes b = p.montar(p.utf16(u"Relatório \U0001F600 final"));
    EXPECT_EQ(Plist::ler(b), Valor(texto("Relatório \xF0\x9F\x98\x80 final")));
}

TEST(PlistBinario, ReadsAnArrayOfScalarsInOrder)
{
    PlistBinario p;
    const std::size_t a = p.ascii("https://a.example/x");
    const std::size_t d = p.data(0);
    const std::size_t n = p.inteiro(7);
    const std::size_t t = p.booleano(true);
    const Bytes b = p.montar(p.lista({a, d, n, t}));
    EXPECT_EQ(Plist::ler(b),
        Valor(std::vector<Escalar> {
            texto("https://a.example/x"), Escalar(Date::desde2001(0)), inteiro(7), Escalar(true)}));
}

TEST(PlistBinario, ContainersAndDataInsideAnArrayAreMarkersOnly)
{
    PlistBinario p;
    const std::size_t interna = p.lista({});
    const std::size_t chave = p.ascii("k");
    const std::size_t dicionario = p.dicionario({{chave, chave}});
    const std::array<unsigned char, 3> conteudo {1, 2, 3};
    const std::size_t dados = p.dados(conteudo);
    const std::size_t nulo = p.objeto({0x00});
    const Bytes b = p.montar(p.lista({interna, dicionario, dados, nulo, chave}));
    EXPECT_EQ(Plist::ler(b),
        Valor(std::vector<Escalar> {Escalar(NaoEscalar {}), Escalar(NaoEscalar {}), Escalar(NaoEscalar {}),
            Escalar(NaoEscalar {}), texto("k")}));
}

TEST(PlistBinario, ADictionaryRootIsPresentButNotAScalar)
{
    PlistBinario p;
    const std::size_t k = p.ascii("k");
    const std::optional<Valor> valor = Plist::ler(p.montar(p.dicionario({{k, k}})));
    ASSERT_TRUE(valor);
    EXPECT_FALSE(valor->ehLista());
    EXPECT_EQ(*valor, Valor(Escalar(NaoEscalar {})));
}

TEST(PlistBinario, TheRootNeedNotBeTheFirstObject)
{
    PlistBinario p;
    p.ascii("ignorado");
    const std::size_t raiz = p.ascii("raiz");
    EXPECT_EQ(Plist::ler(p.montar(raiz)), Valor(texto("raiz")));
}

TEST(PlistBinario, WideOffsetsAndReferencesAreRead)
{
    PlistBinario p;
    const std::size_t a = p.ascii("a");
    const std::size_t b = p.ascii("b");
    PlistBinario::Opcoes opcoes;
    opcoes.tamanhoDaPosicao = 8;
    opcoes.tamanhoDaReferencia = 8;
    EXPECT_EQ(
        Plist::ler(p.montar(p.lista({a, b}), opcoes)), Valor(std::vector<Escalar> {texto("a"), texto("b")}));
}

TEST(PlistBinario, ARepeatedReferenceGivesTheSameValueTwice)
{
    // Writers store equal strings once: a download whose referrer is its own address.
    PlistBinario p;
    const std::size_t url = p.ascii("https://a.example/x.zip");
    EXPECT_EQ(Plist::ler(p.montar(p.lista({url, url}))),
        Valor(std::vector<Escalar> {texto("https://a.example/x.zip"), texto("https://a.example/x.zip")}));
}

// ---- XML form ----

TEST(PlistXml, ReadsEveryScalarShape)
{
    EXPECT_EQ(
        Plist::ler(plistXml("<date>2023-11-30T06:43:12Z</date>")), Valor(Escalar(Date::desde1970(k2023))));
    EXPECT_EQ(Plist::ler(plistXml("<real>-12.25</real>")), Valor(Escalar(-12.25)));
    EXPECT_EQ(Plist::ler(plistXml("<real>1e3</real>")), Valor(Escalar(1000.0)));
    EXPECT_EQ(Plist::ler(plistXml("<integer> -42 </integer>")), Valor(inteiro(-42)));
    EXPECT_EQ(Plist::ler(plistXml("<integer>+42</integer>")), Valor(inteiro(42)));
    EXPECT_EQ(Plist::ler(plistXml("<true/>")), Valor(Escalar(true)));
    EXPECT_EQ(Plist::ler(plistXml("<false/>")), Valor(Escalar(false)));
    EXPECT_EQ(Plist::ler(plistXml("<string>a &amp; b &lt;c&gt; Relatório</string>")),
        Valor(texto("a & b <c> Relatório")));
    EXPECT_EQ(Plist::ler(plistXml("<string/>")), Valor(texto("")));
}

TEST(PlistXml, ReadsAnArrayWithNestedValuesAsMarkers)
{
    const std::optional<Valor> valor = Plist::ler(plistXml("<array>\n"
                                                           "  <string>https://a.example/</string>\n"
                                                           "  <array><string>x</string><dict/></array>\n"
                                                           "  <dict><key>k</key><string>v</string></dict>\n"
                                                           "  <data>AAEC</data>\n"
                                                           "  <integer>3</integer>\n"
                                                           "</array>"));
    EXPECT_EQ(valor,
        Valor(std::vector<Escalar> {texto("https://a.example/"), Escalar(NaoEscalar {}),
            Escalar(NaoEscalar {}), Escalar(NaoEscalar {}), inteiro(3)}));
}

TEST(PlistXml, ADictionaryOrDataRootIsPresentButNotAScalar)
{
    EXPECT_EQ(Plist::ler(plistXml("<dict><key>a</key><array><true/></array></dict>")),
        Valor(Escalar(NaoEscalar {})));
    EXPECT_EQ(Plist::ler(plistXml("<data>AAEC</data>")), Valor(Escalar(NaoEscalar {})));
    EXPECT_EQ(Plist::ler(plistXml("<array/>")), Valor(std::vector<Escalar> {}));
}

TEST(PlistXml, AcceptsAByteOrderMarkWhiteSpaceAndNoDeclaration)
{
    Bytes comBom {0xEF, 0xBB, 0xBF, ' ', '\n'};
    const Bytes corpo = plistXml("<string>x</string>");
    comBom.insert(comBom.end(), corpo.begin(), corpo.end());
    EXPECT_EQ(Plist::ler(comBom), Valor(texto("x")));
    EXPECT_EQ(
        Plist::ler(bytesDe("  <plist version=\"1.0\"><integer>1</integer></plist>")), Valor(inteiro(1)));
}

TEST(PlistXml, RejectsWhatIsNotAPropertyListOfTheseShapes)
{
    EXPECT_FALSE(Plist::ler(bytesDe("")));
    EXPECT_FALSE(Plist::ler(bytesDe("{\"a\": 1}")));
    EXPECT_FALSE(Plist::ler(bytesDe("<?xml version=\"1.0\"?><svg/>")));
    EXPECT_FALSE(Plist::ler(plistXml("")));
    EXPECT_FALSE(Plist::ler(plistXml("<string>a</string><string>b</string>")));
    EXPECT_FALSE(Plist::ler(plistXml("<bogus/>")));
    EXPECT_FALSE(Plist::ler(plistXml("<array><key>k</key></array>")));
    EXPECT_FALSE(Plist::ler(plistXml("<string>a<b/></string>")));
    EXPECT_FALSE(Plist::ler(plistXml("solto<string>a</string>")));
    EXPECT_FALSE(Plist::ler(plistXml("<integer>12x</integer>")));
    EXPECT_FALSE(Plist::ler(plistXml("<integer>99999999999999999999</integer>")));
    EXPECT_FALSE(Plist::ler(plistXml("<integer></integer>")));
    EXPECT_FALSE(Plist::ler(plistXml("<real>1,5</real>")));
    EXPECT_FALSE(Plist::ler(plistXml("<real>nan</real>")));
    EXPECT_FALSE(Plist::ler(plistXml("<real>inf</real>")));
    EXPECT_FALSE(Plist::ler(plistXml("<true>sim</true>")));
    EXPECT_FALSE(Plist::ler(plistXml("<date>30/11/2023</date>")));
    EXPECT_FALSE(Plist::ler(plistXml("<array><date>2023-13-01T00:00:00Z</date></array>")));
}

TEST(PlistXml, RefusesEntityDeclarations)
{
    const Bytes bomba
        = bytesDe("<?xml version=\"1.0\"?>\n"
                  "<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;\">]>\n"
                  "<plist><string>&b;</string></plist>");
    EXPECT_FALSE(Plist::ler(bomba));
}

// ---- both forms ----

TEST(PlistFormas, BinaryAndXmlGiveTheSameValues)
{
    struct Caso {
        Bytes binario;
        Bytes xml;
    };
    std::vector<Caso> casos;
    {
        PlistBinario p;
        const std::size_t a = p.ascii("https://www.example.com/file.zip");
        const std::size_t b = p.utf16(u"https://exemplo.com.br/relatório");
        casos.push_back({p.montar(p.lista({a, b})),
            plistXml("<array><string>https://www.example.com/file.zip</string>"
                     "<string>https://exemplo.com.br/relatório</string>"
                     "</array>")});
    }
    {
        PlistBinario p;
        const std::size_t d1 = p.data(k2023Desde2001);
        const std::size_t d2 = p.data(0);
        casos.push_back({p.montar(p.lista({d1, d2})),
            plistXml("<array><date>2023-11-30T06:43:12Z</date>"
                     "<date>2001-01-01T00:00:00Z</date></array>")});
    }
    {
        PlistBinario p;
        casos.push_back({p.montar(p.inteiro(0)), plistXml("<integer>0</integer>")});
    }
    {
        PlistBinario p;
        casos.push_back({p.montar(p.real(-0.5)), plistXml("<real>-0.5</real>")});
    }
    {
        PlistBinario p;
        casos.push_back({p.montar(p.booleano(false)), plistXml("<false/>")});
    }
    {
        PlistBinario p;
        casos.push_back({p.montar(p.utf16(u"única")), plistXml("<string>única</string>")});
    }
    {
        PlistBinario p;
        const std::size_t s = p.ascii("x");
        const std::size_t n = p.inteiro(5);
        const std::size_t dentro = p.lista({s});
        casos.push_back({p.montar(p.lista({s, n, dentro})),
            plistXml("<array><string>x</string><integer>5</integer><array><string>x</string></array>"
                     "</array>")});
    }
    {
        PlistBinario p;
        const std::size_t k = p.ascii("k");
        casos.push_back(
            {p.montar(p.dicionario({{k, k}})), plistXml("<dict><key>k</key><string>k</string></dict>")});
    }
    for (const Caso& caso : casos) {
        const std::optional<Valor> binario = Plist::ler(caso.binario);
        const std::optional<Valor> xml = Plist::ler(caso.xml);
        ASSERT_TRUE(binario);
        ASSERT_TRUE(xml);
        EXPECT_EQ(*binario, *xml);
    }
}

TEST(PlistFormas, EachReaderTakesOnlyItsForm)
{
    PlistBinario p;
    const Bytes binario = p.montar(p.ascii("x"));
    const Bytes xml = plistXml("<string>x</string>");
    EXPECT_TRUE(Plist::lerBinario(binario));
    EXPECT_FALSE(Plist::lerXml(binario));
    EXPECT_TRUE(Plist::lerXml(xml));
    EXPECT_FALSE(Plist::lerBinario(xml));
}

// ---- dates ----

TEST(PlistDatas, ReadsTheIsoFormWithFractionAndOffset)
{
    EXPECT_EQ(Plist::dataIso8601("2023-11-30T06:43:12Z"), Date::desde1970(k2023));
    EXPECT_EQ(Plist::dataIso8601("1970-01-01T00:00:00Z"), Date::desde1970(0));
    EXPECT_EQ(Plist::dataIso8601("2001-01-01T00:00:00Z"), Date::desde2001(0));
    EXPECT_EQ(Plist::dataIso8601("1969-12-31T23:59:59Z"), Date::desde1970(-1));
    const std::optional<Date> comFracao = Plist::dataIso8601("2024-03-01T10:20:30.123456Z");
    ASSERT_TRUE(comFracao);
    EXPECT_NEAR(comFracao->segundosDesde1970(), 1709288430.123456, 1e-6);
    EXPECT_EQ(Plist::dataIso8601("2023-11-30T03:43:12-03:00"), Date::desde1970(k2023));
    EXPECT_EQ(Plist::dataIso8601("2023-11-30T08:13:12+0130"), Date::desde1970(k2023));
    EXPECT_EQ(Plist::dataIso8601("2024-02-29T00:00:00Z"), Date::desde1970(1709164800));
    EXPECT_EQ(Plist::dataIso8601("2000-02-29T00:00:00Z"), Date::desde1970(951782400));
}

TEST(PlistDatas, RejectsMalformedAndImpossibleDates)
{
    for (const std::string_view errada :
        {"", "2023-11-30", "2023-11-30T06:43:12", "2023-11-30 06:43:12Z", "2023-11-30T06:43:12Zx",
            "2023-11-30T06:43:12.Z", "2023-02-29T00:00:00Z", "1900-02-29T00:00:00Z", "2023-04-31T00:00:00Z",
            "2023-00-10T00:00:00Z", "2023-11-00T00:00:00Z", "2023-11-30T24:00:00Z", "2023-11-30T06:60:00Z",
            "2023-11-30T06:43:61Z", "2023-11-30T06:43:12+2400", "2023-11-30T06:43:12+01",
            "23-11-30T06:43:12Z", "2023-1-30T06:43:12Z", "２０２３-11-30T06:43:12Z"}) {
        EXPECT_FALSE(Plist::dataIso8601(errada)) << errada;
    }
}

} // namespace
} // namespace tarrafa
