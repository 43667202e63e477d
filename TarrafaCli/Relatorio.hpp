// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/RaioX.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarrafa::cli {

// Everything one run of the command line knows about the folder: what the window would
// show after one scan.
class Relatorio final {
public:
    // duplicataDe: each copy's id with its original's, as Duplicatas found them.
    Relatorio(std::string pasta, std::set<std::string> appsInstalados, std::vector<FileSnapshot> snapshots,
        Date agora = Date::agora(), std::unordered_map<std::string, std::string> duplicataDe = {});

    // Scans the folder, lists the installed applications and compares the files' contents
    // (through the user's cache of hashes); throws std::system_error when the folder cannot
    // be listed.
    [[nodiscard]] static Relatorio de(const std::string& pasta);

    [[nodiscard]] const std::string& pasta() const noexcept { return pasta_; }
    [[nodiscard]] const std::set<std::string>& appsInstalados() const noexcept { return appsInstalados_; }
    [[nodiscard]] const std::vector<GrupoOrigem>& grupos() const noexcept { return grupos_; }
    // Downloads still arriving, left out of the groups and the diagnostics.
    [[nodiscard]] const std::vector<FileSnapshot>& baixando() const noexcept { return baixando_; }
    [[nodiscard]] const RaioX& raioX() const noexcept { return raioX_; }
    [[nodiscard]] const std::unordered_map<std::string, std::string>& duplicataDe() const noexcept
    {
        return duplicataDe_;
    }

    // The inbox in Portuguese, as the window lists it, then the diagnostics paragraph.
    [[nodiscard]] std::string comoTexto() const;
    // One JSON object, UTF-8, for other programs.
    [[nodiscard]] std::string comoJson() const;

private:
    std::string pasta_;
    std::set<std::string> appsInstalados_;
    std::vector<FileSnapshot> baixando_;
    std::unordered_map<std::string, std::string> duplicataDe_;
    std::vector<GrupoOrigem> grupos_;
    RaioX raioX_;
};

} // namespace tarrafa::cli
