// SPDX-License-Identifier: GPL-3.0-or-later
// Browser databases planted to hang, exhaust or mislead the reader, and the copies the reader
// makes: none may outlive a scan.
#include "Apoio.hpp"
#include "BancoDeTeste.hpp"

#include "TarrafaCore/BancoCopiado.hpp"
#include "TarrafaCore/HistoricoDeNavegadores.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarrafa {
namespace {

using teste::Banco;

// How long a hostile database may hold up a scan before it is given up.
constexpr double kLimiteEmSegundos = 3.0;

class HostisTest : public ::testing::Test {
protected:
    teste::CasaFalsa casa;
    teste::PastaDeCopias copias;

    // A well-behaved second profile, to show that one hostile database costs only itself.
    void SetUp() override
    {
        Banco bom(casa / ".config/chromium/Profile 9/History");
        teste::criarTabelasChromium(bom);
        bom.inserirDownload(1, "/home/a/Downloads/bom.pdf", teste::chromium(1'700'000'000.0), 0, 0, "",
            {"https://bom.test/bom.pdf"});
    }

    [[nodiscard]] bool semSobras() const { return copias.vazia(); }

    // Reads every history under the fake home, on a thread, so that a hang fails the test
    // instead of stalling the run; returns the seconds it took.
    double lerTudo(HistoricoDeNavegadores& historico)
    {
        const auto inicio = std::chrono::steady_clock::now();
        auto leitura = std::async(std::launch::async, [] { return HistoricoDeNavegadores::carregar(); });
        if (leitura.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
            ADD_FAILURE() << "the read did not end";
            std::abort(); // a thread stuck in SQLite cannot be left behind
        }
        historico = leitura.get();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - inicio).count();
    }

    void plantar(const std::string& semente, const std::string& destino)
    {
        std::filesystem::create_directories(std::filesystem::path(destino).parent_path());
        std::filesystem::copy_file(std::string(TARRAFA_SEMENTES) + "/" + semente, destino);
    }
};

struct Semente {
    const char* arquivo;
    HistoricoDeNavegadores::Tipo tipo;
};

class SementesHostis : public HostisTest, public ::testing::WithParamInterface<Semente> { };

TEST_P(SementesHostis, IsSkippedQuicklyAndTheOtherProfilesStillCount)
{
    const Semente semente = GetParam();
    if (semente.tipo == HistoricoDeNavegadores::Tipo::chromium) {
        plantar(semente.arquivo, casa / ".config/chromium/Default/History");
    } else {
        teste::escrever(casa / ".mozilla/firefox/profiles.ini", "[Profile0]\nIsRelative=1\nPath=p\n");
        plantar(semente.arquivo, casa / ".mozilla/firefox/p/places.sqlite");
    }
    HistoricoDeNavegadores historico;
    const double segundos = lerTudo(historico);
    EXPECT_LT(segundos, kLimiteEmSegundos);
    const RegistroDeDownload* bom = historico.procurar("/home/a/Downloads/bom.pdf");
    ASSERT_NE(bom, nullptr);
    EXPECT_EQ(bom->origens, std::vector<std::string> {"https://bom.test/bom.pdf"});
    // What the views pretended to hold was never taken for a download.
    for (const RegistroDeDownload& registro : historico.registros()) {
        for (const std::string& origem : registro.origens) {
            EXPECT_EQ(origem.find("x.test"), std::string::npos) << origem;
        }
    }
    EXPECT_LE(historico.tamanho(), 3U);
    EXPECT_TRUE(semSobras());
}

INSTANTIATE_TEST_SUITE_P(Historico, SementesHostis,
    ::testing::Values(
        Semente {"hostil-downloads-visao-sem-fim.sqlite", HistoricoDeNavegadores::Tipo::chromium},
        Semente {"hostil-cadeia-cem-milhoes.sqlite", HistoricoDeNavegadores::Tipo::chromium},
        Semente {"hostil-annos-visao-sem-fim.sqlite", HistoricoDeNavegadores::Tipo::firefox},
        Semente {"hostil-visitas-sem-fim.sqlite", HistoricoDeNavegadores::Tipo::firefox},
        Semente {"hostil-visitas-em-ciclo.sqlite", HistoricoDeNavegadores::Tipo::firefox}),
    [](const ::testing::TestParamInfo<Semente>& parametro) {
        std::string nome;
        for (const char* c = parametro.param.arquivo; *c != '\0' && *c != '.'; ++c) {
            nome += std::isalnum(static_cast<unsigned char>(*c)) != 0 ? *c : '_';
        }
        return nome;
    });

TEST_F(HostisTest, RealTablesThatWouldTakeMinutesToJoinAreGivenUpWithinTheBudget)
{
    // Ordinary tables, but the chains without their index: finding each download's last
    // address scans every chain row, for every download.
    Banco banco(casa / ".config/chromium/Default/History");
    banco.sql(
        "CREATE TABLE downloads (id INTEGER PRIMARY KEY, target_path TEXT NOT NULL, end_time INTEGER NOT "
        "NULL, state INTEGER NOT NULL DEFAULT 1)");
    banco.sql("CREATE TABLE downloads_url_chains (id INTEGER, chain_index INTEGER, url TEXT)");
    banco.sql("WITH RECURSIVE r(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM r WHERE n < 20000) "
              "INSERT INTO downloads (id, target_path, end_time) SELECT n, '/d/' || n, n FROM r");
    banco.sql("WITH RECURSIVE r(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM r WHERE n < 200000) "
              "INSERT INTO downloads_url_chains SELECT n, 0, 'https://x.test/' || n FROM r");
    HistoricoDeNavegadores historico;
    const double segundos = lerTudo(historico);
    EXPECT_LT(segundos, kLimiteEmSegundos);
    EXPECT_GE(
        segundos, 0.5 * std::chrono::duration<double>(HistoricoDeNavegadores::kOrcamentoPorBanco).count())
        << "the join ended early: this test no longer exercises the budget";
    EXPECT_NE(historico.procurar("/home/a/Downloads/bom.pdf"), nullptr);
    EXPECT_EQ(historico.procurar("/d/1"), nullptr) << "a database given up part-way gives nothing";
    EXPECT_TRUE(semSobras());
}

TEST_F(HostisTest, NoMoreThanTheCapOfRecordsIsTakenFromOneDatabase)
{
    Banco banco(casa / ".config/chromium/Default/History");
    teste::criarTabelasChromium(banco);
    const std::size_t linhas = HistoricoDeNavegadores::kMaximoDeRegistros + 5000;
    banco.sql("WITH RECURSIVE r(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM r WHERE n < "
        + std::to_string(linhas)
        + ") INSERT INTO downloads (id, target_path, end_time, opened, last_access_time, referrer) "
          "SELECT n, '/d/' || n, n, 0, 0, '' FROM r");
    HistoricoDeNavegadores historico;
    const double segundos = lerTudo(historico);
    EXPECT_LT(segundos, kLimiteEmSegundos);
    EXPECT_EQ(historico.tamanho(), HistoricoDeNavegadores::kMaximoDeRegistros + 1); // + the good profile's
    EXPECT_TRUE(semSobras());
}

TEST_F(HostisTest, ADatabaseLargerThanTwoGibibytesIsNotCopied)
{
    const std::string arquivo = casa / ".config/chromium/Default/History";
    teste::escrever(arquivo, "SQLite format 3");
    // Sparse: it takes no room, yet it says it holds three gibibytes.
    std::filesystem::resize_file(arquivo, std::uintmax_t {3} << 30);
    HistoricoDeNavegadores historico;
    const double segundos = lerTudo(historico);
    EXPECT_LT(segundos, 1.0) << "nothing of that size may be copied";
    EXPECT_NE(historico.procurar("/home/a/Downloads/bom.pdf"), nullptr);
    EXPECT_TRUE(semSobras());
}

// A process that has ended, whose number is no longer anyone's.
pid_t processoMorto()
{
    const pid_t filho = ::fork();
    if (filho == 0) {
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(filho, &status, 0);
    return filho;
}

void envelhecer(const std::string& caminho, int segundos)
{
    const time_t quando = ::time(nullptr) - segundos;
    timespec tempos[2] {{quando, 0}, {quando, 0}};
    ::utimensat(AT_FDCWD, caminho.c_str(), tempos, AT_SYMLINK_NOFOLLOW);
}

TEST_F(HostisTest, CopiesLeftByAScanThatWasKilledAreRemovedByTheNextOne)
{
    const std::string base = copias.caminho();
    const std::string morta = base + "/tarrafa-historico-" + std::to_string(processoMorto()) + "-aB3dE9";
    const std::string viva = base + "/tarrafa-historico-" + std::to_string(::getppid()) + "-Zz0011";
    const std::string antigaVelha = base + "/tarrafa-historico-Qw12Er"; // named as older builds did
    const std::string antigaNova = base + "/tarrafa-historico-Ty34Ui";
    for (const std::string& pasta : {morta, viva, antigaVelha, antigaNova}) {
        teste::escrever(pasta + "/banco", std::string(4096, 'x'));
        teste::escrever(pasta + "/banco-wal", "w");
    }
    envelhecer(antigaVelha, 3600);
    // A copy caught with its name, database and log, by a process killed in that instant.
    const std::string nomeada
        = base + "/tarrafa-historico-" + std::to_string(processoMorto()) + "-k3Jd8sLq0P";
    teste::escrever(nomeada, std::string(4096, 'x'));
    teste::escrever(nomeada + "-wal", "w");
    // A link named like a copy is not followed, whatever it points at.
    const std::string alvo = casa / "importante";
    teste::escrever(alvo + "/arquivo", "não apague");
    const std::string link = base + "/tarrafa-historico-1-LinkLn";
    ASSERT_EQ(::symlink(alvo.c_str(), link.c_str()), 0);

    HistoricoDeNavegadores historico;
    lerTudo(historico);

    EXPECT_FALSE(std::filesystem::exists(morta));
    EXPECT_FALSE(std::filesystem::exists(nomeada));
    EXPECT_FALSE(std::filesystem::exists(nomeada + "-wal"));
    EXPECT_FALSE(std::filesystem::exists(antigaVelha));
    EXPECT_TRUE(std::filesystem::exists(viva + "/banco")) << "a scan that is still running keeps its copies";
    EXPECT_TRUE(std::filesystem::exists(antigaNova + "/banco"))
        << "a recent copy may belong to a running scan";
    EXPECT_TRUE(std::filesystem::exists(alvo + "/arquivo"));
    std::filesystem::remove_all(viva);
    std::filesystem::remove_all(antigaNova);
    std::filesystem::remove(link);
    EXPECT_TRUE(semSobras());
}

TEST_F(HostisTest, TheCopyGoesToTheRuntimeFolderWhenThereIsOneElseToTheTemporaryFolder)
{
    EXPECT_EQ(BancoCopiado::pastaDasCopias(), copias.caminho());
    const teste::PastaTemporaria outra;
    {
        const teste::VariavelTemporaria semRuntime {"XDG_RUNTIME_DIR", std::nullopt};
        const teste::VariavelTemporaria tmp {"TMPDIR", outra.caminho()};
        EXPECT_EQ(BancoCopiado::pastaDasCopias(), outra.caminho());
    }
    {
        const teste::VariavelTemporaria relativo {"XDG_RUNTIME_DIR", std::string("run/user")};
        const teste::VariavelTemporaria tmp {"TMPDIR", outra.caminho()};
        EXPECT_EQ(BancoCopiado::pastaDasCopias(), outra.caminho());
    }
}

TEST_F(HostisTest, AnOpenCopyHasNoNameLeftOnDisk)
{
    const std::string arquivo = casa / ".config/chromium/Profile 9/History";
    const auto copia = BancoCopiado::abrir(arquivo, std::chrono::seconds(2));
    ASSERT_NE(copia, nullptr);
    EXPECT_TRUE(copia->temTabelas({"downloads", "downloads_url_chains"}));
    EXPECT_TRUE(semSobras()) << "the copy is read through descriptors only";
}

} // namespace
} // namespace tarrafa
