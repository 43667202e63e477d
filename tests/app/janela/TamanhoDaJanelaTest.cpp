// SPDX-License-Identifier: GPL-3.0-or-later
// The window's size: small screens, the details pane folding away, and what the window
// remembers between launches.
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










} // namespace

class TamanhoDaJanelaTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void em640PixelsTudoCabeEOsDetalhesSeDobramSemEsquecer()
    {
        Downloads cenario;
        cenario.criar({.nome = "estreito-1.pdf", .origem = kExemplo});
        cenario.criar({.nome = "estreito-2.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QVERIFY(abrirGrupo(t, kGrupoExemplo));
        Painel& painel = t.janela->painel();
        ListaDeArquivos& lista = listaDe(t);
        QVERIFY(painel.detalhes().isVisible());

        // The window and its content fit in 640 by 480.
        QVERIFY(t.janela->minimumSize().width() <= 640);
        QVERIFY(t.janela->minimumSizeHint().width() <= 640);
        QVERIFY(t.janela->minimumSizeHint().height() <= 520);
        QVERIFY(t.janela->layout()->minimumSize().width() <= 640);
        t.janela->resize(640, 480);
        QTRY_COMPARE(t.janela->width(), 640);
        QTRY_COMPARE(t.janela->height(), 480);
        // Nothing wider than the window inside it: the panel ends inside the window.
        QTRY_VERIFY(!painel.detalhes().isVisible());
        QVERIFY(painel.detalhesVisiveis()); // folded, not forgotten
        QVERIFY(lista.isVisible());
        QTRY_VERIFY(lista.width() >= Painel::kListaMinima);
        QTRY_COMPARE(lista.width(), painel.width());
        QVERIFY(painel.mapTo(t.janela.get(), QPoint(painel.width(), 0)).x() <= 640);
        QVERIFY(painel.width() >= painel.minimumSizeHint().width());
        capturar(*t.janela, QStringLiteral("janela-640"));
        QTest::keyClick(t.janela.get(), Qt::Key_Left, Qt::AltModifier);
        QTRY_VERIFY(painel.conteudo() == Conteudo::grupos);
        capturar(*t.janela, QStringLiteral("janela-640-cartoes"));
        QTest::keyClick(t.janela.get(), Qt::Key_Right, Qt::AltModifier);
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);

        // Room again: the pane is back.
        t.janela->resize(1080, 700);
        QTRY_VERIFY(painel.detalhes().isVisible());

        // The sidebar narrows down to 160.
        auto* divisao = t.janela->findChild<QSplitter*>(QStringLiteral("divisao"));
        QWidget* alca = divisao->handle(1);
        const QPoint meio = alca->rect().center();
        QTest::mousePress(alca, Qt::LeftButton, {}, meio);
        QTest::mouseMove(alca, meio - QPoint(300, 0));
        QTest::mouseRelease(alca, Qt::LeftButton, {}, meio - QPoint(300, 0));
        QTRY_COMPARE(t.janela->barraLateral().width(), 160);
    }

    void tamanhoDivisaoEDetalhesVoltamNaProximaAbertura()
    {
        Downloads cenario;
        cenario.criar({.nome = "lembra.pdf", .origem = kExemplo});
        QSize tamanho;
        int larguraDaBarra = 0;
        {
            JanelaDeTeste t(cenario);
            QVERIFY(t.abrir());
            t.janela->resize(900, 600);
            QTRY_COMPARE(t.janela->size(), QSize(900, 600));
            auto* divisao = t.janela->findChild<QSplitter*>(QStringLiteral("divisao"));
            divisao->setSizes({200, divisao->width() - 200 - divisao->handleWidth()});
            QTRY_COMPARE(t.janela->barraLateral().width(), 200);
            QVERIFY(abrirGrupo(t, kGrupoExemplo));
            ListaDeArquivos& lista = listaDe(t);
            clicarNaLinha(lista, 0);
            QTest::keyClick(&lista, Qt::Key_Space);
            QVERIFY(!t.janela->painel().detalhesVisiveis());
            tamanho = t.janela->size();
            larguraDaBarra = t.janela->barraLateral().width();
            QTest::keyClick(t.janela.get(), Qt::Key_Q, Qt::ControlModifier);
            QTRY_VERIFY(!t.janela->isVisible());
        }
        QVERIFY(QFile::exists(JanelaPrincipal::arquivoDeConfiguracao()));
        QVERIFY(JanelaPrincipal::arquivoDeConfiguracao().startsWith(
            QString::fromLocal8Bit(qgetenv("XDG_CONFIG_HOME"))));

        std::unique_ptr<Modelo> modelo = cenario.modelo();
        QVERIFY(modelo);
        JanelaPrincipal outra(*modelo);
        outra.show();
        QVERIFY(QTest::qWaitForWindowExposed(&outra));
        QCOMPARE(outra.size(), tamanho);
        QTRY_COMPARE(outra.barraLateral().width(), larguraDaBarra);
        QVERIFY(!outra.painel().detalhesVisiveis());
        QFile::remove(JanelaPrincipal::arquivoDeConfiguracao());
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::TamanhoDaJanelaTest;
TARRAFA_REGISTRAR_TESTE(TamanhoDaJanelaTest)

#include "TamanhoDaJanelaTest.moc"
