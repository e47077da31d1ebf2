// SPDX-License-Identifier: MIT
#include "files/whole_file.h"
#include "model/state_copies.h"
#include "tavikctl/commands.h"
#include "tavikctl/user_state.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

namespace tavik {

namespace {

// A file is replaced as a whole; a pipe or a device takes what it gets. What the user has made
// read-only stays as it is.
bool writeExport(const QString& path, const QByteArray& content)
{
    const QFileInfo present(path);
    if (present.exists() && (!present.isFile() || path.startsWith(QLatin1String("/dev/")))) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
               file.write(content) == content.size();
    }
    if (!present.exists())
        return writeWholeFile(path, content);
    return present.permission(QFile::WriteOwner) && present.isWritable() &&
           writeWholeFile(path, content, present.permissions());
}

} // namespace

void exportState(const Output& output, const QString& path)
{
    const QByteArray content = stateToJson(presentState());
    if (path.isEmpty())
        output.out.write(content.constData(), content.size());
    else if (!output.dryRun && !writeExport(path, content))
        throw Failure{ExitCode::Failed,
                      QStringLiteral("\"%1\" could not be written. Look for room on the disk, and "
                                     "whether you may write there.")
                          .arg(path)};
}

void importState(const Output& output, const QString& path)
{
    takeOverState(output, [&] { return stateIn(path, whatIsLeftOfState()); });
}

void listEarlier(const Output& output)
{
    QJsonArray array;
    int number = 0;
    for (const EarlierState& state : earlierStates()) {
        ++number;
        const QString time = state.keptAt.toLocalTime().toString(Qt::ISODate);
        array.append(QJsonObject{{"number", number}, {"time", time}, {"path", state.path}});
        if (!output.json)
            output.line(QStringLiteral("%1  %2").arg(number, 2).arg(time));
    }
    if (output.json)
        output.value(QJsonDocument(array));
}

void restoreEarlier(const Output& output, int number)
{
    takeOverState(output, [&] {
        // Looked up under the lock: the numbers move when another state is kept.
        const QList<EarlierState> states = earlierStates();
        if (number < 1 || number > states.size())
            throw Failure{ExitCode::WrongUsage,
                          QStringLiteral("There is no earlier state %1; tavikctl earlier lists "
                                         "the %2 there are.")
                              .arg(number)
                              .arg(states.size())};
        return stateIn(states.at(number - 1).path, {});
    });
}

} // namespace tavik
