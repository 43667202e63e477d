// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMainWindow>

class QAction;
class QLineEdit;
class QSplitter;
class QToolButton;

namespace tarrafa::app {

class BarraLateral;
class Modelo;
class Painel;

// The one window: the "Arquivo" menu, a toolbar with "Varrer de novo" and the search
// field, and a split view with the sidebar on the left and the panel on the right. Its
// title is the title of the destination on show.
class JanelaPrincipal final : public QMainWindow {
    Q_OBJECT

public:
    static constexpr int kLarguraMinima = 900;
    static constexpr int kAlturaMinima = 560;
    static constexpr int kBarraLateralMinima = 210;
    static constexpr int kBarraLateralInicial = 236;
    static constexpr int kBarraLateralMaxima = 280;

    explicit JanelaPrincipal(Modelo& modelo, QWidget* parent = nullptr);

    [[nodiscard]] Painel& painel() noexcept { return *painel_; }
    [[nodiscard]] BarraLateral& barraLateral() noexcept { return *barraLateral_; }
    [[nodiscard]] QLineEdit& busca() noexcept { return *busca_; }

protected:
    void changeEvent(QEvent* evento) override;

private:
    void pintarDivisao();
    void montarMenu();
    void montarBarraDeFerramentas();
    void montarAtalhos();

    Modelo& modelo_;
    BarraLateral* barraLateral_;
    Painel* painel_;
    QSplitter* divisao_;
    QLineEdit* busca_ = nullptr;
    QToolButton* varrerDeNovo_ = nullptr;
};

} // namespace tarrafa::app
