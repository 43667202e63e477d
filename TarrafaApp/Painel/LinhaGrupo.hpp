// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRect>
#include <QString>
#include <QStyledItemDelegate>

namespace tarrafa::app {

// Draws one origin group as a card: its label and summary on the left, the item count in
// a large serif with "item" or "itens" under it on the right, then a chevron; a hairline
// rounded frame around it all. The whole card is the click target.
class LinhaGrupo final : public QStyledItemDelegate {
    Q_OBJECT

public:
    // Between two cards.
    static constexpr int kEntreCartoes = 8;

    // Where each part of a card goes, for a given row rectangle; paint() draws exactly this.
    struct Disposicao {
        QRect cartao;
        QRect rotulo;
        QString rotuloVisivel;
        QRect resumo;
        QString resumoVisivel;
        QRect total;
        QRect unidade;
        QRect chevron;
    };

    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] Disposicao dispor(const QStyleOptionViewItem& opcao, const QModelIndex& indice) const;
    // The height of a card, without the space after it.
    [[nodiscard]] static int alturaDoCartao();

    void paint(QPainter* pintor, const QStyleOptionViewItem& opcao, const QModelIndex& indice) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& opcao, const QModelIndex& indice) const override;
};

} // namespace tarrafa::app
