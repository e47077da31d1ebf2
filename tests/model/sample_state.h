// SPDX-License-Identifier: MIT
#pragma once

#include "model/app_state.h"
#include "tests/support/files.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QString>
#include <QTemporaryDir>

namespace tavik::tests {

// Gives the program a configuration directory of its own for as long as the object lives, so that
// no test can reach the files of the person who runs it.
class OwnConfiguration
{
public:
    OwnConfiguration()
    {
        QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
        QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(directory.path()));
    }

    QString path() const { return directory.path(); }

    // The directory of the state file.
    QString programPath() const
    {
        return path() + QStringLiteral("/zerolt-linux/ZEROLT TAVIK Pro");
    }

    // Removes all that the program may have left.
    void clear() const { QDir(path() + QStringLiteral("/zerolt-linux")).removeRecursively(); }

    void makeProgramDirectory() const { QDir().mkpath(programPath()); }

private:
    QTemporaryDir directory;
};

inline std::uint8_t randomByte(QRandomGenerator& random)
{
    return static_cast<std::uint8_t>(random.bounded(256));
}

// A name of 0 to 20 characters from all over Unicode, control characters and quotes included.
inline QString randomName(QRandomGenerator& random)
{
    QString name;
    for (int length = random.bounded(21); length > 0; --length) {
        char32_t character = random.bounded(0x10FFFFU + 1U);
        if (random.bounded(2) == 0)
            character %= 0x80;
        if (character >= 0xD800 && character < 0xE000)
            character = U'"';
        name += QString::fromUcs4(&character, 1);
    }
    return name;
}

inline SavedState randomState(QRandomGenerator& random)
{
    SavedState state;
    for (KeyLayer* layer : {&state.layerBase, &state.layerFn}) {
        for (KeyAction& action : *layer)
            action = {randomByte(random), randomByte(random), randomByte(random),
                      randomByte(random)};
    }
    for (int count = random.bounded(4); count > 0; --count) {
        MacroRecord macro{randomName(random), {}};
        for (int actions = random.bounded(6); actions > 0; --actions) {
            const auto delay = static_cast<std::uint16_t>(random.bounded(65536));
            macro.actions.append({delay, randomByte(random), randomByte(random)});
        }
        state.macros.append(macro);
    }
    for (unsigned char& byte : state.customRgb)
        byte = randomByte(random);
    return state;
}

} // namespace tavik::tests
