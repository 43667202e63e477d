// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Aparencia.hpp"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QStringList>

namespace tarrafa::app::aparencia {

namespace {

QColor desbotada(const QPalette& paleta, QPalette::ColorRole papel, qreal opacidade)
{
    return comOpacidade(paleta.color(papel), opacidade);
}

QColor porFundo(const QPalette& paleta, QRgb clara, QRgb escura)
{
    return QColor::fromRgb(ehEscura(paleta) ? escura : clara);
}

QFont escalada(QFont base, qreal pontos)
{
    const QFont corpo = QApplication::font();
    if (corpo.pointSizeF() > 0) {
        base.setPointSizeF(corpo.pointSizeF() * pontos / kCorpo);
    } else {
        base.setPixelSize(qRound(corpo.pixelSize() * pontos / kCorpo));
    }
    return base;
}

} // namespace

bool ehEscura(const QPalette& paleta)
{
    return paleta.color(QPalette::Window).lightnessF() < 0.5;
}

QColor comOpacidade(QColor cor, qreal opacidade)
{
    cor.setAlphaF(static_cast<float>(cor.alphaF() * opacidade));
    return cor;
}

QColor secundaria(const QPalette& paleta, QPalette::ColorRole papel)
{
    return desbotada(paleta, papel, kOpacidadeSecundaria);
}

QColor terciaria(const QPalette& paleta, QPalette::ColorRole papel)
{
    return desbotada(paleta, papel, kOpacidadeTerciaria);
}

QColor preenchimentoQuaternario(const QPalette& paleta)
{
    return desbotada(paleta, QPalette::WindowText, ehEscura(paleta) ? 0.08 : 0.05);
}

QColor separador(const QPalette& paleta)
{
    return desbotada(paleta, QPalette::WindowText, ehEscura(paleta) ? 0.22 : 0.16);
}

// Light shades are darkened from the usual system hues until 11-point text on their own
// tinted background stays above 4.5:1; dark shades are the usual bright ones.
QColor laranja(const QPalette& paleta)
{
    return porFundo(paleta, qRgb(0xb2, 0x52, 0x00), qRgb(0xff, 0xa4, 0x1f));
}

QColor verde(const QPalette& paleta)
{
    return porFundo(paleta, qRgb(0x1f, 0x7a, 0x36), qRgb(0x3d, 0xd6, 0x68));
}

QColor azul(const QPalette& paleta)
{
    return porFundo(paleta, qRgb(0x00, 0x5c, 0xc8), qRgb(0x5a, 0xa9, 0xff));
}

QColor vermelho(const QPalette& paleta)
{
    return porFundo(paleta, qRgb(0xc4, 0x1a, 0x1a), qRgb(0xff, 0x5f, 0x57));
}

QColor corDoTom(Selo::Tom tom, const QPalette& paleta, QPalette::ColorRole papelDoTexto)
{
    switch (tom) {
    case Selo::Tom::aviso:
        return laranja(paleta);
    case Selo::Tom::ok:
        return verde(paleta);
    case Selo::Tom::info:
        return azul(paleta);
    case Selo::Tom::neutro:
        break;
    }
    return secundaria(paleta, papelDoTexto);
}

QFont fonte(qreal pontos, QFont::Weight peso)
{
    QFont resultado = escalada(QApplication::font(), pontos);
    resultado.setWeight(peso);
    return resultado;
}

namespace {

// Whether every character a size or a date is made of takes the same room: what makes a
// column of them line up. Measured, because fontconfig's own word for it varies: Noto Sans
// Mono is monospaced and not marked so, and some fonts marked so are not.
bool larguraIgual(const QFont& fonte)
{
    const QFontMetricsF metricas(fonte);
    const qreal largura = metricas.horizontalAdvance(QLatin1Char('M'));
    if (largura <= 0) {
        return false;
    }
    for (const char c : {'i', 'l', 'W', '0', '1', '8', '.', ',', ' ', 'B', 'k'}) {
        if (!qFuzzyCompare(metricas.horizontalAdvance(QLatin1Char(c)), largura)) {
            return false;
        }
    }
    return true;
}

// The family to use: the desktop's fixed-width font when it really is one, else the first
// installed family that measures as one; empty when none does.
QString familiaMonoespacada()
{
    QFont sistema = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    sistema.setStyleHint(QFont::Monospace);
    sistema.setFixedPitch(true);
    if (larguraIgual(sistema)) {
        return QFontInfo(sistema).family();
    }
    for (const QString& familia : QFontDatabase::families()) {
        QFont candidata(familia);
        if (QFontDatabase::isFixedPitch(familia) && QFontInfo(candidata).family() == familia
            && larguraIgual(candidata)) {
            return familia;
        }
    }
    return {};
}

} // namespace

QFont fonteMonoespacada(qreal pontos)
{
    QFont resultado = escalada(QFontDatabase::systemFont(QFontDatabase::FixedFont), pontos);
    resultado.setStyleHint(QFont::Monospace);
    resultado.setFixedPitch(true);
    // The fonts installed do not change while the program runs.
    static const QString familia = familiaMonoespacada();
    if (!familia.isEmpty()) {
        resultado.setFamilies({familia});
    }
    return resultado;
}

QFont fonteSerifada(qreal pontos)
{
    QFont resultado = escalada(QApplication::font(), pontos);
    resultado.setFamilies({QStringLiteral("DejaVu Serif"), QStringLiteral("Noto Serif"),
        QStringLiteral("Liberation Serif"), QStringLiteral("Tinos"), QStringLiteral("Times New Roman")});
    resultado.setStyleHint(QFont::Serif);
    resultado.setWeight(QFont::Normal);
    resultado.setItalic(false);
    return resultado;
}

} // namespace tarrafa::app::aparencia
