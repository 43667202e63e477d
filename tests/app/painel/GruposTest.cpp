// SPDX-License-Identifier: GPL-3.0-or-later
// The inbox as group cards: the scattered-origins warning and its threshold, the cards'
// texts, the empty state and the click that opens a group.
#include "Downloads.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aviso.hpp"
#include "TarrafaApp/Painel/CartoesDeGrupos.hpp"
#include "TarrafaApp/Painel/ConteudoIndisponivel.hpp"
#include "TarrafaApp/Painel/LinhaGrupo.hpp"
#include "TarrafaApp/Painel/ListaDeGrupos.hpp"
#include "TarrafaApp/Painel/ModeloDeGrupos.hpp"
#include "TarrafaCore/Formato.hpp"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QLabel>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>

namespace tarrafa::app::teste {

namespace {

std::string endereco(const std::string& host)
{
    return "https://" + host + "/arquivo";
}

Destino grupoDe(const std::string& host)
{
    return Destino::grupo("host:" + host);
}

// The list in a window of a realistic size, shown, as the panel would hold it.
struct Tela {
    explicit Tela(Modelo& modelo)
        : lista(modelo)
    {
        lista.resize(680, 520);
        lista.show();
    }
    [[nodiscard]] bool exposta() { return QTest::qWaitForWindowExposed(&lista); }
    [[nodiscard]] int linhaDe(const std::string& host) const
    {
        const ModeloDeGrupos& grupos = lista.cartoes().grupos();
        for (int linha = 0; linha < grupos.rowCount(); ++linha) {
            if (grupos.grupo(linha).id() == "host:" + host) {
                return linha;
            }
        }
        return -1;
    }
    [[nodiscard]] QModelIndex indice(const std::string& host) const
    {
        return lista.cartoes().grupos().index(linhaDe(host));
    }
    [[nodiscard]] LinhaGrupo::Disposicao cartao(const std::string& host) const
    {
        CartoesDeGrupos& cartoes = lista.cartoes();
        QStyleOptionViewItem opcao;
        opcao.initFrom(cartoes.viewport());
        opcao.rect = cartoes.visualRect(indice(host));
        return cartoes.delegado().dispor(opcao, indice(host));
    }

    ListaDeGrupos lista;
};

QString textoDe(const QWidget& raiz, const char* nome)
{
    const auto* rotulo = raiz.findChild<QLabel*>(QString::fromLatin1(nome));
    return rotulo ? rotulo->text() : QString();
}

} // namespace

class GruposTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void concentracaoDeExatamenteMetadeNaoAvisa()
    {
        Downloads downloads;
        // Six origins of one file each: the three largest hold exactly half.
        for (const char* host : {"a.exemplo.com", "b.exemplo.com", "c.exemplo.com", "d.exemplo.com",
                 "e.exemplo.com", "f.exemplo.com"}) {
            downloads.criar({.nome = std::string(host) + ".pdf", .origem = endereco(host)});
        }
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        QCOMPARE(modelo->raioX()->concentracaoTop3(), 0.5);
        Tela tela(*modelo);
        QVERIFY(tela.exposta());
        QVERIFY(tela.lista.aviso().isHidden());
        QCOMPARE(tela.lista.cartoes().grupos().rowCount(), 6);
    }

    void concentracaoLogoAbaixoDeMetadeAvisaCom49()
    {
        Downloads downloads;
        // 10,000 files: the three largest origins hold 4,999 of them, 0.4999.
        const std::vector<std::pair<std::string, int>> origens {{"a.exemplo.com", 1667},
            {"b.exemplo.com", 1666}, {"c.exemplo.com", 1666}, {"d.exemplo.com", 1666},
            {"e.exemplo.com", 1666}, {"f.exemplo.com", 1666}, {"g.exemplo.com", 3}};
        for (const auto& [host, quantos] : origens) {
            downloads.criarVarios(quantos, host, endereco(host));
        }
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        QCOMPARE(modelo->raioX()->total(), 10000);
        QCOMPARE(modelo->raioX()->concentracaoTop3(), 0.4999);
        Tela tela(*modelo);
        QVERIFY(tela.exposta());
        QVERIFY(tela.lista.aviso().isVisible());
        QCOMPARE(tela.lista.aviso().texto(),
            QStringLiteral(
                "Suas origens estão espalhadas: as 3 maiores somam 49% dos arquivos. Agrupar por origem "
                "ajuda menos numa pasta assim."));
        QCOMPARE(textoDe(tela.lista, "textoDoAviso"), tela.lista.aviso().texto());
        // Above the cards.
        QVERIFY(tela.lista.aviso().geometry().bottom() < tela.lista.cartoes().geometry().top());
        capturar(tela.lista, QStringLiteral("grupos-aviso"));

        // The wheel over the cards scrolls the whole page, warning included.
        QScrollBar* rolagem = tela.lista.verticalScrollBar();
        QVERIFY(rolagem->maximum() > 0);
        QCOMPARE(rolagem->value(), 0);
        CartoesDeGrupos& cartoes = tela.lista.cartoes();
        const QPointF ponto = cartoes.retanguloDoCartao(1).center();
        QWheelEvent roda(ponto, cartoes.viewport()->mapToGlobal(ponto), QPoint(), QPoint(0, -120),
            Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(cartoes.viewport(), &roda);
        QVERIFY(rolagem->value() > 0);
    }

    void pastaVaziaNaoAvisaEDizQueACaixaEstaVazia()
    {
        Downloads downloads;
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        QCOMPARE(modelo->raioX()->total(), 0);
        QCOMPARE(modelo->raioX()->concentracaoTop3(), 0.0);
        Tela tela(*modelo);
        QVERIFY(tela.exposta());
        QVERIFY(tela.lista.aviso().isHidden());
        QVERIFY(tela.lista.cartoes().isHidden());
        QVERIFY(tela.lista.vazio().isVisible());
        QCOMPARE(tela.lista.indisponivel().titulo(), QStringLiteral("Caixa de entrada vazia"));
        QCOMPARE(tela.lista.indisponivel().descricao(),
            QStringLiteral("Nada esperando decisão na sua pasta Downloads."));
        const auto* simbolo = tela.lista.indisponivel().findChild<QLabel*>(QStringLiteral("simbolo"));
        QVERIFY(simbolo && !simbolo->pixmap().isNull());
        // Padded 40 below the top of the page's content.
        QCOMPARE(tela.lista.vazio().y(), 20);
        QCOMPARE(tela.lista.indisponivel().y(), 40);
        capturar(tela.lista, QStringLiteral("grupos-vazio"));
    }

    void semGruposDuranteAVarreduraNaoMostraNada()
    {
        Downloads downloads;
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Tela tela(*modelo);
        QVERIFY(tela.exposta());
        QVERIFY(tela.lista.vazio().isVisible());

        modelo->varrer();
        QVERIFY(modelo->carregando());
        // Only the list's own pending update, not yet the scan's result.
        QCoreApplication::sendPostedEvents(&tela.lista, QEvent::MetaCall);
        QVERIFY(modelo->carregando());
        QVERIFY(tela.lista.vazio().isHidden());
        QVERIFY(tela.lista.cartoes().isHidden());
        QVERIFY(tela.lista.aviso().isHidden());

        QVERIFY(esperarVarredura(*modelo));
        QTRY_VERIFY(tela.lista.vazio().isVisible());
    }

    void umItemEDoisItens()
    {
        Downloads downloads;
        downloads.criar(
            {.nome = "contrato-social.pdf", .tamanho = 1500000, .origem = endereco("um.exemplo.com")});
        downloads.criar({.nome = "relatorio-anual.pdf", .origem = endereco("dois.exemplo.com")});
        downloads.criar({.nome = "relatorio-mensal.pdf", .origem = endereco("dois.exemplo.com")});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Tela tela(*modelo);
        QVERIFY(tela.exposta());

        const QModelIndex um = tela.indice("um.exemplo.com");
        QCOMPARE(um.data(ModeloDeGrupos::PapelTotal).toInt(), 1);
        QCOMPARE(um.data(ModeloDeGrupos::PapelUnidade).toString(), QStringLiteral("item"));
        QCOMPARE(um.data(Qt::DisplayRole).toString(), QStringLiteral("um.exemplo.com"));
        const QModelIndex dois = tela.indice("dois.exemplo.com");
        QCOMPARE(dois.data(ModeloDeGrupos::PapelTotal).toInt(), 2);
        QCOMPARE(dois.data(ModeloDeGrupos::PapelUnidade).toString(), QStringLiteral("itens"));

        // As drawn: the label and summary whole on the left, the count above its word on
        // the right, the chevron last.
        const LinhaGrupo::Disposicao cartao = tela.cartao("um.exemplo.com");
        QCOMPARE(cartao.rotuloVisivel, QStringLiteral("um.exemplo.com"));
        QCOMPARE(cartao.resumoVisivel,
            QString::fromStdString(Formato::bytes(1500000)) + QStringLiteral(" · 1 nunca aberto"));
        QVERIFY(cartao.resumo.top() > cartao.rotulo.bottom());
        QVERIFY(cartao.unidade.top() > cartao.total.bottom());
        QVERIFY(cartao.rotulo.right() < cartao.total.left());
        QVERIFY(cartao.total.right() < cartao.chevron.left());
        QVERIFY(cartao.cartao.contains(cartao.chevron));
        capturar(tela.lista, QStringLiteral("grupos"));
    }

    void resumoTerminaComUmNuncaAbertos()
    {
        Downloads downloads;
        downloads.criar({.nome = "planilha-de-custos.xlsx",
            .tamanho = 2000,
            .origem = endereco("x.exemplo.com"),
            .baixadoHaDias = 10,
            .usadoHaDias = 5});
        downloads.criar({.nome = "ata-da-reuniao.docx",
            .tamanho = 3000,
            .origem = endereco("x.exemplo.com"),
            .baixadoHaDias = 10});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Tela tela(*modelo);
        QVERIFY(tela.exposta());
        const QString resumo = tela.indice("x.exemplo.com").data(ModeloDeGrupos::PapelResumo).toString();
        QCOMPARE(resumo, QString::fromStdString(Formato::bytes(5000)) + QStringLiteral(" · 1 nunca aberto"));
        QVERIFY(resumo.endsWith(QStringLiteral(" · 1 nunca aberto")));
        QCOMPARE(tela.cartao("x.exemplo.com").resumoVisivel, resumo);
    }

    void clicarNoCartaoAbreOGrupo()
    {
        Downloads downloads;
        downloads.criar({.nome = "a1.pdf", .origem = endereco("primeiro.exemplo.com")});
        downloads.criar({.nome = "a2.pdf", .origem = endereco("primeiro.exemplo.com")});
        downloads.criar({.nome = "b1.pdf", .origem = endereco("segundo.exemplo.com")});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Tela tela(*modelo);
        QVERIFY(tela.exposta());
        CartoesDeGrupos& cartoes = tela.lista.cartoes();
        QAbstractItemModelTester testador(
            &cartoes.grupos(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(modelo->selecao(), Destino::entrada());

        // The space between two cards opens nothing.
        const QRect primeiro = cartoes.retanguloDoCartao(0);
        const QRect segundo = cartoes.retanguloDoCartao(1);
        QCOMPARE(segundo.top() - primeiro.bottom() - 1, LinhaGrupo::kEntreCartoes);
        QTest::mouseClick(
            cartoes.viewport(), Qt::LeftButton, {}, QPoint(primeiro.center().x(), primeiro.bottom() + 4));
        QCOMPARE(modelo->selecao(), Destino::entrada());

        // Anywhere on the card: near its corner, or on the count.
        const std::string chave = cartoes.grupos().grupo(1).id();
        QTest::mouseClick(cartoes.viewport(), Qt::LeftButton, {}, segundo.topLeft() + QPoint(16, 10));
        QCOMPARE(modelo->selecao(), Destino::grupo(chave));
        modelo->setSelecao(Destino::entrada());
        const LinhaGrupo::Disposicao cartao = tela.cartao("primeiro.exemplo.com");
        QTest::mouseClick(cartoes.viewport(), Qt::LeftButton, {}, cartao.total.center());
        QCOMPARE(modelo->selecao(), grupoDe("primeiro.exemplo.com"));

        // And from the keyboard.
        modelo->setSelecao(Destino::entrada());
        cartoes.setFocus();
        cartoes.setCurrentIndex(tela.indice("segundo.exemplo.com"));
        QTest::keyClick(&cartoes, Qt::Key_Return);
        QCOMPARE(modelo->selecao(), grupoDe("segundo.exemplo.com"));

        // Deciding the last file of a group takes its card away.
        modelo->decidir({downloads.pasta() + "/b1.pdf"}, Decisao::adiado);
        QTRY_COMPARE(cartoes.grupos().rowCount(), 1);
        // The new height reaches the layout through a posted layout request.
        QTRY_COMPARE(cartoes.height(), LinhaGrupo::alturaDoCartao());
    }

    void avisoEVazioPodemAparecerJuntos()
    {
        Downloads downloads;
        std::vector<std::string> caminhos;
        for (const char* host : {"a.org", "b.org", "c.org", "d.org", "e.org", "f.org", "g.org"}) {
            caminhos.push_back(
                downloads.criar({.nome = std::string(host) + ".pdf", .origem = endereco(host)}));
        }
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Tela tela(*modelo);
        QVERIFY(tela.exposta());
        QVERIFY(tela.lista.aviso().isVisible());
        QVERIFY(tela.lista.aviso().texto().contains(QStringLiteral(" 42% ")));
        QVERIFY(tela.lista.vazio().isHidden());
        modelo->decidir(caminhos, Decisao::resolvido);
        QTRY_VERIFY(tela.lista.vazio().isVisible());
        QVERIFY(tela.lista.aviso().isVisible());
        QVERIFY(tela.lista.cartoes().isHidden());
        QVERIFY(tela.lista.aviso().geometry().bottom() < tela.lista.vazio().geometry().top());
        capturar(tela.lista, QStringLiteral("grupos-aviso-e-vazio"));
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::GruposTest;
TARRAFA_REGISTRAR_TESTE(GruposTest)

#include "GruposTest.moc"
