// SPDX-License-Identifier: GPL-3.0-or-later
// The sidebar: its rows, symbols and counts, and its selection bound to the model's.
#include "Ajudantes.hpp"
#include "Registro.hpp"

#include "TarrafaApp/App/Algarismos.hpp"
#include "TarrafaApp/App/Icone.hpp"
#include "TarrafaApp/App/LinhasDaBarraLateral.hpp"
#include "TarrafaApp/Painel/Painel.hpp"

#include <QAbstractButton>
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QLineEdit>
#include <QTest>
#include <QThreadPool>
#include <QToolButton>

namespace tarrafa::app::teste {

namespace {

const std::string kSharePointAna
    = "https://contoso-my.sharepoint.com/personal/ana_souza_contoso_com/Documents/plano.xlsx";
const std::string kGitHub = "https://github.com/exemplo/projeto/releases/download/v1/projeto.tar.gz";
const std::string kRelatorioDoExemplo = "https://arquivos.exemplo.com.br/relatorio.pdf";

// The rows' titles from top to bottom, the way a person reads the sidebar.
QStringList titulos(BarraLateral& barra)
{
    QStringList linhas;
    const QAbstractItemModel& modelo = barra.linhas();
    for (int i = 0; i < modelo.rowCount(); ++i) {
        linhas << modelo.index(i, 0).data().toString();
    }
    return linhas;
}

} // namespace

class BarraLateralTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void semGruposOrigensTemCabecalhoESemLinhas()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();
        QAbstractItemModelTester verificador(
            &barra.linhas(), QAbstractItemModelTester::FailureReportingMode::QtTest);

        QCOMPARE(titulos(barra),
            (QStringList {QStringLiteral("Caixa de entrada"), QStringLiteral("Adiados"),
                QStringLiteral("Resolvidos"), QStringLiteral("Raio-X"), QStringLiteral("Origens")}));
        const QModelIndex cabecalho = barra.linhas().index(4, 0);
        QVERIFY(cabecalho.data(LinhasDaBarraLateral::PapelCabecalho).toBool());
        QVERIFY(!(cabecalho.flags() & Qt::ItemIsSelectable));
        QVERIFY(barra.visualRect(cabecalho).height() > 0);
        // Clicking the header chooses nothing.
        QTest::mouseClick(barra.viewport(), Qt::LeftButton, {}, barra.visualRect(cabecalho).center());
        QVERIFY(t.modelo->selecao() == Destino::entrada());
    }

    void linhasFixasTemSimbolosEContagens()
    {
        Downloads cenario;
        const std::string adiado = cenario.criar({.nome = "adiado.pdf", .origem = kRelatorioDoExemplo});
        const std::string resolvido = cenario.criar({.nome = "resolvido.pdf", .origem = kRelatorioDoExemplo});
        const std::string ignorado = cenario.criar({.nome = "ignorado.pdf"});
        cenario.criar({.nome = "novo.pdf", .origem = kRelatorioDoExemplo});
        cenario.decisoes({{adiado, "adiado"}, {resolvido, "resolvido"}, {ignorado, "ignorado"}});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();

        const auto simboloDe = [&](const Destino& destino) {
            return linhaDe(barra, destino).data(LinhasDaBarraLateral::PapelSimbolo).toString();
        };
        QCOMPARE(simboloDe(Destino::entrada()), QStringLiteral("tray.full"));
        QCOMPARE(simboloDe(Destino::adiados()), QStringLiteral("clock"));
        QCOMPARE(simboloDe(Destino::resolvidos()), QStringLiteral("checkmark.circle"));
        QCOMPARE(simboloDe(Destino::raioX()), QStringLiteral("chart.bar.doc.horizontal"));
        QCOMPARE(contagemDe(barra, Destino::entrada()), std::optional<int>(1));
        QCOMPARE(contagemDe(barra, Destino::adiados()), std::optional<int>(1));
        QCOMPARE(contagemDe(barra, Destino::resolvidos()), std::optional<int>(2));
        QCOMPARE(contagemDe(barra, Destino::raioX()), std::nullopt);
        // One group holds an undecided file; the group without origin holds only decided ones.
        QCOMPARE(titulos(barra).mid(4),
            (QStringList {QStringLiteral("Origens"), QStringLiteral("arquivos.exemplo.com.br")}));
        QCOMPARE(contagemDe(barra, Destino::grupo("host:arquivos.exemplo.com.br")), std::optional<int>(1));
    }

    void cliqueNaLinhaEscolheODestinoEODestinoEscolheALinha()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kRelatorioDoExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();
        QCOMPARE(linhaSelecionada(barra), std::optional<Destino>(Destino::entrada()));

        QVERIFY(clicarLinha(barra, Destino::adiados()));
        QVERIFY(t.modelo->selecao() == Destino::adiados());
        QVERIFY(clicarLinha(barra, Destino::grupo("host:arquivos.exemplo.com.br")));
        QVERIFY(t.modelo->selecao() == Destino::grupo("host:arquivos.exemplo.com.br"));

        t.modelo->setSelecao(Destino::raioX());
        QCOMPARE(linhaSelecionada(barra), std::optional<Destino>(Destino::raioX()));

        // The arrow keys walk the rows and skip the header.
        barra.setFocus();
        QTest::keyClick(&barra, Qt::Key_Down);
        QVERIFY(t.modelo->selecao() == Destino::grupo("host:arquivos.exemplo.com.br"));
    }

    void varreduraEmCursoDesabilitaOBotaoMasCtrlRVarreDeNovo()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf"});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        auto* botao = t.janela->findChild<QToolButton*>(QStringLiteral("varrerDeNovo"));
        QVERIFY(botao);
        QVERIFY(botao->isEnabled());
        QCOMPARE(botao->text(), QStringLiteral("Varrer de novo"));

        // The button starts a scan and is disabled while it runs.
        QTest::mouseClick(botao, Qt::LeftButton);
        QVERIFY(t.modelo->carregando());
        QVERIFY(!botao->isEnabled());
        // Clicking it now does nothing ...
        QTest::mouseClick(botao, Qt::LeftButton);
        // ... but the menu's shortcut starts another scan over the one under way, which is
        // called off: only the newer one ends.
        QTest::keyClick(t.janela.get(), Qt::Key_R, Qt::ControlModifier);
        QVERIFY(t.esperarVarreduras(2));
        QTRY_VERIFY(!t.modelo->carregando());
        QVERIFY(botao->isEnabled());
        QVERIFY(QThreadPool::globalInstance()->waitForDone(20000));
        QCoreApplication::processEvents();
        QCOMPARE(t.varreduras->count(), 2);
    }

    void adiarUltimoItemDoGrupoTiraALinhaSemMoverASelecao()
    {
        Downloads cenario;
        cenario.criar({.nome = "unico.xlsx", .origem = kSharePointAna});
        cenario.criar({.nome = "outro.pdf", .origem = kRelatorioDoExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();
        const Destino grupo = Destino::grupo("sharepoint:ana_souza_contoso_com");
        const QString rotulo = t.modelo->titulo(grupo);
        QVERIFY(rotulo.contains(QStringLiteral("Ana Souza")));
        QVERIFY(clicarLinha(barra, grupo));
        QTRY_COMPARE(t.janela->windowTitle(), rotulo);

        QTRY_VERIFY(t.janela->painel().conteudo() == Conteudo::arquivos);
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        auto* adiar = t.janela->findChild<QAbstractButton*>(QStringLiteral("adiar"));
        QVERIFY(adiar);
        QTest::mouseClick(adiar, Qt::LeftButton);

        QTRY_VERIFY(!linhaDe(barra, grupo).isValid());
        QVERIFY(t.modelo->selecao() == grupo);
        QCOMPARE(linhaSelecionada(barra), std::nullopt);
        QCOMPARE(t.janela->windowTitle(), rotulo);
        // The group's own list still shows its postponed file.
        QTRY_COMPARE(t.janela->painel().subtitulo(), QStringLiteral("1 item"));
        QVERIFY(linhaDe(barra, Destino::grupo("host:arquivos.exemplo.com.br")).isValid());
    }

    void buscaMudaAsContagensDasTresPrimeirasLinhasMasNaoDosGrupos()
    {
        Downloads cenario;
        const std::string adiado = cenario.criar({.nome = "contrato-adiado.pdf", .origem = kRelatorioDoExemplo});
        const std::string resolvido = cenario.criar({.nome = "contrato-resolvido.pdf", .origem = kRelatorioDoExemplo});
        cenario.criar({.nome = "contrato.pdf", .origem = kRelatorioDoExemplo});
        cenario.criar({.nome = "foto.jpg", .origem = kRelatorioDoExemplo});
        cenario.criar({.nome = "projeto.tar.gz", .origem = kGitHub});
        cenario.decisoes({{adiado, "adiado"}, {resolvido, "resolvido"}});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();
        const Destino exemplo = Destino::grupo("host:arquivos.exemplo.com.br");
        const Destino github = Destino::grupo("github");
        QCOMPARE(contagemDe(barra, Destino::entrada()), std::optional<int>(3));
        QCOMPARE(contagemDe(barra, Destino::adiados()), std::optional<int>(1));
        QCOMPARE(contagemDe(barra, Destino::resolvidos()), std::optional<int>(1));
        QCOMPARE(contagemDe(barra, exemplo), std::optional<int>(2));
        QCOMPARE(contagemDe(barra, github), std::optional<int>(1));

        QTest::keyClicks(&t.janela->busca(), QStringLiteral("FOTO"));
        QTRY_COMPARE(contagemDe(barra, Destino::entrada()), std::optional<int>(1));
        QCOMPARE(contagemDe(barra, Destino::adiados()), std::optional<int>(0));
        QCOMPARE(contagemDe(barra, Destino::resolvidos()), std::optional<int>(0));
        QCOMPARE(contagemDe(barra, exemplo), std::optional<int>(2));
        QCOMPARE(contagemDe(barra, github), std::optional<int>(1));
    }

    void chaveSharePointGanhaPessoaEChaveComOutraCaixaGanhaGlobo()
    {
        const auto simbolo = [](const char* chave) { return icone(Origem(chave, "x", std::nullopt)); };
        QCOMPARE(simbolo("sharepoint:ana_souza_contoso_com"), QStringLiteral("person.crop.square"));
        QCOMPARE(simbolo("sharepoint:site:financeiro"), QStringLiteral("person.crop.square"));
        QCOMPARE(simbolo("sharepoint"), QStringLiteral("person.crop.square"));
        QCOMPARE(simbolo("sharepointqualquer"), QStringLiteral("person.crop.square"));
        QCOMPARE(simbolo("_sem_origem"), QStringLiteral("questionmark.circle"));
        QCOMPARE(simbolo("_instaladores"), QStringLiteral("shippingbox"));
        for (const char* chave : {"teams", "slack", "whatsapp", "telegram"}) {
            QCOMPARE(simbolo(chave), QStringLiteral("bubble.left.and.bubble.right"));
        }
        QCOMPARE(simbolo("github"), QStringLiteral("chevron.left.forwardslash.chevron.right"));
        QCOMPARE(simbolo("gdrive"), QStringLiteral("externaldrive"));
        QCOMPARE(simbolo("dropbox"), QStringLiteral("externaldrive"));
        QCOMPARE(simbolo("gmail"), QStringLiteral("envelope"));
        QCOMPARE(simbolo("outlook"), QStringLiteral("envelope"));
        QCOMPARE(simbolo("host:exemplo.com"), QStringLiteral("globe"));
        // Letter case counts: these are other keys.
        for (const char* chave : {"SharePoint:ana", "SHAREPOINT", "GitHub", "Teams", "_Sem_Origem",
                 "_INSTALADORES", "GMAIL", "Dropbox"}) {
            QCOMPARE(simbolo(chave), QStringLiteral("globe"));
        }
        // "github" only as a whole key.
        QCOMPARE(simbolo("github2"), QStringLiteral("globe"));
    }

    void linhasDeOrigemUsamOSimboloDaOrigem()
    {
        Downloads cenario;
        cenario.criar({.nome = "plano.xlsx", .origem = kSharePointAna});
        cenario.criar({.nome = "projeto.tar.gz", .origem = kGitHub});
        cenario.criar({.nome = "sem-origem.txt"});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();
        const auto simboloDe = [&](const Destino& destino) {
            return linhaDe(barra, destino).data(LinhasDaBarraLateral::PapelSimbolo).toString();
        };
        QCOMPARE(simboloDe(Destino::grupo("sharepoint:ana_souza_contoso_com")),
            QStringLiteral("person.crop.square"));
        QCOMPARE(
            simboloDe(Destino::grupo("github")), QStringLiteral("chevron.left.forwardslash.chevron.right"));
        QCOMPARE(simboloDe(Destino::grupo("_sem_origem")), QStringLiteral("questionmark.circle"));
        // "Sem origem" is always the last row.
        QCOMPARE(titulos(barra).last(), QStringLiteral("Sem origem"));
    }

    void algarismosOcupamTodosAMesmaLargura()
    {
        const QFontMetricsF metricas(QApplication::font());
        QCOMPARE(
            larguraTabular(metricas, QStringLiteral("111")), larguraTabular(metricas, QStringLiteral("888")));
        QCOMPARE(
            larguraTabular(metricas, QStringLiteral("1")), larguraTabular(metricas, QStringLiteral("0")));
        QVERIFY(
            larguraTabular(metricas, QStringLiteral("10")) > larguraTabular(metricas, QStringLiteral("9")));
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::BarraLateralTest;
TARRAFA_REGISTRAR_TESTE(BarraLateralTest)

#include "BarraLateralTest.moc"
