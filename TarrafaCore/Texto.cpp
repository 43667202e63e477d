// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Texto.hpp"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <memory>

namespace tarrafa::Texto {

namespace {

icu::UnicodeString paraUnicode(std::string_view texto)
{
    // fromUTF8 substitutes U+FFFD for every ill-formed sequence.
    return icu::UnicodeString::fromUTF8(icu::StringPiece(texto.data(), static_cast<int32_t>(texto.size())));
}

std::string paraUtf8(const icu::UnicodeString& texto)
{
    std::string saida;
    texto.toUTF8String(saida);
    return saida;
}

// Creating a break iterator loads rules; one per thread is kept and reset per text.
icu::BreakIterator* iteradorDeGrafemas()
{
    thread_local std::unique_ptr<icu::BreakIterator> iterador = [] {
        UErrorCode erro = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> novo(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), erro));
        if (U_FAILURE(erro)) {
            novo.reset();
        }
        return novo;
    }();
    return iterador.get();
}

bool ehAscii(std::string_view texto) noexcept
{
    for (const char c : texto) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            return false;
        }
    }
    return true;
}

} // namespace

bool ehUtf8Valido(std::string_view bytes) noexcept
{
    const auto* s = reinterpret_cast<const uint8_t*>(bytes.data());
    const auto n = static_cast<int32_t>(bytes.size());
    if (bytes.size() > static_cast<std::size_t>(INT32_MAX)) {
        return false;
    }
    int32_t i = 0;
    while (i < n) {
        UChar32 c = 0;
        U8_NEXT(s, i, n, c);
        if (c < 0) {
            return false;
        }
    }
    return true;
}

std::string utf8Valido(std::string_view bytes)
{
    if (ehUtf8Valido(bytes)) {
        return std::string(bytes);
    }
    return paraUtf8(paraUnicode(bytes));
}

std::string nfc(std::string_view texto)
{
    if (ehAscii(texto)) {
        return std::string(texto);
    }
    UErrorCode erro = U_ZERO_ERROR;
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(erro);
    if (U_FAILURE(erro)) {
        return utf8Valido(texto);
    }
    const icu::UnicodeString normalizado = nfc->normalize(paraUnicode(texto), erro);
    if (U_FAILURE(erro)) {
        return utf8Valido(texto);
    }
    return paraUtf8(normalizado);
}

std::string_view emNfc(std::string_view texto, std::string& guarda)
{
    if (ehAscii(texto)) {
        return texto;
    }
    if (texto.size() <= static_cast<std::size_t>(INT32_MAX) && ehUtf8Valido(texto)) {
        UErrorCode erro = U_ZERO_ERROR;
        const icu::Normalizer2* normalizador = icu::Normalizer2::getNFCInstance(erro);
        if (U_SUCCESS(erro)) {
            const bool normalizado = normalizador->isNormalizedUTF8(
                icu::StringPiece(texto.data(), static_cast<int32_t>(texto.size())), erro);
            if (U_SUCCESS(erro) && normalizado) {
                return texto;
            }
        }
    }
    guarda = nfc(texto);
    return guarda;
}

std::string minusculas(std::string_view texto)
{
    return paraUtf8(paraUnicode(texto).toLower(icu::Locale::getRoot()));
}

std::string maiusculas(std::string_view texto)
{
    return paraUtf8(paraUnicode(texto).toUpper(icu::Locale::getRoot()));
}

std::string dobrarCaixa(std::string_view texto)
{
    // In ASCII, full case folding only lowers A to Z; most file names need nothing more.
    if (ehAscii(texto)) {
        std::string dobrado(texto);
        for (char& c : dobrado) {
            if (c >= 'A' && c <= 'Z') {
                c = static_cast<char>(c - 'A' + 'a');
            }
        }
        return dobrado;
    }
    return paraUtf8(paraUnicode(texto).foldCase(U_FOLD_CASE_DEFAULT));
}

std::string chaveDeBusca(std::string_view texto)
{
    if (ehAscii(texto)) {
        return dobrarCaixa(texto);
    }
    UErrorCode erro = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(erro);
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(erro);
    if (U_FAILURE(erro)) {
        return dobrarCaixa(texto);
    }
    // Folded first: folding may itself decompose ("İ" becomes "i" and a dot above).
    icu::UnicodeString dobrado = paraUnicode(texto);
    dobrado.foldCase(U_FOLD_CASE_DEFAULT);
    const icu::UnicodeString decomposto = nfd->normalize(dobrado, erro);
    icu::UnicodeString semMarcas;
    for (int32_t i = 0; i < decomposto.length();) {
        const UChar32 c = decomposto.char32At(i);
        i += U16_LENGTH(c);
        if (u_charType(c) != U_NON_SPACING_MARK) {
            semMarcas.append(c);
        }
    }
    const icu::UnicodeString composto = nfc->normalize(semMarcas, erro);
    return U_FAILURE(erro) ? dobrarCaixa(texto) : paraUtf8(composto);
}

std::vector<std::string_view> grafemas(std::string_view texto)
{
    std::vector<std::string_view> partes;
    if (texto.empty()) {
        return partes;
    }
    // ASCII without CR has one character per byte: no iterator needed.
    if (ehAscii(texto) && texto.find('\r') == std::string_view::npos) {
        partes.reserve(texto.size());
        for (std::size_t i = 0; i < texto.size(); ++i) {
            partes.push_back(texto.substr(i, 1));
        }
        return partes;
    }
    icu::BreakIterator* iterador = iteradorDeGrafemas();
    UErrorCode erro = U_ZERO_ERROR;
    UText* ut = utext_openUTF8(nullptr, texto.data(), static_cast<int64_t>(texto.size()), &erro);
    if (iterador == nullptr || U_FAILURE(erro)) {
        utext_close(ut);
        partes.push_back(texto);
        return partes;
    }
    iterador->setText(ut, erro);
    if (U_FAILURE(erro)) {
        utext_close(ut);
        partes.push_back(texto);
        return partes;
    }
    int32_t inicio = iterador->first();
    for (int32_t fim = iterador->next(); fim != icu::BreakIterator::DONE; fim = iterador->next()) {
        partes.push_back(texto.substr(static_cast<std::size_t>(inicio), static_cast<std::size_t>(fim - inicio)));
        inicio = fim;
    }
    // Leave the iterator without a reference to text that is about to go away.
    iterador->setText(icu::UnicodeString());
    utext_close(ut);
    return partes;
}

std::size_t contarGrafemas(std::string_view texto)
{
    return grafemas(texto).size();
}

char32_t primeiroCodePoint(std::string_view texto) noexcept
{
    if (texto.empty()) {
        return U'\uFFFD';
    }
    const auto* s = reinterpret_cast<const uint8_t*>(texto.data());
    int32_t i = 0;
    UChar32 c = 0;
    const int32_t n = texto.size() > 4 ? 4 : static_cast<int32_t>(texto.size());
    U8_NEXT(s, i, n, c);
    return c < 0 ? U'\uFFFD' : static_cast<char32_t>(c);
}

bool ehNumerico(char32_t c) noexcept
{
    return u_getIntPropertyValue(static_cast<UChar32>(c), UCHAR_NUMERIC_TYPE) != U_NT_NONE;
}

bool ehLetra(char32_t c) noexcept
{
    return (U_GET_GC_MASK(static_cast<UChar32>(c)) & U_GC_L_MASK) != 0;
}

bool ehHexadecimal(char32_t c) noexcept
{
    return (c >= U'0' && c <= U'9') || (c >= U'a' && c <= U'f') || (c >= U'A' && c <= U'F')
        || (c >= U'\uFF10' && c <= U'\uFF19') || (c >= U'\uFF21' && c <= U'\uFF26')
        || (c >= U'\uFF41' && c <= U'\uFF46');
}

bool ehEspaco(char32_t c) noexcept
{
    return c == U'\t' || u_charType(static_cast<UChar32>(c)) == U_SPACE_SEPARATOR;
}

bool ehBrancoOuQuebra(char32_t c) noexcept
{
    if ((c >= U'\t' && c <= U'\r') || c == U'\u0085') {
        return true;
    }
    return (U_GET_GC_MASK(static_cast<UChar32>(c)) & U_GC_Z_MASK) != 0;
}

namespace {

template <typename Predicado>
std::string_view aparar(std::string_view texto, Predicado predicado)
{
    const std::vector<std::string_view> partes = grafemas(texto);
    std::size_t primeiro = 0;
    std::size_t ultimo = partes.size();
    while (primeiro < ultimo && predicado(primeiroCodePoint(partes[primeiro]))) {
        ++primeiro;
    }
    while (ultimo > primeiro && predicado(primeiroCodePoint(partes[ultimo - 1]))) {
        --ultimo;
    }
    if (primeiro == ultimo) {
        return texto.substr(0, 0);
    }
    const auto inicio = static_cast<std::size_t>(partes[primeiro].data() - texto.data());
    const auto fim = static_cast<std::size_t>(partes[ultimo - 1].data() + partes[ultimo - 1].size() - texto.data());
    return texto.substr(inicio, fim - inicio);
}

} // namespace

std::string_view apararEspacos(std::string_view texto)
{
    return aparar(texto, ehEspaco);
}

std::string_view apararBrancosEQuebras(std::string_view texto)
{
    return aparar(texto, ehBrancoOuQuebra);
}

std::string_view extensao(std::string_view nome) noexcept
{
    const std::size_t ponto = nome.rfind('.');
    if (ponto == std::string_view::npos || ponto == 0) {
        return nome.substr(0, 0);
    }
    return nome.substr(ponto + 1);
}

std::string_view semExtensao(std::string_view nome) noexcept
{
    const std::size_t ponto = nome.rfind('.');
    if (ponto == std::string_view::npos || ponto == 0) {
        return nome;
    }
    return nome.substr(0, ponto);
}

std::string primeiraMaiuscula(std::string_view texto)
{
    const std::vector<std::string_view> partes = grafemas(texto);
    if (partes.empty()) {
        return {};
    }
    std::string saida = maiusculas(partes.front());
    saida.append(texto.substr(partes.front().size()));
    return saida;
}

} // namespace tarrafa::Texto
