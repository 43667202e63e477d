// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/Icone.hpp"

#include <string_view>

namespace tarrafa::app {

QString icone(const Origem& origem)
{
    const std::string_view chave = origem.chave();
    if (chave == Origem::kChaveSemOrigem) {
        return QStringLiteral("questionmark.circle");
    }
    if (chave == Origem::kChaveInstaladores) {
        return QStringLiteral("shippingbox");
    }
    if (chave.starts_with("sharepoint")) {
        return QStringLiteral("person.crop.square");
    }
    if (chave == "teams" || chave == "slack" || chave == "whatsapp" || chave == "telegram") {
        return QStringLiteral("bubble.left.and.bubble.right");
    }
    if (chave == "github") {
        return QStringLiteral("chevron.left.forwardslash.chevron.right");
    }
    if (chave == "gdrive" || chave == "dropbox") {
        return QStringLiteral("externaldrive");
    }
    if (chave == "gmail" || chave == "outlook") {
        return QStringLiteral("envelope");
    }
    return QStringLiteral("globe");
}

} // namespace tarrafa::app
