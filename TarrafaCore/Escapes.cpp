// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Escapes.hpp"

#include "TarrafaCore/Texto.hpp"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <cstdio>

namespace tarrafa::Escapes {

namespace {

// The characters that change the direction of what follows them: ALM, LRM, RLM, the
// embeddings and overrides, and the isolates.
bool ehControleBidi(UChar32 c)
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E)
        || (c >= 0x2066 && c <= 0x2069);
}

bool ehC1(UChar32 c)
{
    return c >= 0x80 && c <= 0x9F;
}

void escapar(std::string& saida, const char* formato, UChar32 c)
{
    char codigo[16];
    const int n = std::snprintf(codigo, sizeof codigo, formato, static_cast<unsigned>(c));
    saida.append(codigo, static_cast<std::size_t>(n));
}

// Copies UTF-8 text code point by code point; escapar writes its own form of those it takes
// (returning true) and the others are copied as they are.
template <typename Escapar> std::string reescrever(std::string_view utf8, Escapar escapar)
{
    std::string saida;
    saida.reserve(utf8.size());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
    const auto tamanho = static_cast<std::int32_t>(utf8.size());
    for (std::int32_t i = 0; i < tamanho;) {
        const std::int32_t inicio = i;
        UChar32 c = 0;
        U8_NEXT(bytes, i, tamanho, c);
        if (!escapar(c, saida)) {
            saida.append(utf8.data() + inicio, static_cast<std::size_t>(i - inicio));
        }
    }
    return saida;
}

} // namespace

std::string paraTerminal(std::string_view texto)
{
    return reescrever(Texto::utf8Valido(texto), [](UChar32 c, std::string& saida) {
        if (c == '\\') {
            saida.append("\\\\");
        } else if ((c >= 0 && c < 0x20) || c == 0x7F) {
            escapar(saida, "\\x%02x", c);
        } else if (ehC1(c) || ehControleBidi(c)) {
            escapar(saida, "\\u%04x", c);
        } else {
            return false;
        }
        return true;
    });
}

std::string paraJanela(std::string_view texto)
{
    bool daDireitaParaAEsquerda = false;
    std::string visivel = reescrever(Texto::utf8Valido(texto), [&](UChar32 c, std::string& saida) {
        if ((c >= 0 && c < 0x20) || c == 0x7F) {
            escapar(saida, "\\x%02x", c);
        } else if (ehC1(c) || ehControleBidi(c)) {
            escapar(saida, "\\u%04x", c);
        } else {
            const UCharDirection direcao = u_charDirection(c);
            daDireitaParaAEsquerda = daDireitaParaAEsquerda || direcao == U_RIGHT_TO_LEFT
                || direcao == U_RIGHT_TO_LEFT_ARABIC || direcao == U_ARABIC_NUMBER;
            return false;
        }
        return true;
    });
    if (daDireitaParaAEsquerda) {
        // FIRST STRONG ISOLATE ... POP DIRECTIONAL ISOLATE
        visivel = "\u2068" + visivel + "\u2069";
    }
    return visivel;
}

std::string invisiveisEmJson(std::string_view json)
{
    return reescrever(json, [](UChar32 c, std::string& saida) {
        if (c == 0x7F || ehC1(c) || ehControleBidi(c)) {
            escapar(saida, "\\u%04x", c);
            return true;
        }
        return false;
    });
}

} // namespace tarrafa::Escapes
