// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/HistoricoDeNavegadores.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Which browser record describes which file of the scanned folder.
//
// A record is for a file when it names the file's path (through the folder as it was given or
// as it really is: browsers write the path they were told, which may pass through a link, and
// the person may name the folder another way) and, where it recorded a size, the sizes agree
// (otherwise the file was replaced by another of the same name, and the record is not its).
// A file the person renamed, or Firefox's first copy of an address downloaded twice, is found
// by size and time instead, among the records no file claimed, and only when that leaves
// exactly one record for exactly one file: a wrong origin is worse than none.
namespace tarrafa::CasamentoDeDownloads {

// How close (seconds) a file's times must be to a record's for the two to be taken as one
// download when no path joins them.
inline constexpr double kJanela = 10.0;

// A regular file of the scanned folder, as the matching needs it.
struct Arquivo {
    std::string nome; // the entry's name (bytes)
    std::int64_t tamanho = 0;
    std::optional<Date> nascimento;
    std::optional<Date> modificacao;
    bool semOrigem = true; // only files that have no origin of their own are matched by size and time
};

// The scanned folder: the absolute path it was given (lexically clean) and its real path.
struct Pasta {
    std::string dada;
    std::string real;
};

// "/a//b/./c/" -> "/a/b/c" ("..", which depends on links, is left as it is).
[[nodiscard]] std::string limpar(const std::string& caminho);
// The folder as given and as resolved by the kernel (the given path again when it cannot be).
[[nodiscard]] Pasta resolver(const std::string& caminhoAbsoluto);

// For each file (same order), the record that describes it, or null.
[[nodiscard]] std::vector<const RegistroDeDownload*> casar(const Pasta& pasta,
    const std::vector<Arquivo>& arquivos, const std::vector<RegistroDeDownload>& registros);

} // namespace tarrafa::CasamentoDeDownloads
