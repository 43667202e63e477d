// SPDX-License-Identifier: GPL-3.0-or-later
// The watcher's inside, shared by its two halves: setting and moving the watches
// (VigiaPastas.cpp) and reading the kernel's events into batches (Vigia.cpp). Not for use
// outside the watcher.
#pragma once

#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/Vigia.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <sys/inotify.h>
#include <sys/types.h>
#include <thread>
#include <unordered_map>
#include <vector>

namespace tarrafa {

namespace vigiaInterna {

using Relogio = std::chrono::steady_clock;

// The top level: entries coming and going, written, renamed, their attributes changed, and
// the folder itself going away. IN_OPEN tells a file just created and being written (held
// back until it closes) from one made whole at once (a hard link, a link to a finished
// temporary file), which is handed over with the next batch.
inline constexpr std::uint32_t kMascaraTopo = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE
    | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_OPEN | IN_ONLYDIR;
// Below the top level only what changes a folder's size matters.
inline constexpr std::uint32_t kMascaraAbaixo
    = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE | IN_ONLYDIR | IN_DONT_FOLLOW;
// The folder's own name in the folder above, while the path is a link or names nothing: a
// link can be pointed elsewhere, or made, without a word from any folder it names.
inline constexpr std::uint32_t kMascaraPai = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR;
// A history database's folder: only names coming and going (a journal made, a database
// replaced). A browser's profile writes dozens of other files all the time; watching the
// folder for writes would wake us for every one of them, since inotify cannot tell it which
// names matter. The writes are watched on the files themselves.
inline constexpr std::uint32_t kMascaraPastaDeHistorico = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR;
// A history database, its journal or its write-ahead log: SQLite writes in place and keeps it
// open, so writes are what tell.
inline constexpr std::uint32_t kMascaraArquivoDeHistorico = IN_MODIFY | IN_CLOSE_WRITE;

// Which folder a path names now, following a link; none when it names no folder.
struct QualPasta {
    dev_t dispositivo = 0;
    ino_t inode = 0;
    bool operator==(const QualPasta&) const = default;
};

// Watches are a per-user kernel resource shared with every other program: the most this
// watcher allows itself.
[[nodiscard]] std::size_t limiteDeVigias();
[[nodiscard]] bool ehOculto(const std::string& nome);
// The sub-folders of a folder, hidden ones left out; seguirLink for the folder the person
// named, which may be a link.
[[nodiscard]] std::vector<std::string> subpastas(const std::string& caminho, bool seguirLink = false);
[[nodiscard]] std::optional<QualPasta> qualPasta(const std::string& caminho);
// Out of watches: the kernel's per-user allowance is spent.
[[nodiscard]] bool semVigiasNoSistema(int erro);
// The eventfd that wakes the watcher's thread: one more wake-up asked for, and all taken.
void sinalizar(int fd) noexcept;
void esvaziarSinal(int fd) noexcept;

} // namespace vigiaInterna

struct Vigia::Estado {
    std::string raiz;
    Opcoes opcoes;
    AoMudar aoMudar;
    Descritor inotify;
    Descritor acordar; // an eventfd: a stop or injected events
    std::size_t limite = 0;

    // Touched only by the watcher's thread once it runs (the constructor sets them up first).
    int wdPasta = -1;
    int erroPasta = 0; // why wdPasta could not be set
    std::optional<vigiaInterna::QualPasta> vigiada; // the folder wdPasta watches
    int wdPai = -1;
    struct Abaixo {
        std::string topo; // the top-level folder whose size it changes
        std::string caminho;
    };
    std::unordered_map<int, Abaixo> abaixo;
    // Top-level folders not watched whole: named in a batch every opcoes.releitura.
    std::set<std::string> semVigia;
    vigiaInterna::Relogio::time_point proximaReleitura {};
    // Folders of history databases -> where they are, the names that count there, and whether
    // each is the recently-used list (else a history database or its journal).
    struct PastaDeHistorico {
        std::string caminho;
        std::map<std::string, bool> nomes;
    };
    std::unordered_map<int, PastaDeHistorico> historicos;
    // The databases and journals themselves -> whether it is the recently-used list.
    std::unordered_map<int, bool> arquivosDeHistorico;

    LoteDeEventos lote;
    std::set<std::string> criados; // created, not yet seen opened
    std::set<std::string> abertos; // created and being written
    vigiaInterna::Relogio::time_point primeiro {};
    vigiaInterna::Relogio::time_point ultimo {};

    mutable std::mutex mutex;
    std::vector<std::vector<std::byte>> injetados;
    std::optional<LoteDeEventos> pedido;
    bool parar = false;
    std::size_t quantasPastas = 0;
    int erroAgora = 0;
    bool parcialAgora = false;

    std::jthread fio;

    void vigiarPasta();
    void soltarPasta();
    // Looks at what the path names now and, when it is not the folder watched, watches that
    // instead and asks for everything. A removed folder's number may be given to a new one
    // at once: forcar says the one watched is gone whatever the numbers say.
    void resolver(bool forcar);
    void ajustarPai();
    // False when some folder below could not be watched.
    bool vigiarArvore(const std::string& caminho, const std::string& topo);
    void esquecerArvore(const std::string& caminho);
    void esquecerTudoAbaixo();
    void vigiarHistoricos();
    void vigiarArquivoDeHistorico(const std::string& pasta, const std::string& nome, bool usos);
    [[nodiscard]] bool precisaReler() const;
    void reler();
    void processar(const inotify_event& evento);
    void processarBytes(const std::byte* dados, std::size_t tamanho);
    void marcar();
    void entregar();
    void rodar();
    void contar();
};

} // namespace tarrafa
