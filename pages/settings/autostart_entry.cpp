// SPDX-License-Identifier: MIT
#include "pages/settings/autostart_entry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace tavik {

QByteArray autostartEntry(const QString& programPath)
{
    QString escapedPath = programPath;
    escapedPath.replace(QLatin1Char('"'), QLatin1String("\\\""));
    // The icon is found wherever the program itself was started from, so its path is the system's.
    const QString entry =
        QStringLiteral("[Desktop Entry]\n"
                       "Type=Application\n"
                       "Name=ZEROLT TAVIK Pro\n"
                       "Exec=\"%1\"\n"
                       "Icon=/usr/share/tavik-center/official-skin/zerolt-logo.png\n"
                       "Terminal=false\n"
                       "X-GNOME-Autostart-enabled=true\n")
            .arg(escapedPath);
    return entry.toUtf8();
}

QString autostartFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::ConfigLocation) +
           QStringLiteral("/autostart/tavik-center.desktop");
}

bool isAutostartEnabled()
{
    return QFile::exists(autostartFilePath());
}

bool enableAutostart()
{
    QFile file(autostartFilePath());
    QDir().mkpath(QFileInfo(file).path());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::Truncate))
        return false;
    const QByteArray entry = autostartEntry(QCoreApplication::applicationFilePath());
    return file.write(entry) == entry.size() && file.flush();
}

bool disableAutostart()
{
    return QFile::remove(autostartFilePath()) || !isAutostartEnabled();
}

} // namespace tavik
