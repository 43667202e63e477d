// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCli/Vigiar.hpp"

#include "TarrafaCli/JsonDoItem.hpp"
#include "TarrafaCore/AppsInstalados.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Formato.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaCore/ListaDeRecentes.hpp"
#include "TarrafaCore/Texto.hpp"
#include "TarrafaCore/Vigia.hpp"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace tarrafa::cli::Vigiar {

namespace {

void escrever(std::FILE* destino, const std::string& texto)
{
    std::fwrite(texto.data(), 1, texto.size(), destino);
}

#ifdef TARRAFA_PAUSA_DE_TESTE
// Only in builds with tests: holds the start between the first read and the watch for as long
// as the file named by the variable exists (made here, removed by the test), so that a test
// can change the folder in that gap.
void pausaDeTeste()
{
    const char* marca = std::getenv("TARRAFA_TESTE_PAUSA_VIGIAR");
    if (marca == nullptr || *marca == '\0') {
        return;
    }
    const int fd = ::open(marca, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        return;
    }
    ::close(fd);
    struct stat info {};
    for (int i = 0; i < 6000 && ::stat(marca, &info) == 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}
#else
void pausaDeTeste() { }
#endif

std::string motivo(const std::error_code& erro)
{
    if (erro.value() == ENOSPC || erro.value() == ENOMEM) {
        return "o sistema não dá mais vigias do inotify a este usuário (fs.inotify.max_user_watches)";
    }
    return erro.message();
}

std::string palavra(const PastaViva::Mudanca& m)
{
    switch (m.evento) {
    case PastaViva::Evento::adicionado:
        return m.baixando ? "baixando" : "chegou";
    case PastaViva::Evento::alterado:
        return m.baixando ? "baixando" : "mudou";
    case PastaViva::Evento::removido:
        return "saiu";
    case PastaViva::Evento::origemEncontrada:
        return "origem";
    }
    return "mudou";
}

} // namespace

std::string linha(const PastaViva::Mudanca& m, bool json, const ArquivoDeDecisoes::Decisoes& decisoes)
{
    if (json) {
        nlohmann::ordered_json objeto {{"evento", std::string(nomeDoEvento(m.evento))}, {"baixando", m.baixando}};
        if (m.item) {
            objeto.update(jsonDoItem(*m.item));
            // As the report gives it: what the person decided, in the window or at the terminal.
            const auto decidida = decisoes.find(m.id);
            objeto["decisao"] = std::string(valorBruto(decidida == decisoes.end() ? Decisao::novo : decidida->second));
        } else {
            escreverId(objeto, m.id);
            objeto["nome"] = Texto::utf8Valido(m.nome);
        }
        return Escapes::invisiveisEmJson(objeto.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace))
            + "\n";
    }
    std::string texto = palavra(m) + "  " + Escapes::paraTerminal(m.nome);
    if (m.item && !m.baixando) {
        for (const Selo& selo : m.item->selos()) {
            texto.append("  [").append(Escapes::paraTerminal(selo.rotulo())).append("]");
        }
        texto.append("  ").append(Formato::bytes(m.item->snapshot().tamanho()));
        texto.append("  · ").append(Escapes::paraTerminal(m.item->origem().rotulo()));
    }
    return texto + "\n";
}

int executar(const std::string& pasta, bool json)
{
    // The signals that end the watch are taken by this thread alone, with sigwait: blocked
    // before any other thread exists, so that none of them is interrupted.
    sigset_t fim;
    sigemptyset(&fim);
    sigaddset(&fim, SIGINT);
    sigaddset(&fim, SIGTERM);
    sigaddset(&fim, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &fim, nullptr);

    PastaViva viva(pasta, AppsInstalados::listar());
    const PastaViva::Atualizacao inicio = viva.varrerTudo();
    if (inicio.falha) {
        escrever(stderr, "Não consegui ler a pasta Downloads: " + *inicio.falha + "\n");
        return 1;
    }
    pausaDeTeste();
    // Said once: the state comes and goes with every batch, the person needs to know once.
    std::atomic<bool> avisado = false;
    const auto avisar = [&avisado] {
        if (!avisado.exchange(true)) {
            escrever(stderr,
                "Alguns tamanhos de pastas podem estar desatualizados: não consegui vigiar todas as subpastas, e "
                "elas são lidas de novo de tempos em tempos.\n");
        }
    };
    ArquivoDeDecisoes arquivoDeDecisoes(PastasDoUsuario::arquivoDeDecisoes());
    Vigia vigia(viva.pasta(),
        Vigia::Opcoes {.historicos = viva.bancosDeHistorico(), .usosRecentes = ListaDeRecentes::arquivoDaLista()},
        [&viva, json, &avisar, &arquivoDeDecisoes](const LoteDeEventos& lote) {
            const PastaViva::Atualizacao atualizacao = viva.aplicar(lote);
            // Read at each batch: the window or a script may have decided since the last one.
            const ArquivoDeDecisoes::Decisoes decisoes
                = json && !atualizacao.mudancas.empty() ? arquivoDeDecisoes.ler() : ArquivoDeDecisoes::Decisoes {};
            std::string saida;
            for (const PastaViva::Mudanca& mudanca : atualizacao.mudancas) {
                saida += linha(mudanca, json, decisoes);
            }
            if (atualizacao.falha) {
                escrever(stderr, "Não consegui ler a pasta Downloads: " + *atualizacao.falha + "\n");
            }
            if (lote.parcial) {
                avisar();
            }
            escrever(stdout, saida);
            if (std::fflush(stdout) != 0) {
                ::kill(::getpid(), SIGTERM); // nobody reads any more: the watch ends
            }
        });
    if (const std::error_code erro = vigia.erroNaPasta()) {
        // Nothing would ever be told: better to say so than to seem to watch.
        escrever(stderr, "Não consegui vigiar a pasta Downloads: " + motivo(erro) + "\n");
        return 1;
    }
    escrever(stderr, "Vigiando " + Escapes::paraTerminal(viva.pasta()) + " (Ctrl+C para parar)\n");
    if (vigia.parcial()) {
        avisar();
    }
    // What came or went between the first read and the watch.
    vigia.pedir({.nomes = {}, .conferir = true});
    int sinal = 0;
    sigwait(&fim, &sinal);
    return 0;
}

} // namespace tarrafa::cli::Vigiar
