// SPDX-License-Identifier: GPL-3.0-or-later
// The browser-history reader over arbitrary database files. The input is written once per
// run to a file in our scratch folder and handed to the reader as both a Chromium "History"
// and a Firefox "places.sqlite", so both queries run over every input. The reader makes its
// private copies under $XDG_RUNTIME_DIR (else $TMPDIR), which here points into our scratch folder, so a copy left
// behind by any way out of the reader is caught after each input.
#include "Apoio.hpp"

#include "TarrafaCore/HistoricoDeNavegadores.hpp"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace tarrafa;

std::string& pastaDasCopias()
{
    static std::string pasta;
    return pasta;
}

bool vazia(const std::string& pasta)
{
    std::error_code erro;
    const std::filesystem::directory_iterator it(pasta, erro);
    TARRAFA_EXIGIR(!erro);
    return it == std::filesystem::directory_iterator();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    const fuzz::Rascunho& rascunho = fuzz::Rascunho::instancia();
    pastaDasCopias() = rascunho.pasta() + "/copias";
    std::error_code erro;
    std::filesystem::create_directory(pastaDasCopias(), erro);
    TARRAFA_EXIGIR(!erro);
    // Set before the first read; the reader looks these up each time it makes its folder.
    TARRAFA_EXIGIR(::setenv("TMPDIR", pastaDasCopias().c_str(), 1) == 0);
    TARRAFA_EXIGIR(::setenv("XDG_RUNTIME_DIR", pastaDasCopias().c_str(), 1) == 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    const std::string arquivo
        = fuzz::Rascunho::instancia().escrever("History", fuzz::comoBytes(dados, tamanho));
    const std::vector<HistoricoDeNavegadores::Banco> bancos {
        {arquivo, HistoricoDeNavegadores::Tipo::chromium, "Chromium"},
        {arquivo, HistoricoDeNavegadores::Tipo::firefox, "Firefox"},
    };
    const HistoricoDeNavegadores historico = HistoricoDeNavegadores::ler(bancos);
    TARRAFA_EXIGIR(vazia(pastaDasCopias()));

    // A record is found by its exact path; nothing is ever stored under an empty one.
    TARRAFA_EXIGIR(historico.procurar("") == nullptr);
    // The browser's own file was copied, never opened: nothing may appear next to it.
    TARRAFA_EXIGIR(
        !std::filesystem::exists(arquivo + "-journal") && !std::filesystem::exists(arquivo + "-wal"));

    // The records of the layouts we know, from the file our seeds put them in.
    for (const char* caminho : {"/home/a/Downloads/relatorio.pdf", "/home/a/Downloads/foto 1.jpg"}) {
        if (const RegistroDeDownload* registro = historico.procurar(caminho)) {
            TARRAFA_EXIGIR(registro->agente == "Chromium" || registro->agente == "Firefox");
            for (const std::string& origem : registro->origens) {
                TARRAFA_EXIGIR(!origem.empty());
            }
            if (registro->baixadoEm) {
                TARRAFA_EXIGIR(std::isfinite(registro->baixadoEm->segundosDesde1970()));
            }
            if (registro->ultimoUso) {
                TARRAFA_EXIGIR(std::isfinite(registro->ultimoUso->segundosDesde1970()));
            }
        }
    }
    return 0;
}
