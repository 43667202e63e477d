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

const std::string kExemplo = "https://arquivos.exemplo.com.br/pagina";
const std::string kOutro = "https://downloads.outro.org/pagina";
const Destino kGrupoExemplo = Destino::grupo("host:arquivos.exemplo.com.br");
const Destino kGrupoOutro = Destino::grupo("host:downloads.outro.org");

QString textoDe(const QWidget& raiz, const char* nome)
{
    const auto* rotulo = raiz.findChild<QLabel*>(QString::fromLatin1(nome));
    return rotulo ? rotulo->text() : QStringLiteral("<sem %1>").arg(QString::fromLatin1(nome));
}

bool visivel(const QWidget& raiz, const char* nome)
{
    const auto* widget = raiz.findChild<QWidget*>(QString::fromLatin1(nome));
    return widget && widget->isVisible();
}

std::set<std::string> ids(std::initializer_list<std::string> caminhos)
{
    return std::set<std::string>(caminhos);
}

bool naLixeira(const std::string& nome)
{
    const std::vector<std::string> nomes = Downloads::naLixeira();
    return std::find(nomes.begin(), nomes.end(), nome) != nomes.end();
}

std::string lerTudo(const std::string& caminho)
{
    std::ifstream entrada(caminho, std::ios::binary);
    return {std::istreambuf_iterator<char>(entrada), std::istreambuf_iterator<char>()};
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

using tarrafa::app::teste::PainelTest;
TARRAFA_REGISTRAR_TESTE(PainelTest)

#include "PainelTest.moc"
