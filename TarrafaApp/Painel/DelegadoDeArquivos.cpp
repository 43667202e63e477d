// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/DelegadoDeArquivos.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"
#include "TarrafaApp/Painel/SeloView.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include "TarrafaCore/Selo.hpp"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace tarrafa::app {

namespace {

constexpr int kMargemLateral = 10; // the inset list's rows stand off the edges
constexpr int kRecuo = 10; // inside the highlight, before the symbol and after the size
constexpr int kEspaco = 8;
constexpr int kRecuoVertical = 2; // above and below the row's content
constexpr int kRespiro = 4; // the list's own spacing around each row
constexpr int kSimbolo = 16;
constexpr qreal kRaio = 6;
// However many chips a row has, its name keeps at least this share of the room.
constexpr double kFracaoMinimaDoNome = 0.4;
constexpr qreal kOpacidadeComEstado = 0.7;

QFont fonteDoNome()
{
    return aparencia::fonteMonoespacada(13);
}

QFont fonteDoTamanho()
{
    return aparencia::fonte(aparencia::kLegenda);
}

} // namespace

QSize DelegadoDeArquivos::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    const int conteudo = std::max({QFontMetrics(fonteDoNome()).height(),
        chip::tamanho(QFontMetrics(chip::fonte()), QStringLiteral("Xg")).height(), kSimbolo,
        QFontMetrics(fonteDoTamanho()).height()});
    return {0, conteudo + 2 * kRecuoVertical + 2 * kRespiro};
}

DelegadoDeArquivos::Disposicao DelegadoDeArquivos::dispor(
    const QStyleOptionViewItem& opcao, const QModelIndex& indice) const
{
    Disposicao d;
    d.fundo = opcao.rect.adjusted(kMargemLateral, 1, -kMargemLateral, -1);
    const QRect area = d.fundo.adjusted(kRecuo, 0, -kRecuo, 0);
    const int meio = area.center().y();

    d.simbolo = QRect(area.left(), meio - kSimbolo / 2, kSimbolo, kSimbolo);

    const QFontMetrics metricasDoTamanho(fonteDoTamanho());
    const QString tamanho = indice.data(ModeloDeArquivos::PapelTamanho).toString();
    const int larguraDoTamanho = metricasDoTamanho.horizontalAdvance(tamanho);
    d.tamanho = QRect(area.right() + 1 - larguraDoTamanho, area.top(), larguraDoTamanho, area.height());

    const int inicioDoNome = d.simbolo.right() + 1 + kEspaco;
    const int fimDisponivel = d.tamanho.left() - kEspaco; // the flexible space shrinks to this
    const int livre = std::max(0, fimDisponivel - inicioDoNome);

    const QFontMetrics metricasDoNome(fonteDoNome());
    const QString nome = indice.data(Qt::DisplayRole).toString();
    const int larguraNatural
        = static_cast<int>(std::ceil(QFontMetricsF(fonteDoNome()).horizontalAdvance(nome)));

    const QFontMetrics metricasDoSelo(chip::fonte());
    std::vector<QString> rotulos;
    std::vector<int> tons; // -1 for the state's chip, which is neutral
    if (const QString estado = indice.data(ModeloDeArquivos::PapelEstado).toString(); !estado.isEmpty()) {
        rotulos.push_back(estado);
        tons.push_back(-1);
    }
    const QStringList rotulosDosSelos = indice.data(ModeloDeArquivos::PapelSelos).toStringList();
    const QVariantList tonsDosSelos = indice.data(ModeloDeArquivos::PapelTons).toList();
    // In the model's order: the identical-copy badge first.
    for (qsizetype i = 0; i < rotulosDosSelos.size(); ++i) {
        rotulos.push_back(rotulosDosSelos.at(i));
        tons.push_back(i < tonsDosSelos.size() ? tonsDosSelos.at(i).toInt() : static_cast<int>(Selo::Tom::neutro));
    }
    std::vector<QSize> selos;
    int larguraDosSelos = 0;
    for (const QString& rotulo : rotulos) {
        selos.push_back(chip::tamanho(metricasDoSelo, rotulo));
        larguraDosSelos += kEspaco + selos.back().width();
    }

    int larguraDoNome = larguraNatural;
    if (larguraNatural + larguraDosSelos > livre) {
        const int minimo = std::min(larguraNatural, static_cast<int>(livre * kFracaoMinimaDoNome));
        larguraDoNome = std::max(minimo, livre - larguraDosSelos);
    }
    larguraDoNome = std::min(larguraDoNome, livre);
    // Cut only what does not fit; a name that fits is never touched by rounding.
    d.nomeVisivel = larguraDoNome >= larguraNatural
        ? nome
        : metricasDoNome.elidedText(nome, Qt::ElideMiddle, larguraDoNome);
    const int larguraDesenhada
        = static_cast<int>(std::ceil(QFontMetricsF(fonteDoNome()).horizontalAdvance(d.nomeVisivel)));
    d.nome = QRect(inicioDoNome, area.top(), larguraDesenhada, area.height());

    // As many chips as fit, and when some do not, a "+N" chip saying how many: a badge is
    // never silently dropped (the tooltip lists them all).
    int x = d.nome.right() + 1;
    for (std::size_t i = 0; i < selos.size(); ++i) {
        const std::size_t restantes = selos.size() - i - 1;
        const int reserva = restantes == 0
            ? 0
            : kEspaco + chip::tamanho(metricasDoSelo, QStringLiteral("+") + QString::number(restantes)).width();
        if (x + kEspaco + selos[i].width() + reserva > fimDisponivel) {
            d.mais = QStringLiteral("+") + QString::number(selos.size() - i);
            const QSize chipAMais = chip::tamanho(metricasDoSelo, d.mais);
            if (x + kEspaco + chipAMais.width() <= fimDisponivel) {
                d.selosAMais
                    = QRect(x + kEspaco, meio - chipAMais.height() / 2, chipAMais.width(), chipAMais.height());
            }
            break;
        }
        x += kEspaco;
        d.selos.emplace_back(x, meio - selos[i].height() / 2, selos[i].width(), selos[i].height());
        d.rotulos.push_back(rotulos[i]);
        d.tons.push_back(tons[i]);
        x += selos[i].width();
    }
    return d;
}

void DelegadoDeArquivos::paint(
    QPainter* pintor, const QStyleOptionViewItem& opcaoOriginal, const QModelIndex& indice) const
{
    QStyleOptionViewItem opcao = opcaoOriginal;
    initStyleOption(&opcao, indice);
    const Disposicao d = dispor(opcao, indice);
    const QPalette& paleta = opcao.palette;
    const QPalette::ColorGroup grupo = !(opcao.state & QStyle::State_Enabled) ? QPalette::Disabled
        : (opcao.state & QStyle::State_Active)                                ? QPalette::Active
                                                                              : QPalette::Inactive;
    const bool selecionada = opcao.state & QStyle::State_Selected;

    pintor->save();
    pintor->setRenderHint(QPainter::Antialiasing);
    pintor->setRenderHint(QPainter::TextAntialiasing);

    QPainterPath fundo;
    fundo.addRoundedRect(QRectF(d.fundo), kRaio, kRaio);
    // What every text of the row stands on, so each colour can be checked against it.
    QColor chao = paleta.color(grupo, QPalette::Base);
    if (selecionada) {
        chao = aparencia::realce(paleta, grupo);
        pintor->fillPath(fundo, chao);
    } else if (opcao.state & QStyle::State_MouseOver) {
        const QColor sombra = aparencia::comOpacidade(paleta.color(grupo, QPalette::Text), 0.05);
        pintor->fillPath(fundo, sombra);
        chao = aparencia::sobre(sombra, chao);
    }
    if ((opcao.state & QStyle::State_HasFocus) && !selecionada) {
        pintor->setPen(QPen(aparencia::comOpacidade(paleta.color(grupo, QPalette::Highlight), 0.8), 1));
        pintor->drawPath(fundo);
    }

    const bool comEstado = !indice.data(ModeloDeArquivos::PapelEstado).toString().isEmpty();
    // A postponed or ignored row is dimmed, not faded out: each of its colours is faded and
    // then brought back to a readable contrast, chips and sizes included.
    const bool esmaecida = comEstado && !selecionada;
    const auto tinta = [&](const QColor& cor) {
        return aparencia::legivel(esmaecida ? aparencia::comOpacidade(cor, kOpacidadeComEstado) : cor, chao);
    };
    const QColor texto = paleta.color(grupo, selecionada ? QPalette::HighlightedText : QPalette::Text);
    // The symbol in the secondary style: the icon itself, faded.
    pintor->save();
    if (!selecionada) {
        pintor->setOpacity(aparencia::kOpacidadeSecundaria * (esmaecida ? kOpacidadeComEstado : 1.0));
    }
    simbolo(indice.data(ModeloDeArquivos::PapelSimbolo).toString())
        .paint(pintor, d.simbolo, Qt::AlignCenter, selecionada ? QIcon::Selected : QIcon::Normal);
    pintor->restore();

    pintor->setFont(fonteDoNome());
    pintor->setPen(tinta(texto));
    pintor->drawText(
        d.nome, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextDontClip, d.nomeVisivel);

    const QColor neutra = selecionada ? texto : aparencia::corDoTom(Selo::Tom::neutro, paleta, QPalette::Text);
    const auto desbotar = [&](const QColor& cor) {
        return esmaecida ? aparencia::comOpacidade(cor, kOpacidadeComEstado) : cor;
    };
    pintor->setFont(chip::fonte());
    for (std::size_t i = 0; i < d.selos.size(); ++i) {
        // The state's chip is neutral; each badge has its tone. On the highlight every tone
        // would fight the selection colour; the chips follow the selected text instead.
        const QColor cor = selecionada || d.tons[i] < 0
            ? neutra
            : aparencia::corDoTom(static_cast<Selo::Tom>(d.tons[i]), paleta, QPalette::Text);
        chip::desenhar(*pintor, d.selos[i], d.rotulos[i], desbotar(cor), chao);
    }
    if (!d.selosAMais.isNull()) {
        chip::desenhar(*pintor, d.selosAMais, d.mais, desbotar(neutra), chao);
    }

    pintor->setFont(fonteDoTamanho());
    pintor->setPen(selecionada ? tinta(aparencia::comOpacidade(texto, 0.85))
                               : tinta(aparencia::secundariaSobre(paleta, chao, QPalette::Text)));
    pintor->drawText(d.tamanho, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine,
        indice.data(ModeloDeArquivos::PapelTamanho).toString());

    pintor->restore();
}

} // namespace tarrafa::app
