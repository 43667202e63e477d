// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

// The one way sizes are written, wherever a size is shown.
namespace tarrafa::Formato {

// A byte count in decimal units: "KB" below a million bytes, "MB" below a billion, "GB"
// from there on (never plain bytes, never TB), with 0, 1 and 2 fraction digits, trailing
// zeros dropped, halves to even; a value that rounds to 1000 of its unit is written in the
// next one. Digits and separators follow the numeric locale of the environment (LC_ALL,
// else LC_NUMERIC, else LANG), read on every call: "1,5 MB" in pt_BR, "1.5 MB" in en_US.
[[nodiscard]] std::string bytes(std::int64_t quantidade);

} // namespace tarrafa::Formato
