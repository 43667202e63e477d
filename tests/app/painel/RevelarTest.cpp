// SPDX-License-Identifier: GPL-3.0-or-later
// "Mostrar no gerenciador de arquivos": the file manager is asked over the session bus
// with the file's exact URI; without one, the folder is opened instead.
#include "Bancada.hpp"
#include "Downloads.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/Revelar.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QMenu>
#include <QTest>
#include <QUrl>

namespace tarrafa::app::teste {

// A file manager that only remembers what it was asked to show.
class GerenciadorFalso final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QList<QStringList> pedidos;
    QStringList inicios;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString& inicio)
    {
        pedidos.append(uris);
        inicios.append(inicio);
    }
};

// Stands in for the desktop when a URL is opened.
class AbridorFalso final : public QObject {
    Q_OBJECT

public:
    QList<QUrl> abertos;

public Q_SLOTS:
    void abrir(const QUrl& url) { abertos.append(url); }
};

namespace {

const QString kServico = QStringLiteral("org.freedesktop.FileManager1");
const QString kCaminho = QStringLiteral("/org/freedesktop/FileManager1");

} // namespace

class RevelarTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void uriLevaOsBytesExatos()
    {
        QCOMPARE(uriDoArquivo("/tmp/pasta com espaço/relatório.pdf"),
            QStringLiteral("file:///tmp/pasta%20com%20espa%C3%A7o/relat%C3%B3rio.pdf"));
        // A name in Latin-1, not UTF-8: its byte goes as it is.
        QCOMPARE(
            uriDoArquivo("/tmp/relat\xf3rio#1?.pdf"), QStringLiteral("file:///tmp/relat%F3rio%231%3F.pdf"));
    }

    void pedeAoGerenciadorPeloMenuDaLinha()
    {
        QDBusConnection sessao = QDBusConnection::sessionBus();
        if (!sessao.isConnected()) {
            QSKIP("no session bus (dbus-daemon is not installed)");
        }
        GerenciadorFalso gerenciador;
        QVERIFY(sessao.registerObject(kCaminho, &gerenciador, QDBusConnection::ExportAllSlots));
        QVERIFY(sessao.registerService(kServico));

        Downloads downloads;
        const std::string caminho
            = downloads.criar({.nome = "relat\xf3rio final.pdf", .origem = "https://arquivos.exemplo.com/x"});
        downloads.criar({.nome = "outro.pdf", .origem = "https://arquivos.exemplo.com/x"});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Bancada b(*modelo, Destino::grupo("host:arquivos.exemplo.com"));
        QVERIFY(b.exposta());
        int linha = -1;
        for (int i = 0; i < 2; ++i) {
            if (b.id(i) == caminho) {
                linha = i;
            }
        }
        QVERIFY(linha >= 0);
        b.clicar(1 - linha);

        b.clicarComODireito(linha);
        QTRY_VERIFY(QApplication::activePopupWidget());
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        QAction* mostrar = menu->findChild<QAction*>(QStringLiteral("mostrarNoGerenciador"));
        QVERIFY(mostrar);
        QCOMPARE(mostrar->text(), QStringLiteral("&Mostrar no gerenciador de arquivos"));
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(mostrar).center());

        QTRY_COMPARE(gerenciador.pedidos.size(), 1);
        QCOMPARE(gerenciador.pedidos[0], QStringList {uriDoArquivo(caminho)});
        QVERIFY(gerenciador.pedidos[0][0].endsWith(QStringLiteral("/relat%F3rio%20final.pdf")));
        QCOMPARE(gerenciador.inicios[0], QString());
        // Nothing is decided; the row right-clicked outside the selection became the selection.
        QVERIFY(modelo->decisoes().empty());
        QCOMPARE(b.selecao.selecionados(), std::set<std::string> {b.id(linha)});

        sessao.unregisterService(kServico);
        sessao.unregisterObject(kCaminho);
    }

    void duploCliqueEnterEAbrirAbremOArquivoComOAplicativoPadrao()
    {
        Downloads downloads;
        const std::string caminho = downloads.criar({.nome = "relatório final.pdf", .origem = "https://arquivos.exemplo.com/a"});
        downloads.criar({.nome = "outro.pdf", .origem = "https://arquivos.exemplo.com/b"});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Bancada b(*modelo, Destino::grupo("host:arquivos.exemplo.com"));
        QVERIFY(b.exposta());
        const int linha = b.id(0) == caminho ? 0 : 1;
        AbridorFalso abridor;
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &abridor, "abrir");

        const QRect retangulo = b.lista->visualRect(b.lista->model()->index(linha, 0));
        // A double-click as the system delivers it: a click, then the second press.
        QTest::mouseClick(b.lista->viewport(), Qt::LeftButton, {}, retangulo.center());
        QTest::mouseDClick(b.lista->viewport(), Qt::LeftButton, {}, retangulo.center());
        QTRY_COMPARE(abridor.abertos.size(), 1);

        b.lista->setCurrentIndex(b.lista->model()->index(linha, 0));
        QTest::keyClick(b.lista, Qt::Key_Return);
        QTRY_COMPARE(abridor.abertos.size(), 2);

        b.clicarComODireito(linha);
        QTRY_VERIFY(QApplication::activePopupWidget());
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QAction* abrir = menu->findChild<QAction*>(QStringLiteral("abrir"));
        QVERIFY(abrir);
        QCOMPARE(abrir->text(), QStringLiteral("&Abrir"));
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(abrir).center());
        QTRY_COMPARE(abridor.abertos.size(), 3);
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));

        for (const QUrl& aberto : abridor.abertos) {
            QCOMPARE(aberto.toString(QUrl::FullyEncoded), uriDoArquivo(caminho));
        }
        QVERIFY(modelo->decisoes().empty()); // opening decides nothing
    }

    void semGerenciadorAbreAPasta()
    {
        QDBusConnection sessao = QDBusConnection::sessionBus();
        if (sessao.isConnected()) {
            QVERIFY(!sessao.interface()->isServiceRegistered(kServico).value());
        }
        AbridorFalso abridor;
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &abridor, "abrir");
        mostrarNoGerenciadorDeArquivos("/tmp/uma pasta/relat\xf3rio.pdf");
        QTRY_COMPARE(abridor.abertos.size(), 1);
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        QCOMPARE(abridor.abertos[0].toEncoded(), QByteArray("file:///tmp/uma%20pasta"));
        QCOMPARE(abridor.abertos[0].toLocalFile(), QStringLiteral("/tmp/uma pasta"));
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::RevelarTest;
TARRAFA_REGISTRAR_TESTE(RevelarTest)

#include "RevelarTest.moc"
