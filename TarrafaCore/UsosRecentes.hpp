// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

// Notes a file opened through Tarrafa in the desktop's list of recently used files, as a file
// manager does, so that the file shows as opened at once, here and in every program that reads
// the list, whether or not the application that opens it notes it too.
namespace tarrafa::UsosRecentes {

enum class Resultado {
    anotado,
    // The person turned the desktop's history of recent files off, or put something other
    // than a plain file in the list's place (a link to /dev/null is the usual way to keep no
    // history): their wish is kept.
    historicoDesligado,
    // The list is there but cannot be read as one: rewriting it would lose what it holds.
    listaIlegivel,
    // It could not be written (a full disk, a read-only home); nothing was changed.
    falhaAoGravar,
};

// Adds (or refreshes) the use of the file at this absolute path by Tarrafa, dated now, in the
// list at `lista` ($XDG_DATA_HOME/recently-used.xbel by default). The list is replaced whole,
// atomically, and keeps everything it held.
[[nodiscard]] Resultado anotar(const std::string& caminho, const std::string& lista);
[[nodiscard]] Resultado anotar(const std::string& caminho);

} // namespace tarrafa::UsosRecentes
