#include "model/macro_record.h"

#include "model/key_names.h"

#include <algorithm>

namespace tavik {

namespace {

constexpr std::uint8_t pressFlag = 0x80;
constexpr std::uint8_t pauseFlag = 0x40;
constexpr std::uint8_t mouseFlag = 0x10;

constexpr qsizetype tableEntryCount = 100;
constexpr qsizetype tableEntrySize = 4;
constexpr qsizetype macroHeaderSize = 4;
constexpr qsizetype macroActionSize = 4;
constexpr qsizetype macroSpaceSize = 3072;
static_assert(tableEntryCount * tableEntrySize == 400);

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

std::optional<QByteArray> encodeMacroSpace(const QList<MacroRecord>& macros)
{
    QByteArray image(tableEntryCount * tableEntrySize, '\0');
    const qsizetype count = std::min(macros.size(), tableEntryCount);
    for (qsizetype index = 0; index < count; ++index) {
        const QList<MacroAction>& actions = macros.at(index).actions;
        if (actions.isEmpty())
            continue;
        const qsizetype offset = image.size();
        if (offset + macroHeaderSize + macroActionSize * actions.size() > macroSpaceSize)
            return std::nullopt;
        image[index * tableEntrySize] = lowByte(offset);
        image[index * tableEntrySize + 1] = highByte(offset);
        appendMacro(image, actions);
    }
    return image;
}

} // namespace tavik
