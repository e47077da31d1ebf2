// SPDX-License-Identifier: MIT
#include "model/macro_record.h"

#include "model/key_names.h"

#include <algorithm>

namespace tavik {

namespace {

constexpr std::uint8_t pressFlag = 0x80;
constexpr std::uint8_t pauseFlag = 0x40;
constexpr std::uint8_t keyFlag = 0x20;
constexpr std::uint8_t mouseFlag = 0x10;

constexpr qsizetype tableEntrySize = 4;
constexpr qsizetype tableSize = macroLimit * tableEntrySize;
constexpr qsizetype macroHeaderSize = 4;
constexpr qsizetype macroActionSize = 4;
static_assert(tableSize == 400);

constexpr char lowByte(qsizetype word)
{
    return static_cast<char>(word & 0xFF);
}

constexpr char highByte(qsizetype word)
{
    return static_cast<char>((word >> 8) & 0xFF);
}

void appendWord(QByteArray& image, qsizetype word)
{
    image.append(lowByte(word));
    image.append(highByte(word));
}

// The buttons are the bits of a mouse key's mask.
QString buttonName(std::uint8_t code)
{
    switch (code) {
    case 0x01:
        return QStringLiteral("left button");
    case 0x02:
        return QStringLiteral("right button");
    case 0x04:
        return QStringLiteral("middle button");
    case 0x08:
        return QStringLiteral("button 4");
    case 0x10:
        return QStringLiteral("button 5");
    default:
        return QStringLiteral("mouse 0x%1").arg(int{code}, 2, 16, QLatin1Char('0'));
    }
}

// The header word is twice the number of actions; what the keyboard reads from it is unknown.
void appendMacro(QByteArray& image, const QList<MacroAction>& actions)
{
    appendWord(image, 2 * actions.size());
    appendWord(image, 0);
    for (const MacroAction& action : actions) {
        appendWord(image, action.delay);
        image.append(static_cast<char>(action.code));
        image.append(static_cast<char>(action.flags));
    }
}

} // namespace

QString macroActionText(const MacroAction& action)
{
    if ((action.flags & pauseFlag) && (action.flags & mouseFlag))
        return QStringLiteral("pause");
    if (action.flags & mouseFlag)
        return QStringLiteral("mouse 0x%1").arg(int{action.code}, 2, 16, QLatin1Char('0'));
    return keyName(action.code);
}

QString macroPressText(const MacroAction& action)
{
    return (action.flags & pressFlag) ? QStringLiteral("press") : QStringLiteral("release");
}

QString macroActionWords(const MacroAction& action)
{
    if ((action.flags & pauseFlag) && (action.flags & mouseFlag))
        return QStringLiteral("pause %1 ms").arg(action.delay);
    const bool isKey = (action.flags & keyFlag) || !(action.flags & mouseFlag);
    return macroPressText(action) + u' ' + (isKey ? keyName(action.code) : buttonName(action.code));
}

qsizetype macroSpaceUsed(const QList<MacroRecord>& macros)
{
    qsizetype size = tableSize;
    for (const MacroRecord& macro : macros.first(std::min(macros.size(), macroLimit))) {
        if (!macro.actions.isEmpty())
            size += macroHeaderSize + macroActionSize * macro.actions.size();
    }
    return size;
}

std::optional<QByteArray> encodeMacroSpace(const QList<MacroRecord>& macros)
{
    if (macroSpaceUsed(macros) > macroSpaceSize)
        return std::nullopt;
    QByteArray image(tableSize, '\0');
    const qsizetype count = std::min(macros.size(), macroLimit);
    for (qsizetype index = 0; index < count; ++index) {
        const QList<MacroAction>& actions = macros.at(index).actions;
        if (actions.isEmpty())
            continue;
        const qsizetype offset = image.size();
        image[index * tableEntrySize] = lowByte(offset);
        image[index * tableEntrySize + 1] = highByte(offset);
        appendMacro(image, actions);
    }
    return image;
}

} // namespace tavik
