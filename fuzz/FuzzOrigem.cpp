// SPDX-License-Identifier: GPL-3.0-or-later
// Origins from where-from addresses, which any web page can set to anything. The input is
// one address for analisarUma() and, cut at line feeds, the list analisar() takes. An origin
// becomes a group: its key must be non-empty and apart from the "no origin" key, and its
// label and address are shown and written to JSON, so they must be valid UTF-8. The same
// addresses, shown in the details pane, lose their secrets.
#include "Apoio.hpp"

#include "TarrafaCore/Endereco.hpp"
#include "TarrafaCore/Origem.hpp"
#include "TarrafaCore/Texto.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace tarrafa;

void verificar(const Origem& origem)
{
    TARRAFA_EXIGIR(!origem.chave().empty());
    TARRAFA_EXIGIR(origem.chave() != Origem::kChaveSemOrigem);
    TARRAFA_EXIGIR(!origem.rotulo().empty());
    TARRAFA_EXIGIR(Texto::ehUtf8Valido(origem.chave()));
    TARRAFA_EXIGIR(Texto::ehUtf8Valido(origem.rotulo()));
    TARRAFA_EXIGIR(origem.endereco().has_value());
    TARRAFA_EXIGIR(Texto::ehUtf8Valido(*origem.endereco()));
    (void)std::hash<Origem> {}(origem);
}

std::vector<std::string> linhas(std::string_view texto)
{
    std::vector<std::string> resultado;
    std::size_t inicio = 0;
    for (;;) {
        const std::size_t fim = texto.find('\n', inicio);
        resultado.emplace_back(texto.substr(inicio, fim == std::string_view::npos ? fim : fim - inicio));
        if (fim == std::string_view::npos) {
            return resultado;
        }
        inicio = fim + 1;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    const std::string_view texto = fuzz::comoTexto(dados, tamanho);

    if (const std::optional<Origem> origem = OrigemParser::analisarUma(texto)) {
        verificar(*origem);
        // Parsing is a function of the text alone.
        TARRAFA_EXIGIR(OrigemParser::analisarUma(texto) == origem);
    }

    // The list's origin is the first address that gives one.
    const std::vector<std::string> enderecos = linhas(texto);
    const Origem daLista = OrigemParser::analisar(enderecos);
    std::optional<Origem> primeira;
    for (const std::string& endereco : enderecos) {
        primeira = OrigemParser::analisarUma(endereco);
        if (primeira) {
            break;
        }
    }
    TARRAFA_EXIGIR(daLista == primeira.value_or(Origem::semOrigem()));
    if (primeira) {
        verificar(daLista);
    }

    // The personal-site rule also sees path segments straight from the address.
    const std::string pessoa = OrigemParser::nomeDePessoa(texto);
    TARRAFA_EXIGIR(Texto::ehUtf8Valido(pessoa));

    // An address as shown keeps no query or fragment, and is hardly longer than the address.
    const std::string limpo = Endereco::semSegredos(texto);
    TARRAFA_EXIGIR(limpo.find_first_of("?#") == std::string::npos);
    TARRAFA_EXIGIR(limpo.size() <= texto.size() + 2);
    return 0;
}
