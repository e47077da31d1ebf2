#include "files/whole_file.h"

#include <QSaveFile>

namespace tavik {

bool writeWholeFile(const QString& path, const QByteArray& content,
                    QFileDevice::Permissions permissions)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(permissions);
    // A full disk takes some of the bytes, and commit() alone would not mind.
    if (file.write(content) != content.size() || !file.flush())
        file.cancelWriting();
    return file.commit();
}

} // namespace tavik
