// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tavik {

// The path of a file of the given name that the processes of this user share while he is logged
// in: in XDG_RUNTIME_DIR or /run/user/<id>, or where there is neither, in a directory of his own
// among the temporary files. Empty where none is to be had.
[[nodiscard]] QString runtimeFilePath(const QString& name);

// Such a path that stands for a file which need not exist, the same whatever links lead to it. It
// is short, since the path of a socket must be.
[[nodiscard]] QString runtimeFilePathOf(const QString& file, const QString& suffix);

// Where the lock lies that whoever edits this file holds meanwhile.
[[nodiscard]] QString lockPathOf(const QString& file);

// A lock between processes on a file, made when it is missing. The kernel lets it go when its
// process ends, however it ends. The file stays.
class ProcessLock
{
public:
    enum class Attempt {
        Taken,
        HeldByAnother,
        Impossible, // no such file can be made; nobody is kept out, and nothing is held
    };

    explicit ProcessLock(QString lockPath);
    ~ProcessLock();
    Q_DISABLE_COPY_MOVE(ProcessLock)

    // Does not wait. Taking what is held already changes nothing.
    [[nodiscard]] Attempt attempt();

    void release();

private:
    const QString path;
    int descriptor = -1;
};

} // namespace tavik
