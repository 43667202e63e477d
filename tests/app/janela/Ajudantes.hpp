// SPDX-License-Identifier: GPL-3.0-or-later
// What the window tests share: a window over a real model and a made-up Downloads folder,
// and ways to reach and click the sidebar's rows.
#pragma once

#include "Paleta.hpp"

#include "Downloads.hpp"

#include "TarrafaApp/App/BarraLateral.hpp"
#include "TarrafaApp/App/JanelaPrincipal.hpp"
#include "TarrafaApp/Modelo/Destino.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QModelIndex>
#include <QPalette>
#include <QSignalSpy>

#include <memory>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>

namespace tarrafa::app {
class ListaDeArquivos;
} // namespace tarrafa::app

class QMenu;
class QWidget;

namespace tarrafa::app::teste {

// The two origins the window tests' files come from, and their groups.
inline const std::string kExemplo = "https://arquivos.exemplo.com.br/pagina";
inline const std::string kOutro = "https://downloads.outro.org/pagina";
inline const Destino kGrupoExemplo = Destino::grupo("host:arquivos.exemplo.com.br");
inline const Destino kGrupoOutro = Destino::grupo("host:downloads.outro.org");

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
[[nodiscard]] std::optional<int> contagemDe(BarraLateral& barra, const Destino& destino);
// Clicks the row of a destination, as a person would; false when no row shows it.
[[nodiscard]] bool clicarLinha(BarraLateral& barra, const Destino& destino);
// The destination of the row the sidebar shows selected, if any.
[[nodiscard]] std::optional<Destino> linhaSelecionada(BarraLateral& barra);

// Whether the widget of that name below raiz is on screen.
[[nodiscard]] bool visivel(const QWidget& raiz, const char* nome);
// The popup menu on screen, if one is.
[[nodiscard]] QMenu* menuAberto();
[[nodiscard]] std::string lerTudo(const std::string& caminho);
[[nodiscard]] ListaDeArquivos& listaDe(JanelaDeTeste& t);
[[nodiscard]] std::set<std::string> ids(std::initializer_list<std::string> caminhos);
// Clicks a row of the file list, scrolled into view first.
void clicarNaLinha(ListaDeArquivos& lista, int linha, Qt::KeyboardModifiers teclas = {});
// Opens the group and waits for its files on screen.
[[nodiscard]] bool abrirGrupo(JanelaDeTeste& t, const Destino& grupo);

} // namespace tarrafa::app::teste
