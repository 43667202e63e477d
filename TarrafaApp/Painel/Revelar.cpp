// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Revelar.hpp"

#include "TarrafaApp/Painel/Barramento.hpp"

#include "TarrafaCore/Caminho.hpp"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QStringList>
#include <QUrl>

#include <glib.h>

#include <utility>

namespace tarrafa::app {

namespace {

std::function<bool(const QUrl&)>& abridor()
{
    static std::function<bool(const QUrl&)> unico;
    return unico;
}

void abrirPastaQueContem(const std::string& caminho)
{
    QDesktopServices::openUrl(QUrl(uriDoArquivo(Caminho::pastaDe(caminho))));
}

} // namespace

QString uriDoArquivo(const std::string& caminho)
{
    // GLib's spelling, byte for byte: the one the desktop's thumbnailers hash to name their
    // files, and one every file manager reads.
    if (gchar* uri = g_filename_to_uri(caminho.c_str(), nullptr, nullptr)) {
        QString texto = QString::fromLatin1(uri);
        g_free(uri);
        return texto;
    }
    // A relative path, which GLib refuses: its bytes, percent-encoded all the same.
    return QStringLiteral("file://")
        + QString::fromLatin1(QByteArray::fromStdString(caminho).toPercentEncoding("/"));
}

void mostrarNoGerenciadorDeArquivos(const std::string& caminho)
{
    if (Barramento::sessaoTravada()) {
        abrirPastaQueContem(caminho);
        return;
    }
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

bool abrirArquivo(const std::string& caminho)
{
    const QUrl endereco(uriDoArquivo(caminho));
    return abridor() ? abridor()(endereco) : QDesktopServices::openUrl(endereco);
}

void setAbridorDeArquivos(std::function<bool(const QUrl&)> novo)
{
    abridor() = std::move(novo);
}

} // namespace tarrafa::app
