// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace tarrafa::app {

// Stands where content would be when there is none to show: a large dimmed symbol, a
// title and a short description, centred, and where there is something to do about it, a
// button that does it.
class ConteudoIndisponivel final : public QWidget {
    Q_OBJECT

public:
    ConteudoIndisponivel(
        const QString& simbolo, const QString& titulo, const QString& descricao, QWidget* parent = nullptr);

    [[nodiscard]] QString titulo() const;
    void setTitulo(const QString& titulo);
    [[nodiscard]] QString descricao() const;
    void setDescricao(const QString& descricao);
    // The button under the texts; hidden while its text is empty.
    [[nodiscard]] QPushButton& acao() const noexcept { return *acao_; }
    void setAcao(const QString& texto);

Q_SIGNALS:
    void acaoPedida();

protected:
    void changeEvent(QEvent* evento) override;

private:
    void pintarSimbolo();

    QString simbolo_;
    QLabel* icone_;
    QLabel* titulo_;
    QLabel* descricao_;
    QPushButton* acao_;
};

} // namespace tarrafa::app
