// SPDX-License-Identifier: GPL-3.0-or-later
// What one decision costs when many are recorded already: the interface thread's own time
// (the call, the turn of the event loop that hands the save over, taking in its result), and
// the time until the file is on disk, for 100,000 and 200,000 recorded decisions. The save
// re-reads and rewrites the whole file on its own thread; it should grow linearly.
//
//   decisoes [REPETICOES]
#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

using namespace tarrafa;
using namespace tarrafa::app;

namespace {

double cpuDestaThreadMs()
{
    timespec agora {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &agora);
    return static_cast<double>(agora.tv_sec) * 1e3 + static_cast<double>(agora.tv_nsec) / 1e6;
}

struct Medida {
    double interfaceMs;
    double ateODiscoMs;
};

Medida medir(const QString& raiz, int registradas)
{
    const std::string downloads = QFile::encodeName(raiz).toStdString() + "/Downloads";
    const QString arquivo = raiz + QStringLiteral("/decisoes.json");
    ArquivoDeDecisoes::Decisoes decisoes;
    decisoes.reserve(static_cast<std::size_t>(registradas));
    for (int i = 0; i < registradas; ++i) {
        decisoes.emplace(downloads + "/relatorio-" + std::to_string(i) + ".pdf",
            i % 3 == 0 ? Decisao::adiado : Decisao::resolvido);
    }
    QFile saida(arquivo);
    if (!saida.open(QIODevice::WriteOnly)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(arquivo));
        std::exit(1);
    }
    saida.write(QByteArray::fromStdString(ArquivoDeDecisoes::codificar(decisoes)));
    saida.close();

    Modelo modelo(downloads, arquivo);
    // No scan: it would prune every decision of a file that is not there.
    modelo.setVarredor([](const std::string&, const std::stop_token&) {
        Modelo::Varredura nenhuma;
        nenhuma.falha = "sem varredura";
        return nenhuma;
    });
    QCoreApplication::processEvents();
    modelo.concluirGravacoes();

    const double cpu = cpuDestaThreadMs();
    QElapsedTimer relogio;
    relogio.start();
    modelo.decidir({downloads + "/novo.pdf"}, Decisao::ignorado);
    QCoreApplication::processEvents(); // hands the save to its thread
    modelo.concluirGravacoes(); // waits (blocked, no CPU) and takes the result in
    const Medida medida {cpuDestaThreadMs() - cpu, static_cast<double>(relogio.nsecsElapsed()) / 1e6};
    if (modelo.decisoes().size() != static_cast<std::size_t>(registradas) + 1) {
        std::fprintf(stderr, "wrong count of decisions\n");
        std::exit(1);
    }
    return medida;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication aplicacao(argc, argv);
    const int repeticoes = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    QTemporaryDir raiz;
    QDir().mkpath(raiz.path() + QStringLiteral("/Downloads"));
    std::printf("%-12s %22s %22s\n", "registradas", "interface (ms, mediana)", "até o disco (ms, mediana)");
    for (const int registradas : {100'000, 200'000}) {
        std::vector<double> interface;
        std::vector<double> disco;
        for (int r = 0; r < repeticoes; ++r) {
            const Medida medida = medir(raiz.path(), registradas);
            interface.push_back(medida.interfaceMs);
            disco.push_back(medida.ateODiscoMs);
        }
        std::sort(interface.begin(), interface.end());
        std::sort(disco.begin(), disco.end());
        std::printf("%-12d %22.2f %22.1f\n", registradas, interface[interface.size() / 2], disco[disco.size() / 2]);
    }
    return 0;
}
