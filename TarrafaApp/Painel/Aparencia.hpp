// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Selo.hpp"

#include <QColor>
#include <QFont>
#include <QPalette>

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

// Text one step quieter than normal (labels, sizes, summaries).
[[nodiscard]] QColor secundaria(const QPalette& paleta, QPalette::ColorRole papel = QPalette::WindowText);
// Two steps quieter (the chevron of a card, notes under big numbers).
[[nodiscard]] QColor terciaria(const QPalette& paleta, QPalette::ColorRole papel = QPalette::WindowText);
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

// The desktop's interface font at a design size (see kCorpo).
[[nodiscard]] QFont fonte(qreal pontos, QFont::Weight peso = QFont::Normal);
// The desktop's fixed-width font at a design size: file names.
[[nodiscard]] QFont fonteMonoespacada(qreal pontos);
// A serif face whose digits all have one width, for the big numbers: a count that changes
// does not shift its neighbours. Families known to have such digits come first; without
// them the system's serif is used.
[[nodiscard]] QFont fonteSerifada(qreal pontos);

} // namespace tarrafa::app::aparencia
