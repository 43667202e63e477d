// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

// The user's folders by the XDG base-directory and user-dirs conventions, read from the
// environment at each call so that a whole fake home can be given to the program.
namespace tarrafa::PastasDoUsuario {

// $HOME, else the home folder of the password database, else "/".
[[nodiscard]] std::string casa();
// $XDG_DATA_HOME when absolute, else ~/.local/share.
[[nodiscard]] std::string dados();
// $XDG_CACHE_HOME when absolute, else ~/.cache.
[[nodiscard]] std::string cache();
// $XDG_CONFIG_HOME when absolute, else ~/.config.
[[nodiscard]] std::string configuracao();
// The absolute entries of $XDG_DATA_DIRS, else /usr/local/share and /usr/share.
[[nodiscard]] std::vector<std::string> diretoriosDeDados();
// XDG_DOWNLOAD_DIR of user-dirs.dirs ("$HOME" expanded) when set and absolute, else ~/Downloads.
[[nodiscard]] std::string downloads();
// Where the window and the command line keep the decisions: Tarrafa/decisoes.json in the data
// folder.
[[nodiscard]] std::string arquivoDeDecisoes();
// Where the content hashes of the folder's files are remembered between runs:
// Tarrafa/hashes.sqlite in the cache folder (losing it costs only a new reading).
[[nodiscard]] std::string arquivoDeHashes();
// The file that says where the user's folders are: user-dirs.dirs in the configuration folder.
[[nodiscard]] std::string arquivoDasPastas();
// Whether the folder is the home itself (links resolved): how xdg-user-dirs turns a folder off,
// with XDG_DOWNLOAD_DIR="$HOME/". Such a "Downloads" holds the person's whole life, not an inbox.
[[nodiscard]] bool ehACasa(const std::string& pasta);

} // namespace tarrafa::PastasDoUsuario
