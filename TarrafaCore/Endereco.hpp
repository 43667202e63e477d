// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

// Web addresses as the person is shown them.
namespace tarrafa::Endereco {

// The address without what may be a secret: the user name and password before the host, the
// query (signed download links carry their tokens there) and the fragment. What is left is
// the scheme, the host, the port and the path, as written. Text that is not an address is
// cut at its first "?" or "#" all the same.
[[nodiscard]] std::string semSegredos(std::string_view endereco);

} // namespace tarrafa::Endereco
