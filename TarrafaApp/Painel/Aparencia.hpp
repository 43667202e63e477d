// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Selo.hpp"

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QString>

// The panel's few visual choices in one place. Greys are the palette's own text colour
// faded, so light and dark palettes both work; only the tone colours are fixed, each in a
// shade for light and one for dark backgrounds that keeps small text readable.
namespace tarrafa::app::aparencia {

// Type sizes of the design, in points of a 13-point body text. fonte() scales them to the
// desktop's own body size, so a person who enlarged the system font gets a larger panel.
inline constexpr qreal kCorpo = 13;
inline constexpr qreal kLegenda = 11.5; // captions: counts, sizes, cell labels
inline constexpr qreal kLegendaMenor = 10.5; // the smallest captions, under big numbers

[[nodiscard]] bool ehEscura(const QPalette& paleta);

// How far the quieter styles fade the text colour; icons drawn in those styles are
// painted at the same opacity.
inline constexpr qreal kOpacidadeSecundaria = 0.64;
inline constexpr qreal kOpacidadeTerciaria = 0.52;

// Text must read at 4.5:1 against what is behind it. Colours are chosen a little past that,
// so the antialiased strokes of small text still reach it on screen.
inline constexpr double kContrasteMinimo = 4.5;
inline constexpr double kContrasteAlvo = 5.8;

// Relative luminance of a colour, as contrast ratios are defined on it (alpha ignored).
[[nodiscard]] double luminancia(const QColor& cor);
[[nodiscard]] double contraste(const QColor& a, const QColor& b);
// The opaque colour cor gives when painted over the opaque fundo.
[[nodiscard]] QColor sobre(const QColor& cor, const QColor& fundo);
// The colour cor shows over fundo, moved toward black or white, whichever stands out more
// there, only as far as it takes to read at alvo. Opaque.
[[nodiscard]] QColor legivel(const QColor& cor, const QColor& fundo, double alvo = kContrasteAlvo);
// The selection colour of a row, deepened (or lightened) until its own text reads on it:
// some themes pair a mid blue with white at 3.7:1.
[[nodiscard]] QColor realce(const QPalette& paleta, QPalette::ColorGroup grupo = QPalette::Active);

// The palette with a placeholder colour that reads on its fields. Dark themes often set the
// text colours and leave the placeholder the light palette's dark grey.
[[nodiscard]] QPalette comTextosLegiveis(QPalette paleta);
// Keeps the application's palette so, now and whenever the desktop changes it.
void manterPaletaLegivel();

// Text one step quieter than normal (labels, sizes, summaries): the text colour faded, but
// never below the readable contrast on the role's own ground (Window, Base or Highlight).
[[nodiscard]] QColor secundaria(const QPalette& paleta, QPalette::ColorRole papel = QPalette::WindowText);
// The same over another ground (a card's fill, a tinted pill).
[[nodiscard]] QColor secundariaSobre(const QPalette& paleta, const QColor& fundo,
    QPalette::ColorRole papel = QPalette::WindowText);
// Two steps quieter (the chevron of a card, notes under big numbers); readable all the same.
[[nodiscard]] QColor terciaria(const QPalette& paleta, QPalette::ColorRole papel = QPalette::WindowText);
[[nodiscard]] QColor terciariaSobre(const QPalette& paleta, const QColor& fundo,
    QPalette::ColorRole papel = QPalette::WindowText);
// The faintest fill: behind summary cells and under progress bars.
[[nodiscard]] QColor preenchimentoQuaternario(const QPalette& paleta);
// Hairlines around cards.
[[nodiscard]] QColor separador(const QPalette& paleta);

[[nodiscard]] QColor laranja(const QPalette& paleta);
[[nodiscard]] QColor verde(const QPalette& paleta);
[[nodiscard]] QColor azul(const QPalette& paleta);
[[nodiscard]] QColor vermelho(const QPalette& paleta);

// A badge's text colour; its background is the same colour at kOpacidadeDoFundoDoSelo.
[[nodiscard]] QColor corDoTom(
    Selo::Tom tom, const QPalette& paleta, QPalette::ColorRole papelDoTexto = QPalette::WindowText);
inline constexpr qreal kOpacidadeDoFundoDoSelo = 0.16;
[[nodiscard]] QColor comOpacidade(QColor cor, qreal opacidade);

// A count as the interface writes numbers: thousands grouped with "." as in Brazilian
// Portuguese, "100.000", the same as the core's counted phrases.
[[nodiscard]] QString contagem(long long quantidade);

// The desktop's interface font at a design size (see kCorpo).
[[nodiscard]] QFont fonte(qreal pontos, QFont::Weight peso = QFont::Normal);
// The desktop's fixed-width font at a design size: file names.
[[nodiscard]] QFont fonteMonoespacada(qreal pontos);
// A serif face whose digits all have one width, for the big numbers: a count that changes
// does not shift its neighbours. Families known to have such digits come first; without
// them the system's serif is used.
[[nodiscard]] QFont fonteSerifada(qreal pontos);

} // namespace tarrafa::app::aparencia
