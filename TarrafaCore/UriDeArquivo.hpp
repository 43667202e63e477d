// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Local files named by address, as the desktop's recently-used list and Firefox's download
// history write them.
namespace tarrafa::UriDeArquivo {

// "file:///home/a/b%20c.pdf" (or "file://localhost/...") -> "/home/a/b c.pdf", the bytes as
// percent-decoded; none for another scheme, a remote host, or a "%00" that would cut the path.
[[nodiscard]] std::optional<std::string> caminho(std::string_view uri);

} // namespace tarrafa::UriDeArquivo
