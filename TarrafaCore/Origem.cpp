// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Origem.hpp"

#include "TarrafaCore/Texto.hpp"

#include "TarrafaCore/UriAnalisada.hpp"

#include <utility>

namespace tarrafa {

Origem::Origem(std::string chave, std::string rotulo, std::optional<std::string> endereco)
    : chave_(std::move(chave))
    , rotulo_(std::move(rotulo))
    , endereco_(std::move(endereco))
{
}

const Origem& Origem::semOrigem()
{
    static const Origem valor(std::string(kChaveSemOrigem), "Sem origem", std::nullopt);
    return valor;
}

namespace OrigemParser {

namespace {

constexpr std::string_view kSeparadorDeRotulo = " \u00B7 ";

// The host and the percent-decoded path of one parsed address.
struct Partes {
    std::string host;
    std::string caminho;
};

// RFC 3986 parsing. A reference without an authority (a relative path such as
// "github.com/x", "mailto:", a bare file path) or with an empty host ("file:///x") has no
// host and gives nothing. The host keeps its spelling; an IPv6 literal comes without brackets.
std::optional<Partes> decompor(std::string_view endereco)
{
    const UriAnalisada analisada(endereco.data(), endereco.data() + endereco.size());
    if (!analisada.ok()) {
        return std::nullopt;
    }
    const UriUriA& uri = analisada.uri();
    const std::string_view host = texto(uri.hostText);
    if (host.empty()) {
        return std::nullopt;
    }

    // With an authority the path is empty or absolute: every segment is preceded by "/"
    // ("https://h/" is one empty segment, "/").
    std::string caminho;
    for (const UriPathSegmentA* segmento = uri.pathHead; segmento != nullptr; segmento = segmento->next) {
        caminho += '/';
        caminho.append(texto(segmento->text));
    }
    // Decoded after joining, so an encoded "/" becomes part of the path; "+" stays a plus.
    if (!caminho.empty()) {
        const char* fim = uriUnescapeInPlaceExA(caminho.data(), URI_FALSE, URI_BR_DONT_TOUCH);
        caminho.resize(static_cast<std::size_t>(fim - caminho.data()));
    }
    // Decoded bytes need not be UTF-8, and the path ends up in labels and in JSON.
    return Partes {std::string(host), Texto::utf8Valido(caminho)};
}

std::string normalizarHost(const std::string& host)
{
    std::string minusculo = Texto::minusculas(host);
    // A parsed host is ASCII, so the four characters of the prefix are its first four bytes.
    // Only the prefix is dropped: the rest keeps the case it was written in. A host that is
    // the prefix alone ("https://www./") keeps it, or its key and label would be empty.
    if (minusculo.starts_with("www.") && minusculo.size() > 4) {
        return host.substr(4);
    }
    return minusculo;
}

// The first non-empty "/"-separated piece after the first occurrence of the marker; "" when
// the marker is missing or nothing follows it.
std::string_view pedacoApos(std::string_view caminho, std::string_view marcador)
{
    const std::size_t posicao = caminho.find(marcador);
    if (posicao == std::string_view::npos) {
        return {};
    }
    std::string_view resto = caminho.substr(posicao + marcador.size());
    while (!resto.empty()) {
        const std::size_t barra = resto.find('/');
        const std::string_view pedaco = resto.substr(0, barra);
        if (!pedaco.empty()) {
            return pedaco;
        }
        if (barra == std::string_view::npos) {
            break;
        }
        resto.remove_prefix(barra + 1);
    }
    return {};
}

Origem origemSharePoint(const std::string& host, const std::string& caminho)
{
    const std::string prefixo = "SharePoint" + std::string(kSeparadorDeRotulo);
    if (const std::string_view pessoa = pedacoApos(caminho, "/personal/"); !pessoa.empty()) {
        return Origem("sharepoint:" + std::string(pessoa), prefixo + nomeDePessoa(pessoa), host + caminho);
    }
    if (const std::string_view site = pedacoApos(caminho, "/sites/"); !site.empty()) {
        return Origem(
            "sharepoint:site:" + std::string(site), prefixo + Texto::primeiraMaiuscula(site), host + caminho);
    }
    return Origem("sharepoint:" + host, "SharePoint", host);
}

bool ehDominioOuSubdominio(std::string_view host, std::string_view dominio)
{
    if (host == dominio) {
        return true;
    }
    return host.size() > dominio.size() && host.ends_with(dominio)
        && host[host.size() - dominio.size() - 1] == '.';
}

bool ehPalavraDeDominio(std::string_view pedaco)
{
    static constexpr std::array<std::string_view, 8> kPalavras {
        "com", "br", "net", "org", "io", "co", "gov", "edu"};
    const std::string minusculo = Texto::minusculas(pedaco);
    for (const std::string_view palavra : kPalavras) {
        if (minusculo == palavra) {
            return true;
        }
    }
    return false;
}

std::vector<std::string_view> pedacosNaoVazios(std::string_view texto, char separador)
{
    std::vector<std::string_view> pedacos;
    std::size_t inicio = 0;
    while (inicio <= texto.size()) {
        const std::size_t fim = texto.find(separador, inicio);
        const std::size_t ate = fim == std::string_view::npos ? texto.size() : fim;
        if (ate > inicio) {
            pedacos.push_back(texto.substr(inicio, ate - inicio));
        }
        if (fim == std::string_view::npos) {
            break;
        }
        inicio = fim + 1;
    }
    return pedacos;
}

} // namespace

Origem analisar(const std::vector<std::string>& enderecos)
{
    for (const std::string& endereco : enderecos) {
        if (std::optional<Origem> origem = analisarUma(endereco)) {
            return *std::move(origem);
        }
    }
    return Origem::semOrigem();
}

std::optional<Origem> analisarUma(std::string_view endereco)
{
    // Ill-formed bytes become U+FFFD, which no URI accepts: such an address gives nothing.
    const std::string valido = Texto::utf8Valido(endereco);
    const std::string_view aparado = Texto::apararBrancosEQuebras(valido);
    if (aparado.empty()) {
        return std::nullopt;
    }
    std::optional<Partes> partes = decompor(aparado);
    if (!partes) {
        return std::nullopt;
    }
    const std::string host = normalizarHost(partes->host);
    const std::string& caminho = partes->caminho;

    if (host.ends_with(kSufixoSharePoint)) {
        return origemSharePoint(host, caminho);
    }
    for (const Conhecido& conhecido : conhecidos) {
        if (ehDominioOuSubdominio(host, conhecido.host)) {
            return Origem(std::string(conhecido.chave), std::string(conhecido.rotulo), host);
        }
    }
    return Origem("host:" + host, host, host);
}

std::string nomeDePessoa(std::string_view segmento)
{
    const std::string valido = Texto::utf8Valido(segmento);
    const std::vector<std::string_view> pedacos = pedacosNaoVazios(valido, '_');
    if (pedacos.empty()) {
        return valido;
    }

    std::vector<std::string_view> mantidos;
    for (const std::string_view pedaco : pedacos) {
        if (ehPalavraDeDominio(pedaco)) {
            break;
        }
        mantidos.push_back(pedaco);
    }
    // With three or more names before the domain, the last one is the organisation.
    if (mantidos.size() >= 3) {
        mantidos.pop_back();
    }
    if (mantidos.empty()) {
        mantidos = pedacos;
    }

    std::string nome;
    for (const std::string_view pedaco : mantidos) {
        if (!nome.empty()) {
            nome += ' ';
        }
        nome += Texto::primeiraMaiuscula(pedaco);
    }
    return nome;
}

} // namespace OrigemParser
} // namespace tarrafa

std::size_t std::hash<tarrafa::Origem>::operator()(const tarrafa::Origem& origem) const noexcept
{
    std::size_t semente = 0;
    const auto misturar = [&semente](std::size_t valor) {
        semente ^= valor + static_cast<std::size_t>(0x9e3779b97f4a7c15ULL) + (semente << 6) + (semente >> 2);
    };
    const std::hash<std::string> hashDeTexto;
    misturar(hashDeTexto(origem.chave()));
    misturar(hashDeTexto(origem.rotulo()));
    if (origem.endereco()) {
        misturar(std::hash<std::size_t> {}(1));
        misturar(hashDeTexto(*origem.endereco()));
    } else {
        misturar(std::hash<std::size_t> {}(0));
    }
    return semente;
}
