// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/BancoHostil.hpp"

#include <sqlite3.h>

#include <utility>

namespace tarrafa::BancoHostil {

namespace {

// Non-zero interrupts the statement.
int verificar(void* dados)
{
    return static_cast<const Prazo*>(dados)->esgotado() ? 1 : 0;
}

} // namespace

void blindar(sqlite3* db) noexcept
{
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    // No value we read is anywhere near this; a planted multi-megabyte string fails the query.
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, 8 << 20);
}

Prazo::Prazo(std::stop_token parar) noexcept
    : fim_(std::chrono::steady_clock::now())
    , parar_(std::move(parar))
{
}

void Prazo::instalar(sqlite3* db) noexcept
{
    sqlite3_progress_handler(db, 1000, verificar, this);
}

void Prazo::definir(std::chrono::milliseconds orcamento) noexcept
{
    fim_ = std::chrono::steady_clock::now() + orcamento;
}

bool Prazo::esgotado() const noexcept
{
    return parar_.stop_requested() || std::chrono::steady_clock::now() > fim_;
}

} // namespace tarrafa::BancoHostil
