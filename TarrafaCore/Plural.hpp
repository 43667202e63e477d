// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

// Number agreement in Portuguese, the one place where a count chooses its word: the window
// and the command line both go through it, so "1 nunca aberto" and "3 nunca abertos" read
// the same everywhere. One is singular; zero and everything else plural ("0 itens").
namespace tarrafa::Plural {

[[nodiscard]] constexpr std::string_view forma(long long quantidade, std::string_view singular,
    std::string_view plural) noexcept
{
    return quantidade == 1 ? singular : plural;
}

// A number as Brazilian Portuguese writes it, thousands grouped with ".": "100.000".
// Whatever the process's locale: the words around it are Portuguese.
[[nodiscard]] inline std::string numero(long long quantidade)
{
    const std::string algarismos = std::to_string(quantidade);
    const std::size_t inicio = quantidade < 0 ? 1 : 0; // after the sign
    std::string texto = algarismos.substr(0, inicio);
    const std::size_t quantos = algarismos.size() - inicio;
    for (std::size_t i = 0; i < quantos; ++i) {
        if (i > 0 && (quantos - i) % 3 == 0) {
            texto += '.';
        }
        texto += algarismos[inicio + i];
    }
    return texto;
}

// "1 nunca aberto", "3 nunca abertos", "1.200 itens".
[[nodiscard]] inline std::string contagem(long long quantidade, std::string_view singular, std::string_view plural)
{
    std::string texto = numero(quantidade);
    texto += ' ';
    texto += forma(quantidade, singular, plural);
    return texto;
}

} // namespace tarrafa::Plural
