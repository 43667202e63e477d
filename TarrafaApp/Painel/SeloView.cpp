// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/SeloView.hpp"

#include "TarrafaCore/Escapes.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

namespace tarrafa::app {

namespace {

constexpr int kRecuoHorizontal = 8;
constexpr int kRecuoVertical = 2;

} // namespace

namespace chip {

QFont fonte()
{
    return aparencia::fonte(11, QFont::Medium);
}

QSize tamanho(const QFontMetrics& metricas, const QString& rotulo)
{
    return {
        metricas.horizontalAdvance(rotulo) + 2 * kRecuoHorizontal, metricas.height() + 2 * kRecuoVertical};
}

void desenhar(
    QPainter& pintor, const QRect& retangulo, const QString& rotulo, const QColor& cor, const QColor& fundo)
{
    pintor.save();
    pintor.setRenderHint(QPainter::Antialiasing);
    const QRectF pilula = QRectF(retangulo);
    const qreal raio = pilula.height() / 2.0;
    QPainterPath caminho;
    caminho.addRoundedRect(pilula, raio, raio);
    const QColor chao = aparencia::sobre(fundo, Qt::white); // an opaque ground, whatever is passed
    QColor preenchimento = aparencia::sobre(aparencia::comOpacidade(cor, aparencia::kOpacidadeDoFundoDoSelo), chao);
    QColor tinta = aparencia::legivel(cor, preenchimento);
    if (aparencia::contraste(tinta, preenchimento) < aparencia::kContrasteMinimo) {
        tinta = aparencia::legivel(cor, chao);
        pintor.setPen(QPen(aparencia::comOpacidade(tinta, 0.6), 1));
        caminho = QPainterPath();
        caminho.addRoundedRect(pilula.adjusted(0.5, 0.5, -0.5, -0.5), raio - 0.5, raio - 0.5);
        pintor.drawPath(caminho);
    } else {
        pintor.fillPath(caminho, preenchimento);
    }
    pintor.setPen(tinta);
    pintor.drawText(retangulo.adjusted(kRecuoHorizontal, 0, -kRecuoHorizontal, 0),
        Qt::AlignCenter | Qt::TextSingleLine, rotulo);
    pintor.restore();
}

} // namespace chip

SeloView::SeloView(Selo selo, QWidget* parent)
    : QWidget(parent)
    , selo_(std::move(selo))
{
    setFont(chip::fonte());
    setAccessibleName(rotulo());
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QString rotuloNaJanela(const Selo& selo)
{
    if (selo.caso() == Selo::Caso::copiaIdentica) {
        return QStringLiteral("cópia idêntica de ") + QString::fromStdString(Escapes::paraJanela(selo.nome()));
    }
    return QString::fromStdString(selo.rotulo());
}

QString SeloView::rotulo() const
{
    return rotuloNaJanela(selo_);
}

QSize SeloView::sizeHint() const
{
    return chip::tamanho(fontMetrics(), rotulo());
}

void SeloView::paintEvent(QPaintEvent*)
{
    QPainter pintor(this);
    pintor.setFont(font());
    chip::desenhar(pintor, rect(), rotulo(), aparencia::corDoTom(selo_.tom(), palette()),
        palette().color(backgroundRole()));
}

} // namespace tarrafa::app
