// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Formato.hpp"

#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/stringpiece.h>

#include <array>
#include <cstdlib>
#include <string_view>

namespace tarrafa::Formato {
namespace {

struct Unidade {
    std::string_view nome;
    std::uint64_t bytes;
    std::uint64_t passo; // the value of the last fraction digit shown, in bytes
    int casas; // fraction digits shown at most
};

constexpr std::array<Unidade, 3> kUnidades {{
    {"KB", 1'000, 1'000, 0},
    {"MB", 1'000'000, 100'000, 1},
    {"GB", 1'000'000'000, 10'000'000, 2},
}};

// The byte count in steps of the unit's last shown digit, rounded half to even, exactly.
std::uint64_t emPassos(std::uint64_t bytes, const Unidade& unidade)
{
    const std::uint64_t passos = bytes / unidade.passo;
    const std::uint64_t resto = bytes % unidade.passo;
    const bool paraCima = 2 * resto > unidade.passo || (2 * resto == unidade.passo && passos % 2 == 1);
    return paraCima ? passos + 1 : passos;
}

std::size_t escolherUnidade(std::uint64_t bytes)
{
    std::size_t i = bytes < 1'000'000 ? 0 : bytes < 1'000'000'000 ? 1 : 2;
    // 999,999 bytes is 1000 KB once rounded: that is written as 1 MB.
    while (i + 1 < kUnidades.size()
        && emPassos(bytes, kUnidades[i]) >= kUnidades[i].bytes / kUnidades[i].passo * 1000) {
        ++i;
    }
    return i;
}

// valor / escala (a power of ten) as an exact decimal string: "1.5", "0.999999".
std::string decimal(bool negativo, std::uint64_t valor, std::uint64_t escala)
{
    std::string texto = negativo ? "-" : "";
    texto += std::to_string(valor / escala);
    std::string fracao = std::to_string(valor % escala + escala).substr(1);
    while (!fracao.empty() && fracao.back() == '0') {
        fracao.pop_back();
    }
    if (!fracao.empty()) {
        texto += "." + fracao;
    }
    return texto;
}

// The numeric locale the C library would use, by the POSIX order of precedence, as an ICU
// locale: "pt_BR.UTF-8" is pt_BR; C and POSIX are ICU's en_US_POSIX.
icu::Locale localeNumerico()
{
    std::string nome;
    for (const char* variavel : {"LC_ALL", "LC_NUMERIC", "LANG"}) {
        if (const char* valor = std::getenv(variavel); valor != nullptr && *valor != '\0') {
            nome = valor;
            break;
        }
    }
    nome = nome.substr(0, nome.find_first_of(".@"));
    if (nome.empty() || nome == "C" || nome == "POSIX") {
        nome = "en_US_POSIX";
    }
    icu::Locale locale(nome.c_str());
    return locale.isBogus() ? icu::Locale("en_US_POSIX") : locale;
}

} // namespace

std::string bytes(std::int64_t quantidade)
{
    // Sizes are never negative; should one be, it is written with its sign, by the rules
    // of its magnitude. The magnitude is taken unsigned so that the minimum does not overflow.
    const bool negativo = quantidade < 0;
    const std::uint64_t magnitude
        = negativo ? 0 - static_cast<std::uint64_t>(quantidade) : static_cast<std::uint64_t>(quantidade);
    const Unidade& unidade = kUnidades[escolherUnidade(magnitude)];
    // The exact value goes to the formatter, so that rounding happens once, on the true value.
    const std::string exato = decimal(negativo, magnitude, unidade.bytes);

    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString formatado
        = icu::number::NumberFormatter::withLocale(localeNumerico())
              .precision(icu::number::Precision::maxFraction(unidade.casas))
              .roundingMode(UNUM_ROUND_HALFEVEN)
              .formatDecimal(icu::StringPiece(exato.data(), static_cast<int32_t>(exato.size())), status)
              .toString(status);
    std::string texto;
    if (U_FAILURE(status)) {
        // Without ICU's data: the same rounding, in plain digits.
        texto = decimal(negativo, emPassos(magnitude, unidade), unidade.bytes / unidade.passo);
    } else {
        formatado.toUTF8String(texto);
    }
    texto += ' ';
    texto += unidade.nome;
    return texto;
}

} // namespace tarrafa::Formato
