// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/Decisao.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/NaLixeira.hpp"
#include "TarrafaCore/RaioX.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <optional>
#include <set>
#include <string_view>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarrafa::cli {

// Everything one run of the command line knows about the folder: what the window would
// show after one scan.
class Relatorio final {
public:
    // Which files are listed: those the window's sidebar puts in one place, or every one.
    using Filtro = std::optional<Estado>;
    static constexpr Filtro kTodos = std::nullopt;

    // duplicataDe: each copy's id with its original's, as Duplicatas found them. decisoes:
    // the decision file's, by id; a file without one is novo. Only the files estado takes are
    // listed; the diagnostics are of the whole folder all the same. naLixeira: what the Trash
    // holds from the folder, listed with the resolved files as the window lists it.
    Relatorio(std::string pasta, std::set<std::string> appsInstalados, std::vector<FileSnapshot> snapshots,
        Date agora = Date::agora(), std::unordered_map<std::string, std::string> duplicataDe = {},
        std::unordered_map<std::string, Decisao> decisoes = {}, Filtro estado = Estado::caixa,
        std::vector<NaLixeira::Item> naLixeira = {});

    // Scans the folder, lists the installed applications, compares the files' contents
    // (through the user's cache of hashes), reads the decisions the window shares and, when
    // the resolved files are listed, what the Trash holds from the folder; throws
    // std::system_error when the folder cannot be listed.
    [[nodiscard]] static Relatorio de(const std::string& pasta, Filtro estado = Estado::caixa);

    // The word --estado takes for each filter ("caixa", "adiados", "resolvidos", "todos"),
    // and back; none for any other word.
    [[nodiscard]] static std::optional<Filtro> filtroDe(std::string_view palavra) noexcept;
    [[nodiscard]] static std::string_view palavraDe(Filtro filtro) noexcept;

    [[nodiscard]] const std::string& pasta() const noexcept { return pasta_; }
    [[nodiscard]] const std::set<std::string>& appsInstalados() const noexcept { return appsInstalados_; }
    // The groups that hold a listed file, with those files only (counts follow), in the
    // window's order.
    [[nodiscard]] const std::vector<GrupoOrigem>& grupos() const noexcept { return grupos_; }
    [[nodiscard]] const Filtro& estado() const noexcept { return estado_; }
    // The files of the Trash that were in the folder, oldest first, when the resolved files are
    // listed; empty otherwise.
    [[nodiscard]] const std::vector<NaLixeira::Item>& naLixeira() const noexcept { return naLixeira_; }
    // The decision recorded for a file; novo when there is none.
    [[nodiscard]] Decisao decisao(const std::string& id) const;
    // Downloads still arriving, left out of the groups and the diagnostics; as in the window,
    // shown with the inbox only.
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
    std::unordered_map<std::string, Decisao> decisoes_;
    Filtro estado_;
    // Every group triage made, whatever was decided: what the diagnostics are about.
    std::vector<GrupoOrigem> todos_;
    RaioX raioX_;
    std::vector<GrupoOrigem> grupos_;
    std::vector<NaLixeira::Item> naLixeira_;
};

} // namespace tarrafa::cli
