// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Xattr.hpp"

#include "TarrafaCore/Plist.hpp"
#include "TarrafaCore/Texto.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/xattr.h>
#include <utility>

namespace tarrafa::Xattr {

namespace {

// The freedesktop attributes that stand in when the Apple ones give nothing.
constexpr std::string_view kOrigemXdg = "user.xdg.origin.url";
constexpr std::string_view kReferenciaXdg = "user.xdg.referrer.url";
constexpr std::string_view kPublicadorXdg = "user.xdg.publisher";
constexpr std::string_view kCriador = "user.creator";

// How many times the listing is retried when the names grow between the size probe and the read.
constexpr int kTentativas = 4;

bool temPrefixoLinux(std::string_view nome) noexcept
{
    constexpr std::array<std::string_view, 4> kPrefixos = {"user.", "trusted.", "security.", "system."};
    return std::ranges::any_of(
        kPrefixos, [nome](std::string_view prefixo) { return nome.starts_with(prefixo); });
}

ssize_t listarNomes(const std::string& caminho, bool seguir, char* buffer, std::size_t tamanho)
{
    return seguir ? ::listxattr(caminho.c_str(), buffer, tamanho)
                  : ::llistxattr(caminho.c_str(), buffer, tamanho);
}

std::vector<std::string> separarNomes(const char* buffer, std::size_t tamanho)
{
    std::vector<std::string> nomes;
    const std::string_view lista(buffer, tamanho);
    std::size_t inicio = 0;
    while (inicio < lista.size()) {
        std::size_t fim = lista.find('\0', inicio);
        if (fim == std::string_view::npos) {
            fim = lista.size();
        }
        if (fim > inicio) {
            nomes.emplace_back(lista.substr(inicio, fim - inicio));
        }
        inicio = fim + 1;
    }
    return nomes;
}

// One attribute under one exact name: the size probe, then a read into a zero-filled buffer
// of exactly that size, kept at that size even when the read returns fewer bytes.
std::optional<Bytes> lerValor(const std::string& caminho, const std::string& nome)
{
    const ssize_t tamanho = ::getxattr(caminho.c_str(), nome.c_str(), nullptr, 0);
    if (tamanho <= 0) {
        return std::nullopt; // missing, unreadable or empty: all alike
    }
    Bytes valor(static_cast<std::size_t>(tamanho), 0);
    if (::getxattr(caminho.c_str(), nome.c_str(), valor.data(), valor.size()) < 0) {
        return std::nullopt;
    }
    return valor;
}

std::string_view comoTexto(const Bytes& bytes) noexcept
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A freedesktop attribute read as text: present, valid UTF-8 and not empty.
std::optional<std::string> textoLinux(const std::string& caminho, std::string_view nome, const Nomes& nomes)
{
    const std::optional<Bytes> bytes = bruto(caminho, nome, nomes);
    if (!bytes) {
        return std::nullopt;
    }
    const std::string_view texto = comoTexto(*bytes);
    if (texto.empty() || !Texto::ehUtf8Valido(texto)) {
        return std::nullopt;
    }
    return std::string(texto);
}

} // namespace

Nomes Nomes::listar(const std::string& caminho, bool ehLink)
{
    // Most entries have no names or a few short ones: one call with a small buffer settles
    // them; only a longer list needs the size probe.
    std::array<char, 1024> pequeno {};
    const ssize_t lidos = listarNomes(caminho, ehLink, pequeno.data(), pequeno.size());
    if (lidos >= 0) {
        return de(separarNomes(pequeno.data(), static_cast<std::size_t>(lidos)));
    }
    if (errno != ERANGE) {
        return {};
    }
    for (int tentativa = 0; tentativa < kTentativas; ++tentativa) {
        const ssize_t tamanho = listarNomes(caminho, ehLink, nullptr, 0);
        if (tamanho <= 0) {
            return {};
        }
        std::vector<char> buffer(static_cast<std::size_t>(tamanho));
        const ssize_t n = listarNomes(caminho, ehLink, buffer.data(), buffer.size());
        if (n >= 0) {
            return de(separarNomes(buffer.data(), static_cast<std::size_t>(n)));
        }
        if (errno != ERANGE) {
            return {};
        }
    }
    return {};
}

Nomes Nomes::de(std::vector<std::string> nomes)
{
    Nomes resultado;
    resultado.nomes_ = std::move(nomes);
    return resultado;
}

bool Nomes::tem(std::string_view nome) const noexcept
{
    return std::find(nomes_.begin(), nomes_.end(), nome) != nomes_.end();
}

std::vector<std::string> Nomes::candidatos(std::string_view nome) const
{
    std::vector<std::string> candidatos;
    if (temPrefixoLinux(nome)) {
        if (tem(nome)) {
            candidatos.emplace_back(nome);
        }
        return candidatos;
    }
    // Copies from a Mac keep the name under "user."; the kernel's HFS+ and APFS drivers
    // show it under "osx."; the FUSE APFS driver shows it bare.
    for (std::string candidato :
        {"user." + std::string(nome), "osx." + std::string(nome), std::string(nome)}) {
        if (tem(candidato)) {
            candidatos.push_back(std::move(candidato));
        }
    }
    return candidatos;
}

std::optional<Bytes> bruto(const std::string& caminho, std::string_view nome, const Nomes& nomes)
{
    for (const std::string& candidato : nomes.candidatos(nome)) {
        if (std::optional<Bytes> valor = lerValor(caminho, candidato)) {
            return valor;
        }
    }
    return std::nullopt;
}

std::optional<Bytes> bruto(const std::string& caminho, std::string_view nome)
{
    // Reads follow symbolic links, so the names are those of the link's target too.
    return bruto(caminho, nome, Nomes::listar(caminho, true));
}

std::optional<Date> data(const std::string& caminho, std::string_view nome, const Nomes& nomes)
{
    const std::optional<Bytes> bytes = bruto(caminho, nome, nomes);
    return bytes ? decodificar::data(*bytes) : std::nullopt;
}

std::vector<std::string> textos(const std::string& caminho, std::string_view nome, const Nomes& nomes)
{
    const std::optional<Bytes> bytes = bruto(caminho, nome, nomes);
    return bytes ? decodificar::textos(*bytes) : std::vector<std::string> {};
}

std::vector<std::string> origens(const std::string& caminho, const Nomes& nomes)
{
    std::vector<std::string> enderecos = textos(caminho, kOrigens, nomes);
    if (!enderecos.empty()) {
        return enderecos;
    }
    for (const std::string_view nome : {kOrigemXdg, kReferenciaXdg}) {
        if (std::optional<std::string> endereco = textoLinux(caminho, nome, nomes)) {
            enderecos.push_back(std::move(*endereco));
        }
    }
    return enderecos;
}

std::optional<std::string> quarentena(const std::string& caminho, const Nomes& nomes)
{
    if (const std::optional<Bytes> bytes = bruto(caminho, kQuarentena, nomes)) {
        if (std::optional<std::string> agente = decodificar::quarentena(*bytes)) {
            return agente;
        }
    }
    for (const std::string_view nome : {kPublicadorXdg, kCriador}) {
        if (std::optional<std::string> agente = textoLinux(caminho, nome, nomes)) {
            return agente;
        }
    }
    return std::nullopt;
}

std::optional<Date> ultimoUso(const std::string& caminho, const Nomes& nomes, const ListaDeRecentes::Indice& indice)
{
    if (const std::optional<Bytes> bytes = bruto(caminho, kUltimoUso, nomes)) {
        if (const std::optional<Date> usado = decodificar::ultimoUso(*bytes)) {
            return usado;
        }
    }
    return indice.ultimoUso(caminho);
}

namespace decodificar {

std::optional<Date> data(std::span<const unsigned char> bytes)
{
    const std::optional<Plist::Valor> valor = Plist::ler(bytes);
    if (!valor) {
        return std::nullopt;
    }
    if (const std::vector<Plist::Escalar>* elementos = valor->elementos()) {
        // Only the first element is examined.
        if (!elementos->empty()) {
            if (const Date* quando = std::get_if<Date>(&elementos->front())) {
                return *quando;
            }
        }
        return std::nullopt;
    }
    const Plist::Escalar& raiz = *valor->escalar();
    if (const Date* quando = std::get_if<Date>(&raiz)) {
        return *quando;
    }
    // A number counts seconds from 2001-01-01; a boolean is not a number here.
    if (const double* segundos = std::get_if<double>(&raiz)) {
        return Date::desde2001(*segundos);
    }
    if (const std::int64_t* segundos = std::get_if<std::int64_t>(&raiz)) {
        return Date::desde2001(static_cast<double>(*segundos));
    }
    return std::nullopt;
}

std::vector<std::string> textos(std::span<const unsigned char> bytes)
{
    std::optional<Plist::Valor> valor = Plist::ler(bytes);
    if (!valor) {
        return {};
    }
    std::vector<std::string> resultado;
    if (const std::vector<Plist::Escalar>* elementos = valor->elementos()) {
        for (const Plist::Escalar& elemento : *elementos) {
            const std::string* texto = std::get_if<std::string>(&elemento);
            if (texto == nullptr) {
                return {}; // one element that is not a string spoils the list
            }
            if (!texto->empty()) {
                resultado.push_back(*texto);
            }
        }
        return resultado;
    }
    if (const std::string* texto = std::get_if<std::string>(valor->escalar());
        texto != nullptr && !texto->empty()) {
        resultado.push_back(*texto);
    }
    return resultado;
}

std::optional<std::string> quarentena(std::span<const unsigned char> bytes)
{
    const std::string_view texto(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!Texto::ehUtf8Valido(texto)) {
        return std::nullopt;
    }
    // Empty pieces are dropped before counting, so an empty agent field shifts the later
    // fields left: "0081;6550f1a2;;9D2C" gives "9D2C".
    int indice = 0;
    std::size_t inicio = 0;
    while (inicio <= texto.size()) {
        std::size_t fim = texto.find(';', inicio);
        if (fim == std::string_view::npos) {
            fim = texto.size();
        }
        if (fim > inicio) {
            if (indice == 2) {
                return std::string(texto.substr(inicio, fim - inicio));
            }
            ++indice;
        }
        inicio = fim + 1;
    }
    return std::nullopt;
}

std::optional<Date> ultimoUso(std::span<const unsigned char> bytes)
{
    if (bytes.size() < 8) {
        return std::nullopt;
    }
    std::uint64_t segundos = 0;
    for (std::size_t i = 8; i-- > 0;) {
        segundos = (segundos << 8) | bytes[i];
    }
    if (segundos == 0) {
        return std::nullopt;
    }
    return Date::desde1970(static_cast<double>(segundos));
}

} // namespace decodificar

} // namespace tarrafa::Xattr
