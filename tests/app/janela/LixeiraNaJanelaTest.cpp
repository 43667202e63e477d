// SPDX-License-Identifier: GPL-3.0-or-later
// The window and the Trash: the question asked before a move, what each list offers, Resolvidos
// with the files in the Trash, restoring them, and refusals that stay on screen.
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





bool naLixeira(const std::string& nome)
{
    const std::vector<std::string> nomes = Downloads::naLixeira();
    return std::find(nomes.begin(), nomes.end(), nome) != nomes.end();
}


} // namespace

class LixeiraNaJanelaTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void recusaDaLixeiraFicaNaTelaDepoisDaRevarreduraAteSerFechada()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(!visivel(painel, "recado"));

        // Rewritten after the scan: not what the person would confirm.
        std::vector<ItemTriado> itens = t.modelo->itens(Destino::entrada());
        QCOMPARE(itens.size(), std::size_t(2));
        std::erase_if(itens, [](const ItemTriado& item) { return item.nome() != "a.pdf"; });
        std::ofstream(cenario.pasta() + "/a.pdf", std::ios::binary | std::ios::app) << "mais conteudo";
        t.modelo->moverParaLixeira(itens);
        // The rescan the move asks for comes and goes; the message stays on screen.
        QVERIFY(t.esperarVarreduras(2));
        QTRY_VERIFY(visivel(painel, "recado"));
        auto* recado = painel.findChild<Recado*>(QStringLiteral("recado"));
        QCOMPARE(recado->texto(),
            QStringLiteral("Não consegui mover a.pdf para a Lixeira: o arquivo mudou desde a última varredura."));
        QVERIFY(visivel(painel, "listaDeGrupos")); // the inbox is still there beneath it
        QVERIFY(!visivel(painel, "erro"));
        capturar(*t.janela, QStringLiteral("janela-recado-da-lixeira"));

        QTest::mouseClick(&recado->fechar(), Qt::LeftButton);
        QVERIFY(!t.modelo->mensagem().has_value());
        QTRY_VERIFY(!visivel(painel, "recado"));
    }

    void confirmacaoNomeiaAteCincoArquivosEDizQuantosMais()
    {
        QStringList nomes;
        for (int i = 1; i <= 7; ++i) {
            nomes.append(QStringLiteral("arquivo-%1.pdf").arg(i));
        }
        ConfirmacaoLixeira sete(nomes);
        QCOMPARE(sete.titulo(), QStringLiteral("Mover 7 para a Lixeira?"));
        QCOMPARE(sete.arquivos(), QStringLiteral("arquivo-1.pdf\narquivo-2.pdf\narquivo-3.pdf\narquivo-4.pdf\n"
                                                 "arquivo-5.pdf\ne mais 2"));
        ConfirmacaoLixeira cinco(nomes.mid(0, 5));
        QCOMPARE(cinco.arquivos().count(QLatin1Char('\n')), 4);
        QVERIFY(!cinco.arquivos().contains(QStringLiteral("e mais")));
        ConfirmacaoLixeira um({QStringLiteral("relatório.pdf")});
        QCOMPARE(um.titulo(), QStringLiteral("Mover 1 arquivo para a Lixeira?"));
        QCOMPARE(um.arquivos(), QStringLiteral("relatório.pdf"));
    }

    void cadaListaOfereceSoAsAcoesQueFazemSentidoEABarraCabeNaLarguraMinima()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const std::string b = cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        const std::string c = cenario.criar({.nome = "c.pdf", .origem = kExemplo});
        const std::string d = cenario.criar({.nome = "d.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        // The narrowest the window goes: the bar wraps rather than clip a label.
        t.janela->resize(t.janela->minimumSize().width(), 700);
        Painel& painel = t.janela->painel();
        auto* barra = painel.findChild<BarraDeAcoes*>();
        t.modelo->decidir({b}, Decisao::adiado);
        t.modelo->decidir({c}, Decisao::resolvido);
        const std::vector<ItemTriado> todos = t.modelo->itensTodos();
        t.modelo->moverParaLixeira(
            {*std::find_if(todos.begin(), todos.end(), [&](const ItemTriado& item) { return item.id() == d; })});
        QVERIFY(t.esperarVarreduras(2));

        const auto visiveis = [&] {
            std::vector<std::string> nomes;
            for (QPushButton* botao : {&barra->restaurar(), &barra->devolver(), &barra->adiar(), &barra->resolver(),
                     &barra->ignorar(), &barra->moverParaLixeira()}) {
                if (botao->isVisible()) {
                    nomes.push_back(botao->objectName().toStdString());
                }
            }
            return nomes;
        };
        std::optional<int> larguraDaBarraLateral;
        const std::vector<std::pair<Destino, std::vector<std::string>>> esperado {
            {kGrupoExemplo, {"adiar", "resolver", "ignorar", "moverParaLixeira"}},
            {Destino::adiados(), {"devolver", "resolver", "ignorar", "moverParaLixeira"}},
            {Destino::resolvidos(), {"restaurar", "devolver", "moverParaLixeira"}},
        };
        for (const auto& [destino, acoes] : esperado) {
            QVERIFY(clicarLinha(t.janela->barraLateral(), destino));
            QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
            QTRY_COMPARE(visiveis(), acoes);
            QCoreApplication::processEvents();
            // Every button whole inside the bar, at least as wide as its label asks.
            const QRect areaDaBarra = barra->rect();
            for (QPushButton* botao : barra->findChildren<QPushButton*>()) {
                if (!botao->isVisible()) {
                    continue;
                }
                const QRect lugar(botao->mapTo(barra, QPoint(0, 0)), botao->size());
                QVERIFY2(areaDaBarra.contains(lugar), qPrintable(botao->objectName()));
                QVERIFY2(botao->width() >= botao->sizeHint().width(), qPrintable(botao->objectName()));
            }
            // And the sidebar keeps its width from one list to the next.
            const int largura = t.janela->barraLateral().width();
            QCOMPARE(larguraDaBarraLateral.value_or(largura), largura);
            larguraDaBarraLateral = largura;
            capturar(*t.janela, QStringLiteral("barra-de-acoes-estreita-") + t.modelo->titulo(destino));
        }

        // "Ignorar" is on the bar too.
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(barra->ignorar().isVisible());
        painel.selecao().setSelecionados({a});
        QTest::mouseClick(&barra->ignorar(), Qt::LeftButton);
        QVERIFY(t.modelo->decisao(a) == Decisao::ignorado);
        QTRY_COMPARE(painel.findChild<AvisoDeDesfazer*>()->texto(), QStringLiteral("1 arquivo ignorado"));
    }

    void resolvidosListaOQueFoiParaALixeiraERestaurarTrazDeVolta()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const std::string b = cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        auto* barra = painel.findChild<BarraDeAcoes*>();
        const std::string conteudoDeA = lerTudo(a);
        std::vector<ItemTriado> itens = t.modelo->itens(Destino::entrada());
        t.modelo->moverParaLixeira(itens);
        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(!std::filesystem::exists(a));

        // Gone from the folder, still in "Resolvidos", marked as in the Trash.
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::resolvidos()));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QCOMPARE(t.modelo->itens(Destino::resolvidos()).size(), std::size_t(2));
        auto* lista = painel.findChild<ListaDeArquivos*>();
        QCOMPARE(lista->model()->index(0, 0).data(ModeloDeArquivos::PapelEstado).toString(), QStringLiteral("Na Lixeira"));
        QVERIFY(barra->restaurar().isVisible());
        QVERIFY(!barra->restaurar().isEnabled()); // nothing chosen yet
        capturar(*t.janela, QStringLiteral("janela-resolvidos-na-lixeira"));

        // b.pdf's name was taken meanwhile: a.pdf comes back, b.pdf stays and the window says why.
        std::ofstream(b, std::ios::binary) << "outro b";
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QVERIFY(barra->restaurar().isEnabled());
        QTest::mouseClick(&barra->restaurar(), Qt::LeftButton);
        QCOMPARE(lerTudo(a), conteudoDeA);
        QCOMPARE(lerTudo(b), std::string("outro b"));
        QVERIFY(!Lixeira::procurar(a).has_value()); // its record is gone from the Trash
        QVERIFY(Lixeira::procurar(b).has_value());
        QCOMPARE(t.modelo->mensagem(),
            std::optional<QString>(QStringLiteral(
                "Não consegui restaurar b.pdf: já existe um arquivo com esse nome na pasta. Nada foi substituído. "
                "Ele continua na Lixeira: renomeie o arquivo novo e use Restaurar em Resolvidos.")));
        QVERIFY(t.modelo->decisao(a) == Decisao::novo);
        QVERIFY(t.modelo->foiParaALixeira(b));
        QVERIFY(!t.modelo->foiParaALixeira(a));
        // The one that stayed is still listed, to be restored once its name is free.
        QCOMPARE(t.modelo->itens(Destino::resolvidos()).size(), std::size_t(1));
        QCOMPARE(t.modelo->itens(Destino::resolvidos()).front().nome(), std::string("b.pdf"));
        QVERIFY(t.esperarVarreduras(3));
        QTRY_COMPARE(t.modelo->contagem(Destino::entrada()), std::optional<int>(2));
    }

    void linhaNaLixeiraSoPodeSerRestaurada()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const std::string b = cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        auto* barra = painel.findChild<BarraDeAcoes*>();
        t.modelo->decidir({b}, Decisao::resolvido);
        t.modelo->moverParaLixeira({t.modelo->itens(Destino::entrada()).front()});
        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(t.modelo->foiParaALixeira(a));
        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::resolvidos()));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        auto* lista = painel.findChild<ListaDeArquivos*>();
        QTRY_COMPARE(lista->model()->rowCount(), 2);
        // Its row names where it lies in the Trash.
        int linhaDeA = -1;
        std::string naLixeiraA;
        for (int linha = 0; linha < 2; ++linha) {
            const ItemTriado& item = lista->itens()[static_cast<std::size_t>(linha)];
            if (item.nome() == "a.pdf" && t.modelo->estaNaLixeira(item.id())) {
                linhaDeA = linha;
                naLixeiraA = item.id();
            }
        }
        QVERIFY(linhaDeA >= 0);

        // Only the file in the Trash is chosen: nothing but "Restaurar" can act on it.
        const QPoint ponto = lista->visualRect(lista->model()->index(linhaDeA, 0)).center();
        QTest::mouseClick(lista->viewport(), Qt::LeftButton, {}, ponto);
        QTRY_COMPARE(painel.findChild<Selecao*>()->selecionados(), std::set<std::string>({naLixeiraA}));
        QVERIFY(barra->restaurar().isEnabled());
        for (QPushButton* botao : {&barra->adiar(), &barra->resolver(), &barra->devolver(), &barra->moverParaLixeira()}) {
            QVERIFY2(!botao->isEnabled(), qPrintable(botao->objectName()));
        }
        QTest::keyClick(lista, Qt::Key_Delete);
        QVERIFY(!painel.confirmacao());
        // Asked straight, the model refuses too: a decision on it would describe nothing.
        t.modelo->decidir({naLixeiraA}, Decisao::adiado);
        QVERIFY(t.modelo->decisao(naLixeiraA) != Decisao::adiado);

        QTest::mouseClick(lista->viewport(), Qt::RightButton, {}, ponto);
        QContextMenuEvent pedido(QContextMenuEvent::Mouse, ponto, lista->viewport()->mapToGlobal(ponto));
        QApplication::sendEvent(lista->viewport(), &pedido);
        QTRY_VERIFY(qobject_cast<QMenu*>(QApplication::activePopupWidget()));
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QCOMPARE(menu->actions().size(), 1);
        QCOMPARE(menu->actions().front()->text(), QStringLiteral("&Restaurar"));
        menu->actions().front()->trigger();
        menu->close();
        QTRY_VERIFY(std::filesystem::exists(a));
        QVERIFY(!t.modelo->foiParaALixeira(a));

        // With both chosen, the decision reaches the one still in the folder.
        QVERIFY(t.esperarVarreduras(3));
        t.modelo->decidir({a}, Decisao::resolvido);
        t.modelo->moverParaLixeira({t.modelo->itens(Destino::resolvidos()).front()});
        QVERIFY(t.esperarVarreduras(4));
        QTest::mouseClick(&barra->alternarSelecao(), Qt::LeftButton);
        QTRY_COMPARE(painel.findChild<Selecao*>()->selecionados().size(), std::size_t(2));
        const std::string naPasta = t.modelo->foiParaALixeira(a) ? b : a;
        std::string naLixeira;
        for (const std::string& id : painel.findChild<Selecao*>()->selecionados()) {
            if (t.modelo->estaNaLixeira(id)) {
                naLixeira = id;
            }
        }
        QVERIFY(!naLixeira.empty());
        const auto registradas = t.modelo->decisoes();
        QVERIFY(barra->devolver().isEnabled());
        QTest::mouseClick(&barra->devolver(), Qt::LeftButton);
        QVERIFY(t.modelo->estaNaLixeira(naLixeira));
        QVERIFY(t.modelo->decisao(naPasta) == Decisao::novo);
        QCOMPARE(t.modelo->decisoes().contains(naLixeira), registradas.contains(naLixeira));
    }

    void confirmarALixeiraDeUmArquivoQueSaiuDaPastaDizQueEleNaoFoi()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const std::string b = cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        painel.selecao().setSelecionados({a, b});
        painel.pedirParaMoverSelecionados();
        QTRY_VERIFY(painel.confirmacao());

        // While the question is open, b.pdf leaves the folder and a scan sees it gone.
        std::filesystem::rename(b, cenario.pasta() + "/../b-movido.pdf");
        t.modelo->varrer();
        QVERIFY(t.esperarVarreduras(2));
        QTest::mouseClick(painel.confirmacao()->mover(), Qt::LeftButton);
        QVERIFY(!std::filesystem::exists(a));
        QCOMPARE(t.modelo->mensagem(),
            std::optional<QString>(QStringLiteral("Não movi b.pdf para a Lixeira: ele saiu da pasta antes da confirmação.")));
    }

    void confirmarDepoisDeUmaVarreduraMoveSoOsQueContinuamNaLista()
    {
        Downloads cenario;
        const std::string fica = cenario.criar({.nome = "lixeira-fica.pdf", .origem = kExemplo});
        const std::string some = cenario.criar({.nome = "lixeira-some.pdf", .origem = kExemplo});
        const std::string vai = cenario.criar({.nome = "lixeira-vai.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(painel.selecao().selecionados().size(), std::size_t(3));

        // Another program takes one file away; a rescan drops it from the list, not from
        // the selection.
        std::filesystem::rename(some, cenario.pasta() + "/../fora-da-pasta.pdf");
        QTest::keyClick(t.janela.get(), Qt::Key_R, Qt::ControlModifier);
        QVERIFY(t.esperarVarreduras(2));
        QTRY_COMPARE(painel.subtitulo(), QStringLiteral("2 itens"));
        QCOMPARE(painel.selecao().selecionados().size(), std::size_t(3));

        QTest::keyClick(t.janela.get(), Qt::Key_Delete);
        QTRY_VERIFY(painel.confirmacao());
        // Only what is listed is asked about, by name.
        QCOMPARE(painel.confirmacao()->titulo(), QStringLiteral("Mover 2 para a Lixeira?"));
        QStringList nomes = painel.confirmacao()->arquivos().split(QLatin1Char('\n'));
        nomes.sort();
        QCOMPARE(nomes, (QStringList {QStringLiteral("lixeira-fica.pdf"), QStringLiteral("lixeira-vai.pdf")}));
        QTest::mouseClick(painel.confirmacao()->mover(), Qt::LeftButton);
        // Marked resolved at once; the rescan that follows forgets them, gone from the folder.
        QVERIFY(t.modelo->decisao(fica) == Decisao::resolvido);
        QVERIFY(t.modelo->decisao(vai) == Decisao::resolvido);
        QVERIFY(t.modelo->decisao(some) == Decisao::novo);
        QVERIFY(t.esperarVarreduras(3));

        QVERIFY(!std::filesystem::exists(fica));
        QVERIFY(!std::filesystem::exists(vai));
        QVERIFY(naLixeira("lixeira-fica.pdf"));
        QVERIFY(naLixeira("lixeira-vai.pdf"));
        QVERIFY(!naLixeira("lixeira-some.pdf"));
        QVERIFY(painel.selecao().selecionados().empty());
        QVERIFY(!painel.selecao().confirmandoLixeira());
    }

    void dialogoDaLixeiraParaUmEParaTresArquivos()
    {
        Downloads cenario;
        std::vector<std::string> caminhos;
        for (const char* nome : {"dialogo-1.pdf", "dialogo-2.pdf", "dialogo-3.pdf"}) {
            caminhos.push_back(cenario.criar({.nome = nome, .origem = kExemplo}));
        }
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);

        // Nothing selected: the Delete key asks nothing.
        QTest::keyClick(t.janela.get(), Qt::Key_Delete);
        QVERIFY(!painel.confirmacao());

        painel.selecao().setSelecionados({caminhos[1]});
        QTest::keyClick(t.janela.get(), Qt::Key_Delete);
        QTRY_VERIFY(painel.confirmacao());
        ConfirmacaoLixeira* pergunta = painel.confirmacao();
        QVERIFY(QTest::qWaitForWindowExposed(pergunta));
        QVERIFY(painel.selecao().confirmandoLixeira());
        QCOMPARE(pergunta->titulo(), QStringLiteral("Mover 1 arquivo para a Lixeira?"));
        QCOMPARE(pergunta->windowTitle(), QStringLiteral("Mover 1 arquivo para a Lixeira?"));
        QCOMPARE(pergunta->mensagem(),
            QStringLiteral(
                "Os arquivos vão para a Lixeira do sistema e podem ser recuperados pelo gerenciador de "
                "arquivos. Nada é apagado de vez."));
        const QList<QPushButton*> botoes = pergunta->botoes();
        QCOMPARE(botoes.size(), 2);
        QCOMPARE(botoes[0]->text(), QStringLiteral("Cancelar"));
        QCOMPARE(botoes[1]->text(), QStringLiteral("Mover para a Lixeira"));
        QVERIFY(botoes[0]->x() + botoes[0]->width() <= botoes[1]->x());
        QCOMPARE(ConfirmacaoLixeira::papel(*botoes[0]), QDialogButtonBox::RejectRole);
        QCOMPARE(ConfirmacaoLixeira::papel(*botoes[1]), QDialogButtonBox::DestructiveRole);
        QVERIFY(botoes[1]->property("destrutivo").toBool());
        QCOMPARE(botoes[1]->palette().color(QPalette::ButtonText), aparencia::vermelho(pergunta->palette()));
        QVERIFY(botoes[0]->isDefault());
        QVERIFY(pergunta->isModal());

        // Cancelling keeps everything.
        QTest::mouseClick(botoes[0], Qt::LeftButton);
        QTRY_VERIFY(!painel.confirmacao());
        QVERIFY(!painel.selecao().confirmandoLixeira());
        QCOMPARE(painel.selecao().selecionados(), ids({caminhos[1]}));
        QVERIFY(std::filesystem::exists(caminhos[1]));

        // Three, through the bar's button this time; Escape is a cancel too.
        t.janela->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(t.janela.get()));
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(painel.selecao().selecionados().size(), std::size_t(3));
        auto* mover = painel.findChild<QAbstractButton*>(QStringLiteral("moverParaLixeira"));
        QVERIFY(mover);
        QTest::mouseClick(mover, Qt::LeftButton);
        QTRY_VERIFY(painel.confirmacao());
        QCOMPARE(painel.confirmacao()->titulo(), QStringLiteral("Mover 3 para a Lixeira?"));
        QVERIFY(QTest::qWaitForWindowExposed(painel.confirmacao()));
        QTest::keyClick(painel.confirmacao(), Qt::Key_Escape);
        QTRY_VERIFY(!painel.confirmacao());
        QVERIFY(!painel.selecao().confirmandoLixeira());
        QCOMPARE(painel.selecao().selecionados().size(), std::size_t(3));
        for (const std::string& caminho : caminhos) {
            QVERIFY(std::filesystem::exists(caminho));
        }
    }

    void respostaDadaPeloTesteDecideAProximaPergunta()
    {
        Downloads cenario;
        const std::string fica = cenario.criar({.nome = "resposta-fica.pdf", .origem = kExemplo});
        const std::string vai = cenario.criar({.nome = "resposta-vai.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QVERIFY(clicarLinha(t.janela->barraLateral(), kGrupoExemplo));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);

        painel.selecao().setSelecionados({fica});
        painel.responderProximaConfirmacao(Painel::Resposta::cancelar);
        QTest::keyClick(t.janela.get(), Qt::Key_Delete);
        QTRY_VERIFY(!painel.selecao().confirmandoLixeira());
        QVERIFY(!painel.confirmacao());
        QVERIFY(std::filesystem::exists(fica));
        QCOMPARE(painel.selecao().selecionados(), ids({fica}));

        painel.selecao().setSelecionados({vai});
        painel.responderProximaConfirmacao(Painel::Resposta::mover);
        QTest::keyClick(t.janela.get(), Qt::Key_Delete);
        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(!std::filesystem::exists(vai));
        QVERIFY(naLixeira("resposta-vai.pdf"));
        QVERIFY(std::filesystem::exists(fica));
        QVERIFY(painel.selecao().selecionados().empty());
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::LixeiraNaJanelaTest;
TARRAFA_REGISTRAR_TESTE(LixeiraNaJanelaTest)

#include "LixeiraNaJanelaTest.moc"
