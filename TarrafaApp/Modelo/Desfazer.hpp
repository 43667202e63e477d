// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Decisao.hpp"
#include "TarrafaCore/Identidade.hpp"
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

// One file a command moved to the Trash or brought back: where it was in the folder, its name as
// shown, and what it was when the person confirmed the action. Redoing or undoing acts only on
// that very file: whatever has taken its name since stays where it is.
struct Movido {
    std::string caminho;
    std::string nome;
    Identidade identidade;
};

// Files moved to the Trash, or brought back from it, as one step. The move is already done when
// the command is made. Undone by the opposite move; a file that comes back to the folder takes
// the decision anteriores gives it (for a restore, none: the inbox);
// each way checks each file's identity first. A file that can no longer go either way (its name
// taken, the file gone or changed) leaves the command; a command left with no file is retired
// from the history.
class ComandoDeLixeira final : public QUndoCommand {
public:
    enum class Sentido { paraALixeira, daLixeira };

    ComandoDeLixeira(Modelo& modelo, Sentido sentido, std::vector<Movido> movidos, DecisoesAnteriores anteriores);
    void redo() override;
    void undo() override;

    [[nodiscard]] const std::vector<Movido>& movidos() const noexcept { return movidos_; }

private:
    void levar(bool paraALixeira);

    Modelo& modelo_;
    Sentido sentido_;
    std::vector<Movido> movidos_;
    DecisoesAnteriores anteriores_;
    bool feito_ = true; // the first redo, made by the stack on push, has nothing to do
};

// "3 arquivos adiados", "1 arquivo movido para a Lixeira", "2 arquivos restaurados"...: what an action did, for the notice and the
// menu's "Desfazer".
[[nodiscard]] QString textoDaDecisao(std::size_t quantos, Decisao decisao);
[[nodiscard]] QString textoDaLixeira(std::size_t quantos);
[[nodiscard]] QString textoDaRestauracao(std::size_t quantos);

} // namespace tarrafa::app
