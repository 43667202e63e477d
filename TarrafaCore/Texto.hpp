// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Text helpers over UTF-8, all on ICU. Characters are user-perceived characters (grapheme
// clusters); a cluster's class is the class of its first code point. Case mappings are the
// full, locale-independent ones.
namespace tarrafa::Texto {

[[nodiscard]] bool ehUtf8Valido(std::string_view bytes) noexcept;
// The bytes as valid UTF-8, each ill-formed sequence replaced by U+FFFD.
[[nodiscard]] std::string utf8Valido(std::string_view bytes);
// Canonical composition (NFC). Input that is not valid UTF-8 is repaired first.
[[nodiscard]] std::string nfc(std::string_view texto);
// The same without a copy when the text already is in NFC (nearly every name): the input
// itself, else a normalised (and, for ill-formed input, repaired) copy kept in `guarda`.
[[nodiscard]] std::string_view emNfc(std::string_view texto, std::string& guarda);
[[nodiscard]] std::string minusculas(std::string_view texto);
[[nodiscard]] std::string maiusculas(std::string_view texto);
// Full case folding, for caseless comparisons that keep accents.
[[nodiscard]] std::string dobrarCaixa(std::string_view texto);
// What a search compares: case folded and every combining mark taken away (decomposed,
// nonspacing marks removed, composed again), so "relatorio" finds "Relatório" and "RELATÓRIO".
[[nodiscard]] std::string chaveDeBusca(std::string_view texto);

// The grapheme clusters of valid UTF-8 text, as views into it.
[[nodiscard]] std::vector<std::string_view> grafemas(std::string_view texto);
[[nodiscard]] std::size_t contarGrafemas(std::string_view texto);
// The first code point of valid UTF-8 text; U+FFFD for empty or ill-formed text.
[[nodiscard]] char32_t primeiroCodePoint(std::string_view texto) noexcept;

[[nodiscard]] bool ehNumerico(char32_t c) noexcept;    // any Unicode numeric type
[[nodiscard]] bool ehLetra(char32_t c) noexcept;       // general category L
[[nodiscard]] bool ehHexadecimal(char32_t c) noexcept; // 0-9 a-f A-F and full-width forms
[[nodiscard]] bool ehEspaco(char32_t c) noexcept;      // space separators and TAB
[[nodiscard]] bool ehBrancoOuQuebra(char32_t c) noexcept; // separators, TAB..CR, NEL

// Whether every character (by its first code point) satisfies the predicate; true for "".
template <typename Predicado>
[[nodiscard]] bool todos(std::string_view texto, Predicado predicado)
{
    for (const std::string_view g : grafemas(texto)) {
        if (!predicado(primeiroCodePoint(g))) {
            return false;
        }
    }
    return true;
}

// Drops whitespace characters (ehEspaco) from both ends.
[[nodiscard]] std::string_view apararEspacos(std::string_view texto);
// Drops whitespace and line breaks (ehBrancoOuQuebra) from both ends.
[[nodiscard]] std::string_view apararBrancosEQuebras(std::string_view texto);

// The file-name extension rule: the text after the last ".", provided that dot is not the
// first character of the name; "" otherwise. "a.tar.gz" -> "gz", ".hidden" -> "".
[[nodiscard]] std::string_view extensao(std::string_view nome) noexcept;
// The name without "." + extensao(); unchanged when there is no extension.
[[nodiscard]] std::string_view semExtensao(std::string_view nome) noexcept;

// The first character upper-cased (which may give several), the rest as written.
[[nodiscard]] std::string primeiraMaiuscula(std::string_view texto);

} // namespace tarrafa::Texto
