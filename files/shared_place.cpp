// SPDX-License-Identifier: MIT
#include "files/shared_place.h"

#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

namespace tavik {

namespace {

constexpr int mostLinks = 40; // as the kernel has it

bool isOnlyOurs(const QString& path)
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0 ||
        (status.st_uid != 0 && status.st_uid != ::geteuid()))
        return false;
    const bool othersMayWrite = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    // A link has no permissions of its own.
    return !othersMayWrite || S_ISLNK(status.st_mode) ||
           (path == QFileInfo(QStringLiteral("/tmp")).canonicalFilePath() &&
            (status.st_mode & S_ISVTX) != 0);
}

// Also where links lead, and links in turn.
bool isOnlyOursOnTheWay(const QString& path, int linksLeft)
{
    for (QString place = path; place != u"/"; place = QFileInfo(place).path()) {
        if (!isOnlyOurs(place))
            return false;
        if (const QFileInfo link(place);
            link.isSymLink() &&
            (linksLeft == 0 || !isOnlyOursOnTheWay(link.symLinkTarget(), linksLeft - 1)))
            return false;
    }
    return true;
}

} // namespace

bool isTrustedPath(const QString& path)
{
    if (!path.startsWith(sharedPlace))
        return true;
    // Where a link is named before "..", the way as it is written is not the one that is gone.
    return isOnlyOursOnTheWay(path, mostLinks) &&
           isOnlyOursOnTheWay(QFileInfo(path).canonicalFilePath(), 0);
}

} // namespace tavik
