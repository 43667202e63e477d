// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QScrollArea>

namespace tarrafa::app {

class Aviso;
class CartoesDeGrupos;
class ConteudoIndisponivel;
class Modelo;

// The inbox as origin groups: a warning when the origins are too scattered for grouping to
// help, one card per group with undecided files, and a word of reassurance when there is
// nothing left (but nothing at all while the first scan is still running).
class ListaDeGrupos final : public QScrollArea {
    Q_OBJECT

public:
    explicit ListaDeGrupos(Modelo& modelo, QWidget* parent = nullptr);

    [[nodiscard]] Aviso& aviso() const noexcept { return *aviso_; }
    [[nodiscard]] CartoesDeGrupos& cartoes() const noexcept { return *cartoes_; }
    // The "Caixa de entrada vazia" placeholder, with the room above it.
    [[nodiscard]] QWidget& vazio() const noexcept { return *vazio_; }
    [[nodiscard]] ConteudoIndisponivel& indisponivel() const noexcept { return *indisponivel_; }

private:
    void agendar();
    void atualizar();

    Modelo& modelo_;
    QWidget* conteudo_;
    Aviso* aviso_;
    CartoesDeGrupos* cartoes_;
    QWidget* vazio_;
    ConteudoIndisponivel* indisponivel_;
    bool agendado_ = false;
};

} // namespace tarrafa::app
