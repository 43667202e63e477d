// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/LinhasDaBarraLateral.hpp"

#include "TarrafaApp/App/Icone.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"

#include <QMetaObject>

namespace tarrafa::app {

namespace {

constexpr int kLinhasFixas = 4;

} // namespace

LinhasDaBarraLateral::LinhasDaBarraLateral(Modelo& modelo, QObject* parent)
    : QAbstractListModel(parent)
    , modelo_(modelo)
    , linhas_(lerLinhas())
{
    // Titles follow the groups, counts follow the groups, the decisions and the search.
    connect(&modelo_, &Modelo::gruposChanged, this, &LinhasDaBarraLateral::agendar);
    connect(&modelo_, &Modelo::decisoesChanged, this, &LinhasDaBarraLateral::agendar);
    connect(&modelo_, &Modelo::buscaChanged, this, &LinhasDaBarraLateral::agendar);
}

int LinhasDaBarraLateral::rowCount(const QModelIndex& pai) const
{
    return pai.isValid() ? 0 : static_cast<int>(linhas_.size());
}

QVariant LinhasDaBarraLateral::data(const QModelIndex& indice, int papel) const
{
    if (!checkIndex(indice, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const Linha& linha = linhas_[static_cast<std::size_t>(indice.row())];
    switch (papel) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return linha.titulo;
    case Qt::AccessibleTextRole:
        return linha.contagem ? linha.titulo + QStringLiteral(", ") + aparencia::contagem(*linha.contagem)
                              : linha.titulo;
    case PapelChave:
        return linha.destino ? QVariant(QString::fromStdString(linha.destino->chave())) : QVariant();
    case PapelContagem:
        return linha.contagem ? QVariant(*linha.contagem) : QVariant();
    case PapelSimbolo:
        return linha.simbolo.isEmpty() ? QVariant() : QVariant(linha.simbolo);
    case PapelCabecalho:
        return !linha.destino.has_value();
    default:
        return {};
    }
}

Qt::ItemFlags LinhasDaBarraLateral::flags(const QModelIndex& indice) const
{
    // The views also ask about the root, which is no row.
    if (!indice.isValid() || !checkIndex(indice, CheckIndexOption::ParentIsInvalid)) {
        return Qt::NoItemFlags;
    }
    // The header can be neither chosen nor reached with the arrow keys.
    if (!linhas_[static_cast<std::size_t>(indice.row())].destino) {
        return Qt::NoItemFlags;
    }
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

QModelIndex LinhasDaBarraLateral::indice(const Destino& destino) const
{
    for (std::size_t i = 0; i < linhas_.size(); ++i) {
        if (linhas_[i].destino == destino) {
            return index(static_cast<int>(i));
        }
    }
    return {};
}

std::optional<Destino> LinhasDaBarraLateral::destino(const QModelIndex& indice) const
{
    if (!indice.isValid() || !checkIndex(indice, CheckIndexOption::ParentIsInvalid)) {
        return std::nullopt;
    }
    return linhas_[static_cast<std::size_t>(indice.row())].destino;
}

void LinhasDaBarraLateral::agendar()
{
    if (agendado_) {
        return;
    }
    agendado_ = true;
    QMetaObject::invokeMethod(this, &LinhasDaBarraLateral::atualizar, Qt::QueuedConnection);
}

void LinhasDaBarraLateral::atualizar()
{
    agendado_ = false;
    std::vector<Linha> novas = lerLinhas();
    const bool mesmosDestinos = novas.size() == linhas_.size()
        && std::equal(novas.begin(), novas.end(), linhas_.begin(),
            [](const Linha& a, const Linha& b) { return a.destino == b.destino; });
    if (!mesmosDestinos) {
        beginResetModel();
        linhas_ = std::move(novas);
        endResetModel();
        Q_EMIT linhasRefeitas();
        return;
    }
    for (std::size_t i = 0; i < novas.size(); ++i) {
        if (novas[i] != linhas_[i]) {
            linhas_[i] = std::move(novas[i]);
            const QModelIndex alterado = index(static_cast<int>(i));
            Q_EMIT dataChanged(alterado, alterado);
        }
    }
}

std::vector<LinhasDaBarraLateral::Linha> LinhasDaBarraLateral::lerLinhas() const
{
    std::vector<Linha> linhas;
    const std::vector<GrupoOrigem> grupos = modelo_.gruposVisiveis();
    linhas.reserve(kLinhasFixas + 1 + grupos.size());

    const auto fixa = [&](Destino destino, const char* simbolo, bool comContagem) {
        std::optional<int> contagem;
        if (comContagem) {
            contagem = modelo_.contagem(destino);
        }
        QString titulo = modelo_.titulo(destino);
        linhas.push_back(
            Linha {std::move(destino), std::move(titulo), QString::fromLatin1(simbolo), contagem});
    };
    fixa(Destino::entrada(), "tray.full", true);
    fixa(Destino::adiados(), "clock", true);
    fixa(Destino::resolvidos(), "checkmark.circle", true);
    fixa(Destino::raioX(), "chart.bar.doc.horizontal", false);

    linhas.push_back(Linha {std::nullopt, QStringLiteral("Origens"), QString(), std::nullopt});
    for (const GrupoOrigem& grupo : grupos) {
        Destino destino = Destino::grupo(grupo.origem().chave());
        QString titulo = modelo_.titulo(destino);
        // The group's undecided items, whatever the search: the model's own count, read off
        // the list already at hand.
        linhas.push_back(Linha {std::move(destino), std::move(titulo), icone(grupo.origem()), grupo.total()});
    }
    return linhas;
}

} // namespace tarrafa::app
