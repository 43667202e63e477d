// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/InstallerMatcher.hpp"

#include "TarrafaCore/Texto.hpp"

#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/stringpiece.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <memory>

namespace tarrafa::InstallerMatcher {

namespace {

bool ehAscii(std::string_view texto) noexcept
{
    return std::all_of(
        texto.begin(), texto.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool ehDigitoAscii(char c) noexcept
{
    return c >= '0' && c <= '9';
}

char minusculaAscii(char c) noexcept
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}


// Whether each code point of valid UTF-8 text is a character of its own: no combining
// marks, joiners, Hangul jamo, regional indicators or CR. That holds for nearly every name
// (accented Latin letters are precomposed in NFC) and spares the break iterator.
bool cadaCodePointEhUmCaractere(std::string_view texto) noexcept
{
    if (texto.size() > static_cast<std::size_t>(INT32_MAX)) {
        return false;
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(texto.data());
    const auto n = static_cast<int32_t>(texto.size());
    int32_t i = 0;
    while (i < n) {
        UChar32 c = 0;
        U8_NEXT(bytes, i, n, c);
        if (c < 0 || c == '\r') {
            return false;
        }
        if (c >= 0x80) {
            const int32_t quebra = u_getIntPropertyValue(c, UCHAR_GRAPHEME_CLUSTER_BREAK);
            if (quebra != U_GCB_OTHER && quebra != U_GCB_CONTROL) {
                return false;
            }
        }
    }
    return true;
}

// Calls visitar with each character of valid UTF-8 text.
template <typename Visitante> void paraCadaCaractere(std::string_view texto, Visitante visitar)
{
    if (!cadaCodePointEhUmCaractere(texto)) {
        for (const std::string_view c : Texto::grafemas(texto)) {
            visitar(c);
        }
        return;
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(texto.data());
    const auto n = static_cast<int32_t>(texto.size());
    int32_t i = 0;
    while (i < n) {
        const int32_t inicio = i;
        U8_FWD_1(bytes, i, n);
        visitar(texto.substr(static_cast<std::size_t>(inicio), static_cast<std::size_t>(i - inicio)));
    }
}

std::size_t contarCaracteres(std::string_view texto)
{
    if (ehAscii(texto) && texto.find('\r') == std::string_view::npos) {
        return texto.size();
    }
    std::size_t n = 0;
    paraCadaCaractere(texto, [&n](std::string_view) { ++n; });
    return n;
}

// A version ends the text or comes just before a final line break (one code point, or
// CR LF), so without a decimal digit among the last three code points there is nothing
// for the pattern to find.
bool podeTerVersao(const icu::UnicodeString& texto)
{
    int32_t i = texto.length();
    for (int k = 0; k < 3 && i > 0; ++k) {
        i = texto.moveIndex32(i, -1);
        if (u_isdigit(texto.char32At(i))) {
            return true;
        }
    }
    return false;
}

// The version pattern is compiled once; a compiled pattern is shared by threads, a matcher
// is not, so each thread keeps its own.
icu::RegexMatcher* buscadorDeVersao()
{
    static const std::unique_ptr<const icu::RegexPattern> padrao = [] {
        UErrorCode erro = U_ZERO_ERROR;
        std::unique_ptr<const icu::RegexPattern> compilado(icu::RegexPattern::compile(
            icu::UnicodeString::fromUTF8(
                icu::StringPiece(kPadraoDeVersao.data(), static_cast<int32_t>(kPadraoDeVersao.size()))),
            0, erro));
        if (U_FAILURE(erro)) {
            compilado.reset();
        }
        return compilado;
    }();
    thread_local const std::unique_ptr<icu::RegexMatcher> buscador
        = []() -> std::unique_ptr<icu::RegexMatcher> {
        if (!padrao) {
            return nullptr;
        }
        UErrorCode erro = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexMatcher> novo(padrao->matcher(erro));
        if (U_FAILURE(erro)) {
            novo.reset();
        }
        return novo;
    }();
    return buscador.get();
}

// Text where "$" can only mean the very end: ASCII without line terminators (LF, VT, FF, CR).
bool ehAsciiDeUmaLinha(std::string_view texto) noexcept
{
    return std::all_of(texto.begin(), texto.end(), [](char c) {
        const auto u = static_cast<unsigned char>(c);
        return u < 0x80 && (u < 0x0A || u > 0x0D);
    });
}

// Where the version pattern matches in single-line ASCII text, or texto.size() when it does
// not. The leftmost match of an end-anchored pattern is the longest matching tail: the
// longest run of digit groups joined by "." or "_", then an optional "v", then an optional
// separator.
std::size_t inicioDaVersaoAscii(std::string_view texto) noexcept
{
    std::size_t inicio = texto.size();
    while (inicio > 0 && ehDigitoAscii(texto[inicio - 1])) {
        --inicio;
    }
    if (inicio == texto.size()) {
        return texto.size();
    }
    while (inicio >= 2 && (texto[inicio - 1] == '.' || texto[inicio - 1] == '_')
        && ehDigitoAscii(texto[inicio - 2])) {
        inicio -= 2;
        while (inicio > 0 && ehDigitoAscii(texto[inicio - 1])) {
            --inicio;
        }
    }
    if (inicio > 0 && texto[inicio - 1] == 'v') {
        --inicio;
    }
    if (inicio > 0 && (texto[inicio - 1] == ' ' || texto[inicio - 1] == '_' || texto[inicio - 1] == '-')) {
        --inicio;
    }
    return inicio;
}

std::string normalizarAscii(std::string_view texto)
{
    std::string saida;
    saida.reserve(texto.size());
    for (const char c : texto.substr(0, inicioDaVersaoAscii(texto))) {
        const char m = minusculaAscii(c);
        if ((m >= 'a' && m <= 'z') || ehDigitoAscii(m)) {
            saida.push_back(m);
        }
    }
    return saida;
}

} // namespace

bool ehInstalador(std::string_view nome)
{
    std::string guarda;
    const std::string_view ext = Texto::extensao(Texto::emNfc(nome, guarda));
    if (ext.empty()) {
        return false;
    }
    std::string minusculas;
    if (ehAscii(ext)) {
        minusculas.resize(ext.size());
        std::transform(ext.begin(), ext.end(), minusculas.begin(), minusculaAscii);
    } else {
        minusculas = Texto::minusculas(ext);
    }
    return std::find(kExtensoes.begin(), kExtensoes.end(), minusculas) != kExtensoes.end();
}

std::string normalizar(std::string_view nome)
{
    std::string guarda;
    const std::string_view texto = Texto::emNfc(nome, guarda);
    if (ehAsciiDeUmaLinha(texto)) {
        return normalizarAscii(texto);
    }
    icu::UnicodeString u
        = icu::UnicodeString::fromUTF8(icu::StringPiece(texto.data(), static_cast<int32_t>(texto.size())));
    icu::RegexMatcher* buscador = podeTerVersao(u) ? buscadorDeVersao() : nullptr;
    if (buscador != nullptr) {
        UErrorCode erro = U_ZERO_ERROR;
        buscador->reset(u);
        icu::UnicodeString semVersao = buscador->replaceAll(icu::UnicodeString(), erro);
        // Do not leave the matcher pointing at a string about to go away.
        buscador->reset(icu::UnicodeString());
        if (U_SUCCESS(erro)) {
            u = std::move(semVersao);
        }
    }
    u.toLower(icu::Locale::getRoot());
    std::string minusculas;
    u.toUTF8String(minusculas);

    // Whole characters are kept or dropped, so an accent never outlives its letter.
    std::string saida;
    saida.reserve(minusculas.size());
    paraCadaCaractere(minusculas, [&saida](std::string_view c) {
        const char32_t primeiro = Texto::primeiroCodePoint(c);
        if (Texto::ehLetra(primeiro) || Texto::ehNumerico(primeiro)) {
            saida.append(c);
        }
    });
    // Lower-casing keeps text composed in practice; the check costs little.
    std::string composta;
    if (Texto::emNfc(saida, composta).data() != saida.data()) {
        return composta;
    }
    return saida;
}

std::vector<std::string> normalizarInstalados(const std::set<std::string>& instalados)
{
    std::vector<std::string> normalizados;
    normalizados.reserve(instalados.size());
    for (const std::string& app : instalados) {
        std::string m = normalizar(app);
        if (contarCaracteres(m) >= kTamanhoMinimo) {
            normalizados.push_back(std::move(m));
        }
    }
    return normalizados;
}

bool jaInstaladoEntre(std::string_view nome, const std::vector<std::string>& normalizados)
{
    const std::string n = normalizar(Texto::semExtensao(nome));
    if (contarCaracteres(n) < kTamanhoMinimo) {
        return false;
    }
    return std::ranges::any_of(normalizados, [&n](const std::string& m) {
        return n.find(m) != std::string::npos || m.find(n) != std::string::npos;
    });
}

bool jaInstalado(std::string_view nome, const std::set<std::string>& instalados)
{
    return jaInstaladoEntre(nome, normalizarInstalados(instalados));
}

} // namespace tarrafa::InstallerMatcher
