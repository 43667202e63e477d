// SPDX-License-Identifier: GPL-3.0-or-later
// The cache of hashes lives where any program the person runs can write: whatever is found in
// its place must neither crash, hang nor mislead the comparison, and a working cache must
// take its place.
#include "TarrafaCore/Duplicatas.hpp"

#include "Apoio.hpp"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace tarrafa {
namespace {

using namespace std::chrono_literals;
using teste::PastaTemporaria;

// The table as this version of the program makes it, word for word.
constexpr const char* kTabela
    = "CREATE TABLE hashes ("
      " dispositivo INTEGER NOT NULL, inode INTEGER NOT NULL,"
      " tamanho INTEGER NOT NULL, modificado INTEGER NOT NULL, alterado INTEGER NOT NULL,"
      " parcial BLOB, completo BLOB, usado INTEGER NOT NULL,"
      " PRIMARY KEY (dispositivo, inode)) WITHOUT ROWID";

std::string bytesDe(std::size_t tamanho, unsigned semente)
{
    std::string bytes(tamanho, '\0');
    std::mt19937 gerador(semente);
    for (char& c : bytes) {
        c = static_cast<char>(gerador());
    }
    return bytes;
}

Duplicatas::Arquivo arquivo(const std::string& caminho, double chegou)
{
    const auto identidade = Identidade::ler(caminho);
    EXPECT_TRUE(identidade.has_value()) << caminho;
    return {caminho, identidade.value_or(Identidade {}), Date::desde1970(chegou), {}};
}

// Runs the work on a thread of its own and gives up the whole test program when it never
// ends: a hang must show as a failure, not as a test that waits for ever.
template <typename Trabalho>
void semTravar(Trabalho trabalho)
{
    const auto inicio = std::chrono::steady_clock::now();
    auto feito = std::async(std::launch::async, std::move(trabalho));
    if (feito.wait_for(20s) != std::future_status::ready) {
        std::fprintf(stderr, "FAILED: the cache hung for 20 s\n");
        std::fflush(stderr);
        std::_Exit(1);
    }
    feito.get();
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, 5s);
}

void criarBanco(const std::string& caminho, const std::string& sql)
{
    std::filesystem::create_directories(std::filesystem::path(caminho).parent_path());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(caminho.c_str(), &db), SQLITE_OK);
    char* erro = nullptr;
    const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &erro);
    EXPECT_EQ(rc, SQLITE_OK) << (erro != nullptr ? erro : "");
    sqlite3_free(erro);
    sqlite3_close(db);
}

class CacheHostilTest : public ::testing::Test {
protected:
    PastaTemporaria pasta;
    PastaTemporaria cacheDir;
    std::string arquivoDoCache() const { return cacheDir / "Tarrafa/hashes.sqlite"; }

    void SetUp() override
    {
        const std::string conteudo = bytesDe(100 * 1024, 1);
        teste::escrever(pasta / "a.pdf", conteudo);
        teste::escrever(pasta / "b.pdf", conteudo);
        teste::escrever(pasta / "c.pdf", bytesDe(100 * 1024, 2));
    }

    std::vector<Duplicatas::Arquivo> arquivos() const
    {
        return {arquivo(pasta / "a.pdf", 1), arquivo(pasta / "b.pdf", 2), arquivo(pasta / "c.pdf", 3)};
    }

    // With whatever is in the cache's place: the comparison is right, and what it read is
    // stored, so that a second one reads nothing; a regular file is in the cache's place.
    void esperarCacheQueFunciona()
    {
        semTravar([&] {
            CacheDeHashes cache(arquivoDoCache());
            EXPECT_TRUE(cache.aberto());
            const auto frio = Duplicatas::encontrar(arquivos(), cache);
            ASSERT_EQ(frio.duplicataDe.size(), 1U);
            EXPECT_EQ(frio.duplicataDe.at(pasta / "b.pdf"), pasta / "a.pdf");
            EXPECT_GT(frio.bytesLidos, 0U);
        });
        semTravar([&] {
            CacheDeHashes cache(arquivoDoCache());
            EXPECT_TRUE(cache.aberto());
            const auto quente = Duplicatas::encontrar(arquivos(), cache);
            ASSERT_EQ(quente.duplicataDe.size(), 1U);
            EXPECT_EQ(quente.hashesLembrados, 3U);
            EXPECT_EQ(quente.bytesLidos, 0U);
            EXPECT_EQ(quente.arquivosAbertos, 0U);
        });
        struct stat info { };
        ASSERT_EQ(::lstat(arquivoDoCache().c_str(), &info), 0);
        EXPECT_TRUE(S_ISREG(info.st_mode));
    }
};

TEST_F(CacheHostilTest, VisaoComONomeDaTabelaDaLugarAUmCacheNovo)
{
    criarBanco(arquivoDoCache(),
        "CREATE VIEW hashes AS SELECT 0 AS dispositivo, 0 AS inode, 0 AS tamanho, 0 AS modificado,"
        " 0 AS alterado, NULL AS parcial, NULL AS completo, 0 AS usado; PRAGMA user_version = 2;");
    esperarCacheQueFunciona();
}

TEST_F(CacheHostilTest, GatilhoQueNaoTerminaDaLugarAUmCacheNovo)
{
    criarBanco(arquivoDoCache(),
        std::string(kTabela)
            + "; PRAGMA user_version = 2;"
              " CREATE TRIGGER t BEFORE INSERT ON hashes BEGIN SELECT count(*) FROM (WITH RECURSIVE"
              " c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT x FROM c); END;");
    esperarCacheQueFunciona();
}

TEST_F(CacheHostilTest, BytesAoAcasoDaoLugarAUmCacheNovo)
{
    teste::escrever(arquivoDoCache(), bytesDe(64 * 1024, 3));
    esperarCacheQueFunciona();
}

TEST_F(CacheHostilTest, CabecalhoDeSqliteSeguidoDeLixoDaLugarAUmCacheNovo)
{
    std::string bytes = bytesDe(16 * 4096, 4);
    bytes.replace(0, 16, std::string("SQLite format 3\0", 16));
    teste::escrever(arquivoDoCache(), bytes);
    esperarCacheQueFunciona();
}

TEST_F(CacheHostilTest, PipeNoLugarDoCacheEPostoDeLado)
{
    teste::criarPasta(cacheDir / "Tarrafa");
    ASSERT_EQ(::mkfifo(arquivoDoCache().c_str(), 0600), 0);
    esperarCacheQueFunciona();
    struct stat info { };
    ASSERT_EQ(::lstat((arquivoDoCache() + ".descartado").c_str(), &info), 0);
    EXPECT_TRUE(S_ISFIFO(info.st_mode));
}

TEST_F(CacheHostilTest, LinkNoLugarDoCacheEPostoDeLadoSemTocarNoAlvo)
{
    const std::string alvo = cacheDir / "alheio";
    teste::escrever(alvo, "um arquivo que não é do Tarrafa");
    teste::criarPasta(cacheDir / "Tarrafa");
    ASSERT_EQ(::symlink(alvo.c_str(), arquivoDoCache().c_str()), 0);
    esperarCacheQueFunciona();
    std::ifstream lido(alvo, std::ios::binary);
    const std::string conteudo((std::istreambuf_iterator<char>(lido)), std::istreambuf_iterator<char>());
    EXPECT_EQ(conteudo, "um arquivo que não é do Tarrafa");
    struct stat info { };
    ASSERT_EQ(::lstat((arquivoDoCache() + ".descartado").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
}

TEST_F(CacheHostilTest, PipeNoLugarDoLogDaLugarAUmCacheNovo)
{
    teste::criarPasta(cacheDir / "Tarrafa");
    {
        CacheDeHashes cache(arquivoDoCache());
        ASSERT_TRUE(cache.aberto());
    }
    std::filesystem::remove(arquivoDoCache() + "-wal");
    ASSERT_EQ(::mkfifo((arquivoDoCache() + "-wal").c_str(), 0600), 0);
    esperarCacheQueFunciona();
    struct stat info { };
    if (::lstat((arquivoDoCache() + "-wal").c_str(), &info) == 0) {
        EXPECT_TRUE(S_ISREG(info.st_mode));
    }
}

// A cache of the version that had no change time in its key is not trusted: its entries
// could belong to files edited in place since. Here it says, falsely, that a and c are alike.
TEST_F(CacheHostilTest, CacheDaVersaoAnteriorEDescartado)
{
    criarBanco(arquivoDoCache(),
        "CREATE TABLE hashes ( dispositivo INTEGER NOT NULL, inode INTEGER NOT NULL,"
        " tamanho INTEGER NOT NULL, modificado INTEGER NOT NULL,"
        " parcial BLOB, completo BLOB, usado INTEGER NOT NULL,"
        " PRIMARY KEY (dispositivo, inode)) WITHOUT ROWID");
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(arquivoDoCache().c_str(), &db), SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db,
                  "INSERT INTO hashes VALUES (?1, ?2, ?3, ?4, zeroblob(16), zeroblob(16), ?5)", -1, &stmt, nullptr),
        SQLITE_OK);
    for (const auto& visto : arquivos()) {
        sqlite3_bind_int64(stmt, 1, static_cast<sqlite3_int64>(visto.identidade.dispositivo));
        sqlite3_bind_int64(stmt, 2, static_cast<sqlite3_int64>(visto.identidade.inode));
        sqlite3_bind_int64(stmt, 3, visto.identidade.tamanho);
        sqlite3_bind_int64(stmt, 4, visto.identidade.modificadoNs);
        sqlite3_bind_int64(stmt, 5, std::time(nullptr));
        EXPECT_EQ(sqlite3_step(stmt), SQLITE_DONE);
        sqlite3_reset(stmt);
    }
    sqlite3_finalize(stmt);
    sqlite3_close(db);

    esperarCacheQueFunciona();
}

} // namespace
} // namespace tarrafa
