// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/Origem.hpp"
#include "TarrafaCore/Selo.hpp"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace tarrafa {

// One scanned file after triage: the snapshot, the origin it was attributed to and its
// badges, in the order the file list shows them.
//
// Immutable, so copies share one record: lists of a hundred thousand items are filtered and
// handed from the model to the views on every keystroke, and a copy costs a reference count
// rather than a dozen allocations.
class ItemTriado final {
public:
    ItemTriado(FileSnapshot snapshot, Origem origem, std::vector<Selo> selos);
    // Copies only, never moves: an item is never left empty, whatever is done with it.
    ItemTriado(const ItemTriado&) = default;
    ItemTriado& operator=(const ItemTriado&) = default;
    ~ItemTriado() = default;

    [[nodiscard]] const FileSnapshot& snapshot() const noexcept { return dados_->snapshot; }
    [[nodiscard]] const Origem& origem() const noexcept { return dados_->origem; }
    [[nodiscard]] const std::vector<Selo>& selos() const noexcept { return dados_->selos; }
    // The file's identity everywhere (selection, decisions): its full path.
    [[nodiscard]] const std::string& id() const noexcept { return dados_->snapshot.id(); }
    [[nodiscard]] const std::string& nome() const noexcept { return dados_->snapshot.nome(); }

    // Equal contents, whether or not the record is shared.
    friend bool operator==(const ItemTriado& a, const ItemTriado& b) noexcept
    {
        return a.dados_ == b.dados_ || *a.dados_ == *b.dados_;
    }

private:
    struct Dados {
        FileSnapshot snapshot;
        Origem origem;
        std::vector<Selo> selos;
        friend bool operator==(const Dados&, const Dados&) = default;
    };
    std::shared_ptr<const Dados> dados_;
};

// The files of one origin (or all installers), newest first. Its counts are recomputed on
// every call, never stored.
class GrupoOrigem final {
public:
    GrupoOrigem(Origem origem, std::vector<ItemTriado> itens);

    [[nodiscard]] const Origem& origem() const noexcept { return origem_; }
    [[nodiscard]] const std::vector<ItemTriado>& itens() const noexcept { return itens_; }
    [[nodiscard]] const std::string& id() const noexcept { return origem_.chave(); }

    [[nodiscard]] int total() const noexcept;
    // Sum of the sizes; a sum that overflows 64 bits stops the program.
    [[nodiscard]] std::int64_t bytes() const;
    // Items never opened after they arrived (from the snapshots).
    [[nodiscard]] int nuncaAbertos() const noexcept;
    // Items carrying the opaque-name badge; screenshots never do.
    [[nodiscard]] int nomesOpacos() const noexcept;

private:
    Origem origem_;
    std::vector<ItemTriado> itens_;
};

// Turns the scanned snapshots into origin groups of badged items. Pure: no file access,
// no clock; the same input always gives the same groups in the same order.
class TriageEngine final {
public:
    explicit TriageEngine(std::set<std::string> appsInstalados);

    // Names of the installed applications, used to tell whether an installer was used.
    [[nodiscard]] const std::set<std::string>& appsInstalados() const noexcept { return appsInstalados_; }

    // Groups by size, largest first ("_sem_origem" always last); installers gathered in
    // "_instaladores". Groups of equal size come in the order their keys first appear in
    // the input.
    [[nodiscard]] std::vector<GrupoOrigem> triar(const std::vector<FileSnapshot>& snapshots) const;

    // One snapshot's item, given how many snapshots of the folder (itself included) share its
    // series key: what triar() gives it in that folder.
    [[nodiscard]] ItemTriado triarUm(const FileSnapshot& snapshot, int mesmaSerie) const;
    // Items already triaged, in scan order, gathered into groups as triar() gathers them.
    [[nodiscard]] static std::vector<GrupoOrigem> agrupar(const std::vector<ItemTriado>& itens);
    // The key of the group an item goes to: its origin's, or the installers'.
    [[nodiscard]] static const std::string& chaveDoGrupo(const ItemTriado& item);
    // The origin a group whose first item (in scan order) is this one shows.
    [[nodiscard]] static Origem origemDoGrupo(const ItemTriado& primeiro);
    // Largest first, the group without origin last; equal sizes keep their order.
    static void ordenar(std::vector<GrupoOrigem>& grupos);
    // The one order of groups, for a stable sort: whether a goes before b.
    [[nodiscard]] static bool grupoVemAntes(const GrupoOrigem& a, const GrupoOrigem& b) noexcept;
    // The one order of items in a group, for a stable sort: newest arrival first.
    [[nodiscard]] static bool itemVemAntes(const ItemTriado& a, const ItemTriado& b) noexcept;

private:
    std::set<std::string> appsInstalados_;
    // Normalised once, not once per installer in the folder.
    std::vector<std::string> appsNormalizados_;
};

} // namespace tarrafa
