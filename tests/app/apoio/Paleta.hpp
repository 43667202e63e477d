// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPalette>

namespace tarrafa::app::teste {

// A dark palette as a dark desktop theme gives one: light text on dark grounds.
[[nodiscard]] QPalette paletaEscura();

} // namespace tarrafa::app::teste
