// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <system_error>
#include <vector>

namespace tarrafa {

// What changed in a watched folder during one quiet spell, as the kernel told it.
struct LoteDeEventos {
    // Top-level entries named by events: created, written, renamed in or out, removed, their
    // attributes changed, or (for a folder) anything below it. Hidden names never appear.
    std::set<std::string> nomes;
    // A browser's history database was written.
    bool historicos = false;
    // The desktop's list of recently used files was written: files may have been opened.
    bool usosRecentes = false;
    // The events cannot say what changed (the kernel's queue overflowed, the path now names
    // another folder or none, ".hidden" changed): only reading the whole folder again tells.
    bool tudo = false;
    // List the folder again and take whatever came or went meanwhile: what a watch set up
    // after a scan had no chance to see.
    bool conferir = false;
    // As things stood when the batch was handed over: some folders could not be watched (the
    // user's inotify watches are used up, or there are more folders than we allow ourselves),
    // so their sizes are only as fresh as the last periodic read of them.
    bool parcial = false;

    [[nodiscard]] bool vazio() const noexcept { return nomes.empty() && !historicos && !usosRecentes && !tudo && !conferir; }
};

// Watches a folder with inotify, on a thread of its own, and hands over what changed once the
// events stop for a moment. The top level is watched for entries coming, going, written and
// changed; every folder below it for anything that changes its size; the browsers' history
// databases for writes. Nothing is ever opened for reading, and nothing is changed.
//
// The path is what is watched, not the folder that happened to be there at the start: when it
// comes to name another folder (the folder moved away and another put in its place, or a link
// pointed elsewhere) the watch moves there and a full read is asked for.
//
// A file created and still open for writing is held back until it is closed: a download that
// writes for minutes costs nothing until it ends. When nothing happens the thread sleeps in
// the kernel: no timers, no polling. The one exception is a folder that could not be watched:
// it is named in a batch every little while, so that its size is read again, for as long as
// its watch cannot be set.
class Vigia final {
public:
    struct Opcoes {
        // How long the events must pause before a batch is handed over, and the longest a
        // batch may wait while events keep coming.
        std::chrono::milliseconds calma {250};
        std::chrono::milliseconds esperaMaxima {2000};
        // History databases to watch (each one's folder is watched for writes to it and to its
        // journal or write-ahead log).
        std::vector<std::string> historicos;
        // The desktop's recently-used list to watch (its folder, for writes to it); empty: none.
        std::string usosRecentes;
        // How many folders below the top level may be watched; 0: a quarter of what the
        // kernel allows the user (the rest of the system needs watches too).
        std::size_t maximoDePastas = 0;
        // How often what could not be watched is read again (and its watch tried again).
        std::chrono::milliseconds releitura {30000};
    };
    using AoMudar = std::function<void(LoteDeEventos)>;

    // Starts watching at once; aoMudar is called on the watcher's thread, one batch at a
    // time. Throws std::system_error when inotify itself is not available.
    Vigia(std::string pasta, Opcoes opcoes, AoMudar aoMudar);
    // Stops the thread; a batch being handed over is finished first.
    ~Vigia();

    Vigia(const Vigia&) = delete;
    Vigia& operator=(const Vigia&) = delete;

    // Raw inotify records, handled as if the kernel had sent them: the only way to bring
    // about what an unprivileged test cannot (a queue overflow).
    void injetar(std::span<const std::byte> eventos);

    // Has the batch handled on the watcher's thread as soon as it is free, with whatever the
    // kernel said meanwhile: a full read asked for by the person, a look after the watch began.
    void pedir(LoteDeEventos lote);

    // How many folders are watched now (the folder itself and those below it); for tests.
    [[nodiscard]] std::size_t pastasVigiadas() const;
    // Why the folder itself is not watched now (the kernel refused the watch, or the path names
    // nothing); empty while it is.
    [[nodiscard]] std::error_code erroNaPasta() const;
    // Whether some folder is read again from time to time for want of a watch (see
    // LoteDeEventos::parcial).
    [[nodiscard]] bool parcial() const;

    // Raw record of an event, as inotify writes it, for injetar().
    [[nodiscard]] static std::vector<std::byte> evento(int wd, std::uint32_t mascara, const std::string& nome = {});

private:
    struct Estado;
    std::unique_ptr<Estado> estado_;
};

} // namespace tarrafa
