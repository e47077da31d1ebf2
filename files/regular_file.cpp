// SPDX-License-Identifier: MIT
#include "files/regular_file.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavik {

bool openRegularFile(QFile& file, const QString& path, qint64 limit)
{
    // Without O_NONBLOCK, opening a pipe that nobody writes to never returns.
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status = {};
    if (descriptor >= 0 && ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
        status.st_size <= limit &&
        file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return true;
    if (descriptor >= 0)
        ::close(descriptor);
    return false;
}

std::optional<QByteArray> readRegularFile(const QString& path, qint64 limit)
{
    QFile file;
    if (!openRegularFile(file, path, limit))
        return {};
    // One byte more than allowed shows a file that grew, or that never told its size.
    QByteArray content = file.read(limit + 1);
    if (file.error() != QFileDevice::NoError || content.size() > limit)
        return {};
    return content;
}

} // namespace tavik
