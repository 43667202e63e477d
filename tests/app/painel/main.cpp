// SPDX-License-Identifier: GPL-3.0-or-later
// Runs every registered test class under one application, in a fake home (so no real
// browser history, application or trash is read) and, where dbus-daemon exists, on a
// private session bus of its own that starts no services.
#include "Registro.hpp"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

void morarEm(const QString& raiz)
{
    const QByteArray casa = QFile::encodeName(raiz);
    qputenv("HOME", casa);
    qputenv("XDG_DATA_HOME", casa + "/.local/share");
    qputenv("XDG_CONFIG_HOME", casa + "/.config");
    qputenv("XDG_CACHE_HOME", casa + "/.cache");
    qputenv("XDG_DATA_DIRS", casa + "/usr/share");
    qputenv("XDG_RUNTIME_DIR", casa + "/run");
    for (const char* pasta : {"/.local/share", "/.config", "/.cache", "/usr/share", "/run"}) {
        QDir().mkpath(raiz + QString::fromLatin1(pasta));
    }
    // The system's MIME database, as every desktop has it: file types are told by their names.
    QFile::link(QStringLiteral("/usr/share/mime"), raiz + QStringLiteral("/usr/share/mime"));
    QFile::setPermissions(
        raiz + QStringLiteral("/run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

// A session bus for this process alone; without dbus-daemon the tests that need one skip.
std::unique_ptr<QProcess> barramentoProprio(const QString& raiz)
{
    const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    if (daemon.isEmpty()) {
        return nullptr;
    }
    const QString configuracao = raiz + QStringLiteral("/sessao.conf");
    QFile arquivo(configuracao);
    if (!arquivo.open(QIODevice::WriteOnly)) {
        return nullptr;
    }
    arquivo.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                  "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                  "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
                  "<policy context=\"default\"><allow send_destination=\"*\"/><allow eavesdrop=\"true\"/>"
                  "<allow own=\"*\"/></policy></busconfig>\n");
    arquivo.close();
    auto processo = std::make_unique<QProcess>();
    processo->start(daemon,
        {QStringLiteral("--config-file=") + configuracao, QStringLiteral("--nofork"),
            QStringLiteral("--print-address=1")});
    if (!processo->waitForStarted(10000) || !processo->waitForReadyRead(10000)) {
        return nullptr;
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", processo->readLine().trimmed());
    return processo;
}

} // namespace

int main(int argc, char* argv[])
{
    QTemporaryDir casa;
    if (!casa.isValid()) {
        qFatal("could not create the fake home");
    }
    morarEm(casa.path());

    QApplication aplicacao(argc, argv);
    const std::unique_ptr<QProcess> barramento = barramentoProprio(casa.path());
    int falhas = 0;
    // TARRAFA_SO_A_CLASSE runs one class alone (its functions can then be named on the
    // command line), for a run under a different environment.
    const QByteArray soAClasse = qgetenv("TARRAFA_SO_A_CLASSE");
    for (const auto& fabrica : tarrafa::app::teste::testesRegistrados()) {
        const std::unique_ptr<QObject> teste = fabrica();
        if (!soAClasse.isEmpty() && !QByteArray(teste->metaObject()->className()).endsWith("::" + soAClasse)) {
            continue;
        }
        falhas += QTest::qExec(teste.get(), argc, argv);
    }
    if (barramento) {
        barramento->terminate();
        barramento->waitForFinished(10000);
    }
    return falhas == 0 ? 0 : 1;
}
