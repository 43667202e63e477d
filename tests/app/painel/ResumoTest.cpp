// SPDX-License-Identifier: GPL-3.0-or-later
// The summary strip for a group and for the folder, and the X-ray view: its four bars, the
// paragraph that reads them and its thresholds, and the reassurance line.
#include "Downloads.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Barra.hpp"
#include "TarrafaApp/Painel/Escopo.hpp"
#include "TarrafaApp/Painel/FaixaResumo.hpp"
#include "TarrafaApp/Painel/RaioXView.hpp"
#include "TarrafaCore/Formato.hpp"

#include <QGroupBox>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

namespace tarrafa::app::teste {

namespace {

QString bytes(std::int64_t n)
{
    return QString::fromStdString(Formato::bytes(n));
}

std::string endereco(const std::string& host)
{
    return "https://" + host + "/arquivo";
}

// Seven origins, 100 files: the three largest hold 49 of them.
void quarentaENovePorCento(const Downloads& downloads)
{
    const std::vector<std::pair<std::string, int>> origens {{"a.exemplo.com", 17}, {"b.exemplo.com", 16},
        {"c.exemplo.com", 16}, {"d.exemplo.com", 16}, {"e.exemplo.com", 16}, {"f.exemplo.com", 16},
        {"g.exemplo.com", 3}};
    for (const auto& [host, quantos] : origens) {
        downloads.criarVarios(quantos, host, endereco(host));
    }
}

// Six origins of one file each: the three largest hold exactly half.
void metade(const Downloads& downloads)
{
    for (const char* host : {"a.org", "b.org", "c.org", "d.org", "e.org", "f.org"}) {
        downloads.criar({.nome = std::string(host) + ".pdf", .origem = endereco(host)});
    }
}

struct Diagnostico {
    explicit Diagnostico(Modelo& modelo)
        : vista(modelo)
    {
        vista.resize(720, 640);
        vista.show();
    }
    [[nodiscard]] bool exposto() { return QTest::qWaitForWindowExposed(&vista); }
    [[nodiscard]] QString leitura() const { return vista.leitura().text(); }
    [[nodiscard]] const Barra& barra(int i) const { return *vista.barras()[std::size_t(i)]; }

    RaioXView vista;
};

const QString kEspalhadas = QStringLiteral("Suas origens estão espalhadas, então agrupar por proveniência "
                                           "ajuda menos aqui do que numa pasta concentrada.");

} // namespace

class ResumoTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pastaVaziaDizQueEstaVaziaEOGrupoVazioDaZero()
    {
        Downloads downloads;
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Diagnostico d(*modelo);
        QVERIFY(d.exposto());
        QCOMPARE(d.leitura(), QStringLiteral("Sua pasta Downloads está vazia."));
        QCOMPARE(d.barra(0).textoDoPct(), QStringLiteral("0%"));
        QCOMPARE(d.barra(0).abs(), QStringLiteral("0 de 0"));

        const Escopo vazio = Escopo::doGrupo({});
        QCOMPARE(vazio, Escopo::grupo(0, 0, 0, 0));
        FaixaResumo faixa;
        faixa.mostrar(*modelo->raioX(), vazio);
        const std::vector<Celula> esperadas {
            {QStringLiteral("No grupo"), QStringLiteral("0"), bytes(0)},
            {QStringLiteral("Nunca abertos"), QStringLiteral("0"), QStringLiteral("0% do grupo")},
            {QStringLiteral("Nome não identifica"), QStringLiteral("0"), QStringLiteral("0% do grupo")},
            {QStringLiteral("Na pasta"), QStringLiteral("0"), bytes(0)},
        };
        QCOMPARE(faixa.celulas(), esperadas);
        for (std::size_t i = 0; i < esperadas.size(); ++i) {
            QCOMPARE(faixa.vistas()[i]->celula(), esperadas[i]);
        }
    }

    void cinquentaENoveDiasAindaDizQueNadaAcumulou()
    {
        Downloads downloads;
        downloads.criar({.nome = "antigo.pdf", .origem = endereco("a.org"), .baixadoHaDias = 59.5});
        downloads.criar({.nome = "novo.pdf", .origem = endereco("a.org"), .baixadoHaDias = 1});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        QCOMPARE(modelo->raioX()->maisAntigoEmDias(), 59);
        Diagnostico d(*modelo);
        QVERIFY(d.exposto());
        QVERIFY2(d.leitura().startsWith(QStringLiteral(
                     "Nada na sua pasta tem mais de 59 dias, então o problema não é o que acumulou. ")),
            qPrintable(d.leitura()));
    }

    void sessentaDiasNaoDiz()
    {
        Downloads downloads;
        downloads.criar({.nome = "antigo.pdf", .origem = endereco("a.org"), .baixadoHaDias = 60.5});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        QCOMPARE(modelo->raioX()->maisAntigoEmDias(), 60);
        Diagnostico d(*modelo);
        QVERIFY(d.exposto());
        QVERIFY(!d.leitura().contains(QStringLiteral("Nada na sua pasta tem mais de ")));
        QVERIFY(d.leitura().startsWith(QStringLiteral("São 1 arquivos que chegaram")));
    }

    void concentracaoDeMetadeNaoFalaEmEspalhadas()
    {
        Downloads downloads;
        metade(downloads);
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        QCOMPARE(modelo->raioX()->concentracaoTop3(), 0.5);
        Diagnostico d(*modelo);
        QVERIFY(d.exposto());
        QVERIFY(!d.leitura().contains(QStringLiteral("espalhadas")));
        QCOMPARE(d.barra(3).textoDoPct(), QStringLiteral("50%"));
    }

    void quarentaENoveFalaEmEspalhadasEAQuartaBarraLe49()
    {
        Downloads downloads;
        quarentaENovePorCento(downloads);
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        const RaioX& r = *modelo->raioX();
        QCOMPARE(r.concentracaoTop3(), 0.49);
        Diagnostico d(*modelo);
        QVERIFY(d.exposto());
        QVERIFY(d.leitura().endsWith(QStringLiteral(" ") + kEspalhadas));
        QCOMPARE(d.leitura(), QString::fromStdString(tarrafa::leitura(r)));

        // The four bars, in order, with their figures.
        QCOMPARE(d.barra(0).nome(), QStringLiteral("Você não consegue identificar pelo nome"));
        QCOMPARE(d.barra(0).pct(), r.pct(r.nomesOpacos()));
        QCOMPARE(d.barra(0).abs(), QString::number(r.nomesOpacos()) + QStringLiteral(" de 100"));
        QCOMPARE(d.barra(0).cor(), aparencia::laranja(d.vista.palette()));
        QCOMPARE(d.barra(1).nome(), QStringLiteral("Nunca foram abertos depois do download"));
        QCOMPARE(d.barra(1).textoDoPct(), QStringLiteral("100%"));
        QCOMPARE(d.barra(1).abs(), QStringLiteral("100 de 100"));
        QCOMPARE(d.barra(1).cor(), d.vista.palette().color(QPalette::WindowText));
        QCOMPARE(d.barra(2).nome(), QStringLiteral("Guardam de onde vieram"));
        QCOMPARE(d.barra(2).textoDoPct(), QStringLiteral("100%"));
        QCOMPARE(d.barra(2).abs(), QStringLiteral("100 de 100 · é esse dado que o app usa para agrupar"));
        QCOMPARE(d.barra(2).cor(), aparencia::verde(d.vista.palette()));
        QCOMPARE(d.barra(3).nome(), QStringLiteral("Concentração das 3 maiores origens"));
        QCOMPARE(d.barra(3).textoDoPct(), QStringLiteral("49%"));
        QCOMPARE(d.barra(3).abs(),
            QStringLiteral("7 origens distintas · quanto maior, melhor o agrupamento funciona"));
        QCOMPARE(d.barra(3).cor(), aparencia::azul(d.vista.palette()));

        // The fourth bar is filled to just under half its width.
        const Barra& quarta = d.barra(3);
        const QImage imagem = const_cast<Barra&>(quarta).grab().toImage();
        const int meioDaBarra = (quarta.sizeHint().height()
            - QFontMetrics(aparencia::fonte(aparencia::kLegendaMenor)).height() - 7 - 7 / 2 - 1);
        const auto cor = [&](double fracao) {
            return imagem.pixelColor(
                QPoint(int(quarta.width() * fracao), meioDaBarra) * imagem.devicePixelRatio());
        };
        QCOMPARE(cor(0.45).rgb(), aparencia::azul(d.vista.palette()).rgb());
        QVERIFY(cor(0.53).rgb() != aparencia::azul(d.vista.palette()).rgb());
        QCOMPARE(Barra::larguraPreenchida(600, 49), 294.0);

        // The box and the last line.
        QCOMPARE(d.vista.caixa().title(), QStringLiteral("O que isso quer dizer"));
        QCOMPARE(d.vista.caixa().font().weight(), QFont::DemiBold);
        QVERIFY(d.vista.leitura().wordWrap());
        QVERIFY(d.vista.caixa().isAncestorOf(&d.vista.leitura()));
        QCOMPARE(d.vista.somenteLeitura().text(),
            QStringLiteral("Somente leitura. Nada foi movido, renomeado ou apagado."));
        QVERIFY(d.vista.caixa().geometry().bottom() < d.vista.somenteLeitura().geometry().top());
        QVERIFY(quarta.geometry().bottom() < d.vista.caixa().geometry().top());
        capturar(d.vista, QStringLiteral("raiox"));
    }

    void vaziaAntesDaPrimeiraVarredura()
    {
        Downloads downloads;
        downloads.criar({.nome = "a.pdf", .origem = endereco("a.org")});
        Modelo modelo(downloads.pasta(), downloads.arquivoDecisoes());
        QSignalSpy terminou(&modelo, &Modelo::varreduraTerminada);
        Diagnostico d(modelo);
        QVERIFY(!modelo.raioX().has_value());
        QVERIFY(!d.vista.temConteudo());
        QVERIFY(!d.vista.leitura().isVisible());
        QVERIFY(terminou.wait(60000));
        QVERIFY(d.vista.temConteudo());
        QVERIFY(d.vista.leitura().isVisible());
        QCOMPARE(d.barra(2).textoDoPct(), QStringLiteral("100%"));
    }

    void grupoDeTresComUmNuncaAbertoDa33PorCento()
    {
        Downloads downloads;
        downloads.criar({.nome = "proposta.pdf",
            .tamanho = 1000,
            .origem = endereco("x.org"),
            .baixadoHaDias = 9,
            .usadoHaDias = 8});
        downloads.criar({.nome = "contrato.pdf",
            .tamanho = 2000,
            .origem = endereco("x.org"),
            .baixadoHaDias = 9,
            .usadoHaDias = 3});
        downloads.criar(
            {.nome = "anexo.pdf", .tamanho = 3000, .origem = endereco("x.org"), .baixadoHaDias = 9});
        downloads.criar({.nome = "outro.pdf", .tamanho = 40000, .origem = endereco("y.org")});
        downloads.criar({.nome = "mais-um.pdf", .tamanho = 50000, .origem = endereco("y.org")});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        const RaioX& r = *modelo->raioX();

        const Escopo escopo = Escopo::doGrupo(modelo->itens(Destino::grupo("host:x.org")));
        QCOMPARE(escopo, Escopo::grupo(3, 6000, 1, 0));
        FaixaResumo faixa;
        faixa.resize(720, faixa.sizeHint().height());
        faixa.show();
        QVERIFY(QTest::qWaitForWindowExposed(&faixa));
        faixa.mostrar(r, escopo);
        QCOMPARE(faixa.vistas()[1]->celula(),
            (Celula {QStringLiteral("Nunca abertos"), QStringLiteral("1"), QStringLiteral("33% do grupo")}));
        QCOMPARE(faixa.vistas()[0]->celula(),
            (Celula {QStringLiteral("No grupo"), QStringLiteral("3"), bytes(6000)}));
        QCOMPARE(faixa.vistas()[2]->celula(),
            (Celula {
                QStringLiteral("Nome não identifica"), QStringLiteral("0"), QStringLiteral("0% do grupo")}));
        // The fourth cell is the whole folder's, not the group's.
        QCOMPARE(faixa.vistas()[3]->celula(),
            (Celula {QStringLiteral("Na pasta"), QStringLiteral("5"), bytes(r.bytes())}));
        QCOMPARE(r.bytes(), std::int64_t(96000));
        // Four equal cells, left to right.
        for (std::size_t i = 1; i < faixa.vistas().size(); ++i) {
            QVERIFY(faixa.vistas()[i - 1]->geometry().right() < faixa.vistas()[i]->geometry().left());
            QVERIFY(std::abs(faixa.vistas()[i]->width() - faixa.vistas()[0]->width()) <= 1);
        }
        capturar(faixa, QStringLiteral("faixa-grupo"));

        faixa.mostrar(r, Escopo::pasta());
        const std::vector<Celula> daPasta {
            {QStringLiteral("Na pasta"), QStringLiteral("5"), bytes(96000)},
            {QStringLiteral("Nunca abertos"), QStringLiteral("3"), QStringLiteral("60% do total")},
            {QStringLiteral("Nome não identifica"), QString::number(r.nomesOpacos()),
                QString::number(r.pct(r.nomesOpacos())) + QStringLiteral("% do total")},
            {QStringLiteral("Origens distintas"), QStringLiteral("2"), QStringLiteral("100% nas 3 maiores")},
        };
        QCOMPARE(faixa.celulas(), daPasta);
        capturar(faixa, QStringLiteral("faixa-pasta"));
    }

    void porcentagemDoGrupoCortaSemArredondar()
    {
        QCOMPARE(porcentoDoGrupo(1, 3), 33);
        QCOMPARE(porcentoDoGrupo(2, 3), 66);
        QCOMPARE(porcentoDoGrupo(3, 3), 100);
        QCOMPARE(porcentoDoGrupo(5, 0), 0);
        const RaioX r(7, 0, 0, 0, 7, 3, 0.4999, 0);
        QCOMPARE(celulas(r, Escopo::pasta())[3].sub, QStringLiteral("49% nas 3 maiores"));
    }

    void nomesOpacosContamUmaVezPorItem()
    {
        Downloads downloads;
        for (const char* nome : {"IMG_4821.jpg", "20240315.pdf", "relatorio-de-vendas.pdf"}) {
            downloads.criar({.nome = nome, .origem = endereco("z.org")});
        }
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        const std::vector<ItemTriado> itens = modelo->itens(Destino::grupo("host:z.org"));
        const Escopo escopo = Escopo::doGrupo(itens);
        QCOMPARE(escopo.opacos(), modelo->grupos().front().nomesOpacos());
        QCOMPARE(escopo.opacos(), 2);
        QCOMPARE(celulas(*modelo->raioX(), escopo)[2].sub, QStringLiteral("66% do grupo"));
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::ResumoTest;
TARRAFA_REGISTRAR_TESTE(ResumoTest)

#include "ResumoTest.moc"
