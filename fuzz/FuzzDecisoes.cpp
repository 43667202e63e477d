// SPDX-License-Identifier: GPL-3.0-or-later
// The decision file, which the user (or a sync tool) can leave in any state. The input is
// written to a file in our scratch folder and loaded the way the application loads it at
// start-up. What is loaded must survive the application's own save: written back and read
// again, the same decisions come out, or a save would quietly change the user's choices.
#include "Apoio.hpp"

#include "TarrafaApp/Modelo/ArquivoDeDecisoes.hpp"

#include <QByteArray>
#include <QFile>
#include <QString>

namespace {

using namespace tarrafa;
namespace arquivo = app::ArquivoDeDecisoes;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    if (tamanho > static_cast<std::size_t>(INT32_MAX)) {
        return 0;
    }
    const std::string caminho
        = fuzz::Rascunho::instancia().escrever("decisoes.json", fuzz::comoBytes(dados, tamanho));
    const arquivo::Decisoes lidas = arquivo::ler(QFile::decodeName(QByteArray::fromStdString(caminho)));

    // Reading the file is decoding its bytes, with "not understood" as no decisions at all.
    const QByteArray json(reinterpret_cast<const char*>(dados), static_cast<qsizetype>(tamanho));
    const std::optional<arquivo::Decisoes> decodificadas = arquivo::decodificar(json);
    TARRAFA_EXIGIR(lidas == decodificadas.value_or(arquivo::Decisoes {}));

    // Whatever was understood is written in the canonical form and read back unchanged.
    const QByteArray gravado = arquivo::codificar(lidas);
    const std::optional<arquivo::Decisoes> relidas = arquivo::decodificar(gravado);
    TARRAFA_EXIGIR(relidas.has_value());
    TARRAFA_EXIGIR(*relidas == lidas);
    // Every "/" is escaped, so the canonical form holds none bare.
    for (qsizetype i = 0; i < gravado.size(); ++i) {
        TARRAFA_EXIGIR(gravado[i] != '/' || (i > 0 && gravado[i - 1] == '\\'));
    }
    // And the canonical form is a fixed point.
    TARRAFA_EXIGIR(arquivo::codificar(*relidas) == gravado);
    return 0;
}
