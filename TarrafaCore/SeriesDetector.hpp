// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/FileSnapshot.hpp"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Files that belong together because their names differ only in extension or copy marker.
namespace tarrafa::SeriesDetector {

// The series key: the name without extension and without copy markers, in NFC.
[[nodiscard]] std::string chave(std::string_view nome);
// For every snapshot's name, how many snapshots of the list (itself included) share its
// series key. Linear: each key is computed once and counted in a hash map.
[[nodiscard]] std::unordered_map<std::string, int> candidatos(const std::vector<FileSnapshot>& snapshots);

} // namespace tarrafa::SeriesDetector
