// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/UriDeArquivo.hpp"

#include <uriparser/Uri.h>

#include <cstring>

namespace tarrafa::UriDeArquivo {

std::optional<std::string> caminho(std::string_view endereco)
{
    std::string uri(endereco);
    // "file://localhost/x" names the same file as "file:///x".
    constexpr std::string_view kLocal = "file://localhost/";
    if (uri.starts_with(kLocal)) {
        uri.replace(0, kLocal.size(), "file:///");
    }
    if (!uri.starts_with("file:///")) {
        return std::nullopt;
    }
    // A path holds no NUL, and a decoded one would cut the result short.
    if (uri.find('\0') != std::string::npos || uri.find("%00") != std::string::npos) {
        return std::nullopt;
    }
    std::string saida(uri.size() + 1, '\0');
    if (uriUriStringToUnixFilenameA(uri.c_str(), saida.data()) != URI_SUCCESS) {
        return std::nullopt;
    }
    saida.resize(std::strlen(saida.c_str()));
    if (saida.empty() || saida.front() != '/') {
        return std::nullopt;
    }
    return saida;
}

} // namespace tarrafa::UriDeArquivo
