// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/ArquivoDeDecisoes.hpp"
#include "TarrafaCore/PastaViva.hpp"

#include <string>

// tarrafa-cli vigiar: the folder's changes as they happen, one line each, until interrupted.
namespace tarrafa::cli::Vigiar {

// One change as a line of text (for people) or of JSON (the item as the report writes it, with
// its "decisao" from the decisions given, plus "evento" and "baixando"); ends with a newline.
[[nodiscard]] std::string linha(
    const PastaViva::Mudanca& mudanca, bool json, const ArquivoDeDecisoes::Decisoes& decisoes = {});

// Watches the folder and writes its changes to standard output until SIGINT, SIGTERM or SIGHUP
// (status 0), or until the output is closed. Status 1 when the folder cannot be read at start.
int executar(const std::string& pasta, bool json);

} // namespace tarrafa::cli::Vigiar
