// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Apresentacao.hpp"

#include "TarrafaCore/Formato.hpp"
#include "TarrafaCore/Plural.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace tarrafa::Apresentacao {

namespace {

constexpr std::string_view kSeparador = " · ";

} // namespace

int porcentoTruncado(double fracao)
{
    const double produto = std::trunc(fracao * 100.0);
    // Compared as doubles: both int limits are exactly representable.
    if (!std::isfinite(produto) || produto < static_cast<double>(std::numeric_limits<int>::min())
        || produto > static_cast<double>(std::numeric_limits<int>::max())) {
        std::fprintf(stderr, "tarrafa: a percentage is not a finite number (%g)\n", fracao);
        std::abort();
    }
    return static_cast<int>(produto);
}

std::string resumoDoGrupo(const GrupoOrigem& grupo)
{
    std::string resumo = Formato::bytes(grupo.bytes());
    if (const int nunca = grupo.nuncaAbertos(); nunca >= 1) {
        resumo.append(kSeparador).append(Plural::contagem(nunca, "nunca aberto", "nunca abertos"));
    }
    if (const int opacos = grupo.nomesOpacos(); opacos >= 1) {
        resumo.append(kSeparador).append(Plural::contagem(opacos, "com nome opaco", "com nome opaco"));
    }
    return resumo;
}

std::string_view itemOuItens(int quantidade) noexcept
{
    return Plural::forma(quantidade, "item", "itens");
}

std::optional<std::string> avisoDeEspalhamento(const RaioX* raioX)
{
    if (raioX == nullptr || raioX->agrupamentoSeSustenta() || raioX->total() < 1) {
        return std::nullopt;
    }
    return "Suas origens estão espalhadas: as 3 maiores somam "
        + std::to_string(porcentoTruncado(raioX->concentracaoTop3()))
        + "% dos arquivos. Agrupar por origem ajuda menos numa pasta assim.";
}

std::string downloadsNaoConfigurada(const std::string& arquivoDasPastas)
{
    return "A pasta Downloads não está configurada: ela aponta para a sua pasta pessoal (XDG_DOWNLOAD_DIR em "
        + arquivoDasPastas + ").";
}

} // namespace tarrafa::Apresentacao
