// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <QStringList>
#include <QStringView>

namespace tarrafa::app {

// The icon for one of the symbol names the screens are described with ("tray.full",
// "clock", "folder", "chevron.right"...): the desktop icon theme's symbolic icon for the
// matching freedesktop name when the theme has one ("folder-symbolic"), otherwise our own
// line drawing (an SVG in the program's resources) in the palette's text colour, so every
// symbol shows in one style even where no icon theme is installed.
// An unknown name gives a null icon.
[[nodiscard]] QIcon simbolo(QStringView nomeDoSistema);

// Our own drawing alone, never the theme's: the resource :/tarrafa/simbolos/<name>.svg,
// painted in the palette's text colour of the moment.
[[nodiscard]] QIcon simboloDesenhado(QStringView nomeDoSistema);

// The freedesktop symbolic icon names tried for a symbol, in order of preference; empty for
// an unknown name.
[[nodiscard]] QStringList nomesNoTema(QStringView nomeDoSistema);

// The icon as one flat colour (an info symbol in blue, say), at a size in device-independent
// pixels and a device pixel ratio.
[[nodiscard]] QPixmap tingido(const QIcon& icone, QSize tamanho, qreal escala, const QColor& cor);

// Every symbol name the screens use.
[[nodiscard]] QStringList simbolosConhecidos();

} // namespace tarrafa::app
