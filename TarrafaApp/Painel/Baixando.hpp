// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QWidget>

class QVBoxLayout;

namespace tarrafa::app {

class Modelo;

// Downloads still arriving, above the inbox (the panel shows it there when there are any): one
// row each, its name and "Baixando…". They are not the person's files yet, so nothing here can
// be chosen, decided or moved; a row goes away when the browser gives the file its name.
class Baixando final : public QWidget {
    Q_OBJECT

public:
    explicit Baixando(Modelo& modelo, QWidget* parent = nullptr);

    // The names shown, in order.
    [[nodiscard]] QStringList nomes() const;

private:
    void atualizar();

    Modelo& modelo_;
    QVBoxLayout* linhas_;
};

} // namespace tarrafa::app
