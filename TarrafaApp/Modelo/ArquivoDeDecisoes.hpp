// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaApp/Modelo/Decisao.hpp"

#include <QByteArray>
#include <QString>

#include <optional>
#include <string>
#include <unordered_map>

// The decision file: one compact JSON object from a file's path to its decision's word,
// every "/" written as "\/". Paths that are not valid UTF-8 cannot be JSON text and are
// left out. Nothing here reports an error: the decisions are worth less than a message.
namespace tarrafa::app::ArquivoDeDecisoes {

using Decisoes = std::unordered_map<std::string, Decisao>;

[[nodiscard]] QByteArray codificar(const Decisoes& decisoes);
// Any JSON object of path to decision word, slashes escaped or not; none for anything else,
// including one unknown word.
[[nodiscard]] std::optional<Decisoes> decodificar(const QByteArray& json);

// The decisions in the file; empty when it is missing, unreadable or not understood.
[[nodiscard]] Decisoes ler(const QString& arquivo);
// Replaces the file atomically (a temporary file renamed over it, then the folder synced);
// false when that failed, the old file then left as it was.
bool gravar(const QString& arquivo, const Decisoes& decisoes);

} // namespace tarrafa::app::ArquivoDeDecisoes
