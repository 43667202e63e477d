// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Selecao.hpp"

#include <utility>

namespace tarrafa::app {

Selecao::Selecao(QObject* parent)
    : QObject(parent)
{
}

void Selecao::setSelecionados(std::set<std::string> selecionados)
{
    if (selecionados == selecionados_) {
        return;
    }
    selecionados_ = std::move(selecionados);
    Q_EMIT selecionadosChanged();
}

void Selecao::setConfirmandoLixeira(bool confirmando)
{
    if (confirmando == confirmandoLixeira_) {
        return;
    }
    confirmandoLixeira_ = confirmando;
    Q_EMIT confirmandoLixeiraChanged();
}

} // namespace tarrafa::app
