// SPDX-License-Identifier: GPL-3.0-or-later
// What the fuzz targets share: a check that turns a broken promise into a crash libFuzzer
// records (with the input that broke it), and a private scratch folder for the readers that
// only take a path.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace tarrafa::fuzz {

[[noreturn]] inline void falhar(const char* condicao, const char* arquivo, int linha)
{
    std::fprintf(stderr, "%s:%d: broken invariant: %s\n", arquivo, linha, condicao);
    std::abort();
}

// Not assert(): it must hold in every build, NDEBUG or not.
#define TARRAFA_EXIGIR(condicao)                                                                             \
    ((condicao) ? static_cast<void>(0) : ::tarrafa::fuzz::falhar(#condicao, __FILE__, __LINE__))

inline std::span<const unsigned char> comoBytes(const std::uint8_t* dados, std::size_t tamanho) noexcept
{
    return {dados, tamanho};
}

inline std::string_view comoTexto(const std::uint8_t* dados, std::size_t tamanho) noexcept
{
    return {reinterpret_cast<const char*>(dados), tamanho};
}

// A folder of our own under $TMPDIR, made once per process and removed with everything in it
// when the process ends normally. The readers under test take paths, so the input is written
// to a file here and the same file is rewritten for every input.
class Rascunho final {
public:
    [[nodiscard]] static Rascunho& instancia()
    {
        static Rascunho rascunho;
        return rascunho;
    }

    Rascunho(const Rascunho&) = delete;
    Rascunho& operator=(const Rascunho&) = delete;

    [[nodiscard]] const std::string& pasta() const noexcept { return pasta_; }

    // Replaces the content of the file `nome` in the folder with the bytes; returns its path.
    std::string escrever(std::string_view nome, std::span<const unsigned char> bytes) const
    {
        std::string caminho = pasta_ + "/" + std::string(nome);
        const int fd = ::open(caminho.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (fd < 0) {
            abortar("open", caminho);
        }
        std::size_t escritos = 0;
        while (escritos < bytes.size()) {
            const ssize_t n = ::write(fd, bytes.data() + escritos, bytes.size() - escritos);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                abortar("write", caminho);
            }
            escritos += static_cast<std::size_t>(n);
        }
        ::close(fd);
        return caminho;
    }

private:
    Rascunho()
    {
        std::error_code erro;
        std::filesystem::path base = std::filesystem::temp_directory_path(erro);
        if (erro) {
            base = "/tmp";
        }
        std::string modelo = (base / "tarrafa-fuzz-XXXXXX").string();
        if (::mkdtemp(modelo.data()) == nullptr) {
            abortar("mkdtemp", modelo);
        }
        pasta_ = modelo;
    }
    ~Rascunho()
    {
        std::error_code ignorado;
        std::filesystem::remove_all(pasta_, ignorado);
    }

    // A scratch file that cannot be written is the machine's problem, not an input's; it still
    // has to stop the run rather than fuzz nothing.
    [[noreturn]] static void abortar(const char* operacao, const std::string& caminho)
    {
        std::fprintf(
            stderr, "fuzz scratch folder: %s %s: %s\n", operacao, caminho.c_str(), std::strerror(errno));
        std::abort();
    }

    std::string pasta_;
};

} // namespace tarrafa::fuzz
