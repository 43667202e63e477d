// SPDX-License-Identifier: GPL-3.0-or-later
// Fixtures shared by the library's tests: temporary folders, a fake home and real
// extended attributes.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarrafa::teste {

// A fresh folder under the system's temporary folder, removed with everything in it.
class PastaTemporaria {
public:
    PastaTemporaria()
    {
        std::string modelo = (std::filesystem::temp_directory_path() / "tarrafa-teste-XXXXXX").string();
        if (::mkdtemp(modelo.data()) == nullptr) {
            throw std::runtime_error(std::string("mkdtemp: ") + std::strerror(errno));
        }
        caminho_ = modelo;
    }
    PastaTemporaria(const PastaTemporaria&) = delete;
    PastaTemporaria& operator=(const PastaTemporaria&) = delete;
    ~PastaTemporaria()
    {
        std::error_code ignorado;
        // Restore permissions first so that a test's unreadable folder can be removed.
        for (auto it = std::filesystem::recursive_directory_iterator(
                 caminho_, std::filesystem::directory_options::skip_permission_denied, ignorado);
             it != std::filesystem::recursive_directory_iterator(); it.increment(ignorado)) {
            if (it->is_directory(ignorado) && !it->is_symlink(ignorado)) {
                ::chmod(it->path().c_str(), 0755);
            }
        }
        ::chmod(caminho_.c_str(), 0755);
        std::filesystem::remove_all(caminho_, ignorado);
    }

    [[nodiscard]] const std::string& caminho() const { return caminho_; }
    [[nodiscard]] std::string operator/(std::string_view nome) const { return caminho_ + "/" + std::string(nome); }

private:
    std::string caminho_;
};

inline void escrever(const std::string& caminho, std::string_view conteudo)
{
    std::filesystem::create_directories(std::filesystem::path(caminho).parent_path());
    std::ofstream saida(caminho, std::ios::binary | std::ios::trunc);
    saida.write(conteudo.data(), static_cast<std::streamsize>(conteudo.size()));
    if (!saida) {
        throw std::runtime_error("could not write " + caminho);
    }
}

inline void criarPasta(const std::string& caminho) { std::filesystem::create_directories(caminho); }

// Sets a real extended attribute; fails the test when the file system refuses it.
inline void definirAtributo(const std::string& caminho, const std::string& nome, std::string_view valor)
{
    if (::setxattr(caminho.c_str(), nome.c_str(), valor.data(), valor.size(), 0) != 0) {
        throw std::runtime_error("setxattr " + nome + " on " + caminho + ": " + std::strerror(errno));
    }
}

inline void definirAtributo(const std::string& caminho, const std::string& nome, const std::vector<unsigned char>& valor)
{
    definirAtributo(caminho, nome, std::string_view(reinterpret_cast<const char*>(valor.data()), valor.size()));
}

// Whether the file system under this folder takes "user." attributes (tmpfs before 6.6
// does not); tests that need them skip, saying so, where it does not.
inline bool aceitaAtributos(const std::string& pasta)
{
    const std::string sonda = pasta + "/.sonda-xattr";
    escrever(sonda, "x");
    const bool aceita = ::setxattr(sonda.c_str(), "user.tarrafa.sonda", "1", 1, 0) == 0;
    ::unlink(sonda.c_str());
    return aceita;
}

// Sets the modification time (and access time) of a path, without following links.
inline void definirMtime(const std::string& caminho, double segundosDesde1970)
{
    timespec tempos[2];
    tempos[0].tv_sec = static_cast<time_t>(segundosDesde1970);
    tempos[0].tv_nsec = 0;
    tempos[1] = tempos[0];
    ::utimensat(AT_FDCWD, caminho.c_str(), tempos, AT_SYMLINK_NOFOLLOW);
}

// Sets an environment variable for the life of the object, then restores it.
// What a path is, to the nanosecond: its statx (the four times, size, mode, inode) and every
// extended attribute with its value; read without following a link and without reading the
// file itself. For the promises that something only reads.
struct Retrato {
    struct statx info {};
    std::map<std::string, std::string> atributos;
};

inline Retrato retratar(const std::string& caminho)
{
    Retrato r;
    EXPECT_EQ(::statx(AT_FDCWD, caminho.c_str(), AT_SYMLINK_NOFOLLOW, STATX_ALL, &r.info), 0) << caminho;
    char nomes[4096];
    const ssize_t n = ::llistxattr(caminho.c_str(), nomes, sizeof nomes);
    for (ssize_t i = 0; i < n;) {
        const std::string nome(nomes + i);
        char valor[4096];
        const ssize_t v = ::lgetxattr(caminho.c_str(), nome.c_str(), valor, sizeof valor);
        r.atributos[nome] = std::string(valor, v > 0 ? static_cast<std::size_t>(v) : 0);
        i += static_cast<ssize_t>(nome.size()) + 1;
    }
    return r;
}

inline void esperarIgual(const Retrato& antes, const Retrato& depois, const std::string& onde)
{
    const auto tempo = [](const statx_timestamp& t) { return std::make_pair(t.tv_sec, t.tv_nsec); };
    EXPECT_EQ(tempo(antes.info.stx_atime), tempo(depois.info.stx_atime)) << onde;
    EXPECT_EQ(tempo(antes.info.stx_mtime), tempo(depois.info.stx_mtime)) << onde;
    EXPECT_EQ(tempo(antes.info.stx_ctime), tempo(depois.info.stx_ctime)) << onde;
    EXPECT_EQ(tempo(antes.info.stx_btime), tempo(depois.info.stx_btime)) << onde;
    EXPECT_EQ(antes.info.stx_size, depois.info.stx_size) << onde;
    EXPECT_EQ(antes.info.stx_mode, depois.info.stx_mode) << onde;
    EXPECT_EQ(antes.info.stx_ino, depois.info.stx_ino) << onde;
    EXPECT_EQ(antes.atributos, depois.atributos) << onde;
}

class VariavelTemporaria {
public:
    VariavelTemporaria(std::string nome, const std::optional<std::string>& valor)
        : nome_(std::move(nome))
    {
        if (const char* antes = std::getenv(nome_.c_str())) {
            anterior_ = antes;
        }
        if (valor) {
            ::setenv(nome_.c_str(), valor->c_str(), 1);
        } else {
            ::unsetenv(nome_.c_str());
        }
    }
    VariavelTemporaria(const VariavelTemporaria&) = delete;
    VariavelTemporaria& operator=(const VariavelTemporaria&) = delete;
    ~VariavelTemporaria()
    {
        if (anterior_) {
            ::setenv(nome_.c_str(), anterior_->c_str(), 1);
        } else {
            ::unsetenv(nome_.c_str());
        }
    }

private:
    std::string nome_;
    std::optional<std::string> anterior_;
};

// A whole fake home: HOME, XDG_DATA_HOME, XDG_CONFIG_HOME and XDG_DATA_DIRS point inside a
// temporary folder for the life of the object.
class CasaFalsa {
public:
    CasaFalsa()
        : home_("HOME", pasta_.caminho())
        , dados_("XDG_DATA_HOME", pasta_.caminho() + "/.local/share")
        , config_("XDG_CONFIG_HOME", pasta_.caminho() + "/.config")
        , cache_("XDG_CACHE_HOME", pasta_.caminho() + "/.cache")
        , dirs_("XDG_DATA_DIRS", pasta_.caminho() + "/usr/local/share:" + pasta_.caminho() + "/usr/share")
    {
        criarPasta(pasta_.caminho() + "/.local/share");
        criarPasta(pasta_.caminho() + "/.config");
    }

    [[nodiscard]] const std::string& caminho() const { return pasta_.caminho(); }
    [[nodiscard]] std::string operator/(std::string_view nome) const { return pasta_ / nome; }

private:
    PastaTemporaria pasta_;
    VariavelTemporaria home_;
    VariavelTemporaria dados_;
    VariavelTemporaria config_;
    VariavelTemporaria cache_;
    VariavelTemporaria dirs_;
};

// Where the history reader makes its private copies, for the life of the object: a fresh
// folder that both $XDG_RUNTIME_DIR and $TMPDIR point at, so that a copy left behind shows.
class PastaDeCopias {
public:
    PastaDeCopias() = default;
    PastaDeCopias(const PastaDeCopias&) = delete;
    PastaDeCopias& operator=(const PastaDeCopias&) = delete;

    [[nodiscard]] const std::string& caminho() const { return pasta_.caminho(); }
    [[nodiscard]] bool vazia() const { return std::filesystem::is_empty(pasta_.caminho()); }

private:
    PastaTemporaria pasta_;
    VariavelTemporaria runtime_ {"XDG_RUNTIME_DIR", pasta_.caminho()};
    VariavelTemporaria tmpdir_ {"TMPDIR", pasta_.caminho()};
};

// The kernel's allowance of inotify watches per user, lowered for the life of the object and
// put back after. Only root may write it: valido() says whether it was lowered. Every program
// of the user is refused new watches meanwhile, so it is held as briefly as the test allows
// (restaurar() gives it back early) and the tests that use it run alone.
class LimiteDeVigias {
public:
    explicit LimiteDeVigias(unsigned long limite)
    {
        std::ifstream atual(kArquivo);
        if (!(atual >> anterior_)) {
            return;
        }
        mudou_ = gravar(limite);
    }
    LimiteDeVigias(const LimiteDeVigias&) = delete;
    LimiteDeVigias& operator=(const LimiteDeVigias&) = delete;
    ~LimiteDeVigias() { restaurar(); }

    [[nodiscard]] bool valido() const { return mudou_; }
    void restaurar()
    {
        if (mudou_) {
            EXPECT_TRUE(gravar(anterior_)) << "could not put back " << kArquivo << " = " << anterior_;
            mudou_ = false;
        }
    }

private:
    static constexpr const char* kArquivo = "/proc/sys/fs/inotify/max_user_watches";

    static bool gravar(unsigned long valor)
    {
        const int fd = ::open(kArquivo, O_WRONLY | O_CLOEXEC);
        if (fd < 0) {
            return false;
        }
        const std::string texto = std::to_string(valor) + "\n";
        const bool escrito = ::write(fd, texto.data(), texto.size()) == static_cast<ssize_t>(texto.size());
        return ::close(fd) == 0 && escrito;
    }

    unsigned long anterior_ = 0;
    bool mudou_ = false;
};

} // namespace tarrafa::teste
