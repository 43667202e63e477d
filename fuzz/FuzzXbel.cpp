// SPDX-License-Identifier: GPL-3.0-or-later
// The recently-used list, which every desktop application writes to. The same bytes are read
// from memory and from a file (read in pieces, through the streaming path the scan uses),
// and both readings must agree; each entry of the index needs a bookmark of its own, so an
// index larger than the input allows is a reader inventing entries.
#include "Apoio.hpp"

#include "TarrafaCore/ListaDeRecentes.hpp"

#include <cmath>

namespace {

using namespace tarrafa;

// Entries are keyed by path, so each needs an href of its own; even with the application's
// attributes supplied as defaults by a DTD, the smallest such bookmark is longer than this:
// <bookmark href='file:///a'><bookmark:application/></bookmark>
constexpr std::size_t kMenorEntrada = 48;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    const std::string_view conteudo = fuzz::comoTexto(dados, tamanho);
    const ListaDeRecentes::Indice daMemoria = ListaDeRecentes::Indice::deXbel(conteudo);
    TARRAFA_EXIGIR(daMemoria.tamanho() <= tamanho / kMenorEntrada);

    const std::string arquivo
        = fuzz::Rascunho::instancia().escrever("recently-used.xbel", fuzz::comoBytes(dados, tamanho));
    const ListaDeRecentes::Indice doArquivo = ListaDeRecentes::Indice::carregarDe(arquivo);
    TARRAFA_EXIGIR(doArquivo.tamanho() == daMemoria.tamanho());

    // A path that no href can decode to is never in the index.
    TARRAFA_EXIGIR(!daMemoria.ultimoUso("").has_value());
    return 0;
}
