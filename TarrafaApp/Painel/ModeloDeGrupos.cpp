// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/ModeloDeGrupos.hpp"

#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/Escapes.hpp"

#include <string_view>

namespace tarrafa::app {

ModeloDeGrupos::ModeloDeGrupos(QObject* parent)
    : QAbstractListModel(parent)
{
}

int ModeloDeGrupos::rowCount(const QModelIndex& pai) const
{
    return pai.isValid() ? 0 : static_cast<int>(grupos_.size());
}

QVariant ModeloDeGrupos::data(const QModelIndex& indice, int papel) const
{
    if (!checkIndex(indice, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const GrupoOrigem& g = grupo(indice.row());
    const auto resumo = [&] { return QString::fromStdString(Apresentacao::resumoDoGrupo(g)); };
    const auto unidade = [&] {
        const std::string_view palavra = Apresentacao::itemOuItens(g.total());
        return QString::fromUtf8(palavra.data(), static_cast<qsizetype>(palavra.size()));
    };
    switch (papel) {
    // A label comes from an address: its controls are shown, never obeyed.
    case Qt::DisplayRole:
        return QString::fromStdString(Escapes::paraJanela(g.origem().rotulo()));
    case Qt::AccessibleTextRole:
        return QString::fromStdString(Escapes::paraJanela(g.origem().rotulo())) + QStringLiteral(", ") + resumo()
            + QStringLiteral(", ") + QString::number(g.total()) + QLatin1Char(' ') + unidade();
    case PapelResumo:
        return resumo();
    case PapelTotal:
        return g.total();
    case PapelUnidade:
        return unidade();
    case PapelChave:
        return QString::fromStdString(g.id());
    default:
        return {};
    }
}

QHash<int, QByteArray> ModeloDeGrupos::roleNames() const
{
    QHash<int, QByteArray> nomes = QAbstractListModel::roleNames();
    nomes.insert(PapelResumo, "resumo");
    nomes.insert(PapelTotal, "total");
    nomes.insert(PapelUnidade, "unidade");
    nomes.insert(PapelChave, "chave");
    return nomes;
}

void ModeloDeGrupos::setGrupos(std::vector<GrupoOrigem> grupos)
{
    beginResetModel();
    grupos_ = std::move(grupos);
    endResetModel();
}

} // namespace tarrafa::app
