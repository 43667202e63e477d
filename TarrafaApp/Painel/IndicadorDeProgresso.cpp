// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/IndicadorDeProgresso.hpp"

#include <QPainter>
#include <QTimerEvent>

namespace tarrafa::app {

namespace {

constexpr int kRaios = 12;
constexpr int kLado = 32;
constexpr int kIntervaloMs = 80;

} // namespace

IndicadorDeProgresso::IndicadorDeProgresso(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("indicadorDeProgresso"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    setAccessibleName(QStringLiteral("Varrendo a pasta"));
    setFixedSize(sizeHint());
}

QSize IndicadorDeProgresso::sizeHint() const
{
    return {kLado, kLado};
}

void IndicadorDeProgresso::showEvent(QShowEvent* evento)
{
    QWidget::showEvent(evento);
    relogio_.start(kIntervaloMs, this);
}

void IndicadorDeProgresso::hideEvent(QHideEvent* evento)
{
    relogio_.stop();
    QWidget::hideEvent(evento);
}

void IndicadorDeProgresso::timerEvent(QTimerEvent* evento)
{
    if (evento->timerId() != relogio_.timerId()) {
        QWidget::timerEvent(evento);
        return;
    }
    passo_ = (passo_ + 1) % kRaios;
    update();
}

void IndicadorDeProgresso::paintEvent(QPaintEvent*)
{
    QPainter pintor(this);
    pintor.setRenderHint(QPainter::Antialiasing);
    pintor.translate(rect().center() + QPointF(0.5, 0.5));
    const qreal raio = kLado / 2.0;
    QPen caneta(palette().color(QPalette::WindowText));
    caneta.setWidthF(kLado / 11.0);
    caneta.setCapStyle(Qt::RoundCap);
    for (int i = 0; i < kRaios; ++i) {
        // The spoke at the current step is the darkest; the ones behind it fade out.
        const int atras = (passo_ - i + kRaios) % kRaios;
        QColor cor = caneta.color();
        cor.setAlphaF(static_cast<float>(0.85 - 0.65 * atras / (kRaios - 1)));
        caneta.setColor(cor);
        pintor.setPen(caneta);
        pintor.save();
        pintor.rotate(360.0 * i / kRaios);
        pintor.drawLine(QPointF(0, -raio * 0.5), QPointF(0, -raio * 0.9));
        pintor.restore();
    }
}

} // namespace tarrafa::app
