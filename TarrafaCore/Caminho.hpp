// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

// Paths as bytes, taken apart and put together lexically (no file system asked, no link
// resolved): what the scanner, the watcher and the Trash all need.
namespace tarrafa::Caminho {

// The folder part: "/a/b" -> "/a", "/b" -> "/", "b" -> ".".
[[nodiscard]] inline std::string pastaDe(const std::string& caminho)
{
    const std::string::size_type barra = caminho.rfind('/');
    if (barra == std::string::npos) {
        return ".";
    }
    return barra == 0 ? std::string("/") : caminho.substr(0, barra);
}

// The last part: "/a/b" -> "b", "b" -> "b".
[[nodiscard]] inline std::string nomeDe(const std::string& caminho)
{
    const std::string::size_type barra = caminho.rfind('/');
    return barra == std::string::npos ? caminho : caminho.substr(barra + 1);
}

// A name inside a folder, the root included: ("/", "a") -> "/a".
[[nodiscard]] inline std::string juntar(const std::string& pasta, const std::string& nome)
{
    return pasta == "/" ? "/" + nome : pasta + "/" + nome;
}

} // namespace tarrafa::Caminho
