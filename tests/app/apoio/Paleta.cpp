// SPDX-License-Identifier: GPL-3.0-or-later
#include "Paleta.hpp"

#include <QColor>

namespace tarrafa::app::teste {

QPalette paletaEscura()
{
    QPalette escura;
    escura.setColor(QPalette::Window, QColor(0x2b, 0x2b, 0x2b));
    escura.setColor(QPalette::WindowText, QColor(0xee, 0xee, 0xee));
    escura.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
    escura.setColor(QPalette::Text, QColor(0xee, 0xee, 0xee));
    escura.setColor(QPalette::PlaceholderText, QColor(0xa0, 0xa0, 0xa0));
    escura.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3a));
    escura.setColor(QPalette::ButtonText, QColor(0xee, 0xee, 0xee));
    escura.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xe4));
    escura.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto papel : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        escura.setColor(QPalette::Disabled, papel, QColor(0x80, 0x80, 0x80));
    }
    return escura;
}

} // namespace tarrafa::app::teste
