// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Qt before the core headers: moc reads <compare> correctly only after Qt's configuration.
#include <QPointer>
#include <QString>
#include <QWidget>

#include "TarrafaApp/Modelo/Destino.hpp"
#include "TarrafaCore/Decisao.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <optional>
#include <string>
#include <vector>

class QFrame;
class QLabel;
class QStackedWidget;

namespace tarrafa::app {

class BarraDeAcoes;
class ConfirmacaoLixeira;
class ConteudoIndisponivel;
class Detalhes;
class FaixaResumo;
class IndicadorDeProgresso;
class ListaDeArquivos;
class ListaDeGrupos;
class Modelo;
class RaioXView;
class Recado;
class Baixando;
class AvisoDeDesfazer;
class Selecao;

// What the panel shows under its summary strip, chosen by the first rule that applies.
enum class Conteudo {
    erro, // the scan failed: its message, whatever the destination
    raioX, // the folder diagnostics
    grupos, // the inbox as group cards, while nothing is typed in the search
    vazio, // nothing to list
    arquivos, // the action bar over the file list
};

// The content for the model's destination, given the items it lists.
[[nodiscard]] Conteudo conteudoPara(const Modelo& modelo, const std::vector<ItemTriado>& itens);
// "1 item", "0 itens", "12 itens"; for the diagnostics, what the screen is.
[[nodiscard]] QString subtituloPara(const Destino& destino, std::size_t quantidade);

// The detail side of the window: the destination's title and subtitle, the summary strip,
// a divider and the content; a spinning indicator over it all while a scan runs. It owns
// the selection of files (emptied whenever another destination is chosen) and the
// question asked before the selected files go to the Trash.
class Painel final : public QWidget {
    Q_OBJECT

public:
    enum class Resposta { cancelar, mover };

    explicit Painel(Modelo& modelo, QWidget* parent = nullptr);
    ~Painel() override;

    [[nodiscard]] QString titulo() const { return titulo_; }
    [[nodiscard]] QString subtitulo() const { return subtitulo_; }
    [[nodiscard]] Conteudo conteudo() const noexcept { return conteudo_; }
    [[nodiscard]] Selecao& selecao() noexcept { return *selecao_; }
    // The Trash question on screen, if one is.
    [[nodiscard]] ConfirmacaoLixeira* confirmacao() const;
    // The pane beside the file list: the picture and the provenance of the file the person is on.
    [[nodiscard]] Detalhes& detalhes() const noexcept { return *detalhes_; }
    // Whether the person wants the pane beside the list; the window keeps the choice between
    // launches. The pane folds away while the panel is too narrow for it and the list together,
    // without changing the choice.
    [[nodiscard]] bool detalhesVisiveis() const noexcept { return detalhesVisiveis_; }
    void setDetalhesVisiveis(bool visiveis);
    // Whether the panel is wide enough for the pane beside the list.
    [[nodiscard]] bool detalhesCabem() const noexcept { return detalhesCabem_; }
    // The narrowest the list gets before the pane folds away.
    static constexpr int kListaMinima = 300;

    [[nodiscard]] ListaDeArquivos& lista() const noexcept { return *lista_; }

    // Selects every file listed, when files are listed.
    void selecionarTudo();
    // Asks to move the selected files to the Trash, when files are listed, some are
    // selected and no scan runs (the same conditions under which the bar can act).
    void pedirParaMoverSelecionados();
    // Whether the selected files can be acted on now: files are listed, some of those chosen
    // are still in the folder, and no scan runs.
    [[nodiscard]] bool podeAgirSobreSelecionados() const;
    // Postpones, resolves or ignores the selected files, as the action bar does.
    void decidirSelecionados(Decisao decisao);
    // Gives the keyboard focus to the first file listed or the first group card; false when
    // neither is on show.
    bool focarPrimeiroResultado();

    // Test seam: the next Trash question is answered at once, as if that button had been
    // clicked, once the question is on screen.
    void responderProximaConfirmacao(Resposta resposta);

    // Reads the model again now rather than on the next turn of the event loop.
    void atualizar();

Q_SIGNALS:
    void tituloChanged(const QString& titulo);
    void atualizado();

protected:
    void changeEvent(QEvent* evento) override;
    void resizeEvent(QResizeEvent* evento) override;

private:
    void agendar();
    void aoMudarDestino();
    void aoPedirConfirmacao();
    void aoResponder(int resultado);
    void moverSelecionados();
    // The chosen files the list shows now, in its order.
    [[nodiscard]] std::vector<ItemTriado> escolhidosNaLista() const;
    void posicionarIndicador();
    // Has the details pane describe the file the person is on.
    void descrever();
    void pintarSubtitulo();
    void mostrarTitulo(const QString& titulo);
    // Shows the pane when the person wants it and it fits.
    void dobrarDetalhes();
    // After a move to the Trash, the row that followed the moved ones becomes current.
    void seguirAposMover();

    Modelo& modelo_;
    Selecao* selecao_;
    Destino destinoAnterior_;

    QLabel* rotuloTitulo_;
    QLabel* rotuloSubtitulo_;
    QWidget* cabecalho_;
    FaixaResumo* faixa_;
    QFrame* divisor_;
    Recado* recado_;
    Baixando* baixando_;
    AvisoDeDesfazer* avisoDeDesfazer_;
    QStackedWidget* pilha_;
    ConteudoIndisponivel* erro_;
    RaioXView* raioX_;
    ListaDeGrupos* grupos_;
    ConteudoIndisponivel* vazio_;
    QWidget* arquivos_;
    BarraDeAcoes* barra_;
    ListaDeArquivos* lista_;
    Detalhes* detalhes_;
    QFrame* divisorDosDetalhes_ = nullptr;
    IndicadorDeProgresso* indicador_;
    QPointer<ConfirmacaoLixeira> confirmacao_;

    QString titulo_;
    QString subtitulo_;
    Conteudo conteudo_ = Conteudo::grupos;
    std::vector<ItemTriado> itensMostrados_;
    // What the Trash question on screen names.
    std::vector<ItemTriado> confirmados_;
    std::optional<Resposta> proximaResposta_;
    bool agendado_ = false;
    bool detalhesVisiveis_ = true;
    bool detalhesCabem_ = true;
    bool focarListaAoAbrir_ = false; // a group card was chosen: its list gets the focus
    std::string proximoAposMover_; // the file to be on once the moved ones leave the list
    bool esperandoVarredura_ = false; // the rescan after a move has not ended yet
    bool estreitarSelecao_ = false; // the search changed since the last update
};

} // namespace tarrafa::app
