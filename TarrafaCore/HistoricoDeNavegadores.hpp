// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarrafa {

// What a browser's own history says about one downloaded file.
struct RegistroDeDownload {
    std::vector<std::string> origens; // the final address, then the referrer; no empties
    std::optional<Date> baixadoEm;    // when the download ended
    std::optional<Date> ultimoUso;    // when the user opened it from the browser
    std::string agente;               // the browser's name
};

// Browsers on Linux write no attribute on the files they download; they keep where each came
// from in their history databases. This reads the download records of the Chromium family and
// of Firefox, once per scan, into an index by file path. The databases are never opened in
// place: a private copy of each (with its write-ahead log) is read and removed, so a running
// browser's locks are neither taken nor waited for, and its files are never changed.
class HistoricoDeNavegadores final {
public:
    enum class Tipo { chromium, firefox };

    // One history database to read: a Chromium "History" or a Firefox "places.sqlite".
    struct Banco {
        std::string arquivo;
        Tipo tipo;
        std::string agente;
    };

    HistoricoDeNavegadores() = default;

    // Every profile of the known browsers under the user's home (native, Flatpak, Snap).
    [[nodiscard]] static std::vector<Banco> encontrarBancos();
    // Reads the given databases; one that is missing, locked, corrupt or of an unknown
    // layout is skipped without a word.
    [[nodiscard]] static HistoricoDeNavegadores ler(const std::vector<Banco>& bancos);
    // encontrarBancos() then ler().
    [[nodiscard]] static HistoricoDeNavegadores carregar();

    // The record for the file at exactly this path (bytes compared); when several browsers or
    // downloads name the path, the one that ended last.
    [[nodiscard]] const RegistroDeDownload* procurar(const std::string& caminho) const;
    [[nodiscard]] std::size_t tamanho() const noexcept { return registros_.size(); }

private:
    void guardar(std::string caminho, RegistroDeDownload registro);

    std::unordered_map<std::string, RegistroDeDownload> registros_;
};

} // namespace tarrafa
