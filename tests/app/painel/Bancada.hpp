// SPDX-License-Identifier: GPL-3.0-or-later
// The action bar over the file list in one window, fed by a real model the way the panel
// feeds them: the destination's items after every change of the model.
#pragma once

#include "TarrafaApp/Modelo/Destino.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"

#include <QWidget>

#include <set>
#include <string>

namespace tarrafa::app {
class BarraDeAcoes;
class ListaDeArquivos;
class Modelo;
} // namespace tarrafa::app

namespace tarrafa::app::teste {

struct Bancada {
    Bancada(Modelo& modelo, Destino destino);

    [[nodiscard]] bool exposta();
    void recarregar();
    // A row, by its file name.
    [[nodiscard]] int linhaDe(const std::string& nome) const;
    [[nodiscard]] std::string id(int linha) const;
    [[nodiscard]] QPoint centro(int linha) const;
    void clicar(int linha, Qt::KeyboardModifiers teclas = {});
    // Right-click as a person does (press and release), then the menu request the desktop
    // sends for it.
    void clicarComODireito(int linha);
    // The rows the list shows selected.
    [[nodiscard]] std::set<std::string> selecionadosNaLista() const;

    Modelo& modelo;
    Destino destino;
    Selecao selecao;
    QWidget janela;
    BarraDeAcoes* barra;
    ListaDeArquivos* lista;
};

} // namespace tarrafa::app::teste
