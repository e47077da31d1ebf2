#include "files/whole_file.h"

#include <QSaveFile>

#include <unistd.h>

namespace tavik {

bool writeWholeFile(const QString& path, const QByteArray& content,
                    QFileDevice::Permissions permissions)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(permissions);
    // A full disk takes some of the bytes, now or only when they have to be on it, and commit()
    // alone would not mind.
    if (file.write(content) != content.size() || !file.flush() || ::fsync(file.handle()) != 0)
        file.cancelWriting();
    return file.commit();
}

} // namespace tavik
