// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/App/JanelaPrincipal.hpp"

#include "TarrafaApp/App/BarraLateral.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Painel.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QAction>
#include <QEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPainterPath>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>

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

} // namespace

JanelaPrincipal::JanelaPrincipal(Modelo& modelo, QWidget* parent)
    : QMainWindow(parent)
    , modelo_(modelo)
    , barraLateral_(new BarraLateral(modelo))
    , painel_(new Painel(modelo))
    , divisao_(new QSplitter(Qt::Horizontal))
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
    divisao_->setSizes({kBarraLateralInicial, kLarguraMinima - kBarraLateralInicial});
    divisao_->setMinimumSize(kLarguraMinima, kAlturaMinima);
    setCentralWidget(divisao_);
    pintarDivisao();

    montarMenu();
    montarBarraDeFerramentas();
    montarAtalhos();

    setWindowTitle(painel_->titulo());
    connect(painel_, &Painel::tituloChanged, this, &QWidget::setWindowTitle);
    resize(1080, 700);
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
    // Reachable from the keyboard: Alt+A, Alt+E, and F10 for the first menu.
    QMenu* arquivo = menuBar()->addMenu(QStringLiteral("&Arquivo"));
    arquivo->setObjectName(QStringLiteral("menuArquivo"));
    // Never disabled, not even during a scan: a second scan may start over the first.
    QAction* varrer = arquivo->addAction(QStringLiteral("Varrer de novo"));
    varrer->setObjectName(QStringLiteral("acaoVarrerDeNovo"));
    varrer->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    varrer->setShortcutContext(Qt::WindowShortcut);
    connect(varrer, &QAction::triggered, &modelo_, &Modelo::varrer);
    addAction(varrer);

    arquivo->addSeparator();
    QAction* sair = arquivo->addAction(QStringLiteral("Sair"));
    sair->setObjectName(QStringLiteral("acaoSair"));
    sair->setShortcut(QKeySequence::Quit);
    sair->setMenuRole(QAction::QuitRole);
    connect(sair, &QAction::triggered, this, &QWidget::close);

    // Undo and redo every decision and move to the Trash of the session; the texts say what
    // ("Desfazer 3 arquivos adiados").
    QMenu* editar = menuBar()->addMenu(QStringLiteral("&Editar"));
    editar->setObjectName(QStringLiteral("menuEditar"));
    QAction* desfazer = modelo_.pilhaDeDesfazer().createUndoAction(this, QStringLiteral("Desfazer"));
    desfazer->setObjectName(QStringLiteral("acaoDesfazer"));
    desfazer->setShortcut(QKeySequence::Undo);
    desfazer->setShortcutContext(Qt::WindowShortcut);
    editar->addAction(desfazer);
    addAction(desfazer);
    QAction* refazer = modelo_.pilhaDeDesfazer().createRedoAction(this, QStringLiteral("Refazer"));
    refazer->setObjectName(QStringLiteral("acaoRefazer"));
    // Both habits of the desktop: Ctrl+Shift+Z and Ctrl+Y.
    refazer->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    refazer->setShortcutContext(Qt::WindowShortcut);
    editar->addAction(refazer);
    addAction(refazer);

    auto* abrirMenu = new QAction(QStringLiteral("Abrir o menu"), this);
    abrirMenu->setObjectName(QStringLiteral("acaoAbrirMenu"));
    abrirMenu->setShortcut(QKeySequence(Qt::Key_F10));
    abrirMenu->setShortcutContext(Qt::WindowShortcut);
    connect(abrirMenu, &QAction::triggered, this, [this, arquivo] {
        menuBar()->setFocus(Qt::ShortcutFocusReason);
        menuBar()->setActiveAction(arquivo->menuAction());
    });
    addAction(abrirMenu);
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
    varrer->setToolTip(QStringLiteral("Varrer de novo (Ctrl+R)"));
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
    connect(limpar, &QAction::triggered, busca_, &QLineEdit::clear);
    busca_->addAction(limpar);
    barra->addWidget(busca_);
}

void JanelaPrincipal::montarAtalhos()
{
    QAction* buscar = new QAction(QStringLiteral("Buscar"), this);
    buscar->setObjectName(QStringLiteral("acaoBuscar"));
    buscar->setShortcut(QKeySequence::Find);
    connect(buscar, &QAction::triggered, this, [this] {
        busca_->setFocus(Qt::ShortcutFocusReason);
        busca_->selectAll();
    });
    addAction(buscar);

    // In the search field these keys edit the text instead: the field claims them first.
    QAction* selecionarTudo = new QAction(QStringLiteral("Selecionar tudo"), this);
    selecionarTudo->setObjectName(QStringLiteral("acaoSelecionarTudo"));
    selecionarTudo->setShortcut(QKeySequence::SelectAll);
    connect(selecionarTudo, &QAction::triggered, painel_, &Painel::selecionarTudo);
    addAction(selecionarTudo);

    QAction* lixeira = new QAction(QStringLiteral("Mover para a Lixeira"), this);
    lixeira->setObjectName(QStringLiteral("acaoMoverParaLixeira"));
    lixeira->setShortcut(QKeySequence::Delete);
    connect(lixeira, &QAction::triggered, painel_, &Painel::pedirParaMoverSelecionados);
    addAction(lixeira);
}

} // namespace tarrafa::app
