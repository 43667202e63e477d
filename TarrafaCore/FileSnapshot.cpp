// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/FileSnapshot.hpp"

#include "TarrafaCore/Texto.hpp"

#include <utility>

namespace tarrafa {

FileSnapshot::FileSnapshot(std::string id, std::string nome, bool ehPasta, std::int64_t tamanho,
                           std::optional<Date> baixadoEm, Date criadoEm,
                           std::optional<Date> ultimoUsoEm, std::vector<std::string> origens,
                           bool ehScreenshot, std::optional<std::string> quarentenaAgente)
    : id_(std::move(id))
    , nome_(std::move(nome))
    , ehPasta_(ehPasta)
    , tamanho_(tamanho)
    , baixadoEm_(baixadoEm)
    , criadoEm_(criadoEm)
    , ultimoUsoEm_(ultimoUsoEm)
    , origens_(std::move(origens))
    , ehScreenshot_(ehScreenshot)
    , quarentenaAgente_(std::move(quarentenaAgente))
{
}

std::string FileSnapshot::extensao() const
{
    if (ehPasta_) {
        return {};
    }
    return Texto::minusculas(Texto::extensao(nome_));
}

bool FileSnapshot::nuncaReaberto() const noexcept
{
    if (!ultimoUsoEm_) {
        return true;
    }
    // A use before the arrival is negative and so also counts as never opened.
    return (*ultimoUsoEm_ - chegouEm()) < kAberturaAutomaticaSegundos;
}

} // namespace tarrafa
