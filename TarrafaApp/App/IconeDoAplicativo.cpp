// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/IconeDoAplicativo.hpp"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace tarrafa::app {

namespace {

// Drawn on a 128-unit square, the same geometry as the installed scalable icon.
QPixmap desenhar(int lado)
{
    QPixmap imagem(lado, lado);
    imagem.fill(Qt::transparent);
    QPainter pintor(&imagem);
    pintor.setRenderHint(QPainter::Antialiasing);
    pintor.scale(lado / 128.0, lado / 128.0);

    QLinearGradient fundo(0, 8, 0, 120);
    fundo.setColorAt(0, QColor(0x3a, 0x8d, 0xde));
    fundo.setColorAt(1, QColor(0x1a, 0x5f, 0xb4));
    QPainterPath quadrado;
    quadrado.addRoundedRect(QRectF(8, 8, 112, 112), 24, 24);
    pintor.fillPath(quadrado, fundo);

    // The net: a bell hanging from one point, with its mesh.
    QPen fio(QColor(255, 255, 255, 235), 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    pintor.setPen(fio);
    pintor.setBrush(Qt::NoBrush);
    const QPointF topo(64, 24);
    QPainterPath sino;
    sino.moveTo(topo);
    sino.cubicTo(QPointF(46, 44), QPointF(30, 70), QPointF(24, 92));
    sino.moveTo(topo);
    sino.cubicTo(QPointF(82, 44), QPointF(98, 70), QPointF(104, 92));
    pintor.drawPath(sino);
    QPainterPath borda;
    borda.moveTo(24, 92);
    borda.quadTo(64, 104, 104, 92);
    pintor.drawPath(borda);

    fio.setWidthF(2.5);
    fio.setColor(QColor(255, 255, 255, 170));
    pintor.setPen(fio);
    for (const qreal x : {44.0, 64.0, 84.0}) {
        QPainterPath raio;
        raio.moveTo(topo);
        raio.quadTo(QPointF(x, 60), QPointF(x + (x - 64) * 0.35, 98));
        pintor.drawPath(raio);
    }
    for (const qreal y : {48.0, 70.0}) {
        const qreal meio = (y - 24) / 68 * 40 + 4;
        QPainterPath malha;
        malha.moveTo(64 - meio, y);
        malha.quadTo(64, y + 8, 64 + meio, y);
        pintor.drawPath(malha);
    }
    return imagem;
}

} // namespace

QIcon iconeDoAplicativo()
{
    QIcon desenhado;
    for (const int lado : {16, 24, 32, 48, 64, 128, 256}) {
        desenhado.addPixmap(desenhar(lado));
    }
    return QIcon::fromTheme(QString::fromLatin1(kIdDoAplicativo), desenhado);
}

} // namespace tarrafa::app
