// SPDX-License-Identifier: GPL-3.0-or-later
// The decision store: what the file holds byte for byte, when it is written, and how much
// of it survives a bad file.
#include "Casa.hpp"
#include "Registro.hpp"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <filesystem>
#include <memory>

#include <sys/stat.h>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

void gravarArquivoDeDecisoes(const std::string& conteudo)
{
    std::filesystem::create_directories(Casa::pastaDeDados());
    escrever(Casa::arquivoDeDecisoes().toStdString(), conteudo);
}

std::string arquivoDeDecisoes()
{
    return ler(Casa::arquivoDeDecisoes().toStdString());
}

} // namespace

class DecisoesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        Casa::recomecar();
        for (const char* nome : {"a.pdf", "b.pdf", "c.pdf"}) {
            escrever(emDownloads(nome), nome);
        }
    }

    void umValorForaDosQuatroDescartaOArquivoInteiro()
    {
        const std::string ruim
            = "{\"" + emDownloads("a.pdf") + "\":\"adiado\",\"" + emDownloads("b.pdf") + "\":\"talvez\"}";
        gravarArquivoDeDecisoes(ruim);
        Modelo modelo;
        QVERIFY(modelo.decisoes().empty());
        QVERIFY(modelo.decisao(emDownloads("a.pdf")) == Decisao::novo);

        // Nothing was pruned, so the scan leaves the file alone; the next save replaces it.
        QSignalSpy fins(&modelo, &Modelo::varreduraTerminada);
        QVERIFY(fins.wait(20000));
        QCOMPARE(arquivoDeDecisoes(), ruim);
        modelo.decidir({emDownloads("c.pdf")}, Decisao::ignorado);
        QCOMPARE(arquivoDeDecisoes(), "{\"" + comBarrasEscapadas(emDownloads("c.pdf")) + "\":\"ignorado\"}");
    }

    void arquivoIlegivelOuMalformadoDaDecisoesVazias_data()
    {
        QTest::addColumn<QByteArray>("conteudo");
        const QByteArray a = QByteArray::fromStdString(emDownloads("a.pdf"));
        QTest::newRow("vazio") << QByteArray();
        QTest::newRow("json quebrado") << QByteArray("{\"" + a + "\":\"adiado\"");
        QTest::newRow("lista") << QByteArray("[\"" + a + "\",\"adiado\"]");
        QTest::newRow("texto") << QByteArray("\"adiado\"");
        QTest::newRow("valor numerico") << QByteArray("{\"" + a + "\":1}");
        QTest::newRow("valor nulo") << QByteArray("{\"" + a + "\":null}");
        QTest::newRow("valor objeto") << QByteArray("{\"" + a + "\":{\"decisao\":\"adiado\"}}");
        QTest::newRow("caixa diferente") << QByteArray("{\"" + a + "\":\"Adiado\"}");
        QTest::newRow("lixo depois") << QByteArray("{\"" + a + "\":\"adiado\"} x");
        QTest::newRow("dois objetos") << QByteArray("{\"" + a + "\":\"adiado\"}{}");
    }

    void arquivoIlegivelOuMalformadoDaDecisoesVazias()
    {
        QFETCH(QByteArray, conteudo);
        gravarArquivoDeDecisoes(conteudo.toStdString());
        Modelo modelo;
        QVERIFY(modelo.decisoes().empty());
        QVERIFY(!modelo.erro().has_value());
    }

    void arquivoAusenteOuQueEhUmaPastaDaDecisoesVazias()
    {
        {
            Modelo modelo;
            QVERIFY(modelo.decisoes().empty());
        }
        std::filesystem::remove_all(Casa::pastaDeDados());
        std::filesystem::create_directories(Casa::arquivoDeDecisoes().toStdString());
        Modelo modelo;
        QVERIFY(modelo.decisoes().empty());
        QVERIFY(!modelo.erro().has_value());
    }

    void leBarrasEscapadasOuNao()
    {
        gravarArquivoDeDecisoes("{\"" + comBarrasEscapadas(emDownloads("a.pdf")) + "\":\"adiado\",\""
            + emDownloads("b.pdf") + "\":\"resolvido\", \"" + emDownloads("c.pdf") + "\" : \"ignorado\"}\n");
        Modelo modelo;
        QCOMPARE(modelo.decisoes().size(), std::size_t(3));
        QVERIFY(modelo.decisao(emDownloads("a.pdf")) == Decisao::adiado);
        QVERIFY(modelo.decisao(emDownloads("b.pdf")) == Decisao::resolvido);
        QVERIFY(modelo.decisao(emDownloads("c.pdf")) == Decisao::ignorado);
    }

    void decidirOMesmoIdDuasVezesFicaComOUltimoValorEGravaUmaVez()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        Gravacoes gravacoes(Casa::pastaDeDados(), "decisoes.json");
        QSignalSpy mudancas(modelo.get(), &Modelo::decisoesChanged);

        modelo->decidir({emDownloads("a.pdf"), emDownloads("a.pdf")}, Decisao::adiado);

        QCOMPARE(gravacoes.desdeAUltima(), std::make_pair(1, 0));
        QCOMPARE(modelo->decisoes().size(), std::size_t(1));
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::adiado);
        QCOMPARE(mudancas.count(), 2); // each assignment is a change of its own
        QCOMPARE(arquivoDeDecisoes(), "{\"" + comBarrasEscapadas(emDownloads("a.pdf")) + "\":\"adiado\"}");
    }

    void decidirComUmaListaVaziaAindaGrava()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        Gravacoes gravacoes(Casa::pastaDeDados(), "decisoes.json");
        modelo->decidir({}, Decisao::resolvido);
        QCOMPARE(gravacoes.desdeAUltima(), std::make_pair(1, 0));
        QCOMPARE(arquivoDeDecisoes(), std::string("{}"));
    }

    void podarComTodasAsChavesNaoGravaEPodarUmaEntradaGrava()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::string a = emDownloads("a.pdf");
        const std::string b = emDownloads("b.pdf");
        modelo->decidir({a, b}, Decisao::adiado);
        const std::string antes = arquivoDeDecisoes();
        Gravacoes gravacoes(Casa::pastaDeDados(), "decisoes.json");
        QSignalSpy mudancas(modelo.get(), &Modelo::decisoesChanged);

        modelo->podarDecisoes({a, b});
        modelo->podarDecisoes({a, b, emDownloads("c.pdf")});
        QCOMPARE(gravacoes.desdeAUltima(), std::make_pair(0, 0));
        QCOMPARE(mudancas.count(), 0);
        QCOMPARE(arquivoDeDecisoes(), antes);
        QCOMPARE(modelo->decisoes().size(), std::size_t(2));

        modelo->podarDecisoes({a});
        QCOMPARE(gravacoes.desdeAUltima(), std::make_pair(1, 0));
        QCOMPARE(mudancas.count(), 1);
        QCOMPARE(modelo->decisoes().size(), std::size_t(1));
        QVERIFY(modelo->decisao(b) == Decisao::novo);
        QCOMPARE(arquivoDeDecisoes(), "{\"" + comBarrasEscapadas(a) + "\":\"adiado\"}");
    }

    void podarUmaEntradaNovoTambemARemove()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({emDownloads("a.pdf")}, Decisao::novo);
        QCOMPARE(modelo->decisoes().size(), std::size_t(1));
        modelo->podarDecisoes({});
        QVERIFY(modelo->decisoes().empty());
        QCOMPARE(arquivoDeDecisoes(), std::string("{}"));
    }

    void decidirNovoGuardaNovoNoArquivo()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::string a = emDownloads("a.pdf");
        const std::string b = emDownloads("b.pdf");
        modelo->decidir({a}, Decisao::resolvido);
        modelo->decidir({a, b}, Decisao::novo);

        // Deciding novo keeps the key; only pruning removes it.
        QCOMPARE(modelo->decisoes().size(), std::size_t(2));
        const QJsonDocument lido = QJsonDocument::fromJson(QByteArray::fromStdString(arquivoDeDecisoes()));
        QVERIFY(lido.isObject());
        QCOMPARE(lido.object().size(), 2);
        QCOMPARE(lido.object().value(deBytes(a)).toString(), QStringLiteral("novo"));
        QCOMPARE(lido.object().value(deBytes(b)).toString(), QStringLiteral("novo"));
        const std::string bytes = arquivoDeDecisoes();
        QVERIFY(bytes.find("\"" + comBarrasEscapadas(a) + "\":\"novo\"") != std::string::npos);
        QVERIFY(bytes.find("\"" + comBarrasEscapadas(b) + "\":\"novo\"") != std::string::npos);
    }

    void oArquivoDeUmCaminhoEhUmObjetoCompactoNumaLinhaComBarrasEscapadas()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::string a = emDownloads("a.pdf");
        modelo->decidir({a}, Decisao::adiado);

        const std::string bytes = arquivoDeDecisoes();
        QCOMPARE(bytes, "{\"" + comBarrasEscapadas(a) + "\":\"adiado\"}");
        QVERIFY(bytes.find('\n') == std::string::npos);
        QVERIFY(bytes.find(' ') == std::string::npos);
        QVERIFY(bytes.find("\\/Downloads\\/a.pdf\"") != std::string::npos);
        QCOMPARE(std::count(bytes.begin(), bytes.end(), '/'), std::count(a.begin(), a.end(), '/'));
    }

    void nomesComAspasBarrasInvertidasEAcentosSaemEmJsonValido()
    {
        const std::string estranho = emDownloads("relatório \"final\" \\ v2\t.pdf");
        escrever(estranho, "x");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({estranho}, Decisao::ignorado);

        QCOMPARE(arquivoDeDecisoes(),
            "{\"" + comBarrasEscapadas(emDownloads("relatório \\\"final\\\" \\\\ v2\\t.pdf"))
                + "\":\"ignorado\"}");
        Modelo relido;
        QCOMPARE(relido.decisoes().size(), std::size_t(1));
        QVERIFY(relido.decisao(estranho) == Decisao::ignorado);
    }

    void mapaVazioEhGravadoComoChavesVazias()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->salvarDecisoes();
        QCOMPARE(arquivoDeDecisoes(), std::string("{}"));
    }

    void decisoesSobrevivemAUmNovoInicio()
    {
        {
            const auto modelo = modeloVarrido();
            QVERIFY(modelo);
            modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
            modelo->decidir({emDownloads("b.pdf"), emDownloads("c.pdf")}, Decisao::resolvido);
        }
        Modelo modelo;
        QCOMPARE(modelo.decisoes().size(), std::size_t(3));
        QVERIFY(modelo.decisao(emDownloads("a.pdf")) == Decisao::adiado);
        QVERIFY(modelo.decisao(emDownloads("b.pdf")) == Decisao::resolvido);
        QVERIFY(modelo.decisao(emDownloads("c.pdf")) == Decisao::resolvido);
    }

    void caminhoQueNaoEhUtf8FicaNaMemoriaMasNuncaNoArquivo()
    {
        const std::string torto = emDownloads("nota-\xff\xfe.pdf");
        escrever(torto, "x");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({torto}, Decisao::adiado);
        QVERIFY(modelo->decisao(torto) == Decisao::adiado);
        QCOMPARE(arquivoDeDecisoes(), std::string("{}"));

        modelo->decidir({emDownloads("a.pdf")}, Decisao::ignorado);
        QCOMPARE(modelo->decisoes().size(), std::size_t(2));
        QCOMPARE(arquivoDeDecisoes(), "{\"" + comBarrasEscapadas(emDownloads("a.pdf")) + "\":\"ignorado\"}");
    }

    void gravacaoTrocaOArquivoInteiroDeUmaVez()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::string arquivo = Casa::arquivoDeDecisoes().toStdString();
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        const auto primeiro = inode(arquivo);
        Gravacoes gravacoes(Casa::pastaDeDados(), "decisoes.json");

        modelo->decidir({emDownloads("b.pdf")}, Decisao::adiado);

        // A new file renamed over the old one, never the old one rewritten in place.
        QCOMPARE(gravacoes.desdeAUltima(), std::make_pair(1, 0));
        QVERIFY(inode(arquivo) != primeiro);
        QCOMPARE(nomesEm(Casa::pastaDeDados()), std::vector<std::string> {"decisoes.json"});
    }

    void falhaAoGravarEhSilenciosaEGuardaAsDecisoesNaMemoria()
    {
        // The data folder cannot be made: a plain file has its name.
        std::filesystem::remove_all(Casa::pastaDeDados());
        escrever(Casa::pastaDeDados(), "nao sou uma pasta");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::adiado);
        QVERIFY(!modelo->erro().has_value());
        QCOMPARE(ler(Casa::pastaDeDados()), std::string("nao sou uma pasta"));
    }

    void falhaAoGravarDeixaOArquivoAnterior()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        const std::string antes = arquivoDeDecisoes();
        // The temporary file cannot be created next to it: the folder is no longer writable.
        QVERIFY(::chmod(Casa::pastaDeDados().c_str(), 0555) == 0);
        {
            SemPrivilegiosDeArquivo semPrivilegios;
            QVERIFY(semPrivilegios.ok());
            modelo->decidir({emDownloads("b.pdf")}, Decisao::resolvido);
        }
        ::chmod(Casa::pastaDeDados().c_str(), 0755);
        QCOMPARE(arquivoDeDecisoes(), antes);
        QVERIFY(modelo->decisao(emDownloads("b.pdf")) == Decisao::resolvido);
        QVERIFY(!modelo->erro().has_value());
    }
};

TARRAFA_REGISTRAR_TESTE(DecisoesTest)
#include "DecisoesTest.moc"
