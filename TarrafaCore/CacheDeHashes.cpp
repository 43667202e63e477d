// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/CacheDeHashes.hpp"

#include <sqlite3.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>

namespace tarrafa {
namespace {

constexpr std::int64_t kDia = 24 * 60 * 60;
// Entries unused for longer than this belong to files long gone.
constexpr std::int64_t kValidade = 90 * kDia;

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

class Comando {
public:
    Comando(sqlite3* db, const char* sql)
    {
        if (sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr) != SQLITE_OK) {
            sqlite3_finalize(stmt_);
            stmt_ = nullptr;
        }
    }
    Comando(const Comando&) = delete;
    Comando& operator=(const Comando&) = delete;
    ~Comando() { sqlite3_finalize(stmt_); }

    [[nodiscard]] bool valido() const noexcept { return stmt_ != nullptr; }
    void ligar(int indice, sqlite3_int64 valor) { sqlite3_bind_int64(stmt_, indice, valor); }
    void ligar(int indice, const std::optional<Hash128>& hash)
    {
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
    [[nodiscard]] int passo() { return sqlite3_step(stmt_); }
    [[nodiscard]] std::optional<Hash128> hash(int coluna) const
    {
        if (sqlite3_column_type(stmt_, coluna) != SQLITE_BLOB || sqlite3_column_bytes(stmt_, coluna) != 16) {
            return std::nullopt;
        }
        const auto* bytes = static_cast<const unsigned char*>(sqlite3_column_blob(stmt_, coluna));
        Hash128 hash;
        std::memcpy(&hash.baixo, bytes, 8);
        std::memcpy(&hash.alto, bytes + 8, 8);
        return hash;
    }
    [[nodiscard]] sqlite3_int64 inteiro(int coluna) const { return sqlite3_column_int64(stmt_, coluna); }
    void reiniciar()
    {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
    }

private:
    sqlite3_stmt* stmt_ = nullptr;
};

bool executar(sqlite3* db, const char* sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
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
{
    const std::filesystem::path caminho(arquivo);
    std::error_code erro;
    if (caminho.has_parent_path() && !std::filesystem::exists(caminho.parent_path(), erro)) {
        std::filesystem::create_directories(caminho.parent_path(), erro);
        // Which files the person has is nobody else's business.
        ::chmod(caminho.parent_path().c_str(), 0700);
    }
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(arquivo.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOFOLLOW, nullptr)
        != SQLITE_OK) {
        sqlite3_close(db);
        return;
    }
    // The window and the command line may use the cache at the same moment; a short wait for
    // the other's write is better than reading again, a long one is not.
    sqlite3_busy_timeout(db, 500);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    const bool pronto = executar(db, "PRAGMA journal_mode=WAL")
        && executar(db,
            "CREATE TABLE IF NOT EXISTS hashes ("
            " dispositivo INTEGER NOT NULL, inode INTEGER NOT NULL,"
            " tamanho INTEGER NOT NULL, modificado INTEGER NOT NULL, alterado INTEGER NOT NULL,"
            " parcial BLOB, completo BLOB, usado INTEGER NOT NULL,"
            " PRIMARY KEY (dispositivo, inode)) WITHOUT ROWID");
    // A file that is not a cache of ours (damaged, or another table of that name) is left
    // alone and not used; so is a cache of the version without the change time in its key.
    auto busca = pronto ? std::make_unique<Busca>(db) : nullptr;
    if (!busca || !busca->valido()) {
        busca.reset();
        sqlite3_close(db);
        return;
    }
    db_ = db;
    busca_ = std::move(busca);
}

CacheDeHashes::~CacheDeHashes()
{
    gravar();
    busca_.reset(); // its statement is finalised before the connection closes
    sqlite3_close(db_);
}

std::optional<CacheDeHashes::Entrada> CacheDeHashes::buscar(const Identidade& arquivo)
{
    if (!busca_) {
        return std::nullopt;
    }
    Busca& busca = *busca_;
    busca.ligar(arquivo);
    std::optional<Entrada> entrada;
    if (busca.passo() == SQLITE_ROW) {
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
        return;
    }
    if (!executar(db_, "BEGIN IMMEDIATE")) {
        // Another program is writing; what was read is simply read again next time.
        pendentes_.clear();
        renovar_.clear();
        return;
    }
    const sqlite3_int64 hoje = agora();
    {
        Comando escrever(db_,
            "INSERT OR REPLACE INTO hashes (dispositivo, inode, tamanho, modificado, alterado, parcial, completo,"
            " usado) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
        Comando usar(db_,
            "UPDATE hashes SET usado = ?6 WHERE dispositivo = ?1 AND inode = ?2 AND tamanho = ?3"
            " AND modificado = ?4 AND alterado = ?5");
        for (const Pendente& pendente : pendentes_) {
            escrever.ligar(pendente.arquivo);
            escrever.ligar(6, pendente.entrada.parcial);
            escrever.ligar(7, pendente.entrada.completo);
            escrever.ligar(8, hoje);
            (void)escrever.passo();
            escrever.reiniciar();
        }
        for (const Identidade& arquivo : renovar_) {
            usar.ligar(arquivo);
            usar.ligar(6, hoje);
            (void)usar.passo();
            usar.reiniciar();
        }
        Comando esquecer(db_, "DELETE FROM hashes WHERE usado < ?1");
        esquecer.ligar(1, hoje - kValidade);
        (void)esquecer.passo();
    }
    executar(db_, "COMMIT");
    pendentes_.clear();
    renovar_.clear();
}

} // namespace tarrafa
