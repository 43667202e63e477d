// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <uriparser/Uri.h>

#include <string_view>

namespace tarrafa {

// Owns a parsed URI (RFC 3986, through uriparser) so that its members are freed on every way
// out. The parts point into the text given, which must outlive the object.
class UriAnalisada final {
public:
    UriAnalisada(const char* inicio, const char* fim)
    {
        const char* posicaoDoErro = nullptr;
        ok_ = uriParseSingleUriExA(&uri_, inicio, fim, &posicaoDoErro) == URI_SUCCESS;
    }
    explicit UriAnalisada(std::string_view texto)
        : UriAnalisada(texto.data(), texto.data() + texto.size())
    {
    }
    UriAnalisada(const UriAnalisada&) = delete;
    UriAnalisada& operator=(const UriAnalisada&) = delete;
    ~UriAnalisada()
    {
        if (ok_) {
            uriFreeUriMembersA(&uri_);
        }
    }

    [[nodiscard]] bool ok() const noexcept { return ok_; }
    [[nodiscard]] const UriUriA& uri() const noexcept { return uri_; }

private:
    UriUriA uri_ {};
    bool ok_ = false;
};

// The text of one part of a parsed URI; empty when the part is absent.
inline std::string_view texto(const UriTextRangeA& faixa)
{
    if (faixa.first == nullptr || faixa.afterLast == nullptr || faixa.afterLast < faixa.first) {
        return {};
    }
    return {faixa.first, static_cast<std::size_t>(faixa.afterLast - faixa.first)};
}

} // namespace tarrafa
