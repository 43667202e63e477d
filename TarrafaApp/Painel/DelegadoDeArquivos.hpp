// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRect>
#include <QString>
#include <QStyledItemDelegate>

#include <vector>

namespace tarrafa::app {

// Draws one file row: the folder or document symbol, the name in a fixed-width face (cut in
// the middle when it is too long, so its start and its extension stay), the badge chips,
// and the size at the far end.
class DelegadoDeArquivos final : public QStyledItemDelegate {
    Q_OBJECT

public:
    // Where each part of a row goes, for a given row rectangle; paint() draws exactly this.
    struct Disposicao {
        QRect fundo; // the rounded highlight of a selected row
        QRect simbolo;
        QRect nome;
        QString nomeVisivel; // the name as drawn, possibly shortened
        // The chips shown: the state's first ("Adiado", "Ignorado") when there is one, then
        // the identical copy's badge, then the other badges in order, as many as fit.
        std::vector<QString> rotulos;
        std::vector<QRect> selos; // one per label above
        std::vector<int> tons; // one per label: a Selo::Tom, or -1 for the state's chip
        // What did not fit: "+N", its chip, after the last one shown; empty when all fit.
        QString mais;
        QRect selosAMais;
        QRect tamanho;
    };

    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] Disposicao dispor(const QStyleOptionViewItem& opcao, const QModelIndex& indice) const;

    void paint(QPainter* pintor, const QStyleOptionViewItem& opcao, const QModelIndex& indice) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& opcao, const QModelIndex& indice) const override;
};

} // namespace tarrafa::app
