// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

// The desktop session's message bus, asked about once per process. A bus that is stopped or
// swamped accepts the connection and then never answers: every call on it waits for 25
// seconds, one after the other, and GIO reaches it for the Trash and the file metadata store.
// So it is asked once, on a thread of its own, for a bounded time; and when it does not
// answer, GIO is set to work on local files without it, as on a machine without a desktop.
namespace tarrafa::BarramentoDaSessao {

enum class Estado {
    ausente, // no bus address, or nothing listens there: there is no bus to wait for
    responde,
    travado, // it did not answer in time: treated as absent for the rest of the process
};

// Asks the first time (waiting at most `prazo`), then answers from what it learnt.
[[nodiscard]] Estado conferir(std::chrono::milliseconds prazo = std::chrono::seconds(5));

// What the first conferir() found; ausente before any.
[[nodiscard]] Estado estado();

} // namespace tarrafa::BarramentoDaSessao
