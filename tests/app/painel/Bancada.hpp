// SPDX-License-Identifier: GPL-3.0-or-later
// The action bar over the file list in one window, fed by a real model the way the panel
// feeds them: the destination's items after every change of the model.
#pragma once

#include "TarrafaApp/Modelo/Destino.hpp"
#include "TarrafaApp/Painel/DelegadoDeArquivos.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"

#include "Downloads.hpp"

#include <QWidget>

#include <memory>
#include <set>
#include <string>

namespace tarrafa::app {
class BarraDeAcoes;
class ListaDeArquivos;
class Modelo;
} // namespace tarrafa::app

namespace tarrafa::app::teste {

// The origin of the files the list tests make, and its group.
inline const std::string kOrigem = "https://arquivos.exemplo.com.br/pagina";
inline const Destino kGrupo = Destino::grupo("host:arquivos.exemplo.com.br");

// A model over a folder of four files from that origin.
[[nodiscard]] std::unique_ptr<Modelo> quatroArquivos(const Downloads& downloads);

struct Bancada;
// How the list's delegate lays out a row, at the row's own width.
[[nodiscard]] DelegadoDeArquivos::Disposicao disposicao(const Bancada& b, int linha);

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
