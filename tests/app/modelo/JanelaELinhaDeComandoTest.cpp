// SPDX-License-Identifier: GPL-3.0-or-later
// The window and the command line over one folder and one decision file: what the model lists
// in each place of the sidebar is what tarrafa-cli --json lists, group by group and item by
// item, with the same badges and the same decisions.
#include "Casa.hpp"
#include "Registro.hpp"

#include "TarrafaCore/Decisao.hpp"
#include "TarrafaCore/Selo.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

#include <array>
#include <cstdio>
#include <optional>
#include <string>

#include <sys/wait.h>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

// Runs tarrafa-cli with the arguments, in this process's environment (the fake home); its
// output, or none when it did not end well.
std::optional<QByteArray> executar(const std::string& argumentos)
{
    const std::string comando = std::string("'") + TARRAFA_CLI + "' " + argumentos;
    std::FILE* processo = ::popen(comando.c_str(), "r");
    if (processo == nullptr) {
        qWarning("popen failed");
        return std::nullopt;
    }
    QByteArray saida;
    std::array<char, 4096> bloco {};
    std::size_t lidos = 0;
    while ((lidos = std::fread(bloco.data(), 1, bloco.size(), processo)) > 0) {
        saida.append(bloco.data(), qsizetype(lidos));
    }
    const int estado = ::pclose(processo);
    if (!WIFEXITED(estado) || WEXITSTATUS(estado) != 0) {
        qWarning("tarrafa-cli %s ended with %d", argumentos.c_str(), estado);
        return std::nullopt;
    }
    return saida;
}

// tarrafa-cli --json with the options: its report, or an empty object when it failed.
QJsonObject relatorio(const std::string& opcoes)
{
    const std::optional<QByteArray> saida = executar("--json " + opcoes);
    return saida ? QJsonDocument::fromJson(*saida).object() : QJsonObject();
}

QString linhaDoGrupo(const std::string& chave, qint64 total, qint64 bytes)
{
    return QString::fromStdString(chave) + QStringLiteral(" · ") + QString::number(total) + QStringLiteral(" · ")
        + QString::number(bytes);
}

// One line per group and one per item: its name, its decision and the kinds of its badges.
QStringList comoAJanelaMostra(const Modelo& modelo, const std::vector<GrupoOrigem>& grupos)
{
    QStringList linhas;
    for (const GrupoOrigem& grupo : grupos) {
        linhas << linhaDoGrupo(grupo.origem().chave(), grupo.total(), grupo.bytes());
        for (const ItemTriado& item : grupo.itens()) {
            QString linha = QStringLiteral("  ") + QString::fromStdString(item.nome()) + QStringLiteral(" (")
                + QString::fromStdString(std::string(valorBruto(modelo.decisao(item.id())))) + QStringLiteral(")");
            for (const Selo& selo : item.selos()) {
                linha += QStringLiteral(" [") + QString::fromStdString(std::string(nomeDoCaso(selo.caso())))
                    + QStringLiteral("]");
            }
            linhas << linha;
        }
    }
    return linhas;
}

QStringList comoALinhaDeComandoMostra(const QJsonObject& raiz)
{
    QStringList linhas;
    for (const QJsonValue& grupo : raiz[QStringLiteral("grupos")].toArray()) {
        linhas << linhaDoGrupo(grupo[QStringLiteral("origem")][QStringLiteral("chave")].toString().toStdString(),
            grupo[QStringLiteral("total")].toInteger(), grupo[QStringLiteral("bytes")].toInteger());
        for (const QJsonValue& item : grupo[QStringLiteral("itens")].toArray()) {
            QString linha = QStringLiteral("  ") + item[QStringLiteral("nome")].toString() + QStringLiteral(" (")
                + item[QStringLiteral("decisao")].toString() + QStringLiteral(")");
            for (const QJsonValue& selo : item[QStringLiteral("selos")].toArray()) {
                linha += QStringLiteral(" [") + selo[QStringLiteral("caso")].toString() + QStringLiteral("]");
            }
            linhas << linha;
        }
    }
    return linhas;
}

QStringList nomesDosItens(const std::vector<ItemTriado>& itens)
{
    QStringList nomes;
    for (const ItemTriado& item : itens) {
        nomes << QString::fromStdString(item.nome());
    }
    return nomes;
}

// The files of the groups in order, then those of the Trash: the order of the window's lists.
QStringList nomesDosItens(const QJsonObject& raiz)
{
    QStringList nomes;
    for (const QJsonValue& grupo : raiz[QStringLiteral("grupos")].toArray()) {
        for (const QJsonValue& item : grupo[QStringLiteral("itens")].toArray()) {
            nomes << item[QStringLiteral("nome")].toString();
        }
    }
    for (const QJsonValue& item : raiz[QStringLiteral("naLixeira")].toArray()) {
        nomes << item[QStringLiteral("nome")].toString();
    }
    return nomes;
}

} // namespace

class JanelaELinhaDeComandoTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { Casa::recomecar(); }

    void mostramOsMesmosGruposItensSelosEDecisoes()
    {
        const std::string conteudo(5000, 'x');
        // Written first, and the shortest name without a copy suffix: the original of the two
        // copies below.
        escrever(emDownloads("Contrato.pdf"), conteudo);
        definirOrigem(emDownloads("Contrato.pdf"), "https://github.com/tarrafa/docs/raw/main/Contrato.pdf");
        escrever(emDownloads("a8f3c2e1d9.pdf"), conteudo);
        definirOrigem(emDownloads("a8f3c2e1d9.pdf"), "https://github.com/tarrafa/docs/raw/main/a8f3c2e1d9.pdf");
        escrever(emDownloads("documento (1).pdf"), conteudo);
        escrever(emDownloads("IMG_2041.jpg"), std::string(700, 'b'));
        definirOrigem(emDownloads("IMG_2041.jpg"), "https://exemplo.org/fotos/IMG_2041.jpg");
        escrever(emDownloads("foto.jpg"), std::string(800, 'f'));
        definirOrigem(emDownloads("foto.jpg"), "https://exemplo.org/fotos/foto.jpg");
        escrever(emDownloads("outro.pdf"), std::string(5000, 'y'));
        escrever(emDownloads("notas.txt"), "notas");
        escrever(emDownloads("lista.txt"), "lista");
        escrever(emDownloads("velho.zip"), "zip");
        // Moved to the Trash from the terminal before the window opens: "Resolvidos" lists it.
        QVERIFY(executar("lixeira velho.zip").has_value());

        auto modelo = std::make_unique<Modelo>();
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QSignalSpy comparadas(modelo.get(), &Modelo::duplicatasComparadas);
        QVERIFY(esperar(fins, 1));
        QVERIFY(esperar(comparadas, 1));
        QCOMPARE(modelo->duplicataDe().size(), std::size_t(2));
        QCOMPARE(modelo->naLixeira().size(), std::size_t(1));

        // Decided in the window, read by the command line from the file the window writes.
        modelo->decidir({emDownloads("a8f3c2e1d9.pdf"), emDownloads("notas.txt")}, Decisao::adiado);
        modelo->decidir({emDownloads("documento (1).pdf")}, Decisao::resolvido);
        modelo->decidir({emDownloads("foto.jpg"), emDownloads("IMG_2041.jpg")}, Decisao::ignorado);
        modelo->concluirGravacoes();

        const QJsonObject todos = relatorio("--estado todos");
        const QStringList janela = comoAJanelaMostra(*modelo, modelo->grupos());
        QCOMPARE(comoALinhaDeComandoMostra(todos), janela);
        // What is compared holds copies and every decision.
        QVERIFY(janela.join(QLatin1Char('\n')).contains(QStringLiteral(" [copiaIdentica]")));
        for (const Decisao decisao : kTodasAsDecisoes) {
            const QString palavra = QStringLiteral("(") + QString::fromStdString(std::string(valorBruto(decisao)))
                + QStringLiteral(")");
            QVERIFY2(janela.join(QLatin1Char('\n')).contains(palavra), qPrintable(palavra));
        }

        // The inbox by default: the groups the window's list shows, counted as it counts them.
        const QJsonObject caixa = relatorio({});
        QCOMPARE(comoALinhaDeComandoMostra(caixa), comoAJanelaMostra(*modelo, modelo->gruposVisiveis()));
        QCOMPARE(nomesDosItens(caixa), nomesDosItens(modelo->itens(Destino::entrada())));
        QCOMPARE(qsizetype(modelo->contagem(Destino::entrada()).value_or(-1)), nomesDosItens(caixa).size());
        // The IMG/foto group is all ignored: in neither list.
        QCOMPARE(caixa[QStringLiteral("grupos")].toArray().size(), qsizetype(modelo->gruposVisiveis().size()));

        QCOMPARE(nomesDosItens(relatorio("--estado adiados")), nomesDosItens(modelo->itens(Destino::adiados())));
        const QJsonObject resolvidos = relatorio("--estado resolvidos");
        QCOMPARE(nomesDosItens(resolvidos), nomesDosItens(modelo->itens(Destino::resolvidos())));
        QVERIFY(nomesDosItens(resolvidos).contains(QStringLiteral("velho.zip")));
        // The Trash's file with the badges the window gives it.
        const QJsonArray naLixeira = resolvidos[QStringLiteral("naLixeira")].toArray();
        QCOMPARE(naLixeira.size(), qsizetype(1));
        QStringList selosNaJanela;
        for (const Selo& selo : modelo->naLixeira().front().item.selos()) {
            selosNaJanela << QString::fromStdString(std::string(nomeDoCaso(selo.caso())));
        }
        QStringList selosNaLinhaDeComando;
        for (const QJsonValue& selo : naLixeira.first()[QStringLiteral("selos")].toArray()) {
            selosNaLinhaDeComando << selo[QStringLiteral("caso")].toString();
        }
        QCOMPARE(selosNaLinhaDeComando, selosNaJanela);
        QCOMPARE(naLixeira.first()[QStringLiteral("id")].toString().toStdString(), modelo->naLixeira().front().item.id());

        // The diagnostics are of the whole folder in both, whatever was decided.
        QVERIFY(modelo->raioX().has_value());
        const RaioX& r = *modelo->raioX();
        for (const QJsonObject& raiz : {todos, caixa}) {
            const QJsonObject raioX = raiz[QStringLiteral("raioX")].toObject();
            QCOMPARE(raioX[QStringLiteral("total")].toInt(), r.total());
            QCOMPARE(raioX[QStringLiteral("bytes")].toInteger(), qint64(r.bytes()));
            QCOMPARE(raioX[QStringLiteral("nuncaAbertos")].toInt(), r.nuncaAbertos());
            QCOMPARE(raioX[QStringLiteral("nomesOpacos")].toInt(), r.nomesOpacos());
            QCOMPARE(raioX[QStringLiteral("comOrigem")].toInt(), r.comOrigem());
            QCOMPARE(raioX[QStringLiteral("origensDistintas")].toInt(), r.origensDistintas());
            QCOMPARE(raioX[QStringLiteral("leitura")].toString(), QString::fromStdString(leitura(r)));
        }
    }
};

TARRAFA_REGISTRAR_TESTE(JanelaELinhaDeComandoTest)
#include "JanelaELinhaDeComandoTest.moc"
