// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

namespace tarrafa::app {

// Paints one sidebar row: the symbol, the title on one line and, at the end, the count in
// the secondary colour with digits of equal width; or the "Origens" section header.
class DelegadoDaBarraLateral final : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* pintor, const QStyleOptionViewItem& opcao, const QModelIndex& indice) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& opcao, const QModelIndex& indice) const override;
};

} // namespace tarrafa::app
