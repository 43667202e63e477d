// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCli/Vigiar.hpp"

#include "TarrafaCli/JsonDoItem.hpp"
#include "TarrafaCore/AppsInstalados.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Formato.hpp"
#include "TarrafaCore/Spotlight.hpp"
#include "TarrafaCore/Texto.hpp"
#include "TarrafaCore/Vigia.hpp"

#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <unistd.h>

namespace tarrafa::cli::Vigiar {

namespace {

void escrever(std::FILE* destino, const std::string& texto)
{
    std::fwrite(texto.data(), 1, texto.size(), destino);
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

std::string linha(const PastaViva::Mudanca& m, bool json)
{
    if (json) {
        nlohmann::ordered_json objeto {{"evento", std::string(nomeDoEvento(m.evento))}, {"baixando", m.baixando}};
        if (m.item) {
            objeto.update(jsonDoItem(*m.item));
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
    const Vigia vigia(viva.pasta(),
        Vigia::Opcoes {.historicos = viva.bancosDeHistorico(), .usosRecentes = Spotlight::arquivoDaLista()},
        [&viva, json](const LoteDeEventos& lote) {
            const PastaViva::Atualizacao atualizacao = viva.aplicar(lote);
            std::string saida;
            for (const PastaViva::Mudanca& mudanca : atualizacao.mudancas) {
                saida += linha(mudanca, json);
            }
            if (atualizacao.falha) {
                escrever(stderr, "Não consegui ler a pasta Downloads: " + *atualizacao.falha + "\n");
            }
            escrever(stdout, saida);
            if (std::fflush(stdout) != 0) {
                ::kill(::getpid(), SIGTERM); // nobody reads any more: the watch ends
            }
        });
    escrever(stderr, "Vigiando " + Escapes::paraTerminal(viva.pasta()) + " (Ctrl+C para parar)\n");
    int sinal = 0;
    sigwait(&fim, &sinal);
    return 0;
}

} // namespace tarrafa::cli::Vigiar
