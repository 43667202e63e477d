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

    friend bool operator==(const Identidade&, const Identidade&) = default;

    // What the path names now; none when nothing is there or it cannot be read.
    [[nodiscard]] static std::optional<Identidade> ler(const std::string& caminho);
    // From what statx said of an entry (type, inode, size and modification time asked for).
    [[nodiscard]] static Identidade deStatx(const struct statx& info) noexcept;
};

} // namespace tarrafa
