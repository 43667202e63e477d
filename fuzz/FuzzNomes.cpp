// SPDX-License-Identifier: GPL-3.0-or-later
// File names, which are bytes: the opaque-name and copy-marker rules and the installer name
// comparison. Names reach these functions in whatever normalisation the file system holds,
// so the answers must not depend on it; both also take a fast path for plain ASCII that has
// to agree with the general rule, which is checked here against the published version
// pattern run through ICU directly.
#include "Apoio.hpp"

#include "TarrafaCore/InstallerMatcher.hpp"
#include "TarrafaCore/NameAnalyzer.hpp"
#include "TarrafaCore/Texto.hpp"

#include <unicode/regex.h>
#include <unicode/stringpiece.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace tarrafa;

bool ehAsciiDeUmaLinha(std::string_view texto)
{
    return std::all_of(texto.begin(), texto.end(), [](char c) {
        const auto u = static_cast<unsigned char>(c);
        return u < 0x80 && (u < 0x0A || u > 0x0D);
    });
}

// InstallerMatcher::normalizar() for single-line ASCII, done the long way: the version
// pattern removed by ICU's regular expressions, then lower-cased letters and digits kept.
std::string normalizarPeloPadrao(std::string_view texto)
{
    static const std::unique_ptr<icu::RegexPattern> padrao = [] {
        UErrorCode erro = U_ZERO_ERROR;
        const std::string_view fonte = InstallerMatcher::kPadraoDeVersao;
        std::unique_ptr<icu::RegexPattern> compilado(icu::RegexPattern::compile(
            icu::UnicodeString::fromUTF8(icu::StringPiece(fonte.data(), static_cast<int32_t>(fonte.size()))),
            0, erro));
        TARRAFA_EXIGIR(U_SUCCESS(erro) && compilado != nullptr);
        return compilado;
    }();
    UErrorCode erro = U_ZERO_ERROR;
    const icu::UnicodeString entrada
        = icu::UnicodeString::fromUTF8(icu::StringPiece(texto.data(), static_cast<int32_t>(texto.size())));
    const std::unique_ptr<icu::RegexMatcher> buscador(padrao->matcher(entrada, erro));
    TARRAFA_EXIGIR(U_SUCCESS(erro) && buscador != nullptr);
    const icu::UnicodeString semVersao = buscador->replaceAll(icu::UnicodeString(), erro);
    TARRAFA_EXIGIR(U_SUCCESS(erro));
    std::string bytes;
    semVersao.toUTF8String(bytes);
    std::string saida;
    for (const char c : bytes) {
        if (c >= 'A' && c <= 'Z') {
            saida.push_back(static_cast<char>(c - 'A' + 'a'));
        } else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
            saida.push_back(c);
        }
    }
    return saida;
}

void verificarNomeAnalyzer(std::string_view nome)
{
    const bool opaco = NameAnalyzer::ehOpaco(nome);
    const bool temCopia = NameAnalyzer::temSufixoDeCopia(nome);

    const std::string composto = Texto::nfc(nome);
    TARRAFA_EXIGIR(NameAnalyzer::ehOpaco(composto) == opaco);
    TARRAFA_EXIGIR(NameAnalyzer::temSufixoDeCopia(composto) == temCopia);

    // Removal only ever shortens the name, and there is a marker exactly when it changes it.
    const std::string_view semExtensao = Texto::semExtensao(composto);
    const std::string semCopia = NameAnalyzer::removerSufixoDeCopia(semExtensao);
    TARRAFA_EXIGIR(Texto::ehUtf8Valido(semCopia));
    TARRAFA_EXIGIR(semCopia.size() <= semExtensao.size());
    TARRAFA_EXIGIR(temCopia == (semCopia != semExtensao));
}

void verificarInstallerMatcher(std::string_view nome)
{
    const std::string normalizado = InstallerMatcher::normalizar(nome);
    TARRAFA_EXIGIR(Texto::ehUtf8Valido(normalizado));
    TARRAFA_EXIGIR(InstallerMatcher::normalizar(Texto::nfc(nome)) == normalizado);
    // Lower-case letters and digits only; in ASCII that is a-z and 0-9.
    TARRAFA_EXIGIR(std::none_of(normalizado.begin(), normalizado.end(), [](char c) {
        const auto u = static_cast<unsigned char>(c);
        return u < 0x80 && !((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'));
    }));
    if (ehAsciiDeUmaLinha(nome)) {
        TARRAFA_EXIGIR(normalizado == normalizarPeloPadrao(nome));
    }
    (void)InstallerMatcher::ehInstalador(nome);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    if (tamanho > static_cast<std::size_t>(INT32_MAX)) {
        return 0; // ICU counts in int32_t; no file name comes near
    }
    const std::string_view texto = fuzz::comoTexto(dados, tamanho);

    // The first line is the name; the lines after it, if any, are installed applications.
    const std::size_t quebra = texto.find('\n');
    const std::string_view nome = texto.substr(0, quebra);
    verificarNomeAnalyzer(nome);
    verificarInstallerMatcher(nome);

    std::set<std::string> instalados;
    if (quebra != std::string_view::npos) {
        std::string_view resto = texto.substr(quebra + 1);
        while (!resto.empty()) {
            const std::size_t fim = resto.find('\n');
            instalados.emplace(resto.substr(0, fim));
            resto.remove_prefix(fim == std::string_view::npos ? resto.size() : fim + 1);
        }
    }
    const bool instalado = InstallerMatcher::jaInstalado(nome, instalados);
    // A match needs some application.
    TARRAFA_EXIGIR(!instalado || !instalados.empty());

    // Triage normalises the installed names once and matches against that list: same answer.
    const std::vector<std::string> normalizados = InstallerMatcher::normalizarInstalados(instalados);
    TARRAFA_EXIGIR(InstallerMatcher::jaInstaladoEntre(nome, normalizados) == instalado);
    TARRAFA_EXIGIR(normalizados.size() <= instalados.size());
    for (const std::string& normalizado : normalizados) {
        TARRAFA_EXIGIR(Texto::contarGrafemas(normalizado) >= InstallerMatcher::kTamanhoMinimo);
    }

    // Adding unrelated applications never takes a match away.
    if (!instalado) {
        for (const std::string& app : instalados) {
            TARRAFA_EXIGIR(!InstallerMatcher::jaInstalado(nome, {app}));
        }
    }
    return 0;
}
