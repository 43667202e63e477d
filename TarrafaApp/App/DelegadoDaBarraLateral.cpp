// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/DelegadoDaBarraLateral.hpp"

#include "TarrafaApp/App/Algarismos.hpp"
#include "TarrafaApp/App/LinhasDaBarraLateral.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace tarrafa::app {

namespace {

// Row geometry, in device-independent pixels.
constexpr int kMargemDaLinha = 6; // between the view's edge and the row's rounded highlight
constexpr int kRecuo = 10; // inside the highlight, before the symbol and after the count
constexpr int kSimbolo = 16;
constexpr int kEntreSimboloETitulo = 8;
constexpr int kEntreTituloEContagem = 8;
constexpr qreal kRaio = 6;

bool ehCabecalho(const QModelIndex& indice)
{
    return indice.data(LinhasDaBarraLateral::PapelCabecalho).toBool();
}

QFont fonteDoCabecalho(QFont fonte)
{
    fonte.setPointSizeF(fonte.pointSizeF() * 0.85);
    fonte.setWeight(QFont::DemiBold);
    return fonte;
}

} // namespace

QSize DelegadoDaBarraLateral::sizeHint(const QStyleOptionViewItem& opcao, const QModelIndex& indice) const
{
    if (ehCabecalho(indice)) {
        const QFontMetrics metricas(fonteDoCabecalho(opcao.font));
        return {0, metricas.height() + 18};
    }
    const QFontMetrics metricas(opcao.font);
    return {0, std::max(metricas.height(), kSimbolo) + 16};
}

void DelegadoDaBarraLateral::paint(
    QPainter* pintor, const QStyleOptionViewItem& opcao, const QModelIndex& indice) const
{
    const QPalette& paleta = opcao.palette;
    const QPalette::ColorGroup grupo
        = (opcao.state & QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
    pintor->save();
    pintor->setRenderHint(QPainter::Antialiasing);
    pintor->setRenderHint(QPainter::TextAntialiasing);

    if (ehCabecalho(indice)) {
        pintor->setFont(fonteDoCabecalho(opcao.font));
        // The header row is not selectable, so its option says "disabled": its text takes the
        // active colours all the same, or it would fade to 1.3:1 against the sidebar.
        QPalette ativa = paleta;
        ativa.setCurrentColorGroup(grupo);
        pintor->setPen(aparencia::secundaria(ativa));
        const QRect texto = opcao.rect.adjusted(kMargemDaLinha + kRecuo, 0, -kMargemDaLinha - kRecuo, -4);
        pintor->drawText(texto, Qt::AlignLeft | Qt::AlignBottom | Qt::TextSingleLine,
            pintor->fontMetrics().elidedText(indice.data().toString(), Qt::ElideRight, texto.width()));
        pintor->restore();
        return;
    }

    const bool selecionada = opcao.state & QStyle::State_Selected;
    const QRectF fundo = QRectF(opcao.rect).adjusted(kMargemDaLinha, 1, -kMargemDaLinha, -1);
    if (selecionada) {
        QPainterPath caminho;
        caminho.addRoundedRect(fundo, kRaio, kRaio);
        pintor->fillPath(caminho, aparencia::realce(paleta, grupo));
    } else if (opcao.state & QStyle::State_MouseOver) {
        QColor realce = paleta.color(grupo, QPalette::WindowText);
        realce.setAlphaF(0.07f);
        QPainterPath caminho;
        caminho.addRoundedRect(fundo, kRaio, kRaio);
        pintor->fillPath(caminho, realce);
    }
    // The row with the keyboard focus is ringed, selected or not: the arrows must show where
    // they are.
    if (opcao.state & QStyle::State_HasFocus) {
        QPainterPath anel;
        anel.addRoundedRect(fundo.adjusted(1, 1, -1, -1), kRaio, kRaio);
        const QColor cor = selecionada ? paleta.color(grupo, QPalette::HighlightedText)
                                       : paleta.color(grupo, QPalette::Highlight);
        pintor->setPen(QPen(cor, 2));
        pintor->drawPath(anel);
    }
    const QPalette::ColorRole papelDoTexto = selecionada ? QPalette::HighlightedText : QPalette::WindowText;
    const QColor corDoTexto = paleta.color(grupo, papelDoTexto);

    const int meio = opcao.rect.center().y();
    int x = static_cast<int>(fundo.left()) + kRecuo;
    const QString nomeDoSimbolo = indice.data(LinhasDaBarraLateral::PapelSimbolo).toString();
    if (!nomeDoSimbolo.isEmpty()) {
        const QIcon icone = simbolo(nomeDoSimbolo);
        icone.paint(pintor, QRect(x, meio - kSimbolo / 2, kSimbolo, kSimbolo), Qt::AlignCenter,
            selecionada ? QIcon::Selected : QIcon::Normal);
    }
    x += kSimbolo + kEntreSimboloETitulo;

    int direita = static_cast<int>(fundo.right()) - kRecuo;
    pintor->setFont(opcao.font);
    const QVariant contagem = indice.data(LinhasDaBarraLateral::PapelContagem);
    if (contagem.isValid()) {
        const QString numero = aparencia::contagem(contagem.toInt());
        const qreal largura = larguraTabular(QFontMetricsF(opcao.font), numero);
        pintor->setPen(selecionada
                ? aparencia::legivel(aparencia::comOpacidade(corDoTexto, 0.85), aparencia::realce(paleta, grupo))
                : aparencia::secundaria(paleta));
        desenharTabular(*pintor, QRectF(direita - largura, opcao.rect.top(), largura, opcao.rect.height()),
            Qt::AlignRight, numero);
        direita -= static_cast<int>(std::ceil(largura)) + kEntreTituloEContagem;
    }

    pintor->setPen(corDoTexto);
    const QRect areaDoTitulo(x, opcao.rect.top(), std::max(0, direita - x), opcao.rect.height());
    pintor->drawText(areaDoTitulo, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        pintor->fontMetrics().elidedText(indice.data().toString(), Qt::ElideRight, areaDoTitulo.width()));
    pintor->restore();
}

} // namespace tarrafa::app
