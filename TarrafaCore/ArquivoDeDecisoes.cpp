// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/ArquivoDeDecisoes.hpp"

#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/IdEmTexto.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <random>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarrafa {

namespace {

using Json = nlohmann::json;

std::string mensagem(int erro)
{
    return std::generic_category().message(erro);
}

ArquivoDeDecisoes::Marca marcaDe(const struct stat& st) noexcept
{
    return {static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino),
        static_cast<std::int64_t>(st.st_size),
        static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec};
}

// Every byte, or false with errno set; a short write that makes no progress is an error
// (a full disk, a file size limit with SIGXFSZ ignored).
bool escreverTudo(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t escritos = ::write(fd, bytes.data(), bytes.size());
        if (escritos < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (escritos == 0) {
            errno = ENOSPC;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(escritos));
    }
    return true;
}

std::string hoje()
{
    const std::time_t agora = std::time(nullptr);
    std::tm local {};
    ::localtime_r(&agora, &local);
    char data[16];
    std::strftime(data, sizeof data, "%Y-%m-%d", &local);
    return data;
}

// Renames the entry to "<name>.ilegivel-<date>" (then "-2", "-3"... so no earlier one is
// ever replaced); the new name, or none with errno set.
std::optional<std::string> porDeLado(int pasta, const std::string& nome)
{
    const std::string base = nome + ".ilegivel-" + hoje();
    for (int n = 1; n < 1000; ++n) {
        const std::string destino = n == 1 ? base : base + "-" + std::to_string(n);
        if (::renameat2(pasta, nome.c_str(), pasta, destino.c_str(), RENAME_NOREPLACE) == 0) {
            return destino;
        }
        if (errno == EEXIST) {
            continue;
        }
        if (errno != EINVAL && errno != ENOSYS) {
            return std::nullopt;
        }
        // A file system without the no-replace flag: check, then rename, under our lock.
        struct stat st {};
        if (::fstatat(pasta, destino.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
            continue;
        }
        if (::renameat(pasta, nome.c_str(), pasta, destino.c_str()) == 0) {
            return destino;
        }
        return std::nullopt;
    }
    errno = EEXIST;
    return std::nullopt;
}

// A new file beside the decision file, opened for writing, with a name nobody else uses.
std::optional<std::pair<std::string, Descritor>> arquivoTemporario(int pasta, const std::string& nome)
{
    std::random_device aleatorio;
    for (int tentativa = 0; tentativa < 100; ++tentativa) {
        char sufixo[16];
        std::snprintf(sufixo, sizeof sufixo, ".%08x", static_cast<unsigned>(aleatorio()));
        std::string temporario = "." + nome + sufixo;
        Descritor fd(::openat(pasta, temporario.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (fd.valido()) {
            return std::make_pair(std::move(temporario), std::move(fd));
        }
        if (errno != EEXIST) {
            return std::nullopt;
        }
    }
    errno = EEXIST;
    return std::nullopt;
}

// What sits at the decision file's path, read under the lock.
struct Atual {
    ArquivoDeDecisoes::Decisoes decisoes;
    std::optional<ArquivoDeDecisoes::Marca> marca;
    // Something that is not a readable decision file, to be set aside before the write.
    bool ilegivel = false;
    std::optional<std::string> falha;
};

Atual lerAtual(int pasta, const std::string& nome)
{
    Atual atual;
    struct stat st {};
    if (::fstatat(pasta, nome.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) {
            atual.falha = mensagem(errno);
        }
        return atual;
    }
    if (S_ISDIR(st.st_mode)) {
        atual.falha = mensagem(EISDIR);
        return atual;
    }
    if (!S_ISREG(st.st_mode)) {
        // A link, a FIFO, a socket, a device: never followed, never opened.
        atual.ilegivel = true;
        return atual;
    }
    const Descritor fd(::openat(pasta, nome.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (!fd.valido() || ::fstat(fd.get(), &st) != 0) {
        atual.falha = mensagem(errno);
        return atual;
    }
    if (!S_ISREG(st.st_mode) || st.st_size > ArquivoDeDecisoes::kTamanhoMaximo) {
        atual.ilegivel = true;
        return atual;
    }
    const std::optional<std::string> bytes
        = lerTudo(fd.get(), static_cast<std::size_t>(ArquivoDeDecisoes::kTamanhoMaximo));
    if (!bytes) {
        if (errno == EFBIG) {
            atual.ilegivel = true;
        } else {
            atual.falha = mensagem(errno);
        }
        return atual;
    }
    atual.marca = marcaDe(st);
    std::optional<ArquivoDeDecisoes::Decisoes> decisoes = ArquivoDeDecisoes::decodificar(*bytes);
    if (!decisoes) {
        atual.ilegivel = true;
        return atual;
    }
    atual.decisoes = std::move(*decisoes);
    return atual;
}

// The folder with every missing part made open to the user alone; the last part, when it is
// the user's, is closed to others too. Anyone who can open the folder could otherwise read
// which files the person keeps, and one made by an older version was open to all.
bool criarPastaPrivada(const std::filesystem::path& pasta)
{
    std::filesystem::path parcial;
    for (const std::filesystem::path& parte : pasta) {
        parcial /= parte;
        if (::mkdir(parcial.c_str(), 0700) != 0 && errno != EEXIST) {
            return false;
        }
    }
    struct stat st {};
    if (::stat(pasta.c_str(), &st) != 0) {
        return false;
    }
    if (st.st_uid == ::geteuid() && (st.st_mode & 077) != 0) {
        ::chmod(pasta.c_str(), st.st_mode & 0700);
    }
    return true;
}

// Holds an exclusive lock on the folder for as long as it lives: writers of the decision
// file take turns. The folder is the user's alone, so nobody else can open it to hold the
// lock; and the wait for it ends, so a writer that never lets go cannot freeze a script or
// the closing of the window.
class Trava final {
public:
    Trava(const std::string& pasta, std::chrono::milliseconds espera)
        : fd_(::open(pasta.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        if (!fd_.valido()) {
            erro_ = errno;
            return;
        }
        const auto prazo = std::chrono::steady_clock::now() + espera;
        while (::flock(fd_.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EINTR) {
                continue;
            }
            if (errno != EWOULDBLOCK) {
                erro_ = errno;
                fd_.fechar();
                return;
            }
            if (std::chrono::steady_clock::now() >= prazo) {
                ocupado_ = true;
                fd_.fechar();
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    [[nodiscard]] int pasta() const noexcept { return fd_.get(); }
    [[nodiscard]] bool obtida() const noexcept { return fd_.valido(); }
    [[nodiscard]] int erro() const noexcept { return erro_; }
    [[nodiscard]] bool ocupado() const noexcept { return ocupado_; }

private:
    Descritor fd_;
    int erro_ = 0;
    bool ocupado_ = false;
};

// A temporary file of an earlier write that never finished (the process was killed): only
// a writer holding the lock writes one, so under the lock any such file is left over.
bool ehTemporarioDe(std::string_view entrada, const std::string& nome)
{
    const std::size_t prefixo = 1 + nome.size() + 1;
    if (entrada.size() != prefixo + 8 || entrada[0] != '.' || entrada.substr(1, nome.size()) != nome
        || entrada[prefixo - 1] != '.') {
        return false;
    }
    return std::all_of(entrada.begin() + static_cast<std::ptrdiff_t>(prefixo), entrada.end(),
        [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

void removerTemporariosEsquecidos(int pasta, const std::string& nome)
{
    const int copia = ::fcntl(pasta, F_DUPFD_CLOEXEC, 0);
    if (copia < 0) {
        return;
    }
    DIR* lista = ::fdopendir(copia);
    if (lista == nullptr) {
        ::close(copia);
        return;
    }
    ::rewinddir(lista);
    std::vector<std::string> esquecidos;
    while (const dirent* entrada = ::readdir(lista)) {
        if (ehTemporarioDe(entrada->d_name, nome)) {
            esquecidos.emplace_back(entrada->d_name);
        }
    }
    ::closedir(lista);
    for (const std::string& esquecido : esquecidos) {
        struct stat st {};
        if (::fstatat(pasta, esquecido.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(st.st_mode)
            && st.st_uid == ::geteuid()) {
            ::unlinkat(pasta, esquecido.c_str(), 0);
        }
    }
}

} // namespace

void ArquivoDeDecisoes::Mudancas::decidir(const std::string& id, Decisao decisao)
{
    esquecidas.erase(id);
    decididas.insert_or_assign(id, decisao);
}

void ArquivoDeDecisoes::Mudancas::esquecer(const std::string& id)
{
    decididas.erase(id);
    esquecidas.insert(id);
}

void ArquivoDeDecisoes::Mudancas::juntar(Mudancas&& maisNovas)
{
    for (auto& [id, decisao] : maisNovas.decididas) {
        decidir(id, decisao);
    }
    for (const std::string& id : maisNovas.esquecidas) {
        esquecer(id);
    }
}

void ArquivoDeDecisoes::Mudancas::aplicarEm(Decisoes& decisoes) const
{
    for (const std::string& id : esquecidas) {
        decisoes.erase(id);
    }
    for (const auto& [id, decisao] : decididas) {
        decisoes.insert_or_assign(id, decisao);
    }
}

ArquivoDeDecisoes::ArquivoDeDecisoes(std::string caminho, std::chrono::milliseconds esperaPelaTrava)
    : caminho_(std::move(caminho))
    , esperaPelaTrava_(esperaPelaTrava)
{
}

ArquivoDeDecisoes::Decisoes ArquivoDeDecisoes::ler()
{
    const std::filesystem::path caminho(caminho_);
    const Descritor pasta(::open(caminho.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    jaLido_ = true;
    conhecida_.reset();
    if (!pasta.valido()) {
        return {};
    }
    Atual atual = lerAtual(pasta.get(), caminho.filename().string());
    conhecida_ = atual.marca;
    return std::move(atual.decisoes);
}

ArquivoDeDecisoes::Gravacao ArquivoDeDecisoes::gravar(const Mudancas& mudancas)
{
    Gravacao gravacao;
    const std::filesystem::path caminho(caminho_);
    const std::string nome = caminho.filename().string();
    if (!criarPastaPrivada(caminho.parent_path())) {
        gravacao.falha = mensagem(errno);
        return gravacao;
    }
    const Trava trava(caminho.parent_path().string(), esperaPelaTrava_);
    if (trava.ocupado()) {
        gravacao.ocupado = true;
        gravacao.falha = "outro programa está usando as decisões e não as liberou em "
            + std::to_string((esperaPelaTrava_.count() + 999) / 1000) + " s";
        return gravacao;
    }
    if (!trava.obtida()) {
        gravacao.falha = mensagem(trava.erro());
        return gravacao;
    }
    const int pasta = trava.pasta();
    removerTemporariosEsquecidos(pasta, nome);

    Atual atual = lerAtual(pasta, nome);
    if (atual.falha) {
        gravacao.falha = std::move(atual.falha);
        return gravacao;
    }
    const bool outroMudou = !jaLido_ || atual.ilegivel || atual.marca != conhecida_;
    mudancas.aplicarEm(atual.decisoes);
    const std::string json = codificar(atual.decisoes);

    auto temporario = arquivoTemporario(pasta, nome);
    if (!temporario) {
        gravacao.falha = mensagem(errno);
        return gravacao;
    }
    auto& [nomeTemporario, fd] = *temporario;
    struct stat st {};
    const bool escrito = escreverTudo(fd.get(), json) && ::fsync(fd.get()) == 0 && ::fstat(fd.get(), &st) == 0;
    const int erroDaEscrita = errno;
    const bool fechado = ::close(fd.soltar()) == 0;
    if (!escrito || !fechado) {
        ::unlinkat(pasta, nomeTemporario.c_str(), 0);
        gravacao.falha = mensagem(escrito ? errno : erroDaEscrita);
        return gravacao;
    }
    if (atual.ilegivel) {
        std::optional<std::string> deLado = porDeLado(pasta, nome);
        if (!deLado) {
            const int erroDeLado = errno;
            ::unlinkat(pasta, nomeTemporario.c_str(), 0);
            gravacao.falha = mensagem(erroDeLado);
            return gravacao;
        }
        gravacao.postoDeLado = (caminho.parent_path() / *deLado).string();
    }
    if (::renameat(pasta, nomeTemporario.c_str(), pasta, nome.c_str()) != 0) {
        const int erroDaTroca = errno;
        ::unlinkat(pasta, nomeTemporario.c_str(), 0);
        gravacao.falha = mensagem(erroDaTroca);
        return gravacao;
    }
    // The rename is durable only once the folder itself is synced.
    ::fsync(pasta);
    conhecida_ = marcaDe(st);
    jaLido_ = true;
    if (outroMudou) {
        gravacao.atuais = std::move(atual.decisoes);
    }
    return gravacao;
}

std::string ArquivoDeDecisoes::codificar(const Decisoes& decisoes)
{
    // In path order, so that the same decisions always make the same bytes.
    std::vector<const Decisoes::value_type*> ordem;
    ordem.reserve(decisoes.size());
    for (const auto& entrada : decisoes) {
        ordem.push_back(&entrada);
    }
    std::sort(ordem.begin(), ordem.end(), [](const auto* a, const auto* b) { return a->first < b->first; });
    std::string json = "{";
    for (const auto* entrada : ordem) {
        if (json.size() > 1) {
            json += ',';
        }
        // A path that is not UTF-8 goes in its escaped form, which is valid JSON text.
        // A "/" can only stand inside the path here, so every one of them is escaped.
        for (const char c : Json(IdEmTexto::codificar(entrada->first)).dump()) {
            if (c == '/') {
                json += "\\/";
            } else {
                json += c;
            }
        }
        json += ":\"";
        json += valorBruto(entrada->second);
        json += '"';
    }
    json += '}';
    return json;
}

std::optional<ArquivoDeDecisoes::Decisoes> ArquivoDeDecisoes::decodificar(std::string_view json)
{
    const Json documento = Json::parse(json.begin(), json.end(), nullptr, false);
    if (documento.is_discarded() || !documento.is_object()) {
        return std::nullopt;
    }
    Decisoes decisoes;
    decisoes.reserve(documento.size());
    for (const auto& [id, valor] : documento.items()) {
        if (!valor.is_string()) {
            return std::nullopt;
        }
        const std::optional<Decisao> decisao = decisaoDeValorBruto(valor.get_ref<const std::string&>());
        std::optional<std::string> caminho = IdEmTexto::decodificar(id);
        if (!decisao || !caminho) {
            return std::nullopt;
        }
        decisoes.insert_or_assign(std::move(*caminho), *decisao);
    }
    return decisoes;
}

} // namespace tarrafa
