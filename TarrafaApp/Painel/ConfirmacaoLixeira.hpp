// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QDialogButtonBox>

class QAbstractButton;
class QLabel;
class QPushButton;

namespace tarrafa::app {

// The question asked before files go to the Trash. Its buttons come in a fixed order,
// "Cancelar" then "Mover para a Lixeira", whatever the desktop's usual button order: a
// message box would place a destructive button before the cancel one on every layout Qt
// knows. Accepted means move; rejected (the cancel button, Escape, closing) means keep.
class ConfirmacaoLixeira final : public QDialog {
    Q_OBJECT

public:
    // The names of the files that would move, as the list shows them: up to five are named,
    // then "e mais N".
    explicit ConfirmacaoLixeira(const QStringList& nomes, QWidget* parent = nullptr);

    [[nodiscard]] QString titulo() const;
    [[nodiscard]] QString mensagem() const;
    // The files named, one per line.
    [[nodiscard]] QString arquivos() const;
    static constexpr int kNomesMostrados = 5;
    [[nodiscard]] QPushButton* cancelar() const noexcept { return cancelar_; }
    [[nodiscard]] QPushButton* mover() const noexcept { return mover_; }
    // The buttons in the order they are laid out, left to right.
    [[nodiscard]] QList<QPushButton*> botoes() const;
    // The role a button plays: the cancel one rejects, the destructive one moves.
    [[nodiscard]] static QDialogButtonBox::ButtonRole papel(const QAbstractButton& botao);

private:
    QLabel* titulo_;
    QLabel* mensagem_;
    QLabel* arquivos_;
    QPushButton* cancelar_;
    QPushButton* mover_;
};

} // namespace tarrafa::app
