// SPDX-License-Identifier: GPL-3.0-or-later
// What the model answers the views: visible groups, the items of each destination under the
// search text, titles and counts, over a real scan of a made-up Downloads folder.
#include "Casa.hpp"
#include "Registro.hpp"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <filesystem>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

const std::string kRelatorio = "relatório anual.pdf";
const std::string kNota = "Nota Fiscal 2024.pdf";
const std::string kCodigo = "codigo.zip";
const std::string kLeiaMe = "leia-me.txt";
const std::string kFoto = "foto_praia.jpg";
const std::string kRua = "Straße.txt";
const std::string kSemQuebra = "a\u00a0b.txt"; // a no-break space, not a blank

// Two files from a plain host, two from GitHub and three with no known origin.
void montarCenario()
{
    const std::vector<std::pair<std::string, std::string>> arquivos {
        {kRelatorio, "https://arquivos.exemplo.com.br/relatorio.pdf"},
        {kNota, "https://arquivos.exemplo.com.br/nf.pdf"},
        {kCodigo, "https://github.com/exemplo/projeto/archive/main.zip"},
        {kLeiaMe, "https://github.com/exemplo/projeto/raw/main/leia-me.txt"},
        {kFoto, ""},
        {kRua, ""},
        {kSemQuebra, ""},
    };
    for (const auto& [nome, origem] : arquivos) {
        escrever(emDownloads(nome), nome);
        if (!origem.empty()) {
            definirOrigem(emDownloads(nome), origem);
        }
    }
}

std::vector<std::string> ordenados(std::vector<std::string> nomes)
{
    std::sort(nomes.begin(), nomes.end());
    return nomes;
}

const GrupoOrigem* grupoDe(const std::vector<GrupoOrigem>& grupos, const std::string& chave)
{
    const auto achado = std::find_if(
        grupos.begin(), grupos.end(), [&](const GrupoOrigem& g) { return g.origem().chave() == chave; });
    return achado == grupos.end() ? nullptr : &*achado;
}

std::vector<Destino> destinosFixos()
{
    return {Destino::entrada(), Destino::adiados(), Destino::resolvidos(), Destino::raioX()};
}

} // namespace

class ModeloTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        Casa::recomecar();
        montarCenario();
    }

    void antesDaPrimeiraVarreduraTudoEstaVazioEOGrupoSeChamaGrupo()
    {
        std::filesystem::create_directories(Casa::pastaDeDados());
        escrever(Casa::arquivoDeDecisoes().toStdString(),
            "{\"" + comBarrasEscapadas(emDownloads(kCodigo)) + "\":\"adiado\"}");
        Modelo modelo;
        QSignalSpy fins(&modelo, &Modelo::varreduraTerminada);

        QCOMPARE(modelo.decisoes().size(), std::size_t(1)); // loaded before any scan
        QVERIFY(!modelo.carregando());
        QVERIFY(modelo.grupos().empty());
        QVERIFY(!modelo.raioX().has_value());
        QVERIFY(modelo.gruposVisiveis().empty());
        QVERIFY(modelo.itensTodos().empty());
        for (const Destino& destino : destinosFixos()) {
            QVERIFY(modelo.itens(destino).empty());
        }
        for (const char* chave : {"github", "host:arquivos.exemplo.com.br", "_sem_origem"}) {
            QVERIFY(modelo.itens(Destino::grupo(chave)).empty());
            QCOMPARE(modelo.titulo(Destino::grupo(chave)), QStringLiteral("Grupo"));
        }
        // Nothing counted yet is no count at all, not an empty folder.
        QCOMPARE(modelo.contagem(Destino::entrada()), std::optional<int>());
        QCOMPARE(modelo.contagem(Destino::adiados()), std::optional<int>());

        // The same questions once the scan is in.
        QVERIFY(esperar(fins, 1));
        QCOMPARE(modelo.contagem(Destino::adiados()), std::optional<int>(1));
        QCOMPARE(modelo.itensTodos().size(), std::size_t(7));
        QCOMPARE(nomes(modelo.itens(Destino::adiados())), std::vector<std::string> {kCodigo});
        QCOMPARE(modelo.titulo(Destino::grupo("github")), QStringLiteral("GitHub"));
        QCOMPARE(modelo.titulo(Destino::grupo("_sem_origem")), QStringLiteral("Sem origem"));
    }

    void itemAdiadoSaiDaEntradaEDaContagemMasFicaNoGrupoAteSerResolvido()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::string chave = chaveDoGrupoDe(*modelo, kCodigo);
        QCOMPARE(chave, std::string("github"));
        const Destino grupo = Destino::grupo(chave);
        QCOMPARE(modelo->contagem(grupo), std::optional<int>(2));
        QCOMPARE(ordenados(nomes(modelo->itens(grupo))), (std::vector<std::string> {kCodigo, kLeiaMe}));

        modelo->decidir({emDownloads(kCodigo)}, Decisao::adiado);
        const std::vector<std::string> entrada = nomes(modelo->itens(Destino::entrada()));
        QVERIFY(std::find(entrada.begin(), entrada.end(), kCodigo) == entrada.end());
        QCOMPARE(entrada.size(), std::size_t(6));
        QCOMPARE(modelo->contagem(grupo), std::optional<int>(1));
        QCOMPARE(modelo->contagem(Destino::entrada()), std::optional<int>(6));
        QCOMPARE(nomes(modelo->itens(Destino::adiados())), std::vector<std::string> {kCodigo});
        modelo->setSelecao(grupo);
        QCOMPARE(ordenados(nomes(modelo->itens(modelo->selecao()))),
            (std::vector<std::string> {kCodigo, kLeiaMe}));

        modelo->decidir({emDownloads(kCodigo)}, Decisao::ignorado);
        QCOMPARE(ordenados(nomes(modelo->itens(grupo))), (std::vector<std::string> {kCodigo, kLeiaMe}));
        QCOMPARE(nomes(modelo->itens(Destino::resolvidos())), std::vector<std::string> {kCodigo});

        modelo->decidir({emDownloads(kCodigo)}, Decisao::resolvido);
        QCOMPARE(nomes(modelo->itens(grupo)), std::vector<std::string> {kLeiaMe});
        QCOMPARE(nomes(modelo->itens(Destino::resolvidos())), std::vector<std::string> {kCodigo});
        QVERIFY(modelo->itens(Destino::adiados()).empty());
        QCOMPARE(modelo->contagem(grupo), std::optional<int>(1));
    }

    void grupoTodoDecididoSaiDosVisiveisMasSelecaoETituloFicam()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::string chave = chaveDoGrupoDe(*modelo, kNota);
        QCOMPARE(chave, chaveDoGrupoDe(*modelo, kRelatorio));
        const GrupoOrigem* grupo = grupoDe(modelo->grupos(), chave);
        QVERIFY(grupo);
        const QString rotulo = deBytes(grupo->origem().rotulo());
        QVERIFY(!rotulo.isEmpty());
        QVERIFY(rotulo != QStringLiteral("Grupo"));
        QVERIFY(grupoDe(modelo->gruposVisiveis(), chave));
        modelo->setSelecao(Destino::grupo(chave));

        modelo->decidir({emDownloads(kNota)}, Decisao::adiado);
        modelo->decidir({emDownloads(kRelatorio)}, Decisao::ignorado);
        QVERIFY(!grupoDe(modelo->gruposVisiveis(), chave));
        QVERIFY(grupoDe(modelo->grupos(), chave));
        QVERIFY(modelo->selecao() == Destino::grupo(chave));
        QCOMPARE(modelo->titulo(Destino::grupo(chave)), rotulo);
        QCOMPARE(modelo->contagem(Destino::grupo(chave)), std::nullopt);

        // A scan does not move the selection, even when the group is gone from the folder.
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->varrer();
        QVERIFY(esperar(fins, 1));
        QVERIFY(modelo->selecao() == Destino::grupo(chave));
        QCOMPARE(modelo->titulo(Destino::grupo(chave)), rotulo);

        std::filesystem::remove(emDownloads(kNota));
        std::filesystem::remove(emDownloads(kRelatorio));
        modelo->varrer();
        QVERIFY(esperar(fins, 2));
        QVERIFY(!grupoDe(modelo->grupos(), chave));
        QVERIFY(modelo->selecao() == Destino::grupo(chave));
        QCOMPARE(modelo->titulo(Destino::grupo(chave)), QStringLiteral("Grupo"));
        QVERIFY(modelo->itens(Destino::grupo(chave)).empty());
    }

    void buscaSoDeBrancosNaoEhBusca()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::size_t todos = modelo->itens(Destino::entrada()).size();
        // The field looks empty: nothing is filtered, as nothing seems to be.
        for (const QString& brancos : {QStringLiteral(" "), QStringLiteral("   "), QStringLiteral("\t \u00a0")}) {
            modelo->setBusca(brancos);
            QVERIFY(!modelo->buscando());
            QCOMPARE(modelo->itens(Destino::entrada()).size(), todos);
        }
        // A blank inside a search is part of it.
        modelo->setBusca(QStringLiteral(" fiscal"));
        QVERIFY(modelo->buscando());
        QCOMPARE(nomes(modelo->itens(Destino::entrada())), std::vector<std::string> {kNota});
    }

    void itensDoRaioXSaoVaziosQualquerQueSejaABusca()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QVERIFY(modelo->raioX().has_value());
        QCOMPARE(modelo->raioX()->total(), 7);
        for (const QString& busca :
            {QString(), QStringLiteral(" "), QStringLiteral("a"), QStringLiteral("zzz")}) {
            modelo->setBusca(busca);
            QVERIFY(modelo->itens(Destino::raioX()).empty());
            QCOMPARE(modelo->contagem(Destino::raioX()), std::nullopt);
        }
    }

    void buscaIgnoraCaixaEAcentos_data()
    {
        QTest::addColumn<QString>("busca");
        QTest::addColumn<QStringList>("esperados");
        const auto lista = [](std::initializer_list<std::string> nomes) {
            QStringList resultado;
            for (const std::string& nome : nomes) {
                resultado << deBytes(nome);
            }
            resultado.sort();
            return resultado;
        };
        QTest::newRow("maiusculas com acento") << QStringLiteral("RELATÓRIO") << lista({kRelatorio});
        QTest::newRow("sem o acento") << QStringLiteral("relatorio") << lista({kRelatorio});
        QTest::newRow("acento a mais") << QStringLiteral("ánúál") << lista({kRelatorio});
        QTest::newRow("acento decomposto") << QStringLiteral("relato\u0301rio") << lista({kRelatorio});
        QTest::newRow("caixa misturada") << QStringLiteral("Relatório ANUAL") << lista({kRelatorio});
        QTest::newRow("dobra completa do sz") << QStringLiteral("STRASSE") << lista({kRua});
        QTest::newRow("sz em minusculas") << QStringLiteral("straße") << lista({kRua});
        QTest::newRow("espaco na frente, como digitado") << QStringLiteral(" fiscal") << lista({kNota});
        QTest::newRow("espaco atras, como digitado") << QStringLiteral("anual ") << lista({});
        QTest::newRow("dois espacos, que nao sao busca") << QStringLiteral("  ")
                                                         << lista({kRelatorio, kNota, kCodigo, kLeiaMe, kFoto, kRua, kSemQuebra});
        QTest::newRow("espaco sem quebra") << QStringLiteral("a\u00a0b") << lista({kSemQuebra});
        QTest::newRow("extensao") << QStringLiteral(".PDF") << lista({kNota, kRelatorio});
        QTest::newRow("nada") << QStringLiteral("xyz") << lista({});
        QTest::newRow("vazia") << QString()
                               << lista({kRelatorio, kNota, kCodigo, kLeiaMe, kFoto, kRua, kSemQuebra});
    }

    void buscaIgnoraCaixaEAcentos()
    {
        QFETCH(QString, busca);
        QFETCH(QStringList, esperados);
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->setBusca(busca);
        QStringList achados;
        for (const std::string& nome : nomes(modelo->itens(Destino::entrada()))) {
            achados << deBytes(nome);
        }
        achados.sort();
        QCOMPARE(achados, esperados);
    }

    void buscaGuardaAOrdemEValeParaTodosOsDestinosMenosAContagemDosGrupos()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        std::vector<std::string> pdfsNaOrdem;
        for (const std::string& nome : nomes(modelo->itensTodos())) {
            if (nome.ends_with(".pdf")) {
                pdfsNaOrdem.push_back(nome);
            }
        }
        modelo->setBusca(QStringLiteral(".pdf"));
        QCOMPARE(nomes(modelo->itens(Destino::entrada())), pdfsNaOrdem);

        modelo->setBusca(QStringLiteral("CODIGO"));
        QCOMPARE(nomes(modelo->itens(Destino::grupo("github"))), std::vector<std::string> {kCodigo});
        QCOMPARE(modelo->contagem(Destino::grupo("github")), std::optional<int>(2));
        QCOMPARE(modelo->contagem(Destino::entrada()), std::optional<int>(1));
        QCOMPARE(modelo->gruposVisiveis().size(), modelo->grupos().size());
        QCOMPARE(modelo->itensTodos().size(), std::size_t(7));

        modelo->decidir({emDownloads(kCodigo), emDownloads(kLeiaMe)}, Decisao::adiado);
        QCOMPARE(nomes(modelo->itens(Destino::adiados())), std::vector<std::string> {kCodigo});
        QCOMPARE(modelo->contagem(Destino::adiados()), std::optional<int>(1));
        modelo->decidir({emDownloads(kCodigo), emDownloads(kLeiaMe)}, Decisao::resolvido);
        QCOMPARE(nomes(modelo->itens(Destino::resolvidos())), std::vector<std::string> {kCodigo});
        QCOMPARE(modelo->contagem(Destino::resolvidos()), std::optional<int>(1));
    }

    void titulosDosDestinos()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QCOMPARE(modelo->titulo(Destino::entrada()), QStringLiteral("Caixa de entrada"));
        QCOMPARE(modelo->titulo(Destino::adiados()), QStringLiteral("Adiados"));
        QCOMPARE(modelo->titulo(Destino::resolvidos()), QStringLiteral("Resolvidos"));
        QCOMPARE(modelo->titulo(Destino::raioX()), QStringLiteral("Raio-X"));
        QCOMPARE(modelo->titulo(Destino::grupo("github")), QStringLiteral("GitHub"));
        QCOMPARE(modelo->titulo(Destino::grupo("_sem_origem")), QStringLiteral("Sem origem"));
        QCOMPARE(modelo->titulo(Destino::grupo("slack")), QStringLiteral("Grupo"));
        QCOMPARE(modelo->titulo(Destino::grupo("")), QStringLiteral("Grupo"));
        for (const GrupoOrigem& grupo : modelo->grupos()) {
            QCOMPARE(
                modelo->titulo(Destino::grupo(grupo.origem().chave())), deBytes(grupo.origem().rotulo()));
        }
    }

    void itensTodosEGruposVisiveisNaOrdemDosGrupos()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        std::vector<std::string> concatenados;
        for (const GrupoOrigem& grupo : modelo->grupos()) {
            for (const ItemTriado& item : grupo.itens()) {
                concatenados.push_back(item.id());
            }
        }
        std::vector<std::string> todos;
        for (const ItemTriado& item : modelo->itensTodos()) {
            todos.push_back(item.id());
        }
        QCOMPARE(todos, concatenados);
        QCOMPARE(todos.size(), std::size_t(7));
        QCOMPARE(nomes(modelo->gruposVisiveis()), nomes(modelo->grupos()));

        // An explicit novo is still undecided; the other three decisions take the item out.
        modelo->decidir({emDownloads(kFoto)}, Decisao::novo);
        modelo->decidir({emDownloads(kCodigo)}, Decisao::resolvido);
        modelo->decidir({emDownloads(kRua)}, Decisao::adiado);
        modelo->decidir({emDownloads(kSemQuebra)}, Decisao::ignorado);
        const std::vector<GrupoOrigem> visiveis = modelo->gruposVisiveis();
        QCOMPARE(nomes(visiveis), nomes(modelo->grupos()));
        const GrupoOrigem* github = grupoDe(visiveis, "github");
        QVERIFY(github);
        QCOMPARE(nomes(github->itens()), std::vector<std::string> {kLeiaMe});
        QVERIFY(github->origem() == grupoDe(modelo->grupos(), "github")->origem());
        const GrupoOrigem* semOrigem = grupoDe(visiveis, "_sem_origem");
        QVERIFY(semOrigem);
        QCOMPARE(nomes(semOrigem->itens()), std::vector<std::string> {kFoto});
        QCOMPARE(semOrigem->total(), 1);
        QCOMPARE(modelo->contagem(Destino::grupo("_sem_origem")), std::optional<int>(1));
        QCOMPARE(modelo->itensTodos().size(), std::size_t(7));
    }

    void contagensDaBarraLateral()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QCOMPARE(modelo->contagem(Destino::entrada()), std::optional<int>(7));
        QCOMPARE(modelo->contagem(Destino::adiados()), std::optional<int>(0));
        QCOMPARE(modelo->contagem(Destino::resolvidos()), std::optional<int>(0));
        QCOMPARE(modelo->contagem(Destino::raioX()), std::nullopt);
        QCOMPARE(modelo->contagem(Destino::grupo("github")), std::optional<int>(2));
        QCOMPARE(modelo->contagem(Destino::grupo("_sem_origem")), std::optional<int>(3));

        modelo->decidir({emDownloads(kFoto)}, Decisao::adiado);
        modelo->decidir({emDownloads(kRua)}, Decisao::resolvido);
        modelo->decidir({emDownloads(kCodigo)}, Decisao::ignorado);
        QCOMPARE(modelo->contagem(Destino::entrada()), std::optional<int>(4));
        QCOMPARE(modelo->contagem(Destino::adiados()), std::optional<int>(1));
        QCOMPARE(modelo->contagem(Destino::resolvidos()), std::optional<int>(2));
        QCOMPARE(modelo->contagem(Destino::grupo("github")), std::optional<int>(1));
        QCOMPARE(modelo->contagem(Destino::grupo("_sem_origem")), std::optional<int>(1));
        QCOMPARE(modelo->contagem(Destino::grupo("slack")), std::nullopt);
    }

    void decisaoAusenteEhNovo()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QVERIFY(modelo->decisao(emDownloads(kFoto)) == Decisao::novo);
        QVERIFY(modelo->decisao("/nao/existe") == Decisao::novo);
        QVERIFY(modelo->decisoes().empty());
    }

    void buscaESelecaoAvisamSoQuandoMudam()
    {
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QCOMPARE(modelo->busca(), QString());
        QVERIFY(modelo->selecao() == Destino::entrada());
        QSignalSpy buscas(modelo.get(), &Modelo::buscaChanged);
        QSignalSpy selecoes(modelo.get(), &Modelo::selecaoChanged);

        modelo->setBusca(QString());
        modelo->setSelecao(Destino::entrada());
        QCOMPARE(buscas.count(), 0);
        QCOMPARE(selecoes.count(), 0);

        modelo->setBusca(QStringLiteral("nota"));
        modelo->setBusca(QStringLiteral("nota"));
        modelo->setSelecao(Destino::grupo("github"));
        modelo->setSelecao(Destino::grupo("github"));
        modelo->setSelecao(Destino::grupo("gmail"));
        QCOMPARE(buscas.count(), 1);
        QCOMPARE(selecoes.count(), 2);
        QCOMPARE(modelo->busca(), QStringLiteral("nota"));
        QVERIFY(modelo->selecao() == Destino::grupo("gmail"));
    }
};

TARRAFA_REGISTRAR_TESTE(ModeloTest)
#include "ModeloTest.moc"
