// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/ArquivoDeDecisoes.hpp"
#include "TarrafaCore/Decisao.hpp"
#include "TarrafaCore/Duplicatas.hpp"
#include "TarrafaApp/Modelo/Desfazer.hpp"
#include "TarrafaApp/Modelo/Destino.hpp"
#include "TarrafaCore/Identidade.hpp"
#include "TarrafaCore/Lixeira.hpp"
#include "TarrafaCore/PastaViva.hpp"
#include "TarrafaCore/Vigia.hpp"
#include "TarrafaCore/RaioX.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <QObject>
#include <QString>
#include <QFutureWatcher>
#include <QThreadPool>
#include <QTimer>
#include <QUndoStack>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace tarrafa::app {

// A file the Trash holds that was in the folder, whoever moved it there and whenever: the row
// "Resolvidos" shows for it. Its item's id is where the file lies in the Trash (the folder may
// hold another file of its name by now); its name is the one it had in the folder.
struct ItemNaLixeira {
    ItemTriado item;
    Lixeira::Guardado guardado;
    // Its name as a search compares it, made with the scan, not at every keystroke.
    std::string chaveDeBusca;

    friend bool operator==(const ItemNaLixeira&, const ItemNaLixeira&) = default;
};

// The application's one observable object: the last scan's groups and diagnostics, the
// decisions, the search text and the sidebar selection, and the actions that change them.
// Lives on the interface thread; only the heavy part of a scan runs elsewhere.
class Modelo final : public QObject {
    Q_OBJECT

public:
    // Uses the user's Downloads folder and the data folder's Tarrafa/decisoes.json, as the
    // command line does, loads the decisions and starts the first scan.
    explicit Modelo(QObject* parent = nullptr);
    // A given folder and decision file instead; otherwise the same start.
    Modelo(std::string pasta, QString arquivoDecisoes, QObject* parent = nullptr);
    ~Modelo() override;

    Modelo(const Modelo&) = delete;
    Modelo& operator=(const Modelo&) = delete;

    // Observed state; each field has its change signal below.
    [[nodiscard]] const std::vector<GrupoOrigem>& grupos() const noexcept { return grupos_; }
    [[nodiscard]] const std::optional<RaioX>& raioX() const noexcept { return raioX_; }
    [[nodiscard]] bool carregando() const noexcept { return carregando_; }
    // Why the folder could not be read: the whole page says it. Cleared by the next scan.
    [[nodiscard]] const std::optional<QString>& erro() const noexcept { return erro_; }
    // Why an action was refused (a file that could not go to the Trash): stays on screen,
    // rescans included, until the person dismisses it or acts again. One line per refusal.
    [[nodiscard]] const std::optional<QString>& mensagem() const noexcept { return mensagem_; }
    void dispensarMensagem();
    // Adds a line of the window's own to the message (something refused before the model was
    // asked, such as a file that left the folder while the person confirmed).
    void informar(const QString& linha);
    [[nodiscard]] const QString& busca() const noexcept { return busca_; }
    void setBusca(const QString& busca);
    // Whether the search text holds more than blanks: a search of blanks only is none, as
    // the empty-looking field says.
    [[nodiscard]] bool buscando() const;
    [[nodiscard]] const std::unordered_map<std::string, Decisao>& decisoes() const noexcept
    {
        return decisoes_;
    }
    // The decision recorded for a file; novo when there is none.
    [[nodiscard]] Decisao decisao(const std::string& id) const;
    [[nodiscard]] const Destino& selecao() const noexcept { return selecao_; }
    void setSelecao(const Destino& selecao);

    // Fixed at creation.
    [[nodiscard]] const std::string& pasta() const noexcept { return pasta_; }
    [[nodiscard]] const QString& arquivoDecisoes() const noexcept { return arquivoDecisoes_; }

    // Derived, recomputed on every call.
    // The groups that still hold undecided items, with only those items; ignores the search.
    [[nodiscard]] std::vector<GrupoOrigem> gruposVisiveis() const;
    // Every item of every group, in group order.
    [[nodiscard]] std::vector<ItemTriado> itensTodos() const;
    // What a destination lists, after the search text.
    [[nodiscard]] std::vector<ItemTriado> itens(const Destino& destino) const;
    [[nodiscard]] QString titulo(const Destino& destino) const;
    // The sidebar's count for a destination: the fixed rows follow the search, a group row
    // counts its undecided items; none for the diagnostics row (and for a group not listed),
    // and none before the folder has been read.
    [[nodiscard]] std::optional<int> contagem(const Destino& destino) const;

    // Scans the folder again in the background; the result (or error) arrives later. A scan
    // still running is called off: only the newest scan's result is ever applied.
    void varrer();
    // Records a decision for each file and has the file saved, even for an empty list.
    // Saving happens on a thread of its own, once for all the decisions taken meanwhile.
    void decidir(const std::vector<std::string>& ids, Decisao decisao);
    // Moves the files to the Trash, marks the moved ones resolved and starts a new scan.
    void moverParaLixeira(const std::vector<ItemTriado>& itens);
    // Forgets decisions of files that are not in existentes; saves only if something went.
    void podarDecisoes(const std::unordered_set<std::string>& existentes);
    // Has the decision file written; failures are silent, the decisions stay in memory and
    // are written with the next save.
    void salvarDecisoes();
    // Blocks until every save asked for so far is done (or failed).
    void concluirGravacoes();

    // What the Trash holds from the folder, oldest first, as the last scan found it (less what
    // has come back since): "Resolvidos" lists it, marked "Na Lixeira".
    [[nodiscard]] const std::vector<ItemNaLixeira>& naLixeira() const noexcept { return naLixeira_; }
    // Whether the id is one of those rows.
    [[nodiscard]] bool estaNaLixeira(const std::string& id) const;
    // Whether the Trash holds a file that was at this path in the folder.
    [[nodiscard]] bool foiParaALixeira(const std::string& caminhoOriginal) const;
    // Whether the last scan, or the watcher since, found the entry in the folder.
    [[nodiscard]] bool estaNaPasta(const std::string& id) const { return identidades_.contains(id); }
    // Brings the files of these Trash rows back where they were, into the inbox, as one step
    // that can be undone; a file whose name is taken stays in the Trash and the message says so.
    void restaurar(const std::vector<std::string>& ids);

    // Notes, off this thread, that the person opened the file through the window, in the
    // desktop's list of recent files: the watcher then reads the file's last use again, and
    // "nunca aberto" goes at once, whatever the application that opened it notes.
    void anotarAbertura(const std::string& id);

    // Every decision and every move to the Trash of the session, to undo and redo in order.
    [[nodiscard]] QUndoStack& pilhaDeDesfazer() noexcept { return pilha_; }

    // Whether the folder is watched after each scan, so that what comes, changes and goes
    // shows without a new scan. The application turns it on; a model made for a test watches
    // only when the test asks.
    void setAoVivo(bool aoVivo);
    [[nodiscard]] bool aoVivo() const noexcept { return aoVivo_; }
    // Downloads still arriving, as last seen: not the person's files yet, in no group and no
    // count, never decided or moved.
    [[nodiscard]] const std::vector<ItemTriado>& baixando() const noexcept { return baixando_; }

    // Files whose bytes repeat an older file's, by id, with that file's id: compared in the
    // background after each scan and each change the watcher brings, their badges arriving
    // when the comparison ends.
    [[nodiscard]] const std::unordered_map<std::string, std::string>& duplicataDe() const noexcept
    {
        return duplicataDe_;
    }
    // Where the hashes of the files read are remembered; by default the user's cache folder.
    void setArquivoDeHashes(std::string arquivo) { arquivoDeHashes_ = std::move(arquivo); }

    // What one background scan hands back: the snapshots and their groups, or why the folder
    // could not be read.
    struct Varredura {
        // Files a made-up scan (a test's) says exist without giving their identities; a real
        // scan leaves it empty, its identities naming every entry.
        std::vector<FileSnapshot> snapshots;
        std::unordered_map<std::string, Identidade> identidades;
        std::vector<GrupoOrigem> grupos;
        // Each item's name as a search compares it, in the order of grupos and their items:
        // made once per scan, not at every keystroke.
        std::vector<std::vector<std::string>> chavesDeBusca;
        // Which group each file is in, by id: made here, off the interface thread, for the
        // watcher's first change.
        std::unordered_map<std::string, std::string> grupoDe;
        std::optional<std::string> falha;
        // The folder is the home (Downloads turned off): not scanned; the message says why.
        std::optional<std::string> naoConfigurada;
        // Downloads still arriving, apart from the groups.
        std::vector<ItemTriado> baixando;
        // What the Trash holds from the folder.
        std::vector<ItemNaLixeira> lixeira;
        // By id, the browsers' hashes of the files' bytes.
        std::unordered_map<std::string, std::string> sha256;
        // The folder as read, ready to be kept up to date by a watcher; none when the scan
        // did not come from the folder itself (a test's).
        std::shared_ptr<PastaViva> viva;
    };
    // Reads the folder and triages it, on whatever thread calls it; gives up (with a failure)
    // once stop is requested.
    [[nodiscard]] static Varredura varrerEmSegundoPlano(const std::string& pasta, const std::stop_token& parar);
    // Replaces how the scans from now on read the folder (runs on a pool thread); tests use
    // it to decide when a scan ends. Empty: varrerEmSegundoPlano.
    using Varredor = std::function<Varredura(const std::string& pasta, const std::stop_token& parar)>;
    void setVarredor(Varredor varredor) { varredor_ = std::move(varredor); }

Q_SIGNALS:
    void gruposChanged();
    void raioXChanged();
    void carregandoChanged();
    void erroChanged();
    void mensagemChanged();
    void buscaChanged();
    void decisoesChanged();
    void selecaoChanged();
    // A scan's result (or its error) has just been applied.
    void varreduraTerminada();
    // An action that can be undone was done: "3 arquivos adiados", "1 arquivo restaurado".
    void acaoFeita(const QString& texto);
    // Files went to the Trash or came back from it.
    void lixeiraChanged();
    void baixandoChanged();
    // The watcher's changes have just been applied (after the signals of what they changed).
    void mudancasAplicadas();
    // A comparison of contents ended and its badges are on the items (after gruposChanged,
    // when they changed anything).
    void duplicatasComparadas();

private:
    // Calls funcao with each item listed at the destination, in order, under the search.
    template <typename Funcao> void paraCadaItem(const Destino& destino, Funcao&& funcao) const;

    void aplicar(Varredura resultado);
    // Starts watching the folder the scan just applied read; what a watcher before it said is
    // dropped.
    void vigiar(std::shared_ptr<PastaViva> viva);
    // What the watcher of that generation found; dropped if a newer scan took its place.
    void aplicarMudancas(std::uint64_t geracao, const PastaViva::Atualizacao& atualizacao);
    // Whether the watcher reads some folders from time to time for want of a watch: a line of
    // the message says so while it lasts.
    void notarVigiaParcial(bool parcial);
    // Compares the files' contents in the background; the result replaces the last one.
    void compararConteudos();
    [[nodiscard]] std::vector<Duplicatas::Arquivo> arquivosParaComparar() const;
    // Takes in a comparison's result: the copies' badges go on the items, and off those no
    // longer copies.
    void aplicarDuplicatas(std::unordered_map<std::string, std::string> duplicataDe);
    // The badging alone; whether any group changed.
    bool marcarCopias(std::unordered_map<std::string, std::string> duplicataDe);
    void pedirGravacao();
    void iniciarGravacao();
    // Takes in what one save did; starts nothing.
    void concluirGravacao(ArquivoDeDecisoes::Gravacao gravacao);
    void setCarregando(bool carregando);
    void setErro(std::optional<QString> erro);
    void setMensagem(std::optional<QString> mensagem);
    // Records the decisions and has them saved; leaves the message alone.
    void registrar(const std::vector<std::string>& ids, Decisao decisao);
    // Drops the decisions of the files for which sumiu says so, and has the file saved if any went.
    void esquecerDecisoes(const std::function<bool(const std::string&)>& sumiu);
    // What undoing and redoing ask for: decisions as they were, files moved again, files back
    // from the Trash. Each saves and, for the Trash, scans again. The moves act only on the
    // very files given (their identities checked), say why for the others, and give back the
    // ones that went.
    friend class ComandoDeDecisao;
    friend class ComandoDeLixeira;
    void voltarDecisoes(const std::unordered_map<std::string, std::optional<Decisao>>& anteriores);
    std::vector<Movido> levarDeNovoParaALixeira(const std::vector<Movido>& movidos);
    std::vector<Movido> trazerDaLixeira(
        const std::vector<Movido>& movidos, const std::unordered_map<std::string, std::optional<Decisao>>& anteriores);
    // One file to bring back: its record in the Trash (none when the Trash no longer holds it)
    // and what it was.
    struct Volta {
        std::optional<Lixeira::Guardado> guardado;
        Movido movido;
    };
    // Brings the files back, says why for the others, gives the files that came back the
    // decisions anteriores has for them, and scans again.
    std::vector<Movido> trazer(
        const std::vector<Volta>& voltas, const std::unordered_map<std::string, std::optional<Decisao>>& anteriores);
    // Moves what it can, as the last scan saw it, says why for the rest; the ones moved,
    // marked resolved.
    std::vector<Movido> mover(const std::vector<ItemTriado>& itens);
    [[nodiscard]] std::unordered_map<std::string, std::optional<Decisao>> anterioresDe(
        const std::vector<std::string>& ids) const;

    std::vector<GrupoOrigem> grupos_;
    std::vector<ItemTriado> baixando_;
    // Which group each file is in, by id: a change touches only its groups.
    std::unordered_map<std::string, std::string> grupoDe_;
    std::vector<std::vector<std::string>> chavesDeBusca_; // parallel to grupos_
    // What each entry was when the last scan read it: a move to the Trash acts only on that.
    std::unordered_map<std::string, Identidade> identidades_;
    std::optional<RaioX> raioX_;
    bool carregando_ = false;
    std::optional<QString> erro_;
    std::optional<QString> mensagem_;
    QString busca_;
    std::unordered_map<std::string, Decisao> decisoes_;
    Destino selecao_ = Destino::entrada();
    std::string pasta_; // raw path bytes, as the scanner and the Trash take them
    QString arquivoDecisoes_;

    Varredor varredor_;
    // The newest scan started; it alone may still apply its result.
    std::uint64_t varreduraMaisNova_ = 0;
    std::stop_source pararVarredura_;

    // Only the save thread touches the file object while a save runs; one save at a time.
    std::shared_ptr<ArquivoDeDecisoes> arquivo_;
    QThreadPool gravador_;
    QFutureWatcher<ArquivoDeDecisoes::Gravacao>* gravacaoEmCurso_ = nullptr;
    // What changed since the last save started, and what the save under way carries (given
    // back to the next save should it fail).
    ArquivoDeDecisoes::Mudancas pendentes_;
    ArquivoDeDecisoes::Mudancas emVoo_;
    bool gravacaoPedida_ = false;
    // The line shown while the decisions cannot be saved, until a save succeeds.
    std::optional<QString> avisoDeGravacao_;
    // The line shown while some folders cannot be watched.
    std::optional<QString> avisoDeTamanhos_;
    static constexpr std::chrono::milliseconds kNovaTentativaDeGravar {3000};

    bool aoVivo_ = false;
    std::uint64_t geracaoViva_ = 0;
    // Stopped first thing in the destructor: its thread posts to this object.
    std::unique_ptr<Vigia> vigia_;

    std::unordered_map<std::string, std::string> duplicataDe_;
    std::unordered_map<std::string, std::string> sha256_;
    std::string arquivoDeHashes_;
    std::uint64_t comparacaoMaisNova_ = 0;
    std::stop_source pararComparacao_;
    // The watcher's changes come in bursts: one comparison after the burst, not one per batch.
    QTimer comparacaoAgendada_;

    QUndoStack pilha_;
    std::vector<ItemNaLixeira> naLixeira_;
    // The same files by row id and by the path they had, to ask about one at a time.
    std::unordered_set<std::string> idsNaLixeira_;
    std::unordered_set<std::string> originaisNaLixeira_;
    void setNaLixeira(std::vector<ItemNaLixeira> naLixeira);
    // Drops the rows of files that came back, by row id.
    void tirarDaLixeira(const std::unordered_set<std::string>& ids);
};

} // namespace tarrafa::app
