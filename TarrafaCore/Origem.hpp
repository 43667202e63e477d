// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarrafa {

// Where a file came from: a well-known web application, a SharePoint person or site, a
// plain host, or nothing. Files with equal keys are grouped together.
class Origem final {
public:
    static constexpr std::string_view kChaveSemOrigem = "_sem_origem";
    static constexpr std::string_view kChaveInstaladores = "_instaladores";

    Origem(std::string chave, std::string rotulo, std::optional<std::string> endereco);

    [[nodiscard]] static const Origem& semOrigem();

    [[nodiscard]] const std::string& chave() const noexcept { return chave_; }
    [[nodiscard]] const std::string& rotulo() const noexcept { return rotulo_; }
    [[nodiscard]] const std::optional<std::string>& endereco() const noexcept { return endereco_; }

    friend bool operator==(const Origem&, const Origem&) = default;

private:
    std::string chave_;
    std::string rotulo_;
    std::optional<std::string> endereco_;
};

namespace OrigemParser {

struct Conhecido {
    std::string_view host;
    std::string_view chave;
    std::string_view rotulo;
};

// Well-known web applications, tried in this order. "files.slack.com" can never be reached
// (the row above matches every sub-domain of slack.com); it stays, in its place, on purpose.
inline constexpr std::array<Conhecido, 16> conhecidos{{
    {"teams.microsoft.com", "teams", "Teams"},
    {"teams.live.com", "teams", "Teams"},
    {"outlook.office.com", "outlook", "Outlook"},
    {"outlook.office365.com", "outlook", "Outlook"},
    {"mail.google.com", "gmail", "Gmail"},
    {"drive.google.com", "gdrive", "Google Drive"},
    {"docs.google.com", "gdrive", "Google Drive"},
    {"github.com", "github", "GitHub"},
    {"githubusercontent.com", "github", "GitHub"},
    {"web.whatsapp.com", "whatsapp", "WhatsApp"},
    {"web.telegram.org", "telegram", "Telegram"},
    {"slack.com", "slack", "Slack"},
    {"files.slack.com", "slack", "Slack"},
    {"dropbox.com", "dropbox", "Dropbox"},
    {"notion.so", "notion", "Notion"},
    {"figma.com", "figma", "Figma"},
}};

// SharePoint Online's public domain; a host ending with it follows the SharePoint rules.
inline constexpr std::string_view kSufixoSharePoint = "sharepoint.com";

// The origin of a file: the first address that yields one, else Origem::semOrigem().
[[nodiscard]] Origem analisar(const std::vector<std::string>& enderecos);
// The origin of one address; absent when it is blank, does not parse or has no host.
[[nodiscard]] std::optional<Origem> analisarUma(std::string_view endereco);
// A display name from a SharePoint personal-site segment ("ana_souza_contoso_com" -> "Ana Souza").
[[nodiscard]] std::string nomeDePessoa(std::string_view segmento);

} // namespace OrigemParser
} // namespace tarrafa

template <>
struct std::hash<tarrafa::Origem> {
    std::size_t operator()(const tarrafa::Origem& origem) const noexcept;
};
