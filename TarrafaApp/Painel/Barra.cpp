// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Barra.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace tarrafa::app {

namespace {

constexpr int kEspaco = 7;
constexpr int kAltura = 7; // of the capsule
constexpr int kEntreNomeEPct = 12;

QFont fonteDoNome()
{
    return aparencia::fonte(14);
}

QFont fonteDoPct()
{
    return aparencia::fonteSerifada(26);
}

QFont fonteDoAbs()
{
    return aparencia::fonte(aparencia::kLegendaMenor);
}

// The top row: both texts on one baseline, so its height is the larger ascent plus the
// larger descent.
struct Linha {
    int subida;
    int altura;
};

Linha linhaDeCima()
{
    const QFontMetrics nome(fonteDoNome());
    const QFontMetrics pct(fonteDoPct());
    const int subida = std::max(nome.ascent(), pct.ascent());
    return {subida, subida + std::max(nome.descent(), pct.descent())};
}

void capsula(QPainter& pintor, const QRectF& retangulo, const QColor& cor)
{
    QPainterPath caminho;
    caminho.addRoundedRect(retangulo, retangulo.height() / 2, retangulo.height() / 2);
    pintor.fillPath(caminho, cor);
}

} // namespace

Barra::Barra(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Barra::mostrar(const QString& nome, int pct, const QString& abs, std::optional<QColor> cor)
{
    nome_ = nome;
    pct_ = pct;
    abs_ = abs;
    cor_ = cor;
    setAccessibleName(nome_);
    setAccessibleDescription(textoDoPct() + QStringLiteral(", ") + abs_);
    setToolTip(abs_);
    updateGeometry();
    update();
}

QString Barra::textoDoPct() const
{
    return QString::number(pct_) + QLatin1Char('%');
}

QColor Barra::cor() const
{
    return cor_.value_or(palette().color(QPalette::WindowText));
}

qreal Barra::larguraPreenchida(qreal trilho, int pct)
{
    return trilho * pct / 100.0;
}

QSize Barra::sizeHint() const
{
    const int altura
        = linhaDeCima().altura + kEspaco + kAltura + kEspaco + QFontMetrics(fonteDoAbs()).height();
    const int largura = QFontMetrics(fonteDoNome()).horizontalAdvance(nome_) + kEntreNomeEPct
        + QFontMetrics(fonteDoPct()).horizontalAdvance(textoDoPct());
    return {largura, altura};
}

QSize Barra::minimumSizeHint() const
{
    return {120, sizeHint().height()};
}

void Barra::paintEvent(QPaintEvent*)
{
    QPainter pintor(this);
    pintor.setRenderHint(QPainter::Antialiasing);
    pintor.setRenderHint(QPainter::TextAntialiasing);
    const Linha linha = linhaDeCima();
    const int largura = width();

    const QString pct = textoDoPct();
    const QFontMetrics metricasDoPct(fonteDoPct());
    const int larguraDoPct = metricasDoPct.horizontalAdvance(pct);
    pintor.setPen(palette().color(QPalette::WindowText));
    pintor.setFont(fonteDoPct());
    pintor.drawText(QPoint(largura - larguraDoPct, linha.subida), pct);

    pintor.setFont(fonteDoNome());
    const QString nome
        = QFontMetrics(fonteDoNome())
              .elidedText(nome_, Qt::ElideRight, std::max(0, largura - larguraDoPct - kEntreNomeEPct));
    pintor.drawText(QPoint(0, linha.subida), nome);

    const QRectF trilho(0, linha.altura + kEspaco, largura, kAltura);
    capsula(pintor, trilho, aparencia::preenchimentoQuaternario(palette()));
    const qreal preenchido = larguraPreenchida(trilho.width(), pct_);
    if (preenchido > 0) {
        // A sliver narrower than the capsule's height still reads as a rounded start.
        capsula(pintor, QRectF(trilho.left(), trilho.top(), std::max(preenchido, qreal(kAltura)), kAltura),
            cor());
    }

    pintor.setFont(fonteDoAbs());
    pintor.setPen(aparencia::secundaria(palette()));
    const QFontMetrics metricasDoAbs(fonteDoAbs());
    const int topoDoAbs = static_cast<int>(trilho.bottom()) + kEspaco;
    pintor.drawText(QRect(0, topoDoAbs, largura, metricasDoAbs.height()), Qt::AlignLeft | Qt::AlignVCenter,
        metricasDoAbs.elidedText(abs_, Qt::ElideRight, largura));
}

} // namespace tarrafa::app
