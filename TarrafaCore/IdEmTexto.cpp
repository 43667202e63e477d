// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/IdEmTexto.hpp"

#include "TarrafaCore/Texto.hpp"

#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace tarrafa::IdEmTexto {

namespace {

constexpr char kMarca = '%';

void escapar(std::string& saida, unsigned char byte)
{
    constexpr char kHex[] = "0123456789ABCDEF";
    saida += kMarca;
    saida += kHex[byte >> 4U];
    saida += kHex[byte & 0x0FU];
}

int valorHex(char c) noexcept
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    // Upper case only: "%e9" and "%E9" would otherwise be two texts for one byte.
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

} // namespace

std::string codificar(std::string_view caminho)
{
    if ((caminho.empty() || caminho.front() != kMarca) && Texto::ehUtf8Valido(caminho)) {
        return std::string(caminho);
    }
    std::string saida(1, kMarca);
    saida.reserve(caminho.size() + caminho.size() / 4 + 1);
    const auto* s = reinterpret_cast<const std::uint8_t*>(caminho.data());
    // Taken in pieces ICU can index, so a path of any length is escaped the same way.
    std::size_t base = 0;
    while (base < caminho.size()) {
        constexpr std::size_t kPedaco = std::size_t(1) << 30U;
        auto n = static_cast<std::int32_t>(std::min(caminho.size() - base, kPedaco));
        std::int32_t i = 0;
        while (i < n) {
            const std::int32_t inicio = i;
            UChar32 c = 0;
            U8_NEXT(s + base, i, n, c);
            if (c < 0) {
                for (std::int32_t k = inicio; k < i; ++k) {
                    escapar(saida, s[base + static_cast<std::size_t>(k)]);
                }
            } else if (c == kMarca) {
                escapar(saida, static_cast<unsigned char>(kMarca));
            } else {
                saida.append(caminho.substr(base + static_cast<std::size_t>(inicio), static_cast<std::size_t>(i - inicio)));
            }
        }
        base += static_cast<std::size_t>(n);
    }
    return saida;
}

bool ehCodificado(std::string_view texto) noexcept
{
    return !texto.empty() && texto.front() == kMarca;
}

std::optional<std::string> decodificar(std::string_view texto)
{
    if (!ehCodificado(texto)) {
        return std::string(texto);
    }
    std::string bytes;
    bytes.reserve(texto.size());
    for (std::size_t i = 1; i < texto.size(); ++i) {
        if (texto[i] != kMarca) {
            bytes += texto[i];
            continue;
        }
        if (i + 2 >= texto.size()) {
            return std::nullopt;
        }
        const int alto = valorHex(texto[i + 1]);
        const int baixo = valorHex(texto[i + 2]);
        if (alto < 0 || baixo < 0) {
            return std::nullopt;
        }
        bytes += static_cast<char>((alto << 4) | baixo);
        i += 2;
    }
    // Only the one form codificar writes is accepted, so that no path has two.
    if (codificar(bytes) != texto) {
        return std::nullopt;
    }
    return bytes;
}

} // namespace tarrafa::IdEmTexto
