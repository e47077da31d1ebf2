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

struct Title
{
    CommandCode code;
    const char* text;
};

constexpr std::array titles{
    Title{CommandCode::Commit, "commit"},
    Title{CommandCode::WriteBaseLayer, "base layer"},
    Title{CommandCode::LightingMode, "lighting mode"},
    Title{CommandCode::MacroData, "macros"},
    Title{CommandCode::LightingSleep, "lighting sleep"},
    Title{CommandCode::OpenSession, "open session"},
    Title{CommandCode::MacroSession, "open macros"},
    Title{CommandCode::WriteColorBank, "color bank"},
    Title{CommandCode::WriteFnLayer, "Fn layer"},
    Title{CommandCode::Finish, "finish"},
    Title{CommandCode::ReadColorBank, "read color bank"},
};

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
    const auto code = static_cast<CommandCode>(command[codeOffset]);
    if (code == CommandCode::ScreenUpload)
        return QStringLiteral("screen, slot %1").arg(command[argumentOffset]);
    const auto* title = std::ranges::find(titles, code, &Title::code);
    return title != titles.end()
               ? QString::fromLatin1(title->text)
               : QStringLiteral("unknown command %1").arg(hexByte(command[codeOffset]));
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
