// SPDX-License-Identifier: GPL-3.0-or-later
// Browser history databases written by the tests, in the layouts Chromium and Firefox use.
#pragma once

#include "TarrafaCore/FileSnapshot.hpp"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tarrafa::teste {

// Microseconds since 1601-01-01 UTC, as Chromium stores times.
inline constexpr sqlite3_int64 chromium(double segundosDesde1970)
{
    return static_cast<sqlite3_int64>((segundosDesde1970 + 11644473600.0) * 1e6);
}

class Banco {
public:
    explicit Banco(const std::string& arquivo)
    {
        std::filesystem::create_directories(std::filesystem::path(arquivo).parent_path());
        EXPECT_EQ(sqlite3_open(arquivo.c_str(), &db_), SQLITE_OK);
    }
    Banco(const Banco&) = delete;
    Banco& operator=(const Banco&) = delete;
    ~Banco() { sqlite3_close(db_); }

    void sql(const std::string& comando)
    {
        char* erro = nullptr;
        const int rc = sqlite3_exec(db_, comando.c_str(), nullptr, nullptr, &erro);
        EXPECT_EQ(rc, SQLITE_OK) << (erro != nullptr ? erro : "") << "\n" << comando;
        sqlite3_free(erro);
    }

    // A text value bound as bytes, so that paths that are not UTF-8 go in unchanged.
    void inserirDownload(sqlite3_int64 id, const std::string& caminho, sqlite3_int64 fim,
        sqlite3_int64 acesso, int aberto, const std::string& referrer, const std::vector<std::string>& cadeia)
    {
        sqlite3_stmt* stmt = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(db_,
                      "INSERT INTO downloads (id, target_path, end_time, last_access_time, opened, "
                      "referrer) VALUES (?, ?, ?, ?, ?, ?)",
                      -1, &stmt, nullptr),
            SQLITE_OK);
        sqlite3_bind_int64(stmt, 1, id);
        sqlite3_bind_text(stmt, 2, caminho.data(), static_cast<int>(caminho.size()), SQLITE_TRANSIENT);
        sqlite3_bind_int64(stmt, 3, fim);
        sqlite3_bind_int64(stmt, 4, acesso);
        sqlite3_bind_int(stmt, 5, aberto);
        sqlite3_bind_text(stmt, 6, referrer.data(), static_cast<int>(referrer.size()), SQLITE_TRANSIENT);
        EXPECT_EQ(sqlite3_step(stmt), SQLITE_DONE);
        sqlite3_finalize(stmt);
        for (std::size_t i = 0; i < cadeia.size(); ++i) {
            sql("INSERT INTO downloads_url_chains (id, chain_index, url) VALUES (" + std::to_string(id) + ", "
                + std::to_string(i) + ", '" + cadeia[i] + "')");
        }
    }

    [[nodiscard]] sqlite3* get() const { return db_; }

private:
    sqlite3* db_ = nullptr;
};

// The columns Chromium's History keeps (a subset is enough: unknown columns are never read).
inline void criarTabelasChromium(Banco& banco)
{
    banco.sql("CREATE TABLE downloads (id INTEGER PRIMARY KEY, guid VARCHAR NOT NULL DEFAULT '', "
              "current_path LONGVARCHAR NOT NULL DEFAULT '', target_path LONGVARCHAR NOT NULL, "
              "start_time INTEGER NOT NULL DEFAULT 0, received_bytes INTEGER NOT NULL DEFAULT 0, "
              "total_bytes INTEGER NOT NULL DEFAULT 0, state INTEGER NOT NULL DEFAULT 1, "
              "end_time INTEGER NOT NULL, opened INTEGER NOT NULL, last_access_time INTEGER NOT NULL, "
              "referrer VARCHAR NOT NULL, site_url VARCHAR NOT NULL DEFAULT '', tab_url VARCHAR NOT NULL "
              "DEFAULT '', mime_type VARCHAR(255) NOT NULL "
              "DEFAULT '')");
    banco.sql("CREATE TABLE downloads_url_chains (id INTEGER NOT NULL, chain_index INTEGER NOT NULL, "
              "url LONGVARCHAR NOT NULL, PRIMARY KEY (id, chain_index))");
}

inline void criarTabelasFirefox(Banco& banco)
{
    banco.sql("CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url LONGVARCHAR, title LONGVARCHAR, "
              "visit_count INTEGER DEFAULT 0, last_visit_date INTEGER)");
    banco.sql("CREATE TABLE moz_anno_attributes (id INTEGER PRIMARY KEY, name VARCHAR(32) UNIQUE NOT NULL)");
    banco.sql(
        "CREATE TABLE moz_annos (id INTEGER PRIMARY KEY, place_id INTEGER NOT NULL, "
        "anno_attribute_id INTEGER, content LONGVARCHAR, flags INTEGER DEFAULT 0, expiration INTEGER DEFAULT "
        "0, type INTEGER DEFAULT 0, dateAdded INTEGER DEFAULT 0, lastModified INTEGER DEFAULT 0)");
    banco.sql("INSERT INTO moz_anno_attributes (id, name) VALUES (1, 'downloads/destinationFileURI'), "
              "(2, 'downloads/metaData'), (3, 'other/annotation')");
}

inline void inserirFirefox(Banco& banco, int id, const std::string& url, const std::string& uriDoArquivo,
    const std::string& metaDados)
{
    banco.sql("INSERT INTO moz_places (id, url) VALUES (" + std::to_string(id) + ", '" + url + "')");
    banco.sql("INSERT INTO moz_annos (place_id, anno_attribute_id, content) VALUES (" + std::to_string(id)
        + ", 1, '" + uriDoArquivo + "')");
    if (!metaDados.empty()) {
        banco.sql("INSERT INTO moz_annos (place_id, anno_attribute_id, content) VALUES (" + std::to_string(id)
            + ", 2, '" + metaDados + "')");
    }
}

inline const FileSnapshot* achar(const std::vector<FileSnapshot>& snapshots, std::string_view nome)
{
    const auto it = std::find_if(
        snapshots.begin(), snapshots.end(), [&](const FileSnapshot& s) { return s.nome() == nome; });
    return it == snapshots.end() ? nullptr : &*it;
}

// A Chromium download with every column the reader looks at.
struct DownloadChromium {
    sqlite3_int64 id = 1;
    std::string caminho;
    std::vector<std::string> cadeia;
    int estado = 1;
    sqlite3_int64 recebidos = 0;
    double inicio = 0;
    double fim = 0;
    std::string referrer;
    std::string aba;
    std::string site;
};

inline void inserirChromium(Banco& banco, const DownloadChromium& d)
{
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(banco.get(),
                  "INSERT INTO downloads (id, target_path, state, received_bytes, total_bytes, "
                  "start_time, end_time, last_access_time, opened, referrer, tab_url, site_url) "
                  "VALUES (?, ?, ?, ?, ?, ?, ?, 0, 0, ?, ?, ?)",
                  -1, &stmt, nullptr),
        SQLITE_OK);
    sqlite3_bind_int64(stmt, 1, d.id);
    sqlite3_bind_text(stmt, 2, d.caminho.data(), static_cast<int>(d.caminho.size()), SQLITE_TRANSIENT);
    sqlite3_bind_int(stmt, 3, d.estado);
    sqlite3_bind_int64(stmt, 4, d.recebidos);
    sqlite3_bind_int64(stmt, 5, d.recebidos);
    sqlite3_bind_int64(stmt, 6, d.inicio > 0 ? chromium(d.inicio) : 0);
    sqlite3_bind_int64(stmt, 7, d.fim > 0 ? chromium(d.fim) : 0);
    sqlite3_bind_text(stmt, 8, d.referrer.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 9, d.aba.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 10, d.site.c_str(), -1, SQLITE_TRANSIENT);
    EXPECT_EQ(sqlite3_step(stmt), SQLITE_DONE);
    sqlite3_finalize(stmt);
    for (std::size_t i = 0; i < d.cadeia.size(); ++i) {
        banco.sql("INSERT INTO downloads_url_chains (id, chain_index, url) VALUES (" + std::to_string(d.id)
            + ", " + std::to_string(i) + ", '" + d.cadeia[i] + "')");
    }
}

// Firefox's visits: a download is a visit of type 7 whose from_visit is the page's visit.
inline void criarVisitasFirefox(Banco& banco)
{
    banco.sql("CREATE TABLE moz_historyvisits (id INTEGER PRIMARY KEY, from_visit INTEGER, place_id INTEGER, "
              "visit_date INTEGER, visit_type INTEGER, session INTEGER)");
}

inline void inserirVisita(Banco& banco, int id, int deVisita, int lugar, double segundos, int tipo)
{
    banco.sql("INSERT INTO moz_historyvisits (id, from_visit, place_id, visit_date, visit_type) VALUES ("
        + std::to_string(id) + ", " + std::to_string(deVisita) + ", " + std::to_string(lugar) + ", "
        + std::to_string(static_cast<sqlite3_int64>(segundos * 1e6)) + ", " + std::to_string(tipo) + ")");
}

} // namespace tarrafa::teste
