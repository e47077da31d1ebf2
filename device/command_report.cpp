// SPDX-License-Identifier: MIT
#include "device/command_report.h"

#include <algorithm>

namespace tavik {

namespace {

constexpr std::uint8_t commandMarker = 0x04;
constexpr std::size_t codeOffset = 1;
constexpr std::size_t argumentOffset = 2;
constexpr std::size_t statusOffset = 3;
constexpr std::size_t countOffset = 8;

constexpr std::uint8_t statusAccepted = 0x01;
constexpr std::uint8_t statusBusy = 0xFF;

} // namespace

Report commandReport(CommandCode code, std::uint8_t argument, std::uint16_t count)
{
    Report report{};
    report[0] = commandMarker;
    report[codeOffset] = static_cast<std::uint8_t>(code);
    report[argumentOffset] = argument;
    report[countOffset] = static_cast<std::uint8_t>(count & 0xFF);
    report[countOffset + 1] = static_cast<std::uint8_t>(count >> 8);
    return report;
}

QString commandTitle(const Report& command)
{
    switch (static_cast<CommandCode>(command[codeOffset])) {
    case CommandCode::Commit:
        return QStringLiteral("commit");
    case CommandCode::WriteBaseLayer:
        return QStringLiteral("base layer");
    case CommandCode::LightingMode:
        return QStringLiteral("lighting mode");
    case CommandCode::MacroData:
        return QStringLiteral("macros");
    case CommandCode::LightingSleep:
        return QStringLiteral("lighting sleep");
    case CommandCode::OpenSession:
        return QStringLiteral("open session");
    case CommandCode::MacroSession:
        return QStringLiteral("open macros");
    case CommandCode::WriteColorBank:
        return QStringLiteral("color bank");
    case CommandCode::WriteFnLayer:
        return QStringLiteral("Fn layer");
    case CommandCode::ScreenUpload:
        return QStringLiteral("screen, slot %1").arg(command[argumentOffset]);
    case CommandCode::Finish:
        return QStringLiteral("finish");
    case CommandCode::ReadColorBank:
        return QStringLiteral("read color bank");
    }
    return QStringLiteral("unknown command %1").arg(hexByte(command[codeOffset]));
}

int followersOf(const Report& command)
{
    const int count = command[countOffset] + 256 * command[countOffset + 1];
    switch (static_cast<CommandCode>(command[codeOffset])) {
    case CommandCode::OpenSession:
    case CommandCode::Commit:
    case CommandCode::Finish:
        return 0;
    case CommandCode::MacroData:
    case CommandCode::ReadColorBank:
        return std::max(0, count - 1);
    default:
        return count;
    }
}

bool isAccepted(const Report& answer, CommandCode code)
{
    return answer[0] == commandMarker && answer[codeOffset] == static_cast<std::uint8_t>(code) &&
           answer[statusOffset] == statusAccepted;
}

bool isEmptyAnswer(const Report& answer)
{
    return std::all_of(answer.begin(), answer.end(), [](std::uint8_t byte) { return byte == 0; });
}

bool isBusyAnswer(const Report& answer)
{
    return answer[statusOffset] == statusBusy;
}

Report acceptedAnswer(const Report& request)
{
    Report answer{};
    answer[0] = commandMarker;
    answer[codeOffset] = request[codeOffset];
    answer[statusOffset] = statusAccepted;
    return answer;
}

QString statusText(const Report& answer)
{
    return hexByte(answer[statusOffset]);
}

QString hexByte(std::uint8_t value)
{
    return QStringLiteral("%1").arg(value, 2, 16, QLatin1Char('0'));
}

} // namespace tavik
