// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

// File names and origin labels come from strangers (a download's name is the server's choice),
// and a terminal obeys what it prints: an ESC sequence can clear the screen or retitle the
// window, a newline can forge a report line, a bidirectional control can make "fdp.exe" read
// as "exe.pdf". These make such text inert, visibly.
namespace tarrafa::Escapes {

// For a terminal: C0 controls and DEL as "\x1b", C1 controls and the bidirectional controls
// as "\u202e", the backslash as "\\" (so that an escape can always be told from the name);
// bytes that are not UTF-8 as U+FFFD. Everything else as it is.
[[nodiscard]] std::string paraTerminal(std::string_view texto);

// For the window: the same controls made visible the same way (so "invoice\u202efdp.exe"
// cannot read as a PDF, and a newline cannot break a row in two), the backslash left as it
// is; a name holding right-to-left letters is isolated (FSI ... PDI), so that it cannot
// reorder the text around it. Bytes that are not UTF-8 as U+FFFD.
[[nodiscard]] std::string paraJanela(std::string_view texto);

// For JSON text already serialised (where C0 controls are escaped already): DEL, the C1
// controls and the bidirectional controls, which can only occur inside its strings, become
// "\u007f" and the like.
[[nodiscard]] std::string invisiveisEmJson(std::string_view json);

} // namespace tarrafa::Escapes
