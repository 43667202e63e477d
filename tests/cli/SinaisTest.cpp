// SPDX-License-Identifier: GPL-3.0-or-later
// The command line stopped by a signal in the middle of a scan: no copy of a browser history
// may stay behind, and what a killed scan could not clean is cleaned by the next one.
#include "Apoio.hpp"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char** environ;

namespace tarrafa {
namespace {

class CliSinais : public ::testing::Test {
protected:
    teste::CasaFalsa casa;
    teste::PastaDeCopias runtime;

    // A real History, made large (a few hundred megabytes) so that copying it takes long
    // enough for a signal to land in the middle.
    void SetUp() override
    {
        teste::criarPasta(casa / "Downloads");
        teste::escrever(casa / "Downloads/a.pdf", "a");
        const std::string arquivo = casa / ".config/chromium/Default/History";
        std::filesystem::create_directories(std::filesystem::path(arquivo).parent_path());
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(arquivo.c_str(), &db), SQLITE_OK);
        const char* sql
            = "CREATE TABLE downloads (id INTEGER PRIMARY KEY, target_path TEXT NOT NULL, "
              "end_time INTEGER NOT NULL, state INTEGER NOT NULL DEFAULT 1);"
              "CREATE TABLE downloads_url_chains (id INTEGER NOT NULL, chain_index INTEGER NOT NULL, "
              "url TEXT NOT NULL, PRIMARY KEY (id, chain_index));"
              "CREATE TABLE lastro (x BLOB); INSERT INTO lastro VALUES (zeroblob(300000000));";
        EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
    }

    [[nodiscard]] std::size_t copias() const
    {
        std::size_t n = 0;
        for (const auto& e : std::filesystem::directory_iterator(runtime.caminho())) {
            n += e.path().filename().string().rfind("tarrafa-historico-", 0) == 0 ? 1 : 0;
        }
        return n;
    }

    // Starts a scan, lets it run for a while, sends the signal; the process's end status.
    int interromper(int sinal, std::chrono::milliseconds depois)
    {
        const std::string pasta = casa / "Downloads";
        std::vector<char*> argv {const_cast<char*>(TARRAFA_CLI), const_cast<char*>("--json"),
            const_cast<char*>(pasta.c_str()), nullptr};
        posix_spawn_file_actions_t acoes;
        posix_spawn_file_actions_init(&acoes);
        posix_spawn_file_actions_addopen(&acoes, 1, "/dev/null", O_WRONLY, 0);
        pid_t pid = 0;
        EXPECT_EQ(::posix_spawn(&pid, TARRAFA_CLI, &acoes, nullptr, argv.data(), environ), 0);
        posix_spawn_file_actions_destroy(&acoes);
        std::this_thread::sleep_for(depois);
        ::kill(pid, sinal);
        int status = 0;
        ::waitpid(pid, &status, 0);
        return status;
    }
};

TEST_F(CliSinais, TerminatedOrInterruptedAtAnyMomentItLeavesNoCopy)
{
    int mortosNoMeio = 0;
    for (const int sinal : {SIGTERM, SIGINT}) {
        for (const int ms : {0, 2, 5, 10, 20, 30, 45, 60, 90, 130, 200}) {
            const int status = interromper(sinal, std::chrono::milliseconds(ms));
            EXPECT_TRUE(WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << status;
            // It still dies of the signal, as a program that did not handle it would.
            if (WIFSIGNALED(status)) {
                EXPECT_EQ(WTERMSIG(status), sinal);
                ++mortosNoMeio;
            }
            EXPECT_EQ(copias(), 0U) << "signal " << sinal << " after " << ms << " ms";
        }
    }
    EXPECT_GT(mortosNoMeio, 0) << "no signal arrived before the scan ended: the test proves nothing";
}

TEST_F(CliSinais, WhatAKilledScanLeftIsRemovedByTheNextScan)
{
    int deixaramCopia = 0;
    for (const int ms : {5, 15, 30, 50, 80, 120}) {
        const int status = interromper(SIGKILL, std::chrono::milliseconds(ms));
        ASSERT_TRUE(WIFSIGNALED(status) || WIFEXITED(status));
        deixaramCopia += copias() > 0 ? 1 : 0;
        ASSERT_EQ(interromper(0, std::chrono::milliseconds(0)), 0) << "the next scan, left to finish";
        EXPECT_EQ(copias(), 0U) << "after a scan killed at " << ms << " ms";
    }
    RecordProperty("killedScansThatLeftACopy", deixaramCopia);
}

} // namespace
} // namespace tarrafa
