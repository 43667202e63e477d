// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/FaixaResumo.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>

namespace tarrafa::app {

namespace {

constexpr int kCelulas = 4;
constexpr int kRecuoHorizontal = 14;
constexpr int kRecuoVertical = 10;
constexpr int kEntreLinhas = 1;
constexpr qreal kRaio = 11;

QFont fonteDoRotulo()
{
    return aparencia::fonte(aparencia::kLegenda);
}

QFont fonteDoValor()
{
    return aparencia::fonteSerifada(26);
}

QFont fonteDoSub()
{
    return aparencia::fonte(aparencia::kLegendaMenor);
}

} // namespace

CelulaResumo::CelulaResumo(QWidget* parent)
    : QWidget(parent)
{
    // Every cell takes an equal share of the strip, whatever its texts.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void CelulaResumo::mostrar(const Celula& celula)
{
    celula_ = celula;
    setAccessibleName(celula_.rotulo);
    setAccessibleDescription(celula_.valor + QStringLiteral(", ") + celula_.sub);
    setToolTip(celula_.rotulo + QStringLiteral(": ") + celula_.valor + QStringLiteral(" · ") + celula_.sub);
    updateGeometry();
    update();
}

QSize CelulaResumo::sizeHint() const
{
    const int altura = QFontMetrics(fonteDoRotulo()).height() + kEntreLinhas
        + QFontMetrics(fonteDoValor()).height() + kEntreLinhas + QFontMetrics(fonteDoSub()).height();
    int largura = 0;
    largura = std::max(largura, QFontMetrics(fonteDoRotulo()).horizontalAdvance(celula_.rotulo));
    largura = std::max(largura, QFontMetrics(fonteDoValor()).horizontalAdvance(celula_.valor));
    largura = std::max(largura, QFontMetrics(fonteDoSub()).horizontalAdvance(celula_.sub));
    return {largura + 2 * kRecuoHorizontal, altura + 2 * kRecuoVertical};
}

QSize CelulaResumo::minimumSizeHint() const
{
    return {60, sizeHint().height()};
}

void CelulaResumo::paintEvent(QPaintEvent*)
{
    QPainter pintor(this);
    pintor.setRenderHint(QPainter::Antialiasing);
    pintor.setRenderHint(QPainter::TextAntialiasing);
    QPainterPath fundo;
    fundo.addRoundedRect(QRectF(rect()), kRaio, kRaio);
    const QColor preenchimento = aparencia::preenchimentoQuaternario(palette());
    pintor.fillPath(fundo, preenchimento);
    // The quieter lines are measured against the cell's fill, not the window's ground.
    const QColor chao = aparencia::sobre(preenchimento, palette().color(QPalette::Window));

    const int largura = std::max(0, width() - 2 * kRecuoHorizontal);
    int y = kRecuoVertical;
    const auto linha = [&](const QFont& fonte, const QColor& cor, const QString& texto) {
        const QFontMetrics metricas(fonte);
        pintor.setFont(fonte);
        pintor.setPen(cor);
        pintor.drawText(QRect(kRecuoHorizontal, y, largura, metricas.height()),
            Qt::AlignLeft | Qt::AlignVCenter, metricas.elidedText(texto, Qt::ElideRight, largura));
        y += metricas.height() + kEntreLinhas;
    };
    linha(fonteDoRotulo(), aparencia::secundariaSobre(palette(), chao), celula_.rotulo);
    linha(fonteDoValor(), palette().color(QPalette::WindowText), celula_.valor);
    linha(fonteDoSub(), aparencia::terciariaSobre(palette(), chao), celula_.sub);
}

FaixaResumo::FaixaResumo(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("faixaResumo"));
    setAccessibleName(QStringLiteral("Resumo"));
    auto* linha = new QHBoxLayout(this);
    linha->setContentsMargins(20, 14, 20, 14);
    linha->setSpacing(12);
    for (int i = 0; i < kCelulas; ++i) {
        auto* celula = new CelulaResumo(this);
        celula->setObjectName(QStringLiteral("celula%1").arg(i));
        linha->addWidget(celula, 1, Qt::AlignVCenter);
        vistas_.push_back(celula);
    }
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void FaixaResumo::mostrar(const RaioX& raioX, const Escopo& escopo)
{
    celulas_ = tarrafa::app::celulas(raioX, escopo);
    for (std::size_t i = 0; i < vistas_.size(); ++i) {
        vistas_[i]->mostrar(i < celulas_.size() ? celulas_[i] : Celula {});
    }
}

} // namespace tarrafa::app
