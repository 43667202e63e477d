// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Qt before the core headers: moc reads <compare> correctly only after Qt's configuration.
#include <QColor>
#include <QFont>
#include <QSize>
#include <QString>
#include <QWidget>

#include "TarrafaCore/Selo.hpp"

class QPainter;
class QRect;

namespace tarrafa::app {

// A badge chip: the badge's label in its tone's colour over a pill of the same colour,
// faint. Drawn by the file list's delegate for every row and by SeloView on its own.
namespace chip {

[[nodiscard]] QFont fonte();
[[nodiscard]] QSize tamanho(const QFontMetrics& metricas, const QString& rotulo);
// cor is the text colour; the pill is the same colour at the badge background opacity,
// over fundo, what lies under the chip. The text is brought to a readable contrast on the
// pill; where a tint would leave it too faint (light text on a selection), the pill is an
// outline instead.
void desenhar(QPainter& pintor, const QRect& retangulo, const QString& rotulo, const QColor& cor,
    const QColor& fundo);

} // namespace chip

// The badge's label as the window shows it: the original's name in "cópia idêntica de …"
// comes from a stranger, and its controls and direction marks are made visible like every
// name in the window.
[[nodiscard]] QString rotuloNaJanela(const Selo& selo);

// One badge as a widget, where a chip stands alone rather than inside a list row.
class SeloView final : public QWidget {
    Q_OBJECT

public:
    explicit SeloView(Selo selo, QWidget* parent = nullptr);

    [[nodiscard]] const Selo& selo() const noexcept { return selo_; }
    [[nodiscard]] QString rotulo() const;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* evento) override;

private:
    Selo selo_;
};

} // namespace tarrafa::app
