// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/NameAnalyzer.hpp"

#include "TarrafaCore/Texto.hpp"

#include <unicode/stringpiece.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarrafa::NameAnalyzer {

namespace {

// Most names are plain ASCII: one character per byte, already in NFC, cased by a table
// lookup. CR is left out because CR LF is a single character.
bool ehAsciiSimples(std::string_view texto) noexcept
{
    for (const char c : texto) {
        const auto u = static_cast<unsigned char>(c);
        if (u >= 0x80 || u == '\r') {
            return false;
        }
    }
    return true;
}

char minusculaAscii(char c) noexcept
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}


// Splits valid UTF-8 into code points when each of them is a character of its own: no
// combining marks, joiners, Hangul jamo, regional indicators or CR. That holds for nearly
// every name (accented Latin letters are precomposed in NFC) and spares the break iterator.
bool segmentarPorCodePoint(std::string_view texto, std::vector<std::string_view>& partes)
{
    const auto* bytes = reinterpret_cast<const uint8_t*>(texto.data());
    const auto n = static_cast<int32_t>(texto.size());
    partes.reserve(texto.size());
    int32_t i = 0;
    while (i < n) {
        const int32_t inicio = i;
        if (bytes[i] < 0x80) {
            if (bytes[i] == '\r') {
                return false;
            }
            ++i;
            partes.push_back(texto.substr(static_cast<std::size_t>(inicio), 1));
            continue;
        }
        UChar32 c = 0;
        U8_NEXT(bytes, i, n, c);
        if (c < 0) {
            return false;
        }
        const int32_t quebra = u_getIntPropertyValue(c, UCHAR_GRAPHEME_CLUSTER_BREAK);
        if (quebra != U_GCB_OTHER && quebra != U_GCB_CONTROL) {
            return false;
        }
        partes.push_back(
            texto.substr(static_cast<std::size_t>(inicio), static_cast<std::size_t>(i - inicio)));
    }
    return true;
}

// The characters of valid UTF-8 text, indexable. ASCII text needs no segmentation.
class Caracteres final {
public:
    explicit Caracteres(std::string_view texto)
        : texto_(texto)
        , simples_(ehAsciiSimples(texto))
    {
        if (simples_) {
            return;
        }
        const bool tamanhoSuportado = texto.size() <= static_cast<std::size_t>(INT32_MAX);
        if (!tamanhoSuportado || !segmentarPorCodePoint(texto, partes_)) {
            partes_ = Texto::grafemas(texto);
        }
    }

    [[nodiscard]] bool simples() const noexcept { return simples_; }
    [[nodiscard]] std::size_t tamanho() const noexcept { return simples_ ? texto_.size() : partes_.size(); }
    [[nodiscard]] std::string_view operator[](std::size_t i) const noexcept
    {
        return simples_ ? texto_.substr(i, 1) : partes_[i];
    }
    // The text of the characters [inicio, fim).
    [[nodiscard]] std::string_view trecho(std::size_t inicio, std::size_t fim) const noexcept
    {
        if (inicio >= fim) {
            return texto_.substr(0, 0);
        }
        if (simples_) {
            return texto_.substr(inicio, fim - inicio);
        }
        const auto de = static_cast<std::size_t>(partes_[inicio].data() - texto_.data());
        const auto ate
            = static_cast<std::size_t>(partes_[fim - 1].data() + partes_[fim - 1].size() - texto_.data());
        return texto_.substr(de, ate - de);
    }

private:
    std::string_view texto_;
    bool simples_;
    std::vector<std::string_view> partes_;
};

// A run of characters [inicio, fim) of a Caracteres.
struct Faixa {
    std::size_t inicio;
    std::size_t fim;
    [[nodiscard]] bool vazia() const noexcept { return inicio >= fim; }
    [[nodiscard]] std::size_t tamanho() const noexcept { return vazia() ? 0 : fim - inicio; }
    friend bool operator==(const Faixa&, const Faixa&) = default;
};

// Character classes of one character, judged by its first code point; ASCII without ICU.
bool numerico(std::string_view c) noexcept
{
    const auto u = static_cast<unsigned char>(c.front());
    if (u < 0x80) {
        return u >= '0' && u <= '9';
    }
    return Texto::ehNumerico(Texto::primeiroCodePoint(c));
}

bool hexadecimal(std::string_view c) noexcept
{
    const auto u = static_cast<unsigned char>(c.front());
    if (u < 0x80) {
        return (u >= '0' && u <= '9') || (u >= 'a' && u <= 'f') || (u >= 'A' && u <= 'F');
    }
    return Texto::ehHexadecimal(Texto::primeiroCodePoint(c));
}

bool espaco(std::string_view c) noexcept
{
    const auto u = static_cast<unsigned char>(c.front());
    if (u < 0x80) {
        return u == ' ' || u == '\t';
    }
    return Texto::ehEspaco(Texto::primeiroCodePoint(c));
}

template <typename Predicado> bool todos(const Caracteres& c, Faixa f, Predicado predicado)
{
    for (std::size_t i = f.inicio; i < f.fim; ++i) {
        if (!predicado(c[i])) {
            return false;
        }
    }
    return true;
}

Faixa aparar(const Caracteres& c, Faixa f)
{
    while (f.inicio < f.fim && espaco(c[f.inicio])) {
        ++f.inicio;
    }
    while (f.fim > f.inicio && espaco(c[f.fim - 1])) {
        --f.fim;
    }
    return f;
}

// A constant word in NFC with its length in characters (the source spelling of an accented
// word is not trusted to be composed).
struct Palavra {
    std::string texto;
    std::size_t caracteres;
};

template <std::size_t N> std::vector<Palavra> palavras(const std::array<std::string_view, N>& lista)
{
    std::vector<Palavra> saida;
    saida.reserve(N);
    for (const std::string_view p : lista) {
        std::string texto = Texto::nfc(p);
        const std::size_t n = Texto::contarGrafemas(texto);
        saida.push_back({std::move(texto), n});
    }
    return saida;
}

const std::vector<Palavra>& sufixosDeCopia()
{
    static const std::vector<Palavra> lista = palavras(kSufixosDeCopia);
    return lista;
}

const std::vector<Palavra>& prefixosGenericos()
{
    static const std::vector<Palavra> lista = palavras(kPrefixosGenericos);
    return lista;
}

// Lower-casing turns each ASCII character into one ASCII character whatever surrounds it,
// so the text's leading and trailing runs of ASCII keep their place in its lower-case form.
// Where those runs face ASCII bytes of the word, the bytes must agree. This rules out
// nearly every name before anything is lower-cased for real; the rest is decided in full.
bool podeTerminarCom(std::string_view texto, std::string_view palavra) noexcept
{
    auto t = texto.rbegin();
    for (auto p = palavra.rbegin(); p != palavra.rend() && t != texto.rend(); ++p, ++t) {
        if (static_cast<unsigned char>(*p) >= 0x80 || static_cast<unsigned char>(*t) >= 0x80) {
            return true;
        }
        if (minusculaAscii(*t) != *p) {
            return false;
        }
    }
    return true;
}

bool podeComecarCom(std::string_view texto, std::string_view palavra) noexcept
{
    auto t = texto.begin();
    for (auto p = palavra.begin(); p != palavra.end() && t != texto.end(); ++p, ++t) {
        if (static_cast<unsigned char>(*p) >= 0x80 || static_cast<unsigned char>(*t) >= 0x80) {
            return true;
        }
        if (minusculaAscii(*t) != *p) {
            return false;
        }
    }
    return true;
}

bool igualEmMinusculasAscii(std::string_view texto, std::string_view palavra) noexcept
{
    return texto.size() == palavra.size()
        && std::equal(palavra.begin(), palavra.end(), texto.begin(),
            [](char p, char t) { return p == minusculaAscii(t); });
}

// Whether the characters f of c, lower-cased, end with the word, character for character.
bool terminaComEmMinusculas(const Caracteres& c, Faixa f, const Palavra& palavra)
{
    if (f.vazia()) {
        return false;
    }
    const std::string_view texto = c.trecho(f.inicio, f.fim);
    if (c.simples()) {
        // An ASCII name lower-cases byte for byte; a word with other letters never matches.
        return texto.size() >= palavra.texto.size()
            && igualEmMinusculasAscii(texto.substr(texto.size() - palavra.texto.size()), palavra.texto);
    }
    if (!podeTerminarCom(texto, palavra.texto)) {
        return false;
    }
    const std::string minusculas = Texto::minusculas(texto);
    const Caracteres l(minusculas);
    return l.tamanho() >= palavra.caracteres
        && l.trecho(l.tamanho() - palavra.caracteres, l.tamanho()) == palavra.texto;
}

// Removes one numbered marker, then each copy word once, from the characters f of c.
Faixa semMarcasDeCopia(const Caracteres& c, Faixa f)
{
    // "Nome (2)": the last "(" before a final ")", with only numerals between them.
    if (!f.vazia() && c[f.fim - 1] == ")") {
        const std::size_t fecha = f.fim - 1;
        std::size_t abre = fecha;
        while (abre > f.inicio && c[abre - 1] != "(") {
            --abre;
        }
        // When found, "(" is at abre - 1 and the numerals are [abre, fecha).
        if (abre > f.inicio && abre < fecha && todos(c, {abre, fecha}, numerico)) {
            f = aparar(c, {f.inicio, abre - 1});
        }
    }
    // A single pass: "Nota copy copy" keeps one "copy".
    for (const Palavra& sufixo : sufixosDeCopia()) {
        if (terminaComEmMinusculas(c, f, sufixo)) {
            f.fim -= std::min(sufixo.caracteres, f.tamanho());
        }
    }
    return f;
}

// After a generic prefix, only numerals, "-" and "_" (or nothing) leave the name opaque.
bool soNumeracao(const Caracteres& c, Faixa f)
{
    return todos(c, f, [](std::string_view x) { return numerico(x) || x == "-" || x == "_"; });
}

bool temPrefixoGenerico(const Caracteres& c, Faixa f)
{
    const std::string_view s = c.trecho(f.inicio, f.fim);
    if (c.simples()) {
        for (const Palavra& prefixo : prefixosGenericos()) {
            const std::string_view& p = prefixo.texto;
            if (s.size() >= p.size() && igualEmMinusculasAscii(s.substr(0, p.size()), p)
                && soNumeracao(c, aparar(c, {f.inicio + p.size(), f.fim}))) {
                return true;
            }
        }
        return false;
    }
    // Lower-cased once, and only when some prefix may match.
    std::string minusculas;
    std::optional<Caracteres> l;
    for (const Palavra& prefixo : prefixosGenericos()) {
        if (!podeComecarCom(s, prefixo.texto)) {
            continue;
        }
        if (!l) {
            minusculas = Texto::minusculas(s);
            l.emplace(minusculas);
        }
        if (l->tamanho() >= prefixo.caracteres && l->trecho(0, prefixo.caracteres) == prefixo.texto
            && soNumeracao(*l, aparar(*l, {prefixo.caracteres, l->tamanho()}))) {
            return true;
        }
    }
    return false;
}

bool ehUuid(const Caracteres& c, Faixa f)
{
    if (f.tamanho() != 36) {
        return false;
    }
    std::size_t tracos = 0;
    for (std::size_t i = f.inicio; i < f.fim; ++i) {
        tracos += c[i] == "-" ? 1 : 0;
    }
    return tracos == 4;
}

} // namespace

bool ehOpaco(std::string_view nome)
{
    std::string guarda;
    const Caracteres c(Texto::semExtensao(Texto::emNfc(nome, guarda)));
    const Faixa base = aparar(c, {0, c.tamanho()});
    if (base.vazia()) {
        return true;
    }
    const Faixa s = aparar(c, semMarcasDeCopia(c, base));
    if (todos(c, s, numerico)) {
        return true;
    }
    if (temPrefixoGenerico(c, s)) {
        return true;
    }
    if (ehUuid(c, s)) {
        return true;
    }
    return s.tamanho() >= 24 && todos(c, s, hexadecimal);
}

std::string removerSufixoDeCopia(std::string_view semExtensao)
{
    std::string guarda;
    const Caracteres c(Texto::emNfc(semExtensao, guarda));
    const Faixa f = semMarcasDeCopia(c, {0, c.tamanho()});
    // What is left of a composed text is composed too, except in contrived cases; make sure.
    std::string resto;
    return std::string(Texto::emNfc(c.trecho(f.inicio, f.fim), resto));
}

bool temSufixoDeCopia(std::string_view nome)
{
    std::string guarda;
    const Caracteres c(Texto::semExtensao(Texto::emNfc(nome, guarda)));
    const Faixa inteira {0, c.tamanho()};
    // Removal only ever shortens the name, so any change shows in the run of characters.
    return semMarcasDeCopia(c, inteira) != inteira;
}

} // namespace tarrafa::NameAnalyzer
