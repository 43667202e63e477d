// SPDX-License-Identifier: GPL-3.0-or-later
// One window per session: run inside a private session bus (com-sessao), with the real
// program launched twice.
#include "TarrafaApp/App/InstanciaUnica.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <thread>

using tarrafa::app::InstanciaUnica;

class InstanciaUnicaTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(QDBusConnection::sessionBus().isConnected(), "no session bus"); }

    void aSegundaPedeJanelaAPrimeira()
    {
        const QString nome = QStringLiteral("io.github.tarrafa.Teste");
        InstanciaUnica primeira(QDBusConnection::sessionBus(), nome);
        QCOMPARE(primeira.papel(), InstanciaUnica::Papel::primeira);
        QSignalSpy pedidos(&primeira, &InstanciaUnica::ativacaoPedida);
        // Another process: a connection of its own, on a thread of its own, while this one
        // answers from its event loop.
        std::atomic<int> papel {-1};
        std::atomic<bool> respondeu {false};
        std::atomic<bool> acabou {false};
        std::thread outroProcesso([&] {
            {
                const QDBusConnection conexao
                    = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("outro"));
                InstanciaUnica segunda(conexao, nome);
                papel = static_cast<int>(segunda.papel());
                respondeu = segunda.ativarAOutra();
            }
            QDBusConnection::disconnectFromBus(QStringLiteral("outro"));
            acabou = true;
        });
        QTRY_VERIFY_WITH_TIMEOUT(acabou.load(), 20000);
        outroProcesso.join();
        QCOMPARE(papel.load(), static_cast<int>(InstanciaUnica::Papel::outraAberta));
        QVERIFY(respondeu.load());
        QTRY_COMPARE(pedidos.count(), 1);
    }

    void oNomeFicaLivreQuandoAPrimeiraTermina()
    {
        const QString nome = QStringLiteral("io.github.tarrafa.Teste2");
        {
            InstanciaUnica primeira(QDBusConnection::sessionBus(), nome);
            QCOMPARE(primeira.papel(), InstanciaUnica::Papel::primeira);
        }
        QVERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(nome).value());
        InstanciaUnica outra(QDBusConnection::sessionBus(), nome);
        QCOMPARE(outra.papel(), InstanciaUnica::Papel::primeira);
    }

    void oProgramaAbertoDuasVezesMostraUmaJanelaSo()
    {
        QTemporaryDir casa;
        QVERIFY(casa.isValid());
        QDir().mkpath(casa.path() + QStringLiteral("/Downloads"));
        QProcessEnvironment ambiente = QProcessEnvironment::systemEnvironment();
        ambiente.insert(QStringLiteral("HOME"), casa.path());
        ambiente.insert(QStringLiteral("XDG_DATA_HOME"), casa.path() + QStringLiteral("/.local/share"));
        ambiente.insert(QStringLiteral("XDG_CONFIG_HOME"), casa.path() + QStringLiteral("/.config"));
        ambiente.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));

        QProcess primeira;
        primeira.setProcessEnvironment(ambiente);
        primeira.start(QStringLiteral(TARRAFA_APP), {});
        QVERIFY(primeira.waitForStarted(10000));
        QDBusConnectionInterface* barramento = QDBusConnection::sessionBus().interface();
        QTRY_VERIFY_WITH_TIMEOUT(
            barramento->isServiceRegistered(QStringLiteral("io.github.tarrafa.Tarrafa")).value(), 20000);

        QProcess segunda;
        segunda.setProcessEnvironment(ambiente);
        QElapsedTimer relogio;
        relogio.start();
        segunda.start(QStringLiteral(TARRAFA_APP), {});
        const bool terminou = segunda.waitForFinished(10000);
        const qint64 ms = relogio.elapsed();
        if (!terminou) {
            segunda.kill();
            segunda.waitForFinished();
        }
        QVERIFY2(terminou, "the second launch opened a window of its own");
        QCOMPARE(segunda.exitStatus(), QProcess::NormalExit);
        QCOMPARE(segunda.exitCode(), 0);
        QVERIFY2(ms < 5000, qPrintable(QStringLiteral("%1 ms").arg(ms)));
        QCOMPARE(primeira.state(), QProcess::Running);

        primeira.terminate();
        QVERIFY(primeira.waitForFinished(10000));
    }
};

QTEST_MAIN(InstanciaUnicaTest)
#include "InstanciaUnicaTest.moc"
