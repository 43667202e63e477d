// SPDX-License-Identifier: GPL-3.0-or-later
// Several Qt Test classes in one executable: each file registers its class and the shared
// main runs them all, under one application object.
#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <vector>

namespace tarrafa::app::teste {

using FabricaDeTeste = std::function<std::unique_ptr<QObject>()>;

inline std::vector<FabricaDeTeste>& testesRegistrados()
{
    static std::vector<FabricaDeTeste> testes;
    return testes;
}

inline bool registrarTeste(FabricaDeTeste fabrica)
{
    testesRegistrados().push_back(std::move(fabrica));
    return true;
}

} // namespace tarrafa::app::teste

#define TARRAFA_REGISTRAR_TESTE(Classe)                                                                      \
    namespace {                                                                                              \
    [[maybe_unused]] const bool registrado##Classe                                                           \
        = ::tarrafa::app::teste::registrarTeste([] { return std::make_unique<Classe>(); });                  \
    }
