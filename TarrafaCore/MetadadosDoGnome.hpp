// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>
#include <unordered_map>

namespace tarrafa {

// GNOME's metadata store, read through GIO: Firefox's GTK build and GNOME Web note there the
// address a file was downloaded from (metadata::download-uri). The store is gvfs's, reached
// through the session bus; a machine without gvfs or without a session bus, and a build
// without GIO, simply have nothing to read here.
//
// The addresses of a whole folder are read at once, by listing it through GIO: asked file by
// file, gvfs answers for a folder outside the home over the bus, half a millisecond each.
class MetadadosDoGnome final {
public:
    MetadadosDoGnome() = default;
    // Reads the addresses noted for the entries of this folder (the folder itself not
    // included, links not followed).
    explicit MetadadosDoGnome(const std::string& pasta);
    // Only the named entries of the folder, asked one by one: for a handful of names that is
    // cheaper than listing a large folder.
    MetadadosDoGnome(const std::string& pasta, const std::vector<std::string>& nomes);

    // Whether the folder has a metadata store at all.
    [[nodiscard]] bool disponivel() const noexcept { return disponivel_; }
    // The address noted for the entry of that name (bytes, as listed); none when the store has
    // none, or is not there.
    [[nodiscard]] std::optional<std::string> enderecoDeDownload(const std::string& nome) const;

private:
    bool disponivel_ = false;
    std::unordered_map<std::string, std::string> enderecos_;
};

} // namespace tarrafa
