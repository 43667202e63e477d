// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

struct sqlite3;

namespace tarrafa {

// A browser's SQLite database, read through a private copy and treated as hostile.
//
// The live file is never opened by SQLite: a running browser holds locks on it (Chromium in
// exclusive mode) and keeps its newest rows in a write-ahead log, so the database, its log
// and any rollback journal are copied into files that have no name (they vanish with the
// process, however it ends), given names only while SQLite opens them, and unnamed again as
// soon as SQLite holds them open. A signal that stops the process in that moment removes the
// names (removerCopiasAgora); names left by a process killed outright in it are removed by
// the next scan (removerCopiasAbandonadas).
//
// The contents are untrusted: anyone who can write to the home folder can plant a database
// with views, triggers or a billion rows. The copy is opened with SQLite's defensive mode on
// and schema-defined functions untrusted, every statement runs under a time budget, and
// callers read only real tables (temTabelas) with a cap on rows.
class BancoCopiado final {
public:
    // Databases larger than this are not copied: no browser history is that large, and a copy
    // of it would take the memory the copies live in.
    static constexpr std::int64_t kTamanhoMaximo = std::int64_t {2} << 30;

    // Copies and opens the database; null when it is missing, not a regular file, too large,
    // does not fit the free space, or cannot be copied or opened. The budget covers every
    // statement run on it from now on; a stop request ends it at once.
    [[nodiscard]] static std::unique_ptr<BancoCopiado> abrir(
        const std::string& arquivo, std::chrono::milliseconds orcamento, std::stop_token parar = {});

    BancoCopiado(const BancoCopiado&) = delete;
    BancoCopiado& operator=(const BancoCopiado&) = delete;
    ~BancoCopiado();

    [[nodiscard]] sqlite3* get() const noexcept { return db_; }
    // Whether every name is an ordinary table of the database (not a view, not a virtual table).
    [[nodiscard]] bool temTabelas(std::initializer_list<const char*> nomes) const;
    // The columns of an ordinary table, empty when it has none or is not one.
    [[nodiscard]] std::vector<std::string> colunas(const char* tabela) const;
    // The first column of the rows a query gives (bytes as stored), at most so many; what was
    // read before a failure (the budget, a damaged page) is kept.
    [[nodiscard]] std::vector<std::string> textos(
        const char* sql, std::size_t maximo, const char* parametro = nullptr) const;

    // Where copies are made: $XDG_RUNTIME_DIR (private to the user and kept in memory) when it
    // is an absolute folder, else the system's temporary folder.
    [[nodiscard]] static std::string pastaDasCopias();
    // Removes the copies left by scans whose process no longer exists (killed outright).
    static void removerCopiasAbandonadas();
    // Removes the names of every copy this process has at this moment, and makes no more
    // copies from then on. Async-signal-safe: made for a handler of SIGINT or SIGTERM, on the
    // way out.
    static void removerCopiasAgora() noexcept;
    // Installs handlers of SIGINT, SIGTERM, SIGHUP and SIGQUIT that remove this process's copies
    // and then die of the signal as before. Signals whose handling the program already changed
    // are left alone.
    static void removerCopiasAoSinal();

    struct Estado; // where the copies are and how much of the budget is left

private:
    explicit BancoCopiado(std::unique_ptr<Estado> estado);

    std::unique_ptr<Estado> estado_;
    sqlite3* db_ = nullptr;
};

} // namespace tarrafa
