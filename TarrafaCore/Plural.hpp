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

// "1 nunca aberto", "3 nunca abertos".
[[nodiscard]] inline std::string contagem(long long quantidade, std::string_view singular, std::string_view plural)
{
    std::string texto = std::to_string(quantidade);
    texto += ' ';
    texto += forma(quantidade, singular, plural);
    return texto;
}

} // namespace tarrafa::Plural
