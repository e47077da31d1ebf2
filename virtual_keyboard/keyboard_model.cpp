// SPDX-License-Identifier: MIT
#include "virtual_keyboard/keyboard_model.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace tavik::virtual_keyboard {

// The command of a session: the flag it needs, its argument unless that varies, and how many data
// reports it may announce.
struct CommandRule
{
    std::uint8_t code;
    std::uint8_t sessionFlag;
    std::optional<std::uint8_t> argument;
    std::size_t leastCount;
    std::size_t mostCount;
    bool wideCount; // 16 bits, low byte first
};

namespace {

using Milliseconds = KeyboardModel::Milliseconds;

constexpr Milliseconds pauseBeforeSend{35};
constexpr Milliseconds pauseBeforeRead{50};
constexpr Milliseconds pauseAfterSlice{2};
constexpr Milliseconds pauseBeforeMacroCommit{30};

constexpr std::uint8_t commandMarker = 0x04;
constexpr std::uint8_t accepted = 0x01;
constexpr std::uint8_t refused = 0x02;
constexpr std::uint8_t busyStatus = 0xFF;

constexpr std::uint8_t openCode = 0x18;
constexpr std::uint8_t commitCode = 0x02;
constexpr std::uint8_t finishCode = 0xF0;
constexpr std::uint8_t lightingCode = 0x13;
constexpr std::uint8_t sleepCode = 0x17;
constexpr std::uint8_t baseLayerCode = 0x11;
constexpr std::uint8_t fnLayerCode = 0x27;
constexpr std::uint8_t bankWriteCode = 0x23;
constexpr std::uint8_t bankReadCode = 0xF5;
constexpr std::uint8_t macroSessionCode = 0x19;
constexpr std::uint8_t macroDataCode = 0x15;
constexpr std::uint8_t screenCode = 0x72;

constexpr std::size_t argumentByte = 2;
constexpr std::size_t countByte = 8;
constexpr std::size_t countHighByte = 9;
constexpr std::size_t sliceCount = 9;
constexpr std::size_t bankAnswerCount = 9;
constexpr std::size_t tableImageSize = sliceCount * reportSize;
static_assert(tableImageSize == keyCount * 4);

constexpr std::size_t leastMacroPieces = 7; // the table of 400 bytes alone
constexpr std::size_t mostMacroPieces = macroSpaceSize / reportSize;
constexpr std::size_t leastScreenBlocks = 9;  // one frame
constexpr std::size_t mostScreenBlocks = 241; // thirty frames

constexpr std::array<CommandRule, 8> commandRules = {{
    {lightingCode, 1, 0, 1, 1, false},
    {sleepCode, 1, 1, 1, 1, false},
    {baseLayerCode, 1, 0, sliceCount, sliceCount, false},
    {fnLayerCode, 1, 0, sliceCount, sliceCount, false},
    {bankWriteCode, 0, 0, sliceCount, sliceCount, false},
    {macroSessionCode, 1, 0, 0, 0, false},
    // This keyboard wants one report more announced than it is then sent.
    {macroDataCode, 1, 0, leastMacroPieces + 1, mostMacroPieces + 1, true},
    {screenCode, 0, std::nullopt, leastScreenBlocks, mostScreenBlocks, true},
}};

const CommandRule* ruleOf(std::uint8_t code)
{
    const auto rule = std::ranges::find(commandRules, code, &CommandRule::code);
    return rule == commandRules.end() ? nullptr : &*rule;
}

std::size_t countOf(const Report& report, const CommandRule& rule)
{
    return rule.wideCount ? report[countByte] + 256U * report[countHighByte] : report[countByte];
}

std::string hex(std::uint8_t byte)
{
    std::array<char, 3> text{};
    std::snprintf(text.data(), text.size(), "%02x", byte);
    return text.data();
}

std::string number(std::size_t value)
{
    return std::to_string(value);
}

std::string number(Milliseconds value)
{
    return std::to_string(value.count());
}

std::string commandName(std::uint8_t code)
{
    switch (code) {
    case openCode:
        return "session open";
    case commitCode:
        return "COMMIT";
    case finishCode:
        return "FINISH";
    default:
        return "command " + hex(code);
    }
}

bool onlyNonZeroAt(std::span<const std::uint8_t> bytes, std::initializer_list<std::size_t> allowed)
{
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (bytes[index] != 0 && std::ranges::find(allowed, index) == allowed.end())
            return false;
    }
    return true;
}

bool hasMarkerAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return bytes[offset] == 0xAA && bytes[offset + 1] == 0x55;
}

// While data is due, a report is a command only if it is one of these to the last byte. A slice of
// 64 data bytes does not look like that, but for a lone offset of 0x0204 in the table of macros;
// and a host that gave up must still be able to close.
bool isControlReport(const Report& report)
{
    if (report[0] != commandMarker)
        return false;
    switch (report[1]) {
    case openCode:
    case finishCode:
        return report[countByte] <= 1 && onlyNonZeroAt(report, {0, 1, countByte});
    case bankReadCode:
        return report[countByte] == bankAnswerCount && onlyNonZeroAt(report, {0, 1, countByte});
    case commitCode:
        return onlyNonZeroAt(report, {0, 1});
    default:
        return false;
    }
}

// The packed bank as its nine answers carry it: the command marker and 63 bytes, five whole
// reports, the last 49 bytes, and two reports of which the host makes nothing.
Report bankAnswer(const ColorBank& bank, std::size_t index)
{
    std::array<std::uint8_t, 1 + keyCount * 3> stream{};
    stream[0] = commandMarker;
    std::size_t end = 1;
    for (const KeyColor& color : bank) {
        for (const std::uint8_t channel : color)
            stream[end++] = channel;
    }
    Report answer{};
    const std::size_t start = index * reportSize;
    for (std::size_t byte = 0; byte < reportSize && start + byte < stream.size(); ++byte)
        answer[byte] = stream[start + byte];
    return answer;
}

} // namespace

void KeyboardModel::setFeature(std::span<const std::uint8_t> payload, Milliseconds now)
{
    checkSendTime(now);
    lastTraffic = now;
    lastSend = now;
    if (payload.size() != reportSize) {
        violation("feature report of " + number(payload.size()) +
                  " bytes behind the report id, expected 64");
        answer = {};
        answerWaits = true;
        lastKind = Kind::None;
        disturbed = true;
        return;
    }
    Report report{};
    std::ranges::copy(payload, report.begin());
    receive(report, now);
    answerWaits = true;
    applySpoilToAnswer();
}

void KeyboardModel::receive(const Report& report, Milliseconds now)
{
    if (answerWaits && !disturbed)
        violation("the answer of the report before was not fetched");
    if (bankReadAnswers && report[0] != commandMarker)
        return receiveBankRead(report);
    if (expectsData() && (!isControlReport(report) || isMacroOffset(report)))
        return receiveData(report, now);
    if (report[0] == commandMarker)
        return receiveCommand(report, now);

    if (transfer && transfer->code != screenCode) {
        violation("more data reports than announced for " + commandName(transfer->code) + " (" +
                  number(transfer->reportsWanted) + " expected)");
    } else {
        violation("report begins with " + hex(report[0]) + ", expected 04");
    }
    answer = {};
    lastKind = Kind::None;
    disturbed = true;
}

Report KeyboardModel::getFeature(Milliseconds now)
{
    if (lastSend && now - *lastSend < pauseBeforeRead) {
        violation("read " + number(now - *lastSend) + " ms after the send, sooner than " +
                  number(pauseBeforeRead) + " ms");
    }
    lastTraffic = now;
    if (!answerWaits) {
        violation("read without a report sent before it");
        return answer;
    }
    answerWaits = false;
    if (lastKind == Kind::Data) {
        transfer->bytes.insert(transfer->bytes.end(), pendingData.begin(), pendingData.end());
        ++transfer->reportsReceived;
        lastSliceAnswered = now;
    }
    if (lastKind == Kind::BankRead)
        ++*bankReadAnswers;
    return answer;
}

std::optional<Report> KeyboardModel::screenReport(std::span<const std::uint8_t> block)
{
    std::string fault;
    if (block.size() != blockSize) {
        fault = "screen block of " + number(block.size()) +
                " bytes behind the report id, "
                "expected 4096";
    } else if (!transfer || transfer->code != screenCode) {
        fault = "screen block outside an upload";
    } else if (transfer->reportsReceived == transfer->reportsWanted) {
        fault =
            "more screen blocks than announced (" + number(transfer->reportsWanted) + " expected)";
    }
    if (!fault.empty()) {
        violation(std::move(fault));
        disturbed = true;
        return std::nullopt;
    }
    transfer->bytes.insert(transfer->bytes.end(), block.begin(), block.end());
    ++transfer->reportsReceived;
    return Report{};
}

void KeyboardModel::reportLost(std::span<const std::uint8_t> payload)
{
    disturbed = true;
    if (payload.size() == reportSize && payload[0] == commandMarker && payload[1] == openCode)
        closingFlag = payload[countByte];
}

void KeyboardModel::disconnect()
{
    KeyboardModel fresh;
    fresh.held = std::move(held);
    fresh.complaints = std::move(complaints);
    *this = std::move(fresh);
}

KeyActionBytes KeyboardModel::keyAction(LayerId layer, std::size_t index) const
{
    return (layer == LayerId::Base ? held.baseLayer : held.fnLayer).at(index);
}

std::size_t KeyboardModel::screenBlocksReceived() const
{
    return transfer && transfer->code == screenCode ? transfer->reportsReceived : 0;
}

std::size_t KeyboardModel::screenBlocksAnnounced() const
{
    return transfer && transfer->code == screenCode ? transfer->reportsWanted : 0;
}

std::uint8_t KeyboardModel::refuse(std::string text)
{
    violation(std::move(text));
    return refused;
}

bool KeyboardModel::forbid(std::string text)
{
    violation(std::move(text));
    return false;
}

void KeyboardModel::checkSendTime(Milliseconds now)
{
    if (lastTraffic && now - *lastTraffic < pauseBeforeSend) {
        violation("send " + number(now - *lastTraffic) +
                  " ms after the previous report, sooner than " + number(pauseBeforeSend) + " ms");
    }
}

bool KeyboardModel::expectsData() const
{
    return transfer && transfer->code != screenCode &&
           transfer->reportsReceived < transfer->reportsWanted;
}

bool KeyboardModel::isMacroOffset(const Report& report) const
{
    return report[1] == commitCode && transfer->code == macroDataCode &&
           transfer->reportsReceived + 1 < leastMacroPieces;
}

void KeyboardModel::receiveData(const Report& report, Milliseconds now)
{
    const bool severalReports = transfer->reportsWanted > 1;
    if (severalReports && sliceGapTooShort(now, pauseAfterSlice))
        violation("data reports closer than 2 ms");
    pendingData = report;
    answer = {};
    lastKind = Kind::Data;
}

void KeyboardModel::receiveBankRead(const Report& report)
{
    if (*bankReadAnswers >= bankAnswerCount)
        violation("more reports than the nine of the bank read");
    if (!onlyNonZeroAt(report, {}))
        violation("bank read report carries bytes that must be zero");
    answer = bankAnswer(held.colorBank, *bankReadAnswers);
    lastKind = Kind::BankRead;
}

void KeyboardModel::leaveBankRead(std::uint8_t code)
{
    if (!bankReadAnswers || (code == commitCode && *bankReadAnswers == bankAnswerCount))
        return;
    if (!disturbed) {
        violation("bank read left after " + number(*bankReadAnswers) +
                  " of 9 answers, without its COMMIT");
    }
    bankReadAnswers.reset();
}

void KeyboardModel::receiveCommand(const Report& report, Milliseconds now)
{
    const std::uint8_t code = report[1];
    lastKind = Kind::Command;
    leaveBankRead(code);
    const std::uint8_t status = spoilRefuses(code) ? refuseSpoiled(report) : execute(report, now);
    if (status != accepted)
        disturbed = true;
    if (code == bankReadCode && status == accepted) {
        answer = bankAnswer(held.colorBank, 0);
        lastKind = Kind::BankRead;
        return;
    }
    answer = {commandMarker, code, 0, status};
}

// A session open is refused by a busy or silent keyboard only. The announcement of macro data and
// a bank read are carried out whatever the answer says: nobody looks at it.
bool KeyboardModel::spoilRefuses(std::uint8_t code) const
{
    const bool hidesSuccess = nextSpoil && (nextSpoil->fault == AnswerFault::WrongEcho ||
                                            nextSpoil->fault == AnswerFault::WrongByte);
    if (!nextSpoil || hidesSuccess || code == macroDataCode || code == bankReadCode)
        return false;
    if (nextSpoil->fault == AnswerFault::Empty)
        return true;
    return code == openCode ? nextSpoil->status == busyStatus : nextSpoil->status != accepted;
}

std::uint8_t KeyboardModel::refuseSpoiled(const Report& report)
{
    if (report[1] == openCode)
        closingFlag = report[countByte];
    return refused;
}

void KeyboardModel::applySpoilToAnswer()
{
    const std::optional<Spoil> spoil = std::exchange(nextSpoil, std::nullopt);
    if (!spoil)
        return;
    // A wrong echo is a failure for the host, except where it does not look at the answer.
    const bool hostLooksAt =
        lastKind == Kind::Command && answer[1] != openCode && answer[1] != macroDataCode;
    switch (spoil->fault) {
    case AnswerFault::Empty:
        answer = {};
        break;
    case AnswerFault::Status:
        answer[3] = spoil->status;
        break;
    case AnswerFault::WrongEcho:
        answer[0] = 0x05;
        answer[1] = static_cast<std::uint8_t>(~answer[1]);
        if (spoil->status != 0)
            answer[3] = spoil->status;
        if (hostLooksAt)
            disturbed = true;
        break;
    case AnswerFault::WrongByte: {
        std::uint8_t& byte = answer.at(spoil->status);
        byte = static_cast<std::uint8_t>(~byte);
        if (hostLooksAt)
            disturbed = true;
        break;
    }
    }
}

std::uint8_t KeyboardModel::execute(const Report& report, Milliseconds now)
{
    const std::uint8_t code = report[1];
    switch (code) {
    case openCode:
        return openSession(report);
    case commitCode:
        return commit(report, now);
    case finishCode:
        return finish(report);
    case bankReadCode:
        return startBankRead(report);
    default:
        break;
    }
    if (const CommandRule* rule = ruleOf(code); rule != nullptr)
        return announce(report, *rule);
    return refuse("unknown command " + hex(code));
}

std::uint8_t KeyboardModel::openSession(const Report& report)
{
    if (!zeroExcept(report, {countByte}))
        return refused;
    const std::uint8_t flag = report[countByte];
    if (flag > 1)
        return refuse("session open with flag " + number(flag) + ", expected 0 or 1");
    if (openFlag && !disturbed)
        violation("session opened inside a session");
    dropSession();
    openFlag = flag;
    closingFlag = flag;
    return accepted;
}

std::uint8_t KeyboardModel::announce(const Report& report, const CommandRule& rule)
{
    const std::string name = commandName(rule.code);
    if (!openFlag)
        return refuse(name + " outside a session");
    if (*openFlag != rule.sessionFlag)
        return refuse(name + " in a session with flag " + number(*openFlag) + ", expected " +
                      number(rule.sessionFlag));
    if (!orderAllows(rule.code) || !headerAllows(report, rule))
        return refused;

    committed = false;
    if (rule.code == macroSessionCode) {
        macroSession = true;
        return accepted;
    }
    const std::size_t count = countOf(report, rule);
    transfer = Transfer{.code = rule.code,
                        .reportsWanted = rule.code == macroDataCode ? count - 1 : count,
                        .slot = report[argumentByte],
                        .bytes = {}};
    return accepted;
}

bool KeyboardModel::orderAllows(std::uint8_t code)
{
    if (code == macroDataCode && !macroSession)
        return forbid("command 15 without command 19 before it");
    if (transfer || committed || (macroSession && code != macroDataCode))
        return forbid("a second command in one session: " + commandName(code));
    return true;
}

bool KeyboardModel::headerAllows(const Report& report, const CommandRule& rule)
{
    const std::string name = commandName(rule.code);
    const bool zeros = rule.wideCount ? zeroExcept(report, {argumentByte, countByte, countHighByte})
                                      : zeroExcept(report, {argumentByte, countByte});
    if (!zeros)
        return false;
    const std::uint8_t argument = report[argumentByte];
    if (rule.argument && argument != *rule.argument)
        return forbid(name + " with argument " + number(argument) + ", expected " +
                      number(*rule.argument));
    if (rule.code == screenCode && (argument < 1 || argument > screenSlotCount))
        return forbid(name + " for slot " + number(argument) + ", expected 1 to 3");
    const std::size_t count = countOf(report, rule);
    if (count < rule.leastCount || count > rule.mostCount) {
        const std::string expected =
            rule.leastCount == rule.mostCount
                ? number(rule.leastCount)
                : number(rule.leastCount) + " to " + number(rule.mostCount);
        return forbid(name + " announces " + number(count) + " reports, expected " + expected);
    }
    return true;
}

std::uint8_t KeyboardModel::commit(const Report& report, Milliseconds now)
{
    if (!zeroExcept(report, {}))
        return refused;
    if (bankReadAnswers) {
        bankReadAnswers.reset();
        return accepted;
    }
    if (!openFlag)
        return refuse("COMMIT outside a session");
    if (!transfer)
        return refuse("COMMIT without a command to complete");
    if (transfer->reportsReceived < transfer->reportsWanted)
        return refuse("fewer data reports than announced for " + commandName(transfer->code) +
                      ": " + number(transfer->reportsReceived) + " of " +
                      number(transfer->reportsWanted));
    checkCommitTime(now);
    const Transfer finished = std::move(*transfer);
    transfer.reset();
    if (const std::string fault = takeOver(finished); !fault.empty())
        return refuse(fault);
    committed = true;
    // The accepted COMMIT ends the session of a screen upload; no FINISH follows.
    if (finished.code == screenCode)
        dropSession();
    return accepted;
}

void KeyboardModel::checkCommitTime(Milliseconds now)
{
    if (transfer->code == macroDataCode && sliceGapTooShort(now, pauseBeforeMacroCommit))
        violation("macro COMMIT sooner than 30 ms after the last piece");
    const bool slices = transfer->code != macroDataCode && transfer->reportsWanted > 1;
    if (slices && sliceGapTooShort(now, pauseAfterSlice))
        violation("COMMIT sooner than 2 ms after the last data report");
}

// The pause the host owes after a slice adds to the one it owes before every send. A send that is
// too early for any report is named as that alone.
bool KeyboardModel::sliceGapTooShort(Milliseconds now, Milliseconds pause) const
{
    if (!lastSliceAnswered)
        return false;
    const Milliseconds gap = now - *lastSliceAnswered;
    return gap >= pauseBeforeSend && gap < pauseBeforeSend + pause;
}

std::uint8_t KeyboardModel::finish(const Report& report)
{
    if (!zeroExcept(report, {countByte}))
        return refused;
    const std::uint8_t flag = report[countByte];
    // After a failure the host may close what it tried to open, whether or not it is open.
    const bool closesAttempt = disturbed && closingFlag == flag;
    if (!openFlag && !closesAttempt)
        return refuse("FINISH outside a session");
    if (openFlag != flag && !closesAttempt)
        return refuse("FINISH with flag " + number(flag) + " in a session with flag " +
                      number(*openFlag));
    if (!committed && !disturbed)
        violation("FINISH without COMMIT");
    dropSession();
    closingFlag.reset();
    return accepted;
}

void KeyboardModel::dropSession()
{
    openFlag.reset();
    transfer.reset();
    disturbed = false;
    macroSession = false;
    committed = false;
}

std::uint8_t KeyboardModel::startBankRead(const Report& report)
{
    if (openFlag && !disturbed)
        return refuse("command f5 inside a session");
    if (!zeroExcept(report, {countByte}))
        return refused;
    if (report[countByte] != bankAnswerCount)
        return refuse("command f5 announces " + number(report[countByte]) + " reports, expected 9");
    dropSession();
    closingFlag.reset();
    bankReadAnswers = 0;
    return accepted;
}

bool KeyboardModel::zeroExcept(const Report& report, std::initializer_list<std::size_t> allowed)
{
    const auto tail = std::span(report).subspan(argumentByte);
    for (std::size_t index = 0; index < tail.size(); ++index) {
        const std::size_t byte = index + argumentByte;
        if (tail[index] == 0 || std::ranges::find(allowed, byte) != allowed.end())
            continue;
        return forbid(commandName(report[1]) + " carries " + hex(tail[index]) + " in byte " +
                      number(byte) + ", which must be zero");
    }
    return true;
}

std::string KeyboardModel::takeOver(const Transfer& finished)
{
    switch (finished.code) {
    case lightingCode:
        return takeLighting(finished.bytes);
    case sleepCode:
        return takeSleep(finished.bytes);
    case baseLayerCode:
        return takeLayer(finished.bytes, held.baseLayer);
    case fnLayerCode:
        return takeLayer(finished.bytes, held.fnLayer);
    case bankWriteCode:
        return takeColors(finished.bytes);
    case macroDataCode:
        held.macroSpace = finished.bytes;
        return {};
    case screenCode:
        return takeScreen(finished);
    default:
        return "nothing is known to take over for " + commandName(finished.code);
    }
}

std::string KeyboardModel::takeLighting(std::span<const std::uint8_t> bytes)
{
    if (!hasMarkerAt(bytes, 14))
        return "marker aa 55 missing at bytes 14 and 15 of the lighting mode";
    if (!onlyNonZeroAt(bytes, {0, 1, 2, 3, 8, 9, 10, 11, 14, 15}))
        return "lighting mode carries bytes that must be zero";
    const bool knownEffect = bytes[0] < effectNames.size() || bytes[0] == customEffect;
    if (!knownEffect || bytes[8] > 1 || bytes[9] > 5 || bytes[10] > 5 || bytes[11] > 3)
        return "lighting mode carries a value out of range";
    std::ranges::copy(bytes, held.lighting.begin());
    return {};
}

std::string KeyboardModel::takeSleep(std::span<const std::uint8_t> bytes)
{
    if (!hasMarkerAt(bytes, 62))
        return "marker aa 55 missing at bytes 62 and 63 of the lighting sleep";
    if (!onlyNonZeroAt(bytes, {8, 62, 63}))
        return "lighting sleep carries bytes that must be zero";
    if (bytes[8] > 3)
        return "lighting sleep carries a value out of range";
    held.sleepCode = bytes[8];
    return {};
}

std::string KeyboardModel::takeScreen(const Transfer& finished)
{
    std::string fault = decodeScreenStream(
        finished.bytes, held.screenSlots.at(static_cast<std::size_t>(finished.slot - 1)));
    if (fault.empty())
        held.latestSlot = finished.slot;
    return fault;
}

// The marker lies on the last two bytes of the last key, which therefore keep what they were.
std::string KeyboardModel::takeLayer(std::span<const std::uint8_t> bytes, KeyLayer& layer)
{
    if (!hasMarkerAt(bytes, tableImageSize - 2))
        return "marker aa 55 missing at bytes 574 and 575 of the key layer";
    for (std::size_t index = 0; index < tableImageSize - 2; ++index)
        layer[index / 4][index % 4] = bytes[index];
    return {};
}

// As in a layer, green and blue of the last key are the marker's and are not taken over.
std::string KeyboardModel::takeColors(std::span<const std::uint8_t> bytes)
{
    if (!hasMarkerAt(bytes, tableImageSize - 2))
        return "marker aa 55 missing at bytes 574 and 575 of the color bank";
    for (std::size_t key = 0; key < keyCount; ++key) {
        if (bytes[4 * key] != key) {
            return "color record " + number(key) + " carries index " + number(bytes[4 * key]);
        }
    }
    for (std::size_t index = 0; index < tableImageSize - 2; ++index) {
        if (index % 4 != 0)
            held.colorBank[index / 4][index % 4 - 1] = bytes[index];
    }
    return {};
}

} // namespace tavik::virtual_keyboard
