// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <stop_token>

struct sqlite3;

// How a SQLite database whose contents anyone with the person's rights could have written is
// opened: a browser's history, and our own cache, which lives in a folder of the person's
// where any program they run can replace it. Such a file can hold views and triggers that
// never end, functions run from the schema, strings of gigabytes; these settings take that
// away, and a time budget ends any statement that still runs too long.
namespace tarrafa::BancoHostil {

// Defensive mode, functions in the schema untrusted, triggers and views disabled, and no text
// or blob larger than a few megabytes. Before the first statement.
void blindar(sqlite3* db) noexcept;

// A deadline for the statements of a connection, checked while they run (a progress handler):
// past it, or once stop is requested, the statement fails with SQLITE_INTERRUPT. The object
// must outlive the connection it is installed on.
class Prazo final {
public:
    explicit Prazo(std::stop_token parar = {}) noexcept;
    Prazo(const Prazo&) = delete;
    Prazo& operator=(const Prazo&) = delete;

    void instalar(sqlite3* db) noexcept;
    // The deadline, from now.
    void definir(std::chrono::milliseconds orcamento) noexcept;
    [[nodiscard]] bool esgotado() const noexcept;

private:
    std::chrono::steady_clock::time_point fim_;
    std::stop_token parar_;
};

} // namespace tarrafa::BancoHostil
