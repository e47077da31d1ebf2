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

// While data is due, a report is a command only if it is one of these to the last byte. A slice
// of 64 data bytes does not look like that, and a host that gave up must still be able to close.
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
    lastTraffic_ = now;
    lastSend_ = now;
    if (payload.size() != reportSize) {
        violation("feature report of " + number(payload.size()) +
                  " bytes behind the report id, expected 64");
        answer_ = {};
        answerWaits_ = true;
        lastKind_ = Kind::None;
        disturbed_ = true;
        return;
    }
    Report report{};
    std::ranges::copy(payload, report.begin());
    receive(report, now);
    answerWaits_ = true;
    applySpoilToAnswer();
}

void KeyboardModel::receive(const Report& report, Milliseconds now)
{
    if (answerWaits_ && !disturbed_)
        violation("the answer of the report before was not fetched");
    if (bankReadAnswers_ && report[0] != commandMarker)
        return receiveBankRead(report);
    if (expectsData() && !isControlReport(report))
        return receiveData(report, now);
    if (report[0] == commandMarker)
        return receiveCommand(report, now);

    if (transfer_ && transfer_->code != screenCode) {
        violation("more data reports than announced for " + commandName(transfer_->code) + " (" +
                  number(transfer_->reportsWanted) + " expected)");
    } else {
        violation("report begins with " + hex(report[0]) + ", expected 04");
    }
    answer_ = {};
    lastKind_ = Kind::None;
    disturbed_ = true;
}

Report KeyboardModel::getFeature(Milliseconds now)
{
    if (lastSend_ && now - *lastSend_ < pauseBeforeRead) {
        violation("read " + number(now - *lastSend_) + " ms after the send, sooner than " +
                  number(pauseBeforeRead) + " ms");
    }
    lastTraffic_ = now;
    if (!answerWaits_) {
        violation("read without a report sent before it");
        return answer_;
    }
    answerWaits_ = false;
    if (lastKind_ == Kind::Data) {
        transfer_->bytes.insert(transfer_->bytes.end(), pendingData_.begin(), pendingData_.end());
        ++transfer_->reportsReceived;
        lastSliceAnswered_ = now;
    }
    if (lastKind_ == Kind::BankRead)
        ++*bankReadAnswers_;
    return answer_;
}

std::optional<Report> KeyboardModel::screenReport(std::span<const std::uint8_t> block)
{
    std::string fault;
    if (block.size() != blockSize) {
        fault = "screen block of " + number(block.size()) +
                " bytes behind the report id, "
                "expected 4096";
    } else if (!transfer_ || transfer_->code != screenCode) {
        fault = "screen block outside an upload";
    } else if (transfer_->reportsReceived == transfer_->reportsWanted) {
        fault =
            "more screen blocks than announced (" + number(transfer_->reportsWanted) + " expected)";
    }
    if (!fault.empty()) {
        violation(std::move(fault));
        disturbed_ = true;
        return std::nullopt;
    }
    transfer_->bytes.insert(transfer_->bytes.end(), block.begin(), block.end());
    ++transfer_->reportsReceived;
    return Report{};
}

void KeyboardModel::spoilNextAnswer(AnswerFault fault, std::uint8_t status)
{
    spoil_ = Spoil{fault, status};
}

void KeyboardModel::reportLost(std::span<const std::uint8_t> payload)
{
    disturbed_ = true;
    if (payload.size() == reportSize && payload[0] == commandMarker && payload[1] == openCode)
        closingFlag_ = payload[countByte];
}

void KeyboardModel::answerLost()
{
    disturbed_ = true;
}

void KeyboardModel::disconnect()
{
    KeyboardModel fresh;
    fresh.state_ = std::move(state_);
    fresh.violations_ = std::move(violations_);
    *this = std::move(fresh);
}

void KeyboardModel::reset()
{
    *this = KeyboardModel();
}

KeyActionBytes KeyboardModel::keyAction(LayerId layer, std::size_t index) const
{
    return (layer == LayerId::Base ? state_.baseLayer : state_.fnLayer).at(index);
}

KeyColor KeyboardModel::keyColor(std::size_t index) const
{
    return state_.colorBank.at(index);
}

const std::vector<ScreenFrame>& KeyboardModel::screenSlot(int slot) const
{
    return state_.screenSlots.at(static_cast<std::size_t>(slot - 1));
}

std::vector<MacroEvent> KeyboardModel::playMacro(int index) const
{
    return virtual_keyboard::playMacro(state_.macroSpace, index);
}

std::string KeyboardModel::lightingSummary() const
{
    return virtual_keyboard::lightingSummary(state_.lighting);
}

std::size_t KeyboardModel::screenBlocksReceived() const
{
    return transfer_ && transfer_->code == screenCode ? transfer_->reportsReceived : 0;
}

std::size_t KeyboardModel::screenBlocksAnnounced() const
{
    return transfer_ && transfer_->code == screenCode ? transfer_->reportsWanted : 0;
}

void KeyboardModel::violation(std::string text)
{
    violations_.push_back(std::move(text));
}

void KeyboardModel::checkSendTime(Milliseconds now)
{
    if (lastTraffic_ && now - *lastTraffic_ < pauseBeforeSend) {
        violation("send " + number(now - *lastTraffic_) +
                  " ms after the previous report, sooner than " + number(pauseBeforeSend) + " ms");
    }
}

bool KeyboardModel::expectsData() const
{
    return transfer_ && transfer_->code != screenCode &&
           transfer_->reportsReceived < transfer_->reportsWanted;
}

void KeyboardModel::receiveData(const Report& report, Milliseconds now)
{
    const bool severalReports = transfer_->reportsWanted > 1;
    if (severalReports && sliceGapTooShort(now, pauseAfterSlice))
        violation("data reports closer than 2 ms");
    pendingData_ = report;
    answer_ = {};
    lastKind_ = Kind::Data;
}

void KeyboardModel::receiveBankRead(const Report& report)
{
    if (*bankReadAnswers_ >= bankAnswerCount)
        violation("more reports than the nine of the bank read");
    if (!onlyNonZeroAt(report, {}))
        violation("bank read report carries bytes that must be zero");
    answer_ = bankAnswer(state_.colorBank, *bankReadAnswers_);
    lastKind_ = Kind::BankRead;
}

void KeyboardModel::leaveBankRead(std::uint8_t code)
{
    if (!bankReadAnswers_ || (code == commitCode && *bankReadAnswers_ == bankAnswerCount))
        return;
    if (!disturbed_) {
        violation("bank read left after " + number(*bankReadAnswers_) +
                  " of 9 answers, without its COMMIT");
    }
    bankReadAnswers_.reset();
}

void KeyboardModel::receiveCommand(const Report& report, Milliseconds now)
{
    const std::uint8_t code = report[1];
    lastKind_ = Kind::Command;
    leaveBankRead(code);
    const std::uint8_t status = spoilRefuses(code) ? refuseSpoiled(report) : execute(report, now);
    if (status != accepted)
        disturbed_ = true;
    if (code == bankReadCode && status == accepted) {
        answer_ = bankAnswer(state_.colorBank, 0);
        lastKind_ = Kind::BankRead;
        return;
    }
    answer_ = {commandMarker, code, 0, status};
}

// A session open is refused by a busy or silent keyboard only. The announcement of macro data and
// a bank read are carried out whatever the answer says: nobody looks at it.
bool KeyboardModel::spoilRefuses(std::uint8_t code) const
{
    if (!spoil_ || spoil_->fault == AnswerFault::WrongEcho || code == macroDataCode ||
        code == bankReadCode)
        return false;
    if (spoil_->fault == AnswerFault::Empty)
        return true;
    return code == openCode ? spoil_->status == busyStatus : spoil_->status != accepted;
}

std::uint8_t KeyboardModel::refuseSpoiled(const Report& report)
{
    if (report[1] == openCode)
        closingFlag_ = report[countByte];
    return refused;
}

void KeyboardModel::applySpoilToAnswer()
{
    const std::optional<Spoil> spoil = std::exchange(spoil_, std::nullopt);
    if (!spoil)
        return;
    // A wrong echo is a failure for the host, except where it does not look at the echo.
    const bool hostLooksAt =
        lastKind_ == Kind::Command && answer_[1] != openCode && answer_[1] != macroDataCode;
    switch (spoil->fault) {
    case AnswerFault::Empty:
        answer_ = {};
        break;
    case AnswerFault::Status:
        answer_[3] = spoil->status;
        break;
    case AnswerFault::WrongEcho:
        answer_[0] = 0x05;
        answer_[1] = static_cast<std::uint8_t>(~answer_[1]);
        if (spoil->status != 0)
            answer_[3] = spoil->status;
        if (hostLooksAt)
            disturbed_ = true;
        break;
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
    violation("unknown command " + hex(code));
    return refused;
}

std::uint8_t KeyboardModel::openSession(const Report& report)
{
    if (!zeroExcept(report, {countByte}))
        return refused;
    const std::uint8_t flag = report[countByte];
    if (flag > 1) {
        violation("session open with flag " + number(flag) + ", expected 0 or 1");
        return refused;
    }
    if (sessionFlag_ && !disturbed_)
        violation("session opened inside a session");
    dropSession();
    sessionFlag_ = flag;
    closingFlag_ = flag;
    return accepted;
}

std::uint8_t KeyboardModel::announce(const Report& report, const CommandRule& rule)
{
    const std::string name = commandName(rule.code);
    if (!sessionFlag_) {
        violation(name + " outside a session");
        return refused;
    }
    if (*sessionFlag_ != rule.sessionFlag) {
        violation(name + " in a session with flag " + number(*sessionFlag_) + ", expected " +
                  number(rule.sessionFlag));
        return refused;
    }
    if (!orderAllows(rule.code) || !headerAllows(report, rule))
        return refused;

    committed_ = false;
    if (rule.code == macroSessionCode) {
        macroSession_ = true;
        return accepted;
    }
    const std::size_t count = countOf(report, rule);
    transfer_ = Transfer{.code = rule.code,
                         .reportsWanted = rule.code == macroDataCode ? count - 1 : count,
                         .slot = report[argumentByte],
                         .bytes = {}};
    return accepted;
}

bool KeyboardModel::orderAllows(std::uint8_t code)
{
    if (code == macroDataCode && !macroSession_) {
        violation("command 15 without command 19 before it");
        return false;
    }
    if (transfer_ || committed_ || (macroSession_ && code != macroDataCode)) {
        violation("a second command in one session: " + commandName(code));
        return false;
    }
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
    if (rule.argument && argument != *rule.argument) {
        violation(name + " with argument " + number(argument) + ", expected " +
                  number(*rule.argument));
        return false;
    }
    if (rule.code == screenCode && (argument < 1 || argument > screenSlotCount)) {
        violation(name + " for slot " + number(argument) + ", expected 1 to 3");
        return false;
    }
    const std::size_t count = countOf(report, rule);
    if (count < rule.leastCount || count > rule.mostCount) {
        const std::string expected =
            rule.leastCount == rule.mostCount
                ? number(rule.leastCount)
                : number(rule.leastCount) + " to " + number(rule.mostCount);
        violation(name + " announces " + number(count) + " reports, expected " + expected);
        return false;
    }
    return true;
}

std::uint8_t KeyboardModel::commit(const Report& report, Milliseconds now)
{
    if (!zeroExcept(report, {}))
        return refused;
    if (bankReadAnswers_) {
        bankReadAnswers_.reset();
        return accepted;
    }
    if (!sessionFlag_) {
        violation("COMMIT outside a session");
        return refused;
    }
    if (!transfer_) {
        violation("COMMIT without a command to complete");
        return refused;
    }
    if (transfer_->reportsReceived < transfer_->reportsWanted) {
        violation("fewer data reports than announced for " + commandName(transfer_->code) + ": " +
                  number(transfer_->reportsReceived) + " of " + number(transfer_->reportsWanted));
        return refused;
    }
    checkCommitTime(now);
    const Transfer transfer = std::move(*transfer_);
    transfer_.reset();
    if (const std::string fault = takeOver(transfer); !fault.empty()) {
        violation(fault);
        return refused;
    }
    committed_ = true;
    // The accepted COMMIT ends the session of a screen upload; no FINISH follows.
    if (transfer.code == screenCode)
        dropSession();
    return accepted;
}

void KeyboardModel::checkCommitTime(Milliseconds now)
{
    if (transfer_->code == macroDataCode && sliceGapTooShort(now, pauseBeforeMacroCommit))
        violation("macro COMMIT sooner than 30 ms after the last piece");
    const bool slices = transfer_->code != macroDataCode && transfer_->reportsWanted > 1;
    if (slices && sliceGapTooShort(now, pauseAfterSlice))
        violation("COMMIT sooner than 2 ms after the last data report");
}

// The pause the host owes after a slice adds to the one it owes before every send. A send that is
// too early for any report is named as that alone.
bool KeyboardModel::sliceGapTooShort(Milliseconds now, Milliseconds pause) const
{
    if (!lastSliceAnswered_)
        return false;
    const Milliseconds gap = now - *lastSliceAnswered_;
    return gap >= pauseBeforeSend && gap < pauseBeforeSend + pause;
}

std::uint8_t KeyboardModel::finish(const Report& report)
{
    if (!zeroExcept(report, {countByte}))
        return refused;
    const std::uint8_t flag = report[countByte];
    // After a failure the host may close what it tried to open, whether or not it is open.
    const bool closesAttempt = disturbed_ && closingFlag_ == flag;
    if (!sessionFlag_ && !closesAttempt) {
        violation("FINISH outside a session");
        return refused;
    }
    if (sessionFlag_ != flag && !closesAttempt) {
        violation("FINISH with flag " + number(flag) + " in a session with flag " +
                  number(*sessionFlag_));
        return refused;
    }
    if (!committed_ && !disturbed_)
        violation("FINISH without COMMIT");
    dropSession();
    closingFlag_.reset();
    return accepted;
}

void KeyboardModel::dropSession()
{
    sessionFlag_.reset();
    transfer_.reset();
    disturbed_ = false;
    macroSession_ = false;
    committed_ = false;
}

std::uint8_t KeyboardModel::startBankRead(const Report& report)
{
    if (sessionFlag_ && !disturbed_) {
        violation("command f5 inside a session");
        return refused;
    }
    if (!zeroExcept(report, {countByte}))
        return refused;
    if (report[countByte] != bankAnswerCount) {
        violation("command f5 announces " + number(report[countByte]) + " reports, expected 9");
        return refused;
    }
    dropSession();
    closingFlag_.reset();
    bankReadAnswers_ = 0;
    return accepted;
}

bool KeyboardModel::zeroExcept(const Report& report, std::initializer_list<std::size_t> allowed)
{
    const auto tail = std::span(report).subspan(argumentByte);
    for (std::size_t index = 0; index < tail.size(); ++index) {
        const std::size_t byte = index + argumentByte;
        if (tail[index] == 0 || std::ranges::find(allowed, byte) != allowed.end())
            continue;
        violation(commandName(report[1]) + " carries " + hex(tail[index]) + " in byte " +
                  number(byte) + ", which must be zero");
        return false;
    }
    return true;
}

std::string KeyboardModel::takeOver(const Transfer& transfer)
{
    switch (transfer.code) {
    case lightingCode:
        return takeLighting(transfer.bytes);
    case sleepCode:
        return takeSleep(transfer.bytes);
    case baseLayerCode:
        return takeLayer(transfer.bytes, state_.baseLayer);
    case fnLayerCode:
        return takeLayer(transfer.bytes, state_.fnLayer);
    case bankWriteCode:
        return takeColors(transfer.bytes);
    case macroDataCode:
        state_.macroSpace = transfer.bytes;
        return {};
    case screenCode:
        return decodeScreenStream(
            transfer.bytes, state_.screenSlots.at(static_cast<std::size_t>(transfer.slot - 1)));
    default:
        return "nothing is known to take over for " + commandName(transfer.code);
    }
}

std::string KeyboardModel::takeLighting(std::span<const std::uint8_t> bytes)
{
    if (!hasMarkerAt(bytes, 14))
        return "marker aa 55 missing at bytes 14 and 15 of the lighting mode";
    if (!onlyNonZeroAt(bytes, {0, 1, 2, 3, 8, 9, 10, 11, 14, 15}))
        return "lighting mode carries bytes that must be zero";
    const bool knownEffect = bytes[0] <= 0x13 || bytes[0] == customEffect;
    if (!knownEffect || bytes[8] > 1 || bytes[9] > 5 || bytes[10] > 5 || bytes[11] > 3)
        return "lighting mode carries a value out of range";
    std::ranges::copy(bytes, state_.lighting.begin());
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
    state_.sleepCode = bytes[8];
    return {};
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
            state_.colorBank[index / 4][index % 4 - 1] = bytes[index];
    }
    return {};
}

} // namespace tavik::virtual_keyboard
