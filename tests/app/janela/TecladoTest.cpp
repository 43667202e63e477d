// SPDX-License-Identifier: GPL-3.0-or-later
// The window from the keyboard, as on the desktop's file managers: rescanning, the row's
// menu, the actions on the chosen files, the Trash question, the search, going back, the
// menus' mnemonics, the list of shortcuts.
#include "Ajudantes.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Painel/CartoesDeGrupos.hpp"
#include "TarrafaApp/Painel/ConfirmacaoLixeira.hpp"
#include "TarrafaApp/Painel/Detalhes.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/Painel.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDialog>
#include <QFile>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QTableWidget>
#include <QTest>

#include <filesystem>
#include <set>

namespace tarrafa::app::teste {

namespace {



QAction* acao(QWidget& janela, const char* nome)
{
    return janela.findChild<QAction*>(QString::fromLatin1(nome));
}

// The letter after the single '&' of a menu text, lower case; empty when there is none.
QString mnemonico(const QString& texto)
{
    const qsizetype onde = texto.indexOf(QLatin1Char('&'));
    if (onde < 0 || onde + 1 >= texto.size() || texto[onde + 1] == QLatin1Char('&')) {
        return {};
    }
    return texto.mid(onde + 1, 1).toLower();
}

// Every item of the menu has a mnemonic, none repeated; the failure names the item.
QString mnemonicosDe(const QMenu& menu, const QString& nome)
{
    std::set<QString> usados;
    for (const QAction* item : menu.actions()) {
        if (item->isSeparator()) {
            continue;
        }
        const QString letra = mnemonico(item->text());
        if (letra.isEmpty()) {
            return nome + QStringLiteral(": sem mnemônico em ") + item->text();
        }
        if (!usados.insert(letra).second) {
            return nome + QStringLiteral(": letra repetida em ") + item->text();
        }
    }
    return {};
}




// A right-click as the desktop delivers it: the button, then the menu's own event.
void clicarComODireito(ListaDeArquivos& lista, int linha)
{
    const QPoint ponto = lista.visualRect(lista.model()->index(linha, 0)).center();
    QTest::mouseClick(lista.viewport(), Qt::RightButton, {}, ponto);
    QContextMenuEvent pedido(QContextMenuEvent::Mouse, ponto, lista.viewport()->mapToGlobal(ponto));
    QApplication::sendEvent(lista.viewport(), &pedido);
}

} // namespace

class TecladoTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void f5ECtrlRVarremDeNovo()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        t.janela->barraLateral().setFocus();
        QTest::keyClick(t.janela.get(), Qt::Key_F5);
        QVERIFY(t.modelo->carregando());
        QVERIFY(t.esperarVarreduras(2));
        QTest::keyClick(t.janela.get(), Qt::Key_R, Qt::ControlModifier);
        QVERIFY(t.modelo->carregando());
        QVERIFY(t.esperarVarreduras(3));
    }

    void shiftF10ETeclaMenuAbremOMenuDaLinhaAtualNaLinha()
    {
        Downloads cenario;
        for (const char* nome : {"menu-1.pdf", "menu-2.pdf", "menu-3.pdf"}) {
            cenario.criar({.nome = nome, .origem = kExemplo});
        }
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        ListaDeArquivos& lista = listaDe(t);
        clicarNaLinha(lista, 0);
        QTest::keyClick(&lista, Qt::Key_Down);
        QCOMPARE(lista.currentIndex().row(), 1);
        const QRect linha(lista.viewport()->mapToGlobal(lista.visualRect(lista.currentIndex()).topLeft()),
            lista.visualRect(lista.currentIndex()).size());

        for (const auto& [tecla, modificador] : {std::pair {Qt::Key_F10, Qt::ShiftModifier},
                 std::pair {Qt::Key_Menu, Qt::NoModifier}}) {
            QTest::keyClick(&lista, tecla, modificador);
            QTRY_VERIFY(menuAberto());
            QCOMPARE(menuAberto()->objectName(), QStringLiteral("menuDaLinha"));
            // At the row, whatever the mouse pointer does.
            QVERIFY2(linha.contains(menuAberto()->pos()),
                qPrintable(QStringLiteral("menu em %1,%2").arg(menuAberto()->x()).arg(menuAberto()->y())));
            // The row it is for is the selection now.
            QCOMPARE(t.janela->painel().selecao().selecionados(), std::set<std::string> {lista.itens()[1].id()});
            menuAberto()->close();
            QTRY_VERIFY(!menuAberto());
        }
    }

    void adiarResolverEIgnorarPeloTecladoNoMenuAcoes()
    {
        Downloads cenario;
        for (const char* nome : {"acao-1.pdf", "acao-2.pdf", "acao-3.pdf"}) {
            cenario.criar({.nome = nome, .origem = kExemplo});
        }
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        auto* menu = t.janela->findChild<QMenu*>(QStringLiteral("menuAcoes"));
        QVERIFY(menu);
        QStringList itens;
        for (const QAction* item : menu->actions()) {
            if (!item->isSeparator()) {
                itens << item->text() + QLatin1Char('=') + item->shortcut().toString();
            }
        }
        QCOMPARE(itens, (QStringList {QStringLiteral("&Adiar=Ctrl+D"), QStringLiteral("&Resolver=Ctrl+E"),
                            QStringLiteral("&Ignorar=Ctrl+I"), QStringLiteral("&Mover para a Lixeira=Del")}));
        // Nothing chosen, or the groups on show: nothing to act on.
        for (QAction* item : menu->actions()) {
            QVERIFY(item->isSeparator() || !item->isEnabled());
        }

        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        ListaDeArquivos& lista = listaDe(t);
        QVERIFY(!acao(*t.janela, "acaoAdiar")->isEnabled());
        const std::vector<ItemTriado> itensDaLista = lista.itens();
        const std::pair<Qt::Key, Decisao> teclas[] = {
            {Qt::Key_D, Decisao::adiado}, {Qt::Key_E, Decisao::resolvido}, {Qt::Key_I, Decisao::ignorado}};
        for (const auto& [tecla, decisao] : teclas) {
            // The first file still listed that nothing decided yet.
            int linha = 0;
            while (t.modelo->decisao(lista.itens()[static_cast<std::size_t>(linha)].id()) != Decisao::novo) {
                ++linha;
            }
            const std::string id = lista.itens()[static_cast<std::size_t>(linha)].id();
            clicarNaLinha(lista, linha);
            QVERIFY(acao(*t.janela, "acaoAdiar")->isEnabled());
            QTest::keyClick(&lista, tecla, Qt::ControlModifier);
            QVERIFY(t.modelo->decisao(id) == decisao);
            QTRY_VERIFY(t.janela->painel().selecao().selecionados().empty());
            QVERIFY(!acao(*t.janela, "acaoResolver")->isEnabled());
        }
        for (const ItemTriado& item : itensDaLista) {
            QVERIFY(t.modelo->decisao(item.id()) != Decisao::novo);
        }

        // During a scan the actions wait.
        QTRY_VERIFY(!lista.itens().empty());
        clicarNaLinha(lista, 0);
        QVERIFY(acao(*t.janela, "acaoIgnorar")->isEnabled());
        QTest::keyClick(t.janela.get(), Qt::Key_F5);
        QVERIFY(t.modelo->carregando());
        QVERIFY(!acao(*t.janela, "acaoIgnorar")->isEnabled());
        QVERIFY(!acao(*t.janela, "acaoMoverParaLixeira")->isEnabled());
        QVERIFY(t.esperarVarreduras(2));
    }

    void enterNoDialogoDaLixeiraApertaOBotaoComFocoENaoHaMinimizar()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "enter-a.pdf", .origem = kExemplo});
        cenario.criar({.nome = "enter-b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        Painel& painel = t.janela->painel();
        ListaDeArquivos& lista = listaDe(t);
        const int linhaDeA = lista.itens()[0].id() == a ? 0 : 1;

        // Enter at once: the cancel button, the default one.
        clicarNaLinha(lista, linhaDeA);
        QTest::keyClick(&lista, Qt::Key_Delete);
        QTRY_VERIFY(painel.confirmacao());
        ConfirmacaoLixeira* pergunta = painel.confirmacao();
        QVERIFY(QTest::qWaitForWindowActive(pergunta));
        const Qt::WindowFlags bandeiras = pergunta->windowFlags();
        QCOMPARE(pergunta->windowType(), Qt::Dialog);
        QVERIFY(!(bandeiras & Qt::WindowMinimizeButtonHint));
        QVERIFY(!(bandeiras & Qt::WindowMaximizeButtonHint));
        QVERIFY(bandeiras & Qt::WindowCloseButtonHint);
        QTRY_COMPARE(QApplication::focusWidget(), pergunta->cancelar());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_VERIFY(!painel.confirmacao());
        QVERIFY(std::filesystem::exists(a));

        // Tab to "Mover para a Lixeira", then Enter: that button.
        t.janela->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(t.janela.get()));
        QTest::keyClick(t.janela.get(), Qt::Key_Delete);
        QTRY_VERIFY(painel.confirmacao());
        pergunta = painel.confirmacao();
        QVERIFY(QTest::qWaitForWindowActive(pergunta));
        QTRY_COMPARE(QApplication::focusWidget(), pergunta->cancelar());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QTRY_COMPARE(QApplication::focusWidget(), pergunta->mover());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_VERIFY(!painel.confirmacao());
        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(!std::filesystem::exists(a));
    }

    void baixoOuEnterNaBuscaLevamAoPrimeiroResultado()
    {
        Downloads cenario;
        cenario.criar({.nome = "relatorio-1.pdf", .origem = kExemplo});
        cenario.criar({.nome = "relatorio-2.pdf", .origem = kOutro});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QLineEdit& busca = t.janela->busca();
        ListaDeArquivos& lista = listaDe(t);

        for (const Qt::Key tecla : {Qt::Key_Down, Qt::Key_Return}) {
            QTest::keyClick(t.janela.get(), Qt::Key_F, Qt::ControlModifier);
            QTRY_VERIFY(busca.hasFocus());
            QTest::keyClicks(&busca, QStringLiteral("relat"));
            QTest::keyClick(&busca, tecla);
            QTRY_VERIFY(lista.hasFocus());
            QCOMPARE(lista.currentIndex().row(), 0);
            QCOMPARE(t.janela->painel().selecao().selecionados(), std::set<std::string> {lista.itens()[0].id()});
        }

        // With nothing typed the inbox shows cards: the first card.
        QTest::keyClick(t.janela.get(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(busca.hasFocus());
        QTest::keyClick(&busca, Qt::Key_Escape);
        QTRY_VERIFY(t.janela->painel().conteudo() == Conteudo::grupos);
        auto* cartoes = t.janela->findChild<CartoesDeGrupos*>(QStringLiteral("cartoesDeGrupos"));
        QTRY_VERIFY(cartoes->isVisible());
        QTest::keyClick(&busca, Qt::Key_Down);
        QTRY_VERIFY(cartoes->hasFocus());
        QCOMPARE(cartoes->currentIndex().row(), 0);
        QVERIFY(cartoes->focoPeloTeclado());
    }

    void altEsquerdaEBackspaceVoltamEAltDireitaAvanca()
    {
        Downloads cenario;
        cenario.criar({.nome = "volta.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::adiados()));
        QVERIFY(t.modelo->selecao() == Destino::adiados());

        QTest::keyClick(t.janela.get(), Qt::Key_Left, Qt::AltModifier);
        QVERIFY(t.modelo->selecao() == kGrupoExemplo);
        QTRY_COMPARE(linhaSelecionada(t.janela->barraLateral()), std::optional<Destino>(kGrupoExemplo));
        listaDe(t).setFocus();
        QTest::keyClick(&listaDe(t), Qt::Key_Backspace);
        QVERIFY(t.modelo->selecao() == Destino::entrada());
        // Nothing further back.
        QTest::keyClick(t.janela.get(), Qt::Key_Left, Qt::AltModifier);
        QVERIFY(t.modelo->selecao() == Destino::entrada());

        QTest::keyClick(t.janela.get(), Qt::Key_Right, Qt::AltModifier);
        QVERIFY(t.modelo->selecao() == kGrupoExemplo);
        QTest::keyClick(t.janela.get(), Qt::Key_Right, Qt::AltModifier);
        QVERIFY(t.modelo->selecao() == Destino::adiados());

        // In the search field Backspace erases a letter and goes nowhere.
        QLineEdit& busca = t.janela->busca();
        busca.setFocus();
        QTest::keyClicks(&busca, QStringLiteral("vo"));
        QTest::keyClick(&busca, Qt::Key_Backspace);
        QCOMPARE(busca.text(), QStringLiteral("v"));
        QVERIFY(t.modelo->selecao() == Destino::adiados());
    }

    void abrirUmGrupoPeloCartaoPoeOFocoNaSuaLista()
    {
        Downloads cenario;
        cenario.criar({.nome = "cartao-1.pdf", .origem = kExemplo});
        cenario.criar({.nome = "cartao-2.pdf", .origem = kOutro});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        auto* cartoes = t.janela->findChild<CartoesDeGrupos*>(QStringLiteral("cartoesDeGrupos"));
        QTRY_VERIFY(cartoes->isVisible() && cartoes->model()->rowCount() == 2);
        ListaDeArquivos& lista = listaDe(t);

        // A click on a card.
        QTest::mouseClick(cartoes->viewport(), Qt::LeftButton, {}, cartoes->retanguloDoCartao(0).center());
        QTRY_VERIFY(t.janela->painel().conteudo() == Conteudo::arquivos);
        QTRY_VERIFY(lista.hasFocus());
        QVERIFY(lista.currentIndex().isValid());

        // Enter on a card.
        QTest::keyClick(t.janela.get(), Qt::Key_Left, Qt::AltModifier);
        QTRY_VERIFY(t.janela->painel().conteudo() == Conteudo::grupos);
        QTRY_VERIFY(cartoes->isVisible());
        cartoes->setFocus(Qt::TabFocusReason);
        cartoes->setCurrentIndex(cartoes->model()->index(1, 0));
        QTest::keyClick(cartoes, Qt::Key_Return);
        QTRY_VERIFY(t.janela->painel().conteudo() == Conteudo::arquivos);
        QTRY_VERIFY(lista.hasFocus());
    }

    void depoisDaLixeiraALinhaSeguinteFicaAtual()
    {
        Downloads cenario;
        for (int i = 0; i < 5; ++i) {
            cenario.criar({.nome = "seguinte-" + std::to_string(i) + ".pdf", .origem = kExemplo,
                .baixadoHaDias = 1.0 + i});
        }
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        Painel& painel = t.janela->painel();
        ListaDeArquivos& lista = listaDe(t);
        const std::vector<ItemTriado> antes = lista.itens();
        QCOMPARE(antes.size(), std::size_t(5));

        // Rows 1 and 2 go: row 3 is where the person goes on.
        clicarNaLinha(lista, 1);
        clicarNaLinha(lista, 2, Qt::ShiftModifier);
        painel.responderProximaConfirmacao(Painel::Resposta::mover);
        QTest::keyClick(&lista, Qt::Key_Delete);
        QVERIFY(t.esperarVarreduras(2));
        QTRY_COMPARE(lista.itens().size(), std::size_t(3));
        QTRY_VERIFY(lista.itemAtual().has_value());
        QCOMPARE(lista.itemAtual()->id(), antes[3].id());

        // The last row goes: the one before it. (The offscreen platform gives the window back
        // its activation only when asked.)
        t.janela->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(t.janela.get()));
        clicarNaLinha(lista, 2);
        QCOMPARE(lista.itemAtual()->id(), antes[4].id());
        painel.responderProximaConfirmacao(Painel::Resposta::mover);
        QTest::keyClick(&lista, Qt::Key_Delete);
        QVERIFY(t.esperarVarreduras(3));
        QTRY_COMPARE(lista.itens().size(), std::size_t(2));
        QTRY_VERIFY(lista.itemAtual().has_value());
        QCOMPARE(lista.itemAtual()->id(), antes[3].id());
    }

    void ctrlZNaBuscaVaziaDesfazADecisaoEComTextoOTexto()
    {
        Downloads cenario;
        cenario.criar({.nome = "desfaz-1.pdf", .origem = kExemplo});
        cenario.criar({.nome = "desfaz-2.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        ListaDeArquivos& lista = listaDe(t);
        const std::string id = lista.itens()[0].id();
        clicarNaLinha(lista, 0);
        QTest::keyClick(&lista, Qt::Key_D, Qt::ControlModifier);
        QVERIFY(t.modelo->decisao(id) == Decisao::adiado);

        // With text, the field's own undo.
        QLineEdit& busca = t.janela->busca();
        QTest::keyClick(t.janela.get(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(busca.hasFocus());
        QTest::keyClicks(&busca, QStringLiteral("d"));
        QTest::keyClick(&busca, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(busca.text(), QString());
        QVERIFY(t.modelo->decisao(id) == Decisao::adiado);

        // Empty, the window's.
        QTest::keyClick(&busca, Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(t.modelo->decisao(id) == Decisao::novo);
        QVERIFY(busca.hasFocus());
        QTest::keyClick(&busca, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(t.modelo->decisao(id) == Decisao::adiado);
    }

    void todoItemDeMenuTemMnemonicoSemLetraRepetida()
    {
        Downloads cenario;
        cenario.criar({.nome = "letra.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QMenuBar* barra = t.janela->menuBar();
        QStringList titulos;
        std::set<QString> letrasDosTitulos;
        for (const QAction* titulo : barra->actions()) {
            titulos << titulo->text();
            QVERIFY2(letrasDosTitulos.insert(mnemonico(titulo->text())).second, qPrintable(titulo->text()));
            QVERIFY2(titulo->menu(), qPrintable(titulo->text()));
            const QString problema = mnemonicosDe(*titulo->menu(), titulo->text());
            QVERIFY2(problema.isEmpty(), qPrintable(problema));
        }
        QCOMPARE(titulos.size(), 4);
        QVERIFY(!letrasDosTitulos.contains(QString()));

        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        ListaDeArquivos& lista = listaDe(t);
        lista.setFocus();
        lista.setCurrentIndex(lista.model()->index(0, 0));
        QTest::keyClick(&lista, Qt::Key_Menu);
        QTRY_VERIFY(menuAberto());
        const QString problema = mnemonicosDe(*menuAberto(), QStringLiteral("menu da linha"));
        QVERIFY2(problema.isEmpty(), qPrintable(problema));
        // The mnemonic works: "A&diar" by its letter.
        QVERIFY(QTest::qWaitForWindowExposed(menuAberto()));
        QTest::keyClick(menuAberto(), Qt::Key_D);
        QTRY_VERIFY(!menuAberto());
        QVERIFY(t.modelo->decisao(lista.itens()[0].id()) == Decisao::adiado);
    }

    void ctrlInterrogacaoMostraOsAtalhosDasAcoesDaJanela()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QAction* atalhos = acao(*t.janela, "acaoAtalhos");
        QVERIFY(atalhos);
        QVERIFY(atalhos->shortcuts().contains(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Slash)));
        QVERIFY(atalhos->shortcuts().contains(QKeySequence(QStringLiteral("Ctrl+?"))));
        QTest::keyClick(t.janela.get(), Qt::Key_Slash, Qt::ControlModifier | Qt::ShiftModifier);
        QDialog* dialogo = nullptr;
        QTRY_VERIFY((dialogo = t.janela->findChild<QDialog*>(QStringLiteral("atalhosDoTeclado"))) != nullptr);
        QTRY_VERIFY(dialogo->isVisible());
        auto* tabela = dialogo->findChild<QTableWidget*>();
        QVERIFY(tabela);
        capturar(*dialogo, QStringLiteral("atalhos-do-teclado"));
        QMap<QString, QString> linhas;
        for (int i = 0; i < tabela->rowCount(); ++i) {
            linhas.insert(tabela->item(i, 1)->text(), tabela->item(i, 0)->text());
        }
        // Every shortcut the window has is on the list, with what it does.
        for (const QAction* uma : t.janela->findChildren<QAction*>()) {
            for (const QKeySequence& tecla : uma->shortcuts()) {
                const QString texto = JanelaPrincipal::nomeDasTeclas(tecla);
                bool achou = false;
                for (const QString& teclas : linhas) {
                    achou = achou || teclas.split(QStringLiteral(", ")).contains(texto);
                }
                QVERIFY2(achou, qPrintable(uma->objectName() + QLatin1Char(' ') + texto));
            }
        }
        QCOMPARE(linhas.value(QStringLiteral("Varrer de novo")), QStringLiteral("F5, Ctrl+R"));
        QCOMPARE(linhas.value(QStringLiteral("Adiar os arquivos selecionados")), QStringLiteral("Ctrl+D"));
        QCOMPARE(linhas.value(QStringLiteral("Mover os arquivos selecionados para a Lixeira")), QStringLiteral("Delete"));
        QCOMPARE(linhas.value(QStringLiteral("Sair")), QStringLiteral("Ctrl+Q"));
        QCOMPARE(linhas.value(QStringLiteral("Voltar ao que estava na tela antes")),
            QStringLiteral("Alt+Seta para a esquerda, Backspace"));
        QCOMPARE(linhas.value(QStringLiteral("Abrir o menu do arquivo (na lista)")),
            QStringLiteral("Shift+F10, tecla Menu"));
        QCOMPARE(linhas.value(QStringLiteral("Mostrar ou esconder os detalhes (na lista)")), QStringLiteral("Espaço"));
        dialogo->close();
        QTRY_VERIFY(!t.janela->findChild<QDialog*>(QStringLiteral("atalhosDoTeclado")));

        // "Sobre o Tarrafa" by the Help menu's mnemonics.
        t.janela->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(t.janela.get()));
        QTest::keyClick(t.janela.get(), Qt::Key_U, Qt::AltModifier);
        QTRY_VERIFY(menuAberto());
        QCOMPARE(menuAberto()->objectName(), QStringLiteral("menuAjuda"));
        QVERIFY(QTest::qWaitForWindowExposed(menuAberto()));
        QTest::keyClick(menuAberto(), Qt::Key_S);
        QMessageBox* sobre = nullptr;
        QTRY_VERIFY((sobre = t.janela->findChild<QMessageBox*>(QStringLiteral("sobreOTarrafa"))) != nullptr);
        QTRY_VERIFY(sobre->isVisible());
        capturar(*sobre, QStringLiteral("sobre-o-tarrafa"));
        QCOMPARE(sobre->text(), QStringLiteral("Tarrafa ") + QStringLiteral(TARRAFA_VERSAO));
        QVERIFY(sobre->informativeText().contains(QStringLiteral("Downloads")));
        sobre->close();
    }

    void menuDeContextoSelecionaALinhaDeForaEOfereceALixeira()
    {
        Downloads cenario;
        for (const char* nome : {"contexto-1.pdf", "contexto-2.pdf", "contexto-3.pdf"}) {
            cenario.criar({.nome = nome, .origem = kExemplo});
        }
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        Painel& painel = t.janela->painel();
        ListaDeArquivos& lista = listaDe(t);
        const std::vector<ItemTriado> itens = lista.itens();
        clicarNaLinha(lista, 0);
        clicarNaLinha(lista, 1, Qt::ControlModifier);
        const std::set<std::string> dois {itens[0].id(), itens[1].id()};
        QCOMPARE(painel.selecao().selecionados(), dois);

        // On a selected row: the whole selection stays.
        clicarComODireito(lista, 1);
        QTRY_VERIFY(menuAberto());
        QCOMPARE(painel.selecao().selecionados(), dois);
        QVERIFY(menuAberto()->findChild<QAction*>(QStringLiteral("moverParaLixeiraUm")));
        menuAberto()->close();
        QTRY_VERIFY(!menuAberto());

        // On another row: that row alone, and to the Trash it goes.
        clicarComODireito(lista, 2);
        QTRY_VERIFY(menuAberto());
        QCOMPARE(painel.selecao().selecionados(), std::set<std::string> {itens[2].id()});
        QAction* lixeira = menuAberto()->findChild<QAction*>(QStringLiteral("moverParaLixeiraUm"));
        QVERIFY(lixeira);
        QCOMPARE(lixeira->text(), QStringLiteral("Mover para a &Lixeira"));
        painel.responderProximaConfirmacao(Painel::Resposta::mover);
        QTest::mouseClick(menuAberto(), Qt::LeftButton, {}, menuAberto()->actionGeometry(lixeira).center());
        QTRY_VERIFY(!menuAberto());
        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(!std::filesystem::exists(itens[2].id()));
        QVERIFY(std::filesystem::exists(itens[0].id()));
        QVERIFY(std::filesystem::exists(itens[1].id()));
    }

};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::TecladoTest;
TARRAFA_REGISTRAR_TESTE(TecladoTest)

#include "TecladoTest.moc"
