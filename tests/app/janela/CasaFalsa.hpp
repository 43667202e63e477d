// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QtGlobal>

namespace tarrafa::app::teste {

// Points HOME and the XDG folders into raiz for the rest of the process, before anything
// reads them: the program then sees no real browser history, application or trash.
inline void morarEm(const QString& raiz)
{
    const QByteArray casa = QFile::encodeName(raiz);
    qputenv("HOME", casa);
    qputenv("XDG_DATA_HOME", casa + "/.local/share");
    qputenv("XDG_CONFIG_HOME", casa + "/.config");
    qputenv("XDG_CACHE_HOME", casa + "/.cache");
    qputenv("XDG_DATA_DIRS", casa + "/usr/share");
    for (const char* pasta : {"/.local/share", "/.config", "/.cache", "/usr/share"}) {
        QDir().mkpath(raiz + QString::fromLatin1(pasta));
    }
    // The system's MIME database, as every desktop has it: file types are told by their names.
    QFile::link(QStringLiteral("/usr/share/mime"), raiz + QStringLiteral("/usr/share/mime"));
}

} // namespace tarrafa::app::teste
