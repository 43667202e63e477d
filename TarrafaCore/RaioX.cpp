// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/RaioX.hpp"

#include "TarrafaCore/NameAnalyzer.hpp"
#include "TarrafaCore/Origem.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <optional>

namespace tarrafa {
namespace {

constexpr double kSegundosPorDia = 86400.0;

[[noreturn]] void parar(const char* mensagem)
{
    std::fprintf(stderr, "tarrafa: %s\n", mensagem);
    std::abort();
}

template <typename Predicado> int contar(const std::vector<FileSnapshot>& itens, Predicado predicado)
{
    return static_cast<int>(std::ranges::count_if(itens, predicado));
}

std::int64_t somarTamanhos(const std::vector<FileSnapshot>& itens)
{
    std::int64_t soma = 0;
    for (const FileSnapshot& item : itens) {
        if (__builtin_add_overflow(soma, item.tamanho(), &soma)) {
            parar("the total size of the folder overflows a 64-bit count");
        }
    }
    return soma;
}

// Whole days, truncated toward zero. Dates come from file metadata and may be absurd; they
// are held to the range of int instead of overflowing the conversion.
int diasInteiros(double segundos)
{
    const double dias = std::trunc(segundos / kSegundosPorDia);
    if (std::isnan(dias)) {
        return 0;
    }
    constexpr double kMenor = std::numeric_limits<int>::min();
    constexpr double kMaior = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(dias, kMenor, kMaior));
}

int maisAntigoEmDias(const std::vector<FileSnapshot>& itens, Date agora)
{
    std::optional<int> maior;
    for (const FileSnapshot& item : itens) {
        const int dias = diasInteiros(agora - item.chegouEm());
        maior = std::max(maior.value_or(dias), dias);
    }
    return maior.value_or(0);
}

// Item counts of the groups that have an origin ("_instaladores" included).
std::vector<int> tamanhosComOrigem(const std::vector<GrupoOrigem>& grupos)
{
    std::vector<int> tamanhos;
    for (const GrupoOrigem& grupo : grupos) {
        if (grupo.id() != Origem::kChaveSemOrigem) {
            tamanhos.push_back(grupo.total());
        }
    }
    return tamanhos;
}

double concentracaoTop3(std::vector<int> tamanhos, int comOrigem)
{
    if (comOrigem == 0) {
        return 0.0;
    }
    std::ranges::sort(tamanhos, std::greater<>());
    std::int64_t soma = 0;
    for (std::size_t i = 0; i < tamanhos.size() && i < 3; ++i) {
        soma += tamanhos[i];
    }
    return static_cast<double>(soma) / static_cast<double>(comOrigem);
}

} // namespace

RaioX::RaioX(int total, std::int64_t bytes, int nuncaAbertos, int nomesOpacos, int comOrigem,
    int origensDistintas, double concentracaoTop3, int maisAntigoEmDias) noexcept
    : total_(total)
    , bytes_(bytes)
    , nuncaAbertos_(nuncaAbertos)
    , nomesOpacos_(nomesOpacos)
    , comOrigem_(comOrigem)
    , origensDistintas_(origensDistintas)
    , concentracaoTop3_(concentracaoTop3)
    , maisAntigoEmDias_(maisAntigoEmDias)
{
}

RaioX::RaioX(const std::vector<FileSnapshot>& itens, const std::vector<GrupoOrigem>& grupos, Date agora)
    : total_(static_cast<int>(itens.size()))
    , bytes_(somarTamanhos(itens))
    , nuncaAbertos_(contar(itens, [](const FileSnapshot& s) { return s.nuncaReaberto(); }))
    , nomesOpacos_(contar(itens, [](const FileSnapshot& s) { return NameAnalyzer::ehOpaco(s.nome()); }))
    , comOrigem_(contar(itens, [](const FileSnapshot& s) { return !s.origens().empty(); }))
    , origensDistintas_(static_cast<int>(tamanhosComOrigem(grupos).size()))
    , concentracaoTop3_(tarrafa::concentracaoTop3(tamanhosComOrigem(grupos), comOrigem_))
    , maisAntigoEmDias_(tarrafa::maisAntigoEmDias(itens, agora))
{
}

RaioX::RaioX(const std::vector<GrupoOrigem>& grupos, Date agora)
    : RaioX(dosGrupos(grupos, agora))
{
}

RaioX RaioX::dosGrupos(const std::vector<GrupoOrigem>& grupos, Date agora)
{
    // One pass over the items. An opaque name is read off the item's badge, which triage
    // gave it from the same analysis; only screenshots, which never carry that badge, are
    // looked at by name: a live folder recomputes this on every change.
    int total = 0;
    std::int64_t bytes = 0;
    int nuncaAbertos = 0;
    int nomesOpacos = 0;
    int comOrigem = 0;
    std::optional<int> maisAntigo;
    for (const GrupoOrigem& grupo : grupos) {
        for (const ItemTriado& item : grupo.itens()) {
            const FileSnapshot& s = item.snapshot();
            ++total;
            if (__builtin_add_overflow(bytes, s.tamanho(), &bytes)) {
                parar("the total size of the folder overflows a 64-bit count");
            }
            nuncaAbertos += s.nuncaReaberto() ? 1 : 0;
            const bool opaco = s.ehScreenshot() ? NameAnalyzer::ehOpaco(s.nome())
                                                : std::ranges::find(item.selos(), Selo::nomeOpaco()) != item.selos().end();
            nomesOpacos += opaco ? 1 : 0;
            comOrigem += s.origens().empty() ? 0 : 1;
            const int dias = diasInteiros(agora - s.chegouEm());
            maisAntigo = std::max(maisAntigo.value_or(dias), dias);
        }
    }
    const std::vector<int> tamanhos = tamanhosComOrigem(grupos);
    return RaioX(total, bytes, nuncaAbertos, nomesOpacos, comOrigem, static_cast<int>(tamanhos.size()),
        tarrafa::concentracaoTop3(tamanhos, comOrigem), maisAntigo.value_or(0));
}

int RaioX::pct(int quantidade) const
{
    if (total_ < 1) {
        return 0;
    }
    // std::round takes halves away from zero.
    const double percentual
        = std::round(static_cast<double>(quantidade) / static_cast<double>(total_) * 100.0);
    if (!std::isfinite(percentual) || percentual < std::numeric_limits<int>::min()
        || percentual > std::numeric_limits<int>::max()) {
        parar("a percentage is not a finite whole number");
    }
    return static_cast<int>(percentual);
}

std::string leitura(const RaioX& r)
{
    if (r.total() < 1) {
        return "Sua pasta Downloads está vazia.";
    }
    std::string texto;
    if (r.maisAntigoEmDias() < 60) {
        texto += "Nada na sua pasta tem mais de " + std::to_string(r.maisAntigoEmDias())
            + " dias, então o problema não é o que acumulou. ";
    }
    texto += "São " + std::to_string(r.nuncaAbertos())
        + " arquivos que chegaram, foram usados uma vez e perderam o contexto de onde vieram.";
    if (!r.agrupamentoSeSustenta()) {
        texto
            += " Suas origens estão espalhadas, então agrupar por proveniência ajuda menos aqui do que numa "
               "pasta concentrada.";
    }
    return texto;
}

} // namespace tarrafa
