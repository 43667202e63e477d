// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QScrollArea>

#include <array>

class QGroupBox;
class QLabel;

namespace tarrafa::app {

class Barra;
class Modelo;

// The folder's X-ray: four percentage bars, a paragraph that says what they mean, and the
// reminder that nothing was touched. Empty until the first scan has given its figures.
class RaioXView final : public QScrollArea {
    Q_OBJECT

public:
    explicit RaioXView(Modelo& modelo, QWidget* parent = nullptr);

    [[nodiscard]] const std::array<Barra*, 4>& barras() const noexcept { return barras_; }
    [[nodiscard]] QGroupBox& caixa() const noexcept { return *caixa_; }
    [[nodiscard]] QLabel& leitura() const noexcept { return *leitura_; }
    [[nodiscard]] QLabel& somenteLeitura() const noexcept { return *somenteLeitura_; }
    // False while the model has no diagnostics yet.
    [[nodiscard]] bool temConteudo() const;

protected:
    void changeEvent(QEvent* evento) override;

private:
    void atualizar();
    void aplicarCores();

    Modelo& modelo_;
    QWidget* conteudo_;
    std::array<Barra*, 4> barras_ {};
    QGroupBox* caixa_;
    QLabel* leitura_;
    QLabel* somenteLeitura_;
};

} // namespace tarrafa::app
