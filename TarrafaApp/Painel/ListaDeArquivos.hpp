// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Decisao.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <QListView>

#include <optional>
#include <string>
#include <vector>

class QMenu;

namespace tarrafa::app {

class DelegadoDeArquivos;
class Modelo;
class ModeloDeArquivos;
class Selecao;

// The flat list of files with the usual multiple selection (click, Ctrl-click, Shift-click,
// Ctrl+A), kept in step with the panel's Selecao both ways. A row's context menu acts on the
// selection: a right-click on a row outside it first selects that row alone, as file managers do.
class ListaDeArquivos final : public QListView {
    Q_OBJECT

public:
    ListaDeArquivos(Modelo& modelo, Selecao& selecao, QWidget* parent = nullptr);

    // The rows, in the order given. Chosen files stay chosen, also those no longer listed.
    void setItens(std::vector<ItemTriado> itens);
    [[nodiscard]] const std::vector<ItemTriado>& itens() const noexcept;
    [[nodiscard]] ModeloDeArquivos& modeloDeArquivos() const noexcept { return *arquivos_; }
    [[nodiscard]] DelegadoDeArquivos& delegado() const noexcept { return *delegado_; }

    // Chooses every listed file, as Ctrl+A in the list does.
    void selecionarTudo();

    // The menu a right-click on a row opens, built for that row's file.
    [[nodiscard]] QMenu* menuDaLinha(const QModelIndex& indice);
    // Opens that menu at the row with the keyboard focus (Shift+F10, the Menu key).
    void abrirMenuDaLinhaAtual();
    // Makes the file's row the current one (where the keyboard acts), scrolled into sight, and
    // selects it alone if asked; false when the file is not listed.
    bool tornarAtual(const std::string& id, bool selecionar);
    // The file of the row with the keyboard focus (the one last clicked or moved to).
    [[nodiscard]] std::optional<ItemTriado> itemAtual() const;

Q_SIGNALS:
    // Another file has the keyboard focus, or the one that had it changed.
    void itemAtualChanged();
    // Space was pressed on the list: the details pane is shown or hidden.
    void alternarDetalhesPedido();
    // "Mover para a Lixeira" was chosen in a row's menu: the selection is to be asked about.
    void moverParaLixeiraPedido();

protected:
    void contextMenuEvent(QContextMenuEvent* evento) override;
    void keyPressEvent(QKeyEvent* evento) override;
    [[nodiscard]] QItemSelectionModel::SelectionFlags selectionCommand(
        const QModelIndex& indice, const QEvent* evento = nullptr) const override;

private:
    void abrirSeEstiverNaPasta(const ItemTriado& item) const;
    void aoMudarSelecaoDaVista();
    void aplicarSelecao();
    // A menu for a row outside the selection is for that row alone: it becomes the selection.
    void escolherSoSeFora(const QModelIndex& indice);


    Modelo& modelo_;
    Selecao& selecao_;
    ModeloDeArquivos* arquivos_;
    bool estadosAgendados_ = false; // the rows' states will be drawn again on the next turn
    DelegadoDeArquivos* delegado_;
    bool aplicando_ = false; // the view is being set from Selecao: do not write it back
    bool escrevendo_ = false; // Selecao is being set from the view: do not apply it back
};

} // namespace tarrafa::app
