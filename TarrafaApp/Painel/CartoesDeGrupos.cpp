// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/CartoesDeGrupos.hpp"

#include "TarrafaApp/Painel/LinhaGrupo.hpp"
#include "TarrafaApp/Painel/ModeloDeGrupos.hpp"

#include <QAbstractScrollArea>
#include <QCoreApplication>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

namespace tarrafa::app {

CartoesDeGrupos::CartoesDeGrupos(QWidget* parent)
    : QListView(parent)
    , grupos_(new ModeloDeGrupos(this))
    , delegado_(new LinhaGrupo(this))
{
    setObjectName(QStringLiteral("cartoesDeGrupos"));
    setAccessibleName(QStringLiteral("Origens"));
    setModel(grupos_);
    setItemDelegate(delegado_);
    setUniformItemSizes(true);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    // The cards lie on the panel's ground, not on a list's.
    setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    connect(grupos_, &QAbstractItemModel::modelReset, this, &QWidget::updateGeometry);
}

QSize CartoesDeGrupos::sizeHint() const
{
    const int linhas = grupos_->rowCount();
    const int altura = linhas == 0
        ? 0
        : linhas * (LinhaGrupo::alturaDoCartao() + LinhaGrupo::kEntreCartoes) - LinhaGrupo::kEntreCartoes;
    return {QListView::sizeHint().width(), altura};
}

QSize CartoesDeGrupos::minimumSizeHint() const
{
    return {0, sizeHint().height()};
}

QRect CartoesDeGrupos::retanguloDoCartao(int linha) const
{
    const QRect faixa = visualRect(grupos_->index(linha));
    return QRect(faixa.left(), faixa.top(), faixa.width(), LinhaGrupo::alturaDoCartao());
}

QModelIndex CartoesDeGrupos::cartaoEm(const QPoint& ponto) const
{
    const QModelIndex indice = indexAt(ponto);
    // The space between two cards belongs to neither.
    if (!indice.isValid() || !retanguloDoCartao(indice.row()).contains(ponto)) {
        return {};
    }
    return indice;
}

void CartoesDeGrupos::escolher(const QModelIndex& indice)
{
    if (indice.isValid()) {
        Q_EMIT grupoEscolhido(indice.data(ModeloDeGrupos::PapelChave).toString());
    }
}

void CartoesDeGrupos::mousePressEvent(QMouseEvent* evento)
{
    focoPeloTeclado_ = false;
    pressionado_
        = evento->button() == Qt::LeftButton ? cartaoEm(evento->position().toPoint()) : QModelIndex();
    QListView::mousePressEvent(evento);
}

void CartoesDeGrupos::mouseReleaseEvent(QMouseEvent* evento)
{
    QListView::mouseReleaseEvent(evento);
    // A click is a press and a release on the same card, as with any button.
    if (evento->button() == Qt::LeftButton && pressionado_.isValid()
        && cartaoEm(evento->position().toPoint()) == pressionado_) {
        const QModelIndex escolhido = pressionado_;
        pressionado_ = QPersistentModelIndex();
        escolher(escolhido);
    }
}

void CartoesDeGrupos::focusInEvent(QFocusEvent* evento)
{
    focoPeloTeclado_ = evento->reason() == Qt::TabFocusReason || evento->reason() == Qt::BacktabFocusReason
        || evento->reason() == Qt::ShortcutFocusReason;
    QListView::focusInEvent(evento);
}

void CartoesDeGrupos::keyPressEvent(QKeyEvent* evento)
{
    focoPeloTeclado_ = true;
    switch (evento->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        escolher(currentIndex());
        evento->accept();
        return;
    default:
        QListView::keyPressEvent(evento);
    }
}

void CartoesDeGrupos::wheelEvent(QWheelEvent* evento)
{
    // Nothing scrolls in here: the page around the cards does.
    for (QWidget* acima = parentWidget(); acima; acima = acima->parentWidget()) {
        if (auto* pagina = qobject_cast<QAbstractScrollArea*>(acima)) {
            QCoreApplication::sendEvent(pagina->viewport(), evento);
            return;
        }
    }
    evento->ignore();
}

} // namespace tarrafa::app
