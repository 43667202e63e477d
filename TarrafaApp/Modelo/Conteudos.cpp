// SPDX-License-Identifier: GPL-3.0-or-later
// Files of identical contents: compared off the interface thread after each scan and after
// the watcher's changes, so that the inbox shows at once and the badges come when ready.
#include "TarrafaApp/Modelo/Modelo.hpp"

#include "TarrafaCore/CacheDeHashes.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"

#include <QFutureWatcher>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <optional>
#include <system_error>
#include <unordered_set>
#include <utility>

namespace tarrafa::app {

std::vector<Duplicatas::Arquivo> Modelo::arquivosParaComparar() const
{
    std::vector<const FileSnapshot*> snapshots;
    for (const GrupoOrigem& grupo : grupos_) {
        for (const ItemTriado& item : grupo.itens()) {
            snapshots.push_back(&item.snapshot());
        }
    }
    return Duplicatas::candidatos(snapshots, identidades_, sha256_);
}

void Modelo::compararConteudos()
{
    comparacaoAgendada_.stop();
    pararComparacao_.request_stop();
    pararComparacao_ = std::stop_source();
    const std::uint64_t esta = ++comparacaoMaisNova_;
    using Achadas = std::optional<std::unordered_map<std::string, std::string>>;
    auto* vigia = new QFutureWatcher<Achadas>(this);
    connect(vigia, &QFutureWatcherBase::finished, this, [this, vigia, esta] {
        Q_ASSERT(QThread::currentThread() == thread());
        vigia->deleteLater();
        Achadas achadas = vigia->future().takeResult();
        if (esta == comparacaoMaisNova_ && achadas) {
            aplicarDuplicatas(std::move(*achadas));
        }
    });
    const std::string arquivoDeHashes
        = arquivoDeHashes_.empty() ? PastasDoUsuario::arquivoDeHashes() : arquivoDeHashes_;
    vigia->setFuture(QtConcurrent::run(
        [arquivos = arquivosParaComparar(), arquivoDeHashes, parar = pararComparacao_.get_token()]() -> Achadas {
            try {
                CacheDeHashes cache(arquivoDeHashes);
                return Duplicatas::encontrar(arquivos, cache, parar).duplicataDe;
            } catch (const std::system_error&) {
                return std::nullopt; // called off: a newer comparison takes its place
            } catch (const std::bad_alloc&) {
                return std::nullopt;
            }
        }));
}

void Modelo::aplicarDuplicatas(std::unordered_map<std::string, std::string> duplicataDe)
{
    if (marcarCopias(std::move(duplicataDe))) {
        Q_EMIT gruposChanged();
    }
    Q_EMIT duplicatasComparadas();
}

bool Modelo::marcarCopias(std::unordered_map<std::string, std::string> duplicataDe)
{
    // Every file that is or was a copy is looked at again: the watcher may have brought an
    // item made anew, without its badge, since the last comparison.
    std::unordered_set<std::string> tocados;
    for (const auto& [copia, original] : duplicataDe_) {
        tocados.insert(copia);
    }
    for (const auto& [copia, original] : duplicataDe) {
        tocados.insert(copia);
    }
    duplicataDe_ = std::move(duplicataDe);
    if (tocados.empty()) {
        return false;
    }
    // The items involved (copies then and now, and their originals), found in one pass.
    std::unordered_set<std::string> envolvidos = tocados;
    for (const auto& [copia, original] : duplicataDe_) {
        envolvidos.insert(original);
    }
    std::unordered_map<std::string, const ItemTriado*> porId;
    for (const GrupoOrigem& grupo : grupos_) {
        for (const ItemTriado& item : grupo.itens()) {
            if (envolvidos.contains(item.id())) {
                porId.emplace(item.id(), &item);
            }
        }
    }
    std::unordered_map<std::string, ItemTriado> refeitos;
    for (const std::string& id : tocados) {
        const auto item = porId.find(id);
        if (item == porId.end()) {
            continue;
        }
        const auto copia = duplicataDe_.find(id);
        const auto original = copia == duplicataDe_.end() ? porId.end() : porId.find(copia->second);
        ItemTriado novo = original == porId.end() ? Duplicatas::desmarcar(*item->second)
                                                  : Duplicatas::marcar(*item->second, original->second->nome());
        if (!(novo == *item->second)) {
            refeitos.emplace(id, std::move(novo));
        }
    }
    if (refeitos.empty()) {
        return false;
    }
    // Only the groups that hold a changed item are made again.
    for (GrupoOrigem& grupo : grupos_) {
        const auto& itensDoGrupo = grupo.itens();
        if (std::none_of(itensDoGrupo.begin(), itensDoGrupo.end(),
                [&refeitos](const ItemTriado& item) { return refeitos.contains(item.id()); })) {
            continue;
        }
        std::vector<ItemTriado> itens = itensDoGrupo;
        for (ItemTriado& item : itens) {
            if (const auto refeito = refeitos.find(item.id()); refeito != refeitos.end()) {
                item = refeito->second;
            }
        }
        grupo = GrupoOrigem(grupo.origem(), std::move(itens));
    }
    return true;
}

} // namespace tarrafa::app
