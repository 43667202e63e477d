// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/LinhaGrupo.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/CartoesDeGrupos.hpp"
#include "TarrafaApp/Painel/ModeloDeGrupos.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace tarrafa::app {

namespace {

constexpr int kRecuo = 14;
constexpr int kEspaco = 14;
constexpr int kEntreRotuloEResumo = 3;
constexpr int kChevron = 13;
constexpr qreal kRaio = 12;

QFont fonteDoRotulo()
{
    return aparencia::fonte(15, QFont::DemiBold);
}

QFont fonteDoResumo()
{
    return aparencia::fonte(aparencia::kCorpo);
}

QFont fonteDoTotal()
{
    return aparencia::fonteSerifada(22);
}

QFont fonteDaUnidade()
{
    return aparencia::fonte(aparencia::kLegendaMenor);
}

int alturaDaEsquerda()
{
    return QFontMetrics(fonteDoRotulo()).height() + kEntreRotuloEResumo
        + QFontMetrics(fonteDoResumo()).height();
}

int alturaDaDireita()
{
    return QFontMetrics(fonteDoTotal()).height() + QFontMetrics(fonteDaUnidade()).height();
}

} // namespace

int LinhaGrupo::alturaDoCartao()
{
    return kRecuo + std::max({alturaDaEsquerda(), alturaDaDireita(), kChevron}) + kRecuo;
}

QSize LinhaGrupo::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    return {0, alturaDoCartao() + kEntreCartoes};
}

LinhaGrupo::Disposicao LinhaGrupo::dispor(const QStyleOptionViewItem& opcao, const QModelIndex& indice) const
{
    Disposicao d;
    d.cartao = QRect(opcao.rect.left(), opcao.rect.top(), opcao.rect.width(), alturaDoCartao());
    const QRect area = d.cartao.adjusted(kRecuo, kRecuo, -kRecuo, -kRecuo);
    const int meio = area.center().y();

    d.chevron = QRect(area.right() + 1 - kChevron, meio - kChevron / 2, kChevron, kChevron);

    const QFontMetrics metricasDoTotal(fonteDoTotal());
    const QFontMetrics metricasDaUnidade(fonteDaUnidade());
    const QString total = aparencia::contagem(indice.data(ModeloDeGrupos::PapelTotal).toInt());
    const QString unidade = indice.data(ModeloDeGrupos::PapelUnidade).toString();
    const int larguraDaDireita
        = std::max(metricasDoTotal.horizontalAdvance(total), metricasDaUnidade.horizontalAdvance(unidade));
    const int direita = d.chevron.left() - kEspaco;
    const int topoDaDireita = meio - alturaDaDireita() / 2;
    d.total = QRect(direita - larguraDaDireita, topoDaDireita, larguraDaDireita, metricasDoTotal.height());
    d.unidade = QRect(d.total.left(), d.total.bottom() + 1, larguraDaDireita, metricasDaUnidade.height());

    // The flexible space between the two stacks shrinks first; then the texts are shortened.
    const int larguraDaEsquerda = std::max(0, d.total.left() - kEspaco - area.left());
    const QFontMetrics metricasDoRotulo(fonteDoRotulo());
    const QFontMetrics metricasDoResumo(fonteDoResumo());
    const int topoDaEsquerda = meio - alturaDaEsquerda() / 2;
    d.rotuloVisivel
        = metricasDoRotulo.elidedText(indice.data().toString(), Qt::ElideRight, larguraDaEsquerda);
    d.rotulo = QRect(area.left(), topoDaEsquerda, larguraDaEsquerda, metricasDoRotulo.height());
    d.resumoVisivel = metricasDoResumo.elidedText(
        indice.data(ModeloDeGrupos::PapelResumo).toString(), Qt::ElideRight, larguraDaEsquerda);
    d.resumo = QRect(area.left(), d.rotulo.bottom() + 1 + kEntreRotuloEResumo, larguraDaEsquerda,
        metricasDoResumo.height());
    return d;
}

void LinhaGrupo::paint(QPainter* pintor, const QStyleOptionViewItem& opcao, const QModelIndex& indice) const
{
    const Disposicao d = dispor(opcao, indice);
    const QPalette& paleta = opcao.palette;
    pintor->save();
    pintor->setRenderHint(QPainter::Antialiasing);
    pintor->setRenderHint(QPainter::TextAntialiasing);

    // The frame is drawn inside the card's shape.
    const QRectF moldura = QRectF(d.cartao).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath forma;
    forma.addRoundedRect(moldura, kRaio, kRaio);
    QColor chao = paleta.color(QPalette::Window);
    if (opcao.state & QStyle::State_MouseOver) {
        const QColor sombra = aparencia::comOpacidade(paleta.color(QPalette::WindowText), 0.04);
        pintor->fillPath(forma, sombra);
        chao = aparencia::sobre(sombra, chao);
    }
    const auto* cartoes = qobject_cast<const CartoesDeGrupos*>(opcao.widget);
    const bool focado = (opcao.state & QStyle::State_HasFocus) && cartoes && cartoes->focoPeloTeclado();
    pintor->setPen(
        focado ? QPen(paleta.color(QPalette::Highlight), 2) : QPen(aparencia::separador(paleta), 1));
    pintor->setBrush(Qt::NoBrush);
    pintor->drawPath(forma);

    const QColor texto = paleta.color(QPalette::WindowText);
    pintor->setPen(texto);
    pintor->setFont(fonteDoRotulo());
    pintor->drawText(d.rotulo, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, d.rotuloVisivel);
    pintor->setPen(aparencia::secundariaSobre(paleta, chao));
    pintor->setFont(fonteDoResumo());
    pintor->drawText(d.resumo, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, d.resumoVisivel);

    pintor->setPen(texto);
    pintor->setFont(fonteDoTotal());
    pintor->drawText(d.total, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextSingleLine,
        aparencia::contagem(indice.data(ModeloDeGrupos::PapelTotal).toInt()));
    pintor->setPen(aparencia::secundariaSobre(paleta, chao));
    pintor->setFont(fonteDaUnidade());
    pintor->drawText(d.unidade, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextSingleLine,
        indice.data(ModeloDeGrupos::PapelUnidade).toString());

    pintor->setOpacity(aparencia::kOpacidadeTerciaria);
    simbolo(u"chevron.right").paint(pintor, d.chevron);
    pintor->restore();
}

} // namespace tarrafa::app
