// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFontMetricsF>
#include <QString>

class QPainter;
class QRectF;

namespace tarrafa::app {

// Numbers whose digits all take the same width, so counts stacked in a column line up
// and do not shift as they change. Qt 6.4 cannot ask the font for its tabular figures,
// so every digit is placed in a cell as wide as the widest digit of the font.
[[nodiscard]] qreal larguraTabular(const QFontMetricsF& metricas, const QString& texto);
// Draws texto in the rectangle, placed left, centred or right as alinhamento says, and
// vertically centred.
void desenharTabular(
    QPainter& pintor, const QRectF& retangulo, Qt::Alignment alinhamento, const QString& texto);

} // namespace tarrafa::app
