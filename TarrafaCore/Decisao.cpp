// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Decisao.hpp"

namespace tarrafa {

std::string_view valorBruto(Decisao decisao) noexcept
{
    switch (decisao) {
    case Decisao::novo:
        return "novo";
    case Decisao::adiado:
        return "adiado";
    case Decisao::resolvido:
        return "resolvido";
    case Decisao::ignorado:
        return "ignorado";
    }
    return "novo";
}

std::optional<Decisao> decisaoDeValorBruto(std::string_view valor) noexcept
{
    for (const Decisao decisao : kTodasAsDecisoes) {
        if (valorBruto(decisao) == valor) {
            return decisao;
        }
    }
    return std::nullopt;
}

Estado estadoDe(Decisao decisao) noexcept
{
    switch (decisao) {
    case Decisao::novo:
        return Estado::caixa;
    case Decisao::adiado:
        return Estado::adiados;
    case Decisao::resolvido:
    case Decisao::ignorado:
        return Estado::resolvidos;
    }
    return Estado::caixa;
}

} // namespace tarrafa
