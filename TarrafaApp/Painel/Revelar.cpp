// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Revelar.hpp"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QStringList>
#include <QUrl>

namespace tarrafa::app {

namespace {

void abrirPastaQueContem(const std::string& caminho)
{
    const std::string::size_type barra = caminho.rfind('/');
    const QByteArray pasta
        = QByteArray::fromStdString(barra == 0 ? std::string("/") : caminho.substr(0, barra));
    QDesktopServices::openUrl(
        QUrl(QStringLiteral("file://") + QString::fromLatin1(pasta.toPercentEncoding("/"))));
}

} // namespace

QString uriDoArquivo(const std::string& caminho)
{
    return QStringLiteral("file://")
        + QString::fromLatin1(QByteArray::fromStdString(caminho).toPercentEncoding("/"));
}

void mostrarNoGerenciadorDeArquivos(const std::string& caminho)
{
    QDBusConnection sessao = QDBusConnection::sessionBus();
    if (!sessao.isConnected()) {
        abrirPastaQueContem(caminho);
        return;
    }
    QDBusMessage chamada = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("ShowItems"));
    chamada << QStringList {uriDoArquivo(caminho)} << QString();
    // Asynchronous: a file manager that starts on demand must not freeze the window.
    auto* espera = new QDBusPendingCallWatcher(sessao.asyncCall(chamada));
    QObject::connect(
        espera, &QDBusPendingCallWatcher::finished, espera, [caminho](QDBusPendingCallWatcher* w) {
            if (w->isError()) {
                abrirPastaQueContem(caminho);
            }
            w->deleteLater();
        });
}

void abrirArquivo(const std::string& caminho)
{
    QDesktopServices::openUrl(QUrl(uriDoArquivo(caminho)));
}

} // namespace tarrafa::app
