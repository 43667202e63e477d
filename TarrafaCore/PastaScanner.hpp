// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/HistoricoDeNavegadores.hpp"
#include "TarrafaCore/Identidade.hpp"

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarrafa {

// Lists the top level of a folder into snapshots. Stateless; each call starts afresh.
// A scan only reads: it opens no entry for reading and changes no access time.
class PastaScanner final {
public:
    PastaScanner() = default;
    // A scan that can be called off: once stop is requested it gives up within moments
    // (between two entries, two files below a folder, two steps of a browser database) and
    // throws std::system_error with ECANCELED.
    explicit PastaScanner(std::stop_token parar)
        : parar_(std::move(parar))
    {
    }

    // The visible entries of the folder, in the order the directory gives them.
    // Throws std::system_error when the folder itself cannot be listed; its
    // code().message() is the system's description of why.
    [[nodiscard]] std::vector<FileSnapshot> varrer(const std::string& pasta) const;

    // The snapshots, and what each entry was when read (same order), so that whoever acts on
    // an entry later can first make sure the path still names it.
    struct Resultado {
        std::vector<FileSnapshot> snapshots;
        std::vector<Identidade> identidades;
        // By id, the SHA-256 a browser recorded of the bytes it saved, for the files it still
        // describes.
        std::unordered_map<std::string, std::string> sha256;
    };
    [[nodiscard]] Resultado varrerComIdentidades(const std::string& pasta) const;

    // What one visible entry says of itself (its own attributes and GNOME's metadata store),
    // before the browsers' histories are consulted.
    struct Leitura {
        std::string id;
        std::string nome;
        bool ehPasta = false;
        bool ehRegular = false;
        std::int64_t tamanho = 0;
        Date criadoEm = Date::passadoDistante();
        std::optional<Date> nascimento;
        std::optional<Date> modificacao;
        std::optional<Date> baixadoEm;
        std::vector<std::string> origens;
        bool ehScreenshot = false;
        std::optional<std::string> agente;
        std::optional<Date> ultimoUso;
        Identidade identidade;
        // The contents' SHA-256 as the browser that saved the file recorded it; empty when
        // none did, or the file changed since.
        std::string sha256;
    };
    // The visible names of the folder, in the order the directory gives them. Throws as
    // varrer() does when the folder cannot be listed.
    [[nodiscard]] std::vector<std::string> listar(const std::string& pasta) const;
    // Reads the named entries of the folder only, in the order given; a name that is hidden,
    // gone or unreadable is left out. A top-level folder is sized again. Throws ECANCELED as
    // varrer() does.
    [[nodiscard]] std::vector<Leitura> ler(const std::string& pasta, const std::vector<std::string>& nomes) const;
    // Fills what the entries' own attributes left empty from the browsers' records that
    // describe them (matched among all the given entries).
    static void completarComHistorico(
        const std::string& pasta, std::vector<Leitura*>& leituras, const std::vector<RegistroDeDownload>& registros);
    // One record's contribution: it fills only what the entry's own attributes left empty.
    static void completarCom(Leitura& leitura, const RegistroDeDownload& registro);
    [[nodiscard]] static FileSnapshot snapshotDe(Leitura leitura);

    // The id a scan of the folder gives its entry of that name: the folder's path made
    // absolute (links not resolved, trailing slashes dropped), then the name.
    [[nodiscard]] static std::string idDe(const std::string& pasta, const std::string& nome);
    // The folder's path as ids begin: absolute (links not resolved), trailing slashes dropped.
    [[nodiscard]] static std::string caminhoAbsoluto(const std::string& pasta);

    // Allocated size of everything visible below a folder, links never followed;
    // 0 when the folder cannot be read.
    [[nodiscard]] static std::int64_t tamanhoDaPasta(const std::string& pasta);

    // When the entry came to be: its birth time where the file system records one, else its
    // modification time, else the distant past (so that it sorts as the oldest).
    [[nodiscard]] static Date dataDeCriacao(std::optional<Date> nascimento, std::optional<Date> modificacao) noexcept;

private:
    std::stop_token parar_;
};

} // namespace tarrafa
