// SPDX-License-Identifier: MIT
#include "files/shared_place.h"

#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

namespace tavik {

namespace {

bool isOnlyOurs(const QString& path)
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0 ||
        (status.st_uid != 0 && status.st_uid != ::geteuid()))
        return false;
    const bool othersMayWrite = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    // A link has no permissions of its own.
    return !othersMayWrite || S_ISLNK(status.st_mode) ||
           (S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0);
}

bool isOnlyOursOnTheWay(const QString& path)
{
    for (QString place = path; place != u"/"; place = QFileInfo(place).path()) {
        if (!isOnlyOurs(place))
            return false;
    }
    return true;
}

} // namespace

bool isTrustedPath(const QString& path)
{
    if (!path.startsWith(sharedPlace))
        return true;
    // Once with the links themselves, and once where they lead.
    return isOnlyOursOnTheWay(path) && isOnlyOursOnTheWay(QFileInfo(path).canonicalFilePath());
}

} // namespace tavik
