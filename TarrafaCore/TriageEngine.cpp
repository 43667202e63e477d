// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/TriageEngine.hpp"

#include "TarrafaCore/InstallerMatcher.hpp"
#include "TarrafaCore/NameAnalyzer.hpp"
#include "TarrafaCore/SeriesDetector.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace tarrafa {
namespace {

[[noreturn]] void pararPorEstouro()
{
    std::fputs("tarrafa: the total size of a group overflows a 64-bit count\n", stderr);
    std::abort();
}

Origem origemDe(const FileSnapshot& snapshot)
{
    for (const std::string& endereco : snapshot.origens()) {
        if (std::optional<Origem> origem = OrigemParser::analisarUma(endereco)) {
            return std::move(*origem);
        }
    }
    return Origem::semOrigem();
}

// Badges in the order the file list shows them: opened state, name, copy suffix,
// installer, series. Gathered in a reused buffer and returned at their exact size: a
// folder's worth of items is held at once.
std::vector<Selo> selosDe(const FileSnapshot& snapshot, const std::vector<std::string>& appsInstalados,
    int mesmaSerie, std::vector<Selo>& selos)
{
    selos.clear();
    if (snapshot.nuncaReaberto()) {
        selos.push_back(Selo::nuncaAberto());
    } else if (snapshot.ultimoUsoEm()) {
        selos.push_back(Selo::abertoEm(*snapshot.ultimoUsoEm()));
    }

    const std::string& nome = snapshot.nome();
    if (snapshot.ehScreenshot()) {
        selos.push_back(Selo::screenshot());
    } else if (NameAnalyzer::ehOpaco(nome)) {
        selos.push_back(Selo::nomeOpaco());
    }

    if (NameAnalyzer::temSufixoDeCopia(nome)) {
        selos.push_back(Selo::sufixoDeCopia());
    }

    if (InstallerMatcher::ehInstalador(nome)) {
        selos.push_back(InstallerMatcher::jaInstaladoEntre(nome, appsInstalados) ? Selo::instaladorUsado()
                                                                            : Selo::instaladorNuncaUsado());
    }

    if (mesmaSerie > 1) {
        selos.push_back(Selo::pareceRelacionado(mesmaSerie - 1));
    }
    return {selos.begin(), selos.end()};
}

bool ehInstalador(const std::vector<Selo>& selos)
{
    return std::ranges::any_of(selos, [](const Selo& selo) {
        return selo.caso() == Selo::Caso::instaladorUsado || selo.caso() == Selo::Caso::instaladorNuncaUsado;
    });
}

// Positions of the input under their group keys, the keys in the order they first appear:
// groups of equal size then tie the same way on every run.
struct Membros {
    std::vector<std::string> chaves;
    std::vector<std::vector<std::size_t>> posicoes;
    std::unordered_map<std::string, std::size_t> indice;

    void juntar(const std::string& chave, std::size_t posicao)
    {
        const auto [it, nova] = indice.try_emplace(chave, chaves.size());
        if (nova) {
            chaves.push_back(chave);
            posicoes.emplace_back();
        }
        posicoes[it->second].push_back(posicao);
    }
};

const std::string& chaveDe(const std::vector<Selo>& selos, const Origem& origem)
{
    static const std::string kInstaladores(Origem::kChaveInstaladores);
    return ehInstalador(selos) ? kInstaladores : origem.chave();
}

void ordenarGrupos(std::vector<GrupoOrigem>& grupos)
{
    std::ranges::stable_sort(grupos, &TriageEngine::grupoVemAntes);
}

Origem origemDe(const std::string& chave, const Origem& doPrimeiro)
{
    return chave == Origem::kChaveInstaladores ? Origem(std::string(Origem::kChaveInstaladores), "Instaladores", std::nullopt)
                                               : doPrimeiro;
}

} // namespace

ItemTriado::ItemTriado(FileSnapshot snapshot, Origem origem, std::vector<Selo> selos)
    : dados_(std::make_shared<const Dados>(Dados {std::move(snapshot), std::move(origem), std::move(selos)}))
{
}

GrupoOrigem::GrupoOrigem(Origem origem, std::vector<ItemTriado> itens)
    : origem_(std::move(origem))
    , itens_(std::move(itens))
{
}

int GrupoOrigem::total() const noexcept
{
    return static_cast<int>(itens_.size());
}

std::int64_t GrupoOrigem::bytes() const
{
    std::int64_t soma = 0;
    for (const ItemTriado& item : itens_) {
        if (__builtin_add_overflow(soma, item.snapshot().tamanho(), &soma)) {
            pararPorEstouro();
        }
    }
    return soma;
}

int GrupoOrigem::nuncaAbertos() const noexcept
{
    return static_cast<int>(std::ranges::count_if(
        itens_, [](const ItemTriado& item) { return item.snapshot().nuncaReaberto(); }));
}

int GrupoOrigem::nomesOpacos() const noexcept
{
    return static_cast<int>(std::ranges::count_if(itens_, [](const ItemTriado& item) {
        return std::ranges::find(item.selos(), Selo::nomeOpaco()) != item.selos().end();
    }));
}

TriageEngine::TriageEngine(std::set<std::string> appsInstalados)
    : appsInstalados_(std::move(appsInstalados))
    , appsNormalizados_(InstallerMatcher::normalizarInstalados(appsInstalados_))
{
}

const std::string& TriageEngine::chaveDoGrupo(const ItemTriado& item)
{
    return chaveDe(item.selos(), item.origem());
}

Origem TriageEngine::origemDoGrupo(const ItemTriado& primeiro)
{
    return origemDe(chaveDoGrupo(primeiro), primeiro.origem());
}

void TriageEngine::ordenar(std::vector<GrupoOrigem>& grupos)
{
    ordenarGrupos(grupos);
}

// Largest first, with no second key; the group without origin always goes last.
bool TriageEngine::grupoVemAntes(const GrupoOrigem& a, const GrupoOrigem& b) noexcept
{
    if (a.id() == Origem::kChaveSemOrigem) {
        return false;
    }
    if (b.id() == Origem::kChaveSemOrigem) {
        return true;
    }
    return a.total() > b.total();
}

bool TriageEngine::itemVemAntes(const ItemTriado& a, const ItemTriado& b) noexcept
{
    return a.snapshot().chegouEm() > b.snapshot().chegouEm();
}

ItemTriado TriageEngine::triarUm(const FileSnapshot& snapshot, int mesmaSerie) const
{
    std::vector<Selo> rascunho;
    std::vector<Selo> selos = selosDe(snapshot, appsNormalizados_, mesmaSerie, rascunho);
    return ItemTriado(snapshot, origemDe(snapshot), std::move(selos));
}

std::vector<GrupoOrigem> TriageEngine::agrupar(const std::vector<ItemTriado>& itens)
{
    Membros membros;
    for (std::size_t i = 0; i < itens.size(); ++i) {
        membros.juntar(chaveDe(itens[i].selos(), itens[i].origem()), i);
    }
    std::vector<GrupoOrigem> grupos;
    grupos.reserve(membros.chaves.size());
    for (std::size_t g = 0; g < membros.chaves.size(); ++g) {
        std::vector<std::size_t>& posicoes = membros.posicoes[g];
        Origem origem = origemDe(membros.chaves[g], itens[posicoes.front()].origem());
        std::ranges::stable_sort(
            posicoes, [&itens](std::size_t a, std::size_t b) { return itemVemAntes(itens[a], itens[b]); });
        std::vector<ItemTriado> doGrupo;
        doGrupo.reserve(posicoes.size());
        for (const std::size_t i : posicoes) {
            doGrupo.push_back(itens[i]);
        }
        grupos.emplace_back(std::move(origem), std::move(doGrupo));
    }
    ordenarGrupos(grupos);
    return grupos;
}

std::vector<GrupoOrigem> TriageEngine::triar(const std::vector<FileSnapshot>& snapshots) const
{
    const std::unordered_map<std::string, int> series = SeriesDetector::candidatos(snapshots);

    // Origin and badges per snapshot, then the snapshots of each group key, as positions in
    // the input. Keys are kept in order of first appearance, so that groups of equal size
    // tie the same way on every run.
    std::vector<Origem> origens;
    std::vector<std::vector<Selo>> selos;
    std::vector<Date> chegadas; // read by the sort below, so kept close together
    origens.reserve(snapshots.size());
    selos.reserve(snapshots.size());
    chegadas.reserve(snapshots.size());
    Membros membros;
    std::vector<Selo> rascunho;
    rascunho.reserve(5); // one badge from each step at most
    for (std::size_t i = 0; i < snapshots.size(); ++i) {
        chegadas.push_back(snapshots[i].chegouEm());
        const auto serie = series.find(snapshots[i].nome());
        selos.push_back(selosDe(snapshots[i], appsNormalizados_, serie == series.end() ? 1 : serie->second, rascunho));
        origens.push_back(origemDe(snapshots[i]));
        membros.juntar(chaveDe(selos.back(), origens.back()), i);
    }

    std::vector<GrupoOrigem> grupos;
    grupos.reserve(membros.chaves.size());
    for (std::size_t g = 0; g < membros.chaves.size(); ++g) {
        std::vector<std::size_t>& posicoes = membros.posicoes[g];
        // A group's origin is its first item's in scan order (items of one key may, in
        // principle, differ in label or address).
        Origem origem = origemDe(membros.chaves[g], origens[posicoes.front()]);
        // Newest first; equal arrival dates keep scan order. Positions are sorted rather
        // than items, which are heavy to move.
        std::ranges::stable_sort(
            posicoes, [&chegadas](std::size_t a, std::size_t b) { return chegadas[a] > chegadas[b]; });
        std::vector<ItemTriado> itens;
        itens.reserve(posicoes.size());
        for (const std::size_t i : posicoes) {
            itens.emplace_back(snapshots[i], std::move(origens[i]), std::move(selos[i]));
        }
        grupos.emplace_back(std::move(origem), std::move(itens));
    }

    ordenarGrupos(grupos);
    return grupos;
}

} // namespace tarrafa
