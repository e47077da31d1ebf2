// SPDX-License-Identifier: MIT
#include "files/whole_file.h"

#include <QFileInfo>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace tavik {

namespace {

// A full disk takes some of the bytes, now or only when they have to be on it. Some file systems
// know no such moment, which is no failure.
bool isOnDisk(QTemporaryFile& file)
{
    return file.flush() && (::fsync(file.handle()) == 0 || errno == EINVAL || errno == ENOTSUP);
}

} // namespace

// QSaveFile does not do: it takes a file cut short for a whole one, and refuses to replace one that
// is not writable, though its directory is.
bool writeWholeFile(const QString& path, const QByteArray& content,
                    QFileDevice::Permissions permissions)
{
    // A link stays one; what it leads to is replaced.
    const QFileInfo present(path);
    const QString target = present.exists() ? present.canonicalFilePath() : path;
    QTemporaryFile file(target + QStringLiteral(".XXXXXX"));
    if (!file.open() || file.write(content) != content.size() || !isOnDisk(file) ||
        !file.setPermissions(permissions))
        return false;
    const QByteArray name = QFile::encodeName(file.fileName());
    if (std::rename(name.constData(), QFile::encodeName(target).constData()) != 0)
        return false;
    file.setAutoRemove(false);
    return true;
}

} // namespace tavik
