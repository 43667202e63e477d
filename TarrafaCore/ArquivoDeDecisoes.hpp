// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Decisao.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace tarrafa {

// The decision file: one compact JSON object from a file's path to its decision's word,
// every "/" written as "\/". A path that is not valid UTF-8 cannot be JSON text as it is: it
// is written in the escaped form of IdEmTexto ("%" then the path with "%XX" for the odd
// bytes), read back to the exact bytes. Files written before that form existed hold valid
// paths only, which read as they always did.
//
// The window and the command line both write it, possibly at the same time, so a write
// never replaces the file blindly: under a lock on its folder it reads what is there now,
// applies only its own changes on top, and puts the result in place whole (every byte
// written and synced to a new file, then renamed over the old one). Whatever goes wrong,
// the old file stays byte for byte. A file that cannot be understood is renamed aside
// ("decisoes.json.ilegivel-<date>") before anything is written in its place, and a
// symbolic link at the path is never followed: it is set aside the same way.
class ArquivoDeDecisoes final {
public:
    using Decisoes = std::unordered_map<std::string, Decisao>;

    // What one process changed since its last write: decisions taken, and files forgotten
    // (their decision removed, so they are new again).
    struct Mudancas {
        Decisoes decididas;
        std::unordered_set<std::string> esquecidas;

        void decidir(const std::string& id, Decisao decisao);
        void esquecer(const std::string& id);
        // The newer changes over these ones.
        void juntar(Mudancas&& maisNovas);
        [[nodiscard]] bool vazia() const noexcept { return decididas.empty() && esquecidas.empty(); }
        // These changes applied to a set of decisions.
        void aplicarEm(Decisoes& decisoes) const;
    };

    // What a write did.
    struct Gravacao {
        // Why nothing was written (the old file then untouched), in the system's words.
        std::optional<std::string> falha;
        // The decisions the file now holds. Present only when someone else had changed the
        // file since this object last read or wrote it, so the caller learns their decisions.
        std::optional<Decisoes> atuais;
        // Where an unreadable file (or a link) was put before this write.
        std::optional<std::string> postoDeLado;
        // Another writer held the file for longer than the wait allows: nothing was written,
        // and falha says so.
        bool ocupado = false;
    };

    // How long a write waits for another writer (another window, a script) to finish.
    static constexpr std::chrono::milliseconds kEsperaPelaTrava {5000};

    explicit ArquivoDeDecisoes(std::string caminho, std::chrono::milliseconds esperaPelaTrava = kEsperaPelaTrava);

    [[nodiscard]] const std::string& caminho() const noexcept { return caminho_; }

    // The decisions in the file; empty when it is missing, unreadable, not understood, or not
    // a regular file. Changes nothing on disk.
    [[nodiscard]] Decisoes ler();

    // Applies the changes to the file as it is now. Makes the folder when missing, open to the
    // user alone. Gives up, changing nothing, when another writer keeps the file longer than
    // the wait.
    // Not for concurrent use of one object; other objects and processes may write at will.
    Gravacao gravar(const Mudancas& mudancas);

    [[nodiscard]] static std::string codificar(const Decisoes& decisoes);
    // Any JSON object of path to decision word, slashes escaped or not; none for anything
    // else, including one unknown word or one key that begins with "%" but is not a path in
    // the escaped form.
    [[nodiscard]] static std::optional<Decisoes> decodificar(std::string_view json);

    // The largest file read: anything bigger is not a decision file.
    static constexpr std::int64_t kTamanhoMaximo = std::int64_t(512) << 20;

    // Who and when, as the folder saw the file last: another write changes at least one.
    struct Marca {
        std::uint64_t dispositivo = 0;
        std::uint64_t inode = 0;
        std::int64_t tamanho = 0;
        std::int64_t modificacaoNs = 0;
        bool operator==(const Marca&) const = default;
    };

private:
    std::string caminho_;
    std::chrono::milliseconds esperaPelaTrava_;
    // What the file was when this object last read or wrote it; none when it was missing.
    std::optional<Marca> conhecida_;
    bool jaLido_ = false;
};

} // namespace tarrafa
