// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/BancoCopiado.hpp"

#include "TarrafaCore/BancoHostil.hpp"
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
#include <random>
#include <string_view>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace tarrafa {

namespace {

constexpr std::string_view kPrefixo = "tarrafa-historico-";

// The names SQLite gives the files beside a database; a copy named N may have all of them.
constexpr std::array<const char*, 4> kSufixos {"", "-wal", "-journal", "-shm"};
// The files of a browser's database that hold committed (log) or half-written (journal)
// pages, copied with it.
constexpr std::array<const char*, 2> kCompanheiros {"-wal", "-journal"};

// A copy has a name only for the moment SQLite opens it; those names are kept here, where a
// signal handler can find them without allocating: a fixed table of slots, each free (0),
// being written (1) or in use (2).
constexpr std::size_t kVagas = 64;
struct Vaga {
    std::atomic<int> estado {0};
    std::array<char, PATH_MAX> nome {};
};
std::array<Vaga, kVagas> g_vagas;

// The handshake with a signal handler: a thread that is about to give copies names counts
// itself in g_nomeando and then checks g_encerrando; the handler sets g_encerrando and then
// waits for g_nomeando to drop. Either the thread sees the handler and gives no name, or the
// handler sees the thread and waits until its names are gone again.
std::atomic<int> g_encerrando {0};
std::atomic<int> g_nomeando {0};
thread_local bool t_nomeando = false;

class JanelaDeNomes {
public:
    JanelaDeNomes() noexcept
    {
        g_nomeando.fetch_add(1);
        t_nomeando = true;
        aberta_ = g_encerrando.load() == 0;
    }
    JanelaDeNomes(const JanelaDeNomes&) = delete;
    JanelaDeNomes& operator=(const JanelaDeNomes&) = delete;
    ~JanelaDeNomes()
    {
        t_nomeando = false;
        g_nomeando.fetch_sub(1);
    }
    [[nodiscard]] bool aberta() const noexcept { return aberta_; }

private:
    bool aberta_ = false;
};

// Takes a slot for a name; none when all are taken (the name then has no net for the moment
// it exists).
Vaga* registrar(const std::string& nome)
{
    if (nome.size() + 16 >= PATH_MAX) {
        return nullptr;
    }
    for (Vaga& vaga : g_vagas) {
        int livre = 0;
        if (vaga.estado.compare_exchange_strong(livre, 1)) {
            std::memcpy(vaga.nome.data(), nome.c_str(), nome.size() + 1);
            vaga.estado.store(2, std::memory_order_release);
            return &vaga;
        }
    }
    return nullptr;
}

// Unlinks a copy's name and the names SQLite may have made beside it. Only system calls and
// fixed buffers: it runs inside signal handlers too.
void apagarNomes(const char* nome) noexcept
{
    std::array<char, PATH_MAX + 16> caminho {};
    const std::size_t n = std::strlen(nome);
    if (n + 16 >= caminho.size()) {
        return;
    }
    std::memcpy(caminho.data(), nome, n);
    for (const char* sufixo : kSufixos) {
        std::memcpy(caminho.data() + n, sufixo, std::strlen(sufixo) + 1);
        (void)::unlink(caminho.data());
    }
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
    Descritor fd;
    struct stat info { };
};

bool mudou(const struct stat& antes, const struct stat& depois)
{
    return antes.st_size != depois.st_size || antes.st_mtim.tv_sec != depois.st_mtim.tv_sec
        || antes.st_mtim.tv_nsec != depois.st_mtim.tv_nsec || antes.st_ino != depois.st_ino;
}

// Copies the whole of an open regular file into a new file without a name (it vanishes with
// its descriptor, whatever ends the process); in the kernel, without a buffer of ours.
Descritor copiarSemNome(int origem, const std::string& pasta)
{
    Descritor destino(::open(pasta.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!destino.valido()) {
        return destino;
    }
    off_t posicao = 0;
    for (;;) {
        const ssize_t n = ::sendfile(destino.get(), origem, &posicao, std::size_t {1} << 30);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            return Descritor();
        }
        if (n == 0) {
            return destino;
        }
    }
}

// Gives an unnamed file a name (through /proc, which needs no privilege, unlike AT_EMPTY_PATH).
bool nomear(int fd, const std::string& nome)
{
    const std::string proprio = "/proc/self/fd/" + std::to_string(fd);
    return ::linkat(AT_FDCWD, proprio.c_str(), AT_FDCWD, nome.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

std::string nomeAoAcaso(const std::string& pasta)
{
    static constexpr char kLetras[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    thread_local std::mt19937 gerador {std::random_device {}()};
    std::uniform_int_distribution<std::size_t> letra(0, sizeof kLetras - 2);
    std::string nome = pasta + "/" + std::string(kPrefixo) + std::to_string(::getpid()) + "-";
    for (int i = 0; i < 10; ++i) {
        nome += kLetras[letra(gerador)];
    }
    return nome;
}

} // namespace

struct BancoCopiado::Estado {
    std::string nome;
    Vaga* vaga = nullptr;
    BancoHostil::Prazo prazo;

    explicit Estado(std::stop_token parar)
        : prazo(std::move(parar))
    {
    }
    Estado(const Estado&) = delete;
    Estado& operator=(const Estado&) = delete;
    ~Estado() { descartarNomes(); }

    // Once SQLite holds the copies open, their names are no longer needed.
    void descartarNomes() noexcept
    {
        if (!nome.empty()) {
            apagarNomes(nome.c_str());
            nome.clear();
        }
        if (vaga != nullptr) {
            vaga->estado.store(0, std::memory_order_release);
            vaga = nullptr;
        }
    }
};

namespace {

bool executar(sqlite3* db, const char* sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// Opens the copy that now has a name, locked down, and reads it once: from then on SQLite
// holds every file it needs (the log and its index too) by descriptor.
sqlite3* abrirCopia(const std::string& nome, BancoCopiado::Estado& estado)
{
    sqlite3* db = nullptr;
    // Read-write so that SQLite can roll back a half-written journal into the copy; nothing
    // writes afterwards (query_only, and no checkpoint when it closes).
    if (sqlite3_open_v2(
            nome.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW, nullptr)
        != SQLITE_OK) {
        sqlite3_close(db);
        return nullptr;
    }
    BancoHostil::blindar(db);
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_busy_timeout(db, 0);
    estado.prazo.instalar(db);
    if (!executar(db, "SELECT count(*) FROM sqlite_master") || !executar(db, "PRAGMA query_only = 1")
        || !executar(db, "PRAGMA cell_size_check = 1")) {
        sqlite3_close(db);
        return nullptr;
    }
    return db;
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
    const std::string& arquivo, std::chrono::milliseconds orcamento, std::stop_token parar)
{
    if (parar.stop_requested()) {
        return nullptr;
    }
    auto estado = std::make_unique<Estado>(std::move(parar));
    estado->prazo.definir(orcamento);

    // The database, its log and its journal are opened now, so that what is copied belongs
    // together; the log and the journal are optional.
    std::array<Fonte, 1 + kCompanheiros.size()> fontes;
    fontes[0].caminho = arquivo;
    for (std::size_t i = 0; i < kCompanheiros.size(); ++i) {
        fontes[i + 1].caminho = arquivo + kCompanheiros[i];
    }
    std::int64_t total = 0;
    for (std::size_t i = 0; i < fontes.size(); ++i) {
        Fonte& fonte = fontes[i];
        fonte.fd = abrirParaLer(AT_FDCWD, fonte.caminho.c_str());
        if (!fonte.fd.valido() || ::fstat(fonte.fd.get(), &fonte.info) != 0 || !S_ISREG(fonte.info.st_mode)) {
            if (i == 0) {
                return nullptr;
            }
            fonte.fd.fechar();
            continue;
        }
        total += fonte.info.st_size;
    }
    if (fontes[0].info.st_size <= 0 || total > kTamanhoMaximo) {
        return nullptr;
    }
    const std::string pasta = pastaDasCopias();
    struct statvfs livre { };
    if (::statvfs(pasta.c_str(), &livre) != 0
        || static_cast<long double>(livre.f_bavail) * static_cast<long double>(livre.f_frsize)
            < static_cast<long double>(total) + (1 << 20)) {
        return nullptr;
    }

    // A browser that writes while we copy could pair a database with a log of another moment;
    // the sources are checked again afterwards and copied again when one moved.
    std::array<Descritor, fontes.size()> copias;
    bool consistente = false;
    for (int tentativa = 0; tentativa < 3 && !consistente; ++tentativa) {
        consistente = true;
        for (std::size_t i = 0; i < fontes.size(); ++i) {
            if (!fontes[i].fd.valido()) {
                continue;
            }
            copias[i] = copiarSemNome(fontes[i].fd.get(), pasta);
            if (!copias[i].valido()) {
                return nullptr; // no room, or a file system without unnamed files
            }
            struct stat agora { };
            if (::stat(fontes[i].caminho.c_str(), &agora) != 0 || mudou(fontes[i].info, agora)) {
                consistente = false;
                (void)::fstat(fontes[i].fd.get(), &fontes[i].info);
            }
        }
    }

    // The copies get names, SQLite opens them, the names go. A signal handler that arrives
    // meanwhile removes them (see JanelaDeNomes).
    const JanelaDeNomes janela;
    if (!janela.aberta()) {
        return nullptr; // the process is being stopped
    }
    for (int tentativa = 0; tentativa < 5 && estado->nome.empty(); ++tentativa) {
        std::string nome = nomeAoAcaso(pasta);
        estado->vaga = registrar(nome);
        estado->nome = nome;
        if (!nomear(copias[0].get(), nome)) {
            const bool existia = errno == EEXIST;
            estado->nome.clear(); // not ours: never remove another's file of that name
            if (estado->vaga != nullptr) {
                estado->vaga->estado.store(0, std::memory_order_release);
                estado->vaga = nullptr;
            }
            if (!existia) {
                return nullptr;
            }
        }
    }
    if (estado->nome.empty()) {
        return nullptr;
    }
    for (std::size_t i = 1; i < fontes.size(); ++i) {
        if (copias[i].valido() && !nomear(copias[i].get(), estado->nome + kCompanheiros[i - 1])) {
            return nullptr;
        }
    }
    sqlite3* db = abrirCopia(estado->nome, *estado);
    if (db == nullptr) {
        return nullptr;
    }
    estado->descartarNomes();
    std::unique_ptr<BancoCopiado> banco(new BancoCopiado(std::move(estado)));
    banco->db_ = db;
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
    if (!temTabelas({tabela})) {
        return {};
    }
    return textos("SELECT name FROM pragma_table_info(?1)", 1000, tabela);
}

std::vector<std::string> BancoCopiado::textos(
    const char* sql, std::size_t maximo, const char* parametro) const
{
    std::vector<std::string> lidos;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db_, sql, -1, &stmt, nullptr) == SQLITE_OK) {
        if (parametro != nullptr) {
            sqlite3_bind_text(stmt, 1, parametro, -1, SQLITE_STATIC);
        }
        while (lidos.size() < maximo && sqlite3_step(stmt) == SQLITE_ROW) {
            const auto* bytes = sqlite3_column_text(stmt, 0);
            lidos.emplace_back(bytes == nullptr ? std::string()
                                                : std::string(reinterpret_cast<const char*>(bytes),
                                                    static_cast<std::size_t>(sqlite3_column_bytes(stmt, 0))));
        }
    }
    sqlite3_finalize(stmt);
    return lidos;
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
            if (::lstat(caminho.c_str(), &info) != 0 || !(S_ISREG(info.st_mode) || S_ISDIR(info.st_mode))
                || info.st_uid != dono) {
                continue;
            }
            // "tarrafa-historico-<pid>-<letters>[-wal|-journal|-shm]": the scan that named it
            // is gone when its process is. Older builds made a folder named without the
            // process; those are taken once old enough that no scan can still be reading them.
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
    g_encerrando.store(1);
    // Threads giving copies names right now finish (they take a few milliseconds: SQLite opens
    // the copy and reads it once); the one this runs on, if it is one, is not waited for.
    const int euMesmo = t_nomeando ? 1 : 0;
    for (int espera = 0; espera < 3000 && g_nomeando.load() > euMesmo; ++espera) {
        const timespec ummilissegundo {0, 1'000'000};
        (void)::nanosleep(&ummilissegundo, nullptr);
    }
    for (Vaga& vaga : g_vagas) {
        if (vaga.estado.load(std::memory_order_acquire) == 2) {
            apagarNomes(vaga.nome.data());
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
