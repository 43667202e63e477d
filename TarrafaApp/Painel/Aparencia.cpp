// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Aparencia.hpp"

#include "TarrafaCore/Plural.hpp"

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QStringList>

#include <algorithm>
#include <cmath>

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

QColor fundoDoPapel(const QPalette& paleta, QPalette::ColorRole papel)
{
    switch (papel) {
    case QPalette::Text:
    case QPalette::PlaceholderText:
        return paleta.color(QPalette::Base);
    case QPalette::HighlightedText:
        return realce(paleta, paleta.currentColorGroup());
    case QPalette::ButtonText:
        return paleta.color(QPalette::Button);
    default:
        return paleta.color(QPalette::Window);
    }
}

QColor misturada(const QColor& a, const QColor& b, double t)
{
    return QColor::fromRgbF(static_cast<float>(a.redF() + (b.redF() - a.redF()) * t),
        static_cast<float>(a.greenF() + (b.greenF() - a.greenF()) * t),
        static_cast<float>(a.blueF() + (b.blueF() - a.blueF()) * t));
}

// Moves cor toward the extreme until it reads at alvo against fundo.
QColor afastada(const QColor& cor, const QColor& fundo, const QColor& extremo, double alvo)
{
    for (int passo = 1; passo <= 20 && contraste(cor, fundo) < alvo; ++passo) {
        const QColor tentativa = misturada(cor, extremo, passo / 20.0);
        if (contraste(tentativa, fundo) >= alvo) {
            return tentativa;
        }
    }
    return contraste(cor, fundo) >= alvo ? cor : extremo;
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

double luminancia(const QColor& cor)
{
    const auto canal = [](double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * canal(cor.redF()) + 0.7152 * canal(cor.greenF()) + 0.0722 * canal(cor.blueF());
}

double contraste(const QColor& a, const QColor& b)
{
    const double la = luminancia(a);
    const double lb = luminancia(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor sobre(const QColor& cor, const QColor& fundo)
{
    return misturada(fundo, QColor::fromRgbF(cor.redF(), cor.greenF(), cor.blueF()), cor.alphaF());
}

QColor legivel(const QColor& cor, const QColor& fundo, double alvo)
{
    const QColor opaca = sobre(cor, fundo);
    const QColor extremo
        = contraste(Qt::black, fundo) >= contraste(Qt::white, fundo) ? QColor(Qt::black) : QColor(Qt::white);
    return afastada(opaca, fundo, extremo, alvo);
}

QColor realce(const QPalette& paleta, QPalette::ColorGroup grupo)
{
    const QColor selecao = sobre(paleta.color(grupo, QPalette::Highlight), paleta.color(grupo, QPalette::Base));
    const QColor texto = paleta.color(grupo, QPalette::HighlightedText);
    // The ground moves away from its text: darker under light text, lighter under dark.
    const QColor extremo = luminancia(texto) > 0.18 ? QColor(Qt::black) : QColor(Qt::white);
    QColor resultado = selecao;
    for (int passo = 1; passo <= 20 && contraste(resultado, texto) < kContrasteAlvo; ++passo) {
        resultado = misturada(selecao, extremo, passo / 20.0);
    }
    return resultado;
}

QPalette comTextosLegiveis(QPalette paleta)
{
    for (const auto grupo : {QPalette::Active, QPalette::Inactive}) {
        const QColor base = paleta.color(grupo, QPalette::Base);
        const QColor atual = paleta.color(grupo, QPalette::PlaceholderText);
        if (contraste(sobre(atual, base), base) < kContrasteMinimo) {
            // Keep the theme's hint of a fainter text, from the text colour itself.
            paleta.setColor(grupo, QPalette::PlaceholderText,
                legivel(comOpacidade(paleta.color(grupo, QPalette::Text), 0.6), base));
        }
    }
    return paleta;
}

namespace {

// Watches the application for palette changes (a new theme, a switch to dark) and mends
// the placeholder colour of each new palette.
class GuardaDaPaleta final : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* alvo, QEvent* evento) override
    {
        if (alvo == qApp && evento->type() == QEvent::ApplicationPaletteChange) {
            corrigir();
        }
        return false;
    }

    static void corrigir()
    {
        const QPalette atual = QApplication::palette();
        const QPalette legivel = comTextosLegiveis(atual);
        // Setting the same palette again sends no further change, so this does not loop.
        if (legivel != atual) {
            QApplication::setPalette(legivel);
        }
    }
};

} // namespace

void manterPaletaLegivel()
{
    static GuardaDaPaleta* guarda = nullptr;
    if (guarda == nullptr) {
        guarda = new GuardaDaPaleta(qApp);
        qApp->installEventFilter(guarda);
    }
    GuardaDaPaleta::corrigir();
}

QColor secundaria(const QPalette& paleta, QPalette::ColorRole papel)
{
    return secundariaSobre(paleta, fundoDoPapel(paleta, papel), papel);
}

QColor secundariaSobre(const QPalette& paleta, const QColor& fundo, QPalette::ColorRole papel)
{
    return legivel(desbotada(paleta, papel, kOpacidadeSecundaria), fundo);
}

QColor terciaria(const QPalette& paleta, QPalette::ColorRole papel)
{
    return terciariaSobre(paleta, fundoDoPapel(paleta, papel), papel);
}

QColor terciariaSobre(const QPalette& paleta, const QColor& fundo, QPalette::ColorRole papel)
{
    return legivel(desbotada(paleta, papel, kOpacidadeTerciaria), fundo);
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

QString contagem(long long quantidade)
{
    return QString::fromStdString(Plural::numero(quantidade));
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
