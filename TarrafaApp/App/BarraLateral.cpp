// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/BarraLateral.hpp"

#include "TarrafaApp/App/DelegadoDaBarraLateral.hpp"
#include "TarrafaApp/App/LinhasDaBarraLateral.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QItemSelectionModel>

namespace tarrafa::app {

BarraLateral::BarraLateral(Modelo& modelo, QWidget* parent)
    : QListView(parent)
    , modelo_(modelo)
    , linhas_(new LinhasDaBarraLateral(modelo, this))
{
    setObjectName(QStringLiteral("barraLateral"));
    setAccessibleName(QStringLiteral("Barra lateral"));
    setModel(linhas_);
    setItemDelegate(new DelegadoDaBarraLateral(this));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    setAttribute(Qt::WA_Hover);
    // A sidebar sits on the window's colour, set apart from the panel's content.
    setBackgroundRole(QPalette::Window);
    viewport()->setBackgroundRole(QPalette::Window);
    setSpacing(0);

    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &BarraLateral::aoMudarSelecao);
    connect(&modelo_, &Modelo::selecaoChanged, this, &BarraLateral::sincronizar);
    connect(linhas_, &LinhasDaBarraLateral::linhasRefeitas, this, &BarraLateral::sincronizar);
    sincronizar();
}

void BarraLateral::sincronizar()
{
    sincronizando_ = true;
    const QModelIndex linha = linhas_->indice(modelo_.selecao());
    if (linha.isValid()) {
        selectionModel()->setCurrentIndex(linha, QItemSelectionModel::ClearAndSelect);
        scrollTo(linha);
    } else {
        // A group that left the sidebar stays selected in the model: no row shows it.
        selectionModel()->clearSelection();
    }
    sincronizando_ = false;
}

void BarraLateral::aoMudarSelecao()
{
    if (sincronizando_) {
        return;
    }
    const QModelIndexList escolhidas = selectionModel()->selectedIndexes();
    const std::optional<Destino> destino
        = escolhidas.isEmpty() ? std::nullopt : linhas_->destino(escolhidas.first());
    if (!destino) {
        // Nothing chosen (a click on the empty area): the destination does not change.
        sincronizar();
        return;
    }
    if (!(*destino == modelo_.selecao())) {
        modelo_.setSelecao(*destino);
    }
}

} // namespace tarrafa::app
