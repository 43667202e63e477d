// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace tarrafa {

// What a browser's own history says about one completed download.
struct RegistroDeDownload {
    // Where the browser saved the file, as it recorded the path (bytes). Empty when the history
    // no longer says: Firefox keeps only the latest file of an address downloaded twice, and
    // the earlier download survives only as a visit.
    std::string caminho;
    std::vector<std::string> origens; // the address it came from, then the page that led to it; no empties
    std::optional<Date> inicio; // when the download started
    std::optional<Date> baixadoEm; // when it ended
    std::optional<Date> ultimoUso; // when the user opened it from the browser
    std::optional<std::int64_t> tamanho; // the size the browser wrote, where it recorded one
    std::string sha256; // of the bytes written, where the browser recorded it (32 bytes); else empty
    std::string agente; // the browser's name
};

// Browsers on Linux write no attribute on the files they download; they keep where each came
// from in their history databases. This finds every profile of the Chromium family and of
// Firefox under the user's home and reads their completed download records, once per scan.
// Each database is read through a private copy that is treated as hostile (see BancoCopiado).
class HistoricoDeNavegadores final {
public:
    enum class Tipo { chromium, firefox };

    // One history database to read: a Chromium "History" or a Firefox "places.sqlite".
    struct Banco {
        std::string arquivo;
        Tipo tipo;
        std::string agente;
    };

    // How long one database may take to read before it is given up, and how many download
    // records are taken from one. Real histories are read in milliseconds and hold a few
    // thousand downloads.
    static constexpr std::chrono::milliseconds kOrcamentoPorBanco {2000};
    static constexpr std::size_t kMaximoDeRegistros = 100'000;

    HistoricoDeNavegadores() = default;

    // Every profile of the known browsers under the user's home (native, Flatpak, Snap; both
    // places Firefox keeps its profiles; every profile of a Firefox profile group).
    [[nodiscard]] static std::vector<Banco> encontrarBancos();
    // Reads the given databases; one that is missing, locked, corrupt, hostile or of an unknown
    // layout is skipped without a word. Copies left by an earlier scan that was killed are
    // removed first. A stop request ends the reading at once, with what was read so far.
    [[nodiscard]] static HistoricoDeNavegadores ler(const std::vector<Banco>& bancos, std::stop_token parar = {});
    // encontrarBancos() then ler().
    [[nodiscard]] static HistoricoDeNavegadores carregar(std::stop_token parar = {});

    // Every completed download record read, in no particular order.
    [[nodiscard]] const std::vector<RegistroDeDownload>& registros() const noexcept { return registros_; }
    // The record naming exactly this path (bytes compared); of several, the one that ended last.
    [[nodiscard]] const RegistroDeDownload* procurar(const std::string& caminho) const;
    [[nodiscard]] std::size_t tamanho() const noexcept { return registros_.size(); }

private:
    std::vector<RegistroDeDownload> registros_;
};

} // namespace tarrafa
