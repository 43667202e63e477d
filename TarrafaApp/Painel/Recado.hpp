// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace tarrafa::app {

class Modelo;

// The model's message about a refused action (a file that could not go to the Trash), on a
// faint red strip above the content, with a button to dismiss it. Shown for as long as the
// model keeps the message: a rescan does not take it away.
class Recado final : public QWidget {
    Q_OBJECT

public:
    explicit Recado(Modelo& modelo, QWidget* parent = nullptr);

    [[nodiscard]] QString texto() const;
    [[nodiscard]] QPushButton& fechar() const noexcept { return *fechar_; }

protected:
    void paintEvent(QPaintEvent* evento) override;

private:
    void atualizar();

    Modelo& modelo_;
    QLabel* texto_;
    QPushButton* fechar_;
};

} // namespace tarrafa::app
