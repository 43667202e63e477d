// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/CacheDeHashes.hpp"

#include "TarrafaCore/BancoHostil.hpp"

#include <sqlite3.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace tarrafa {
namespace {

constexpr std::int64_t kDia = 24 * 60 * 60;
// Entries unused for longer than this belong to files long gone.
constexpr std::int64_t kValidade = 90 * kDia;

// The one table the file may hold, exactly as SQLite keeps its statement. Version 2 added the
// change time to the key; a cache of version 1 has another statement and is simply thrown
// away and made again (its entries cost one reading each to recover).
constexpr int kVersao = 2;
constexpr std::string_view kTabela
    = "CREATE TABLE hashes ("
      " dispositivo INTEGER NOT NULL, inode INTEGER NOT NULL,"
      " tamanho INTEGER NOT NULL, modificado INTEGER NOT NULL, alterado INTEGER NOT NULL,"
      " parcial BLOB, completo BLOB, usado INTEGER NOT NULL,"
      " PRIMARY KEY (dispositivo, inode)) WITHOUT ROWID";

// Each statement is a lookup by key, a handful of writes or one pass over a table of a few
// thousand rows: milliseconds. One still running after this was not written by us.
constexpr std::chrono::milliseconds kPorComando {1000};

// The names SQLite gives the files beside a database.
constexpr std::array<const char*, 4> kSufixos {"", "-wal", "-shm", "-journal"};

std::int64_t agora()
{
    return std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Device and inode numbers are unsigned 64-bit; SQLite stores signed ones, bit for bit.
sqlite3_int64 comoInteiro(std::uint64_t valor)
{
    sqlite3_int64 inteiro = 0;
    std::memcpy(&inteiro, &valor, sizeof inteiro);
    return inteiro;
}

// Whether a failure says nothing about the file itself: another program holding it, a full
// disk, a folder we may not write. The file is then left as it is and the run goes without
// it. Any other failure (not a database, damaged, a statement that does not fit the schema,
// the time budget) puts the file in doubt.
bool indisponivel(int rc)
{
    switch (rc & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_IOERR:
    case SQLITE_FULL:
    case SQLITE_NOMEM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_PROTOCOL:
        return true;
    default:
        return false;
    }
}

class Comando {
public:
    Comando(sqlite3* db, const char* sql)
        : preparo_(sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr))
    {
        if (preparo_ != SQLITE_OK || stmt_ == nullptr) {
            sqlite3_finalize(stmt_);
            stmt_ = nullptr;
            if (preparo_ == SQLITE_OK) {
                preparo_ = SQLITE_ERROR; // nothing but blanks and comments: not ours
            }
        }
    }
    Comando(const Comando&) = delete;
    Comando& operator=(const Comando&) = delete;
    ~Comando() { sqlite3_finalize(stmt_); }

    [[nodiscard]] bool valido() const noexcept { return stmt_ != nullptr; }
    // Why it could not be prepared; SQLITE_OK when it was.
    [[nodiscard]] int preparo() const noexcept { return preparo_; }

    // Nothing below is ever called on a statement that failed to prepare; they check anyway.
    void ligar(int indice, sqlite3_int64 valor)
    {
        if (stmt_ != nullptr) {
            sqlite3_bind_int64(stmt_, indice, valor);
        }
    }
    void ligar(int indice, const std::optional<Hash128>& hash)
    {
        if (stmt_ == nullptr) {
            return;
        }
        if (!hash) {
            sqlite3_bind_null(stmt_, indice);
            return;
        }
        unsigned char bytes[16];
        std::memcpy(bytes, &hash->baixo, 8);
        std::memcpy(bytes + 8, &hash->alto, 8);
        sqlite3_bind_blob(stmt_, indice, bytes, sizeof bytes, SQLITE_TRANSIENT);
    }
    // The key: parameters 1 to 5.
    void ligar(const Identidade& arquivo)
    {
        ligar(1, comoInteiro(arquivo.dispositivo));
        ligar(2, comoInteiro(arquivo.inode));
        ligar(3, arquivo.tamanho);
        ligar(4, arquivo.modificadoNs);
        ligar(5, arquivo.alteradoNs);
    }
    [[nodiscard]] int passo() { return stmt_ == nullptr ? SQLITE_MISUSE : sqlite3_step(stmt_); }
    [[nodiscard]] std::optional<Hash128> hash(int coluna) const
    {
        if (sqlite3_column_type(stmt_, coluna) != SQLITE_BLOB || sqlite3_column_bytes(stmt_, coluna) != 16) {
            return std::nullopt;
        }
        const auto* bytes = static_cast<const unsigned char*>(sqlite3_column_blob(stmt_, coluna));
        if (bytes == nullptr) {
            return std::nullopt;
        }
        Hash128 hash;
        std::memcpy(&hash.baixo, bytes, 8);
        std::memcpy(&hash.alto, bytes + 8, 8);
        return hash;
    }
    [[nodiscard]] sqlite3_int64 inteiro(int coluna) const { return sqlite3_column_int64(stmt_, coluna); }
    [[nodiscard]] std::string_view texto(int coluna) const
    {
        const auto* bytes = sqlite3_column_text(stmt_, coluna);
        if (bytes == nullptr) {
            return {};
        }
        return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_column_bytes(stmt_, coluna))};
    }
    void reiniciar()
    {
        if (stmt_ != nullptr) {
            sqlite3_reset(stmt_);
            sqlite3_clear_bindings(stmt_);
        }
    }

private:
    sqlite3_stmt* stmt_ = nullptr;
    int preparo_ = SQLITE_OK;
};

int executar(sqlite3* db, BancoHostil::Prazo& prazo, const char* sql)
{
    prazo.definir(kPorComando);
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
}

// What the file holds.
enum class Esquema { vazio, nosso, outro };

// Reads the whole schema: our table alone, in our version, or nothing at all. A view, a
// trigger, an index or any other table of whatever name makes it another's.
int lerEsquema(sqlite3* db, BancoHostil::Prazo& prazo, Esquema& esquema)
{
    int linhas = 0;
    bool nosso = true;
    {
        Comando schema(db, "SELECT type, name, tbl_name, sql FROM sqlite_master");
        if (!schema.valido()) {
            return schema.preparo();
        }
        prazo.definir(kPorComando);
        int rc = SQLITE_ROW;
        while (linhas < 2 && (rc = schema.passo()) == SQLITE_ROW) {
            ++linhas;
            nosso = nosso && schema.texto(0) == "table" && schema.texto(1) == "hashes"
                && schema.texto(2) == "hashes" && schema.texto(3) == kTabela;
        }
        if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
            return rc;
        }
    }
    Comando versao(db, "PRAGMA user_version");
    if (!versao.valido()) {
        return versao.preparo();
    }
    prazo.definir(kPorComando);
    const int rc = versao.passo();
    if (rc != SQLITE_ROW) {
        return rc == SQLITE_DONE ? SQLITE_CORRUPT : rc;
    }
    const sqlite3_int64 numero = versao.inteiro(0);
    if (linhas == 0) {
        esquema = numero == 0 ? Esquema::vazio : Esquema::outro;
    } else {
        esquema = linhas == 1 && nosso && numero == kVersao ? Esquema::nosso : Esquema::outro;
    }
    return SQLITE_OK;
}

// Makes our table in a file with nothing in it yet, checking again inside the transaction:
// the window and the command line may both be making it at the same moment.
int criarEsquema(sqlite3* db, BancoHostil::Prazo& prazo, Esquema& esquema)
{
    int rc = executar(db, prazo, "BEGIN IMMEDIATE");
    if (rc != SQLITE_OK) {
        return rc;
    }
    rc = lerEsquema(db, prazo, esquema);
    if (rc == SQLITE_OK && esquema == Esquema::vazio) {
        const std::string criar = std::string(kTabela) + "; PRAGMA user_version = " + std::to_string(kVersao);
        rc = executar(db, prazo, criar.c_str());
        if (rc == SQLITE_OK) {
            esquema = Esquema::nosso;
        }
    }
    if (rc == SQLITE_OK) {
        rc = executar(db, prazo, "COMMIT");
    }
    if (rc != SQLITE_OK) {
        (void)executar(db, prazo, "ROLLBACK");
    }
    return rc;
}

// Removes the cache and the files SQLite keeps beside it. Only regular files of the person's
// are deleted; anything else in their place (a link, a pipe, a folder, another's file) is
// moved aside, never followed or opened. False when something stays in the way.
bool descartarArquivos(const std::string& arquivo)
{
    const uid_t eu = ::getuid();
    for (const char* sufixo : kSufixos) {
        const std::string nome = arquivo + sufixo;
        struct stat info { };
        if (::lstat(nome.c_str(), &info) != 0) {
            if (errno == ENOENT) {
                continue;
            }
            return false;
        }
        if (S_ISREG(info.st_mode) && info.st_uid == eu) {
            if (::unlink(nome.c_str()) != 0 && errno != ENOENT) {
                return false;
            }
            continue;
        }
        if (::rename(nome.c_str(), (nome + ".descartado").c_str()) != 0) {
            return false;
        }
    }
    return true;
}

} // namespace

class CacheDeHashes::Busca final : public Comando {
public:
    explicit Busca(sqlite3* db)
        : Comando(db,
              "SELECT parcial, completo, usado FROM hashes WHERE dispositivo = ?1 AND inode = ?2"
              " AND tamanho = ?3 AND modificado = ?4 AND alterado = ?5")
    {
    }
};

CacheDeHashes::CacheDeHashes() = default;

CacheDeHashes::CacheDeHashes(const std::string& arquivo)
    : arquivo_(arquivo)
    , prazo_(std::make_unique<BancoHostil::Prazo>())
{
    const std::filesystem::path caminho(arquivo);
    std::error_code erro;
    if (caminho.has_parent_path() && !std::filesystem::exists(caminho.parent_path(), erro)) {
        std::filesystem::create_directories(caminho.parent_path(), erro);
        // Which files the person has is nobody else's business.
        ::chmod(caminho.parent_path().c_str(), 0700);
    }
    if (abrir() == Abertura::emDuvida) {
        refazer();
    }
}

CacheDeHashes::~CacheDeHashes()
{
    gravar();
    fechar();
}

void CacheDeHashes::fechar() noexcept
{
    busca_.reset(); // its statement is finalised before the connection closes
    sqlite3_close(db_);
    db_ = nullptr;
}

CacheDeHashes::Abertura CacheDeHashes::abrir()
{
    // SQLite would not follow a link in the database's place (O_NOFOLLOW), but it would open a
    // pipe and wait on it for ever, and it opens its log and journal as it finds them: only
    // regular files of the person's are opened at all.
    for (const char* sufixo : kSufixos) {
        struct stat info { };
        if (::lstat((arquivo_ + sufixo).c_str(), &info) == 0) {
            if (!S_ISREG(info.st_mode) || info.st_uid != ::getuid()) {
                return Abertura::emDuvida;
            }
        } else if (errno != ENOENT) {
            return Abertura::indisponivel;
        }
    }
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(arquivo_.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOFOLLOW, nullptr)
        != SQLITE_OK) {
        sqlite3_close(db);
        return Abertura::indisponivel;
    }
    BancoHostil::blindar(db);
    prazo_->instalar(db);
    // The window and the command line may use the cache at the same moment; a short wait for
    // the other's write is better than reading again, a long one is not.
    sqlite3_busy_timeout(db, 500);

    Esquema esquema = Esquema::outro;
    int rc = executar(db, *prazo_, "PRAGMA cell_size_check = 1");
    if (rc == SQLITE_OK) {
        rc = executar(db, *prazo_, "PRAGMA journal_mode = WAL");
    }
    if (rc == SQLITE_OK) {
        rc = lerEsquema(db, *prazo_, esquema);
    }
    if (rc == SQLITE_OK && esquema == Esquema::vazio) {
        rc = criarEsquema(db, *prazo_, esquema);
    }
    if (rc == SQLITE_OK && esquema != Esquema::nosso) {
        rc = SQLITE_ERROR;
    }
    auto busca = rc == SQLITE_OK ? std::make_unique<Busca>(db) : nullptr;
    if (busca && !busca->valido()) {
        rc = busca->preparo();
    }
    if (rc != SQLITE_OK) {
        busca.reset();
        sqlite3_close(db);
        return indisponivel(rc) ? Abertura::indisponivel : Abertura::emDuvida;
    }
    db_ = db;
    busca_ = std::move(busca);
    return Abertura::pronto;
}

void CacheDeHashes::refazer()
{
    fechar();
    // Once per run: a cache that fails again right after being made is not worth a loop.
    if (refeito_ || arquivo_.empty()) {
        return;
    }
    refeito_ = true;
    if (!descartarArquivos(arquivo_)) {
        return;
    }
    if (abrir() != Abertura::pronto) {
        fechar();
    }
}

std::optional<CacheDeHashes::Entrada> CacheDeHashes::buscar(const Identidade& arquivo)
{
    if (!busca_) {
        return std::nullopt;
    }
    Busca& busca = *busca_;
    busca.ligar(arquivo);
    prazo_->definir(kPorComando);
    const int rc = busca.passo();
    std::optional<Entrada> entrada;
    if (rc == SQLITE_ROW) {
        Entrada lida {busca.hash(0), busca.hash(1)};
        if (lida.parcial || lida.completo) {
            if (busca.inteiro(2) < agora() - kDia) {
                renovar_.push_back(arquivo);
            }
            entrada = lida;
        }
    }
    // Reset at once: a statement left on a row would hold a read lock the window and the
    // command line would wait on.
    busca.reiniciar();
    if (rc != SQLITE_ROW && rc != SQLITE_DONE && !indisponivel(rc)) {
        refazer();
    }
    return entrada;
}

void CacheDeHashes::guardar(const Identidade& arquivo, const Entrada& entrada)
{
    if (db_ != nullptr) {
        pendentes_.push_back({arquivo, entrada});
    }
}

void CacheDeHashes::gravar()
{
    if (db_ == nullptr || (pendentes_.empty() && renovar_.empty())) {
        pendentes_.clear();
        renovar_.clear();
        return;
    }
    // A cache in doubt is made again and written once more; another program writing, or a
    // full disk, leaves what was read to be read again next time.
    for (int vez = 0; vez < 2 && db_ != nullptr; ++vez) {
        const int rc = escrever();
        if (rc == SQLITE_OK || indisponivel(rc)) {
            break;
        }
        refazer();
    }
    pendentes_.clear();
    renovar_.clear();
}

int CacheDeHashes::escrever()
{
    int rc = executar(db_, *prazo_, "BEGIN IMMEDIATE");
    if (rc != SQLITE_OK) {
        return rc;
    }
    const sqlite3_int64 hoje = agora();
    // Runs each statement to its end; the first failure stops the transaction.
    const auto passo = [&](Comando& comando) {
        prazo_->definir(kPorComando);
        const int resultado = comando.passo();
        comando.reiniciar();
        return resultado == SQLITE_DONE ? SQLITE_OK : resultado;
    };
    rc = [&] {
        Comando escrita(db_,
            "INSERT OR REPLACE INTO hashes (dispositivo, inode, tamanho, modificado, alterado, parcial, completo,"
            " usado) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
        Comando uso(db_,
            "UPDATE hashes SET usado = ?6 WHERE dispositivo = ?1 AND inode = ?2 AND tamanho = ?3"
            " AND modificado = ?4 AND alterado = ?5");
        Comando esquecimento(db_, "DELETE FROM hashes WHERE usado < ?1");
        for (const Comando* comando : {&escrita, &uso, &esquecimento}) {
            if (!comando->valido()) {
                return comando->preparo();
            }
        }
        for (const Pendente& pendente : pendentes_) {
            escrita.ligar(pendente.arquivo);
            escrita.ligar(6, pendente.entrada.parcial);
            escrita.ligar(7, pendente.entrada.completo);
            escrita.ligar(8, hoje);
            if (const int falha = passo(escrita); falha != SQLITE_OK) {
                return falha;
            }
        }
        for (const Identidade& arquivo : renovar_) {
            uso.ligar(arquivo);
            uso.ligar(6, hoje);
            if (const int falha = passo(uso); falha != SQLITE_OK) {
                return falha;
            }
        }
        esquecimento.ligar(1, hoje - kValidade);
        return passo(esquecimento);
    }();
    if (rc == SQLITE_OK) {
        rc = executar(db_, *prazo_, "COMMIT");
    }
    if (rc != SQLITE_OK) {
        (void)executar(db_, *prazo_, "ROLLBACK");
    }
    return rc;
}

} // namespace tarrafa
