// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;

namespace tarrafa::app {

// Stands where content would be when there is none to show: a large dimmed symbol, a
// title and a short description, centred.
class ConteudoIndisponivel final : public QWidget {
    Q_OBJECT

public:
    ConteudoIndisponivel(
        const QString& simbolo, const QString& titulo, const QString& descricao, QWidget* parent = nullptr);

    [[nodiscard]] QString titulo() const;
    [[nodiscard]] QString descricao() const;
    void setDescricao(const QString& descricao);

protected:
    void changeEvent(QEvent* evento) override;

private:
    void pintarSimbolo();

    QString simbolo_;
    QLabel* icone_;
    QLabel* titulo_;
    QLabel* descricao_;
};

} // namespace tarrafa::app
