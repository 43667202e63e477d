// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Decisao.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <QUndoCommand>

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarrafa::app {

class Modelo;

// What each decision before an action was; none for a file without one (new).
using DecisoesAnteriores = std::unordered_map<std::string, std::optional<Decisao>>;

// A decision taken for some files, undone by giving each its decision from before.
class ComandoDeDecisao final : public QUndoCommand {
public:
    ComandoDeDecisao(Modelo& modelo, std::vector<std::string> ids, Decisao decisao, DecisoesAnteriores anteriores);
    void redo() override;
    void undo() override;

private:
    Modelo& modelo_;
    std::vector<std::string> ids_;
    Decisao decisao_;
    DecisoesAnteriores anteriores_;
};

// Files moved to the Trash (already moved when the command is made), undone by putting them
// back from the Trash where they were, with their decisions from before; redone by moving
// them again.
class ComandoDeLixeira final : public QUndoCommand {
public:
    ComandoDeLixeira(Modelo& modelo, std::vector<ItemTriado> movidos, DecisoesAnteriores anteriores);
    void redo() override;
    void undo() override;

private:
    Modelo& modelo_;
    std::vector<ItemTriado> movidos_;
    DecisoesAnteriores anteriores_;
    bool feito_ = true; // the first redo, made by the stack on push, has nothing to do
};

// "3 arquivos adiados", "1 arquivo resolvido"...: what an action did, for the notice and the
// menu's "Desfazer".
[[nodiscard]] QString textoDaDecisao(std::size_t quantos, Decisao decisao);
[[nodiscard]] QString textoDaLixeira(std::size_t quantos);

} // namespace tarrafa::app
