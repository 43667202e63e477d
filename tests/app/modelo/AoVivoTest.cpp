// SPDX-License-Identifier: GPL-3.0-or-later
// The model watching its folder: real files, real inotify, no new scan asked for.
#include "Casa.hpp"
#include "Registro.hpp"

#include <QDateTime>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

// A model over the fake home that watches its folder, its first scan applied.
std::unique_ptr<Modelo> modeloAoVivo()
{
    auto modelo = std::make_unique<Modelo>(Casa::downloads(), Casa::arquivoDeDecisoes());
    modelo->setAoVivo(true);
    QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
    if (!esperar(fins, 1)) {
        return nullptr;
    }
    return modelo;
}

bool listado(const Modelo& modelo, std::string_view nome)
{
    const std::vector<std::string> todos = nomes(modelo.itensTodos());
    return std::find(todos.begin(), todos.end(), nome) != todos.end();
}

bool baixando(const Modelo& modelo, std::string_view nome)
{
    return std::ranges::any_of(modelo.baixando(), [nome](const ItemTriado& item) { return item.nome() == nome; });
}

// The kernel's allowance of inotify watches per user, lowered for the life of the object and
// put back after; root only (valido() says whether it was lowered).
class LimiteDeVigias {
public:
    explicit LimiteDeVigias(unsigned long limite)
    {
        QFile atual(QString::fromLatin1(kArquivo));
        bool numero = false;
        if (atual.open(QIODevice::ReadOnly)) {
            anterior_ = atual.readAll().trimmed().toULong(&numero);
        }
        mudou_ = numero && gravar(limite);
    }
    LimiteDeVigias(const LimiteDeVigias&) = delete;
    LimiteDeVigias& operator=(const LimiteDeVigias&) = delete;
    ~LimiteDeVigias()
    {
        if (mudou_) {
            (void)gravar(anterior_);
        }
    }
    [[nodiscard]] bool valido() const { return mudou_; }

private:
    static constexpr const char* kArquivo = "/proc/sys/fs/inotify/max_user_watches";
    static bool gravar(unsigned long valor)
    {
        QFile arquivo(QString::fromLatin1(kArquivo));
        return arquivo.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
            && arquivo.write(QByteArray::number(static_cast<qulonglong>(valor)) + '\n') > 0;
    }
    unsigned long anterior_ = 0;
    bool mudou_ = false;
};

void sql(sqlite3* db, const char* comando)
{
    char* erro = nullptr;
    QVERIFY2(sqlite3_exec(db, comando, nullptr, nullptr, &erro) == SQLITE_OK, erro);
}

} // namespace

class AoVivoTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { Casa::recomecar(); }

    void oQueChegaMudaESaiApareceSemNovaVarredura()
    {
        escrever(emDownloads("a.pdf"), "a");
        escrever(emDownloads("velho.zip"), "v");
        const auto modelo = modeloAoVivo();
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->decidir({emDownloads("velho.zip")}, Decisao::adiado);

        escrever(emDownloads("b.pdf"), "bb");
        QTRY_VERIFY(listado(*modelo, "b.pdf"));
        QCOMPARE(modelo->contagem(Destino::entrada()), std::optional<int>(2));
        QCOMPARE(modelo->raioX()->total(), 3);
        QVERIFY(modelo->decisao(emDownloads("b.pdf")) == Decisao::novo);

        escrever(emDownloads("a.pdf"), "a maior agora");
        QTRY_COMPARE(itemPorNome(*modelo, "a.pdf")->snapshot().tamanho(), std::int64_t(13));

        // Gone in the file manager: gone here, its decision with it.
        std::filesystem::remove(emDownloads("velho.zip"));
        QTRY_VERIFY(!listado(*modelo, "velho.zip"));
        QVERIFY(!modelo->decisoes().contains(emDownloads("velho.zip")));
        QCOMPARE(modelo->raioX()->total(), 2);
        QCOMPARE(fins.count(), 0); // never a whole new scan
    }

    void umDownloadEmAndamentoNaoEhArquivoAteTerminar()
    {
        escrever(emDownloads("a.pdf"), "a");
        const auto modelo = modeloAoVivo();
        QVERIFY(modelo);
        escrever(emDownloads("manual.pdf.crdownload"), "parte");
        QTRY_VERIFY(baixando(*modelo, "manual.pdf.crdownload"));
        QVERIFY(!listado(*modelo, "manual.pdf.crdownload"));
        QCOMPARE(modelo->raioX()->total(), 1);
        QCOMPARE(modelo->contagem(Destino::entrada()), std::optional<int>(1));

        std::filesystem::rename(emDownloads("manual.pdf.crdownload"), emDownloads("manual.pdf"));
        QTRY_VERIFY(listado(*modelo, "manual.pdf"));
        QVERIFY(modelo->baixando().empty());
        QCOMPARE(modelo->raioX()->total(), 2);
    }

    void umaVarreduraJaMostraOsDownloadsEmAndamento()
    {
        escrever(emDownloads("video.webm"), "");
        escrever(emDownloads("video.webm.part"), "parte");
        escrever(emDownloads("a.pdf"), "a");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QCOMPARE(nomes(modelo->itensTodos()), std::vector<std::string> {"a.pdf"});
        QCOMPARE(nomes(modelo->baixando()), (std::vector<std::string> {"video.webm", "video.webm.part"}));
        QCOMPARE(modelo->raioX()->total(), 1);
    }

    void novoGrupoAparecePorInteiroEOGrupoVazioSome()
    {
        escrever(emDownloads("a.pdf"), "a");
        const auto modelo = modeloAoVivo();
        QVERIFY(modelo);
        const std::string caminho = emDownloads("de-la.zip");
        escrever(caminho + ".tmp", "z");
        definirOrigem(caminho + ".tmp", "https://arquivos.exemplo.org/de-la.zip");
        std::filesystem::rename(caminho + ".tmp", caminho);
        QTRY_VERIFY(listado(*modelo, "de-la.zip"));
        const std::string chave = chaveDoGrupoDe(*modelo, "de-la.zip");
        QVERIFY(chave != Origem::kChaveSemOrigem);
        QCOMPARE(modelo->contagem(Destino::grupo(chave)), std::optional<int>(1));
        QCOMPARE(modelo->titulo(Destino::grupo(chave)), QStringLiteral("arquivos.exemplo.org"));
        // The group without origin stays last.
        QCOMPARE(modelo->grupos().back().id(), std::string(Origem::kChaveSemOrigem));

        std::filesystem::remove(caminho);
        QTRY_VERIFY(!listado(*modelo, "de-la.zip"));
        QCOMPARE(modelo->grupos().size(), std::size_t(1));
    }

    void pastaQueSomeEVoltaSozinha()
    {
        escrever(emDownloads("a.pdf"), "a");
        const auto modelo = modeloAoVivo();
        QVERIFY(modelo);
        std::filesystem::remove_all(Casa::downloads());
        QTRY_VERIFY(modelo->erro().has_value());
        QVERIFY(modelo->erro()->startsWith(QStringLiteral("Não consegui ler a pasta Downloads: ")));
        QVERIFY(modelo->itensTodos().empty());

        std::filesystem::create_directory(Casa::downloads());
        escrever(emDownloads("b.pdf"), "b");
        QTRY_VERIFY(listado(*modelo, "b.pdf"));
        QVERIFY(!modelo->erro().has_value());
    }

    void historicoEscritoDepoisTrazAOrigem()
    {
        const std::string historico = Casa::raiz() + "/.config/chromium/Default/History";
        std::filesystem::create_directories(std::filesystem::path(historico).parent_path());
        sqlite3* db = nullptr;
        QVERIFY(sqlite3_open(historico.c_str(), &db) == SQLITE_OK);
        sql(db,
            "CREATE TABLE downloads (id INTEGER PRIMARY KEY, guid VARCHAR NOT NULL DEFAULT '', "
            "current_path LONGVARCHAR NOT NULL DEFAULT '', target_path LONGVARCHAR NOT NULL, "
            "start_time INTEGER NOT NULL DEFAULT 0, received_bytes INTEGER NOT NULL DEFAULT 0, "
            "total_bytes INTEGER NOT NULL DEFAULT 0, state INTEGER NOT NULL DEFAULT 1, "
            "end_time INTEGER NOT NULL, opened INTEGER NOT NULL, last_access_time INTEGER NOT NULL, "
            "referrer VARCHAR NOT NULL, site_url VARCHAR NOT NULL DEFAULT '', tab_url VARCHAR NOT NULL "
            "DEFAULT '', mime_type VARCHAR(255) NOT NULL DEFAULT '');"
            "CREATE TABLE downloads_url_chains (id INTEGER NOT NULL, chain_index INTEGER NOT NULL, "
            "url LONGVARCHAR NOT NULL, PRIMARY KEY (id, chain_index));");
        escrever(emDownloads("fatura.pdf"), "pdf");
        const auto modelo = modeloAoVivo();
        QVERIFY(modelo);
        QCOMPARE(chaveDoGrupoDe(*modelo, "fatura.pdf"), std::string(Origem::kChaveSemOrigem));

        // The row Chromium writes about ten seconds after the download ends.
        const std::string inserir = "INSERT INTO downloads (id, target_path, end_time, opened, last_access_time, "
                                    "referrer) VALUES (1, '"
            + emDownloads("fatura.pdf")
            + "', 13345000000000000, 0, 0, 'https://loja.exemplo.com/pedidos');"
              "INSERT INTO downloads_url_chains VALUES (1, 0, 'https://cdn.exemplo.com/fatura.pdf');";
        sql(db, inserir.c_str());
        sqlite3_close(db);
        QTRY_VERIFY(chaveDoGrupoDe(*modelo, "fatura.pdf") != Origem::kChaveSemOrigem);
        QVERIFY(!itemPorNome(*modelo, "fatura.pdf")->snapshot().origens().empty());
    }

    void arquivoAbertoPorOutroAplicativoDeixaDeSerNuncaAbertoSemNovaVarredura()
    {
        escrever(emDownloads("foto.png"), "png");
        const auto modelo = modeloAoVivo();
        QVERIFY(modelo);
        QVERIFY(itemPorNome(*modelo, "foto.png")->snapshot().nuncaReaberto());
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);

        // The image viewer notes the use in the desktop's list, an hour after the download.
        const QString quando = QDateTime::currentDateTimeUtc().addSecs(3600).toString(Qt::ISODate);
        const QString lista = QStringLiteral(
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<xbel version=\"1.0\" xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\">\n"
            "<bookmark href=\"file://%1\" added=\"%2\" modified=\"%2\" visited=\"%2\"><info>"
            "<metadata owner=\"http://freedesktop.org\"><bookmark:applications>"
            "<bookmark:application name=\"eog\" exec=\"&apos;eog %u&apos;\" modified=\"%2\" count=\"1\"/>"
            "</bookmark:applications></metadata></info></bookmark>\n</xbel>\n")
                                  .arg(deBytes(emDownloads("foto.png")), quando);
        std::filesystem::create_directories(Casa::dados());
        escrever(Casa::dados() + "/recently-used.xbel.novo", lista.toStdString());
        std::filesystem::rename(Casa::dados() + "/recently-used.xbel.novo", Casa::dados() + "/recently-used.xbel");

        QTRY_VERIFY(!itemPorNome(*modelo, "foto.png")->snapshot().nuncaReaberto());
        QCOMPARE(fins.count(), 0); // never a whole new scan
    }

    void semVigiasNoSistemaAJanelaAvisa()
    {
        // Every program of the user is refused new watches meanwhile: run alone, by a test of
        // its own that sets the variable.
        if (qEnvironmentVariableIsEmpty("TARRAFA_TESTE_SEM_VIGIAS")) {
            QSKIP("lowers the kernel's allowance of inotify watches: run by app.modelo.SemVigiasDoSistema");
        }
        const auto modelo = modeloAoVivo();
        QVERIFY(modelo);
        QVERIFY(!modelo->mensagem());
        LimiteDeVigias limite(0);
        if (!limite.valido()) {
            QSKIP("the kernel's allowance of inotify watches cannot be changed here");
        }
        std::filesystem::create_directory(emDownloads("Fotos"));
        QTRY_VERIFY(listado(*modelo, "Fotos"));
        QTRY_VERIFY(modelo->mensagem()
            && modelo->mensagem()->startsWith(QStringLiteral("Alguns tamanhos de pastas podem estar desatualizados")));
    }

    void varrerDeNovoContinuaVigiando()
    {
        const auto modelo = modeloAoVivo();
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->varrer();
        QVERIFY(esperar(fins, 1));
        escrever(emDownloads("depois.pdf"), "d");
        QTRY_VERIFY(listado(*modelo, "depois.pdf"));
        // Turned off, the watcher stops at once.
        modelo->setAoVivo(false);
        QCOMPARE(modelo->aoVivo(), false);
    }
};

TARRAFA_REGISTRAR_TESTE(AoVivoTest)
#include "AoVivoTest.moc"
