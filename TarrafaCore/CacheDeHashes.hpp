// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Identidade.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct sqlite3;

namespace tarrafa {

// A 128-bit content hash (XXH3-128): the low and the high half.
struct Hash128 {
    std::uint64_t baixo = 0;
    std::uint64_t alto = 0;
    friend bool operator==(const Hash128&, const Hash128&) = default;
    friend auto operator<=>(const Hash128&, const Hash128&) = default;
};

namespace BancoHostil {
class Prazo;
}

// The hashes of files already read, kept between runs so that a folder seen before is compared
// without reading it again. An entry stands for one file (device and inode) as it was: it is
// used only while the file keeps the size, modification time and change time it had when it
// was read.
//
// Losing the cache costs only a new reading, so it never stands in the way, and it is read as
// hostile: it sits in a folder of the person's that any program they run can write to. The
// file must hold our table and nothing else; every statement runs under a time budget. A file
// in doubt (not SQLite, damaged, another schema, a view or a trigger, a link or a pipe in its
// place, a statement that fails or runs too long) is thrown away and a new cache made in its
// place; when even that fails, or the folder cannot be written, the cache stays empty and the
// comparison reads. A cache locked by another program is left alone for the run. Entries not
// used for 90 days are dropped.
class CacheDeHashes final {
public:
    struct Entrada {
        // Of the first and last 64 KiB (the whole file when it is no larger than both).
        std::optional<Hash128> parcial;
        // Of the whole file.
        std::optional<Hash128> completo;
    };

    // Opens (or creates, with its folder) the cache file.
    explicit CacheDeHashes(const std::string& arquivo);
    // A cache that remembers nothing and writes nothing.
    CacheDeHashes();
    CacheDeHashes(const CacheDeHashes&) = delete;
    CacheDeHashes& operator=(const CacheDeHashes&) = delete;
    // Writes what is still pending.
    ~CacheDeHashes();

    [[nodiscard]] bool aberto() const noexcept { return db_ != nullptr; }
    // What is known of the file as it is now; none when it is not known, or was read when it
    // had another size, modification time or change time.
    [[nodiscard]] std::optional<Entrada> buscar(const Identidade& arquivo);
    // Remembers what was read; written with the next gravar().
    void guardar(const Identidade& arquivo, const Entrada& entrada);
    // Writes the entries kept since the last call, in one transaction.
    void gravar();

private:
    // The lookup, prepared once: it runs for every file of a shared size.
    class Busca;
    struct Pendente {
        Identidade arquivo;
        Entrada entrada;
    };
    enum class Abertura { pronto, emDuvida, indisponivel };

    [[nodiscard]] Abertura abrir();
    // Throws the file in doubt away and starts a new one (once per run); empty when that fails.
    void refazer();
    void fechar() noexcept;
    [[nodiscard]] int escrever();

    std::string arquivo_;
    std::unique_ptr<BancoHostil::Prazo> prazo_;
    bool refeito_ = false;
    sqlite3* db_ = nullptr;
    std::unique_ptr<Busca> busca_;
    std::vector<Pendente> pendentes_;
    // Entries found that were last used long ago: their date is renewed with the next write.
    std::vector<Identidade> renovar_;
};

} // namespace tarrafa
