// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string>
#include <string_view>

// Whether a file name identifies nothing (a camera default, a bare number, a UUID, a hash)
// and whether it carries a copy marker. Pure functions over UTF-8 text.
namespace tarrafa::NameAnalyzer {

// Default names of cameras, screenshots and dialogs, lower case, in the order tried.
inline constexpr std::array<std::string_view, 22> kPrefixosGenericos{
    "img_", "img-", "img ", "dsc_", "dsc-", "foto ", "foto_", "photo_", "photo ", "imagem", "image",
    "captura", "screenshot", "screen shot", "untitled", "sem título", "sem titulo", "documento",
    "document", "download", "arquivo", "file"};

// Copy words, in the order tried; each is removed at most once.
inline constexpr std::array<std::string_view, 4> kSufixosDeCopia{" copy", " cópia", " copia", "-copy"};

// The full file name (with extension): true when the name identifies nothing.
[[nodiscard]] bool ehOpaco(std::string_view nome);
// A name without extension, with one trailing copy marker of each kind removed.
[[nodiscard]] std::string removerSufixoDeCopia(std::string_view semExtensao);
// The full file name: true when removing copy markers changes its extension-less form.
[[nodiscard]] bool temSufixoDeCopia(std::string_view nome);

} // namespace tarrafa::NameAnalyzer
