// SPDX-License-Identifier: GPL-3.0-or-later
// The panel: title and subtitle, the content chosen for each destination and state, the
// summary strip, the progress indicator, the selection and the Trash confirmation.
#include "Ajudantes.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/BarraDeAcoes.hpp"
#include "TarrafaApp/Painel/Baixando.hpp"
#include "TarrafaApp/Painel/ConfirmacaoLixeira.hpp"
#include "TarrafaApp/Painel/ConteudoIndisponivel.hpp"
#include "TarrafaApp/Painel/Detalhes.hpp"
#include "TarrafaApp/Painel/FaixaResumo.hpp"
#include "TarrafaApp/Painel/IndicadorDeProgresso.hpp"
#include "TarrafaApp/Painel/Painel.hpp"
#include "TarrafaApp/Painel/AvisoDeDesfazer.hpp"
#include "TarrafaApp/Painel/Recado.hpp"
#include "TarrafaCore/Lixeira.hpp"
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QContextMenuEvent>
#include <QApplication>
#include <QPushButton>
#include <QTest>

#include <fstream>
#include <future>
#include <iterator>

#include <algorithm>
#include <filesystem>

namespace tarrafa::app::teste {

namespace {


QString textoDe(const QWidget& raiz, const char* nome)
{
    const auto* rotulo = raiz.findChild<QLabel*>(QString::fromLatin1(nome));
    return rotulo ? rotulo->text() : QStringLiteral("<sem %1>").arg(QString::fromLatin1(nome));
}





} // namespace

class PainelTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void subtituloDizQuantosItensOuOQueEODiagnostico()
    {
        Downloads cenario;
        cenario.criar({.nome = "so-um.pdf", .origem = kOutro});
        for (int i = 0; i < 12; ++i) {
            cenario.criar({.nome = "exemplo-" + std::to_string(i) + ".pdf", .origem = kExemplo});
        }
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        BarraLateral& barra = t.janela->barraLateral();

        QTRY_COMPARE(painel.subtitulo(), QStringLiteral("13 itens"));
        QCOMPARE(textoDe(painel, "tituloDoPainel"), QStringLiteral("Caixa de entrada"));
        QCOMPARE(textoDe(painel, "subtituloDoPainel"), QStringLiteral("13 itens"));
        QCOMPARE(t.janela->windowTitle(), QStringLiteral("Caixa de entrada"));

        QVERIFY(clicarLinha(barra, kGrupoOutro));
        QTRY_COMPARE(textoDe(painel, "subtituloDoPainel"), QStringLiteral("1 item"));
        QCOMPARE(textoDe(painel, "tituloDoPainel"), QStringLiteral("downloads.outro.org"));
        QCOMPARE(t.janela->windowTitle(), QStringLiteral("downloads.outro.org"));

        QVERIFY(clicarLinha(barra, Destino::adiados()));
        QTRY_COMPARE(textoDe(painel, "subtituloDoPainel"), QStringLiteral("0 itens"));
        QCOMPARE(t.janela->windowTitle(), QStringLiteral("Adiados"));

        QVERIFY(clicarLinha(barra, Destino::raioX()));
        QTRY_COMPARE(textoDe(painel, "subtituloDoPainel"), QStringLiteral("diagnóstico da pasta"));
        QCOMPARE(t.janela->windowTitle(), QStringLiteral("Raio-X"));
        // Whatever the search leaves: the diagnostics are about the whole folder.
        QTest::keyClicks(&t.janela->busca(), QStringLiteral("so-um"));
        QTRY_COMPARE(t.modelo->busca(), QStringLiteral("so-um"));
        QCoreApplication::sendPostedEvents();
        QCOMPARE(painel.subtitulo(), QStringLiteral("diagnóstico da pasta"));
        QVERIFY(visivel(painel, "raioXView"));
    }

    void tituloLongoEncurtadoNoFimSemCortarLetras()
    {
        Downloads cenario;
        const std::string host = "um-servidor-de-arquivos-com-um-nome-comprido-demais-para-caber.exemplo.com.br";
        cenario.criar({.nome = "a.pdf", .origem = "https://" + host + "/a.pdf"});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        t.janela->resize(t.janela->minimumSizeHint());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::grupo("host:" + host)));
        QTRY_COMPARE(painel.titulo(), QString::fromStdString(host));
        QCOMPARE(t.janela->windowTitle(), QString::fromStdString(host));
        const auto* rotulo = painel.findChild<QLabel*>(QStringLiteral("tituloDoPainel"));
        QVERIFY(rotulo->text().endsWith(QChar(0x2026)));
        QVERIFY(rotulo->fontMetrics().horizontalAdvance(rotulo->text()) <= rotulo->contentsRect().width());
        QCOMPARE(rotulo->toolTip(), QString::fromStdString(host));
    }

    void entradaComBuscaMostraAcoesEArquivosOuNadaAqui()
    {
        Downloads cenario;
        cenario.criar({.nome = "contrato.pdf", .origem = kExemplo});
        cenario.criar({.nome = "foto.jpg", .origem = kOutro});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QTRY_VERIFY(visivel(painel, "listaDeGrupos"));
        QVERIFY(!visivel(painel, "listaDeArquivos"));

        QTest::keyClicks(&t.janela->busca(), QStringLiteral("CONTRATO"));
        QTRY_VERIFY(visivel(painel, "listaDeArquivos"));
        QVERIFY(painel.findChild<BarraDeAcoes*>()->isVisible());
        QVERIFY(visivel(painel, "divisorDosArquivos"));
        QVERIFY(!visivel(painel, "listaDeGrupos"));
        QCOMPARE(painel.subtitulo(), QStringLiteral("1 item"));

        QTest::keyClicks(&t.janela->busca(), QStringLiteral("-nada"));
        QTRY_VERIFY(visivel(painel, "nadaAqui"));
        auto* nada = painel.findChild<ConteudoIndisponivel*>(QStringLiteral("nadaAqui"));
        // A search that finds nothing says so, about the text typed, and offers the way back.
        QCOMPARE(nada->titulo(), QStringLiteral("Nenhum resultado"));
        QCOMPARE(nada->descricao(), QStringLiteral("Nenhum arquivo aqui tem “CONTRATO-nada” no nome."));
        QVERIFY(!visivel(painel, "listaDeGrupos"));
        QVERIFY(!visivel(painel, "listaDeArquivos"));
        QVERIFY(nada->acao().isVisible());
        QCOMPARE(nada->acao().text(), QStringLiteral("Limpar busca"));
        QTest::mouseClick(&nada->acao(), Qt::LeftButton);
        QCOMPARE(t.janela->busca().text(), QString());
        QTRY_VERIFY(visivel(painel, "listaDeGrupos"));

        // An empty list without a search is only empty.
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::adiados()));
        QTRY_VERIFY(visivel(painel, "nadaAqui"));
        QCOMPARE(nada->titulo(), QStringLiteral("Nada aqui"));
        QCOMPARE(nada->descricao(), QStringLiteral("Nenhum arquivo neste estado."));
        QVERIFY(!nada->acao().isVisible());
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::entrada()));
        QTRY_VERIFY(visivel(painel, "listaDeGrupos"));

        // One blank is no search: the field looks empty, and the groups stay.
        t.janela->busca().clear();
        QTRY_VERIFY(visivel(painel, "listaDeGrupos"));
        QTest::keyClick(&t.janela->busca(), Qt::Key_Space);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QVERIFY(visivel(painel, "listaDeGrupos"));
        QVERIFY(!visivel(painel, "nadaAqui"));
    }

    void cadaAcaoMostraUmAvisoComDesfazerECtrlZDesfazTambem()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const std::string b = cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QVERIFY(!visivel(painel, "avisoDeDesfazer"));
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QTest::mouseClick(&painel.findChild<BarraDeAcoes*>()->adiar(), Qt::LeftButton);
        QVERIFY(t.modelo->decisao(a) == Decisao::adiado);

        QTRY_VERIFY(visivel(painel, "avisoDeDesfazer"));
        auto* aviso = painel.findChild<AvisoDeDesfazer*>(QStringLiteral("avisoDeDesfazer"));
        QCOMPARE(aviso->texto(), QStringLiteral("2 arquivos adiados"));
        QCOMPARE(aviso->desfazer().text(), QStringLiteral("Desfazer"));
        capturar(*t.janela, QStringLiteral("janela-aviso-de-desfazer"));
        QTest::mouseClick(&aviso->desfazer(), Qt::LeftButton);
        QVERIFY(t.modelo->decisao(a) == Decisao::novo);
        QVERIFY(t.modelo->decisao(b) == Decisao::novo);
        QVERIFY(!aviso->isVisible());

        // The menu's "Desfazer" (Ctrl+Z) undoes the last action too, and says which.
        t.modelo->decidir({b}, Decisao::ignorado);
        auto* desfazer = t.janela->findChild<QAction*>(QStringLiteral("acaoDesfazer"));
        QVERIFY(desfazer);
        QCOMPARE(desfazer->text(), QStringLiteral("&Desfazer 1 arquivo ignorado"));
        QTRY_VERIFY(aviso->isVisible());
        QTest::keyClick(t.janela.get(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(t.modelo->decisao(b) == Decisao::novo);
        QVERIFY(!aviso->isVisible()); // what it offered to undo is undone
        // And again, one level further back, the redo brings it forward.
        QTest::keyClick(t.janela.get(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(t.modelo->decisao(b) == Decisao::ignorado);
        QTest::keyClick(t.janela.get(), Qt::Key_Z, Qt::ControlModifier);
        QTest::keyClick(t.janela.get(), Qt::Key_Y, Qt::ControlModifier);
        QVERIFY(t.modelo->decisao(b) == Decisao::ignorado);
    }

    void devolverAdiadosEResolvidosACaixaDeEntrada()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const std::string b = cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        auto* barra = painel.findChild<BarraDeAcoes*>();
        t.modelo->decidir({a}, Decisao::adiado);
        t.modelo->decidir({b}, Decisao::resolvido);

        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QVERIFY(!barra->devolver().isVisible());

        for (const auto& [destino, id] : {std::pair {Destino::adiados(), a}, std::pair {Destino::resolvidos(), b}}) {
            QVERIFY(clicarLinha(t.janela->barraLateral(), destino));
            QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
            QTRY_VERIFY(barra->devolver().isVisible());
            QCOMPARE(barra->devolver().text(), QStringLiteral("Devolver à caixa de entrada"));
            QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
            QTest::mouseClick(&barra->devolver(), Qt::LeftButton);
            QVERIFY(t.modelo->decisao(id) == Decisao::novo);
            QTRY_COMPARE(painel.findChild<AvisoDeDesfazer*>()->texto(),
                QStringLiteral("1 arquivo devolvido à caixa de entrada"));
        }
        QCOMPARE(t.modelo->contagem(Destino::entrada()), std::optional<int>(2));
    }

    void umArquivoQueChegaNaoMexeNaRolagemNemNaSelecaoEUmQueSaiDeixaASelecao()
    {
        Downloads cenario;
        for (int i = 0; i < 80; ++i) {
            cenario.criar({.nome = "exemplo-" + std::to_string(i) + ".pdf", .origem = kExemplo,
                .baixadoHaDias = 10.0 + i});
        }
        JanelaDeTeste t(cenario);
        t.modelo->setAoVivo(true);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        auto* lista = painel.findChild<ListaDeArquivos*>();
        QTRY_COMPARE(lista->model()->rowCount(), 80);
        QTRY_VERIFY(lista->verticalScrollBar()->maximum() > 0);
        lista->verticalScrollBar()->setValue(lista->verticalScrollBar()->maximum() / 2);
        const auto idNoTopo = [lista] {
            const QModelIndex topo = lista->indexAt(QPoint(1, 1));
            return topo.isValid() ? lista->itens()[static_cast<std::size_t>(topo.row())].id() : std::string();
        };
        const std::string topo = idNoTopo();
        QVERIFY(!topo.empty());
        const QModelIndex linhaEscolhida = lista->indexAt(QPoint(1, lista->viewport()->height() / 2));
        QTest::mouseClick(lista->viewport(), Qt::LeftButton, {}, lista->visualRect(linhaEscolhida).center());
        const std::string escolhido = lista->itens()[static_cast<std::size_t>(linhaEscolhida.row())].id();
        auto* selecao = painel.findChild<Selecao*>();
        QCOMPARE(selecao->selecionados(), std::set<std::string>({escolhido}));

        // A new download of the same origin lands at the top of the group, out of sight.
        cenario.criar({.nome = "chegou-agora.pdf", .origem = kExemplo});
        QTRY_COMPARE(lista->model()->rowCount(), 81);
        QCOMPARE(lista->itens().front().nome(), std::string("chegou-agora.pdf"));
        QCOMPARE(idNoTopo(), topo);
        QCOMPARE(selecao->selecionados(), std::set<std::string>({escolhido}));
        QCOMPARE(t.varreduras->count(), 1); // no scan: the watcher told

        // The chosen file is deleted in the file manager: it leaves the list and the choice.
        std::filesystem::remove(escolhido);
        QTRY_COMPARE(lista->model()->rowCount(), 80);
        QTRY_VERIFY(selecao->selecionados().empty());
    }

    void downloadEmAndamentoApareceComoBaixandoNaCaixaDeEntrada()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        t.modelo->setAoVivo(true);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        auto* baixando = painel.findChild<Baixando*>();
        QVERIFY(baixando);
        QVERIFY(!baixando->isVisible());

        cenario.criar({.nome = "filme.mp4.crdownload", .tamanho = 5'000'000});
        QTRY_VERIFY(baixando->isVisible());
        // The name it will have, its type's icon and what has arrived, written as sizes are.
        QTRY_COMPARE(baixando->nomes(), QStringList {QStringLiteral("filme.mp4")});
        QCOMPARE(baixando->findChild<QLabel*>(QStringLiteral("estadoBaixando"))->text(), QStringLiteral("Baixando…"));
        QCOMPARE(baixando->findChild<QLabel*>(QStringLiteral("tamanhoBaixando"))->text(), QStringLiteral("5 MB"));
        const auto* icone = baixando->findChild<QLabel*>(QStringLiteral("iconeBaixando"));
        QVERIFY(icone && icone->isVisible() && !icone->pixmap().isNull());
        // Not a file of the inbox yet: not counted, not listed, nothing to choose.
        QCOMPARE(t.modelo->contagem(Destino::entrada()), std::optional<int>(1));
        QCOMPARE(t.modelo->raioX()->total(), 1);
        capturar(*t.janela, QStringLiteral("janela-baixando"));

        // Elsewhere it is not in the way.
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::adiados()));
        QTRY_VERIFY(!baixando->isVisible());
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::entrada()));
        QTRY_VERIFY(baixando->isVisible());

        std::filesystem::rename(cenario.pasta() + "/filme.mp4.crdownload", cenario.pasta() + "/filme.mp4");
        QTRY_VERIFY(!baixando->isVisible());
        QTRY_COMPARE(t.modelo->contagem(Destino::entrada()), std::optional<int>(2));

        // Firefox's empty placeholder and its ".part" are one row, under the final name, with
        // the partial file's size.
        cenario.criar({.nome = "video.webm", .tamanho = 0});
        cenario.criar({.nome = "video.webm.part", .tamanho = 2'500'000});
        QTRY_VERIFY(baixando->isVisible());
        QTRY_COMPARE(baixando->nomes(), QStringList {QStringLiteral("video.webm")});
        QCOMPARE(baixando->findChildren<QLabel*>(QStringLiteral("tamanhoBaixando")).size(), 1);
        QCOMPARE(baixando->findChild<QLabel*>(QStringLiteral("tamanhoBaixando"))->text(), QStringLiteral("2,5 MB"));
        capturar(*t.janela, QStringLiteral("janela-baixando-firefox"));
    }

    void erroVenceODiagnostico()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::raioX()));
        QTRY_VERIFY(visivel(painel, "raioXView"));

        std::filesystem::remove_all(cenario.pasta());
        QTest::keyClick(t.janela.get(), Qt::Key_R, Qt::ControlModifier);
        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(t.modelo->erro().has_value());
        QTRY_VERIFY(visivel(painel, "erro"));
        QVERIFY(!visivel(painel, "raioXView"));
        const auto* erro = painel.findChild<ConteudoIndisponivel*>(QStringLiteral("erro"));
        QCOMPARE(erro->titulo(), QStringLiteral("Não deu para ler a pasta"));
        // Why, and which folder: the person can look for it.
        QCOMPARE(erro->descricao(), *t.modelo->erro() + QStringLiteral("\n\n") + QString::fromStdString(cenario.pasta()));
        QVERIFY(erro->descricao().startsWith(QStringLiteral("Não consegui ler a pasta Downloads: ")));
        // Nothing of the texts is cut off: each label is as tall as its wrapped text needs.
        for (const char* nome : {"titulo", "descricao"}) {
            const auto* rotulo = erro->findChild<QLabel*>(QString::fromLatin1(nome));
            QVERIFY(rotulo->height() >= rotulo->heightForWidth(rotulo->width()));
            QVERIFY(rotulo->width() >= std::min(rotulo->sizeHint().width(), 420));
        }
        // The title stays the destination's.
        QCOMPARE(painel.subtitulo(), QStringLiteral("diagnóstico da pasta"));
        QCOMPARE(t.janela->windowTitle(), QStringLiteral("Raio-X"));

        // Once the folder is back, "Tentar de novo" reads it.
        QVERIFY(erro->acao().isVisible());
        QCOMPARE(erro->acao().text(), QStringLiteral("Tentar de novo"));
        std::filesystem::create_directories(cenario.pasta());
        QTest::mouseClick(&erro->acao(), Qt::LeftButton);
        QVERIFY(t.esperarVarreduras(3));
        QVERIFY(!t.modelo->erro().has_value());
        QTRY_VERIFY(visivel(painel, "raioXView"));
    }

    void enquantoAPrimeiraLeituraNaoChegaOSubtituloDizLendoEmVezDeZero()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        auto modelo = cenario.modeloNovo();
        // The first scan is held until the test lets it go.
        std::promise<void> soltar;
        std::shared_future<void> solta = soltar.get_future().share();
        modelo->setVarredor([solta](const std::string& pasta, const std::stop_token& parar) {
            solta.wait();
            return Modelo::varrerEmSegundoPlano(pasta, parar);
        });
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        Painel painel(*modelo);
        QTRY_VERIFY(modelo->carregando());
        painel.atualizar();
        QCOMPARE(painel.subtitulo(), QStringLiteral("Lendo a pasta…"));
        QCOMPARE(modelo->contagem(Destino::entrada()), std::optional<int>());
        soltar.set_value();
        QVERIFY(fins.wait(20000));
        painel.atualizar();
        QCOMPARE(painel.subtitulo(), QStringLiteral("1 item"));
        QCOMPARE(modelo->contagem(Destino::entrada()), std::optional<int>(1));
    }

    void espacoMostraEEscondeOsDetalhesQueSeguemOArquivoEValemParaAJanela()
    {
        Downloads cenario;
        cenario.criar({.nome = "relatorio-1.pdf", .origem = kExemplo});
        cenario.criar({.nome = "relatorio-2.pdf", .origem = kExemplo});
        cenario.criar({.nome = "b.pdf", .origem = kOutro});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        auto* lista = painel.findChild<ListaDeArquivos*>();
        auto& botao = painel.findChild<BarraDeAcoes*>()->detalhes();
        Detalhes& detalhes = painel.detalhes();

        // Shown from the start, describing the file clicked.
        QVERIFY(painel.detalhesVisiveis());
        QVERIFY(detalhes.isVisible());
        QVERIFY(botao.isChecked());
        const QModelIndex segunda = lista->model()->index(1, 0);
        QTest::mouseClick(lista->viewport(), Qt::LeftButton, {}, lista->visualRect(segunda).center());
        QVERIFY(detalhes.item());
        QCOMPARE(detalhes.item()->id(), lista->itens()[1].id());

        // Space on the list hides it and shows it again; the button follows.
        lista->setFocus();
        QTest::keyClick(lista, Qt::Key_Space);
        QVERIFY(!painel.detalhesVisiveis());
        QVERIFY(!detalhes.isVisible());
        QVERIFY(!botao.isChecked());
        QVERIFY(!detalhes.item()); // hidden, it describes nothing
        QCOMPARE(painel.selecao().selecionados().size(), std::size_t(1)); // Space chose nothing
        QTest::keyClick(lista, Qt::Key_Space);
        QVERIFY(painel.detalhesVisiveis());
        QVERIFY(detalhes.isVisible());
        QCOMPARE(detalhes.item()->id(), lista->itens()[1].id());

        // The button does the same, and the choice holds in another group.
        QTest::mouseClick(&botao, Qt::LeftButton);
        QVERIFY(!painel.detalhesVisiveis());
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoOutro));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QVERIFY(!detalhes.isVisible());
        QTest::mouseClick(&botao, Qt::LeftButton);
        QVERIFY(detalhes.isVisible());
        // Typing a space in the search is a space, not the pane.
        t.janela->busca().setFocus();
        QTest::keyClicks(&t.janela->busca(), QStringLiteral("b "));
        QCOMPARE(t.janela->busca().text(), QStringLiteral("b "));
        QVERIFY(painel.detalhesVisiveis());
    }

    void trocarDeGrupoLimpaASelecaoEBuscarEstreitaAoQueSeVe()
    {
        Downloads cenario;
        const std::string a1 = cenario.criar({.nome = "relatorio-1.pdf", .origem = kExemplo});
        const std::string a2 = cenario.criar({.nome = "relatorio-2.pdf", .origem = kExemplo});
        cenario.criar({.nome = "b.pdf", .origem = kOutro});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        BarraLateral& barra = t.janela->barraLateral();

        QVERIFY(clicarLinha(barra, kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(painel.selecao().selecionados(), ids({a1, a2}));

        // A search narrows the choice to what it leaves on screen; a rescan keeps it.
        QTest::keyClicks(&t.janela->busca(), QStringLiteral("relatorio-1"));
        QTRY_COMPARE(painel.subtitulo(), QStringLiteral("1 item"));
        QCOMPARE(painel.selecao().selecionados(), ids({a1}));
        QTest::keyClick(t.janela.get(), Qt::Key_R, Qt::ControlModifier);
        QVERIFY(t.esperarVarreduras(2));
        QCOMPARE(painel.selecao().selecionados(), ids({a1}));
        // Postponing now postpones only what is seen.
        QTest::mouseClick(&painel.findChild<BarraDeAcoes*>()->adiar(), Qt::LeftButton);
        QVERIFY(t.modelo->decisao(a1) == Decisao::adiado);
        QVERIFY(t.modelo->decisao(a2) == Decisao::novo);

        QVERIFY(clicarLinha(barra, kGrupoOutro));
        QVERIFY(painel.selecao().selecionados().empty());

        // Clicking the row already chosen is no change of destination.
        t.janela->busca().clear();
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(painel.selecao().selecionados().size(), std::size_t(1));
        QVERIFY(clicarLinha(barra, kGrupoOutro));
        QCOMPARE(painel.selecao().selecionados().size(), std::size_t(1));
    }

    void semFaixaAntesDaPrimeiraVarredura()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        Painel& painel = t.janela->painel();
        t.janela->show();
        QVERIFY(QTest::qWaitForWindowExposed(t.janela.get()));
        QVERIFY(!t.modelo->raioX().has_value());
        QVERIFY(!visivel(painel, "faixaResumo"));
        QVERIFY(painel.findChild<FaixaResumo*>()->isHidden());
        QVERIFY(visivel(painel, "divisor"));
        QVERIFY(visivel(painel, "conteudo"));

        QVERIFY(t.esperarVarreduras(1));
        QVERIFY(visivel(painel, "faixaResumo"));
        // Header, strip, divider, content: top to bottom.
        const auto y
            = [&](const char* nome) { return painel.findChild<QWidget*>(QString::fromLatin1(nome))->y(); };
        QVERIFY(y("cabecalho") < y("faixaResumo"));
        QVERIFY(y("faixaResumo") < y("divisor"));
        QVERIFY(y("divisor") < y("conteudo"));
    }

    void indicadorGiraNoCentroEnquantoVarre()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        auto* indicador = painel.findChild<IndicadorDeProgresso*>();
        QVERIFY(indicador);
        QVERIFY(!indicador->isVisible());

        QTest::keyClick(t.janela.get(), Qt::Key_R, Qt::ControlModifier);
        QVERIFY(t.modelo->carregando());
        QCoreApplication::sendPostedEvents();
        QVERIFY(indicador->isVisible());
        QCOMPARE(indicador->geometry().center(), painel.rect().center());
        // The previous content stays under it.
        QVERIFY(visivel(painel, "listaDeGrupos"));

        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(!indicador->isVisible());
    }

};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::PainelTest;
TARRAFA_REGISTRAR_TESTE(PainelTest)

#include "PainelTest.moc"
