// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace tarrafa {

// Which entry a path named when it was read: enough to tell, before acting on the path, that
// it still names that entry and not one that took its place (a file replaced by a folder, a
// file rewritten, a link swapped in). Read without following links.
struct Identidade {
    std::uint64_t dispositivo = 0;
    std::uint64_t inode = 0;
    std::uint32_t tipo = 0; // the S_IFMT bits
    std::int64_t tamanho = 0;
    std::int64_t modificadoNs = 0;
    // When its inode last changed (ctime): any write, and anything else done to it. Unlike the
    // modification time it cannot be set back, so a file edited in place whose modification
    // time was restored afterwards (touch -d) still tells. Zero when the system gave none.
    std::int64_t alteradoNs = 0;

    // The same entry, as it was: the change time is left out, since renaming a file, moving
    // it to the trash and back, or changing its permissions or attributes change it too, and
    // the entry is still the one that was seen. What must notice an in-place edit compares
    // alteradoNs as well.
    friend bool operator==(const Identidade& a, const Identidade& b) noexcept
    {
        return a.dispositivo == b.dispositivo && a.inode == b.inode && a.tipo == b.tipo && a.tamanho == b.tamanho
            && a.modificadoNs == b.modificadoNs;
    }

    // What the path names now; none when nothing is there or it cannot be read.
    [[nodiscard]] static std::optional<Identidade> ler(const std::string& caminho);
    // From what statx said of an entry (type, inode, size, modification and change times asked
    // for).
    [[nodiscard]] static Identidade deStatx(const struct statx& info) noexcept;
};

} // namespace tarrafa
