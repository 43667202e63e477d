// SPDX-License-Identifier: GPL-3.0-or-later
// Scans: where the model looks, the order in which a scan changes the model, a folder that
// cannot be read, two scans at once, a model gone before its scan ends, and a folder left
// exactly as it was found.
#include "Casa.hpp"

#include "TarrafaCore/PastasDoUsuario.hpp"
#include "Registro.hpp"

#include <QElapsedTimer>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

QString erroDeLeitura(int codigo)
{
    return QStringLiteral("Não consegui ler a pasta Downloads: ")
        + QString::fromStdString(std::system_category().message(codigo));
}

// A Chromium history with real tables, but the address chains without their index: finding
// each download's last address scans every chain row, for every download.
void historicoQueDemoraMinutos(const std::string& arquivo)
{
    std::filesystem::create_directories(std::filesystem::path(arquivo).parent_path());
    sqlite3* db = nullptr;
    QVERIFY(sqlite3_open(arquivo.c_str(), &db) == SQLITE_OK);
    const char* sql
        = "CREATE TABLE downloads (id INTEGER PRIMARY KEY, target_path TEXT NOT NULL, end_time INTEGER NOT "
          "NULL, state INTEGER NOT NULL DEFAULT 1);"
          "CREATE TABLE downloads_url_chains (id INTEGER, chain_index INTEGER, url TEXT);"
          "WITH RECURSIVE r(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM r WHERE n < 20000) "
          "INSERT INTO downloads (id, target_path, end_time) SELECT n, '/d/' || n, n FROM r;"
          "WITH RECURSIVE r(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM r WHERE n < 200000) "
          "INSERT INTO downloads_url_chains SELECT n, 0, 'https://x.test/' || n FROM r;";
    QVERIFY(sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK);
    sqlite3_close(db);
}

} // namespace

class VarreduraTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { Casa::recomecar(); }

    void usaADownloadsEOsDadosDaCasa()
    {
        Modelo modelo;
        QCOMPARE(modelo.pasta(), Casa::downloads());
        QCOMPARE(modelo.arquivoDecisoes(), Casa::arquivoDeDecisoes());
        // The data folder is made at start, before anything is decided.
        QVERIFY(std::filesystem::is_directory(Casa::pastaDeDados()));
        QVERIFY(!existe(Casa::arquivoDeDecisoes().toStdString()));
    }

    void seguePastaDeDownloadsDoUserDirs()
    {
        std::filesystem::create_directories(Casa::raiz() + "/Baixados");
        escrever(Casa::raiz() + "/.config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Baixados\"\n");
        escrever(Casa::raiz() + "/Baixados/daqui.txt", "x");
        escrever(emDownloads("nao-daqui.txt"), "x");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QCOMPARE(modelo->pasta(), Casa::raiz() + "/Baixados");
        QCOMPARE(nomes(modelo->itensTodos()), std::vector<std::string> {"daqui.txt"});
    }

    void aJanelaEOTerminalAchamAMesmaPasta_data()
    {
        QTest::addColumn<QByteArray>("linha");
        QTest::newRow("com espaço") << QByteArray("XDG_DOWNLOAD_DIR=\"$HOME/Meus Baixados\"\n");
        QTest::newRow("chaves") << QByteArray("XDG_DOWNLOAD_DIR=\"${HOME}/Baixados\"\n");
        QTest::newRow("sem aspas") << QByteArray("XDG_DOWNLOAD_DIR=$HOME/Baixados\n");
        QTest::newRow("relativa") << QByteArray("XDG_DOWNLOAD_DIR=\"Baixados\"\n");
        QTest::newRow("absoluta") << QByteArray("XDG_DOWNLOAD_DIR=\"/srv/baixados\"\n");
        QTest::newRow("aspas dentro") << QByteArray("XDG_DOWNLOAD_DIR=\"$HOME/a\\\"b\"\n");
        QTest::newRow("comentário e espaços") << QByteArray("# pastas\n  XDG_DOWNLOAD_DIR=\"$HOME/Baixados\"  \n");
    }

    void aJanelaEOTerminalAchamAMesmaPasta()
    {
        QFETCH(QByteArray, linha);
        escrever(Casa::raiz() + "/.config/user-dirs.dirs", linha.toStdString());
        const Modelo modelo;
        QCOMPARE(modelo.pasta(), PastasDoUsuario::downloads());
    }

    void dadosSeguemXdgDataHomeOuOPadraoDaCasa()
    {
        const QByteArray dados = qgetenv("XDG_DATA_HOME");
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(Casa::raiz() + "/outros-dados"));
        const QString outro = Modelo().arquivoDecisoes();
        qunsetenv("XDG_DATA_HOME");
        const QString padrao = Modelo().arquivoDecisoes();
        qputenv("XDG_DATA_HOME", dados);

        QCOMPARE(outro, deBytes(Casa::raiz() + "/outros-dados/Tarrafa/decisoes.json"));
        QVERIFY(std::filesystem::is_directory(Casa::raiz() + "/outros-dados/Tarrafa"));
        QCOMPARE(padrao, deBytes(Casa::raiz() + "/.local/share/Tarrafa/decisoes.json"));
        std::filesystem::remove_all(Casa::raiz() + "/outros-dados");
    }

    void pastaDeDownloadsInexistenteFalhaComOErroDaListagem()
    {
        std::filesystem::remove_all(Casa::downloads());
        const auto modelo = std::make_unique<Modelo>();
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QVERIFY(esperar(fins, 1));
        QCOMPARE(modelo->erro(), std::optional<QString>(erroDeLeitura(ENOENT)));
        QVERIFY(!modelo->carregando());
        QVERIFY(modelo->grupos().empty());
        QVERIFY(!modelo->raioX().has_value());
    }

    void downloadsDesligadaNaPastaPessoalNaoEVarrida()
    {
        // How xdg-user-dirs turns a folder off: it points at the home itself.
        std::filesystem::create_directories(Casa::raiz() + "/Documentos");
        escrever(Casa::raiz() + "/Documentos/tese.odt", "x");
        escrever(Casa::raiz() + "/.config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/\"\n");
        const auto modelo = std::make_unique<Modelo>();
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QVERIFY(esperar(fins, 1));
        QCOMPARE(modelo->erro(),
            std::optional<QString>(QStringLiteral("A pasta Downloads não está configurada: ela aponta para a sua "
                                                  "pasta pessoal (XDG_DOWNLOAD_DIR em ")
                + deBytes(Casa::raiz() + "/.config/user-dirs.dirs") + QStringLiteral(").")));
        QVERIFY(modelo->grupos().empty());
        QVERIFY(modelo->itensTodos().empty());
        QVERIFY(!modelo->raioX().has_value());
        std::filesystem::remove(Casa::raiz() + "/.config/user-dirs.dirs");
        std::filesystem::remove_all(Casa::raiz() + "/Documentos");
    }

    void primeiraVarreduraComecaSozinhaENestaOrdem()
    {
        escrever(emDownloads("a.pdf"), "a");
        escrever(emDownloads("b.pdf"), "b");
        std::filesystem::create_directories(Casa::pastaDeDados());
        escrever(Casa::arquivoDeDecisoes().toStdString(),
            "{\"" + comBarrasEscapadas(emDownloads("a.pdf")) + "\":\"adiado\",\""
                + comBarrasEscapadas(emDownloads("saiu.pdf")) + "\":\"adiado\"}");

        Modelo modelo;
        Diario diario(modelo);
        QSignalSpy fins(&modelo, &Modelo::varreduraTerminada);
        QVERIFY(diario.linhas().isEmpty()); // started later, from the event loop
        QVERIFY(esperar(fins, 1));

        QCOMPARE(diario.linhas(),
            (QStringList {QStringLiteral("carregando:sim"), QStringLiteral("grupos:2"),
                QStringLiteral("raioX:2"), QStringLiteral("decisoes:1"), QStringLiteral("carregando:nao"),
                QStringLiteral("fim")}));
        modelo.concluirGravacoes();
        QCOMPARE(ler(Casa::arquivoDeDecisoes().toStdString()),
            "{\"" + comBarrasEscapadas(emDownloads("a.pdf")) + "\":\"adiado\"}");
    }

    void varrerLigaCarregandoEDepoisLimpaOErro()
    {
        std::filesystem::remove_all(Casa::downloads());
        const auto modelo = std::make_unique<Modelo>();
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QVERIFY(esperar(fins, 1));
        QVERIFY(modelo->erro().has_value());

        std::filesystem::create_directories(Casa::downloads());
        escrever(emDownloads("a.pdf"), "a");
        Diario diario(*modelo);
        modelo->varrer();
        QCOMPARE(diario.linhas(), (QStringList {QStringLiteral("carregando:sim"), QStringLiteral("erro:-")}));
        QVERIFY(modelo->carregando());
        QVERIFY(esperar(fins, 2));
        QCOMPARE(diario.linhas(),
            (QStringList {QStringLiteral("carregando:sim"), QStringLiteral("erro:-"),
                QStringLiteral("grupos:1"), QStringLiteral("raioX:1"), QStringLiteral("carregando:nao"),
                QStringLiteral("fim")}));
        QVERIFY(!modelo->erro().has_value());
    }

    void falhaAoLerAPastaGuardaOsResultadosAnteriores()
    {
        escrever(emDownloads("a.pdf"), "a");
        escrever(emDownloads("b.pdf"), "b");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        const std::vector<std::string> antes = nomes(modelo->itensTodos());
        QCOMPARE(antes.size(), std::size_t(2));

        // The folder is replaced by a plain file: listing it fails.
        std::filesystem::rename(Casa::downloads(), Casa::raiz() + "/Downloads-guardada");
        escrever(Casa::downloads(), "nao sou uma pasta");
        Diario diario(*modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->varrer();
        QVERIFY(esperar(fins, 1));

        QCOMPARE(modelo->erro(), std::optional<QString>(erroDeLeitura(ENOTDIR)));
        QCOMPARE(diario.linhas(),
            (QStringList {QStringLiteral("carregando:sim"), QStringLiteral("erro:") + erroDeLeitura(ENOTDIR),
                QStringLiteral("carregando:nao"), QStringLiteral("fim")}));
        QCOMPARE(nomes(modelo->itensTodos()), antes);
        QVERIFY(modelo->raioX().has_value());
        QCOMPARE(modelo->raioX()->total(), 2);
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::adiado);

        std::filesystem::remove(Casa::downloads());
        std::filesystem::rename(Casa::raiz() + "/Downloads-guardada", Casa::downloads());
        modelo->varrer();
        QVERIFY(!modelo->erro().has_value());
        QVERIFY(esperar(fins, 2));
        QVERIFY(!modelo->erro().has_value());
    }

    void pastasDaDownloadsGuardamSuasDecisoes()
    {
        std::filesystem::create_directories(emDownloads("fotos da viagem"));
        escrever(emDownloads("fotos da viagem/1.jpg"), "x");
        escrever(emDownloads(".escondido.txt"), "x");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({emDownloads("fotos da viagem"), emDownloads(".escondido.txt")}, Decisao::adiado);

        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->varrer();
        QVERIFY(esperar(fins, 1));
        // Folders are entries like files; a hidden file is not listed, so its decision goes.
        QVERIFY(modelo->decisao(emDownloads("fotos da viagem")) == Decisao::adiado);
        QCOMPARE(modelo->decisoes().size(), std::size_t(1));
    }

    void duasVarredurasSobrepostasSoAMaisNovaEhAplicada()
    {
        escrever(emDownloads("a.pdf"), "a");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);

        // One worker thread, held busy: both scans queue behind it, and between them a task
        // that adds a file. The first scan is called off before it reads anything.
        QThreadPool& pool = *QThreadPool::globalInstance();
        const int threads = pool.maxThreadCount();
        pool.setMaxThreadCount(1);
        QSemaphore liberar;
        QSemaphore ocupado;
        pool.start([&] {
            ocupado.release();
            liberar.acquire();
        });
        ocupado.acquire();

        Diario diario(*modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->varrer();
        pool.start([] { escrever(emDownloads("b.pdf"), "b"); });
        modelo->varrer();
        QVERIFY(modelo->carregando());
        liberar.release();
        const bool terminaram = esperar(fins, 1);
        pool.waitForDone(20000);
        pool.setMaxThreadCount(threads);
        QVERIFY(terminaram);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();

        QCOMPARE(diario.linhas(),
            (QStringList {QStringLiteral("carregando:sim"), QStringLiteral("grupos:2"), QStringLiteral("raioX:2"),
                QStringLiteral("carregando:nao"), QStringLiteral("fim")}));
        QCOMPARE(fins.count(), 1);
        QCOMPARE(modelo->itensTodos().size(), std::size_t(2));
        QVERIFY(!modelo->erro().has_value());
    }

    void varreduraMaisAntigaQueTerminaPorUltimoEhDescartada()
    {
        escrever(emDownloads("a.pdf"), "a");
        escrever(emDownloads("b.pdf"), "b");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);

        // The first scan reads the folder with both files, then is held until the second one,
        // which sees b.pdf gone (moved to the Trash meanwhile), has been applied.
        QSemaphore leu;
        QSemaphore soltar;
        std::atomic<int> chamadas {0};
        modelo->setVarredor([&](const std::string& pasta, const std::stop_token& parar) {
            if (chamadas.fetch_add(1) == 0) {
                Modelo::Varredura antiga = Modelo::varrerEmSegundoPlano(pasta, {});
                leu.release();
                soltar.acquire();
                return antiga;
            }
            return Modelo::varrerEmSegundoPlano(pasta, parar);
        });
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->varrer();
        leu.acquire();
        std::filesystem::remove(emDownloads("b.pdf"));
        modelo->varrer();
        const bool aplicada = esperar(fins, 1);
        soltar.release();
        QVERIFY(aplicada);
        QCOMPARE(nomes(modelo->itensTodos()), std::vector<std::string> {"a.pdf"});

        // The older result arrives last and is dropped.
        QThreadPool::globalInstance()->waitForDone(20000);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QCOMPARE(fins.count(), 1);
        QCOMPARE(nomes(modelo->itensTodos()), std::vector<std::string> {"a.pdf"});
        QVERIFY(!modelo->carregando());
    }

    void modeloDesfeitoComAVarreduraPresaNumHistoricoHostilTerminaEmUmSegundo()
    {
        escrever(emDownloads("a.pdf"), "a");
        // Browser histories whose reading would take minutes: each is given up after its
        // budget of a few seconds, one after the other.
        for (const char* perfil : {"Default", "Profile 1", "Profile 2", "Profile 3"}) {
            historicoQueDemoraMinutos(Casa::raiz() + "/.config/chromium/" + perfil + "/History");
        }
        QElapsedTimer relogio;
        {
            auto modelo = std::make_unique<Modelo>();
            QSignalSpy carregando(modelo.get(), &Modelo::carregandoChanged);
            QVERIFY(carregando.wait(20000));
            QTest::qWait(300); // well inside the first database
            relogio.start();
            modelo.reset();
        }
        const bool terminou = QThreadPool::globalInstance()->waitForDone(20000);
        const qint64 ms = relogio.elapsed();
        QVERIFY(terminou);
        QVERIFY2(ms < 1000, qPrintable(QStringLiteral("%1 ms").arg(ms)));
        for (const char* perfil : {"Default", "Profile 1", "Profile 2", "Profile 3"}) {
            std::filesystem::remove_all(Casa::raiz() + "/.config/chromium/" + perfil);
        }
    }

    void modeloDesfeitoDuranteAVarreduraDescartaOResultado()
    {
        escrever(emDownloads("a.pdf"), "a");
        std::filesystem::create_directories(Casa::pastaDeDados());
        const std::string decisoes = "{\"" + comBarrasEscapadas(emDownloads("saiu.pdf")) + "\":\"adiado\"}";
        escrever(Casa::arquivoDeDecisoes().toStdString(), decisoes);

        QThreadPool& pool = *QThreadPool::globalInstance();
        const int threads = pool.maxThreadCount();
        pool.setMaxThreadCount(1);
        QSemaphore liberar;
        QSemaphore ocupado;
        pool.start([&] {
            ocupado.release();
            liberar.acquire();
        });
        ocupado.acquire();
        {
            auto modelo = std::make_unique<Modelo>();
            QSignalSpy carregando(modelo.get(), &Modelo::carregandoChanged);
            const bool comecou = carregando.wait(20000);
            modelo.reset();
            liberar.release();
            pool.waitForDone(20000);
            pool.setMaxThreadCount(threads);
            QVERIFY(comecou);
        }
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        // Applied, the scan would have pruned the decision of the file that is not there.
        QCOMPARE(ler(Casa::arquivoDeDecisoes().toStdString()), decisoes);
    }

    void varreduraNaoMudaNadaNaPasta()
    {
        // Files, a sub-folder with content, a link, a named pipe, a hidden file and
        // extended attributes: everything a scan reads.
        escrever(emDownloads("relatorio.pdf"), "conteudo");
        definirOrigem(emDownloads("relatorio.pdf"), "https://arquivos.exemplo.com.br/relatorio.pdf");
        escrever(emDownloads("nota.txt"), "nota");
        const std::string quarentena = "0083;00000000;Firefox;";
        QVERIFY(::setxattr(emDownloads("nota.txt").c_str(), "user.com.apple.quarantine", quarentena.data(),
                    quarentena.size(), 0)
            == 0);
        std::filesystem::create_directories(emDownloads("projeto/src"));
        escrever(emDownloads("projeto/src/main.cpp"), "int main() {}");
        escrever(emDownloads("projeto/LEIA-ME"), "leia");
        std::filesystem::create_symlink("relatorio.pdf", emDownloads("atalho.pdf"));
        QVERIFY(::mkfifo(emDownloads("cano").c_str(), 0600) == 0);
        escrever(emDownloads(".oculto"), "x");
        escrever(emDownloads("nome-\xff.bin"), "x");
        envelhecer(Casa::downloads(), 2 * 86400);
        const QStringList antes = retrato(Casa::downloads());
        QCOMPARE(antes.size(), 11);

        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QCOMPARE(modelo->itensTodos().size(), std::size_t(6));
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->varrer();
        QVERIFY(esperar(fins, 1));

        QCOMPARE(retrato(Casa::downloads()), antes);
    }
};

TARRAFA_REGISTRAR_TESTE(VarreduraTest)
#include "VarreduraTest.moc"
