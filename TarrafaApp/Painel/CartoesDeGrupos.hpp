// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QListView>

namespace tarrafa::app {

class LinhaGrupo;
class ModeloDeGrupos;

// The group cards, drawn by a delegate so that only the cards on screen cost anything. The
// view is as tall as all its cards and scrolls with the page around it; a click (or Enter)
// on a card asks to open its group.
class CartoesDeGrupos final : public QListView {
    Q_OBJECT

public:
    explicit CartoesDeGrupos(QWidget* parent = nullptr);

    [[nodiscard]] ModeloDeGrupos& grupos() const noexcept { return *grupos_; }
    [[nodiscard]] LinhaGrupo& delegado() const noexcept { return *delegado_; }
    // The card of a row, in the view's viewport coordinates (without the space after it).
    [[nodiscard]] QRect retanguloDoCartao(int linha) const;

    // Whether the current card should show the focus ring: only when the keyboard brought
    // the focus here, not after a click (which opens the group anyway).
    [[nodiscard]] bool focoPeloTeclado() const noexcept { return focoPeloTeclado_; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    // The origin key of the card the person chose.
    void grupoEscolhido(const QString& chave);

protected:
    void mousePressEvent(QMouseEvent* evento) override;
    void mouseReleaseEvent(QMouseEvent* evento) override;
    void keyPressEvent(QKeyEvent* evento) override;
    void focusInEvent(QFocusEvent* evento) override;
    void wheelEvent(QWheelEvent* evento) override;

private:
    [[nodiscard]] QModelIndex cartaoEm(const QPoint& ponto) const;
    void escolher(const QModelIndex& indice);

    ModeloDeGrupos* grupos_;
    LinhaGrupo* delegado_;
    QPersistentModelIndex pressionado_;
    bool focoPeloTeclado_ = false;
};

} // namespace tarrafa::app
