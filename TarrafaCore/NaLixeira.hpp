// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Lixeira.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <stop_token>
#include <string>
#include <vector>

namespace tarrafa::NaLixeira {

// A file the Trash holds that was directly in the folder: the item as it would be in the
// folder (its id is where it lies in the Trash, its name the one it had), and its record.
struct Item {
    ItemTriado item;
    Lixeira::Guardado guardado;

    friend bool operator==(const Item&, const Item&) = default;
};

// Every such file, whoever moved it there and whenever, oldest first: the window's
// "Resolvidos" and tarrafa-cli --estado resolvidos list them after the files decided. Each is
// read where it lies, one read per trash folder, and badged by the folder's triage. Throws
// ECANCELED as PastaScanner does once stop is requested.
[[nodiscard]] std::vector<Item> ler(
    const std::string& pasta, const TriageEngine& triagem, const std::stop_token& parar = {});

} // namespace tarrafa::NaLixeira
