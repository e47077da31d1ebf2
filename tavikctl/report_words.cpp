// SPDX-License-Identifier: MIT
#include "tavikctl/report_words.h"

#include "device/screen_link.h"
#include "tavikctl/key_words.h"
#include "tavikctl/lighting_words.h"

#include <algorithm>

namespace tavik {

namespace {

constexpr std::size_t bytesPerKey = 4;
constexpr std::size_t keysPerReport = reportSize / bytesPerKey;

KeyAction actionAt(const Report& report, std::size_t key)
{
    const std::size_t first = bytesPerKey * key;
    return {report.at(first), report.at(first + 1), report.at(first + 2), report.at(first + 3)};
}

// The words of the keys in the n-th report of a table, those left out that have none.
template <typename WordOf>
QString tableWords(int report, const WordOf& wordOf)
{
    QStringList words;
    for (std::size_t place = 0; place < keysPerReport; ++place) {
        const std::size_t key = keysPerReport * static_cast<std::size_t>(report - 1) + place;
        const QString word = key < layerSize ? wordOf(place) : QString();
        if (!word.isEmpty())
            words += nameOfKeyAt(key) + u'=' + word;
    }
    return words.isEmpty() ? QStringLiteral("nothing set") : words.join(u' ');
}

QString layerWords(const Report& report, int number)
{
    const bool isLast = number == slicesPerTransfer;
    return tableWords(number, [&](std::size_t place) {
        const KeyAction action = actionAt(report, place);
        const bool isMarker = isLast && place == keysPerReport - 1;
        if (action == KeyAction{} || isMarker)
            return QString();
        // Macros go by their numbers on the wire.
        return action.page == static_cast<std::uint8_t>(KeyActionPage::Macro)
                   ? QStringLiteral("macro %1").arg(action.p1 + 1)
                   : wordOfAction(action, {});
    });
}

QString colorsWords(const Report& report, int number)
{
    const bool isLast = number == slicesPerTransfer;
    return tableWords(number, [&](std::size_t place) {
        const KeyAction record = actionAt(report, place); // index, red, green, blue
        const bool isMarker = isLast && place == keysPerReport - 1;
        if (isMarker || (record.p1 | record.p2 | record.p3) == 0)
            return QString();
        return colorWord({record.p1, record.p2, record.p3});
    });
}

} // namespace

QString ReportWords::next(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() == screenBlockSize)
        return QStringLiteral("block %1 of %2").arg(++arrived).arg(announced);
    Report report{};
    std::ranges::copy(bytes.first(std::min(bytes.size(), report.size())), report.begin());
    if (arrived >= announced)
        return commandWords(report);
    ++arrived;
    return QStringLiteral("data %1 of %2: %3").arg(arrived).arg(announced).arg(dataWords(report));
}

QString ReportWords::commandWords(const Report& report)
{
    code = static_cast<CommandCode>(report[1]);
    announced = followersOf(report);
    arrived = 0;
    const QString title = commandTitle(report);
    return code == CommandCode::OpenSession || code == CommandCode::Finish
               ? title + QStringLiteral(", flag %1").arg(report[8])
               : title;
}

QString ReportWords::dataWords(const Report& report) const
{
    switch (code) {
    case CommandCode::WriteBaseLayer:
    case CommandCode::WriteFnLayer:
        return layerWords(report, arrived);
    case CommandCode::WriteColorBank:
        return colorsWords(report, arrived);
    case CommandCode::LightingMode:
        return lightingWords(report);
    case CommandCode::LightingSleep:
        return sleepWords(report);
    case CommandCode::MacroData:
        return QStringLiteral("bytes %1 to %2")
            .arg(reportSize * static_cast<std::size_t>(arrived - 1))
            .arg(reportSize * static_cast<std::size_t>(arrived) - 1);
    default:
        return QStringLiteral("empty, for the next piece");
    }
}

QString bytesText(std::span<const std::uint8_t> bytes)
{
    while (bytes.size() > 1 && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    QStringList texts;
    for (const std::uint8_t byte : bytes)
        texts += hexByte(byte);
    return texts.join(u' ');
}

} // namespace tavik
