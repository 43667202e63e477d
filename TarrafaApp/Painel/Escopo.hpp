// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/RaioX.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <QString>

#include <cstdint>
#include <vector>

namespace tarrafa::app {

// What the summary strip describes: the open group (its figures, worked out by the panel)
// or the whole folder.
class Escopo final {
public:
    enum class Caso { grupo, pasta };

    [[nodiscard]] static Escopo grupo(int total, std::int64_t bytes, int nuncaAbertos, int opacos) noexcept
    {
        return Escopo(Caso::grupo, total, bytes, nuncaAbertos, opacos);
    }
    [[nodiscard]] static Escopo pasta() noexcept { return Escopo(Caso::pasta, 0, 0, 0, 0); }
    // The figures of the items a group lists: how many, their summed size (an overflow
    // stops the program), how many were never opened and how many carry the opaque-name
    // badge (once per item).
    [[nodiscard]] static Escopo doGrupo(const std::vector<ItemTriado>& itens);

    [[nodiscard]] Caso caso() const noexcept { return caso_; }
    // The group's figures; 0 for the folder.
    [[nodiscard]] int total() const noexcept { return total_; }
    [[nodiscard]] std::int64_t bytes() const noexcept { return bytes_; }
    [[nodiscard]] int nuncaAbertos() const noexcept { return nuncaAbertos_; }
    [[nodiscard]] int opacos() const noexcept { return opacos_; }

    friend bool operator==(const Escopo&, const Escopo&) = default;

private:
    Escopo(Caso caso, int total, std::int64_t bytes, int nuncaAbertos, int opacos) noexcept
        : caso_(caso)
        , total_(total)
        , bytes_(bytes)
        , nuncaAbertos_(nuncaAbertos)
        , opacos_(opacos)
    {
    }

    Caso caso_;
    int total_;
    std::int64_t bytes_;
    int nuncaAbertos_;
    int opacos_;
};

// One cell of the summary strip: a label, a big number and a line under it.
struct Celula {
    QString rotulo;
    QString valor;
    QString sub;

    friend bool operator==(const Celula&, const Celula&) = default;
};

// The strip's four cells for a scope: about the group (the last cell still the whole
// folder's) or about the folder.
[[nodiscard]] std::vector<Celula> celulas(const RaioX& raioX, const Escopo& escopo);

// parte as a whole percentage of total, worked out in double precision and cut toward
// zero (1 of 3 is 33); 0 when total < 1.
[[nodiscard]] int porcentoDoGrupo(int parte, int total);

} // namespace tarrafa::app
