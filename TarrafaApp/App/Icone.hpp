// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Origem.hpp"

#include <QString>

namespace tarrafa::app {

// The system symbol that stands for an origin in the sidebar, decided on its key alone.
// Every per-site SharePoint key shares one symbol; every other rule is whole-key equality,
// case-sensitive, so "GitHub" is just another host and gets the globe.
[[nodiscard]] QString icone(const Origem& origem);

} // namespace tarrafa::app
