// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

// An entry's id (its full path, in bytes) written as text, for the decision file and the
// JSON the command line prints. Linux names are bytes, not text: a name that is not valid
// UTF-8 cannot be a JSON string as it is, and repairing it (U+FFFD) would give two names one
// id. So:
//
//   - a path that is valid UTF-8 and does not begin with "%" is written as it is (every id
//     is a full path, so in practice every valid one begins with "/");
//   - any other path is written as "%" followed by the path in which every byte that is not
//     part of a valid UTF-8 character, and every "%", is "%XX" (two upper-case hex digits).
//     "/home/ana/Downloads/caf\xE9.txt" is "%/home/ana/Downloads/caf%E9.txt".
//
// Each path has exactly one written form and each written form one path, so two names never
// share one, and a file written before this form existed (valid paths only) reads the same.
namespace tarrafa::IdEmTexto {

// The text for these bytes; always valid UTF-8.
[[nodiscard]] std::string codificar(std::string_view caminho);

// Whether this text is the escaped form (and not a path written as it is).
[[nodiscard]] bool ehCodificado(std::string_view texto) noexcept;

// The exact bytes this text stands for; none when it begins with "%" but is not exactly what
// codificar writes (a bad escape, lower-case hex, a byte escaped that needed no escape, or
// nothing that needed escaping at all).
[[nodiscard]] std::optional<std::string> decodificar(std::string_view texto);

} // namespace tarrafa::IdEmTexto
