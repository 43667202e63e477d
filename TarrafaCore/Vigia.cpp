// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Vigia.hpp"

#include "TarrafaCore/VigiaEstado.hpp"

#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/PastaScanner.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <optional>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace tarrafa {

using namespace vigiaInterna;
using Caminho::juntar;

void Vigia::Estado::marcar()
{
    const Relogio::time_point agora = Relogio::now();
    if (lote.vazio() && criados.empty()) {
        primeiro = agora;
    }
    ultimo = agora;
}

void Vigia::Estado::processar(const inotify_event& evento)
{
    const std::uint32_t m = evento.mask;
    const std::string nome = evento.len > 0 ? std::string(evento.name) : std::string();

    if ((m & IN_Q_OVERFLOW) != 0) {
        marcar();
        lote.tudo = true;
        return;
    }

    if (evento.wd == wdPasta && wdPasta >= 0) {
        if ((m & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
            if ((m & IN_IGNORED) != 0) {
                wdPasta = -1; // the kernel dropped the watch itself
            }
            // Moved: the path may name it still (a link left where it was); removed: whatever
            // stands at the path now is another folder, even with the same number.
            resolver((m & IN_MOVE_SELF) == 0);
            return;
        }
        if (nome.empty()) {
            return; // the folder itself opened (a scan listing it)
        }
        if (nome == ".hidden") {
            if ((m & IN_OPEN) == 0) {
                marcar();
                lote.tudo = true; // any entry may have been shown or hidden
            }
            return;
        }
        if (ehOculto(nome)) {
            return;
        }
        const bool pasta = (m & IN_ISDIR) != 0;
        if ((m & IN_OPEN) != 0) {
            if (!pasta && criados.erase(nome) > 0) {
                abertos.insert(nome); // being written: wait for it to close
            }
            return;
        }
        marcar();
        if ((m & IN_CREATE) != 0 && !pasta) {
            criados.insert(nome);
            abertos.erase(nome);
            return;
        }
        if ((m & IN_ATTRIB) != 0 && abertos.contains(nome)) {
            return; // still being written; its close will tell
        }
        criados.erase(nome);
        abertos.erase(nome);
        lote.nomes.insert(nome);
        if (pasta && (m & (IN_DELETE | IN_MOVED_FROM)) != 0) {
            esquecerArvore(juntar(raiz, nome));
            semVigia.erase(nome);
        }
        if (pasta && (m & (IN_CREATE | IN_MOVED_TO)) != 0 && !vigiarArvore(juntar(raiz, nome), nome)) {
            // A folder that cannot be watched whole: its size is read again from time to time.
            semVigia.insert(nome);
        }
        contar();
        return;
    }

    if (evento.wd == wdPai && wdPai >= 0) {
        if ((m & IN_IGNORED) != 0) {
            wdPai = -1;
            return;
        }
        // The rest of the folder above is none of our business.
        if (nome == Caminho::nomeDe(raiz)) {
            resolver(false);
        }
        return;
    }

    if (const auto achado = abaixo.find(evento.wd); achado != abaixo.end()) {
        if ((m & IN_IGNORED) != 0) {
            abaixo.erase(achado);
            contar();
            return;
        }
        const Abaixo onde = achado->second;
        marcar();
        lote.nomes.insert(onde.topo);
        if ((m & IN_ISDIR) != 0 && !ehOculto(nome)) {
            if ((m & IN_MOVED_FROM) != 0) {
                esquecerArvore(juntar(onde.caminho, nome));
            } else if ((m & (IN_CREATE | IN_MOVED_TO)) != 0 && !vigiarArvore(juntar(onde.caminho, nome), onde.topo)) {
                semVigia.insert(onde.topo);
            }
            contar();
        }
        return;
    }

    if (const auto achado = historicos.find(evento.wd); achado != historicos.end()) {
        if ((m & IN_IGNORED) != 0) {
            historicos.erase(achado);
            return;
        }
        const auto contado = achado->second.nomes.find(nome);
        if (contado == achado->second.nomes.end()) {
            return;
        }
        if ((m & (IN_CREATE | IN_MOVED_TO)) != 0) {
            // A journal begun, a database put in place: its writes from now on.
            vigiarArquivoDeHistorico(achado->second.caminho, nome, contado->second);
        }
        marcar();
        (contado->second ? lote.usosRecentes : lote.historicos) = true;
        return;
    }

    if (const auto achado = arquivosDeHistorico.find(evento.wd); achado != arquivosDeHistorico.end()) {
        if ((m & IN_IGNORED) != 0) {
            arquivosDeHistorico.erase(achado); // removed: its folder tells when it comes back
            return;
        }
        marcar();
        (achado->second ? lote.usosRecentes : lote.historicos) = true;
    }
}

void Vigia::Estado::processarBytes(const std::byte* dados, std::size_t tamanho)
{
    std::size_t i = 0;
    while (i + sizeof(inotify_event) <= tamanho) {
        inotify_event cabecalho {};
        std::memcpy(&cabecalho, dados + i, sizeof cabecalho);
        const std::size_t total = sizeof(inotify_event) + cabecalho.len;
        if (i + total > tamanho) {
            break;
        }
        // The name, NUL-padded by the kernel; copied out so the record is aligned.
        alignas(inotify_event) std::byte copia[sizeof(inotify_event) + NAME_MAX + 2] {};
        const std::size_t caber = std::min<std::size_t>(cabecalho.len, NAME_MAX + 1);
        std::memcpy(copia, dados + i, sizeof(inotify_event) + caber);
        auto* evento = reinterpret_cast<inotify_event*>(copia);
        evento->len = static_cast<std::uint32_t>(caber); // the zeroed copy ends the name
        processar(*evento);
        i += total;
    }
}

void Vigia::Estado::entregar()
{
    // Created and never opened (a hard link, a finished temporary file given a name): whole
    // already.
    for (const std::string& nome : criados) {
        lote.nomes.insert(nome);
    }
    criados.clear();
    if (lote.vazio()) {
        return;
    }
    LoteDeEventos pronto = std::exchange(lote, LoteDeEventos {});
    pronto.parcial = precisaReler();
    aoMudar(std::move(pronto));
}

void Vigia::Estado::rodar()
{
    alignas(inotify_event) std::byte buffer[64 * 1024];
    for (;;) {
        // Nothing pending and everything watched: sleep until the kernel has something.
        std::optional<Relogio::time_point> prazo;
        if (!lote.vazio() || !criados.empty()) {
            prazo = std::min(ultimo + opcoes.calma, primeiro + opcoes.esperaMaxima);
        }
        if (!precisaReler()) {
            proximaReleitura = {};
        } else {
            if (proximaReleitura == Relogio::time_point {}) {
                proximaReleitura = Relogio::now() + opcoes.releitura;
            }
            prazo = prazo ? std::min(*prazo, proximaReleitura) : proximaReleitura;
        }
        int espera = -1;
        if (prazo) {
            const auto falta = std::chrono::ceil<std::chrono::milliseconds>(*prazo - Relogio::now());
            espera = static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(falta.count(), 0, 24 * 3600 * 1000));
        }
        pollfd fds[2] = {{inotify.get(), POLLIN, 0}, {acordar.get(), POLLIN, 0}};
        const int prontos = ::poll(fds, 2, espera);
        if (prontos < 0 && errno != EINTR) {
            return;
        }
        if (prontos == 0) {
            const Relogio::time_point agora = Relogio::now();
            if (proximaReleitura != Relogio::time_point {} && agora >= proximaReleitura) {
                proximaReleitura = agora + opcoes.releitura;
                reler(); // handed over once the batch's quiet spell is over
                continue;
            }
            entregar();
            continue;
        }
        if ((fds[1].revents & POLLIN) != 0) {
            esvaziarSinal(acordar.get());
            std::vector<std::vector<std::byte>> recebidos;
            std::optional<LoteDeEventos> pedidoAgora;
            {
                const std::lock_guard trava(mutex);
                if (parar) {
                    return;
                }
                recebidos.swap(injetados);
                pedidoAgora.swap(pedido);
            }
            for (const std::vector<std::byte>& bytes : recebidos) {
                processarBytes(bytes.data(), bytes.size());
            }
            if (pedidoAgora) {
                // Asked for: handed over at once, together with what is pending.
                lote.nomes.merge(pedidoAgora->nomes);
                lote.historicos = lote.historicos || pedidoAgora->historicos;
                lote.usosRecentes = lote.usosRecentes || pedidoAgora->usosRecentes;
                lote.tudo = lote.tudo || pedidoAgora->tudo;
                lote.conferir = lote.conferir || pedidoAgora->conferir;
                entregar();
                continue;
            }
        }
        if ((fds[0].revents & POLLIN) != 0) {
            for (;;) {
                const ssize_t lidos = ::read(inotify.get(), buffer, sizeof buffer);
                if (lidos <= 0) {
                    break; // EAGAIN: all read
                }
                processarBytes(buffer, static_cast<std::size_t>(lidos));
            }
        }
    }
}

Vigia::Vigia(std::string pasta, Opcoes opcoes, AoMudar aoMudar)
    : estado_(std::make_unique<Estado>())
{
    Estado& e = *estado_;
    e.raiz = PastaScanner::caminhoAbsoluto(pasta);
    e.opcoes = std::move(opcoes);
    e.limite = e.opcoes.maximoDePastas > 0 ? e.opcoes.maximoDePastas : limiteDeVigias();
    e.aoMudar = std::move(aoMudar);
    e.inotify = Descritor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!e.inotify.valido()) {
        throw std::system_error(errno, std::generic_category(), "inotify");
    }
    e.acordar = Descritor(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!e.acordar.valido()) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    if (qualPasta(e.raiz)) {
        e.vigiarPasta();
    } else {
        e.erroPasta = ENOENT;
    }
    e.ajustarPai();
    e.lote = {}; // what the path did while being set up is what the first read sees
    e.vigiarHistoricos();
    e.contar();
    e.fio = std::jthread([&e] { e.rodar(); });
}

Vigia::~Vigia()
{
    {
        const std::lock_guard trava(estado_->mutex);
        estado_->parar = true;
    }
    sinalizar(estado_->acordar.get());
    estado_->fio.join();
}

void Vigia::injetar(std::span<const std::byte> eventos)
{
    {
        const std::lock_guard trava(estado_->mutex);
        estado_->injetados.emplace_back(eventos.begin(), eventos.end());
    }
    sinalizar(estado_->acordar.get());
}

void Vigia::pedir(LoteDeEventos lote)
{
    {
        const std::lock_guard trava(estado_->mutex);
        if (!estado_->pedido) {
            estado_->pedido.emplace();
        }
        LoteDeEventos& pedido = *estado_->pedido;
        pedido.nomes.merge(lote.nomes);
        pedido.historicos = pedido.historicos || lote.historicos;
        pedido.usosRecentes = pedido.usosRecentes || lote.usosRecentes;
        pedido.tudo = pedido.tudo || lote.tudo;
        pedido.conferir = pedido.conferir || lote.conferir;
    }
    sinalizar(estado_->acordar.get());
}

std::size_t Vigia::pastasVigiadas() const
{
    const std::lock_guard trava(estado_->mutex);
    return estado_->quantasPastas;
}

std::error_code Vigia::erroNaPasta() const
{
    const std::lock_guard trava(estado_->mutex);
    return estado_->erroAgora == 0 ? std::error_code {} : std::error_code(estado_->erroAgora, std::generic_category());
}

bool Vigia::parcial() const
{
    const std::lock_guard trava(estado_->mutex);
    return estado_->parcialAgora;
}

std::vector<std::byte> Vigia::evento(int wd, std::uint32_t mascara, const std::string& nome)
{
    // As the kernel writes it: the name NUL-terminated and padded to a multiple of 16.
    const std::size_t len = nome.empty() ? 0 : ((nome.size() + 1 + 15) / 16) * 16;
    inotify_event cabecalho {};
    cabecalho.wd = wd;
    cabecalho.mask = mascara;
    cabecalho.len = static_cast<std::uint32_t>(len);
    std::vector<std::byte> bytes(sizeof cabecalho + len, std::byte {0});
    std::memcpy(bytes.data(), &cabecalho, sizeof cabecalho);
    std::memcpy(bytes.data() + sizeof cabecalho, nome.data(), nome.size());
    return bytes;
}

} // namespace tarrafa
