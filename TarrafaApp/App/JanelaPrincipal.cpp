// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/JanelaPrincipal.hpp"

#include "TarrafaApp/App/BarraLateral.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/Painel.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QTableWidget>
#include <QVBoxLayout>
#include <QEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPainterPath>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>

#include <tuple>
#include <utility>

namespace tarrafa::app {

namespace {

// The magnifying glass at the start of the search field, in the field's text colour.
QIcon lupa(const QPalette& paleta)
{
    QIcon icone;
    for (const qreal escala : {1.0, 2.0}) {
        QPixmap imagem(QSize(16, 16) * escala);
        imagem.setDevicePixelRatio(escala);
        imagem.fill(Qt::transparent);
        QPainter pintor(&imagem);
        pintor.setRenderHint(QPainter::Antialiasing);
        QColor cor = paleta.color(QPalette::Text);
        cor.setAlphaF(0.6f);
        pintor.setPen(QPen(cor, 1.6, Qt::SolidLine, Qt::RoundCap));
        pintor.drawEllipse(QPointF(6.5, 6.5), 4.5, 4.5);
        pintor.drawLine(QPointF(10.0, 10.0), QPointF(14.0, 14.0));
        pintor.end();
        icone.addPixmap(imagem);
    }
    return icone;
}

// Fewer places back than anyone walks, more than enough to find the way.
constexpr std::size_t kPassosLembrados = 50;

// What a shortcut does, as the list of shortcuts says it: the action's own text without its
// mnemonic, unless the action carries a fixed description (its text changes).
const char* const kDescricao = "descricaoDoAtalho";

QString textoSemMnemonico(QString texto)
{
    texto.replace(QStringLiteral("&&"), QStringLiteral("\x01"));
    texto.remove(QLatin1Char('&'));
    texto.replace(QStringLiteral("\x01"), QStringLiteral("&"));
    return texto;
}

QSettings configuracao()
{
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("tarrafa"), QStringLiteral("janela"));
}

} // namespace

JanelaPrincipal::JanelaPrincipal(Modelo& modelo, QWidget* parent)
    : QMainWindow(parent)
    , modelo_(modelo)
    , barraLateral_(new BarraLateral(modelo))
    , painel_(new Painel(modelo))
    , divisao_(new QSplitter(Qt::Horizontal))
    , destinoAtual_(modelo.selecao())
{
    setObjectName(QStringLiteral("janelaPrincipal"));
    setContextMenuPolicy(Qt::NoContextMenu); // no menu to hide the toolbar

    // The sidebar keeps its width when the window grows; only the panel stretches.
    barraLateral_->setMinimumWidth(kBarraLateralMinima);
    barraLateral_->setMaximumWidth(kBarraLateralMaxima);
    divisao_->setObjectName(QStringLiteral("divisao"));
    divisao_->setChildrenCollapsible(false);
    // Wide enough to be found with the mouse; the line drawn in it stays thin.
    divisao_->setHandleWidth(6);
    divisao_->addWidget(barraLateral_);
    divisao_->addWidget(painel_);
    divisao_->setStretchFactor(0, 0);
    divisao_->setStretchFactor(1, 1);
    divisao_->setSizes({kBarraLateralInicial, 1080 - kBarraLateralInicial});
    setCentralWidget(divisao_);
    setMinimumSize(kLarguraMinima, kAlturaMinima);
    pintarDivisao();

    montarMenu();
    montarBarraDeFerramentas();
    montarAtalhos();

    setWindowTitle(painel_->titulo());
    connect(painel_, &Painel::tituloChanged, this, &QWidget::setWindowTitle);
    connect(&modelo_, &Modelo::selecaoChanged, this, &JanelaPrincipal::aoMudarDestino);
    resize(1080, 700);
    restaurarDisposicao();
    // A session that ends closes no window: the layout is kept as the program quits too.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &JanelaPrincipal::guardarDisposicao);
}

QString JanelaPrincipal::nomeDasTeclas(const QKeySequence& teclas)
{
    // Qt names the keys in English unless its own translations are installed.
    static const std::pair<QLatin1StringView, QString> kNomes[] = {
        {QLatin1StringView("Del"), QStringLiteral("Delete")},
        {QLatin1StringView("Left"), QStringLiteral("Seta para a esquerda")},
        {QLatin1StringView("Right"), QStringLiteral("Seta para a direita")},
        {QLatin1StringView("Up"), QStringLiteral("Seta para cima")},
        {QLatin1StringView("Down"), QStringLiteral("Seta para baixo")},
        {QLatin1StringView("Space"), QStringLiteral("Espaço")},
        {QLatin1StringView("Return"), QStringLiteral("Enter")},
        {QLatin1StringView("Menu"), QStringLiteral("tecla Menu")},
    };
    QStringList nomes;
    for (int i = 0; i < teclas.count(); ++i) {
        QStringList partes = QKeySequence(teclas[i]).toString(QKeySequence::PortableText).split(QLatin1Char('+'));
        for (QString& parte : partes) {
            for (const auto& [ingles, portugues] : kNomes) {
                if (parte == ingles) {
                    parte = portugues;
                }
            }
        }
        nomes << partes.join(QLatin1Char('+'));
    }
    return nomes.join(QStringLiteral(", "));
}

QString JanelaPrincipal::arquivoDeConfiguracao()
{
    return configuracao().fileName();
}

void JanelaPrincipal::restaurarDisposicao()
{
    QSettings lembrado = configuracao();
    if (const QByteArray geometria = lembrado.value(QStringLiteral("geometria")).toByteArray(); !geometria.isEmpty()) {
        restoreGeometry(geometria);
    }
    if (const QByteArray divisao = lembrado.value(QStringLiteral("divisao")).toByteArray(); !divisao.isEmpty()) {
        divisao_->restoreState(divisao);
    }
    const QVariant detalhes = lembrado.value(QStringLiteral("detalhes"));
    if (detalhes.isValid()) {
        painel_->setDetalhesVisiveis(detalhes.toBool());
    }
}

void JanelaPrincipal::guardarDisposicao() const
{
    QSettings lembrado = configuracao();
    lembrado.setValue(QStringLiteral("geometria"), saveGeometry());
    lembrado.setValue(QStringLiteral("divisao"), divisao_->saveState());
    lembrado.setValue(QStringLiteral("detalhes"), painel_->detalhesVisiveis());
}

void JanelaPrincipal::closeEvent(QCloseEvent* evento)
{
    guardarDisposicao();
    QMainWindow::closeEvent(evento);
}

void JanelaPrincipal::changeEvent(QEvent* evento)
{
    QMainWindow::changeEvent(evento);
    if (evento->type() == QEvent::PaletteChange) {
        pintarDivisao();
    }
}

void JanelaPrincipal::pintarDivisao()
{
    // A hairline between the sidebar and the panel, the colour of the panel's other lines;
    // the sidebar itself a shade apart from the panel, as desktops draw their sidebars.
    QWidget* alca = divisao_->handle(1);
    QPalette paletaDaAlca = alca->palette();
    paletaDaAlca.setColor(QPalette::Window, aparencia::separador(palette()));
    alca->setPalette(paletaDaAlca);
    alca->setAutoFillBackground(true);

    QPalette paletaDaBarra = palette();
    const QColor fundo = palette().color(QPalette::Window);
    paletaDaBarra.setColor(
        QPalette::Window, aparencia::ehEscura(palette()) ? fundo.lighter(112) : fundo.darker(104));
    barraLateral_->setPalette(paletaDaBarra);
}

void JanelaPrincipal::montarMenu()
{
    // Reachable from the keyboard: Alt+A, Alt+E, Alt+S, Alt+U, and F10 for the first menu.
    QMenu* arquivo = menuBar()->addMenu(QStringLiteral("&Arquivo"));
    arquivo->setObjectName(QStringLiteral("menuArquivo"));
    // Never disabled, not even during a scan: a second scan may start over the first.
    QAction* varrer = arquivo->addAction(QStringLiteral("&Varrer de novo"));
    varrer->setObjectName(QStringLiteral("acaoVarrerDeNovo"));
    // F5 as browsers and file managers reload; Ctrl+R as the same programs also do.
    varrer->setShortcuts({QKeySequence(Qt::Key_F5), QKeySequence(Qt::CTRL | Qt::Key_R)});
    varrer->setShortcutContext(Qt::WindowShortcut);
    connect(varrer, &QAction::triggered, &modelo_, &Modelo::varrer);
    addAction(varrer);

    arquivo->addSeparator();
    QAction* sair = arquivo->addAction(QStringLiteral("&Sair"));
    sair->setObjectName(QStringLiteral("acaoSair"));
    // Spelled out: not every platform theme binds QKeySequence::Quit.
    sair->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    sair->setMenuRole(QAction::QuitRole);
    connect(sair, &QAction::triggered, this, &QWidget::close);

    // Undo and redo every decision and move to the Trash of the session; the texts say what
    // ("Desfazer 3 arquivos adiados").
    QMenu* editar = menuBar()->addMenu(QStringLiteral("&Editar"));
    editar->setObjectName(QStringLiteral("menuEditar"));
    QAction* desfazer = modelo_.pilhaDeDesfazer().createUndoAction(this, QStringLiteral("&Desfazer"));
    desfazer->setObjectName(QStringLiteral("acaoDesfazer"));
    desfazer->setShortcut(QKeySequence::Undo);
    desfazer->setShortcutContext(Qt::WindowShortcut);
    desfazer->setProperty(kDescricao, QStringLiteral("Desfazer a última decisão ou ida para a Lixeira"));
    editar->addAction(desfazer);
    addAction(desfazer);
    QAction* refazer = modelo_.pilhaDeDesfazer().createRedoAction(this, QStringLiteral("&Refazer"));
    refazer->setObjectName(QStringLiteral("acaoRefazer"));
    // Both habits of the desktop: Ctrl+Shift+Z and Ctrl+Y.
    refazer->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    refazer->setShortcutContext(Qt::WindowShortcut);
    refazer->setProperty(kDescricao, QStringLiteral("Refazer o que foi desfeito"));
    editar->addAction(refazer);
    addAction(refazer);

    // What acts on the files chosen in the list on show; the shortcuts are Ctrl and a letter,
    // which typing in the list (a jump to a name) never uses.
    QMenu* acoes = menuBar()->addMenu(QStringLiteral("Açõe&s"));
    acoes->setObjectName(QStringLiteral("menuAcoes"));
    const auto decisao = [&](const QString& texto, const char* nome, Qt::Key tecla, Decisao d) {
        QAction* acao = acoes->addAction(texto);
        acao->setProperty(kDescricao, textoSemMnemonico(texto) + QStringLiteral(" os arquivos selecionados"));
        acao->setObjectName(QString::fromLatin1(nome));
        acao->setShortcut(QKeySequence(Qt::CTRL | tecla));
        acao->setShortcutContext(Qt::WindowShortcut);
        connect(acao, &QAction::triggered, painel_, [this, d] { painel_->decidirSelecionados(d); });
        addAction(acao);
        acoesSobreSelecionados_.push_back(acao);
    };
    decisao(QStringLiteral("&Adiar"), "acaoAdiar", Qt::Key_D, Decisao::adiado);
    decisao(QStringLiteral("&Resolver"), "acaoResolver", Qt::Key_E, Decisao::resolvido);
    decisao(QStringLiteral("&Ignorar"), "acaoIgnorar", Qt::Key_I, Decisao::ignorado);
    acoes->addSeparator();
    QAction* lixeira = acoes->addAction(QStringLiteral("&Mover para a Lixeira"));
    lixeira->setObjectName(QStringLiteral("acaoMoverParaLixeira"));
    lixeira->setShortcut(QKeySequence::Delete);
    lixeira->setShortcutContext(Qt::WindowShortcut);
    lixeira->setProperty(kDescricao, QStringLiteral("Mover os arquivos selecionados para a Lixeira"));
    connect(lixeira, &QAction::triggered, painel_, &Painel::pedirParaMoverSelecionados);
    addAction(lixeira);
    acoesSobreSelecionados_.push_back(lixeira);
    connect(&painel_->selecao(), &Selecao::selecionadosChanged, this, &JanelaPrincipal::atualizarAcoes);
    connect(&modelo_, &Modelo::carregandoChanged, this, &JanelaPrincipal::atualizarAcoes);
    connect(&modelo_, &Modelo::lixeiraChanged, this, &JanelaPrincipal::atualizarAcoes);
    connect(painel_, &Painel::atualizado, this, &JanelaPrincipal::atualizarAcoes);
    atualizarAcoes();

    QMenu* ajuda = menuBar()->addMenu(QStringLiteral("Aj&uda"));
    ajuda->setObjectName(QStringLiteral("menuAjuda"));
    QAction* atalhos = ajuda->addAction(QStringLiteral("&Atalhos do teclado"));
    atalhos->setObjectName(QStringLiteral("acaoAtalhos"));
    // Ctrl+? as GNOME's programs have it; Qt sees the same keys as Ctrl+Shift+/ or Ctrl+?.
    atalhos->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Slash), QKeySequence(Qt::CTRL | Qt::Key_Question)});
    atalhos->setShortcutContext(Qt::WindowShortcut);
    connect(atalhos, &QAction::triggered, this, &JanelaPrincipal::mostrarAtalhos);
    addAction(atalhos);
    QAction* sobre = ajuda->addAction(QStringLiteral("&Sobre o Tarrafa"));
    sobre->setObjectName(QStringLiteral("acaoSobre"));
    sobre->setMenuRole(QAction::AboutRole);
    connect(sobre, &QAction::triggered, this, &JanelaPrincipal::mostrarSobre);

    auto* abrirMenu = new QAction(QStringLiteral("Abrir o menu"), this);
    abrirMenu->setObjectName(QStringLiteral("acaoAbrirMenu"));
    abrirMenu->setShortcut(QKeySequence(Qt::Key_F10));
    abrirMenu->setShortcutContext(Qt::WindowShortcut);
    abrirMenu->setProperty(kDescricao, QStringLiteral("Abrir os menus"));
    connect(abrirMenu, &QAction::triggered, this, [this, arquivo] {
        menuBar()->setFocus(Qt::ShortcutFocusReason);
        menuBar()->setActiveAction(arquivo->menuAction());
    });
    addAction(abrirMenu);
}

void JanelaPrincipal::atualizarAcoes()
{
    const bool podem = painel_->podeAgirSobreSelecionados();
    for (QAction* acao : acoesSobreSelecionados_) {
        acao->setEnabled(podem);
    }
}

void JanelaPrincipal::montarBarraDeFerramentas()
{
    QToolBar* barra = addToolBar(QStringLiteral("Barra de ferramentas"));
    barra->setObjectName(QStringLiteral("barraDeFerramentas"));
    barra->setMovable(false);
    barra->setFloatable(false);
    barra->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    barra->setIconSize(QSize(16, 16));

    // Its own action, apart from the menu's: this one is disabled while a scan runs.
    QAction* varrer = barra->addAction(simbolo(u"arrow.clockwise"), QStringLiteral("Varrer de novo"));
    varrer->setObjectName(QStringLiteral("acaoVarrerDeNovoDaBarra"));
    varrer->setToolTip(QStringLiteral("Varrer de novo (F5)"));
    varrer->setEnabled(!modelo_.carregando());
    connect(varrer, &QAction::triggered, &modelo_, &Modelo::varrer);
    connect(&modelo_, &Modelo::carregandoChanged, varrer,
        [this, varrer] { varrer->setEnabled(!modelo_.carregando()); });
    varrerDeNovo_ = qobject_cast<QToolButton*>(barra->widgetForAction(varrer));
    varrerDeNovo_->setObjectName(QStringLiteral("varrerDeNovo"));

    auto* espaco = new QWidget(barra);
    espaco->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    barra->addWidget(espaco);

    busca_ = new QLineEdit(barra);
    busca_->setObjectName(QStringLiteral("busca"));
    busca_->setPlaceholderText(QStringLiteral("Buscar por nome de arquivo"));
    busca_->setAccessibleName(QStringLiteral("Buscar por nome de arquivo"));
    busca_->setClearButtonEnabled(true);
    busca_->addAction(lupa(busca_->palette()), QLineEdit::LeadingPosition);
    busca_->setFixedWidth(260);
    busca_->setText(modelo_.busca());
    busca_->installEventFilter(this);
    // Every keystroke is a new search; the model filters as it is asked.
    connect(busca_, &QLineEdit::textChanged, &modelo_, &Modelo::setBusca);
    connect(&modelo_, &Modelo::buscaChanged, busca_, [this] {
        if (busca_->text() != modelo_.busca()) {
            busca_->setText(modelo_.busca());
        }
    });
    // Escape in the field clears the search, as in every search field of the desktop.
    auto* limpar = new QAction(QStringLiteral("Limpar a busca"), busca_);
    limpar->setObjectName(QStringLiteral("acaoLimparBusca"));
    limpar->setShortcut(QKeySequence(Qt::Key_Escape));
    limpar->setShortcutContext(Qt::WidgetShortcut);
    limpar->setProperty(kDescricao, QStringLiteral("Limpar a busca (no campo de busca)"));
    connect(limpar, &QAction::triggered, busca_, &QLineEdit::clear);
    busca_->addAction(limpar);
    barra->addWidget(busca_);
}

bool JanelaPrincipal::eventFilter(QObject* objeto, QEvent* evento)
{
    if (objeto != busca_) {
        return QMainWindow::eventFilter(objeto, evento);
    }
    if (evento->type() == QEvent::ShortcutOverride) {
        // An empty field has no typing to undo: Ctrl+Z there undoes the last decision, as it
        // does everywhere else in the window. With text, the field keeps its own undo.
        const auto* tecla = static_cast<QKeyEvent*>(evento);
        if (busca_->text().isEmpty() && (tecla->matches(QKeySequence::Undo) || tecla->matches(QKeySequence::Redo)
                                            || tecla->keyCombination() == QKeyCombination(Qt::CTRL | Qt::SHIFT, Qt::Key_Z)
                                            || tecla->keyCombination() == QKeyCombination(Qt::CTRL, Qt::Key_Y))) {
            evento->ignore();
            return true;
        }
    } else if (evento->type() == QEvent::KeyPress) {
        // Down or Enter leave the search for what it found, as in a file manager's search.
        const auto* tecla = static_cast<QKeyEvent*>(evento);
        const bool semModificador = (tecla->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
        if (semModificador
            && (tecla->key() == Qt::Key_Down || tecla->key() == Qt::Key_Return || tecla->key() == Qt::Key_Enter)) {
            painel_->atualizar(); // the last keystroke's search, not the one before

            if (painel_->focarPrimeiroResultado()) {
                return true;
            }
        }
    }
    return QMainWindow::eventFilter(objeto, evento);
}

void JanelaPrincipal::montarAtalhos()
{
    auto* editar = findChild<QMenu*>(QStringLiteral("menuEditar"));
    editar->addSeparator();
    QAction* buscar = editar->addAction(QStringLiteral("&Buscar"));
    buscar->setObjectName(QStringLiteral("acaoBuscar"));
    buscar->setShortcut(QKeySequence::Find);
    connect(buscar, &QAction::triggered, this, [this] {
        busca_->setFocus(Qt::ShortcutFocusReason);
        busca_->selectAll();
    });
    addAction(buscar);

    // In the search field these keys edit the text instead: the field claims them first.
    QAction* selecionarTudo = editar->addAction(QStringLiteral("Selecionar &tudo"));
    selecionarTudo->setObjectName(QStringLiteral("acaoSelecionarTudo"));
    selecionarTudo->setShortcut(QKeySequence::SelectAll);
    connect(selecionarTudo, &QAction::triggered, painel_, &Painel::selecionarTudo);
    addAction(selecionarTudo);

    // Back and forth between the destinations shown, as in a file manager. Backspace in a
    // text field erases, as always: the field claims it first.
    voltar_ = new QAction(QStringLiteral("Voltar"), this);
    voltar_->setObjectName(QStringLiteral("acaoVoltar"));
    voltar_->setShortcuts({QKeySequence(Qt::ALT | Qt::Key_Left), QKeySequence(Qt::Key_Backspace)});
    voltar_->setShortcutContext(Qt::WindowShortcut);
    voltar_->setProperty(kDescricao, QStringLiteral("Voltar ao que estava na tela antes"));
    connect(voltar_, &QAction::triggered, this, &JanelaPrincipal::voltar);
    addAction(voltar_);
    avancar_ = new QAction(QStringLiteral("Avançar"), this);
    avancar_->setObjectName(QStringLiteral("acaoAvancar"));
    avancar_->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Right));
    avancar_->setShortcutContext(Qt::WindowShortcut);
    avancar_->setProperty(kDescricao, QStringLiteral("Avançar de novo depois de voltar"));
    connect(avancar_, &QAction::triggered, this, &JanelaPrincipal::avancar);
    addAction(avancar_);
    atualizarNavegacao();

    // The file list's own menu from the keyboard, at the row the person is on.
    auto* menuDoArquivo = new QAction(QStringLiteral("Abrir o menu do arquivo"), painel_);
    menuDoArquivo->setObjectName(QStringLiteral("acaoMenuDoArquivo"));
    menuDoArquivo->setShortcuts({QKeySequence(Qt::SHIFT | Qt::Key_F10), QKeySequence(Qt::Key_Menu)});
    menuDoArquivo->setShortcutContext(Qt::WidgetShortcut);
    menuDoArquivo->setProperty(kDescricao, QStringLiteral("Abrir o menu do arquivo (na lista)"));
    connect(menuDoArquivo, &QAction::triggered, painel_, [this] { painel_->lista().abrirMenuDaLinhaAtual(); });
    painel_->lista().addAction(menuDoArquivo);

    // What Space and Enter do in the list, said here only for the list of shortcuts.
    for (const auto& [tecla, texto, nome] : {
             std::tuple {Qt::Key_Space, "Mostrar ou esconder os detalhes (na lista)", "atalhoDetalhes"},
             std::tuple {Qt::Key_Return, "Abrir o arquivo (na lista)", "atalhoAbrir"},
         }) {
        auto* descrita = new QAction(QString::fromUtf8(texto), painel_);
        descrita->setObjectName(QString::fromLatin1(nome));
        descrita->setShortcut(QKeySequence(tecla));
        // Never matched: the list handles these keys itself.
        descrita->setShortcutContext(Qt::WidgetShortcut);
        descrita->setEnabled(false);
    }
}

void JanelaPrincipal::aoMudarDestino()
{
    const Destino novo = modelo_.selecao();
    if (novo == destinoAtual_) {
        return;
    }
    if (!navegando_) {
        atras_.push_back(destinoAtual_);
        if (atras_.size() > kPassosLembrados) {
            atras_.erase(atras_.begin());
        }
        adiante_.clear();
    }
    destinoAtual_ = novo;
    atualizarNavegacao();
}

void JanelaPrincipal::voltar()
{
    percorrer(atras_, adiante_);
}

void JanelaPrincipal::avancar()
{
    percorrer(adiante_, atras_);
}

void JanelaPrincipal::percorrer(std::vector<Destino>& de, std::vector<Destino>& para)
{
    if (de.empty()) {
        return;
    }
    const Destino destino = de.back();
    de.pop_back();
    para.push_back(destinoAtual_);
    navegando_ = true;
    modelo_.setSelecao(destino);
    navegando_ = false;
    atualizarNavegacao();
}

void JanelaPrincipal::atualizarNavegacao()
{
    voltar_->setEnabled(!atras_.empty());
    avancar_->setEnabled(!adiante_.empty());
}

void JanelaPrincipal::mostrarAtalhos()
{
    if (auto* aberto = findChild<QDialog*>(QStringLiteral("atalhosDoTeclado"))) {
        aberto->raise();
        aberto->activateWindow();
        return;
    }
    auto* dialogo = new QDialog(this, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    dialogo->setObjectName(QStringLiteral("atalhosDoTeclado"));
    dialogo->setWindowTitle(QStringLiteral("Atalhos do teclado"));
    dialogo->setAttribute(Qt::WA_DeleteOnClose);

    // Read from the window's own actions, so that the list says what the keys really do.
    struct Linha {
        QString teclas;
        QString texto;
    };
    std::vector<Linha> linhas;
    const auto juntar = [&](const QAction* acao) {
        if (acao->shortcuts().isEmpty()) {
            return;
        }
        QStringList teclas;
        for (const QKeySequence& sequencia : acao->shortcuts()) {
            teclas << nomeDasTeclas(sequencia);
        }
        const QVariant descricao = acao->property(kDescricao);
        linhas.push_back({teclas.join(QStringLiteral(", ")),
            descricao.isValid() ? descricao.toString() : textoSemMnemonico(acao->text())});
    };
    QList<QAction*> todas = actions();
    for (QAction* acao : findChildren<QAction*>()) {
        if (!todas.contains(acao)) {
            todas.append(acao);
        }
    }
    for (const QAction* acao : todas) {
        juntar(acao);
    }

    auto* tabela = new QTableWidget(static_cast<int>(linhas.size()), 2, dialogo);
    tabela->setObjectName(QStringLiteral("tabelaDeAtalhos"));
    tabela->setHorizontalHeaderLabels({QStringLiteral("Teclas"), QStringLiteral("O que faz")});
    tabela->verticalHeader()->hide();
    tabela->setEditTriggers(QAbstractItemView::NoEditTriggers);
    tabela->setSelectionBehavior(QAbstractItemView::SelectRows);
    tabela->horizontalHeader()->setStretchLastSection(true);
    for (int i = 0; i < static_cast<int>(linhas.size()); ++i) {
        tabela->setItem(i, 0, new QTableWidgetItem(linhas[static_cast<std::size_t>(i)].teclas));
        tabela->setItem(i, 1, new QTableWidgetItem(linhas[static_cast<std::size_t>(i)].texto));
    }
    tabela->resizeColumnToContents(0);

    auto* botoes = new QDialogButtonBox(QDialogButtonBox::Close, dialogo);
    botoes->button(QDialogButtonBox::Close)->setText(QStringLiteral("&Fechar"));
    connect(botoes, &QDialogButtonBox::rejected, dialogo, &QDialog::reject);

    auto* pilha = new QVBoxLayout(dialogo);
    pilha->addWidget(tabela);
    pilha->addWidget(botoes);
    tabela->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    dialogo->resize(640, 600);
    dialogo->show();
}

void JanelaPrincipal::mostrarSobre()
{
    auto* sobre = new QMessageBox(this);
    sobre->setObjectName(QStringLiteral("sobreOTarrafa"));
    sobre->setAttribute(Qt::WA_DeleteOnClose);
    sobre->setWindowTitle(QStringLiteral("Sobre o Tarrafa"));
    sobre->setIconPixmap(QApplication::windowIcon().pixmap(64, 64));
    sobre->setTextFormat(Qt::PlainText);
    sobre->setText(QStringLiteral("Tarrafa ") + QStringLiteral(TARRAFA_VERSAO));
    sobre->setInformativeText(
        QStringLiteral("A sua pasta Downloads como caixa de entrada: os arquivos agrupados pela origem, "
                       "para decidir um a um o que fica, o que espera e o que vai para a Lixeira."));
    sobre->setStandardButtons(QMessageBox::Close);
    sobre->button(QMessageBox::Close)->setText(QStringLiteral("&Fechar"));
    sobre->open();
}

} // namespace tarrafa::app
