// SPDX-License-Identifier: GPL-3.0-or-later
// The live folder: what one new file costs against a full scan, how long from its close to
// the update, and what a watcher with nothing to do costs (context switches of the real
// tarrafa-cli vigiar over an idle minute).
//
//   vigia [--pasta DIR] [--topo N] [--subpastas N] [--arquivos N] [--repeticoes N]
//         [--ocioso SEGUNDOS] [--cli CAMINHO]
#include "TarrafaCore/PastaViva.hpp"
#include "TarrafaCore/Vigia.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <signal.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

using Relogio = std::chrono::steady_clock;

struct Opcoes {
    std::string pasta;
    int topo = 10'000;
    int subpastas = 20;
    int arquivos = 200'000;
    int repeticoes = 9;
    int ocioso = 60;
    std::string cli;
};

void criarArquivo(const std::string& caminho, std::size_t bytes)
{
    const int fd = ::open(caminho.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        std::fprintf(stderr, "cannot create %s: %s\n", caminho.c_str(), std::strerror(errno));
        std::exit(1);
    }
    const std::string bloco(std::min<std::size_t>(bytes, 65536), 'x');
    while (bytes > 0) {
        const std::size_t parte = std::min(bytes, bloco.size());
        if (::write(fd, bloco.data(), parte) != static_cast<ssize_t>(parte)) {
            std::exit(1);
        }
        bytes -= parte;
    }
    ::close(fd);
}

void gerar(const Opcoes& o)
{
    std::filesystem::create_directories(o.pasta);
    const char* extensoes[] = {"pdf", "docx", "xlsx", "zip", "png", "jpg", "deb", "txt"};
    for (int i = 0; i < o.topo; ++i) {
        criarArquivo(o.pasta + "/arquivo " + std::to_string(i) + "." + extensoes[i % 8],
            static_cast<std::size_t>(1000 + (i % 50) * 700));
    }
    const int porPasta = o.subpastas > 0 ? o.arquivos / o.subpastas : 0;
    for (int p = 0; p < o.subpastas; ++p) {
        const std::string sub = o.pasta + "/projeto " + std::to_string(p);
        for (int d = 0; d < 10; ++d) {
            std::filesystem::create_directories(sub + "/modulo" + std::to_string(d));
        }
        for (int i = 0; i < porPasta; ++i) {
            criarArquivo(sub + "/modulo" + std::to_string(i % 10) + "/f" + std::to_string(i) + ".c",
                static_cast<std::size_t>(i % 9000));
        }
    }
}

double ms(Relogio::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

double cpuDoFio()
{
    timespec t {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

double mediana(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

void relatar(const char* oque, const std::vector<double>& v)
{
    std::printf("  %-44s %8.2f ms (min %.2f, max %.2f)\n", oque, mediana(v), *std::min_element(v.begin(), v.end()),
        *std::max_element(v.begin(), v.end()));
}

// Context switches of every thread of a process, and its CPU time in clock ticks.
std::pair<long, long> trocasECpu(pid_t pid)
{
    long trocas = 0;
    const std::string base = "/proc/" + std::to_string(pid) + "/task";
    for (const auto& fio : std::filesystem::directory_iterator(base)) {
        std::ifstream status(fio.path() / "status");
        std::string linha;
        while (std::getline(status, linha)) {
            if (linha.starts_with("voluntary_ctxt_switches:") || linha.starts_with("nonvoluntary_ctxt_switches:")) {
                trocas += std::stol(linha.substr(linha.find(':') + 1));
            }
        }
    }
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string tudo((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    // Fields after the command's closing parenthesis: utime is the 12th, stime the 13th.
    std::size_t pos = tudo.rfind(')') + 2;
    long utime = 0;
    long stime = 0;
    for (int campo = 3; campo <= 15; ++campo) {
        const std::size_t fim = tudo.find(' ', pos);
        if (campo == 14) {
            utime = std::stol(tudo.substr(pos, fim - pos));
        } else if (campo == 15) {
            stime = std::stol(tudo.substr(pos, fim - pos));
        }
        pos = fim + 1;
    }
    return {trocas, utime + stime};
}

} // namespace

int main(int argc, char** argv)
{
    Opcoes o;
    bool gerarArvore = true;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto valor = [&]() -> std::string {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "%s needs a value\n", a.c_str());
                std::exit(2);
            }
            return argv[++i];
        };
        if (a == "--pasta") {
            o.pasta = valor();
            gerarArvore = !std::filesystem::exists(o.pasta);
        } else if (a == "--topo") {
            o.topo = std::stoi(valor());
        } else if (a == "--subpastas") {
            o.subpastas = std::stoi(valor());
        } else if (a == "--arquivos") {
            o.arquivos = std::stoi(valor());
        } else if (a == "--repeticoes") {
            o.repeticoes = std::max(1, std::stoi(valor()));
        } else if (a == "--ocioso") {
            o.ocioso = std::stoi(valor());
        } else if (a == "--cli") {
            o.cli = valor();
        } else {
            std::fprintf(stderr, "unknown option %s\n", a.c_str());
            return 2;
        }
    }
    if (o.cli.empty()) {
        o.cli = (std::filesystem::canonical("/proc/self/exe").parent_path().parent_path() / "tarrafa-cli").string();
    }
    const bool temporaria = o.pasta.empty();
    if (temporaria) {
        o.pasta = (std::filesystem::current_path() / ("vigia-bench-" + std::to_string(::getpid()))).string();
    }
    if (gerarArvore) {
        const auto inicio = Relogio::now();
        gerar(o);
        std::printf("generated %d top-level files and %d files in %d sub-folders in %.1f s\n", o.topo, o.arquivos,
            o.subpastas, ms(Relogio::now() - inicio) / 1000);
    }

    tarrafa::PastaViva viva(o.pasta, {});
    std::vector<double> completa;
    for (int r = 0; r < 3; ++r) {
        const auto inicio = Relogio::now();
        (void)viva.varrerTudo();
        completa.push_back(ms(Relogio::now() - inicio));
    }
    std::printf("%zu entries\n", viva.itens().size());
    relatar("full read (scan and triage), wall", completa);

    // One new file, applied by hand: the cost on the thread that applies it.
    std::vector<double> cpuUm;
    std::vector<double> paredeUm;
    std::vector<double> grupos;
    for (int r = 0; r < o.repeticoes; ++r) {
        const std::string nome = "novo " + std::to_string(r) + ".pdf";
        criarArquivo(o.pasta + "/" + nome, 4096);
        const double cpu0 = cpuDoFio();
        const auto t0 = Relogio::now();
        const tarrafa::PastaViva::Atualizacao a = viva.aplicar({.nomes = {nome}});
        paredeUm.push_back(ms(Relogio::now() - t0));
        cpuUm.push_back(cpuDoFio() - cpu0);
        if (a.mudancas.size() != 1) {
            std::fprintf(stderr, "expected one change, got %zu\n", a.mudancas.size());
            return 1;
        }
        const auto g0 = Relogio::now();
        (void)viva.grupos();
        grupos.push_back(ms(Relogio::now() - g0));
        std::filesystem::remove(o.pasta + "/" + nome);
        (void)viva.aplicar({.nomes = {nome}});
    }
    relatar("one added file: CPU of the applying thread", cpuUm);
    relatar("one added file: wall", paredeUm);
    relatar("all groups gathered again (for comparison)", grupos);

    // From a file's close to the update applied, through the real watcher.
    {
        std::mutex mutex;
        std::condition_variable cv;
        std::optional<Relogio::time_point> fim;
        double cpuNoVigia = 0;
        std::vector<double> cpuVigia;
        const tarrafa::Vigia vigia(viva.pasta(), tarrafa::Vigia::Opcoes {},
            [&](const tarrafa::LoteDeEventos& lote) {
                const double cpu0 = cpuDoFio();
                (void)viva.aplicar(lote);
                const double gasto = cpuDoFio() - cpu0;
                const std::lock_guard trava(mutex);
                cpuNoVigia = gasto;
                fim = Relogio::now();
                cv.notify_all();
            });
        std::vector<double> latencias;
        for (int r = 0; r < o.repeticoes; ++r) {
            const std::string caminho = o.pasta + "/chegou " + std::to_string(r) + ".pdf";
            const int fd = ::open(caminho.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            if (fd < 0 || ::write(fd, "pdf", 3) != 3) {
                std::fprintf(stderr, "cannot write %s\n", caminho.c_str());
                return 1;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(300)); // still being written
            ::close(fd);
            const auto fechado = Relogio::now();
            std::unique_lock trava(mutex);
            if (!cv.wait_for(trava, std::chrono::seconds(5), [&] { return fim.has_value(); })) {
                std::fprintf(stderr, "no update within 5 s\n");
                return 1;
            }
            latencias.push_back(ms(*fim - fechado));
            cpuVigia.push_back(cpuNoVigia);
            fim.reset();
            trava.unlock();
            std::filesystem::remove(caminho);
            std::unique_lock outra(mutex);
            (void)cv.wait_for(outra, std::chrono::seconds(5), [&] { return fim.has_value(); });
            fim.reset();
        }
        relatar("close to update applied (calm of 250 ms)", latencias);
        relatar("one added file: CPU on the watcher's thread", cpuVigia);
    }

    if (o.ocioso > 0) {
        int saida[2];
        if (::pipe(saida) != 0) {
            return 1;
        }
        posix_spawn_file_actions_t acoes;
        posix_spawn_file_actions_init(&acoes);
        posix_spawn_file_actions_addopen(&acoes, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&acoes, saida[1], STDERR_FILENO);
        std::string programa = o.cli;
        std::string verbo = "vigiar";
        std::vector<char*> args {programa.data(), verbo.data(), o.pasta.data(), nullptr};
        pid_t pid = 0;
        if (::posix_spawn(&pid, programa.c_str(), &acoes, nullptr, args.data(), environ) != 0) {
            std::fprintf(stderr, "cannot run %s\n", programa.c_str());
            return 1;
        }
        ::close(saida[1]);
        char linha[512];
        if (::read(saida[0], linha, sizeof linha) <= 0) { // "Vigiando ...": watching from here on
            std::fprintf(stderr, "tarrafa-cli vigiar said nothing\n");
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const auto [trocas0, cpu0] = trocasECpu(pid);
        std::this_thread::sleep_for(std::chrono::seconds(o.ocioso));
        const auto [trocas1, cpu1] = trocasECpu(pid);
        ::kill(pid, SIGINT);
        ::waitpid(pid, nullptr, 0);
        ::close(saida[0]);
        std::printf("  tarrafa-cli vigiar idle for %d s: %ld context switches, %ld clock ticks of CPU\n", o.ocioso,
            trocas1 - trocas0, cpu1 - cpu0);
    }

    if (temporaria) {
        std::filesystem::remove_all(o.pasta);
    }
    return 0;
}
