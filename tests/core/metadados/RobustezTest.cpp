// SPDX-License-Identifier: GPL-3.0-or-later
// Hostile and broken bytes: every decoder returns, bounded, with no value or a sane one.
#include "Apoio.hpp"
#include "PlistDeTeste.hpp"

#include "TarrafaCore/Plist.hpp"
#include "TarrafaCore/Texto.hpp"
#include "TarrafaCore/Xattr.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace tarrafa {
namespace {

using Plist::Escalar;
using Plist::NaoEscalar;
using Plist::Valor;
using teste::Bytes;
using teste::bytesDe;
using teste::PlistBinario;
using teste::plistXml;

// What any decoded value must satisfy, whatever the input.
void verificarSaidas(std::span<const unsigned char> bytes)
{
    if (const std::optional<Valor> valor = Plist::ler(bytes)) {
        const std::vector<Escalar> raiz
            = valor->ehLista() ? *valor->elementos() : std::vector {*valor->escalar()};
        for (const Escalar& e : raiz) {
            if (const auto* texto = std::get_if<std::string>(&e)) {
                EXPECT_TRUE(Texto::ehUtf8Valido(*texto));
                EXPECT_LE(texto->size(), 2 * bytes.size());
            }
        }
    }
    for (const std::string& texto : Xattr::decodificar::textos(bytes)) {
        EXPECT_FALSE(texto.empty());
        EXPECT_TRUE(Texto::ehUtf8Valido(texto));
    }
    if (const std::optional<Date> data = Xattr::decodificar::data(bytes)) {
        EXPECT_TRUE(std::isfinite(data->segundosDesde1970()));
    }
    if (const std::optional<std::string> agente = Xattr::decodificar::quarentena(bytes)) {
        EXPECT_FALSE(agente->empty());
        EXPECT_TRUE(Texto::ehUtf8Valido(*agente));
    }
    (void)Xattr::decodificar::ultimoUso(bytes);
}

Bytes listaDeOrigens()
{
    PlistBinario p;
    const std::size_t a = p.ascii("https://www.example.com/downloads/relatorio-final.pdf");
    const std::size_t b = p.utf16(u"https://exemplo.com.br/página?q=1");
    return p.montar(p.lista({a, b}));
}

Bytes listaDeDatas()
{
    PlistBinario p;
    const std::size_t d = p.data(722932992.0);
    const std::size_t n = p.inteiro(12);
    const std::size_t r = p.real(0.25);
    const std::size_t t = p.booleano(true);
    const std::size_t longo = p.ascii(std::string(40, 'z'));
    return p.montar(p.lista({d, n, r, t, longo}));
}

Bytes xmlDeOrigens()
{
    return plistXml(
        "<array><string>https://www.example.com/a.pdf</string><string>https://ref.example/</string>"
        "<date>2023-11-30T06:43:12Z</date><integer>1</integer><real>2.5</real><true/>"
        "<dict><key>k</key><string>v</string></dict></array>");
}

TEST(Robustez, EveryTruncationOfABinaryListGivesNoValue)
{
    for (const Bytes& inteira : {listaDeOrigens(), listaDeDatas()}) {
        ASSERT_TRUE(Plist::ler(inteira));
        for (std::size_t n = 0; n < inteira.size(); ++n) {
            const std::span<const unsigned char> parte(inteira.data(), n);
            EXPECT_FALSE(Plist::ler(parte)) << n;
            verificarSaidas(parte);
        }
    }
}

TEST(Robustez, EveryTruncationOfAnXmlListGivesNoValue)
{
    const Bytes inteira = xmlDeOrigens();
    ASSERT_TRUE(Plist::ler(inteira));
    for (std::size_t n = 0; n < inteira.size(); ++n) {
        const std::span<const unsigned char> parte(inteira.data(), n);
        EXPECT_FALSE(Plist::ler(parte)) << n;
        verificarSaidas(parte);
    }
}

TEST(Robustez, AnArrayThatContainsItselfIsReadOnce)
{
    PlistBinario p;
    const std::size_t propria = p.proximo();
    const std::size_t s = p.ascii("https://a.example/");
    ASSERT_EQ(propria, s);
    const std::size_t lista = p.lista({s, p.proximo()});
    const Bytes b = p.montar(lista);
    EXPECT_EQ(Plist::ler(b),
        Valor(std::vector<Escalar> {Escalar(std::string("https://a.example/")), Escalar(NaoEscalar {})}));
    EXPECT_TRUE(Xattr::decodificar::textos(b).empty());
    EXPECT_FALSE(Xattr::decodificar::data(b));
}

TEST(Robustez, ArraysThatReferToEachOtherAreNotFollowed)
{
    PlistBinario p;
    const std::size_t a = p.proximo();
    const std::size_t b = a + 1;
    p.lista({b, a});
    p.lista({a, b});
    EXPECT_EQ(Plist::ler(p.montar(a)),
        Valor(std::vector<Escalar> {Escalar(NaoEscalar {}), Escalar(NaoEscalar {})}));
}

TEST(Robustez, OffsetsOutsideTheObjectAreaGiveNoValue)
{
    PlistBinario base;
    base.ascii("abc");
    const Bytes valida = base.montar(0);
    ASSERT_TRUE(Plist::ler(valida));
    const std::size_t tabela = valida.size() - 32 - 1; // one object, one-byte offsets
    for (const std::size_t deslocamento :
        {std::size_t {0}, std::size_t {7}, tabela, tabela + 5, std::size_t {0xFF}}) {
        Bytes b = valida;
        b[tabela] = static_cast<unsigned char>(deslocamento);
        EXPECT_FALSE(Plist::ler(b)) << deslocamento;
    }
}

TEST(Robustez, TrailerFieldsOutOfRangeGiveNoValue)
{
    PlistBinario p;
    const std::size_t s = p.ascii("x");
    const std::size_t l = p.lista({s});
    ASSERT_TRUE(Plist::ler(p.montar(l)));
    const std::uint64_t enorme = std::uint64_t {1} << 62;
    std::vector<PlistBinario::Opcoes> casos(11);
    casos[0].tamanhoDaPosicao = 9;
    casos[1].tamanhoDaReferencia = 9;
    casos[2].objetos = 0;
    casos[3].objetos = enorme;
    casos[4].objetos = ~std::uint64_t {0};
    casos[5].raiz = 2;
    casos[6].raiz = ~std::uint64_t {0};
    casos[7].tabela = 0;
    casos[8].tabela = 8;
    casos[9].tabela = enorme;
    casos[10].tabela = ~std::uint64_t {0};
    for (const PlistBinario::Opcoes& opcoes : casos) {
        const Bytes b = p.montar(l, opcoes);
        EXPECT_FALSE(Plist::ler(b));
        verificarSaidas(b);
    }
    // Sizes of zero are written by hand: the writer takes 0 as "choose".
    Bytes b = p.montar(l);
    b[b.size() - 26] = 0;
    EXPECT_FALSE(Plist::ler(b));
    b = p.montar(l);
    b[b.size() - 25] = 0;
    EXPECT_FALSE(Plist::ler(b));
}

TEST(Robustez, HugeCountsGiveNoValue)
{
    const std::uint64_t enorme = std::uint64_t {1} << 62;
    for (const unsigned tipo : {0x5u, 0x6u, 0xAu}) {
        PlistBinario p;
        Bytes objeto;
        PlistBinario::anexarMarcador(objeto, tipo, enorme);
        objeto.insert(objeto.end(), {'a', 'b', 'c', 'd'});
        const Bytes b = p.montar(p.objeto(objeto));
        EXPECT_FALSE(Plist::ler(b)) << tipo;
    }
    // A count just past the end of the object area.
    PlistBinario p;
    const Bytes b = p.montar(p.objeto({0x53, 'a', 'b'}));
    EXPECT_FALSE(Plist::ler(b));
    // A negative eight-byte count.
    PlistBinario q;
    const Bytes negativa
        = q.montar(q.objeto({0x5F, 0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 'a'}));
    EXPECT_FALSE(Plist::ler(negativa));
    // A count that is not an integer.
    PlistBinario r;
    EXPECT_FALSE(Plist::ler(r.montar(r.objeto({0x5F, 0x53, 'a', 'b', 'c'}))));
}

TEST(Robustez, OversizedIntegerAndRealSizesGiveNoValue)
{
    for (const int marcador : {0x15, 0x16, 0x1F, 0x20, 0x21, 0x24, 0x2F, 0x30, 0x34}) {
        PlistBinario p;
        Bytes objeto {static_cast<unsigned char>(marcador)};
        objeto.insert(objeto.end(), 40, 0x01);
        EXPECT_FALSE(Plist::ler(p.montar(p.objeto(objeto)))) << marcador;
    }
    // A count written with a sixteen-byte integer.
    PlistBinario p;
    Bytes objeto {0x5F, 0x14};
    objeto.insert(objeto.end(), 15, 0);
    objeto.insert(objeto.end(), {1, 'a'});
    EXPECT_FALSE(Plist::ler(p.montar(p.objeto(objeto))));
}

TEST(Robustez, UnusedMarkersAndNonFiniteNumbersGiveNoValue)
{
    for (const int marcador : {0x01, 0x07, 0x0A, 0x0E, 0x70, 0x90, 0xB0, 0xE0, 0xF0, 0xFF}) {
        PlistBinario p;
        EXPECT_FALSE(
            Plist::ler(p.montar(p.objeto({static_cast<unsigned char>(marcador), 0, 0, 0, 0, 0, 0, 0, 0}))))
            << marcador;
    }
    for (const double especial :
        {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        PlistBinario p;
        EXPECT_FALSE(Plist::ler(p.montar(p.real(especial))));
        PlistBinario q;
        EXPECT_FALSE(Plist::ler(q.montar(q.data(especial))));
    }
}

TEST(Robustez, ReferencesPastTheObjectCountGiveNoValue)
{
    PlistBinario p;
    const std::size_t s = p.ascii("x");
    const std::size_t l = p.lista({s, 7});
    EXPECT_FALSE(Plist::ler(p.montar(l)));
}

TEST(Robustez, ManyReferencesToOneLongStringAreRefused)
{
    // 20 000 references to a 30 000-byte string would decode to 600 MB.
    PlistBinario p;
    const std::size_t longo = p.ascii(std::string(30000, 'u'));
    const Bytes b = p.montar(p.lista(std::vector<std::size_t>(20000, longo)));
    ASSERT_LT(b.size(), std::size_t {65536});
    EXPECT_FALSE(Plist::ler(b));
    EXPECT_TRUE(Xattr::decodificar::textos(b).empty());
}

TEST(Robustez, ManyObjectsAtTheOffsetOfOneLongStringAreRefused)
{
    // 8 000 distinct objects whose offsets all point at one 20 000-byte string: none is a
    // copy of another, but together they would decode to 160 MB.
    constexpr std::size_t kObjetos = 8000;
    Bytes b = bytesDe("bplist00");
    const std::uint64_t texto = b.size();
    PlistBinario::anexarMarcador(b, 0x5, 20000);
    b.insert(b.end(), 20000, 'u');
    const std::uint64_t lista = b.size();
    PlistBinario::anexarMarcador(b, 0xA, kObjetos);
    for (std::size_t i = 1; i <= kObjetos; ++i) {
        teste::anexarBigEndian(b, i, 2);
    }
    const std::uint64_t tabela = b.size();
    teste::anexarBigEndian(b, lista, 2); // object 0, the root
    for (std::size_t i = 0; i < kObjetos; ++i) {
        teste::anexarBigEndian(b, texto, 2);
    }
    b.insert(b.end(), 6, 0);
    b.push_back(2);
    b.push_back(2);
    teste::anexarBigEndian(b, kObjetos + 1, 8);
    teste::anexarBigEndian(b, 0, 8);
    teste::anexarBigEndian(b, tabela, 8);
    ASSERT_LT(b.size(), std::size_t {65536});
    EXPECT_FALSE(Plist::ler(b));
    EXPECT_TRUE(Xattr::decodificar::textos(b).empty());
}

TEST(Robustez, InvalidUtf8GivesNoValue)
{
    PlistBinario p;
    EXPECT_FALSE(Plist::ler(p.montar(p.objeto({0x53, 'a', 0xC3, 'b'})))); // not ASCII
    EXPECT_FALSE(Plist::ler(plistXml("<string>a\xC3(b</string>")));
    EXPECT_FALSE(Plist::ler(plistXml("<string>\xED\xA0\x80</string>"))); // an encoded surrogate
    EXPECT_FALSE(Xattr::decodificar::quarentena(bytesDe("0083;6550f1a2;Ag\xFF"
                                                        "ente;ABC")));
    EXPECT_FALSE(Xattr::decodificar::quarentena(bytesDe("0083;6550f1a2;Agente;\xC0\xAF")));
}

TEST(Robustez, UnpairedUtf16SurrogatesBecomeReplacementCharacters)
{
    PlistBinario p;
    const std::size_t alto = p.utf16(std::u16string {u'a', char16_t(0xD800), u'b'});
    const std::size_t baixo = p.utf16(std::u16string {char16_t(0xDC00)});
    const std::size_t fim = p.utf16(std::u16string {u'x', char16_t(0xD83D)});
    const Bytes b = p.montar(p.lista({alto, baixo, fim}));
    EXPECT_EQ(Xattr::decodificar::textos(b),
        (std::vector<std::string> {"a\xEF\xBF\xBD"
                                   "b",
            "\xEF\xBF\xBD", "x\xEF\xBF\xBD"}));
}

// A where-froms list of exactly 64 KiB, the largest value Linux stores: read through a real
// attribute where the file system takes it.
Bytes origensDe64Kib(std::size_t extra)
{
    PlistBinario p;
    std::vector<std::size_t> refs;
    for (int i = 0; i < 580; ++i) {
        std::string url
            = "https://example.com/" + std::string(80, static_cast<char>('a' + i % 26)) + std::to_string(i);
        if (i == 579) {
            url += std::string(extra, '/');
        }
        refs.push_back(p.ascii(url));
    }
    return p.montar(p.lista(refs));
}

TEST(Robustez, SixtyFourKibAttributesAreDecoded)
{
    std::size_t extra = 0;
    Bytes b = origensDe64Kib(extra);
    for (int i = 0; i < 4 && b.size() != 65536; ++i) {
        extra += 65536 - b.size();
        b = origensDe64Kib(extra);
    }
    ASSERT_EQ(b.size(), 65536u);

    const teste::PastaTemporaria pasta;
    const std::string arquivo = pasta / "grande.zip";
    teste::escrever(arquivo, "x");
    std::vector<std::string> lidos;
    if (::setxattr(arquivo.c_str(), "user.com.apple.metadata:kMDItemWhereFroms", b.data(), b.size(), 0)
        == 0) {
        lidos = Xattr::textos(arquivo, Xattr::kOrigens, Xattr::Nomes::listar(arquivo));
    } else {
        // ext4 without large attributes refuses values past a block: decode the bytes instead.
        lidos = Xattr::decodificar::textos(b);
    }
    ASSERT_EQ(lidos.size(), 580u);
    EXPECT_EQ(lidos[0], "https://example.com/" + std::string(80, 'a') + "0");
    EXPECT_EQ(lidos[579],
        "https://example.com/" + std::string(80, static_cast<char>('a' + 579 % 26)) + "579"
            + std::string(extra, '/'));

    // And 64 KiB of noise.
    std::mt19937 gerador(64);
    Bytes ruido(65536);
    for (unsigned char& c : ruido) {
        c = static_cast<unsigned char>(gerador());
    }
    verificarSaidas(ruido);
    std::memcpy(ruido.data(), "bplist00", 8);
    EXPECT_FALSE(Plist::ler(ruido));
    verificarSaidas(ruido);
}

Bytes mutar(Bytes b, std::mt19937& gerador)
{
    const auto sorteio = [&](std::size_t n) { return n == 0 ? 0 : static_cast<std::size_t>(gerador() % n); };
    const int quantas = 1 + static_cast<int>(sorteio(4));
    for (int i = 0; i < quantas; ++i) {
        switch (sorteio(6)) {
        case 0: // flip a bit
            if (!b.empty()) {
                b[sorteio(b.size())] ^= static_cast<unsigned char>(1u << sorteio(8));
            }
            break;
        case 1: // an interesting byte
            if (!b.empty()) {
                constexpr unsigned char kInteressantes[]
                    = {0x00, 0xFF, 0x7F, 0x80, 0x0F, 0x1F, 0x5F, 0xAF, 0x33, '<'};
                b[sorteio(b.size())] = kInteressantes[sorteio(sizeof kInteressantes)];
            }
            break;
        case 2: // truncate
            b.resize(sorteio(b.size() + 1));
            break;
        case 3: // insert random bytes
        {
            const std::size_t pos = sorteio(b.size() + 1);
            const std::size_t n = 1 + sorteio(8);
            for (std::size_t k = 0; k < n; ++k) {
                b.insert(b.begin() + static_cast<std::ptrdiff_t>(pos), static_cast<unsigned char>(gerador()));
            }
            break;
        }
        case 4: // duplicate a slice
            if (!b.empty()) {
                const std::size_t de = sorteio(b.size());
                const std::size_t n = 1 + sorteio(std::min<std::size_t>(32, b.size() - de));
                const Bytes fatia(b.begin() + static_cast<std::ptrdiff_t>(de),
                    b.begin() + static_cast<std::ptrdiff_t>(de + n));
                const std::size_t para = sorteio(b.size() + 1);
                b.insert(b.begin() + static_cast<std::ptrdiff_t>(para), fatia.begin(), fatia.end());
            }
            break;
        default: // overwrite one trailer byte, where sizes and positions live
            if (b.size() >= 32) {
                b[b.size() - 32 + sorteio(32)] = static_cast<unsigned char>(gerador());
            }
            break;
        }
    }
    return b;
}

TEST(Robustez, ThousandsOfMutationsNeverBreakTheDecoders)
{
    const std::vector<Bytes> sementes = {
        listaDeOrigens(),
        listaDeDatas(),
        xmlDeOrigens(),
        plistXml("<date>2023-11-30T06:43:12Z</date>"),
        bytesDe("0081;6550f1a2;Safari;9D2C0A4B-1C6F-4F1E-9E0B-1D7C2E3A4B5C"),
        Bytes {0x00, 0x2F, 0x68, 0x65, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8},
    };
    std::mt19937 gerador(20231130); // fixed: the same mutations on every run
    int lidos = 0;
    int recusados = 0;
    for (int i = 0; i < 6000; ++i) {
        const Bytes& semente = sementes[static_cast<std::size_t>(i) % sementes.size()];
        const Bytes mutante = mutar(semente, gerador);
        verificarSaidas(mutante);
        (Plist::ler(mutante) ? lidos : recusados)++;
    }
    // The mutations reach both sides of the decoder, not only its first check.
    EXPECT_GT(lidos, 100);
    EXPECT_GT(recusados, 100);
}

} // namespace
} // namespace tarrafa
