// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Aviso.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace tarrafa::app {

namespace {

constexpr int kSimbolo = 16;
constexpr qreal kRaio = 12;
constexpr qreal kOpacidadeDoFundo = 0.1;

} // namespace

Aviso::Aviso(QWidget* parent)
    : QWidget(parent)
    , simbolo_(new QLabel(this))
    , texto_(new QLabel(this))
{
    setObjectName(QStringLiteral("aviso"));
    texto_->setObjectName(QStringLiteral("textoDoAviso"));
    texto_->setWordWrap(true);
    texto_->setTextFormat(Qt::PlainText);
    texto_->setFont(aparencia::fonte(aparencia::kCorpo));
    texto_->setTextInteractionFlags(Qt::TextSelectableByMouse);

    // The symbol sits level with the first line of the text, however many lines follow.
    const int ajuste = std::max(0, (texto_->fontMetrics().height() - kSimbolo) / 2);
    simbolo_->setObjectName(QStringLiteral("simboloDoAviso"));
    simbolo_->setFixedSize(kSimbolo, kSimbolo + ajuste);
    simbolo_->setAlignment(Qt::AlignBottom | Qt::AlignHCenter);

    auto* linha = new QHBoxLayout(this);
    linha->setContentsMargins(14, 14, 14, 14);
    linha->setSpacing(10);
    linha->addWidget(simbolo_, 0, Qt::AlignTop);
    linha->addWidget(texto_, 1, Qt::AlignTop);
    atualizarSimbolo();
}

QString Aviso::texto() const
{
    return texto_->text();
}

void Aviso::setTexto(const QString& texto)
{
    texto_->setText(texto);
    setAccessibleDescription(texto);
}

void Aviso::atualizarSimbolo()
{
    simbolo_->setPixmap(tingido(
        simbolo(u"info.circle"), QSize(kSimbolo, kSimbolo), devicePixelRatioF(), aparencia::azul(palette())));
}

void Aviso::paintEvent(QPaintEvent*)
{
    QPainter pintor(this);
    pintor.setRenderHint(QPainter::Antialiasing);
    QPainterPath fundo;
    fundo.addRoundedRect(QRectF(rect()), kRaio, kRaio);
    pintor.fillPath(fundo, aparencia::comOpacidade(aparencia::azul(palette()), kOpacidadeDoFundo));
}

void Aviso::changeEvent(QEvent* evento)
{
    if (evento->type() == QEvent::PaletteChange) {
        atualizarSimbolo();
    }
    QWidget::changeEvent(evento);
}

} // namespace tarrafa::app
