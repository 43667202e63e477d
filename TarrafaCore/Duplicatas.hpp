// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/CacheDeHashes.hpp"
#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/Identidade.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <vector>

// Files of the folder whose contents are the same, whatever their names. Each file is read
// no further than it takes to tell it apart from the others: only files of the same size are
// compared, first by their first and last 64 KiB, and only files that still look alike are
// read whole. What was read is remembered in a cache, and a hash the browser recorded when it
// saved the file stands in for reading it.
//
// Files are read without changing their access time, and never written.
namespace tarrafa::Duplicatas {

// How much of each end of a file the first comparison reads.
inline constexpr std::size_t kPonta = 64 * 1024;

// One file to compare, as the scan found it.
struct Arquivo {
    std::string id;
    // What the file was when scanned: it is read only while it still is that file.
    Identidade identidade;
    // The oldest of identical files is the original; the others are its copies.
    Date chegouEm;
    // The SHA-256 of the contents as the browser recorded it on saving the file (32 bytes),
    // when it still stands for the file; empty otherwise.
    std::string sha256;
};

struct Resultado {
    // Each copy's id, with the id of the original it repeats.
    std::unordered_map<std::string, std::string> duplicataDe;
    // What the comparison cost: bytes read from the files, files opened, and hashes the
    // cache or the browser gave instead.
    std::uint64_t bytesLidos = 0;
    std::size_t arquivosAbertos = 0;
    std::size_t hashesLembrados = 0;
};

// Compares the files (regular, non-empty ones; the rest are left out). A file that changed
// since it was scanned, or cannot be read, is compared with nothing. Throws std::system_error
// with ECANCELED once stop is requested.
[[nodiscard]] Resultado encontrar(std::vector<Arquivo> arquivos, CacheDeHashes& cache, std::stop_token parar = {});

// Among the files a scan found, those worth comparing: files (not folders) of a size another
// one shares, the only ones that can be copies, with what the scan read of them. A snapshot
// without an identity (a made-up one) is left out. sha256: by id, the browsers' hashes.
[[nodiscard]] std::vector<Arquivo> candidatos(const std::vector<const FileSnapshot*>& snapshots,
    const std::unordered_map<std::string, Identidade>& identidades,
    const std::unordered_map<std::string, std::string>& sha256 = {});

// The item as a copy of the named original: "cópia idêntica de NOME" where the copy-suffix
// badge would be (taking its place when the name carries one too). An item that already
// says so is given back unchanged.
[[nodiscard]] ItemTriado marcar(const ItemTriado& item, const std::string& nomeDoOriginal);
// The item without that badge, as triage made it (the copy-suffix badge back, where the
// name carries a copy suffix).
[[nodiscard]] ItemTriado desmarcar(const ItemTriado& item);
// The groups with every copy badged; the originals' names are looked up among the groups'
// items (a copy whose original is not among them is left as it was).
[[nodiscard]] std::vector<GrupoOrigem> marcar(
    const std::vector<GrupoOrigem>& grupos, const std::unordered_map<std::string, std::string>& duplicataDe);

} // namespace tarrafa::Duplicatas
