// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Escopo.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/Formato.hpp"

#include <QtGlobal>

#include <algorithm>

namespace tarrafa::app {

Escopo Escopo::doGrupo(const std::vector<ItemTriado>& itens)
{
    std::int64_t bytes = 0;
    int nuncaAbertos = 0;
    int opacos = 0;
    for (const ItemTriado& item : itens) {
        if (__builtin_add_overflow(bytes, item.snapshot().tamanho(), &bytes)) {
            qFatal("the sizes of a group add up to more than a 64-bit count holds");
        }
        if (item.snapshot().nuncaReaberto()) {
            ++nuncaAbertos;
        }
        const auto& selos = item.selos();
        if (std::any_of(selos.begin(), selos.end(),
                [](const Selo& selo) { return selo.caso() == Selo::Caso::nomeOpaco; })) {
            ++opacos;
        }
    }
    return grupo(static_cast<int>(itens.size()), bytes, nuncaAbertos, opacos);
}

int porcentoDoGrupo(int parte, int total)
{
    if (total < 1) {
        return 0;
    }
    return Apresentacao::porcentoTruncado(static_cast<double>(parte) / static_cast<double>(total));
}

std::vector<Celula> celulas(const RaioX& r, const Escopo& escopo)
{
    const auto numero = [](auto n) { return aparencia::contagem(static_cast<long long>(n)); };
    const auto tamanho = [](std::int64_t bytes) { return QString::fromStdString(Formato::bytes(bytes)); };
    const auto porcento = [&](int p, const char* resto) { return numero(p) + QString::fromUtf8(resto); };

    if (escopo.caso() == Escopo::Caso::grupo) {
        const int total = escopo.total();
        return {
            {QStringLiteral("No grupo"), numero(total), tamanho(escopo.bytes())},
            {QStringLiteral("Nunca abertos"), numero(escopo.nuncaAbertos()),
                porcento(porcentoDoGrupo(escopo.nuncaAbertos(), total), "% do grupo")},
            {QStringLiteral("Nome não identifica"), numero(escopo.opacos()),
                porcento(porcentoDoGrupo(escopo.opacos(), total), "% do grupo")},
            {QStringLiteral("Na pasta"), numero(r.total()), tamanho(r.bytes())},
        };
    }
    return {
        {QStringLiteral("Na pasta"), numero(r.total()), tamanho(r.bytes())},
        {QStringLiteral("Nunca abertos"), numero(r.nuncaAbertos()),
            porcento(r.pct(r.nuncaAbertos()), "% do total")},
        {QStringLiteral("Nome não identifica"), numero(r.nomesOpacos()),
            porcento(r.pct(r.nomesOpacos()), "% do total")},
        {QStringLiteral("Origens distintas"), numero(r.origensDistintas()),
            porcento(Apresentacao::porcentoTruncado(r.concentracaoTop3()), "% nas 3 maiores")},
    };
}

} // namespace tarrafa::app
