// SPDX-License-Identifier: GPL-3.0-or-later
// The model kept up to date by the folder's watcher: what a batch of events changed is
// worked out on the watcher's thread; here only the groups it touches are rebuilt.
#include "TarrafaApp/Modelo/Modelo.hpp"

#include "TarrafaCore/ListaDeRecentes.hpp"
#include "TarrafaCore/UsosRecentes.hpp"

#include "TarrafaCore/Texto.hpp"

#include <QFutureWatcher>
#include <QMetaObject>
#include <QStringList>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <numeric>
#include <system_error>
#include <unordered_set>
#include <utility>

namespace tarrafa::app {

void Modelo::setAoVivo(bool aoVivo)
{
    aoVivo_ = aoVivo;
    if (!aoVivo_) {
        vigia_.reset();
        notarVigiaParcial(false);
    }
}

void Modelo::vigiar(std::shared_ptr<PastaViva> viva)
{
    vigia_.reset(); // its thread is joined: nothing of the old watcher arrives from now on
    const std::uint64_t geracao = ++geracaoViva_;
    try {
        Vigia::Opcoes opcoes;
        opcoes.historicos = viva->bancosDeHistorico();
        // "nunca aberto" goes as soon as the desktop notes the file opened.
        opcoes.usosRecentes = ListaDeRecentes::arquivoDaLista();
        // Whether folders went unwatched, as the last batch said: the first batch always tells.
        std::optional<bool> parcialAntes;
        vigia_ = std::make_unique<Vigia>(pasta_, std::move(opcoes),
            [this, viva, geracao, parcialAntes](const LoteDeEventos& lote) mutable {
                PastaViva::Atualizacao atualizacao;
                try {
                    atualizacao = viva->aplicar(lote);
                } catch (const std::exception&) {
                    return; // called off: a newer scan is under way
                }
                const bool parcialMudou = std::exchange(parcialAntes, lote.parcial) != lote.parcial;
                if (atualizacao.mudancas.empty() && !atualizacao.falha && !atualizacao.completa && !parcialMudou) {
                    return;
                }
                // The model is on the interface thread; the destructor stops this thread first.
                QMetaObject::invokeMethod(
                    this,
                    [this, geracao, atualizacao, parcial = lote.parcial] {
                        aplicarMudancas(geracao, atualizacao);
                        if (geracao == geracaoViva_ && vigia_) {
                            notarVigiaParcial(parcial);
                        }
                    },
                    Qt::QueuedConnection);
            });
    } catch (const std::system_error&) {
        return; // no inotify here: the folder changes show with the next scan
    }
    // Whatever came or went between the scan's listing and the watch.
    vigia_->pedir({.nomes = {}, .historicos = false, .tudo = false, .conferir = true});
}

void Modelo::notarVigiaParcial(bool parcial)
{
    if (parcial && !avisoDeTamanhos_) {
        avisoDeTamanhos_ = QStringLiteral("Alguns tamanhos de pastas podem estar desatualizados: não há como vigiar "
                                          "todas as subpastas, e elas são lidas de novo de tempos em tempos.");
        informar(*avisoDeTamanhos_);
    } else if (!parcial && avisoDeTamanhos_) {
        // Watched again: the line goes, whatever else the message says stays.
        const QString linha = *std::exchange(avisoDeTamanhos_, std::nullopt);
        if (mensagem_) {
            QStringList linhas = mensagem_->split(QLatin1Char('\n'));
            linhas.removeAll(linha);
            setMensagem(linhas.isEmpty() ? std::nullopt : std::optional<QString>(linhas.join(QLatin1Char('\n'))));
        }
    }
}

void Modelo::anotarAbertura(const std::string& id)
{
    // On the saving thread: the list can be large, and writes to it go one after the other.
    auto* espera = new QFutureWatcher<UsosRecentes::Resultado>(this);
    connect(espera, &QFutureWatcherBase::finished, this, [this, espera] {
        espera->deleteLater();
        // The list's folder is watched already, but a watch can be missing (no inotify left):
        // this asks for the read either way, and two asks in a row make one read.
        if (espera->future().result() == UsosRecentes::Resultado::anotado && vigia_) {
            vigia_->pedir({.nomes = {}, .historicos = false, .usosRecentes = true, .tudo = false, .conferir = false});
        }
    });
    espera->setFuture(QtConcurrent::run(&gravador_, [id] { return UsosRecentes::anotar(id); }));
}

void Modelo::aplicarMudancas(std::uint64_t geracao, const PastaViva::Atualizacao& atualizacao)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (geracao != geracaoViva_ || !vigia_) {
        return;
    }
    if (atualizacao.falha) {
        setErro(QStringLiteral("Não consegui ler a pasta Downloads: ") + QString::fromStdString(*atualizacao.falha));
    } else if (atualizacao.completa) {
        setErro(std::nullopt); // the folder is back
    }

    // A made-up scan (a test's) does not give the index; a real one does.
    if (grupoDe_.empty()) {
        for (const GrupoOrigem& grupo : grupos_) {
            for (const ItemTriado& item : grupo.itens()) {
                grupoDe_.emplace(item.id(), grupo.id());
            }
        }
    }

    // What leaves where it was (removed, or changed and placed again), and what comes in.
    std::unordered_map<std::string, std::unordered_set<std::string>> saemDe; // group -> ids
    std::unordered_map<std::string, std::vector<ItemTriado>> entramEm; // group -> items, in order
    std::vector<std::string> ordemDosNovosGrupos;
    std::unordered_set<std::string> removidos;
    bool baixandoMudou = false;
    // Files whose bytes may be others now: what was known of them as copies no longer holds.
    std::unordered_set<std::string> conteudoMudou;
    for (const PastaViva::Mudanca& m : atualizacao.mudancas) {
        if (const auto onde = grupoDe_.find(m.id); onde != grupoDe_.end()) {
            saemDe[onde->second].insert(m.id);
            grupoDe_.erase(onde);
        }
        if (std::erase_if(baixando_, [&m](const ItemTriado& item) { return item.id() == m.id; }) > 0) {
            baixandoMudou = true;
        }
        if (!m.item) {
            removidos.insert(m.id);
            conteudoMudou.insert(m.id);
            identidades_.erase(m.id);
            continue;
        }
        if (m.identidade) {
            const auto antes = identidades_.find(m.id);
            if (antes == identidades_.end() || !(antes->second == *m.identidade)) {
                conteudoMudou.insert(m.id);
            }
            identidades_.insert_or_assign(m.id, *m.identidade);
        }
        if (m.baixando) {
            baixando_.push_back(*m.item);
            baixandoMudou = true;
            continue;
        }
        const std::string& chave = TriageEngine::chaveDoGrupo(*m.item);
        auto [lista, nova] = entramEm.try_emplace(chave);
        if (nova) {
            ordemDosNovosGrupos.push_back(chave);
        }
        lista->second.push_back(*m.item);
        grupoDe_.insert_or_assign(m.id, chave);
    }

    // Only the groups touched are made again; the others, and their search keys, stay.
    std::vector<GrupoOrigem> grupos;
    std::vector<std::vector<std::string>> chaves;
    grupos.reserve(grupos_.size() + entramEm.size());
    chaves.reserve(grupos_.size() + entramEm.size());
    const auto maisNovoPrimeiro = &TriageEngine::itemVemAntes;
    // The old keys are moved, not copied: a group may hold most of a large folder.
    const auto refazer = [&](const Origem& origem, const std::vector<ItemTriado>& antigos,
                             std::vector<std::string>& chavesAntigas, const std::unordered_set<std::string>* saem,
                             std::vector<ItemTriado> novos) {
        // Newest first; an item that came now goes after older ones of the same date, as it
        // would come later in a scan.
        std::ranges::stable_sort(novos, maisNovoPrimeiro);
        std::vector<ItemTriado> itens;
        std::vector<std::string> chavesDoGrupo;
        itens.reserve(antigos.size() + novos.size());
        chavesDoGrupo.reserve(antigos.size() + novos.size());
        std::size_t n = 0;
        for (std::size_t i = 0; i < antigos.size(); ++i) {
            if (saem != nullptr && saem->contains(antigos[i].id())) {
                continue;
            }
            while (n < novos.size() && maisNovoPrimeiro(novos[n], antigos[i])) {
                chavesDoGrupo.push_back(Texto::chaveDeBusca(novos[n].nome()));
                itens.push_back(std::move(novos[n++]));
            }
            itens.push_back(antigos[i]);
            chavesDoGrupo.push_back(
                i < chavesAntigas.size() ? std::move(chavesAntigas[i]) : Texto::chaveDeBusca(antigos[i].nome()));
        }
        for (; n < novos.size(); ++n) {
            chavesDoGrupo.push_back(Texto::chaveDeBusca(novos[n].nome()));
            itens.push_back(std::move(novos[n]));
        }
        if (!itens.empty()) {
            grupos.emplace_back(origem, std::move(itens));
            chaves.push_back(std::move(chavesDoGrupo));
        }
    };
    for (std::size_t g = 0; g < grupos_.size(); ++g) {
        const std::string& id = grupos_[g].id();
        const auto saem = saemDe.find(id);
        const auto entram = entramEm.find(id);
        if (saem == saemDe.end() && entram == entramEm.end()) {
            grupos.push_back(std::move(grupos_[g]));
            chaves.push_back(g < chavesDeBusca_.size() ? std::move(chavesDeBusca_[g]) : std::vector<std::string> {});
            continue;
        }
        std::vector<ItemTriado> novos;
        if (entram != entramEm.end()) {
            novos = std::move(entram->second);
            entramEm.erase(entram);
        }
        std::vector<std::string> semChaves;
        refazer(grupos_[g].origem(), grupos_[g].itens(), g < chavesDeBusca_.size() ? chavesDeBusca_[g] : semChaves,
            saem == saemDe.end() ? nullptr : &saem->second, std::move(novos));
    }
    for (const std::string& chave : ordemDosNovosGrupos) {
        const auto entram = entramEm.find(chave);
        if (entram == entramEm.end()) {
            continue; // it existed: already made again above
        }
        const Origem origem = TriageEngine::origemDoGrupo(entram->second.front());
        std::vector<std::string> nenhuma;
        refazer(origem, {}, nenhuma, nullptr, std::move(entram->second));
    }

    // Largest first, the group without origin last, equal sizes in the order they had; the
    // search keys follow their groups.
    std::vector<std::size_t> ordem(grupos.size());
    std::iota(ordem.begin(), ordem.end(), std::size_t {0});
    std::ranges::stable_sort(ordem, [&grupos](std::size_t a, std::size_t b) {
        return TriageEngine::grupoVemAntes(grupos[a], grupos[b]);
    });
    grupos_.clear();
    chavesDeBusca_.clear();
    for (const std::size_t i : ordem) {
        grupos_.push_back(std::move(grupos[i]));
        chavesDeBusca_.push_back(std::move(chaves[i]));
    }

    bool gruposMudaram = !saemDe.empty() || !ordemDosNovosGrupos.empty();
    // A copy the watcher made anew (its origin found, say) keeps its badge at once, unless its
    // bytes or its original's may have changed: the comparison that follows says again.
    const auto tocaCopias = [this, &atualizacao] {
        std::unordered_set<std::string> envolvidos;
        for (const auto& [copia, original] : duplicataDe_) {
            envolvidos.insert(copia);
            envolvidos.insert(original);
        }
        return std::ranges::any_of(
            atualizacao.mudancas, [&envolvidos](const PastaViva::Mudanca& m) { return envolvidos.contains(m.id); });
    };
    if (gruposMudaram && !duplicataDe_.empty() && tocaCopias()) {
        auto vigentes = duplicataDe_;
        std::erase_if(vigentes, [&conteudoMudou](const auto& par) {
            return conteudoMudou.contains(par.first) || conteudoMudou.contains(par.second);
        });
        marcarCopias(std::move(vigentes));
    }
    if (gruposMudaram) {
        Q_EMIT gruposChanged();
        raioX_.emplace(grupos_);
        Q_EMIT raioXChanged();
        comparacaoAgendada_.start();
    }
    if (baixandoMudou) {
        Q_EMIT baixandoChanged();
    }
    if (!removidos.empty()) {
        // A file that went away takes its decision with it, as a scan that no longer finds it.
        esquecerDecisoes([&removidos](const std::string& id) { return removidos.contains(id); });
    }
    Q_EMIT mudancasAplicadas();
}

} // namespace tarrafa::app
