// SPDX-License-Identifier: GPL-3.0-or-later
// The decision file, which the user (or a sync tool) can leave in any state. The input is
// written to a file in our scratch folder and loaded the way the window and the command line
// load it. What is loaded must survive our own save: written back and read again, the same
// decisions come out, or a save would quietly change the user's choices.
#include "Apoio.hpp"

#include "TarrafaCore/ArquivoDeDecisoes.hpp"

#include <string>
#include <string_view>

using tarrafa::ArquivoDeDecisoes;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    const std::string caminho
        = tarrafa::fuzz::Rascunho::instancia().escrever("decisoes.json", tarrafa::fuzz::comoBytes(dados, tamanho));
    const std::string_view bytes(reinterpret_cast<const char*>(dados), tamanho);
    const ArquivoDeDecisoes::Decisoes lidas = ArquivoDeDecisoes(caminho).ler();

    // Reading the file is decoding its bytes, with "not understood" as no decisions at all.
    const std::optional<ArquivoDeDecisoes::Decisoes> decodificadas = ArquivoDeDecisoes::decodificar(bytes);
    TARRAFA_EXIGIR(lidas == decodificadas.value_or(ArquivoDeDecisoes::Decisoes {}));

    // Whatever was understood is written in the canonical form and read back unchanged.
    const std::string gravado = ArquivoDeDecisoes::codificar(lidas);
    const std::optional<ArquivoDeDecisoes::Decisoes> relidas = ArquivoDeDecisoes::decodificar(gravado);
    TARRAFA_EXIGIR(relidas.has_value());
    TARRAFA_EXIGIR(*relidas == lidas);
    // Every "/" is escaped, so the canonical form holds none bare.
    for (std::size_t i = 0; i < gravado.size(); ++i) {
        TARRAFA_EXIGIR(gravado[i] != '/' || (i > 0 && gravado[i - 1] == '\\'));
    }
    // And the canonical form is a fixed point.
    TARRAFA_EXIGIR(ArquivoDeDecisoes::codificar(*relidas) == gravado);
    return 0;
}
