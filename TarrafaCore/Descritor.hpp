// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace tarrafa {

// A file descriptor closed when it goes out of scope.
class Descritor final {
public:
    explicit Descritor(int fd = -1) noexcept
        : fd_(fd)
    {
    }
    Descritor(const Descritor&) = delete;
    Descritor& operator=(const Descritor&) = delete;
    Descritor(Descritor&& outro) noexcept
        : fd_(std::exchange(outro.fd_, -1))
    {
    }
    Descritor& operator=(Descritor&& outro) noexcept
    {
        if (this != &outro) {
            fechar();
            fd_ = std::exchange(outro.fd_, -1);
        }
        return *this;
    }
    ~Descritor() { fechar(); }

    [[nodiscard]] int get() const noexcept { return fd_; }
    [[nodiscard]] bool valido() const noexcept { return fd_ >= 0; }
    // Hands the descriptor over (to fdopendir).
    [[nodiscard]] int soltar() noexcept { return std::exchange(fd_, -1); }
    void fechar() noexcept
    {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }

private:
    int fd_;
};

// Opens without touching the access time where the kernel allows it: O_NOATIME is refused
// (EPERM) on what the user does not own, which is then opened without it. For folders listed
// to size them (a size matters more than a folder's access time) and for files that are the
// desktop's or a browser's, not the person's content.
inline Descritor abrirSemTocarAcesso(int base, const char* caminho, int flags) noexcept
{
    int fd = ::openat(base, caminho, flags | O_NOATIME);
    if (fd < 0 && errno == EPERM) {
        fd = ::openat(base, caminho, flags);
    }
    return Descritor(fd);
}

// Opens only if the access time stays as it is: where the kernel refuses O_NOATIME (the
// entry is someone else's) nothing is opened and errno is EPERM. Reading what sits in the
// scanned folder must never tell its owner, through the access time, that it was "used".
inline Descritor abrirSoSemTocarAcesso(int base, const char* caminho, int flags) noexcept
{
    return Descritor(::openat(base, caminho, flags | O_NOATIME));
}

// Opens a file of someone else's (a browser's database, a desktop list) for reading only,
// without touching its access time where the kernel allows it and without blocking should it
// be a FIFO or a device.
inline Descritor abrirParaLer(int base, const char* caminho) noexcept
{
    return abrirSemTocarAcesso(base, caminho, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

// Opens a file of the scanned folder that is not an entry (its ".hidden" list) for reading
// only: never when its access time would change, without blocking should it be a FIFO.
inline Descritor abrirDaPastaParaLer(int base, const char* caminho) noexcept
{
    return abrirSoSemTocarAcesso(base, caminho, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

// Opens an entry of the scanned folder to read its bytes (to compare it, to preview it): not
// through a link put in its place, never when its access time would change (the entry is then
// not read at all), and without blocking should it have become a FIFO.
inline Descritor abrirArquivoParaLer(const char* caminho) noexcept
{
    return abrirSoSemTocarAcesso(AT_FDCWD, caminho, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
}

// Everything left in an open file, up to a limit; none with errno set when a read fails, or
// with EFBIG when the file holds more than the limit (it is then not what it claims to be).
inline std::optional<std::string> lerTudo(int fd, std::size_t limite)
{
    std::string bytes;
    char bloco[65536];
    for (;;) {
        const ssize_t lidos = ::read(fd, bloco, sizeof bloco);
        if (lidos < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::nullopt;
        }
        if (lidos == 0) {
            return bytes;
        }
        if (bytes.size() + static_cast<std::size_t>(lidos) > limite) {
            errno = EFBIG;
            return std::nullopt;
        }
        bytes.append(bloco, static_cast<std::size_t>(lidos));
    }
}

} // namespace tarrafa
