// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

// The session bus as the window uses it. A bus that does not answer would hold up the window
// (Qt's accessibility connects to it while the first widgets are made) and every call after.
namespace tarrafa::app::Barramento {

// Asks the bus once, waiting at most the given time. When it does not answer, Qt is made to
// find no bus (so nothing of Qt's waits for it), while programs started from here still get
// the real address. Call once, after the QApplication exists and before anything uses the bus.
void conferirSessao(std::chrono::milliseconds prazo = std::chrono::seconds(5));

// Whether the bus was found not to answer: a thread is then still waiting on it, and the
// process must end without waiting for that thread.
[[nodiscard]] bool sessaoTravada();

} // namespace tarrafa::app::Barramento
