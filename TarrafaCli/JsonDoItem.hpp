// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/TriageEngine.hpp"

#include <nlohmann/json.hpp>

namespace tarrafa::cli {

// One item as the JSON report writes it: the snapshot's fields, its origin and its badges.
[[nodiscard]] nlohmann::ordered_json jsonDoItem(const ItemTriado& item);

} // namespace tarrafa::cli
