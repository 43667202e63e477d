// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QUrl>

#include <functional>

#include <QString>

#include <string>

namespace tarrafa::app {

// Asks the desktop's file manager to show the file, selected, in its folder
// (org.freedesktop.FileManager1.ShowItems on the session bus). Where no file manager
// answers, or there is no session bus, the containing folder is opened instead. Nothing
// is reported: a file that is gone simply shows nothing.
void mostrarNoGerenciadorDeArquivos(const std::string& caminho);

// Opens the file with the desktop's default application for its type; false when the desktop
// could not start one.
[[nodiscard]] bool abrirArquivo(const std::string& caminho);
// Test seam: what opens a file's address instead of the desktop; empty, the desktop again.
void setAbridorDeArquivos(std::function<bool(const QUrl&)> abridor);

// The file:// URI of a path, percent-encoding its exact bytes as GLib does, so a name that is
// not valid UTF-8 still points at the right file, and the desktop's thumbnail cache knows it.
[[nodiscard]] QString uriDoArquivo(const std::string& caminho);

} // namespace tarrafa::app
