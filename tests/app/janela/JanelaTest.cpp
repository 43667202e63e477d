// SPDX-License-Identifier: GPL-3.0-or-later
// The window's frame: sizes, the split view, the toolbar, the search field, the menu
// command and the keyboard shortcuts.
#include "Ajudantes.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Painel/Painel.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"

#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QImage>
#include <QLabel>
#include <QApplication>
#include <QTest>
#include <QToolButton>

#include <algorithm>
#include <cmath>
#include <map>
namespace tarrafa::app::teste {

namespace {

const std::string kExemplo = "https://arquivos.exemplo.com.br/pagina";

QMenu* menuArquivo(JanelaPrincipal& janela)
{
    for (QAction* acao : janela.menuBar()->actions()) {
        if (acao->menu() && acao->text() == QStringLiteral("&Arquivo")) {
            return acao->menu();
        }
    }
    return nullptr;
}

// WCAG's relative luminance of an opaque colour.
double luminancia(QColor cor)
{
    const auto canal = [](double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * canal(cor.redF()) + 0.7152 * canal(cor.greenF()) + 0.0722 * canal(cor.blueF());
}

// The contrast of text drawn in a region of a screenshot: its ground is the commonest colour
// there, its ink the colour farthest from it in luminance (the strokes' full colour).
double contrasteDoTexto(const QImage& imagem, const QRect& regiao)
{
    std::map<QRgb, int> contagem;
    for (int y = regiao.top(); y <= regiao.bottom(); ++y) {
        for (int x = regiao.left(); x <= regiao.right(); ++x) {
            ++contagem[imagem.pixel(x, y)];
        }
    }
    const QRgb fundo = std::max_element(contagem.begin(), contagem.end(), [](const auto& a, const auto& b) {
        return a.second < b.second;
    })->first;
    const double lFundo = luminancia(QColor(fundo));
    double melhor = 1;
    for (const auto& [cor, vezes] : contagem) {
        const double l = luminancia(QColor(cor));
        melhor = std::max(melhor, (std::max(l, lFundo) + 0.05) / (std::min(l, lFundo) + 0.05));
    }
    return melhor;
}


} // namespace

class JanelaTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void janelaVaiAte640Por480ENaoMenosEOConteudoCabe()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QWidget* conteudo = t.janela->centralWidget();
        QCOMPARE(t.janela->minimumSize(), QSize(640, 480));
        // What the content needs fits in that: nothing is cut off at the smallest size.
        QVERIFY(conteudo->minimumSizeHint().width() <= 640);
        t.janela->resize(400, 300);
        QTRY_COMPARE(t.janela->size(), QSize(640, 480));
        QVERIFY(conteudo->width() >= conteudo->minimumSizeHint().width());
        QVERIFY(conteudo->height() >= conteudo->minimumSizeHint().height());
    }

    void barraLateralComecaCom236EFicaEntre160E280()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        auto* divisao = t.janela->findChild<QSplitter*>(QStringLiteral("divisao"));
        QVERIFY(divisao);
        BarraLateral& barra = t.janela->barraLateral();
        QCOMPARE(barra.width(), 236);

        // Dragging the divider far to the right stops at 280, far to the left at 160.
        QWidget* alca = divisao->handle(1);
        const QPoint meio = alca->rect().center();
        QTest::mousePress(alca, Qt::LeftButton, {}, meio);
        QTest::mouseMove(alca, meio + QPoint(300, 0));
        QTest::mouseRelease(alca, Qt::LeftButton, {}, meio + QPoint(300, 0));
        QTRY_COMPARE(barra.width(), 280);
        QTest::mousePress(alca, Qt::LeftButton, {}, meio);
        QTest::mouseMove(alca, meio - QPoint(300, 0));
        QTest::mouseRelease(alca, Qt::LeftButton, {}, meio - QPoint(300, 0));
        QTRY_COMPARE(barra.width(), 160);

        // The handle is wide enough to be grabbed.
        QVERIFY(divisao->handleWidth() >= 5);

        // A wider window widens the panel, not the sidebar.
        t.janela->resize(t.janela->width() + 200, t.janela->height());
        QTRY_COMPARE(barra.width(), 160);
        QVERIFY(!divisao->isCollapsible(0) || !divisao->childrenCollapsible());
    }

    void mostrarAJanelaNaoComecaOutraVarredura()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf"});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QCOMPARE(t.varreduras->count(), 1);
        t.janela->hide();
        t.janela->show();
        QVERIFY(QTest::qWaitForWindowExposed(t.janela.get()));
        QCoreApplication::sendPostedEvents();
        QVERIFY(!t.modelo->carregando());
        QCOMPARE(t.varreduras->count(), 1);
    }

    void cadaTeclaNaBuscaMudaABusca()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QLineEdit& busca = t.janela->busca();
        QCOMPARE(busca.objectName(), QStringLiteral("busca"));
        QCOMPARE(busca.placeholderText(), QStringLiteral("Buscar por nome de arquivo"));

        QSignalSpy mudancas(t.modelo.get(), &Modelo::buscaChanged);
        QTest::keyClicks(&busca, QStringLiteral("rel"));
        QCOMPARE(mudancas.count(), 3);
        QCOMPARE(t.modelo->busca(), QStringLiteral("rel"));
        QTest::keyClick(&busca, Qt::Key_Backspace);
        QCOMPARE(t.modelo->busca(), QStringLiteral("re"));

        // And the field shows a search set elsewhere.
        t.modelo->setBusca(QStringLiteral("outra"));
        QCOMPARE(busca.text(), QStringLiteral("outra"));
    }

    void escapeLimpaABuscaEBrancosNaoViramListaSolta()
    {
        Downloads cenario;
        cenario.criar({.nome = "Relatório anual.pdf", .origem = "https://arquivos.exemplo.com.br/x"});
        cenario.criar({.nome = "foto.jpg", .origem = "https://arquivos.exemplo.com.br/y"});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QLineEdit& busca = t.janela->busca();
        auto* cartoes = t.janela->findChild<QWidget*>(QStringLiteral("listaDeGrupos"));
        QVERIFY(cartoes);
        QTRY_VERIFY(cartoes->isVisible());

        // Without the accent, as people type.
        busca.setFocus();
        QTest::keyClicks(&busca, QStringLiteral("relatorio"));
        const std::vector<ItemTriado> achados = t.modelo->itens(Destino::entrada());
        QCOMPARE(achados.size(), std::size_t(1));
        QCOMPARE(achados.front().nome(), std::string("Relatório anual.pdf"));
        QTRY_VERIFY(!cartoes->isVisible());

        QTest::keyClick(&busca, Qt::Key_Escape);
        QCOMPARE(busca.text(), QString());
        QCOMPARE(t.modelo->busca(), QString());
        QTRY_VERIFY(cartoes->isVisible());

        // One blank looks like an empty field, and is one: the groups stay.
        QTest::keyClick(&busca, Qt::Key_Space);
        QCOMPARE(t.modelo->busca(), QStringLiteral(" "));
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QVERIFY(cartoes->isVisible());
        QCOMPARE(t.modelo->itens(Destino::entrada()).size(), std::size_t(2));
    }

    void menusPeloTecladoEContrasteDeTextosSecundariosNasPaletasClaraEEscura()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const QPalette original = QApplication::palette();
        for (const bool escura : {false, true}) {
            if (escura) {
                QApplication::setPalette(paletaEscura());
            }
            JanelaDeTeste t(cenario);
            QVERIFY(t.abrir());
            QCoreApplication::processEvents();
            // A dark palette gives a dark window.
            QCOMPARE(t.janela->palette().color(QPalette::Window).lightnessF() < 0.5, escura);

            // "Origens" above the groups, and "nenhum selecionado" over a group's list.
            BarraLateral& barra = t.janela->barraLateral();
            QModelIndex cabecalho;
            for (int linha = 0; linha < barra.model()->rowCount(); ++linha) {
                if (barra.model()->index(linha, 0).data().toString() == QStringLiteral("Origens")) {
                    cabecalho = barra.model()->index(linha, 0);
                }
            }
            QVERIFY(cabecalho.isValid());
            QVERIFY(clicarLinha(barra, Destino::grupo("host:arquivos.exemplo.com.br")));
            auto* contagem = t.janela->findChild<QLabel*>(QStringLiteral("contagemSelecionados"));
            QTRY_VERIFY(contagem && contagem->isVisible());
            const QImage tela = t.janela->grab().toImage();
            const QRect noCabecalho(barra.viewport()->mapTo(t.janela.get(), barra.visualRect(cabecalho).topLeft()),
                barra.visualRect(cabecalho).size());
            const QRect naContagem(contagem->mapTo(t.janela.get(), QPoint(0, 0)), contagem->size());
            const double noSidebar = contrasteDoTexto(tela, noCabecalho);
            const double naBarra = contrasteDoTexto(tela, naContagem);
            QVERIFY2(noSidebar >= 4.5, qPrintable(QStringLiteral("Origens: %1:1").arg(noSidebar)));
            QVERIFY2(naBarra >= 4.5, qPrintable(QStringLiteral("nenhum selecionado: %1:1").arg(naBarra)));
            capturar(*t.janela, escura ? QStringLiteral("janela-escura") : QStringLiteral("janela-clara"));

            // The menus from the keyboard: mnemonics, and F10 opens the first.
            QStringList titulos;
            for (QAction* acao : t.janela->menuBar()->actions()) {
                titulos << acao->text();
            }
            QCOMPARE(titulos,
                (QStringList {QStringLiteral("&Arquivo"), QStringLiteral("&Editar"), QStringLiteral("Açõe&s"),
                    QStringLiteral("Aj&uda")}));
            QTest::keyClick(t.janela.get(), Qt::Key_F10);
            QTRY_VERIFY(t.janela->menuBar()->activeAction() != nullptr);
            QCOMPARE(t.janela->menuBar()->activeAction()->text(), QStringLiteral("&Arquivo"));
            QTest::keyClick(t.janela->menuBar(), Qt::Key_Escape);
        }
        QApplication::setPalette(original);
    }

    void focoDoTecladoNaBarraLateralAparece()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();
        const QColor realce = barra.palette().color(QPalette::Active, QPalette::Highlight);
        // Adiados: not selected. Count the highlight-coloured pixels of its row.
        const QModelIndex adiados = linhaDe(barra, Destino::adiados());
        QVERIFY(adiados.isValid());
        const auto pixelsDeRealce = [&] {
            const QImage imagem = barra.viewport()->grab(barra.visualRect(adiados)).toImage();
            int quantos = 0;
            for (int y = 0; y < imagem.height(); ++y) {
                for (int x = 0; x < imagem.width(); ++x) {
                    const QColor cor = imagem.pixelColor(x, y);
                    quantos += std::abs(cor.red() - realce.red()) + std::abs(cor.green() - realce.green())
                            + std::abs(cor.blue() - realce.blue()) < 40;
                }
            }
            return quantos;
        };
        barra.clearFocus();
        QCoreApplication::processEvents();
        const int semFoco = pixelsDeRealce();
        barra.setFocus(Qt::TabFocusReason);
        barra.selectionModel()->setCurrentIndex(adiados, QItemSelectionModel::NoUpdate);
        QTRY_VERIFY(barra.hasFocus());
        const int comFoco = pixelsDeRealce();
        QVERIFY2(comFoco > semFoco + 50, qPrintable(QStringLiteral("%1 vs %2").arg(comFoco).arg(semFoco)));
    }

    void menuArquivoVarreDeNovoComF5ECtrlRSempreHabilitado()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QMenu* arquivo = menuArquivo(*t.janela);
        QVERIFY(arquivo);
        QAction* varrer = arquivo->actions().value(0);
        QVERIFY(varrer);
        QCOMPARE(varrer->text(), QStringLiteral("&Varrer de novo"));
        QCOMPARE(varrer->shortcuts(), (QList<QKeySequence> {QKeySequence(Qt::Key_F5), QKeySequence(Qt::CTRL | Qt::Key_R)}));
        QVERIFY(varrer->isEnabled());

        varrer->trigger();
        QVERIFY(t.modelo->carregando());
        QVERIFY(varrer->isEnabled());
        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(varrer->isEnabled());

        auto* botao = t.janela->findChild<QToolButton*>(QStringLiteral("varrerDeNovo"));
        QVERIFY(botao);
        QVERIFY(!botao->icon().isNull());
        QCOMPARE(botao->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    }

    void ctrlFLevaABusca()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        t.janela->barraLateral().setFocus();
        t.modelo->setBusca(QStringLiteral("antiga"));
        QTest::keyClick(t.janela.get(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(t.janela->busca().hasFocus());
        QCOMPARE(t.janela->busca().selectedText(), QStringLiteral("antiga"));
        // Typing replaces the whole old search.
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("nova"));
        QCOMPARE(t.modelo->busca(), QStringLiteral("nova"));
    }

    void ctrlASelecionaTodosOsArquivosDaLista()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const std::string b = cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();

        // The inbox as groups lists no files: nothing to select.
        t.janela->barraLateral().setFocus();
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QVERIFY(painel.selecao().selecionados().empty());

        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::grupo("host:arquivos.exemplo.com.br")));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(painel.selecao().selecionados(), (std::set<std::string> {a, b}));
    }

    void naBuscaCtrlAEDeleteEditamOTexto()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QLineEdit& busca = t.janela->busca();
        busca.setFocus();
        QTest::keyClicks(&busca, QStringLiteral("a.p"));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);

        QTest::keyClick(&busca, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(busca.selectedText(), QStringLiteral("a.p"));
        QVERIFY(painel.selecao().selecionados().empty());

        busca.setCursorPosition(0);
        painel.selecao().setSelecionados({cenario.pasta() + "/a.pdf"});
        QTest::keyClick(&busca, Qt::Key_Delete);
        QCOMPARE(busca.text(), QStringLiteral(".p"));
        QVERIFY(!painel.selecao().confirmandoLixeira());
        QVERIFY(!painel.confirmacao());
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::JanelaTest;
TARRAFA_REGISTRAR_TESTE(JanelaTest)

#include "JanelaTest.moc"
