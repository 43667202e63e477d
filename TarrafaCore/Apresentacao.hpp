// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/RaioX.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <optional>
#include <string>
#include <string_view>

// The words and figures the inbox shows about groups and the folder, kept here so the
// window and the command line say exactly the same thing.
namespace tarrafa::Apresentacao {

// A fraction as a whole percentage, truncated toward zero (0.497 gives 49, not 50), the
// way every percentage of the inbox is written. A product that is not finite or does not
// fit an int is a broken invariant upstream: it stops the program.
[[nodiscard]] int porcentoTruncado(double fracao);

// The line under a group's label: its size, then how many were never opened and how many
// have a name that says nothing, when there are any, joined by " · ".
[[nodiscard]] std::string resumoDoGrupo(const GrupoOrigem& grupo);

// "item" for exactly one, "itens" otherwise.
[[nodiscard]] std::string_view itemOuItens(int quantidade) noexcept;

// The warning above the groups when the three largest origins hold less than half of
// the files; nothing without a diagnosis, for an empty folder, or when grouping works.
[[nodiscard]] std::optional<std::string> avisoDeEspalhamento(const RaioX* raioX);

// Why a Downloads folder that is the home is not scanned, naming the file that configures it.
[[nodiscard]] std::string downloadsNaoConfigurada(const std::string& arquivoDasPastas);

} // namespace tarrafa::Apresentacao
