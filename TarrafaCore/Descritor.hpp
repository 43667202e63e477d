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
// (EPERM) on what the user does not own, which is then opened without it.
inline Descritor abrirSemTocarAcesso(int base, const char* caminho, int flags) noexcept
{
    int fd = ::openat(base, caminho, flags | O_NOATIME);
    if (fd < 0 && errno == EPERM) {
        fd = ::openat(base, caminho, flags);
    }
    return Descritor(fd);
}

// Opens a file of someone else's (a browser's database, a desktop list) for reading only,
// without touching its access time and without blocking should it be a FIFO or a device.
inline Descritor abrirParaLer(int base, const char* caminho) noexcept
{
    return abrirSemTocarAcesso(base, caminho, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

// Opens an entry of the scanned folder to read its bytes (to compare it, to preview it): not
// through a link put in its place, without touching its access time, and without blocking
// should it have become a FIFO.
inline Descritor abrirArquivoParaLer(const char* caminho) noexcept
{
    return abrirSemTocarAcesso(AT_FDCWD, caminho, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
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
