// SPDX-License-Identifier: GPL-3.0-or-later
// The extended-attribute decoders over arbitrary bytes: the where-from list and the download
// date (property lists), the quarantine record (text fields) and the last-use time (a binary
// timespec). Whatever an attribute holds, the values that come out must be usable as they
// are: non-empty valid UTF-8 text and finite dates.
#include "Apoio.hpp"

#include "TarrafaCore/Plist.hpp"
#include "TarrafaCore/Texto.hpp"
#include "TarrafaCore/Xattr.hpp"

#include <cmath>
#include <optional>

namespace {

using namespace tarrafa;
namespace decodificar = Xattr::decodificar;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    const std::span<const unsigned char> bytes = fuzz::comoBytes(dados, tamanho);
    const std::string_view texto = fuzz::comoTexto(dados, tamanho);
    const bool ehPlist = Plist::ler(bytes).has_value();

    const std::vector<std::string> textos = decodificar::textos(bytes);
    TARRAFA_EXIGIR(textos.empty() || ehPlist);
    for (const std::string& t : textos) {
        TARRAFA_EXIGIR(!t.empty());
        TARRAFA_EXIGIR(Texto::ehUtf8Valido(t));
    }

    if (const std::optional<Date> data = decodificar::data(bytes)) {
        TARRAFA_EXIGIR(ehPlist);
        TARRAFA_EXIGIR(std::isfinite(data->segundosDesde1970()));
    }

    // The agent is one whole ";"-separated field of the record, never empty.
    if (const std::optional<std::string> agente = decodificar::quarentena(bytes)) {
        TARRAFA_EXIGIR(!agente->empty());
        TARRAFA_EXIGIR(Texto::ehUtf8Valido(*agente));
        TARRAFA_EXIGIR(agente->find(';') == std::string::npos);
        const std::size_t onde = texto.find(*agente);
        TARRAFA_EXIGIR(onde != std::string_view::npos);
    }

    // Seconds since 1970 as a little-endian 64-bit count in the first eight bytes; the
    // nanoseconds after them are not used. Zero means "never".
    const std::optional<Date> usado = decodificar::ultimoUso(bytes);
    std::uint64_t segundos = 0;
    if (tamanho >= 8) {
        for (std::size_t i = 0; i < 8; ++i) {
            segundos |= std::uint64_t {dados[i]} << (8 * i);
        }
    }
    TARRAFA_EXIGIR(usado.has_value() == (segundos != 0));
    if (usado) {
        TARRAFA_EXIGIR(usado->segundosDesde1970() == static_cast<double>(segundos));
    }
    return 0;
}
