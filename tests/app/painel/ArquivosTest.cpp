// SPDX-License-Identifier: GPL-3.0-or-later
// The file list and its action bar, driven with clicks and keys: selection in both
// directions, the bar's labels, counts and dimming, the per-row menu, opening a file.
#include "Bancada.hpp"
#include "Downloads.hpp"

#include "TarrafaApp/Painel/Revelar.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/BarraDeAcoes.hpp"
#include "TarrafaApp/Painel/DelegadoDeArquivos.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"
#include "TarrafaApp/Painel/SeloView.hpp"
#include "TarrafaCore/Formato.hpp"
#include "TarrafaCore/ListaDeRecentes.hpp"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <filesystem>

namespace tarrafa::app::teste {

namespace {




QMenu* menuAberto()
{
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

QAction* acao(QMenu& menu, const QString& texto)
{
    for (QAction* a : menu.actions()) {
        if (a->text() == texto) {
            return a;
        }
    }
    return nullptr;
}



} // namespace

class ArquivosTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void abrirUmArquivoQueNenhumAplicativoAbreDizIssoNaJanela()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        std::vector<QUrl> pedidos;
        bool abre = false;
        setAbridorDeArquivos([&](const QUrl& endereco) {
            pedidos.push_back(endereco);
            return abre;
        });
        const int linha = b.linhaDe("planta-baixa.dwg");
        b.clicar(linha);
        QTest::keyClick(b.lista, Qt::Key_Return);
        setAbridorDeArquivos({});
        QCOMPARE(pedidos.size(), std::size_t(1));
        QCOMPARE(pedidos.front(), QUrl(uriDoArquivo(b.id(linha))));
        QCOMPARE(modelo->mensagem(),
            std::optional<QString>(QStringLiteral(
                "Não consegui abrir planta-baixa.dwg: o sistema não tem um aplicativo que o abra.")));

        // Opened, nothing is said.
        modelo->dispensarMensagem();
        abre = true;
        setAbridorDeArquivos([&](const QUrl&) { return abre; });
        QTest::keyClick(b.lista, Qt::Key_Return);
        setAbridorDeArquivos({});
        QVERIFY(!modelo->mensagem());
    }

    void abrirUmArquivoPelaJanelaTiraONuncaAbertoNaHora()
    {
        Downloads downloads;
        // Downloaded days ago: a use now is the person's, not the browser opening it on arrival.
        downloads.criar({.nome = "edital.pdf", .origem = kOrigem, .baixadoHaDias = 3.0});
        downloads.criar({.nome = "anexo.pdf", .origem = kOrigem, .baixadoHaDias = 3.0});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->setAoVivo(true);
        modelo->varrer();
        QVERIFY(fins.wait(60000));
        const auto nuncaAberto = [&](const std::string& nome) {
            const std::vector<ItemTriado> itens = modelo->itens(kGrupo);
            const auto item = std::find_if(itens.begin(), itens.end(), [&](const ItemTriado& i) { return i.nome() == nome; });
            return item != itens.end()
                && std::ranges::any_of(item->selos(), [](const Selo& selo) { return selo.caso() == Selo::Caso::nuncaAberto; });
        };
        QVERIFY(nuncaAberto("edital.pdf"));
        QVERIFY(nuncaAberto("anexo.pdf"));
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());

        // An application that notes nothing in the desktop's list of recent files.
        setAbridorDeArquivos([](const QUrl&) { return true; });
        b.clicar(b.linhaDe("edital.pdf"));
        QTest::keyClick(b.lista, Qt::Key_Return);
        setAbridorDeArquivos({});

        QTRY_VERIFY_WITH_TIMEOUT(!nuncaAberto("edital.pdf"), 10000);
        QVERIFY(nuncaAberto("anexo.pdf"));
        QCOMPARE(fins.count(), 1); // the watcher read it again; no new scan
        // Noted where every program (and the next launch) reads it.
        QVERIFY(ListaDeRecentes::Indice::carregar().ultimoUso(downloads.pasta() + "/edital.pdf"));
        QVERIFY(!modelo->mensagem());
    }

    void semSelecaoABarraFicaApagadaEALixeiraDesligada()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        QAbstractItemModelTester testador(
            b.lista->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);

        auto* contagem = b.janela.findChild<QLabel*>(QStringLiteral("contagemSelecionados"));
        auto* alternar = b.janela.findChild<QPushButton*>(QStringLiteral("selecionarTudo"));
        QVERIFY(contagem && alternar);
        QCOMPARE(contagem->text(), QStringLiteral("nenhum selecionado"));
        QCOMPARE(alternar->text(), QStringLiteral("Selecionar tudo"));
        QCOMPARE(b.barra->opacidade(), 0.6);
        QVERIFY(b.barra->graphicsEffect()->isEnabled());
        for (const char* nome : {"selecionarTudo", "adiar", "resolver"}) {
            QVERIFY(b.janela.findChild<QPushButton*>(QString::fromLatin1(nome))->isEnabled());
        }
        // Never "Mover 0 para a Lixeira?": with nothing chosen there is nothing to ask.
        QVERIFY(!b.barra->moverParaLixeira().isEnabled());
        capturar(b.janela, QStringLiteral("arquivos-sem-selecao"));

        // Still clickable: postponing and resolving nothing decide nothing.
        QTest::mouseClick(&b.barra->adiar(), Qt::LeftButton);
        QTest::mouseClick(&b.barra->resolver(), Qt::LeftButton);
        QVERIFY(modelo->decisoes().empty());
        QTest::mouseClick(&b.barra->moverParaLixeira(), Qt::LeftButton);
        QVERIFY(!b.selecao.confirmandoLixeira());
        QCOMPARE(b.lista->model()->rowCount(), 4);
        b.clicar(0);
        QVERIFY(b.barra->moverParaLixeira().isEnabled());
        b.selecao.setSelecionados({});

        // Nothing listed and nothing chosen: the counts are equal, so the toggle offers to clear.
        b.barra->setItens({});
        QCOMPARE(alternar->text(), QStringLiteral("Limpar seleção"));
        QCOMPARE(contagem->text(), QStringLiteral("nenhum selecionado"));
    }

    void alternarSelecionaTudoEDepoisLimpa()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        QPushButton& alternar = b.barra->alternarSelecao();

        QTest::mouseClick(&alternar, Qt::LeftButton);
        std::set<std::string> todos;
        for (int i = 0; i < 4; ++i) {
            todos.insert(b.id(i));
        }
        QCOMPARE(b.selecao.selecionados(), todos);
        QCOMPARE(b.selecionadosNaLista(), todos);
        QCOMPARE(alternar.text(), QStringLiteral("Limpar seleção"));
        QCOMPARE(b.barra->contagem().text(), QStringLiteral("4 selecionados"));
        QCOMPARE(b.barra->opacidade(), 1.0);
        capturar(b.janela, QStringLiteral("arquivos-todos"));

        QTest::mouseClick(&alternar, Qt::LeftButton);
        QVERIFY(b.selecao.selecionados().empty());
        QVERIFY(b.selecionadosNaLista().empty());
        QCOMPARE(alternar.text(), QStringLiteral("Selecionar tudo"));
        QCOMPARE(b.barra->contagem().text(), QStringLiteral("nenhum selecionado"));
        QCOMPARE(b.barra->opacidade(), 0.6);
    }

    void umSelecionadoEDoisSelecionados()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());

        b.clicar(1);
        QCOMPARE(b.selecao.selecionados(), std::set<std::string> {b.id(1)});
        QCOMPARE(b.barra->contagem().text(), QStringLiteral("1 selecionado"));
        QCOMPARE(b.barra->alternarSelecao().text(), QStringLiteral("Selecionar tudo"));

        b.clicar(3, Qt::ControlModifier);
        QCOMPARE(b.selecao.selecionados(), (std::set<std::string> {b.id(1), b.id(3)}));
        QCOMPARE(b.barra->contagem().text(), QStringLiteral("2 selecionados"));

        // Shift extends from the anchor; a plain click starts again.
        b.clicar(0);
        b.clicar(2, Qt::ShiftModifier);
        QCOMPARE(b.barra->contagem().text(), QStringLiteral("3 selecionados"));
        b.clicar(3);
        QCOMPARE(b.selecao.selecionados(), std::set<std::string> {b.id(3)});
        capturar(b.janela, QStringLiteral("arquivos-um"));

        // Ctrl-click on a chosen row lets it go.
        b.clicar(3, Qt::ControlModifier);
        QCOMPARE(b.barra->contagem().text(), QStringLiteral("nenhum selecionado"));
    }

    void ctrlANaListaSelecionaTudo()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        b.lista->setFocus();
        QTest::keyClick(b.lista, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(b.selecao.selecionados().size(), std::size_t(4));
        QCOMPARE(b.barra->contagem().text(), QStringLiteral("4 selecionados"));
        QCOMPARE(b.barra->alternarSelecao().text(), QStringLiteral("Limpar seleção"));
    }

    void selecaoDeForaAparecenaListaESobreviveAoFiltro()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        QAbstractItemModelTester testador(
            b.lista->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        const std::string contrato = b.id(b.linhaDe("contrato-social.pdf"));
        const std::string ata = b.id(b.linhaDe("ata-da-reuniao.docx"));
        b.selecao.setSelecionados({contrato, ata});
        QCOMPARE(b.selecionadosNaLista(), (std::set<std::string> {contrato, ata}));

        // The search hides one of them: it stays chosen, and counts.
        modelo->setBusca(QStringLiteral("CONTRATO"));
        QCOMPARE(b.lista->model()->rowCount(), 1);
        QCOMPARE(b.selecao.selecionados(), (std::set<std::string> {contrato, ata}));
        QCOMPARE(b.selecionadosNaLista(), std::set<std::string> {contrato});
        QCOMPARE(b.barra->contagem().text(), QStringLiteral("2 selecionados"));
        QCOMPARE(b.barra->alternarSelecao().text(), QStringLiteral("Selecionar tudo"));
        modelo->setBusca(QString());
        QCOMPARE(b.selecionadosNaLista(), (std::set<std::string> {contrato, ata}));
    }

    void nomesComControlesDeDirecaoSaoMostradosNuncaObedecidos()
    {
        Downloads downloads;
        const std::string enganoso = "invoice\u202efdp.exe"; // reads "invoiceexe.pdf" if obeyed
        const std::string hebraico = "\u05e9\u05dc\u05d5\u05dd.pdf";
        const std::string quebrado = "linha\nquebrada.txt";
        for (const std::string& nome : {enganoso, hebraico, quebrado}) {
            downloads.criar({.nome = nome, .origem = kOrigem});
        }
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        capturar(b.janela, QStringLiteral("arquivos-nomes-bidi"));

        const auto texto = [&](const std::string& nome, int papel) {
            return b.lista->model()->index(b.linhaDe(nome), 0).data(papel).toString();
        };
        // The tooltip's first line is the name as the row shows it.
        for (const int papel : {int(Qt::DisplayRole), int(Qt::ToolTipRole)}) {
            const auto linha = [&](const std::string& nome) { return texto(nome, papel).split(QLatin1Char('\n')).first(); };
            QCOMPARE(linha(enganoso), QStringLiteral("invoice\\u202efdp.exe"));
            QCOMPARE(linha(quebrado), QStringLiteral("linha\\x0aquebrada.txt"));
            // A right-to-left name is whole, and isolated from whatever follows it.
            QCOMPARE(linha(hebraico), QChar(0x2068) + QString::fromStdString(hebraico) + QChar(0x2069));
        }
        QVERIFY(texto(enganoso, Qt::AccessibleTextRole).startsWith(QStringLiteral("invoice\\u202efdp.exe, ")));
        // What is drawn ends the way the file really ends.
        const QString desenhado = disposicao(b, b.linhaDe(enganoso)).nomeVisivel;
        QVERIFY2(desenhado.endsWith(QStringLiteral("fdp.exe")), qPrintable(desenhado));
        QVERIFY(!desenhado.contains(QChar(0x202e)));
    }

    void adiadosEIgnoradosFicamNaListaDoGrupoComSeuEstado()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        const std::string adiado = b.id(0);
        const std::string ignorado = b.id(1);
        b.clicar(0);
        QTest::mouseClick(&b.barra->adiar(), Qt::LeftButton);
        modelo->decidir({ignorado}, Decisao::ignorado);

        // Still listed, and the row says what became of it, its chip first.
        QCOMPARE(b.lista->model()->rowCount(), 4);
        const auto estado = [&](const std::string& id) {
            return b.lista->model()->index(b.linhaDe(std::filesystem::path(id).filename().string()), 0)
                .data(ModeloDeArquivos::PapelEstado).toString();
        };
        QTRY_COMPARE(estado(adiado), QStringLiteral("Adiado"));
        QCOMPARE(estado(ignorado), QStringLiteral("Ignorado"));
        QCOMPARE(estado(b.id(2)), QString());
        QCOMPARE(disposicao(b, 0).rotulos.front(), QStringLiteral("Adiado"));
        QCOMPARE(disposicao(b, 1).rotulos.front(), QStringLiteral("Ignorado"));
        QVERIFY(disposicao(b, 2).rotulos.front() != QStringLiteral("Adiado"));
        QVERIFY(b.lista->model()->index(0, 0).data(Qt::ToolTipRole).toString().contains(QStringLiteral("\nAdiado")));
        capturar(b.janela, QStringLiteral("arquivos-adiado-e-ignorado"));

        // Back in the inbox, the chip goes.
        modelo->decidir({adiado}, Decisao::novo);
        QTRY_COMPARE(estado(adiado), QString());
    }

    void menuDeUmaLinhaDaSelecaoDecideTodaASelecao()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        b.clicar(0);
        b.clicar(1, Qt::ControlModifier);
        b.clicar(2, Qt::ControlModifier);
        const std::set<std::string> escolhidos {b.id(0), b.id(1), b.id(2)};
        QCOMPARE(b.selecao.selecionados(), escolhidos);
        const std::string alvo = b.id(1);

        b.clicarComODireito(1);
        QTRY_VERIFY(menuAberto());
        QMenu* menu = menuAberto();
        // The right-click changed nothing in the selection.
        QCOMPARE(b.selecao.selecionados(), escolhidos);
        QCOMPARE(b.selecionadosNaLista(), escolhidos);
        const QList<QAction*> acoes = menu->actions();
        QCOMPARE(acoes.size(), 8);
        QCOMPARE(acoes[0]->text(), QStringLiteral("&Abrir"));
        QCOMPARE(acoes[1]->text(), QStringLiteral("&Mostrar no gerenciador de arquivos"));
        QVERIFY(acoes[2]->isSeparator());
        QCOMPARE(acoes[3]->text(), QStringLiteral("A&diar"));
        QCOMPARE(acoes[4]->text(), QStringLiteral("Marcar como &resolvido"));
        QCOMPARE(acoes[5]->text(), QStringLiteral("&Ignorar"));
        QVERIFY(acoes[6]->isSeparator());
        QCOMPARE(acoes[7]->text(), QStringLiteral("Mover para a &Lixeira"));
        QVERIFY(QTest::qWaitForWindowExposed(menu));
        capturar(*menu, QStringLiteral("arquivos-menu"));
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(acoes[5]).center());
        QTRY_VERIFY(!menuAberto());

        // The clicked row was part of the selection: the whole selection is ignored.
        for (const std::string& id : escolhidos) {
            QVERIFY(modelo->decisao(id) == Decisao::ignorado);
        }
        QVERIFY(modelo->decisao(alvo) == Decisao::ignorado);
        QCOMPARE(modelo->decisoes().size(), std::size_t(3));
        QCOMPARE(b.selecao.selecionados(), escolhidos);
        // A group still lists its ignored files.
        QCOMPARE(b.lista->model()->rowCount(), 4);
        QCOMPARE(b.selecionadosNaLista(), escolhidos);

        // A row outside the selection: it becomes the selection, alone, and its menu acts on it.
        const std::string fora = b.id(3);
        b.clicarComODireito(3);
        QTRY_VERIFY(menuAberto());
        QCOMPARE(b.selecao.selecionados(), std::set<std::string> {fora});
        QTest::mouseClick(menuAberto(), Qt::LeftButton, {},
            menuAberto()
                ->actionGeometry(acao(*menuAberto(), QStringLiteral("Marcar como &resolvido")))
                .center());
        QTRY_VERIFY(!menuAberto());
        QVERIFY(modelo->decisao(fora) == Decisao::resolvido);
        QCOMPARE(modelo->decisoes().size(), std::size_t(4));
        // Resolved files leave the group's list.
        QCOMPARE(b.lista->model()->rowCount(), 3);
        for (const std::string& id : escolhidos) {
            QVERIFY(modelo->decisao(id) == Decisao::ignorado);
        }

        // From the keyboard the menu is for the current row.
        b.lista->setFocus();
        b.lista->setCurrentIndex(b.lista->model()->index(0, 0));
        const std::string primeiro = b.id(0);
        QContextMenuEvent teclado(
            QContextMenuEvent::Keyboard, QPoint(), b.lista->viewport()->mapToGlobal(QPoint()));
        QApplication::sendEvent(b.lista->viewport(), &teclado);
        QTRY_VERIFY(menuAberto());
        QTest::mouseClick(menuAberto(), Qt::LeftButton, {},
            menuAberto()->actionGeometry(acao(*menuAberto(), QStringLiteral("A&diar"))).center());
        QTRY_VERIFY(!menuAberto());
        QVERIFY(modelo->decisao(primeiro) == Decisao::adiado);
    }

    void adiarEResolverDecidemOsEscolhidosEEsvaziam()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        const std::string a = b.id(0);
        const std::string c = b.id(2);
        b.clicar(0);
        b.clicar(2, Qt::ControlModifier);
        QTest::mouseClick(&b.barra->adiar(), Qt::LeftButton);
        QVERIFY(modelo->decisao(a) == Decisao::adiado);
        QVERIFY(modelo->decisao(c) == Decisao::adiado);
        QCOMPARE(modelo->decisoes().size(), std::size_t(2));
        QVERIFY(b.selecao.selecionados().empty());
        QVERIFY(b.selecionadosNaLista().empty());

        const std::string d = b.id(3);
        b.clicar(3);
        QTest::mouseClick(&b.barra->resolver(), Qt::LeftButton);
        QVERIFY(modelo->decisao(d) == Decisao::resolvido);
        QVERIFY(b.selecao.selecionados().empty());
        QCOMPARE(b.lista->model()->rowCount(), 3);
    }

    void barraDesligadaDuranteAVarredura()
    {
        Downloads downloads;
        const auto modelo = quatroArquivos(downloads);
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        QVERIFY(b.barra->isEnabled());
        modelo->varrer();
        QVERIFY(!b.barra->isEnabled());
        for (QPushButton* botao : {&b.barra->alternarSelecao(), &b.barra->adiar(), &b.barra->resolver(),
                 &b.barra->moverParaLixeira()}) {
            QVERIFY(!botao->isEnabled());
        }
        QTest::mouseClick(&b.barra->alternarSelecao(), Qt::LeftButton);
        QVERIFY(b.selecao.selecionados().empty());
        QVERIFY(esperarVarredura(*modelo));
        QVERIFY(b.barra->isEnabled());
        QVERIFY(b.barra->adiar().isEnabled());
    }

};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::ArquivosTest;
TARRAFA_REGISTRAR_TESTE(ArquivosTest)

#include "ArquivosTest.moc"
