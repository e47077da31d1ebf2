// SPDX-License-Identifier: MIT
#pragma once

#include "files/shared_place.h"
#include "tests/support/files.h"

#include <sys/stat.h>

namespace tavik::tests {

// The place where data is looked for first, as long as this lives. Every other program searches it,
// too, so ctest runs nothing beside a test with it.
class MadeSharedPlace
{
public:
    MadeSharedPlace()
    {
        if (QFileInfo::exists(mark())) // a run that was ended has left it
            QDir(root).removeRecursively();
        if (QFileInfo::exists(root))
            return;
        made = QDir().mkpath(root + "/app") && QDir().mkpath(root + "/resources/official-skin");
        for (const char* name : {"", "/app", "/resources", "/resources/official-skin"})
            made = made && setMode(root + QLatin1String(name), 0755);
        writeFile(mark(), {});
    }
    ~MadeSharedPlace()
    {
        if (made)
            QDir(root).removeRecursively();
    }
    Q_DISABLE_COPY_MOVE(MadeSharedPlace)

    // False where somebody else has it.
    [[nodiscard]] bool isMade() const { return made; }

    // The path of a file in it.
    [[nodiscard]] static QString path(const QString& name) { return sharedPlace + u'/' + name; }

    static bool setMode(const QString& path, mode_t mode)
    {
        return ::chmod(QFile::encodeName(path).constData(), mode) == 0;
    }

    inline static const QString root = QStringLiteral("/tmp/tavik-center");

private:
    static QString mark() { return root + QStringLiteral("/made-by-a-test"); }

    bool made = false;
};

} // namespace tavik::tests
