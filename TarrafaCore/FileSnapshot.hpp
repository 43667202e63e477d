// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarrafa {

// One top-level entry of the scanned folder, as it was at the moment of the scan.
// Immutable: a rescan makes new snapshots; nothing is ever updated in place.
class FileSnapshot final {
public:
    // A last use this close to the arrival is the automatic opening on download.
    static constexpr double kAberturaAutomaticaSegundos = 90.0;

    FileSnapshot(std::string id, std::string nome, bool ehPasta, std::int64_t tamanho,
                 std::optional<Date> baixadoEm, Date criadoEm, std::optional<Date> ultimoUsoEm,
                 std::vector<std::string> origens, bool ehScreenshot,
                 std::optional<std::string> quarentenaAgente);

    // The full path, byte for byte as the kernel gives it (it may not be valid UTF-8).
    // Identity of the file everywhere: selection, decisions, trash.
    [[nodiscard]] const std::string& id() const noexcept { return id_; }
    // The entry's name as text: valid UTF-8, with U+FFFD where the bytes were not.
    [[nodiscard]] const std::string& nome() const noexcept { return nome_; }
    [[nodiscard]] bool ehPasta() const noexcept { return ehPasta_; }
    [[nodiscard]] std::int64_t tamanho() const noexcept { return tamanho_; }
    [[nodiscard]] const std::optional<Date>& baixadoEm() const noexcept { return baixadoEm_; }
    [[nodiscard]] Date criadoEm() const noexcept { return criadoEm_; }
    [[nodiscard]] const std::optional<Date>& ultimoUsoEm() const noexcept { return ultimoUsoEm_; }
    [[nodiscard]] const std::vector<std::string>& origens() const noexcept { return origens_; }
    [[nodiscard]] bool ehScreenshot() const noexcept { return ehScreenshot_; }
    [[nodiscard]] const std::optional<std::string>& quarentenaAgente() const noexcept { return quarentenaAgente_; }

    // Lower-cased extension of the name; "" for folders, even bundles named "X.app".
    [[nodiscard]] std::string extensao() const;
    // When the file arrived: the download date when known, else the creation date.
    [[nodiscard]] Date chegouEm() const noexcept { return baixadoEm_.value_or(criadoEm_); }
    // The one definition of "never opened" used by badges, counts and diagnostics.
    [[nodiscard]] bool nuncaReaberto() const noexcept;

    friend bool operator==(const FileSnapshot&, const FileSnapshot&) = default;

private:
    std::string id_;
    std::string nome_;
    bool ehPasta_;
    std::int64_t tamanho_;
    std::optional<Date> baixadoEm_;
    Date criadoEm_;
    std::optional<Date> ultimoUsoEm_;
    std::vector<std::string> origens_;
    bool ehScreenshot_;
    std::optional<std::string> quarentenaAgente_;
};

} // namespace tarrafa
