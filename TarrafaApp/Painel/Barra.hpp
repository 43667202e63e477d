// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QWidget>

#include <optional>

namespace tarrafa::app {

// One labelled percentage of the diagnostics: the label and the big figure on one
// baseline, a thin capsule filled to the percentage, and the absolute figures below.
class Barra final : public QWidget {
    Q_OBJECT

public:
    explicit Barra(QWidget* parent = nullptr);

    // cor absent: the palette's text colour, followed when the palette changes.
    void mostrar(const QString& nome, int pct, const QString& abs, std::optional<QColor> cor);

    [[nodiscard]] const QString& nome() const noexcept { return nome_; }
    [[nodiscard]] int pct() const noexcept { return pct_; }
    // The figure as shown: "37%".
    [[nodiscard]] QString textoDoPct() const;
    [[nodiscard]] const QString& abs() const noexcept { return abs_; }
    [[nodiscard]] QColor cor() const;
    // Width of the filled part for a track of the given width (not clamped to it).
    [[nodiscard]] static qreal larguraPreenchida(qreal trilho, int pct);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* evento) override;

private:
    QString nome_;
    int pct_ = 0;
    QString abs_;
    std::optional<QColor> cor_;
};

} // namespace tarrafa::app
