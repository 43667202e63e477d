// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/HistoricoDeNavegadores.hpp"
#include "TarrafaCore/Identidade.hpp"
#include "TarrafaCore/PastaScanner.hpp"
#include "TarrafaCore/TriageEngine.hpp"
#include "TarrafaCore/Vigia.hpp"

#include <cstdint>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarrafa {

// A folder kept up to date from the watcher's batches: only the entries a batch names are
// read again, and only their triage (and that of the entries in the same series) is redone.
// Remembers each entry as it was read and the browsers' histories as last read, so that an
// entry still without origin can be matched again when a history changes.
//
// Not thread-safe: one thread at a time (the watcher's) calls it.
class PastaViva final {
public:
    enum class Evento { adicionado, alterado, removido, origemEncontrada };

    struct Mudanca {
        Evento evento;
        std::string id;
        std::string nome; // bytes, as listed
        // The entry as it is now; none when it was removed. A download still arriving has
        // no badges.
        std::optional<ItemTriado> item;
        bool baixando = false;
        // What the entry was when read (none when removed): a move to the Trash acts only on that.
        std::optional<Identidade> identidade;
    };

    struct Atualizacao {
        std::vector<Mudanca> mudancas;
        bool completa = false; // the whole folder was read again
        // Why the folder could not be listed (it is gone, or unreadable); everything known of
        // it is then reported removed.
        std::optional<std::string> falha;
    };

    PastaViva(std::string pasta, std::set<std::string> appsInstalados, std::stop_token parar = {});

    // Reads the whole folder and the histories; the first time every entry is "adicionado",
    // later only what differs from what was known. Throws std::system_error (ECANCELED) only
    // when stopped.
    Atualizacao varrerTudo();
    // What a batch of events changed; a batch that asks for everything is a full read.
    Atualizacao aplicar(const LoteDeEventos& lote);

    // The folder's path as ids begin.
    [[nodiscard]] const std::string& pasta() const noexcept { return raiz_; }
    // How its entries are badged: for files read elsewhere to be badged alike.
    [[nodiscard]] const TriageEngine& triagem() const noexcept { return triagem_; }
    // The history databases found by the last full read: what the watcher should watch.
    [[nodiscard]] std::vector<std::string> bancosDeHistorico() const;

    // The entries that are the person's files (downloads still arriving left out), in the
    // order they were first seen.
    [[nodiscard]] std::vector<ItemTriado> itens() const;
    // Downloads still arriving, same order.
    [[nodiscard]] std::vector<ItemTriado> baixando() const;
    // itens(), gathered as a scan's triage gathers them.
    [[nodiscard]] std::vector<GrupoOrigem> grupos() const;
    // What each entry was when read, by id.
    [[nodiscard]] std::unordered_map<std::string, Identidade> identidades() const;
    // By id, the SHA-256 of the bytes as a browser recorded it, for the files whose record still
    // stands for them.
    [[nodiscard]] std::unordered_map<std::string, std::string> sha256() const;

private:
    struct Registro {
        PastaScanner::Leitura propria; // as read, before the histories
        ItemTriado item;
        bool baixando = false;
        std::uint64_t ordem = 0;
        std::string serie; // its series key, made once
        std::string sha256; // what a browser's record says of its bytes, if anything
    };

    [[nodiscard]] std::vector<const Registro*> emOrdem(bool baixando) const;
    // The readings the histories' records add to (matched among every regular entry known and
    // given), completed; none where no record speaks for the entry.
    [[nodiscard]] std::vector<std::optional<PastaScanner::Leitura>> completar(
        const std::vector<PastaScanner::Leitura>& lidas) const;
    // Whether the folder holds an entry of that name now.
    [[nodiscard]] bool existe(const std::string& nome) const;
    [[nodiscard]] ItemTriado triar(const PastaScanner::Leitura& completa, bool baixando, const std::string& serie) const;
    // Counts the entry in (or out of) its series, noting the key in mudadas when given.
    void contarSerie(const std::string& chave, const std::string& nome, int delta, std::set<std::string>* mudadas);
    [[nodiscard]] int mesmaSerie(const std::string& chave) const;

    std::string raiz_;
    std::stop_token parar_;
    PastaScanner scanner_;
    TriageEngine triagem_;
    std::vector<HistoricoDeNavegadores::Banco> bancos_;
    HistoricoDeNavegadores historico_;
    std::unordered_map<std::string, Registro> porNome_;
    // Series key -> the names of the ordinary entries sharing it (almost always one).
    std::unordered_map<std::string, std::vector<std::string>> series_;
    std::uint64_t proximaOrdem_ = 0;
};

[[nodiscard]] std::string_view nomeDoEvento(PastaViva::Evento evento);

} // namespace tarrafa
