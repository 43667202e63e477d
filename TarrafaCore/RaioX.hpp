// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tarrafa {

// The folder's X-ray: how much lies in it, how much was never opened or has a name that
// says nothing, how much came from a known origin, and whether a few origins hold most
// of it. A picture of one moment; rebuilt after every scan.
class RaioX final {
public:
    // At or above this share of the three largest origins, grouping by origin pays off.
    static constexpr double kConcentracaoSuficiente = 0.5;

    RaioX(int total, std::int64_t bytes, int nuncaAbertos, int nomesOpacos, int comOrigem,
        int origensDistintas, double concentracaoTop3, int maisAntigoEmDias) noexcept;
    // The diagnostics of these snapshots and the groups triage made of them; agora is the
    // moment ages are measured from (the clock, read once, unless a test gives one).
    RaioX(const std::vector<FileSnapshot>& itens, const std::vector<GrupoOrigem>& grupos,
        Date agora = Date::agora());
    // The same, of the items the groups hold (every file triage saw).
    explicit RaioX(const std::vector<GrupoOrigem>& grupos, Date agora = Date::agora());

    [[nodiscard]] int total() const noexcept { return total_; }
    [[nodiscard]] std::int64_t bytes() const noexcept { return bytes_; }
    [[nodiscard]] int nuncaAbertos() const noexcept { return nuncaAbertos_; }
    // Counted from the names, screenshots included (unlike a group's badge count).
    [[nodiscard]] int nomesOpacos() const noexcept { return nomesOpacos_; }
    // Files with at least one where-from address, usable or not.
    [[nodiscard]] int comOrigem() const noexcept { return comOrigem_; }
    // Groups other than the one without origin ("_instaladores" counts).
    [[nodiscard]] int origensDistintas() const noexcept { return origensDistintas_; }
    // Items of the three largest such groups over comOrigem; not clamped, may pass 1.
    [[nodiscard]] double concentracaoTop3() const noexcept { return concentracaoTop3_; }
    // Whole days since the oldest arrival; 0 for an empty folder.
    [[nodiscard]] int maisAntigoEmDias() const noexcept { return maisAntigoEmDias_; }

    [[nodiscard]] bool agrupamentoSeSustenta() const noexcept
    {
        return concentracaoTop3_ >= kConcentracaoSuficiente;
    }
    // A count as a whole percentage of total, halves away from zero; 0 when total < 1.
    [[nodiscard]] int pct(int quantidade) const;

private:
    [[nodiscard]] static RaioX dosGrupos(const std::vector<GrupoOrigem>& grupos, Date agora);

    int total_;
    std::int64_t bytes_;
    int nuncaAbertos_;
    int nomesOpacos_;
    int comOrigem_;
    int origensDistintas_;
    double concentracaoTop3_;
    int maisAntigoEmDias_;
};

// The paragraph that says in plain words what the numbers mean for this folder.
[[nodiscard]] std::string leitura(const RaioX& raioX);

} // namespace tarrafa
