#include "virtual_keyboard/demo/wire_log.h"

#include "device/command_report.h"

#include <algorithm>
#include <charconv>

namespace tavik::virtual_keyboard {

namespace {

constexpr qsizetype linesKept = 300;
constexpr std::uint8_t commandMarker = 0x04;

// "04 18" as bytes; a report drops its trailing zeros in the trace.
std::vector<std::uint8_t> bytesOf(std::string_view text)
{
    std::vector<std::uint8_t> bytes;
    for (std::size_t place = 0; place + 2 <= text.size(); place += 3) {
        std::uint8_t byte = 0;
        std::from_chars(text.data() + place, text.data() + place + 2, byte, 16);
        bytes.push_back(byte);
    }
    bytes.resize(tavik::reportSize);
    return bytes;
}

QString titleOf(const std::vector<std::uint8_t>& bytes)
{
    switch (static_cast<CommandCode>(bytes[1])) {
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
        return QStringLiteral("screen, slot %1").arg(bytes[2]);
    case CommandCode::Finish:
        return QStringLiteral("finish");
    case CommandCode::ReadColorBank:
        return QStringLiteral("read color bank");
    }
    return QStringLiteral("unknown command %1").arg(hexByte(bytes[1]));
}

// How many data reports or blocks really follow: the last of the macros is announced but never
// sent, and the first of the color bank's nine answers is that of the command itself.
int followers(const std::vector<std::uint8_t>& bytes)
{
    const int count = bytes[8] + 256 * bytes[9];
    switch (static_cast<CommandCode>(bytes[1])) {
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

} // namespace

bool WireLog::update(const VirtualBus& bus)
{
    const QList<WireLine> before = latest;
    const std::vector<std::string>& trace = bus.trace();
    if (eventsRead > trace.size())
        eventsRead = 0; // the trace was cleared
    while (eventsRead < trace.size())
        read(trace[eventsRead++]);
    const std::vector<std::string> violations = bus.violations();
    violationsRead = std::min(violationsRead, violations.size());
    while (violationsRead < violations.size())
        add(QString::fromStdString(violations[violationsRead++]), true);
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
        readSend(bytesOf(event.substr(5)));
    else if (isFrom("read "))
        readAnswer(bytesOf(event.substr(5)));
    else if (isFrom("block "))
        countData();
}

void WireLog::readSend(const std::vector<std::uint8_t>& bytes)
{
    const bool isControl =
        bytes[0] == commandMarker &&
        (bytes[1] == static_cast<std::uint8_t>(CommandCode::OpenSession) ||
         bytes[1] == static_cast<std::uint8_t>(CommandCode::Finish)) &&
        std::all_of(bytes.begin() + 9, bytes.end(), [](std::uint8_t byte) { return byte == 0; });
    answersCommand = isControl || arrived >= announced;
    if (!answersCommand) {
        readData(bytes);
        return;
    }
    code = bytes[1];
    arrived = 0;
    announced = followers(bytes);
    title = titleOf(bytes);
    add(title);
    linesSince = 0;
}

void WireLog::readData(const std::vector<std::uint8_t>& bytes)
{
    if (code == static_cast<std::uint8_t>(CommandCode::LightingMode)) {
        Report payload{};
        std::ranges::copy(bytes, payload.begin());
        title += QStringLiteral(": ") + QString::fromStdString(lightingSummary(payload));
    }
    countData();
}

void WireLog::countData()
{
    ++arrived;
    QString& text = commandLine();
    if (announced == 1)
        text = title;
    else if (arrived < announced)
        text = QStringLiteral("%1, %2 of %3 reports").arg(title).arg(arrived).arg(announced);
    else
        text = QStringLiteral("%1, %2 reports").arg(title).arg(arrived);
}

void WireLog::readAnswer(const std::vector<std::uint8_t>& bytes)
{
    // Nobody looks at the answers to data and to the reading of the color bank.
    if (!answersCommand || code == static_cast<std::uint8_t>(CommandCode::ReadColorBank))
        return;
    Report answer{};
    std::ranges::copy(bytes, answer.begin());
    if (isAccepted(answer, static_cast<CommandCode>(code)))
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
