// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Decisao.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <QWidget>

#include <string>
#include <vector>

class QGraphicsOpacityEffect;
class QLabel;
class QPushButton;

namespace tarrafa::app {

class Modelo;
class Selecao;

// The bar above the file list: select all or none, how many are chosen, and what to do
// with them (postpone, resolve, ignore, move to the Trash after the panel asks), only what
// makes sense where the list is: nothing postpones what is postponed or resolves what is
// resolved. Its buttons stay usable with nothing chosen; the bar is only dimmed then. During a
// scan it is disabled. In a narrow window its buttons wrap onto a second line.
class BarraDeAcoes final : public QWidget {
    Q_OBJECT

public:
    BarraDeAcoes(Modelo& modelo, Selecao& selecao, QWidget* parent = nullptr);

    // The list the bar acts on, the same the file list shows.
    void setItens(std::vector<ItemTriado> itens);

    [[nodiscard]] QPushButton& alternarSelecao() const noexcept { return *alternar_; }
    [[nodiscard]] QLabel& contagem() const noexcept { return *contagem_; }
    [[nodiscard]] QPushButton& adiar() const noexcept { return *adiar_; }
    [[nodiscard]] QPushButton& resolver() const noexcept { return *resolver_; }
    [[nodiscard]] QPushButton& ignorar() const noexcept { return *ignorar_; }
    [[nodiscard]] QPushButton& moverParaLixeira() const noexcept { return *lixeira_; }
    // Only in "Adiados" and "Resolvidos": the chosen files go back to the inbox.
    [[nodiscard]] QPushButton& devolver() const noexcept { return *devolver_; }
    // Only in "Resolvidos": the chosen files this window moved to the Trash come back.
    [[nodiscard]] QPushButton& restaurar() const noexcept { return *restaurar_; }
    // Shows or hides the details pane beside the list (checked while it shows).
    [[nodiscard]] QPushButton& detalhes() const noexcept { return *detalhes_; }
    // 0.6 while nothing is chosen, 1 otherwise.
    [[nodiscard]] qreal opacidade() const;

    // "nenhum selecionado", "1 selecionado", "4 selecionados".
    [[nodiscard]] static QString textoDaContagem(std::size_t selecionados);

protected:
    void changeEvent(QEvent* evento) override;

private:
    void atualizar();
    void alternar();
    void decidirSelecionados(Decisao decisao);
    void aplicarCores();

    Modelo& modelo_;
    Selecao& selecao_;
    QPushButton* alternar_;
    QLabel* contagem_;
    QPushButton* adiar_;
    QPushButton* resolver_;
    QPushButton* ignorar_;
    QPushButton* lixeira_;
    QPushButton* devolver_;
    QPushButton* restaurar_;
    QPushButton* detalhes_;
    QGraphicsOpacityEffect* opacidade_;
    std::vector<std::string> ids_; // of the listed items, in order
};

} // namespace tarrafa::app
