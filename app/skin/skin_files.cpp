#include "app/skin/skin_files.h"

#include "files/shared_place.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStringList>

namespace tavik {

namespace {

QStringList skinDirectories()
{
    const QString applicationDirectory = QCoreApplication::applicationDirPath();
    const QString currentDirectory = QDir::currentPath();
    return {
        sharedPlace + QStringLiteral("/official-skin"),
        applicationDirectory + QStringLiteral("/../share/tavik-center/official-skin"),
        applicationDirectory + QStringLiteral("/official-skin"),
        currentDirectory + QStringLiteral("/native/tavik-center/resources/official-skin"),
        currentDirectory + QStringLiteral("/resources/official-skin"),
    };
}

} // namespace

QString resolveSkinFile(const QString& relativeName)
{
    for (const QString& directory : skinDirectories()) {
        const QString candidate = QDir(directory).filePath(relativeName);
        if (QFileInfo::exists(candidate) && isTrustedPath(candidate))
            return candidate;
    }
    return {};
}

} // namespace tavik
