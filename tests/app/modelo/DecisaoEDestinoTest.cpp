// SPDX-License-Identifier: GPL-3.0-or-later
// The two small value types the views pass around: the decision and the destination.
#include "Registro.hpp"

#include "TarrafaApp/Modelo/Destino.hpp"
#include "TarrafaCore/Decisao.hpp"

#include <QSet>
#include <QTest>

#include <unordered_set>

using namespace tarrafa;
using namespace tarrafa::app;

class DecisaoEDestinoTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decisoesNaOrdemComSeusValoresBrutos()
    {
        std::vector<std::string_view> valores;
        for (const Decisao decisao : kTodasAsDecisoes) {
            valores.push_back(valorBruto(decisao));
        }
        QCOMPARE(valores, (std::vector<std::string_view> {"novo", "adiado", "resolvido", "ignorado"}));
        QCOMPARE(kTodasAsDecisoes.front(), Decisao::novo);
        QCOMPARE(kTodasAsDecisoes.back(), Decisao::ignorado);
    }

    void valorBrutoVoltaASerADecisao()
    {
        for (const Decisao decisao : kTodasAsDecisoes) {
            QCOMPARE(decisaoDeValorBruto(valorBruto(decisao)), std::optional<Decisao>(decisao));
        }
    }

    void valorBrutoDesconhecidoNaoEhDecisao()
    {
        for (const std::string_view valor :
            {"", "Novo", "ADIADO", "talvez", "resolvido ", " ignorado", "novos"}) {
            QVERIFY2(!decisaoDeValorBruto(valor).has_value(), std::string(valor).c_str());
        }
    }

    void destinosIguaisPeloCasoEPelaChave()
    {
        QVERIFY(Destino::grupo("github") == Destino::grupo("github"));
        QVERIFY(!(Destino::grupo("github") == Destino::grupo("gmail")));
        QVERIFY(!(Destino::grupo("") == Destino::entrada()));
        QVERIFY(Destino::entrada() == Destino::entrada());
        QVERIFY(!(Destino::adiados() == Destino::resolvidos()));
        QCOMPARE(Destino::grupo("host:exemplo.com").chave(), std::string("host:exemplo.com"));
        QCOMPARE(Destino::raioX().chave(), std::string());
        QCOMPARE(Destino::grupo("x").caso(), Destino::Caso::grupo);
        QCOMPARE(Destino::raioX().caso(), Destino::Caso::raioX);
    }

    void destinosServemDeChaveEmConjuntos()
    {
        const std::vector<Destino> todos {Destino::entrada(), Destino::adiados(), Destino::resolvidos(),
            Destino::raioX(), Destino::grupo("github"), Destino::grupo("gmail"), Destino::grupo("")};
        std::unordered_set<Destino> padrao(todos.begin(), todos.end());
        QSet<Destino> doQt(todos.begin(), todos.end());
        for (const Destino& destino : todos) {
            padrao.insert(destino);
            doQt.insert(destino);
        }
        QCOMPARE(padrao.size(), todos.size());
        QCOMPARE(std::size_t(doQt.size()), todos.size());
        QVERIFY(padrao.contains(Destino::grupo("gmail")));
        QVERIFY(doQt.contains(Destino::grupo("github")));
        QVERIFY(!doQt.contains(Destino::grupo("slack")));
        QCOMPARE(qHash(Destino::grupo("gmail"), 7), qHash(Destino::grupo(std::string("gm") + "ail"), 7));
    }
};

TARRAFA_REGISTRAR_TESTE(DecisaoEDestinoTest)
#include "DecisaoEDestinoTest.moc"
