// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <set>
#include <string>

namespace tarrafa::app {

// What the panel remembers between redraws: the files chosen in the list (by path, so a
// choice outlives the rows that showed it) and whether the Trash question is on screen.
// The list and the action bar read and write the one instance the panel owns.
class Selecao final : public QObject {
    Q_OBJECT

public:
    explicit Selecao(QObject* parent = nullptr);

    [[nodiscard]] const std::set<std::string>& selecionados() const noexcept { return selecionados_; }
    // Notifies only when the set really changes.
    void setSelecionados(std::set<std::string> selecionados);

    [[nodiscard]] bool confirmandoLixeira() const noexcept { return confirmandoLixeira_; }
    void setConfirmandoLixeira(bool confirmando);

Q_SIGNALS:
    void selecionadosChanged();
    void confirmandoLixeiraChanged();

private:
    std::set<std::string> selecionados_;
    bool confirmandoLixeira_ = false;
};

} // namespace tarrafa::app
