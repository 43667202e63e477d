// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// Downloads still arriving. Browsers write a download under a name of their own and rename it
// when it is complete; Firefox also leaves an empty file under the final name meanwhile. Such
// entries are not the person's files yet: nothing is decided about them and nothing counts them.
namespace tarrafa::EmAndamento {

// "x.pdf.crdownload" (Chromium), "x.pdf.part" (Firefox), "x.pdf.download" (a bundle some
// browsers make), "x.pdf.partial" (older browsers); letter case aside.
[[nodiscard]] bool ehParcial(std::string_view nome);

// The final name a partial one will take ("x.pdf.part" -> "x.pdf"); none for other names.
[[nodiscard]] std::optional<std::string> nomeFinal(std::string_view nome);

// Whether the entry is a download still arriving: a partial name, or the empty regular file
// Firefox keeps under the final name while "NAME.part" is beside it. existe tells whether the
// folder holds an entry of a given name.
[[nodiscard]] bool baixando(std::string_view nome, bool ehRegular, std::int64_t tamanho,
    const std::function<bool(const std::string&)>& existe);

} // namespace tarrafa::EmAndamento
