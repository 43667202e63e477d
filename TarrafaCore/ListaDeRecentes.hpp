// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

// The desktop's list of recently used files ($XDG_DATA_HOME/recently-used.xbel, the one GTK
// applications and file managers write): when a file carries no last-use attribute, it says
// when an application last opened it. Read once per scan.
namespace tarrafa::ListaDeRecentes {

class Indice final {
public:
    Indice() = default;
    // Reads $XDG_DATA_HOME/recently-used.xbel (default ~/.local/share); a missing or
    // malformed list gives an empty index.
    [[nodiscard]] static Indice carregar();
    [[nodiscard]] static Indice carregarDe(const std::string& arquivo);
    [[nodiscard]] static Indice deXbel(std::string_view conteudo);

    // The latest use of the file at this exact path by an application that is not a web
    // browser (browsers list every download on arrival, which is not a use).
    [[nodiscard]] std::optional<Date> ultimoUso(const std::string& caminho) const;
    [[nodiscard]] std::size_t tamanho() const noexcept { return usos_.size(); }

private:
    std::unordered_map<std::string, Date> usos_;
};

// Where the desktop keeps its list of recently used files: $XDG_DATA_HOME/recently-used.xbel.
[[nodiscard]] std::string arquivoDaLista();

} // namespace tarrafa::ListaDeRecentes
