// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;

namespace tarrafa::app {

// A short note on a faint blue ground with an info symbol, as wide as its place.
class Aviso final : public QWidget {
    Q_OBJECT

public:
    explicit Aviso(QWidget* parent = nullptr);

    [[nodiscard]] QString texto() const;
    void setTexto(const QString& texto);

protected:
    void paintEvent(QPaintEvent* evento) override;
    void changeEvent(QEvent* evento) override;

private:
    void atualizarSimbolo();

    QLabel* simbolo_;
    QLabel* texto_;
};

} // namespace tarrafa::app
