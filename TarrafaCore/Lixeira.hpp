// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Identidade.hpp"

#include <optional>
#include <string>

// The system Trash, the only way a file ever leaves the folder, and the way back. Shared by
// the window and the command line. Moving goes through GIO (the desktop's own trash code:
// the home trash, or the trash at the top of another disk); restoring follows the
// freedesktop.org Trash specification by hand, since GIO has no call for it. Neither ever
// copies, deletes or overwrites a file.
namespace tarrafa::Lixeira {

// Why a move or a restore did not happen: the sentence that follows "Não consegui mover X
// para a Lixeira: " or "Não consegui restaurar X: ".
using Falha = std::string;

// Moves the entry at the path to the Trash. When vista is given, the path must still name
// that entry (device, inode, type, size, modification time): a file replaced by a folder, or
// rewritten, since it was seen is not what the person confirmed, and stays.
[[nodiscard]] std::optional<Falha> mover(const std::string& caminho, const std::optional<Identidade>& vista);

// Where the newest trashed file whose original path is this one lies now: its file in
// files/ and its record in info/. None when no trash holds it.
struct NaLixeira {
    std::string arquivo;
    std::string info;
    std::string pastaDaLixeira;
};
[[nodiscard]] std::optional<NaLixeira> procurar(const std::string& caminhoOriginal);

// Puts the newest trashed file with this original path back there, by rename (never a copy),
// and removes its record; refuses when anything stands at the path now, when the folder it
// was in is gone, or when no trash holds it.
[[nodiscard]] std::optional<Falha> restaurar(const std::string& caminhoOriginal);

} // namespace tarrafa::Lixeira
