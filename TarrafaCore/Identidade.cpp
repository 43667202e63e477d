// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Identidade.hpp"

#include <fcntl.h>
#include <sys/stat.h>

namespace tarrafa {

std::optional<Identidade> Identidade::ler(const std::string& caminho)
{
    struct statx info { };
    constexpr unsigned kCampos = STATX_TYPE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_CTIME;
    if (::statx(AT_FDCWD, caminho.c_str(), AT_SYMLINK_NOFOLLOW | AT_STATX_SYNC_AS_STAT, kCampos, &info)
        != 0) {
        return std::nullopt;
    }
    return Identidade::deStatx(info);
}

Identidade Identidade::deStatx(const struct statx& info) noexcept
{
    Identidade identidade;
    identidade.dispositivo = (static_cast<std::uint64_t>(info.stx_dev_major) << 32U) | info.stx_dev_minor;
    identidade.inode = info.stx_ino;
    identidade.tipo = info.stx_mode & S_IFMT;
    identidade.tamanho = static_cast<std::int64_t>(info.stx_size);
    identidade.modificadoNs = static_cast<std::int64_t>(info.stx_mtime.tv_sec) * 1'000'000'000
        + static_cast<std::int64_t>(info.stx_mtime.tv_nsec);
    if ((info.stx_mask & STATX_CTIME) != 0) {
        identidade.alteradoNs = static_cast<std::int64_t>(info.stx_ctime.tv_sec) * 1'000'000'000
            + static_cast<std::int64_t>(info.stx_ctime.tv_nsec);
    }
    return identidade;
}

} // namespace tarrafa
