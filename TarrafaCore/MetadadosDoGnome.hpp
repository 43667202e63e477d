// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

namespace tarrafa {

// GNOME's metadata store, read through GIO: Firefox's GTK build and GNOME Web note there the
// address a file was downloaded from (metadata::download-uri). The store is gvfs's, reached
// through the session bus; a machine without gvfs or without a session bus, and a build
// without GIO, simply have nothing to read here.
class MetadadosDoGnome final {
public:
    // Asks once whether files under this folder have a metadata store at all, so that a
    // folder without one costs nothing per file.
    explicit MetadadosDoGnome(const std::string& pasta);

    [[nodiscard]] bool disponivel() const noexcept { return disponivel_; }
    // The address recorded for the file at this path (links not followed); none when the
    // store has none, or is not there.
    [[nodiscard]] std::optional<std::string> enderecoDeDownload(const std::string& caminho) const;

private:
    bool disponivel_ = false;
};

} // namespace tarrafa
