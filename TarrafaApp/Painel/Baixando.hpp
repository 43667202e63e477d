// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QWidget>

class QVBoxLayout;

namespace tarrafa::app {

class Modelo;

// Downloads still arriving, above the inbox (the panel shows it there when there are any): one
// row each, with its type's icon, the name it will have once complete, what has arrived so
// far and "Baixando…". They are not the person's files yet, so nothing here can
// be chosen, decided or moved; a row goes away when the browser gives the file its name.
class Baixando final : public QWidget {
    Q_OBJECT

public:
    explicit Baixando(Modelo& modelo, QWidget* parent = nullptr);

    // The names shown, in order: the final ones ("filme.mp4", not "filme.mp4.crdownload").
    [[nodiscard]] QStringList nomes() const;

private:
    void atualizar();

    Modelo& modelo_;
    QVBoxLayout* linhas_;
};

} // namespace tarrafa::app
