// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <set>
#include <string>
#include <vector>

// The names of the installed applications, as written on disk, listed once per scan so that
// an installer whose application is already there can be told from one never used.
namespace tarrafa::AppsInstalados {

// A folder that holds applications and the endings that mark one among its children
// (case-sensitive; the ending is stripped to give the application's name).
struct PastaDeApps {
    std::string caminho;
    std::vector<std::string> finais;
};

// Application bundles in /Applications, /System/Applications and ~/Applications (".app"
// stripped; in ~/Applications ".AppImage" too), then the desktop entries of
// $XDG_DATA_HOME/applications and of each $XDG_DATA_DIRS/applications (".desktop" stripped).
// Shallow listings; an unreadable folder contributes nothing. Never fails.
[[nodiscard]] std::set<std::string> listar();

// The folders listar() examines, in order, from HOME, XDG_DATA_HOME and XDG_DATA_DIRS as
// they are at the time of the call.
[[nodiscard]] std::vector<PastaDeApps> pastas();

// The names of the immediate children of each folder that end with one of its endings, the
// ending removed (hidden names included). A folder that cannot be listed adds nothing.
[[nodiscard]] std::set<std::string> listar(const std::vector<PastaDeApps>& pastas);

} // namespace tarrafa::AppsInstalados
