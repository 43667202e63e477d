// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/TriageEngine.hpp"

#include <nlohmann/json.hpp>

namespace tarrafa::cli {

// One item as the JSON report writes it: the snapshot's fields, its origin and its badges.
[[nodiscard]] nlohmann::ordered_json jsonDoItem(const ItemTriado& item);

// An entry's id as the JSON writes it: the path as it is when it is valid UTF-8, otherwise
// its escaped form ("%" then the path with "%XX" for the odd bytes), which decodes to the
// exact bytes; two names never share one. Beside it, "idCodificado" says which.
void escreverId(nlohmann::ordered_json& objeto, const std::string& id);

} // namespace tarrafa::cli
