// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QListView>

namespace tarrafa::app {

class LinhasDaBarraLateral;
class Modelo;

// The sidebar: the inbox, the postponed and resolved lists and the diagnostics, then one
// row per origin group under "Origens". Its selection is the model's selected destination,
// both ways: choosing a row selects that destination, and whatever selects a destination
// elsewhere (a group card, a test) selects its row here.
class BarraLateral final : public QListView {
    Q_OBJECT

public:
    explicit BarraLateral(Modelo& modelo, QWidget* parent = nullptr);

    [[nodiscard]] LinhasDaBarraLateral& linhas() noexcept { return *linhas_; }

private:
    // Shows the model's destination as the selected row (none when no row shows it).
    void sincronizar();
    void aoMudarSelecao();

    Modelo& modelo_;
    LinhasDaBarraLateral* linhas_;
    bool sincronizando_ = false;
};

} // namespace tarrafa::app
