// SPDX-License-Identifier: GPL-3.0-or-later
// A session bus that never answers: asked once, for a bounded time, and then left out, so
// that the Trash and a scan go on without it. Each test runs in a process of its own, as the
// answer is kept for the life of the process.
#include "Apoio.hpp"

#include "TarrafaCore/BarramentoDaSessao.hpp"
#include "TarrafaCore/Lixeira.hpp"
#include "TarrafaCore/MetadadosDoGnome.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

using namespace tarrafa;
namespace fs = std::filesystem;

namespace {

// A bus of its own for the test, on a socket in a fresh folder.
class Barramento {
public:
    explicit Barramento(const std::string& pasta)
        : endereco_("unix:path=" + pasta + "/bus")
    {
        const std::string daemon = "/usr/bin/dbus-daemon";
        if (!fs::exists(daemon)) {
            return;
        }
        std::string argumentoEndereco = "--address=" + endereco_;
        char* argumentos[] = {const_cast<char*>(daemon.c_str()), const_cast<char*>("--session"),
            const_cast<char*>("--nofork"), argumentoEndereco.data(), nullptr};
        if (::posix_spawn(&pid_, daemon.c_str(), nullptr, nullptr, argumentos, environ) != 0) {
            pid_ = -1;
            return;
        }
        for (int i = 0; i < 200 && !fs::exists(pasta + "/bus"); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
        }
    }
    ~Barramento()
    {
        if (pid_ > 0) {
            ::kill(pid_, SIGCONT);
            ::kill(pid_, SIGTERM);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    Barramento(const Barramento&) = delete;
    Barramento& operator=(const Barramento&) = delete;

    [[nodiscard]] bool rodando() const { return pid_ > 0; }
    [[nodiscard]] const std::string& endereco() const { return endereco_; }
    // Stopped: it still accepts connections (the kernel does that) and never answers.
    void congelar() const { ::kill(pid_, SIGSTOP); }

private:
    std::string endereco_;
    pid_t pid_ = -1;
};

} // namespace

TEST(BarramentoDaSessao, OneThatNeverAnswersIsGivenUpAfterTheWaitAndTheTrashStillWorks)
{
    const teste::CasaFalsa casa;
    const Barramento barramento(casa.caminho());
    if (!barramento.rodando()) {
        GTEST_SKIP() << "dbus-daemon is not installed";
    }
    barramento.congelar();
    const teste::VariavelTemporaria endereco("DBUS_SESSION_BUS_ADDRESS", barramento.endereco());

    const auto inicio = std::chrono::steady_clock::now();
    EXPECT_EQ(BarramentoDaSessao::conferir(std::chrono::milliseconds(500)), BarramentoDaSessao::Estado::travado);
    EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::seconds(5));
    // Asked again, the answer is the one learnt: no second wait.
    EXPECT_EQ(BarramentoDaSessao::conferir(std::chrono::seconds(30)), BarramentoDaSessao::Estado::travado);

    // GIO works on local files without it: the Trash, and the metadata store (which is then
    // simply not there).
    const std::string arquivo = casa / "Downloads/a.pdf";
    teste::escrever(arquivo, "a");
    const auto falha = Lixeira::mover(arquivo, std::nullopt);
    EXPECT_FALSE(falha) << *falha;
    EXPECT_FALSE(fs::exists(arquivo));
    EXPECT_EQ(Lixeira::listar(casa / "Downloads").size(), 1U);
    const MetadadosDoGnome metadados(casa / "Downloads");
    EXPECT_FALSE(metadados.disponivel());
    EXPECT_EQ(BarramentoDaSessao::estado(), BarramentoDaSessao::Estado::travado);
}

TEST(BarramentoDaSessao, OneThatAnswersIsUsed)
{
    const teste::CasaFalsa casa;
    const Barramento barramento(casa.caminho());
    if (!barramento.rodando()) {
        GTEST_SKIP() << "dbus-daemon is not installed";
    }
    const teste::VariavelTemporaria endereco("DBUS_SESSION_BUS_ADDRESS", barramento.endereco());
    EXPECT_EQ(BarramentoDaSessao::conferir(std::chrono::seconds(20)), BarramentoDaSessao::Estado::responde);
}

TEST(BarramentoDaSessao, WithoutAnAddressOrWithNobodyListeningThereIsNoneToWaitFor)
{
    const teste::CasaFalsa casa;
    const teste::VariavelTemporaria endereco("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + casa.caminho() + "/ninguem");
    EXPECT_EQ(BarramentoDaSessao::conferir(std::chrono::seconds(20)), BarramentoDaSessao::Estado::ausente);
}
