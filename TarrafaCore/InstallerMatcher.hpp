// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// Recognises installers and guesses whether the application one brings is installed, by a
// deliberately loose comparison of normalised names.
namespace tarrafa::InstallerMatcher {

// Installer kinds, lower case: disk images and packages, and the Linux package formats.
inline constexpr std::array<std::string_view, 7> kExtensoes{"dmg", "pkg", "deb", "rpm", "appimage", "flatpakref", "snap"};
// A trailing version: optional separator, optional "v", digits, dot- or underscore-groups.
inline constexpr std::string_view kPadraoDeVersao = R"([ _-]?v?\d+([._]\d+)*$)";
// Shorter normalised names never take part in a match.
inline constexpr std::size_t kTamanhoMinimo = 5;

[[nodiscard]] bool ehInstalador(std::string_view nome);
// Version removed, lower-cased, letters and digits only: "Firefox 121.0.1" -> "firefox".
[[nodiscard]] std::string normalizar(std::string_view nome);
[[nodiscard]] bool jaInstalado(std::string_view nome, const std::set<std::string>& instalados);

// The installed names normalised once, for a folder with many installers: those too short
// to match are left out. jaInstaladoEntre(nome, normalizarInstalados(s)) == jaInstalado(nome, s).
[[nodiscard]] std::vector<std::string> normalizarInstalados(const std::set<std::string>& instalados);
[[nodiscard]] bool jaInstaladoEntre(std::string_view nome, const std::vector<std::string>& normalizados);

} // namespace tarrafa::InstallerMatcher
