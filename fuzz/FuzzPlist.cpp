// SPDX-License-Identifier: GPL-3.0-or-later
// The property-list reader over arbitrary bytes, in both forms. Beyond memory errors and
// undefined behaviour, the checks are what the rest of the program relies on: the dispatch
// is by the first bytes only, text is valid UTF-8, numbers and dates are finite (a NaN would
// break every ordering by date), and hostile input cannot blow the value up in memory.
#include "Apoio.hpp"

#include "TarrafaCore/Plist.hpp"
#include "TarrafaCore/Texto.hpp"

#include <cmath>
#include <cstring>
#include <optional>
#include <variant>

namespace {

using namespace tarrafa;
using fuzz::comoBytes;

// Every string of a decoded value together; a binary list may repeat a string, but the
// reader promises to stop past a fixed multiple of its input. Generous on purpose: only an
// amplification, not an honest list, can cross it.
constexpr std::size_t kExpansaoAceita = 8;

void verificarEscalar(const Plist::Escalar& escalar, std::size_t& bytesDeTexto)
{
    if (const auto* texto = std::get_if<std::string>(&escalar)) {
        TARRAFA_EXIGIR(Texto::ehUtf8Valido(*texto));
        bytesDeTexto += texto->size();
    } else if (const auto* real = std::get_if<double>(&escalar)) {
        TARRAFA_EXIGIR(std::isfinite(*real));
    } else if (const auto* data = std::get_if<Date>(&escalar)) {
        TARRAFA_EXIGIR(std::isfinite(data->segundosDesde1970()));
    }
}

void verificar(const std::optional<Plist::Valor>& valor, std::size_t tamanhoDaEntrada)
{
    if (!valor) {
        return;
    }
    // Exactly one of the two shapes.
    TARRAFA_EXIGIR(valor->ehLista() == (valor->elementos() != nullptr));
    TARRAFA_EXIGIR((valor->escalar() == nullptr) == (valor->elementos() != nullptr));
    std::size_t bytesDeTexto = 0;
    if (const auto* elementos = valor->elementos()) {
        // Each element costs at least one byte of input.
        TARRAFA_EXIGIR(elementos->size() <= tamanhoDaEntrada);
        for (const Plist::Escalar& elemento : *elementos) {
            verificarEscalar(elemento, bytesDeTexto);
        }
    } else {
        verificarEscalar(*valor->escalar(), bytesDeTexto);
    }
    TARRAFA_EXIGIR(bytesDeTexto <= kExpansaoAceita * tamanhoDaEntrada);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    const std::span<const unsigned char> bytes = comoBytes(dados, tamanho);
    const std::optional<Plist::Valor> binario = Plist::lerBinario(bytes);
    const std::optional<Plist::Valor> xml = Plist::lerXml(bytes);
    verificar(binario, tamanho);
    verificar(xml, tamanho);

    // The two forms cannot both claim the same bytes, and ler() only picks one by its header.
    const bool cabecalhoBinario = tamanho >= 8 && std::memcmp(dados, "bplist00", 8) == 0;
    TARRAFA_EXIGIR(!(binario && xml));
    TARRAFA_EXIGIR(cabecalhoBinario || !binario);
    const std::optional<Plist::Valor> qualquer = Plist::ler(bytes);
    TARRAFA_EXIGIR(qualquer == (cabecalhoBinario ? binario : xml));

    // Dates also arrive as bare text (the recently-used list reuses this parser).
    if (const std::optional<Date> data = Plist::dataIso8601(fuzz::comoTexto(dados, tamanho))) {
        TARRAFA_EXIGIR(std::isfinite(data->segundosDesde1970()));
    }
    return 0;
}
