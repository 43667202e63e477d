// SPDX-License-Identifier: GPL-3.0-or-later
// The decision store: what the file holds byte for byte, when it is written, and how much
// of it survives a bad file.
#include "Casa.hpp"
#include "LimiteDeTamanho.hpp"
#include "Registro.hpp"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>
#include <QUndoStack>

#include <algorithm>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;
using tarrafa::teste::LimiteDeTamanho;

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

    void outroProgramaSegurandoAsDecisoesNaoTravaAJanelaEElasSaoGravadasDepois()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        std::filesystem::create_directories(Casa::pastaDeDados());
        // Another program takes the writers' lock and keeps it.
        const int outro = ::open(Casa::pastaDeDados().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        QVERIFY(outro >= 0);
        QCOMPARE(::flock(outro, LOCK_EX), 0);

        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        const QString aviso = QStringLiteral(
            "Outro programa está usando as decisões: as suas continuam valendo nesta janela e serão gravadas "
            "assim que ele terminar.");
        QTRY_COMPARE_WITH_TIMEOUT(modelo->mensagem(), std::optional<QString>(aviso), 15000);
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::adiado);
        QVERIFY(!existe(Casa::arquivoDeDecisoes().toStdString()));

        // Let go: the decision goes in without another one taken, and the warning leaves.
        ::close(outro);
        QTRY_VERIFY_WITH_TIMEOUT(existe(Casa::arquivoDeDecisoes().toStdString()), 15000);
        QCOMPARE(arquivoDeDecisoes(), "{\"" + comBarrasEscapadas(emDownloads("a.pdf")) + "\":\"adiado\"}");
        QTRY_VERIFY(!modelo->mensagem());
    }

    void fecharComAsDecisoesPresasPorOutroProgramaNaoEsperaParaSempre()
    {
        auto modelo = modeloVarrido();
        QVERIFY(modelo);
        std::filesystem::create_directories(Casa::pastaDeDados());
        const int outro = ::open(Casa::pastaDeDados().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        QVERIFY(outro >= 0);
        QCOMPARE(::flock(outro, LOCK_EX), 0);
        modelo->decidir({emDownloads("b.pdf")}, Decisao::ignorado);
        QElapsedTimer relogio;
        relogio.start();
        modelo.reset();
        QVERIFY2(relogio.elapsed() < 12000, qPrintable(QString::number(relogio.elapsed())));
        ::close(outro);
    }

    void umValorForaDosQuatroDescartaOArquivoInteiroQueFicaDeLado()
    {
        const std::string ruim
            = "{\"" + emDownloads("a.pdf") + "\":\"adiado\",\"" + emDownloads("b.pdf") + "\":\"talvez\"}";
        gravarArquivoDeDecisoes(ruim);
        Modelo modelo;
        QVERIFY(modelo.decisoes().empty());
        QVERIFY(modelo.decisao(emDownloads("a.pdf")) == Decisao::novo);

        // Nothing was pruned, so the scan leaves the file alone; the next save puts it aside,
        // whole, under a name of its own before writing the new one.
        QSignalSpy fins(&modelo, &Modelo::varreduraTerminada);
        QVERIFY(fins.wait(20000));
        QCOMPARE(arquivoDeDecisoes(), ruim);
        modelo.decidir({emDownloads("c.pdf")}, Decisao::ignorado);
        modelo.concluirGravacoes();
        QCOMPARE(arquivoDeDecisoes(), "{\"" + comBarrasEscapadas(emDownloads("c.pdf")) + "\":\"ignorado\"}");
        const std::vector<std::string> nomes = nomesEm(Casa::pastaDeDados());
        QCOMPARE(nomes.size(), std::size_t(2));
        QVERIFY(nomes[1].starts_with("decisoes.json.ilegivel-"));
        QCOMPARE(ler(Casa::pastaDeDados() + "/" + nomes[1]), ruim);
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
        modelo->concluirGravacoes();

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
        modelo->concluirGravacoes();
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
        modelo->concluirGravacoes();
        const std::string antes = arquivoDeDecisoes();
        Gravacoes gravacoes(Casa::pastaDeDados(), "decisoes.json");
        QSignalSpy mudancas(modelo.get(), &Modelo::decisoesChanged);

        modelo->podarDecisoes({a, b});
        modelo->podarDecisoes({a, b, emDownloads("c.pdf")});
        modelo->concluirGravacoes();
        QCOMPARE(gravacoes.desdeAUltima(), std::make_pair(0, 0));
        QCOMPARE(mudancas.count(), 0);
        QCOMPARE(arquivoDeDecisoes(), antes);
        QCOMPARE(modelo->decisoes().size(), std::size_t(2));

        modelo->podarDecisoes({a});
        modelo->concluirGravacoes();
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
        modelo->concluirGravacoes();
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
        modelo->concluirGravacoes();

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
        modelo->concluirGravacoes();

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
        modelo->concluirGravacoes();

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
        modelo->concluirGravacoes();
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

    void caminhosQueNaoSaoUtf8VaoParaOArquivoESobrevivemAUmNovoInicio()
    {
        // Two names a repair with U+FFFD would make one.
        const std::string torto = emDownloads("nota-\xff.pdf");
        const std::string outro = emDownloads("nota-\xfe.pdf");
        escrever(torto, "x");
        escrever(outro, "y");
        {
            const auto modelo = modeloVarrido();
            QVERIFY(modelo);
            modelo->decidir({torto}, Decisao::adiado);
            modelo->decidir({outro}, Decisao::ignorado);
            modelo->concluirGravacoes();
        }
        QCOMPARE(arquivoDeDecisoes(),
            "{\"%" + comBarrasEscapadas(emDownloads("nota-%FE.pdf")) + "\":\"ignorado\",\"%"
                + comBarrasEscapadas(emDownloads("nota-%FF.pdf")) + "\":\"adiado\"}");

        const auto relido = modeloVarrido();
        QVERIFY(relido);
        QCOMPARE(relido->decisoes().size(), std::size_t(2));
        QVERIFY(relido->decisao(torto) == Decisao::adiado);
        QVERIFY(relido->decisao(outro) == Decisao::ignorado);
        // Another program writes meanwhile: what the window learns from the file holds them.
        ArquivoDeDecisoes::Mudancas doOutro;
        doOutro.decidir(emDownloads("b.pdf"), Decisao::ignorado);
        QVERIFY(!ArquivoDeDecisoes(Casa::arquivoDeDecisoes().toStdString()).gravar(doOutro).falha);
        relido->decidir({emDownloads("a.pdf")}, Decisao::resolvido);
        relido->concluirGravacoes();
        QCOMPARE(relido->decisoes().size(), std::size_t(4));
        QVERIFY(relido->decisao(torto) == Decisao::adiado);
        Modelo terceiro;
        QCOMPARE(terceiro.decisoes().size(), std::size_t(4));
        QVERIFY(terceiro.decisao(outro) == Decisao::ignorado);
    }

    void gravacaoTrocaOArquivoInteiroDeUmaVez()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::string arquivo = Casa::arquivoDeDecisoes().toStdString();
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        modelo->concluirGravacoes();
        const auto primeiro = inode(arquivo);
        Gravacoes gravacoes(Casa::pastaDeDados(), "decisoes.json");

        modelo->decidir({emDownloads("b.pdf")}, Decisao::adiado);
        modelo->concluirGravacoes();

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
        modelo->concluirGravacoes();
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::adiado);
        QVERIFY(!modelo->erro().has_value());
        QCOMPARE(ler(Casa::pastaDeDados()), std::string("nao sou uma pasta"));
    }

    void limiteDeTamanhoDeArquivoDeixaOArquivoAnteriorIdenticoEADecisaoVaiNaProxima()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        modelo->concluirGravacoes();
        const std::string antes = arquivoDeDecisoes();
        QVERIFY(antes.size() > 20);
        {
            // The new file would be longer than the limit: the write stops part-way.
            LimiteDeTamanho limite(antes.size() + 10);
            QVERIFY(limite.ok());
            modelo->decidir({emDownloads("b.pdf"), emDownloads("c.pdf")}, Decisao::resolvido);
            modelo->concluirGravacoes();
        }
        QCOMPARE(arquivoDeDecisoes(), antes);
        QCOMPARE(nomesEm(Casa::pastaDeDados()), std::vector<std::string> {"decisoes.json"});
        QVERIFY(modelo->decisao(emDownloads("b.pdf")) == Decisao::resolvido);
        QVERIFY(!modelo->erro().has_value());

        // Nothing was lost: the next save carries what the failed one could not.
        modelo->decidir({}, Decisao::resolvido);
        modelo->concluirGravacoes();
        Modelo relido;
        QCOMPARE(relido.decisoes().size(), std::size_t(3));
        QVERIFY(relido.decisao(emDownloads("c.pdf")) == Decisao::resolvido);
    }

    void linkSimbolicoNoLugarDoArquivoNaoEhSeguido()
    {
        std::filesystem::create_directories(Casa::pastaDeDados());
        const std::string alvo = Casa::raiz() + "/alvo.json";
        const std::string conteudo = "{\"" + emDownloads("a.pdf") + "\":\"adiado\"}";
        escrever(alvo, conteudo);
        std::filesystem::create_symlink(alvo, Casa::arquivoDeDecisoes().toStdString());

        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QVERIFY(modelo->decisoes().empty()); // not read through the link either
        modelo->decidir({emDownloads("b.pdf")}, Decisao::ignorado);
        modelo->concluirGravacoes();

        QCOMPARE(ler(alvo), conteudo);
        QVERIFY(!std::filesystem::is_symlink(Casa::arquivoDeDecisoes().toStdString()));
        QCOMPARE(arquivoDeDecisoes(), "{\"" + comBarrasEscapadas(emDownloads("b.pdf")) + "\":\"ignorado\"}");
        // The link itself is kept, set aside.
        const std::vector<std::string> nomes = nomesEm(Casa::pastaDeDados());
        QCOMPARE(nomes.size(), std::size_t(2));
        QVERIFY(nomes[1].starts_with("decisoes.json.ilegivel-"));
        QCOMPARE(std::filesystem::read_symlink(Casa::pastaDeDados() + "/" + nomes[1]).string(), alvo);
    }

    void doisModelosDecidindoArquivosDiferentesNaoPerdemNada()
    {
        const auto um = modeloVarrido();
        const auto outro = modeloVarrido();
        QVERIFY(um && outro);
        for (int i = 0; i < 5; ++i) {
            const std::string nome = "n" + std::to_string(i) + ".pdf";
            escrever(emDownloads(nome), "x");
            (i % 2 == 0 ? um : outro)->decidir({emDownloads(nome)}, i % 2 == 0 ? Decisao::adiado : Decisao::ignorado);
            // Saves of both run side by side, each behind the other's back.
            QCoreApplication::processEvents();
        }
        um->concluirGravacoes();
        outro->concluirGravacoes();
        // The last one to write learns of the other's decisions.
        um->decidir({emDownloads("a.pdf")}, Decisao::resolvido);
        um->concluirGravacoes();

        Modelo relido;
        QCOMPARE(relido.decisoes().size(), std::size_t(6));
        for (int i = 0; i < 5; ++i) {
            QVERIFY(relido.decisao(emDownloads("n" + std::to_string(i) + ".pdf"))
                == (i % 2 == 0 ? Decisao::adiado : Decisao::ignorado));
        }
        QCOMPARE(um->decisoes().size(), std::size_t(6));
        QVERIFY(um->decisao(emDownloads("n1.pdf")) == Decisao::ignorado);
    }

    void variasDecisoesSeguidasViramUmaSoGravacao()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        Gravacoes gravacoes(Casa::pastaDeDados(), "decisoes.json");
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        modelo->decidir({emDownloads("b.pdf")}, Decisao::ignorado);
        modelo->decidir({emDownloads("c.pdf")}, Decisao::resolvido);
        // Nothing is written on the interface thread: the decisions are still only in memory.
        QVERIFY(!existe(Casa::arquivoDeDecisoes().toStdString()));
        modelo->concluirGravacoes();
        QCOMPARE(gravacoes.desdeAUltima(), std::make_pair(1, 0));
        QCOMPARE(Modelo().decisoes().size(), std::size_t(3));
    }

    void decisoesTomadasAntesDeFecharEstaoNoDisco()
    {
        {
            const auto modelo = modeloVarrido();
            QVERIFY(modelo);
            modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        }
        QCOMPARE(arquivoDeDecisoes(), "{\"" + comBarrasEscapadas(emDownloads("a.pdf")) + "\":\"adiado\"}");
    }

    void cadaDecisaoSeDesfazEmOrdemEmVariosNiveis()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::string a = emDownloads("a.pdf");
        const std::string b = emDownloads("b.pdf");
        QSignalSpy acoes(modelo.get(), &Modelo::acaoFeita);
        modelo->decidir({a, b}, Decisao::adiado);
        modelo->decidir({a}, Decisao::ignorado);
        modelo->decidir({b}, Decisao::novo);
        QCOMPARE(acoes.count(), 3);
        QCOMPARE(acoes.at(0).at(0).toString(), QStringLiteral("2 arquivos adiados"));
        QCOMPARE(acoes.at(1).at(0).toString(), QStringLiteral("1 arquivo ignorado"));
        QCOMPARE(acoes.at(2).at(0).toString(), QStringLiteral("1 arquivo devolvido à caixa de entrada"));
        QUndoStack& pilha = modelo->pilhaDeDesfazer();
        QCOMPARE(pilha.count(), 3);

        pilha.undo();
        QVERIFY(modelo->decisao(b) == Decisao::adiado);
        pilha.undo();
        QVERIFY(modelo->decisao(a) == Decisao::adiado);
        pilha.undo();
        QVERIFY(modelo->decisao(a) == Decisao::novo);
        QVERIFY(modelo->decisao(b) == Decisao::novo);
        QVERIFY(modelo->decisoes().empty()); // as before: no decision at all
        modelo->concluirGravacoes();
        QCOMPARE(arquivoDeDecisoes(), std::string("{}"));

        pilha.redo();
        QVERIFY(modelo->decisao(a) == Decisao::adiado);
        QVERIFY(modelo->decisao(b) == Decisao::adiado);
        // Deciding nothing is nothing to undo.
        modelo->decidir({}, Decisao::resolvido);
        QCOMPARE(pilha.index(), 1);
    }
};

TARRAFA_REGISTRAR_TESTE(DecisoesTest)
#include "DecisoesTest.moc"
