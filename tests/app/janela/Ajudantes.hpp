// SPDX-License-Identifier: GPL-3.0-or-later
// What the window tests share: a window over a real model and a made-up Downloads folder,
// and ways to reach and click the sidebar's rows.
#pragma once

#include "Downloads.hpp"

#include "TarrafaApp/App/BarraLateral.hpp"
#include "TarrafaApp/App/JanelaPrincipal.hpp"
#include "TarrafaApp/Modelo/Destino.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QModelIndex>
#include <QPalette>
#include <QSignalSpy>

#include <memory>
#include <optional>

namespace tarrafa::app::teste {

// The window as the program builds it, over a model of the scenario's folder. The model
// starts its first scan as it is created; abrir() waits for it and for the panel to show it.
struct JanelaDeTeste {
    explicit JanelaDeTeste(const Downloads& cenario);

    // Shows the window, makes it active and waits for the first scan to be on screen.
    [[nodiscard]] bool abrir();
    // Waits until so many scans have ended since the model was made, and for the window
    // to show the last one.
    [[nodiscard]] bool esperarVarreduras(int quantas);

    std::unique_ptr<Modelo> modelo;
    std::unique_ptr<QSignalSpy> varreduras; // made with the model: no scan can end unseen
    std::unique_ptr<JanelaPrincipal> janela;
};

[[nodiscard]] QModelIndex linhaDe(BarraLateral& barra, const Destino& destino);
// A dark palette as a dark desktop theme gives one: light text on dark grounds.
[[nodiscard]] QPalette paletaEscura();
[[nodiscard]] std::optional<int> contagemDe(BarraLateral& barra, const Destino& destino);
// Clicks the row of a destination, as a person would; false when no row shows it.
[[nodiscard]] bool clicarLinha(BarraLateral& barra, const Destino& destino);
// The destination of the row the sidebar shows selected, if any.
[[nodiscard]] std::optional<Destino> linhaSelecionada(BarraLateral& barra);

} // namespace tarrafa::app::teste
