// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Endereco.hpp"

#include "TarrafaCore/UriAnalisada.hpp"

namespace tarrafa::Endereco {

namespace {

std::string_view antesDeConsulta(std::string_view texto)
{
    return texto.substr(0, texto.find_first_of("?#"));
}

} // namespace

std::string semSegredos(std::string_view endereco)
{
    const UriAnalisada analisada(endereco);
    if (!analisada.ok()) {
        // Not an address by the rules, yet it may hold one: whatever follows "?" or "#" goes,
        // and so does anything before an "@" in what looks like the host part.
        std::string_view resto = antesDeConsulta(endereco);
        std::string limpo;
        if (const auto esquema = resto.find("://"); esquema != std::string_view::npos) {
            limpo.append(resto.substr(0, esquema + 3));
            resto.remove_prefix(esquema + 3);
            const auto fimDoHost = resto.find('/');
            if (const auto arroba = resto.substr(0, fimDoHost).rfind('@'); arroba != std::string_view::npos) {
                resto.remove_prefix(arroba + 1);
            }
        }
        limpo.append(resto);
        return limpo;
    }
    const UriUriA& uri = analisada.uri();
    std::string limpo;
    if (const std::string_view esquema = texto(uri.scheme); !esquema.empty()) {
        limpo.append(esquema).append(":");
    }
    const bool comHost = uri.hostText.first != nullptr;
    if (comHost) {
        limpo.append("//");
        const bool ipv6 = uri.hostData.ip6 != nullptr || uri.hostData.ipFuture.first != nullptr;
        limpo.append(ipv6 ? "[" : "").append(texto(uri.hostText)).append(ipv6 ? "]" : "");
        if (const std::string_view porta = texto(uri.portText); !porta.empty()) {
            limpo.append(":").append(porta);
        }
    }
    // The path as written, segment by segment: an empty segment (a trailing slash) is not
    // part of the text given, so the segments are joined rather than taken as one range.
    if (uri.pathHead != nullptr) {
        if (comHost || uri.absolutePath) {
            limpo.append("/");
        }
        for (const UriPathSegmentA* segmento = uri.pathHead; segmento != nullptr; segmento = segmento->next) {
            limpo.append(texto(segmento->text));
            if (segmento->next != nullptr) {
                limpo.append("/");
            }
        }
    } else if (uri.absolutePath) {
        limpo.append("/");
    }
    return limpo;
}

} // namespace tarrafa::Endereco
