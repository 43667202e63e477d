// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"

#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Formato.hpp"

#include <QStringList>
#include <QVariantList>

namespace tarrafa::app {

ModeloDeArquivos::ModeloDeArquivos(QObject* parent)
    : QAbstractListModel(parent)
{
}

int ModeloDeArquivos::rowCount(const QModelIndex& pai) const
{
    return pai.isValid() ? 0 : static_cast<int>(itens_.size());
}

QVariant ModeloDeArquivos::data(const QModelIndex& indice, int papel) const
{
    if (!checkIndex(indice, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const ItemTriado& it = item(indice.row());
    switch (papel) {
    // A name is the server's choice: its controls are shown, never obeyed.
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return QString::fromStdString(Escapes::paraJanela(it.nome()));
    case Qt::AccessibleTextRole: {
        QStringList partes {QString::fromStdString(Escapes::paraJanela(it.nome()))};
        for (const Selo& selo : it.selos()) {
            partes.append(QString::fromStdString(selo.rotulo()));
        }
        partes.append(QString::fromStdString(Formato::bytes(it.snapshot().tamanho())));
        return partes.join(QStringLiteral(", "));
    }
    case PapelId:
        return QByteArray::fromStdString(it.id());
    case PapelSimbolo:
        return it.snapshot().ehPasta() ? QStringLiteral("folder") : QStringLiteral("doc");
    case PapelTamanho:
        return QString::fromStdString(Formato::bytes(it.snapshot().tamanho()));
    case PapelSelos: {
        QStringList rotulos;
        for (const Selo& selo : it.selos()) {
            rotulos.append(QString::fromStdString(selo.rotulo()));
        }
        return rotulos;
    }
    case PapelTons: {
        QVariantList tons;
        for (const Selo& selo : it.selos()) {
            tons.append(static_cast<int>(selo.tom()));
        }
        return tons;
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> ModeloDeArquivos::roleNames() const
{
    QHash<int, QByteArray> nomes = QAbstractListModel::roleNames();
    nomes.insert(PapelId, "id");
    nomes.insert(PapelSimbolo, "simbolo");
    nomes.insert(PapelTamanho, "tamanho");
    nomes.insert(PapelSelos, "selos");
    nomes.insert(PapelTons, "tons");
    return nomes;
}

bool ModeloDeArquivos::setItens(std::vector<ItemTriado> itens)
{
    if (itens == itens_) {
        return false;
    }
    beginResetModel();
    itens_ = std::move(itens);
    linhas_.clear();
    linhas_.reserve(itens_.size());
    for (std::size_t i = 0; i < itens_.size(); ++i) {
        linhas_.emplace(itens_[i].id(), static_cast<int>(i));
    }
    endResetModel();
    return true;
}

std::optional<int> ModeloDeArquivos::linhaDe(const std::string& id) const
{
    const auto achado = linhas_.find(id);
    if (achado == linhas_.end()) {
        return std::nullopt;
    }
    return achado->second;
}

} // namespace tarrafa::app
