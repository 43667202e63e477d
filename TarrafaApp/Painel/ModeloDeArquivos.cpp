// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/SeloView.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Formato.hpp"

#include <QStringList>
#include <QVariantList>

#include <algorithm>
#include <vector>

namespace tarrafa::app {

namespace {

// The chip of a decision that leaves a file in a list.
QString estadoDe(Decisao decisao)
{
    switch (decisao) {
    case Decisao::adiado:
        return QStringLiteral("Adiado");
    case Decisao::ignorado:
        return QStringLiteral("Ignorado");
    case Decisao::novo:
    case Decisao::resolvido:
        break;
    }
    return {};
}

// Which file this one repeats is what decides whether it can go: that badge comes first, so a
// narrow row never folds it into "+N". The others keep the item's order.
std::vector<const Selo*> selosNaOrdemDaLinha(const ItemTriado& item)
{
    std::vector<const Selo*> selos;
    for (const Selo& selo : item.selos()) {
        selos.push_back(&selo);
    }
    std::stable_partition(
        selos.begin(), selos.end(), [](const Selo* selo) { return selo->caso() == Selo::Caso::copiaIdentica; });
    return selos;
}

} // namespace

QString ModeloDeArquivos::estadoDe(const std::string& id) const
{
    // A file this window moved to the Trash says so first: its decision is gone with it.
    return modelo_.estaNaLixeira(id) ? QStringLiteral("Na Lixeira") : tarrafa::app::estadoDe(modelo_.decisao(id));
}

ModeloDeArquivos::ModeloDeArquivos(const Modelo& modelo, QObject* parent)
    : QAbstractListModel(parent)
    , modelo_(modelo)
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
        return QString::fromStdString(Escapes::paraJanela(it.nome()));
    case Qt::ToolTipRole: {
        // Everything the row may not have room for: the whole name, the state, every badge.
        QStringList linhas {QString::fromStdString(Escapes::paraJanela(it.nome()))};
        if (const QString estado = estadoDe(it.id()); !estado.isEmpty()) {
            linhas.append(estado);
        }
        for (const Selo& selo : it.selos()) {
            linhas.append(rotuloNaJanela(selo));
        }
        return linhas.join(QLatin1Char('\n'));
    }
    case PapelEstado:
        return estadoDe(it.id());
    case Qt::AccessibleTextRole: {
        QStringList partes {QString::fromStdString(Escapes::paraJanela(it.nome()))};
        if (const QString estado = estadoDe(it.id()); !estado.isEmpty()) {
            partes.append(estado);
        }
        for (const Selo& selo : it.selos()) {
            partes.append(rotuloNaJanela(selo));
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
        for (const Selo* selo : selosNaOrdemDaLinha(it)) {
            rotulos.append(rotuloNaJanela(*selo));
        }
        return rotulos;
    }
    case PapelTons: {
        QVariantList tons;
        for (const Selo* selo : selosNaOrdemDaLinha(it)) {
            tons.append(static_cast<int>(selo->tom()));
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
    nomes.insert(PapelEstado, "estado");
    return nomes;
}

void ModeloDeArquivos::estadosMudaram()
{
    if (!itens_.empty()) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1),
            {PapelEstado, Qt::ToolTipRole, Qt::AccessibleTextRole});
    }
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
