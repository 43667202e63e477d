// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Painel.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/BarraDeAcoes.hpp"
#include "TarrafaApp/Painel/Baixando.hpp"
#include "TarrafaApp/Painel/CartoesDeGrupos.hpp"
#include "TarrafaApp/Painel/ConfirmacaoLixeira.hpp"
#include "TarrafaApp/Painel/AvisoDeDesfazer.hpp"
#include "TarrafaApp/Painel/Recado.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Plural.hpp"
#include "TarrafaCore/Texto.hpp"
#include "TarrafaApp/Painel/ConteudoIndisponivel.hpp"
#include "TarrafaApp/Painel/Detalhes.hpp"
#include "TarrafaApp/Painel/Escopo.hpp"
#include "TarrafaApp/Painel/FaixaResumo.hpp"
#include "TarrafaApp/Painel/IndicadorDeProgresso.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/ListaDeGrupos.hpp"
#include "TarrafaApp/Painel/RaioXView.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMetaObject>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <set>
#include <utility>

namespace tarrafa::app {

namespace {

// Left and right of the title, lined up with the summary strip's cells below it.
constexpr int kMargemDoCabecalho = 20;

// A one-pixel line across (between rows of the page) or down (between the list and the pane).
QFrame* divisor(QWidget* pai, const QString& nome, Qt::Orientation sentido = Qt::Horizontal)
{
    auto* linha = new QFrame(pai);
    linha->setObjectName(nome);
    linha->setFrameShape(sentido == Qt::Horizontal ? QFrame::HLine : QFrame::VLine);
    linha->setFrameShadow(QFrame::Plain);
    linha->setForegroundRole(QPalette::Mid);
    if (sentido == Qt::Horizontal) {
        linha->setFixedHeight(1);
    } else {
        linha->setFixedWidth(1);
    }
    return linha;
}

// The list and the details pane side by side. Its minimum is the list's alone: when the
// panel is narrower than both, the pane folds away instead of holding the window wide.
class ListaComDetalhes final : public QWidget {
public:
    using QWidget::QWidget;

    [[nodiscard]] QSize minimumSizeHint() const override
    {
        return {Painel::kListaMinima, QWidget::minimumSizeHint().height()};
    }
};

} // namespace

Conteudo conteudoPara(const Modelo& modelo, const std::vector<ItemTriado>& itens)
{
    // The error wins over everything, the diagnostics screen included.
    if (modelo.erro()) {
        return Conteudo::erro;
    }
    const Destino destino = modelo.selecao();
    if (destino.caso() == Destino::Caso::raioX) {
        return Conteudo::raioX;
    }
    // A search turns the inbox into a flat list of files; blanks alone are no search.
    if (destino.caso() == Destino::Caso::entrada && !modelo.buscando()) {
        return Conteudo::grupos;
    }
    if (itens.empty()) {
        return Conteudo::vazio;
    }
    return Conteudo::arquivos;
}

QString subtituloPara(const Destino& destino, std::size_t quantidade)
{
    if (destino.caso() == Destino::Caso::raioX) {
        return QStringLiteral("diagnóstico da pasta");
    }
    return QString::fromStdString(Plural::contagem(static_cast<long long>(quantidade), "item", "itens"));
}

Painel::Painel(Modelo& modelo, QWidget* parent)
    : QWidget(parent)
    , modelo_(modelo)
    , selecao_(new Selecao(this))
    , destinoAnterior_(modelo.selecao())
    , rotuloTitulo_(new QLabel(this))
    , rotuloSubtitulo_(new QLabel(this))
    , cabecalho_(new QWidget(this))
    , faixa_(new FaixaResumo(this))
    , divisor_(divisor(this, QStringLiteral("divisor")))
    , recado_(new Recado(modelo, this))
    , baixando_(new Baixando(modelo, this))
    , avisoDeDesfazer_(new AvisoDeDesfazer(modelo, this))
    , pilha_(new QStackedWidget(this))
    , erro_(new ConteudoIndisponivel(QStringLiteral("exclamationmark.triangle"),
          QStringLiteral("Não deu para ler a pasta"), QString(), pilha_))
    , raioX_(new RaioXView(modelo, pilha_))
    , grupos_(new ListaDeGrupos(modelo, pilha_))
    , vazio_(new ConteudoIndisponivel(QStringLiteral("tray"), QStringLiteral("Nada aqui"),
          QStringLiteral("Nenhum arquivo neste estado."), pilha_))
    , arquivos_(new QWidget(pilha_))
    , barra_(new BarraDeAcoes(modelo, *selecao_, arquivos_))
    , lista_(new ListaDeArquivos(modelo, *selecao_, arquivos_))
    , detalhes_(new Detalhes(modelo, arquivos_))
    , indicador_(new IndicadorDeProgresso(this))
{
    setObjectName(QStringLiteral("painel"));
    setBackgroundRole(QPalette::Window);
    setAutoFillBackground(true);

    rotuloTitulo_->setObjectName(QStringLiteral("tituloDoPainel"));
    rotuloTitulo_->setTextFormat(Qt::PlainText);
    rotuloTitulo_->setFont(aparencia::fonte(22, QFont::Bold));
    rotuloTitulo_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    rotuloSubtitulo_->setObjectName(QStringLiteral("subtituloDoPainel"));
    rotuloSubtitulo_->setTextFormat(Qt::PlainText);
    rotuloSubtitulo_->setFont(aparencia::fonte(aparencia::kCorpo));
    pintarSubtitulo();

    cabecalho_->setObjectName(QStringLiteral("cabecalho"));
    auto* linhasDoCabecalho = new QVBoxLayout(cabecalho_);
    linhasDoCabecalho->setContentsMargins(kMargemDoCabecalho, 16, kMargemDoCabecalho, 2);
    linhasDoCabecalho->setSpacing(2);
    linhasDoCabecalho->addWidget(rotuloTitulo_);
    linhasDoCabecalho->addWidget(rotuloSubtitulo_);

    erro_->setObjectName(QStringLiteral("erro"));
    vazio_->setObjectName(QStringLiteral("nadaAqui"));
    arquivos_->setObjectName(QStringLiteral("arquivos"));
    auto* linhasDosArquivos = new QVBoxLayout(arquivos_);
    linhasDosArquivos->setContentsMargins(0, 0, 0, 0);
    linhasDosArquivos->setSpacing(0);
    linhasDosArquivos->addWidget(barra_);
    linhasDosArquivos->addWidget(divisor(arquivos_, QStringLiteral("divisorDosArquivos")));
    auto* ladoALado = new ListaComDetalhes(arquivos_);
    ladoALado->setObjectName(QStringLiteral("listaComDetalhes"));
    auto* listaEDetalhes = new QHBoxLayout(ladoALado);
    listaEDetalhes->setContentsMargins(0, 0, 0, 0);
    listaEDetalhes->setSpacing(0);
    lista_->setParent(ladoALado);
    detalhes_->setParent(ladoALado);
    listaEDetalhes->addWidget(lista_, 1);
    divisorDosDetalhes_ = divisor(ladoALado, QStringLiteral("divisorDosDetalhes"), Qt::Vertical);
    listaEDetalhes->addWidget(divisorDosDetalhes_);
    listaEDetalhes->addWidget(detalhes_);
    linhasDosArquivos->addWidget(ladoALado, 1);
    barra_->detalhes().setChecked(detalhesVisiveis_);
    connect(&barra_->detalhes(), &QPushButton::toggled, this, &Painel::setDetalhesVisiveis);
    connect(lista_, &ListaDeArquivos::alternarDetalhesPedido, this, [this] { barra_->detalhes().toggle(); });
    connect(lista_, &ListaDeArquivos::moverParaLixeiraPedido, this, &Painel::pedirParaMoverSelecionados);
    connect(lista_, &ListaDeArquivos::itemAtualChanged, this, &Painel::descrever);
    connect(selecao_, &Selecao::selecionadosChanged, this, &Painel::descrever);

    // A folder that could not be read may be back already; a search that matches nothing is
    // one click from the whole list again.
    erro_->setAcao(QStringLiteral("Tentar de novo"));
    connect(erro_, &ConteudoIndisponivel::acaoPedida, &modelo_, &Modelo::varrer);
    connect(vazio_, &ConteudoIndisponivel::acaoPedida, this, [this] { modelo_.setBusca(QString()); });

    pilha_->setObjectName(QStringLiteral("conteudo"));
    pilha_->addWidget(erro_);
    pilha_->addWidget(raioX_);
    pilha_->addWidget(grupos_);
    pilha_->addWidget(vazio_);
    pilha_->addWidget(arquivos_);

    auto* pilhaVertical = new QVBoxLayout(this);
    pilhaVertical->setContentsMargins(0, 0, 0, 0);
    pilhaVertical->setSpacing(0);
    pilhaVertical->addWidget(cabecalho_);
    pilhaVertical->addWidget(faixa_);
    pilhaVertical->addWidget(divisor_);
    pilhaVertical->addWidget(recado_);
    pilhaVertical->addWidget(baixando_);
    pilhaVertical->addWidget(pilha_, 1);
    pilhaVertical->addWidget(avisoDeDesfazer_);

    indicador_->hide();
    indicador_->raise();

    connect(&modelo_, &Modelo::selecaoChanged, this, &Painel::aoMudarDestino);
    for (auto sinal : {&Modelo::gruposChanged, &Modelo::raioXChanged, &Modelo::carregandoChanged,
             &Modelo::erroChanged, &Modelo::buscaChanged, &Modelo::decisoesChanged, &Modelo::lixeiraChanged,
             &Modelo::baixandoChanged}) {
        connect(&modelo_, sinal, this, &Painel::agendar);
    }
    connect(selecao_, &Selecao::confirmandoLixeiraChanged, this, &Painel::aoPedirConfirmacao);
    // A chosen file that left the folder is chosen no more; the others stay chosen.
    connect(&modelo_, &Modelo::mudancasAplicadas, this, [this] {
        std::set<std::string> ficam;
        for (const std::string& id : selecao_->selecionados()) {
            if (modelo_.estaNaPasta(id) || modelo_.estaNaLixeira(id)) {
                ficam.insert(id);
            }
        }
        if (ficam.size() != selecao_->selecionados().size()) {
            selecao_->setSelecionados(std::move(ficam));
        }
    });
    // A search narrows the choice to what it leaves on screen: nothing hidden is acted on.
    connect(&modelo_, &Modelo::buscaChanged, this, [this] { estreitarSelecao_ = true; });
    // A group opened from its card is opened to be worked through: the keyboard goes to its list.
    connect(&grupos_->cartoes(), &CartoesDeGrupos::grupoEscolhido, this, [this] { focarListaAoAbrir_ = true; });
    // The moved files leave the list with the rescan that follows a move.
    connect(&modelo_, &Modelo::varreduraTerminada, this, [this] { esperandoVarredura_ = false; });
    atualizar();
}

Painel::~Painel() = default;

void Painel::setDetalhesVisiveis(bool visiveis)
{
    detalhesVisiveis_ = visiveis;
    if (barra_->detalhes().isChecked() != visiveis) {
        barra_->detalhes().setChecked(visiveis); // comes back here through toggled
        return;
    }
    dobrarDetalhes();
}

void Painel::dobrarDetalhes()
{
    const bool mostrar = detalhesVisiveis_ && detalhesCabem_;
    detalhes_->setVisible(mostrar);
    divisorDosDetalhes_->setVisible(mostrar);
    descrever();
}

void Painel::descrever()
{
    // Hidden, it describes nothing: no picture is looked for behind the person's back.
    if (!detalhesVisiveis_ || !detalhesCabem_) {
        detalhes_->mostrar(std::nullopt);
        return;
    }
    // The row the person is on; when that row is not among the chosen files (they were chosen
    // some other way), the first chosen file of the list.
    std::optional<ItemTriado> item = lista_->itemAtual();
    const std::set<std::string>& escolhidos = selecao_->selecionados();
    if (!escolhidos.empty() && (!item || !escolhidos.contains(item->id()))) {
        item.reset();
        for (const ItemTriado& listado : lista_->itens()) {
            if (escolhidos.contains(listado.id())) {
                item = listado;
                break;
            }
        }
    }
    detalhes_->mostrar(item);
}

void Painel::agendar()
{
    if (agendado_) {
        return;
    }
    agendado_ = true;
    // A scan ends with several signals at once; the panel reads the model once for all.
    QMetaObject::invokeMethod(this, &Painel::atualizar, Qt::QueuedConnection);
}

void Painel::aoMudarDestino()
{
    const Destino destino = modelo_.selecao();
    if (!(destino == destinoAnterior_)) {
        destinoAnterior_ = destino;
        selecao_->setSelecionados({});
        proximoAposMover_.clear();
    }
    agendar();
}

void Painel::atualizar()
{
    agendado_ = false;
    const Destino destino = modelo_.selecao();
    // The inbox as group cards needs only its count: on a large folder, gathering every item
    // again for each change (a file arriving, a decision) would be most of the work.
    const bool soCartoes = destino.caso() == Destino::Caso::entrada && !modelo_.buscando() && !modelo_.erro()
        && !(estreitarSelecao_ && !selecao_->selecionados().empty());
    std::vector<ItemTriado> itens;
    std::size_t quantos = 0;
    if (soCartoes) {
        quantos = static_cast<std::size_t>(modelo_.contagem(destino).value_or(0));
    } else {
        itens = modelo_.itens(destino);
        quantos = itens.size();
    }

    const QString titulo = modelo_.titulo(destino);
    // Before the first scan there is nothing to count yet: zeros would say the folder is empty.
    subtitulo_ = modelo_.carregando() && !modelo_.raioX() && !modelo_.erro() ? QStringLiteral("Lendo a pasta…")
                                                                            : subtituloPara(destino, quantos);
    rotuloTitulo_->setToolTip(titulo);
    mostrarTitulo(titulo);
    rotuloSubtitulo_->setText(subtitulo_);

    // Before the first scan there are no figures to sum up: no strip at all.
    if (const auto& raioX = modelo_.raioX()) {
        // The open group's own figures; the whole folder everywhere else.
        faixa_->mostrar(
            *raioX, destino.caso() == Destino::Caso::grupo ? Escopo::doGrupo(itens) : Escopo::pasta());
        faixa_->show();
    } else {
        faixa_->hide();
    }

    if (std::exchange(estreitarSelecao_, false) && !selecao_->selecionados().empty()) {
        std::set<std::string> visiveis;
        for (const ItemTriado& item : itens) {
            if (selecao_->selecionados().contains(item.id())) {
                visiveis.insert(item.id());
            }
        }
        selecao_->setSelecionados(std::move(visiveis));
    }

    conteudo_ = conteudoPara(modelo_, itens);
    switch (conteudo_) {
    case Conteudo::erro:
        erro_->setDescricao(*modelo_.erro() + QStringLiteral("\n\n")
            + QString::fromStdString(Escapes::paraJanela(Texto::utf8Valido(modelo_.pasta()))));
        pilha_->setCurrentWidget(erro_);
        break;
    case Conteudo::raioX:
        pilha_->setCurrentWidget(raioX_);
        break;
    case Conteudo::grupos:
        pilha_->setCurrentWidget(grupos_);
        break;
    case Conteudo::vazio:
        if (modelo_.buscando()) {
            vazio_->setTitulo(QStringLiteral("Nenhum resultado"));
            vazio_->setDescricao(QStringLiteral("Nenhum arquivo aqui tem “") + modelo_.busca().trimmed()
                + QStringLiteral("” no nome."));
            vazio_->setAcao(QStringLiteral("Limpar busca"));
        } else {
            vazio_->setTitulo(QStringLiteral("Nada aqui"));
            vazio_->setDescricao(QStringLiteral("Nenhum arquivo neste estado."));
            vazio_->setAcao(QString());
        }
        pilha_->setCurrentWidget(vazio_);
        break;
    case Conteudo::arquivos:
        // Handing the same rows again would only cost the list its scroll position.
        if (itens != itensMostrados_) {
            barra_->setItens(itens);
            lista_->setItens(itens);
            itensMostrados_ = std::move(itens);
        }
        pilha_->setCurrentWidget(arquivos_);
        seguirAposMover();
        if (std::exchange(focarListaAoAbrir_, false)) {
            lista_->setFocus(Qt::OtherFocusReason);
            if (!lista_->currentIndex().isValid() && !lista_->itens().empty()) {
                lista_->tornarAtual(lista_->itens().front().id(), false);
            }
        }
        break;
    }
    if (conteudo_ != Conteudo::grupos && conteudo_ != Conteudo::arquivos) {
        focarListaAoAbrir_ = false; // the group had nothing left to list
    }

    // Downloads under way belong to the inbox; elsewhere they would only be in the way.
    baixando_->setVisible(destino.caso() == Destino::Caso::entrada && !modelo_.baixando().empty()
        && conteudo_ != Conteudo::erro);

    indicador_->setVisible(modelo_.carregando());
    posicionarIndicador();

    if (titulo != titulo_) {
        titulo_ = titulo;
        Q_EMIT tituloChanged(titulo_);
    }
    Q_EMIT atualizado();
}

void Painel::changeEvent(QEvent* evento)
{
    QWidget::changeEvent(evento);
    if (evento->type() == QEvent::PaletteChange) {
        pintarSubtitulo();
    }
}

void Painel::pintarSubtitulo()
{
    QPalette paleta = rotuloSubtitulo_->palette();
    paleta.setColor(QPalette::WindowText, aparencia::secundaria(palette()));
    rotuloSubtitulo_->setPalette(paleta);
}

void Painel::resizeEvent(QResizeEvent* evento)
{
    QWidget::resizeEvent(evento);
    // The list and the pane side by side take the panel's whole width.
    const bool cabem = width() >= kListaMinima + 1 + detalhes_->width();
    if (cabem != detalhesCabem_) {
        detalhesCabem_ = cabem;
        dobrarDetalhes();
    }
    mostrarTitulo(titulo_);
    posicionarIndicador();
}

void Painel::mostrarTitulo(const QString& titulo)
{
    // A long origin label is shortened at its end rather than cut off mid-letter.
    const int largura = width() - 2 * kMargemDoCabecalho;
    rotuloTitulo_->setText(
        largura > 0 ? rotuloTitulo_->fontMetrics().elidedText(titulo, Qt::ElideRight, largura) : titulo);
}

void Painel::posicionarIndicador()
{
    QRect lugar = indicador_->rect();
    lugar.moveCenter(rect().center());
    indicador_->move(lugar.topLeft());
    indicador_->raise();
}

void Painel::selecionarTudo()
{
    if (conteudo_ != Conteudo::arquivos) {
        return;
    }
    std::set<std::string> todos;
    for (const ItemTriado& item : modelo_.itens(modelo_.selecao())) {
        todos.insert(item.id());
    }
    selecao_->setSelecionados(std::move(todos));
}

bool Painel::podeAgirSobreSelecionados() const
{
    if (conteudo_ != Conteudo::arquivos || modelo_.carregando()) {
        return false;
    }
    return std::any_of(selecao_->selecionados().begin(), selecao_->selecionados().end(),
        [this](const std::string& id) { return !modelo_.estaNaLixeira(id); });
}

void Painel::decidirSelecionados(Decisao decisao)
{
    if (!podeAgirSobreSelecionados()) {
        return;
    }
    // A file in the Trash has nothing left to decide.
    std::vector<std::string> ids;
    for (const std::string& id : selecao_->selecionados()) {
        if (!modelo_.estaNaLixeira(id)) {
            ids.push_back(id);
        }
    }
    modelo_.decidir(ids, decisao);
    selecao_->setSelecionados({});
}

bool Painel::focarPrimeiroResultado()
{
    if (conteudo_ == Conteudo::arquivos && !lista_->itens().empty()) {
        lista_->setFocus(Qt::TabFocusReason);
        lista_->tornarAtual(lista_->itens().front().id(), true);
        return true;
    }
    CartoesDeGrupos& cartoes = grupos_->cartoes();
    if (conteudo_ == Conteudo::grupos && cartoes.isVisible() && cartoes.model()->rowCount() > 0) {
        // As if reached with Tab: the card shows the focus ring.
        cartoes.setFocus(Qt::TabFocusReason);
        cartoes.setCurrentIndex(cartoes.model()->index(0, 0));
        return true;
    }
    return false;
}

} // namespace tarrafa::app
