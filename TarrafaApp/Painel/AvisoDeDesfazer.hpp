// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;

namespace tarrafa::app {

class Modelo;

// The brief notice after each action that can be undone ("3 arquivos adiados · Desfazer"),
// at the foot of the panel for a few seconds, or until the next action replaces it.
class AvisoDeDesfazer final : public QWidget {
    Q_OBJECT

public:
    explicit AvisoDeDesfazer(Modelo& modelo, QWidget* parent = nullptr);

    [[nodiscard]] QString texto() const;
    [[nodiscard]] QPushButton& desfazer() const noexcept { return *desfazer_; }

    static constexpr int kDuracaoMs = 8000;

protected:
    void paintEvent(QPaintEvent* evento) override;

private:
    void mostrar(const QString& texto);

    Modelo& modelo_;
    QLabel* texto_;
    QPushButton* desfazer_;
    QTimer relogio_;
};

} // namespace tarrafa::app
