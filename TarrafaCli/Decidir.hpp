// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/ArquivoDeDecisoes.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Decisions taken at the terminal, so that scripts can triage: the same file, and the same
// ids, as the window's.
namespace tarrafa::cli::Decidir {

// The subcommands: "adiar", "resolver", "ignorar", and "esquecer" (back to the inbox).
enum class Verbo { adiar, resolver, ignorar, esquecer };
[[nodiscard]] std::optional<Verbo> verboDe(std::string_view palavra) noexcept;

// What the arguments name: the id of each, or why one is not an entry of the folder.
struct Alvos {
    std::vector<std::string> ids;
    std::vector<std::string> erros; // one line each, ready for the terminal
};
// An argument with no "/" is a name in the folder; one with a "/" is a path (relative to
// the working directory) whose parent must be the folder itself, through whatever link.
// Either way the entry must exist (unless it is to come back from the Trash), and not be a
// download under way; "." and ".." are not entries.
enum class Existencia { exigida, dispensada };
[[nodiscard]] Alvos resolver(const std::string& pasta, const std::vector<std::string>& argumentos,
    Existencia existencia = Existencia::exigida);

// The changes the verb makes to those ids.
[[nodiscard]] ArquivoDeDecisoes::Mudancas mudancas(Verbo verbo, const std::vector<std::string>& ids);

} // namespace tarrafa::cli::Decidir
