// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLayout>
#include <QList>

namespace tarrafa::app {

// Lays its widgets out left to right and starts a new line when the next one would not fit, so
// that a row of buttons wraps instead of clipping its labels in a narrow window. After addMola(),
// the items that follow are pushed to the right end of whichever line they land on, as a
// stretch would push them in a single row.
class Fluxo final : public QLayout {
public:
    Fluxo(QWidget* pai, int espacoEntreItens, int espacoEntreLinhas);
    ~Fluxo() override;

    Fluxo(const Fluxo&) = delete;
    Fluxo& operator=(const Fluxo&) = delete;

    void addMola();

    void addItem(QLayoutItem* item) override;
    [[nodiscard]] QLayoutItem* itemAt(int indice) const override;
    QLayoutItem* takeAt(int indice) override;
    [[nodiscard]] int count() const override;
    [[nodiscard]] Qt::Orientations expandingDirections() const override;
    [[nodiscard]] bool hasHeightForWidth() const override;
    [[nodiscard]] int heightForWidth(int largura) const override;
    // Everything on one line.
    [[nodiscard]] QSize sizeHint() const override;
    // The widest item alone, one line high: a line can always hold one.
    [[nodiscard]] QSize minimumSize() const override;
    void setGeometry(const QRect& area) override;

private:
    // Places the items within the area (only measuring when aplicar is false); the height used.
    int dispor(const QRect& area, bool aplicar) const;

    QList<QLayoutItem*> itens_;
    int primeiroAposAMola_ = -1;
    int espacoEntreItens_;
    int espacoEntreLinhas_;
};

} // namespace tarrafa::app
