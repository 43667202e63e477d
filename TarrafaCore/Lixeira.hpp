// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Identidade.hpp"

#include <optional>
#include <string>
#include <vector>

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

// One file the Trash holds, as its record describes it.
struct Guardado {
    std::string caminhoOriginal; // decoded, absolute
    std::string arquivo;         // where it lies now, in files/
    std::string info;            // its record, in info/
    std::string pastaDaLixeira;
    std::string apagadoEm;       // DeletionDate as written (ISO 8601, so it sorts as text)

    friend bool operator==(const Guardado&, const Guardado&) = default;
};

// Every file the Trash holds (the home trash and those at the top of the folder's disk) that
// was directly in this folder, oldest first; records whose file is gone are left out. Whoever
// moved it there, in whatever session.
[[nodiscard]] std::vector<Guardado> listar(const std::string& pasta);

// Puts the newest trashed file with this original path back there, by rename (never a copy),
// and removes its record; refuses when anything stands at the path now, when the folder it
// was in is gone, or when no trash holds it.
[[nodiscard]] std::optional<Falha> restaurar(const std::string& caminhoOriginal);
// Puts this very trashed file back at its original path, under the same conditions.
[[nodiscard]] std::optional<Falha> restaurar(const Guardado& guardado);

} // namespace tarrafa::Lixeira
