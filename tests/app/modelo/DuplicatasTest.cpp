// SPDX-License-Identifier: GPL-3.0-or-later
// Identical contents found after the scan, off the interface thread, and kept right while the
// folder changes.
#include "Casa.hpp"
#include "Registro.hpp"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

std::vector<Selo> selosDe(const Modelo& modelo, std::string_view nome)
{
    const auto item = itemPorNome(modelo, nome);
    return item ? item->selos() : std::vector<Selo> {};
}

bool temSelo(const Modelo& modelo, std::string_view nome, const Selo& selo)
{
    const std::vector<Selo> selos = selosDe(modelo, nome);
    return std::ranges::find(selos, selo) != selos.end();
}

bool semCopia(const Modelo& modelo, std::string_view nome)
{
    return std::ranges::none_of(
        selosDe(modelo, nome), [](const Selo& selo) { return selo.caso() == Selo::Caso::copiaIdentica; });
}

} // namespace

class DuplicatasTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { Casa::recomecar(); }

    void selosDeCopiaChegamDepoisDaVarreduraEOMaisAntigoFicaIntocado()
    {
        const std::string conteudo(5000, 'x');
        // Written first, and the shortest name without a copy suffix: the original whether or not
        // the file system's clock ticked between the writes.
        escrever(emDownloads("Contrato.pdf"), conteudo);
        escrever(emDownloads("a8f3c2e1d9.pdf"), conteudo);
        escrever(emDownloads("documento (1).pdf"), conteudo);
        escrever(emDownloads("outro.pdf"), std::string(5000, 'y'));
        escrever(emDownloads("documento.pdf"), "outro tamanho");

        auto modelo = std::make_unique<Modelo>(Casa::downloads(), Casa::arquivoDeDecisoes());
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QSignalSpy comparadas(modelo.get(), &Modelo::duplicatasComparadas);
        QVERIFY(esperar(fins, 1));
        QVERIFY(esperar(comparadas, 1));

        QCOMPARE(modelo->duplicataDe().size(), std::size_t(2));
        QVERIFY(temSelo(*modelo, "a8f3c2e1d9.pdf", Selo::copiaIdentica("Contrato.pdf")));
        QVERIFY(temSelo(*modelo, "documento (1).pdf", Selo::copiaIdentica("Contrato.pdf")));
        // The copy's badge takes the place of the name's copy suffix.
        QVERIFY(!temSelo(*modelo, "documento (1).pdf", Selo::sufixoDeCopia()));
        QVERIFY(semCopia(*modelo, "Contrato.pdf"));
        QVERIFY(semCopia(*modelo, "outro.pdf"));
        QCOMPARE(modelo->duplicataDe().at(emDownloads("a8f3c2e1d9.pdf")), emDownloads("Contrato.pdf"));

        // A new scan keeps the badges while it compares again, and finds the same.
        modelo->varrer();
        QVERIFY(esperar(fins, 2));
        QVERIFY(temSelo(*modelo, "a8f3c2e1d9.pdf", Selo::copiaIdentica("Contrato.pdf")));
        QVERIFY(esperar(comparadas, 2));
        QCOMPARE(modelo->duplicataDe().size(), std::size_t(2));
    }

    void pastaViva_copiaQueChegaGanhaOSeloEQuemMudaOPerde()
    {
        const std::string conteudo(3000, 'z');
        escrever(emDownloads("foto.jpg"), conteudo);
        auto modelo = std::make_unique<Modelo>(Casa::downloads(), Casa::arquivoDeDecisoes());
        modelo->setAoVivo(true);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QVERIFY(esperar(fins, 1));

        escrever(emDownloads("IMG_0001.jpg"), conteudo);
        QTRY_VERIFY(temSelo(*modelo, "IMG_0001.jpg", Selo::copiaIdentica("foto.jpg")));
        QVERIFY(semCopia(*modelo, "foto.jpg"));

        // Rewritten with other bytes of the same size: no longer a copy.
        escrever(emDownloads("IMG_0001.jpg"), std::string(3000, 'w'));
        QTRY_VERIFY(modelo->duplicataDe().empty());
        QVERIFY(itemPorNome(*modelo, "IMG_0001.jpg"));
        QVERIFY(semCopia(*modelo, "IMG_0001.jpg"));
        QCOMPARE(fins.count(), 1); // never a whole new scan
    }

    void pastaViva_copiaQueSoGanhaOrigemNaoPerdeOSeloNemPorUmInstante()
    {
        const std::string conteudo(4000, 'q');
        escrever(emDownloads("nota.pdf"), conteudo);
        escrever(emDownloads("nota-baixada-de-novo.pdf"), conteudo);
        auto modelo = std::make_unique<Modelo>(Casa::downloads(), Casa::arquivoDeDecisoes());
        modelo->setAoVivo(true);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QSignalSpy comparadas(modelo.get(), &Modelo::duplicatasComparadas);
        QVERIFY(esperar(fins, 1));
        QVERIFY(esperar(comparadas, 1));
        const Selo selo = Selo::copiaIdentica("nota.pdf");
        QVERIFY(temSelo(*modelo, "nota-baixada-de-novo.pdf", selo));

        // Each update the watcher applies is looked at as the window would draw it.
        int semSelo = 0;
        int atualizacoes = 0;
        connect(modelo.get(), &Modelo::mudancasAplicadas, this, [&] {
            ++atualizacoes;
            if (!temSelo(*modelo, "nota-baixada-de-novo.pdf", selo)) {
                ++semSelo;
            }
        });
        definirOrigem(emDownloads("nota-baixada-de-novo.pdf"), "https://exemplo.org/nota.pdf");
        QTRY_VERIFY(itemPorNome(*modelo, "nota-baixada-de-novo.pdf")->origem().chave() != Origem::kChaveSemOrigem);
        QVERIFY(atualizacoes > 0);
        QCOMPARE(semSelo, 0);
    }
};

TARRAFA_REGISTRAR_TESTE(DuplicatasTest)
#include "DuplicatasTest.moc"
