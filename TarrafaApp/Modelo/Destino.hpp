// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QHashFunctions>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace tarrafa::app {

// What the sidebar has selected: one origin group (by its key) or one of the fixed rows.
class Destino final {
public:
    enum class Caso { grupo, entrada, adiados, resolvidos, raioX };

    [[nodiscard]] static Destino grupo(std::string chave) { return Destino(Caso::grupo, std::move(chave)); }
    [[nodiscard]] static Destino entrada() { return Destino(Caso::entrada, {}); }
    [[nodiscard]] static Destino adiados() { return Destino(Caso::adiados, {}); }
    [[nodiscard]] static Destino resolvidos() { return Destino(Caso::resolvidos, {}); }
    [[nodiscard]] static Destino raioX() { return Destino(Caso::raioX, {}); }

    [[nodiscard]] Caso caso() const noexcept { return caso_; }
    // The origin key of a group; empty for every other case.
    [[nodiscard]] const std::string& chave() const noexcept { return chave_; }

    friend bool operator==(const Destino&, const Destino&) = default;

private:
    Destino(Caso caso, std::string chave)
        : caso_(caso)
        , chave_(std::move(chave))
    {
    }

    Caso caso_;
    std::string chave_;
};

[[nodiscard]] inline std::size_t qHash(const Destino& destino, std::size_t seed = 0) noexcept
{
    return qHashMulti(seed, static_cast<int>(destino.caso()),
        QByteArrayView(destino.chave().data(), qsizetype(destino.chave().size())));
}

} // namespace tarrafa::app

template <> struct std::hash<tarrafa::app::Destino> {
    [[nodiscard]] std::size_t operator()(const tarrafa::app::Destino& destino) const noexcept
    {
        const std::size_t caso = static_cast<std::size_t>(destino.caso());
        return std::hash<std::string> {}(destino.chave()) ^ (caso + 0x9e3779b97f4a7c15ULL + (caso << 6));
    }
};
