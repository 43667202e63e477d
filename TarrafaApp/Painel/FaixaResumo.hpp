// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Qt before the core headers: moc reads <compare> correctly only after Qt's configuration.
#include <QWidget>

#include "TarrafaApp/Painel/Escopo.hpp"

#include <vector>

namespace tarrafa::app {

// One cell of the strip: its label, the big number and the line under it, on a faint
// rounded ground. Texts that do not fit are shortened at the end, never clipped.
class CelulaResumo final : public QWidget {
    Q_OBJECT

public:
    explicit CelulaResumo(QWidget* parent = nullptr);

    void mostrar(const Celula& celula);
    [[nodiscard]] const Celula& celula() const noexcept { return celula_; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* evento) override;

private:
    Celula celula_;
};

// The four numbers at the top of the panel, about the open group or the whole folder.
class FaixaResumo final : public QWidget {
    Q_OBJECT

public:
    explicit FaixaResumo(QWidget* parent = nullptr);

    void mostrar(const RaioX& raioX, const Escopo& escopo);

    // What the cells show now, left to right.
    [[nodiscard]] const std::vector<Celula>& celulas() const noexcept { return celulas_; }
    [[nodiscard]] const std::vector<CelulaResumo*>& vistas() const noexcept { return vistas_; }

private:
    std::vector<Celula> celulas_;
    std::vector<CelulaResumo*> vistas_;
};

} // namespace tarrafa::app
