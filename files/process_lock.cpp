// SPDX-License-Identifier: MIT
#include "files/process_lock.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tavik {

namespace {

// Anybody may have made a directory of that name among the temporary files.
bool isOwnDirectory(const QString& path)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & 077U) == 0;
}

// Without a directory of its own, or with somebody else's (after becoming another user), Qt would
// complain on standard error before it helps itself.
QString runtimeDirectory()
{
    const QString user = QString::number(geteuid());
    // Where it is not named, as for timed jobs, it is still there while the user is logged in.
    for (const QString& given :
         {qEnvironmentVariable("XDG_RUNTIME_DIR"), QStringLiteral("/run/user/") + user}) {
        if (isOwnDirectory(given))
            return given;
    }
    const QString path = QDir::tempPath() + QStringLiteral("/tavik-center-") + user;
    ::mkdir(QFile::encodeName(path).constData(), 0700);
    return isOwnDirectory(path) ? path : QString();
}

// The path without links, as far as it exists: one file must not have two locks.
QString realPath(const QString& path)
{
    const QFileInfo file(QDir::cleanPath(path));
    if (file.exists())
        return file.canonicalFilePath();
    return QDir(realPath(file.path())).filePath(file.fileName());
}

} // namespace

QString runtimeFilePath(const QString& name)
{
    const QString directory = runtimeDirectory();
    return directory.isEmpty() ? QString() : directory + u'/' + name;
}

QString runtimeFilePathOf(const QString& file, const QString& suffix)
{
    const QByteArray digest =
        QCryptographicHash::hash(realPath(file).toUtf8(), QCryptographicHash::Sha256).toHex();
    return runtimeFilePath(QStringLiteral("tavik-center-") + QString::fromLatin1(digest.first(16)) +
                           suffix);
}

QString lockPathOf(const QString& file)
{
    return runtimeFilePathOf(file, QStringLiteral(".lock"));
}

ProcessLock::ProcessLock(QString lockPath) : path(std::move(lockPath)) {}

ProcessLock::~ProcessLock()
{
    release();
}

ProcessLock::Attempt ProcessLock::attempt()
{
    if (descriptor >= 0)
        return Attempt::Taken;
    const int opened = ::open(QFile::encodeName(path).constData(),
                              O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (opened < 0)
        return Attempt::Impossible;
    if (::flock(opened, LOCK_EX | LOCK_NB) == 0) {
        descriptor = opened;
        return Attempt::Taken;
    }
    const bool isHeld = errno == EWOULDBLOCK;
    ::close(opened);
    return isHeld ? Attempt::HeldByAnother : Attempt::Impossible;
}

void ProcessLock::release()
{
    if (descriptor >= 0)
        ::close(std::exchange(descriptor, -1));
}

} // namespace tavik
