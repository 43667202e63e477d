// SPDX-License-Identifier: GPL-3.0-or-later
// Several Qt Test classes in one executable: each file registers its class and the shared
// main runs them all under one QApplication.
#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <vector>

namespace tarrafa::app::teste {

using FabricaDeTeste = std::function<std::unique_ptr<QObject>()>;

inline std::vector<FabricaDeTeste>& testesDoPainel()
{
    static std::vector<FabricaDeTeste> testes;
    return testes;
}

inline bool registrarTesteDoPainel(FabricaDeTeste fabrica)
{
    testesDoPainel().push_back(std::move(fabrica));
    return true;
}

} // namespace tarrafa::app::teste

#define TARRAFA_TESTE_DO_PAINEL(Classe)                                                                      \
    namespace {                                                                                              \
    [[maybe_unused]] const bool registrado##Classe                                                           \
        = ::tarrafa::app::teste::registrarTesteDoPainel([] { return std::make_unique<Classe>(); });          \
    }
