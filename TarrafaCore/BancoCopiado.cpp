// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/BancoCopiado.hpp"

#include "TarrafaCore/Descritor.hpp"

#include <sqlite3.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace tarrafa {

namespace {

constexpr std::string_view kPrefixo = "tarrafa-historico-";

// The files a copy folder can hold: the database and what SQLite keeps beside it.
constexpr std::array<const char*, 4> kArquivosDaCopia {"banco", "banco-wal", "banco-journal", "banco-shm"};

// The copy folders this process is filling right now, where a signal handler can find them
// without allocating: a fixed table of slots, each free (0), being written (1) or in use (2).
constexpr std::size_t kVagas = 64;
struct Vaga {
    std::atomic<int> estado {0};
    std::array<char, PATH_MAX> pasta {};
};
std::array<Vaga, kVagas> g_vagas;

// Takes a slot for a folder; none when all are taken (the copy is then made without a net).
Vaga* registrar(const std::string& pasta)
{
    if (pasta.size() >= PATH_MAX) {
        return nullptr;
    }
    for (Vaga& vaga : g_vagas) {
        int livre = 0;
        if (vaga.estado.compare_exchange_strong(livre, 1)) {
            std::memcpy(vaga.pasta.data(), pasta.c_str(), pasta.size() + 1);
            vaga.estado.store(2, std::memory_order_release);
            return &vaga;
        }
    }
    return nullptr;
}

// Unlinks the known files of a copy folder and the folder. Only system calls and fixed
// buffers: it runs inside signal handlers too.
void apagarPastaDeCopia(const char* pasta) noexcept
{
    std::array<char, PATH_MAX + 32> caminho {};
    const std::size_t n = std::strlen(pasta);
    if (n + 20 >= caminho.size()) {
        return;
    }
    std::memcpy(caminho.data(), pasta, n);
    caminho[n] = '/';
    for (const char* nome : kArquivosDaCopia) {
        const std::size_t m = std::strlen(nome);
        std::memcpy(caminho.data() + n + 1, nome, m + 1);
        (void)::unlink(caminho.data());
    }
    (void)::rmdir(pasta);
}

bool ehPastaAbsoluta(const char* caminho)
{
    struct stat info { };
    return caminho != nullptr && caminho[0] == '/' && ::stat(caminho, &info) == 0 && S_ISDIR(info.st_mode);
}

std::string pastaTemporaria()
{
    const char* tmpdir = std::getenv("TMPDIR");
    return ehPastaAbsoluta(tmpdir) ? std::string(tmpdir) : std::string("/tmp");
}

// A source file opened for copying, with what it looked like when opened.
struct Fonte {
    std::string caminho;
    int fd = -1;
    struct stat info { };
};

bool mudou(const struct stat& antes, const struct stat& depois)
{
    return antes.st_size != depois.st_size || antes.st_mtim.tv_sec != depois.st_mtim.tv_sec
        || antes.st_mtim.tv_nsec != depois.st_mtim.tv_nsec || antes.st_ino != depois.st_ino;
}

// Copies the whole of an open regular file into a new file; in the kernel, without a buffer
// of ours.
bool copiarConteudo(int origem, const std::string& para)
{
    const Descritor destino(::open(para.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!destino.valido()) {
        return false;
    }
    off_t posicao = 0;
    for (;;) {
        const ssize_t n = ::sendfile(destino.get(), origem, &posicao, std::size_t {1} << 30);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            return false;
        }
        if (n == 0) {
            return true;
        }
    }
}

// The database's own folder-mates that hold committed (log) or half-written (journal) pages.
const std::array<const char*, 2> kCompanheiros {"-wal", "-journal"};

} // namespace

struct BancoCopiado::Estado {
    std::string pasta;
    Vaga* vaga = nullptr;
    std::chrono::steady_clock::time_point prazo;
    bool esgotado = false;

    ~Estado() { descartarCopias(); }

    // Once SQLite holds the copies open, their names are no longer needed: removing them now
    // means an interruption from here on leaves nothing behind.
    void descartarCopias() noexcept
    {
        if (!pasta.empty()) {
            apagarPastaDeCopia(pasta.c_str());
            pasta.clear();
        }
        if (vaga != nullptr) {
            vaga->estado.store(0, std::memory_order_release);
            vaga = nullptr;
        }
    }
};

namespace {

int verificarPrazo(void* dados)
{
    auto* estado = static_cast<BancoCopiado::Estado*>(dados);
    if (std::chrono::steady_clock::now() > estado->prazo) {
        estado->esgotado = true;
        return 1; // interrupts the statement
    }
    return 0;
}

bool executar(sqlite3* db, const char* sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

} // namespace

BancoCopiado::BancoCopiado(std::unique_ptr<Estado> estado)
    : estado_(std::move(estado))
{
}

BancoCopiado::~BancoCopiado()
{
    sqlite3_close(db_);
}

std::string BancoCopiado::pastaDasCopias()
{
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return ehPastaAbsoluta(runtime) ? std::string(runtime) : pastaTemporaria();
}

std::unique_ptr<BancoCopiado> BancoCopiado::abrir(
    const std::string& arquivo, std::chrono::milliseconds orcamento)
{
    const auto prazo = std::chrono::steady_clock::now() + orcamento;
    Fonte principal {arquivo};
    const Descritor fdPrincipal = abrirParaLer(AT_FDCWD, arquivo.c_str());
    if (!fdPrincipal.valido() || ::fstat(fdPrincipal.get(), &principal.info) != 0
        || !S_ISREG(principal.info.st_mode) || principal.info.st_size <= 0) {
        return nullptr;
    }
    principal.fd = fdPrincipal.get();

    // The log and the journal are optional; they are opened now so that what is copied
    // belongs together.
    std::array<Fonte, kCompanheiros.size()> companheiros;
    std::array<Descritor, kCompanheiros.size()> fdsCompanheiros;
    std::int64_t total = principal.info.st_size;
    for (std::size_t i = 0; i < kCompanheiros.size(); ++i) {
        companheiros[i].caminho = arquivo + kCompanheiros[i];
        fdsCompanheiros[i] = abrirParaLer(AT_FDCWD, companheiros[i].caminho.c_str());
        if (fdsCompanheiros[i].valido() && ::fstat(fdsCompanheiros[i].get(), &companheiros[i].info) == 0
            && S_ISREG(companheiros[i].info.st_mode)) {
            companheiros[i].fd = fdsCompanheiros[i].get();
            total += companheiros[i].info.st_size;
        }
    }
    if (total > kTamanhoMaximo) {
        return nullptr;
    }

    const std::string base = pastaDasCopias();
    struct statvfs livre { };
    if (::statvfs(base.c_str(), &livre) != 0
        || static_cast<long double>(livre.f_bavail) * static_cast<long double>(livre.f_frsize)
            < static_cast<long double>(total) + (1 << 20)) {
        return nullptr;
    }

    auto estado = std::make_unique<Estado>();
    estado->prazo = prazo;
    std::string modelo = base + "/" + std::string(kPrefixo) + std::to_string(::getpid()) + "-XXXXXX";
    if (::mkdtemp(modelo.data()) == nullptr) {
        return nullptr;
    }
    estado->pasta = modelo;
    estado->vaga = registrar(modelo);
    const std::string copia = modelo + "/banco";

    // A browser that writes while we copy could pair a database with a log of another moment;
    // the sources are checked again afterwards and the copy made again when one moved.
    bool consistente = false;
    for (int tentativa = 0; tentativa < 3 && !consistente; ++tentativa) {
        for (const char* nome : kArquivosDaCopia) {
            (void)::unlink((modelo + "/" + nome).c_str());
        }
        if (!copiarConteudo(principal.fd, copia)) {
            return nullptr;
        }
        for (std::size_t i = 0; i < companheiros.size(); ++i) {
            if (companheiros[i].fd >= 0 && !copiarConteudo(companheiros[i].fd, copia + kCompanheiros[i])) {
                return nullptr;
            }
        }
        consistente = true;
        struct stat agora { };
        if (::stat(arquivo.c_str(), &agora) != 0 || mudou(principal.info, agora)) {
            consistente = false;
        }
        for (const Fonte& c : companheiros) {
            if (c.fd >= 0 && (::stat(c.caminho.c_str(), &agora) != 0 || mudou(c.info, agora))) {
                consistente = false;
            }
        }
        if (!consistente) {
            (void)::fstat(principal.fd, &principal.info);
            for (Fonte& c : companheiros) {
                if (c.fd >= 0) {
                    (void)::fstat(c.fd, &c.info);
                }
            }
        }
    }

    sqlite3* db = nullptr;
    // Read-write so that SQLite can roll back a half-written journal into the copy; nothing
    // writes afterwards (query_only, and no checkpoint when it closes).
    if (sqlite3_open_v2(
            copia.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW, nullptr)
        != SQLITE_OK) {
        sqlite3_close(db);
        return nullptr;
    }
    std::unique_ptr<BancoCopiado> banco(new BancoCopiado(std::move(estado)));
    banco->db_ = db;
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_busy_timeout(db, 0);
    // No value we read is anywhere near this; a planted multi-megabyte string fails the query.
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, 8 << 20);
    sqlite3_progress_handler(db, 1000, verificarPrazo, banco->estado_.get());
    // The first read opens the log and its index (or rolls back the journal); from then on
    // SQLite holds every file it needs open and the names can go.
    if (!executar(db, "SELECT count(*) FROM sqlite_master") || !executar(db, "PRAGMA query_only = 1")
        || !executar(db, "PRAGMA cell_size_check = 1")) {
        return nullptr;
    }
    banco->estado_->descartarCopias();
    return banco;
}

bool BancoCopiado::temTabelas(std::initializer_list<const char*> nomes) const
{
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db_,
            "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = ?1 COLLATE NOCASE "
            "AND sql NOT LIKE 'CREATE VIRTUAL%'",
            -1, &stmt, nullptr)
        != SQLITE_OK) {
        sqlite3_finalize(stmt);
        return false;
    }
    bool todas = true;
    for (const char* nome : nomes) {
        sqlite3_reset(stmt);
        sqlite3_bind_text(stmt, 1, nome, -1, SQLITE_STATIC);
        if (sqlite3_step(stmt) != SQLITE_ROW || sqlite3_column_int(stmt, 0) != 1) {
            todas = false;
            break;
        }
    }
    sqlite3_finalize(stmt);
    return todas;
}

std::vector<std::string> BancoCopiado::colunas(const char* tabela) const
{
    std::vector<std::string> nomes;
    if (!temTabelas({tabela})) {
        return nomes;
    }
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db_, "SELECT name FROM pragma_table_info(?1)", -1, &stmt, nullptr) == SQLITE_OK) {
        sqlite3_bind_text(stmt, 1, tabela, -1, SQLITE_STATIC);
        while (sqlite3_step(stmt) == SQLITE_ROW && nomes.size() < 1000) {
            if (const auto* texto = sqlite3_column_text(stmt, 0)) {
                nomes.emplace_back(reinterpret_cast<const char*>(texto));
            }
        }
    }
    sqlite3_finalize(stmt);
    return nomes;
}

bool BancoCopiado::esgotado() const noexcept
{
    return estado_->esgotado;
}

void BancoCopiado::removerCopiasAbandonadas()
{
    std::vector<std::string> bases {pastaDasCopias()};
    if (const std::string tmp = pastaTemporaria(); tmp != bases.front()) {
        bases.push_back(tmp);
    }
    const pid_t eu = ::getpid();
    const uid_t dono = ::getuid();
    for (const std::string& base : bases) {
        DIR* dir = ::opendir(base.c_str());
        if (dir == nullptr) {
            continue;
        }
        std::vector<std::string> abandonadas;
        while (const dirent* e = ::readdir(dir)) {
            const std::string_view nome(e->d_name);
            if (nome.substr(0, kPrefixo.size()) != kPrefixo) {
                continue;
            }
            const std::string caminho = base + "/" + std::string(nome);
            struct stat info { };
            if (::lstat(caminho.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != dono) {
                continue;
            }
            // "tarrafa-historico-<pid>-XXXXXX": the scan that made it is gone when its
            // process is. Older builds named it without the process; those are taken once
            // they are old enough that no scan can still be reading them.
            const std::string_view resto = nome.substr(kPrefixo.size());
            const std::size_t traco = resto.find('-');
            bool abandonada = false;
            if (traco != std::string_view::npos && traco > 0 && traco < 10
                && resto.substr(0, traco).find_first_not_of("0123456789") == std::string_view::npos) {
                const long pid = std::strtol(std::string(resto.substr(0, traco)).c_str(), nullptr, 10);
                abandonada
                    = pid > 0 && pid != eu && ::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
            } else if (traco == std::string_view::npos && resto.size() == 6) {
                abandonada = std::time(nullptr) - info.st_mtim.tv_sec > 600;
            }
            if (abandonada) {
                abandonadas.push_back(caminho);
            }
        }
        ::closedir(dir);
        for (const std::string& caminho : abandonadas) {
            std::error_code ignorado;
            std::filesystem::remove_all(caminho, ignorado);
        }
    }
}

void BancoCopiado::removerCopiasAgora() noexcept
{
    for (Vaga& vaga : g_vagas) {
        if (vaga.estado.load(std::memory_order_acquire) == 2) {
            apagarPastaDeCopia(vaga.pasta.data());
        }
    }
}

namespace {

void aoSinal(int sinal)
{
    const int erroSalvo = errno;
    BancoCopiado::removerCopiasAgora();
    // The handler was installed to run once (SA_RESETHAND): the signal, raised again, now does
    // what it did before, as soon as this handler returns.
    (void)::raise(sinal);
    errno = erroSalvo;
}

} // namespace

void BancoCopiado::removerCopiasAoSinal()
{
    for (const int sinal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction atual { };
        if (::sigaction(sinal, nullptr, &atual) != 0 || (atual.sa_flags & SA_SIGINFO) != 0
            || atual.sa_handler != SIG_DFL) {
            continue;
        }
        struct sigaction nova { };
        nova.sa_handler = aoSinal;
        nova.sa_flags = SA_RESETHAND;
        sigemptyset(&nova.sa_mask);
        (void)::sigaction(sinal, &nova, nullptr);
    }
}

} // namespace tarrafa
