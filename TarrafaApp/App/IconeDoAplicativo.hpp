// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>

namespace tarrafa::app {

// The identifier the desktop knows the application by: its desktop entry, its AppStream
// metadata and its icon all carry this name.
inline constexpr char kIdDoAplicativo[] = "io.github.tarrafa.Tarrafa";

// The application's icon: the installed one from the icon theme when there is one,
// otherwise the same picture drawn here (a cast net over a tray), so that the window has
// its icon even when run from the build folder.
[[nodiscard]] QIcon iconeDoAplicativo();

} // namespace tarrafa::app
