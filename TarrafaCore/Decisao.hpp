// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace tarrafa {

// What the user made of one file. A file without a decision counts as novo.
enum class Decisao { novo, adiado, resolvido, ignorado };

// Every decision, in the order menus and the decision file know them.
inline constexpr std::array<Decisao, 4> kTodasAsDecisoes {
    Decisao::novo, Decisao::adiado, Decisao::resolvido, Decisao::ignorado};

// The word stored in the decision file: "novo", "adiado", "resolvido", "ignorado".
[[nodiscard]] std::string_view valorBruto(Decisao decisao) noexcept;
// The decision a stored word names; none for any other word (case-sensitive).
[[nodiscard]] std::optional<Decisao> decisaoDeValorBruto(std::string_view valor) noexcept;

// Where a file stands once decided: in the inbox (Caixa de entrada), in Adiados, or in
// Resolvidos. The window's sidebar and the command line's --estado both list by it, so that
// both always put a file in the same place.
enum class Estado { caixa, adiados, resolvidos };

// Undecided files wait in the inbox; resolved and ignored ones are both done with.
[[nodiscard]] Estado estadoDe(Decisao decisao) noexcept;

} // namespace tarrafa
