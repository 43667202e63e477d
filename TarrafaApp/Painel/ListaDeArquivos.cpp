// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/DelegadoDeArquivos.hpp"
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"
#include "TarrafaApp/Painel/Revelar.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"
#include "TarrafaCore/Escapes.hpp"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>
#include <QMouseEvent>

#include <algorithm>
#include <set>

namespace tarrafa::app {

ListaDeArquivos::ListaDeArquivos(Modelo& modelo, Selecao& selecao, QWidget* parent)
    : QListView(parent)
    , modelo_(modelo)
    , selecao_(selecao)
    , arquivos_(new ModeloDeArquivos(modelo, this))
    , delegado_(new DelegadoDeArquivos(this))
{
    setObjectName(QStringLiteral("listaDeArquivos"));
    setAccessibleName(QStringLiteral("Arquivos"));
    setModel(arquivos_);
    setItemDelegate(delegado_);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setUniformItemSizes(true); // one row measured, not thousands
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    setContentsMargins(0, 4, 0, 4);

    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
        &ListaDeArquivos::aoMudarSelecaoDaVista);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this, &ListaDeArquivos::itemAtualChanged);
    connect(&selecao_, &Selecao::selecionadosChanged, this, &ListaDeArquivos::aplicarSelecao);
    // Postponing or ignoring leaves a row in its group's list, showing its new state. The model
    // announces each file's decision on its own: the rows are told once, on the next turn.
    const auto redesenharEstados = [this] {
        if (!estadosAgendados_) {
            estadosAgendados_ = true;
            QMetaObject::invokeMethod(
                this,
                [this] {
                    estadosAgendados_ = false;
                    arquivos_->estadosMudaram();
                },
                Qt::QueuedConnection);
        }
    };
    connect(&modelo_, &Modelo::decisoesChanged, this, redesenharEstados);
    connect(&modelo_, &Modelo::lixeiraChanged, this, redesenharEstados);
    connect(this, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& indice) {
        if (indice.isValid()) {
            abrirSeEstiverNaPasta(arquivos_->item(indice.row()));
        }
    });
}

void ListaDeArquivos::abrirSeEstiverNaPasta(const ItemTriado& item) const
{
    // A row marked "Na Lixeira" is not in the folder: it can only be restored.
    if (modelo_.estaNaLixeira(item.id())) {
        return;
    }
    // The desktop says nothing when it has no application for the file: the window does.
    if (!abrirArquivo(item.id())) {
        modelo_.informar(QStringLiteral("Não consegui abrir ") + QString::fromStdString(Escapes::paraJanela(item.nome()))
            + QStringLiteral(": o sistema não tem um aplicativo que o abra."));
        return;
    }
    modelo_.anotarAbertura(item.id());
}

const std::vector<ItemTriado>& ListaDeArquivos::itens() const noexcept
{
    return arquivos_->itens();
}

void ListaDeArquivos::setItens(std::vector<ItemTriado> itens)
{
    // The row with the keyboard focus stays the same file when it is still listed.
    std::string atual;
    if (currentIndex().isValid()) {
        atual = arquivos_->item(currentIndex().row()).id();
    }
    // And the row at the top of the view stays where it is: files arriving above it must not
    // push what the person is reading out of sight.
    std::string noTopo;
    int deslocamento = 0;
    if (const QModelIndex topo = indexAt(QPoint(1, 1)); topo.isValid() && verticalScrollBar()->value() > 0) {
        noTopo = arquivos_->item(topo.row()).id();
        deslocamento = visualRect(topo).top();
    }
    aplicando_ = true;
    const bool mudou = arquivos_->setItens(std::move(itens));
    aplicando_ = false;
    if (!mudou) {
        return;
    }
    aplicarSelecao();
    if (const auto linha = arquivos_->linhaDe(atual)) {
        aplicando_ = true;
        selectionModel()->setCurrentIndex(arquivos_->index(*linha), QItemSelectionModel::NoUpdate);
        aplicando_ = false;
    }
    if (const auto linha = arquivos_->linhaDe(noTopo)) {
        doItemsLayout();
        scrollTo(arquivos_->index(*linha), QAbstractItemView::PositionAtTop);
        verticalScrollBar()->setValue(verticalScrollBar()->value() - deslocamento);
    }
    // The same file may come with new badges: the pane that describes it is told either way.
    Q_EMIT itemAtualChanged();
}

std::optional<ItemTriado> ListaDeArquivos::itemAtual() const
{
    const QModelIndex atual = currentIndex();
    if (!atual.isValid() || atual.row() >= static_cast<int>(arquivos_->itens().size())) {
        return std::nullopt;
    }
    return arquivos_->item(atual.row());
}

void ListaDeArquivos::selecionarTudo()
{
    selectAll();
}

void ListaDeArquivos::aoMudarSelecaoDaVista()
{
    if (aplicando_) {
        return;
    }
    // What the person chose in the list is the whole selection now, as in any list.
    std::set<std::string> escolhidos;
    for (const QItemSelectionRange& faixa : selectionModel()->selection()) {
        for (int linha = faixa.top(); linha <= faixa.bottom(); ++linha) {
            escolhidos.insert(arquivos_->item(linha).id());
        }
    }
    escrevendo_ = true;
    selecao_.setSelecionados(std::move(escolhidos));
    escrevendo_ = false;
}

void ListaDeArquivos::aplicarSelecao()
{
    if (escrevendo_) {
        return; // the view already shows it; re-selecting would break a drag in progress
    }
    std::vector<int> linhas;
    for (const std::string& id : selecao_.selecionados()) {
        if (const auto linha = arquivos_->linhaDe(id)) {
            linhas.push_back(*linha);
        }
    }
    std::sort(linhas.begin(), linhas.end());
    QItemSelection escolha;
    for (std::size_t i = 0; i < linhas.size();) {
        std::size_t fim = i;
        while (fim + 1 < linhas.size() && linhas[fim + 1] == linhas[fim] + 1) {
            ++fim;
        }
        escolha.select(arquivos_->index(linhas[i]), arquivos_->index(linhas[fim]));
        i = fim + 1;
    }
    aplicando_ = true;
    selectionModel()->select(escolha, QItemSelectionModel::ClearAndSelect);
    aplicando_ = false;
}

QItemSelectionModel::SelectionFlags ListaDeArquivos::selectionCommand(
    const QModelIndex& indice, const QEvent* evento) const
{
    // A right-click leaves the selection to the menu it opens (see escolherSoSeFora): a
    // selected row keeps the whole selection, however the view would handle the click.
    if (evento
        && (evento->type() == QEvent::MouseButtonPress || evento->type() == QEvent::MouseButtonRelease
            || evento->type() == QEvent::MouseMove)) {
        const auto* mouse = static_cast<const QMouseEvent*>(evento);
        if (mouse->button() == Qt::RightButton || (mouse->buttons() & Qt::RightButton)) {
            return QItemSelectionModel::NoUpdate;
        }
    }
    return QListView::selectionCommand(indice, evento);
}

QMenu* ListaDeArquivos::menuDaLinha(const QModelIndex& indice)
{
    if (!indice.isValid()) {
        return nullptr;
    }
    const ItemTriado daLinha = arquivos_->item(indice.row());
    const std::string id = daLinha.id();
    // A row inside the selection stands for the whole selection, as in every file manager;
    // a row outside it, for itself alone. (A right-click or the menu key selects such a row
    // first; only a direct call meets it outside the selection.)
    std::vector<std::string> ids {id};
    if (selecao_.selecionados().contains(id)) {
        ids.clear();
        for (const ItemTriado& item : arquivos_->itens()) {
            if (selecao_.selecionados().contains(item.id())) {
                ids.push_back(item.id());
            }
        }
    }
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("menuDaLinha"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (modelo_.estaNaLixeira(id)) {
        // Nothing of it is in the folder to open, show or decide: it can only come back.
        std::erase_if(ids, [this](const std::string& escolhido) { return !modelo_.estaNaLixeira(escolhido); });
        QAction* restaurar = menu->addAction(QStringLiteral("&Restaurar"));
        restaurar->setObjectName(QStringLiteral("restaurarUm"));
        connect(restaurar, &QAction::triggered, this, [this, ids] {
            selecao_.setSelecionados({});
            modelo_.restaurar(ids);
        });
        return menu;
    }
    std::erase_if(ids, [this](const std::string& escolhido) { return modelo_.estaNaLixeira(escolhido); });
    QAction* abrir = menu->addAction(QStringLiteral("&Abrir"));
    abrir->setObjectName(QStringLiteral("abrir"));
    connect(abrir, &QAction::triggered, this, [this, daLinha] { abrirSeEstiverNaPasta(daLinha); });
    QAction* mostrar = menu->addAction(QStringLiteral("&Mostrar no gerenciador de arquivos"));
    mostrar->setObjectName(QStringLiteral("mostrarNoGerenciador"));
    connect(mostrar, &QAction::triggered, this, [id] { mostrarNoGerenciadorDeArquivos(id); });
    menu->addSeparator();
    const auto decisao = [&](const QString& texto, const char* nome, Decisao d) {
        QAction* acao = menu->addAction(texto);
        acao->setObjectName(QString::fromLatin1(nome));
        connect(acao, &QAction::triggered, this, [this, ids, d] { modelo_.decidir(ids, d); });
    };
    decisao(QStringLiteral("A&diar"), "adiarUm", Decisao::adiado);
    decisao(QStringLiteral("Marcar como &resolvido"), "resolverUm", Decisao::resolvido);
    decisao(QStringLiteral("&Ignorar"), "ignorarUm", Decisao::ignorado);
    menu->addSeparator();
    // Asked about first, as from the action bar; the panel asks about the selection, which
    // the row belongs to by now.
    QAction* lixeira = menu->addAction(QStringLiteral("Mover para a &Lixeira"));
    lixeira->setObjectName(QStringLiteral("moverParaLixeiraUm"));
    connect(lixeira, &QAction::triggered, this, [this, ids] {
        selecao_.setSelecionados(std::set<std::string>(ids.begin(), ids.end()));
        Q_EMIT moverParaLixeiraPedido();
    });
    return menu;
}

void ListaDeArquivos::keyPressEvent(QKeyEvent* evento)
{
    // Space shows or hides the details pane, as in file managers' previews; with Ctrl it still
    // toggles the row's selection.
    if (evento->key() == Qt::Key_Space && evento->modifiers() == Qt::NoModifier) {
        Q_EMIT alternarDetalhesPedido();
        evento->accept();
        return;
    }
    // Enter opens the file with the keyboard focus, as a double-click does.
    if ((evento->key() == Qt::Key_Return || evento->key() == Qt::Key_Enter) && currentIndex().isValid()) {
        abrirSeEstiverNaPasta(arquivos_->item(currentIndex().row()));
        evento->accept();
        return;
    }
    QListView::keyPressEvent(evento);
}

void ListaDeArquivos::escolherSoSeFora(const QModelIndex& indice)
{
    if (indice.isValid() && !selecao_.selecionados().contains(arquivos_->item(indice.row()).id())) {
        selectionModel()->setCurrentIndex(indice, QItemSelectionModel::ClearAndSelect);
    }
}

bool ListaDeArquivos::tornarAtual(const std::string& id, bool selecionar)
{
    const auto linha = arquivos_->linhaDe(id);
    if (!linha) {
        return false;
    }
    const QModelIndex indice = arquivos_->index(*linha);
    selectionModel()->setCurrentIndex(
        indice, selecionar ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate);
    scrollTo(indice);
    return true;
}

void ListaDeArquivos::abrirMenuDaLinhaAtual()
{
    QModelIndex indice = currentIndex();
    if (!indice.isValid()) {
        return;
    }
    escolherSoSeFora(indice);
    scrollTo(indice);
    if (QMenu* menu = menuDaLinha(indice)) {
        // At the row, not at the mouse pointer, which may be anywhere.
        const QRect linha = visualRect(indice);
        menu->popup(viewport()->mapToGlobal(QPoint(linha.left() + 24, linha.center().y())));
    }
}

void ListaDeArquivos::contextMenuEvent(QContextMenuEvent* evento)
{
    QModelIndex indice;
    QPoint onde = evento->globalPos();
    if (evento->reason() == QContextMenuEvent::Keyboard) {
        indice = currentIndex();
        onde = viewport()->mapToGlobal(visualRect(indice).center());
    } else {
        indice = indexAt(evento->pos());
    }
    escolherSoSeFora(indice);
    QMenu* menu = menuDaLinha(indice);
    if (!menu) {
        return;
    }
    evento->accept();
    menu->popup(onde);
}

} // namespace tarrafa::app
