// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaApp/Modelo/Destino.hpp"
#include "TarrafaCore/Decisao.hpp"

#include <QMainWindow>

#include <vector>

class QAction;
class QKeySequence;
class QLineEdit;
class QSplitter;
class QToolButton;

namespace tarrafa::app {

class BarraLateral;
class Modelo;
class Painel;

// The one window: the menus, a toolbar with "Varrer de novo" and the search field, and a
// split view with the sidebar on the left and the panel on the right. Its title is the title
// of the destination on show. It remembers the destinations visited, to go back and forth,
// and its size, divider and details pane between launches.
class JanelaPrincipal final : public QMainWindow {
    Q_OBJECT

public:
    // Small enough for half of a laptop's screen, or a 1366x768 one with its panels.
    static constexpr int kLarguraMinima = 640;
    static constexpr int kAlturaMinima = 480;
    static constexpr int kBarraLateralMinima = 160;
    static constexpr int kBarraLateralInicial = 236;
    static constexpr int kBarraLateralMaxima = 280;

    explicit JanelaPrincipal(Modelo& modelo, QWidget* parent = nullptr);

    [[nodiscard]] Painel& painel() noexcept { return *painel_; }
    [[nodiscard]] BarraLateral& barraLateral() noexcept { return *barraLateral_; }
    [[nodiscard]] QLineEdit& busca() noexcept { return *busca_; }

    // Goes to the destination shown before (or after, having gone back).
    void voltar();
    void avancar();

    // Where the window keeps its size and layout between launches: tarrafa/janela.conf in
    // the user's configuration folder.
    [[nodiscard]] static QString arquivoDeConfiguracao();
    // A shortcut as the list of shortcuts names it, the keys in Portuguese ("Alt+Seta para a
    // esquerda").
    [[nodiscard]] static QString nomeDasTeclas(const QKeySequence& teclas);

protected:
    void changeEvent(QEvent* evento) override;
    void closeEvent(QCloseEvent* evento) override;
    bool eventFilter(QObject* objeto, QEvent* evento) override;

private:
    // One step through the history: the newest of de is shown, the one on show goes to para.
    void percorrer(std::vector<Destino>& de, std::vector<Destino>& para);
    void pintarDivisao();
    void montarMenu();
    void montarBarraDeFerramentas();
    void montarAtalhos();
    void aoMudarDestino();
    void atualizarNavegacao();
    void atualizarAcoes();
    void mostrarAtalhos();
    void mostrarSobre();
    void restaurarDisposicao();
    void guardarDisposicao() const;

    Modelo& modelo_;
    BarraLateral* barraLateral_;
    Painel* painel_;
    QSplitter* divisao_;
    QLineEdit* busca_ = nullptr;
    QToolButton* varrerDeNovo_ = nullptr;
    QAction* voltar_ = nullptr;
    QAction* avancar_ = nullptr;
    std::vector<QAction*> acoesSobreSelecionados_;

    Destino destinoAtual_;
    std::vector<Destino> atras_;
    std::vector<Destino> adiante_;
    bool navegando_ = false; // the destination changes by going back or forth
};

} // namespace tarrafa::app
