// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/wire_log.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace tavik::virtual_keyboard {

namespace {

constexpr qsizetype linesKept = 300;
constexpr std::uint8_t commandMarker = 0x04;

// "04 18" as bytes; a report drops its trailing zeros in the trace.
Report reportOf(std::string_view text)
{
    Report report{};
    for (std::size_t place = 0; place < report.size() && 3 * place + 2 <= text.size(); ++place) {
        const char* digits = text.data() + 3 * place;
        std::from_chars(digits, digits + 2, report.at(place), 16);
    }
    return report;
}

} // namespace

bool WireLog::update(const VirtualBus& bus)
{
    const QList<WireLine> before = latest;
    const std::vector<std::string>& trace = bus.trace();
    if (eventsRead > trace.size())
        eventsRead = 0; // the trace was cleared
    while (eventsRead < trace.size())
        read(trace[eventsRead++]);
    // They come from two lists, one behind the other, so a new one may stand before an older one.
    std::vector<std::string> fresh = bus.violations();
    for (const std::string& known : std::exchange(violationsSeen, fresh)) {
        const auto same = std::ranges::find(fresh, known);
        if (same != fresh.end())
            fresh.erase(same);
    }
    for (const std::string& violation : fresh)
        add(QString::fromStdString(violation), true);
    return latest != before;
}

void WireLog::read(std::string_view event)
{
    const auto isFrom = [&](std::string_view word) { return event.starts_with(word); };
    if (event == "open config")
        add(QStringLiteral("— the computer connects"));
    else if (event == "close config")
        add(QStringLiteral("— the computer lets go"));
    else if (event == "send failed" || event == "block failed" || event == "block short")
        add(QStringLiteral("lost on the way"));
    else if (event == "read failed" || event == "ack failed" || isFrom("no ack"))
        commandLine() += QStringLiteral(": the answer was lost");
    else if (isFrom("send "))
        readSend(reportOf(event.substr(5)));
    else if (isFrom("read "))
        readAnswer(reportOf(event.substr(5)));
    else if (isFrom("block "))
        countData();
}

void WireLog::readSend(const Report& report)
{
    const auto sent = static_cast<CommandCode>(report[1]);
    const bool isControl =
        report[0] == commandMarker &&
        (sent == CommandCode::OpenSession || sent == CommandCode::Finish) &&
        std::all_of(report.begin() + 9, report.end(), [](std::uint8_t byte) { return byte == 0; });
    answersCommand = isControl || arrived >= announced;
    if (!answersCommand) {
        readData(report);
        return;
    }
    code = sent;
    arrived = 0;
    announced = followersOf(report);
    title = commandTitle(report);
    add(title);
    linesSince = 0;
}

void WireLog::readData(const Report& report)
{
    if (code == CommandCode::LightingMode)
        title += QStringLiteral(": ") + QString::fromStdString(lightingSummary(report));
    countData();
}

void WireLog::countData()
{
    ++arrived;
    const QString kind =
        code == CommandCode::ScreenUpload ? QStringLiteral("blocks") : QStringLiteral("reports");
    QString& text = commandLine();
    // What is read comes in answers, of which the first is that of the command.
    if (announced == 1 || code == CommandCode::ReadColorBank)
        text = title;
    else if (arrived < announced)
        text = QStringLiteral("%1, %2 of %3 %4").arg(title).arg(arrived).arg(announced).arg(kind);
    else
        text = QStringLiteral("%1, %2 %3").arg(title).arg(arrived).arg(kind);
}

void WireLog::readAnswer(const Report& answer)
{
    // Nobody looks at the answers to data and to the reading of the color bank.
    if (!answersCommand || code == CommandCode::ReadColorBank)
        return;
    if (isAccepted(answer, code))
        return;
    if (isEmptyAnswer(answer))
        commandLine() += QStringLiteral(": no answer");
    else if (isBusyAnswer(answer))
        commandLine() += QStringLiteral(": busy");
    else {
        commandLine() += QStringLiteral(": refused (%1)").arg(statusText(answer));
        ++refused;
    }
}

void WireLog::add(const QString& text, bool isWrong)
{
    latest += {text, isWrong};
    ++linesSince;
    if (latest.size() > linesKept)
        latest.removeFirst();
}

// Never called before a line was added.
QString& WireLog::commandLine()
{
    return latest[std::max(qsizetype{0}, latest.size() - 1 - linesSince)].text;
}

} // namespace tavik::virtual_keyboard
