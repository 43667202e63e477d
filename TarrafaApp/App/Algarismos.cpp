// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/Algarismos.hpp"

#include <QPainter>
#include <QRectF>

#include <algorithm>

namespace tarrafa::app {

namespace {

qreal larguraDoAlgarismo(const QFontMetricsF& metricas)
{
    qreal maior = 0;
    for (char16_t c = u'0'; c <= u'9'; ++c) {
        maior = std::max(maior, metricas.horizontalAdvance(QChar(c)));
    }
    return maior;
}

} // namespace

qreal larguraTabular(const QFontMetricsF& metricas, const QString& texto)
{
    const qreal celula = larguraDoAlgarismo(metricas);
    qreal largura = 0;
    for (const QChar c : texto) {
        largura += c.isDigit() ? celula : metricas.horizontalAdvance(c);
    }
    return largura;
}

void desenharTabular(
    QPainter& pintor, const QRectF& retangulo, Qt::Alignment alinhamento, const QString& texto)
{
    const QFontMetricsF metricas(pintor.font());
    const qreal celula = larguraDoAlgarismo(metricas);
    const qreal largura = larguraTabular(metricas, texto);
    qreal x = retangulo.left();
    if (alinhamento & Qt::AlignRight) {
        x = retangulo.right() - largura;
    } else if (alinhamento & Qt::AlignHCenter) {
        x = retangulo.center().x() - largura / 2;
    }
    const qreal linhaDeBase = retangulo.center().y() + (metricas.ascent() - metricas.descent()) / 2;
    for (const QChar c : texto) {
        const qreal avanco = metricas.horizontalAdvance(c);
        if (c.isDigit()) {
            pintor.drawText(QPointF(x + (celula - avanco) / 2, linhaDeBase), QString(c));
            x += celula;
        } else {
            pintor.drawText(QPointF(x, linhaDeBase), QString(c));
            x += avanco;
        }
    }
}

} // namespace tarrafa::app
