// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/keyboard_state.h"

#include <initializer_list>
#include <optional>

namespace tavik::virtual_keyboard {

// How the keyboard misbehaves in one answer.
enum class AnswerFault {
    Status,    // the answer carries a chosen status
    Empty,     // the answer is 64 zero bytes, as if none were ready
    WrongEcho, // the answer names another command (05 and the code's complement)
    WrongByte, // one chosen byte of the answer is its complement
};

struct CommandRule;

// The keyboard itself, as seen from its two USB interfaces. It knows no transport and no clock:
// reports come in as the bytes behind the report id, each with the time at which it came.
//
// It is lenient in nothing. Whatever a keyboard may not be asked to do is written into
// violations(), and what cannot be carried out is refused with status 02. New values are held
// back until COMMIT and are taken over only when everything announced has arrived.
class KeyboardModel
{
public:
    using Milliseconds = std::chrono::milliseconds;

    // A feature report arrives on the configuration interface; `payload` should be 64 bytes. `now`
    // counts from any fixed moment and never runs back.
    void setFeature(std::span<const std::uint8_t> payload, Milliseconds now);

    // The host asks for the answer. Command reports are answered 04, code, 00, status; data
    // reports with 64 zeros; the nine reports of a bank read with the packed color bank. A data
    // report counts only once its answer was fetched: one that is sent again replaces it.
    [[nodiscard]] Report getFeature(Milliseconds now);

    // A block arrives on the screen interface. Returns the acknowledgement, or nothing when the
    // block is not wanted.
    [[nodiscard]] std::optional<Report> screenReport(std::span<const std::uint8_t> block);

    // The next report is answered with this fault. After a status other than 01 or an empty answer
    // the command is not carried out; a wrong echo or byte hides a success. Session open stays
    // closed only after status FF or an empty answer. Data, the announcement of macro data and the
    // bank read are taken whatever their answer says. `status` is read for AnswerFault::Status, and
    // for a wrong echo unless it is 0; for a wrong byte it is that byte's place.
    void spoilNextAnswer(AnswerFault fault, std::uint8_t status = 0)
    {
        nextSpoil = Spoil{fault, status};
    }

    // The transport lost a report on its way in (its payload), or an answer, a block or an
    // acknowledgement. The keyboard cannot see this; it is told so that the host's way of
    // closing after a failure is not held against it.
    void reportLost(std::span<const std::uint8_t> payload);
    void answerLost() { disturbed = true; }

    // The cable was pulled: the session and everything not committed is gone.
    void disconnect();

    // Back to the factory state, with no session and no violations.
    void reset() { *this = KeyboardModel(); }

    // What the keyboard holds. The setter is for tests that need a keyboard with a history.
    [[nodiscard]] const KeyboardState& state() const { return held; }
    void setState(const KeyboardState& state) { held = state; }

    [[nodiscard]] bool sessionOpen() const { return openFlag.has_value(); }
    // 0 or 1; nothing while no session is open.
    [[nodiscard]] std::optional<std::uint8_t> sessionFlag() const { return openFlag; }
    [[nodiscard]] bool customMode() const { return held.lighting[0] == customEffect; }
    // Index 0 to 143.
    [[nodiscard]] KeyActionBytes keyAction(LayerId layer, std::size_t index) const;
    [[nodiscard]] KeyColor keyColor(std::size_t index) const { return held.colorBank.at(index); }
    // Slot 1 to 3; empty while nothing is stored there.
    [[nodiscard]] const std::vector<ScreenFrame>& screenSlot(int slot) const
    {
        return held.screenSlots.at(static_cast<std::size_t>(slot - 1));
    }
    [[nodiscard]] std::vector<MacroEvent> playMacro(int index) const
    {
        return virtual_keyboard::playMacro(held.macroSpace, index);
    }
    [[nodiscard]] std::string lightingSummary() const
    {
        return virtual_keyboard::lightingSummary(held.lighting);
    }
    // Blocks received and announced of the screen upload under way; 0 and 0 when there is none.
    [[nodiscard]] std::size_t screenBlocksReceived() const;
    [[nodiscard]] std::size_t screenBlocksAnnounced() const;

    // Everything that was wrong so far, oldest first, one sentence each.
    [[nodiscard]] const std::vector<std::string>& violations() const { return complaints; }
    void clearViolations() { complaints.clear(); }

private:
    enum class Kind { None, Command, Data, BankRead };

    struct Spoil
    {
        AnswerFault fault = AnswerFault::Status;
        std::uint8_t status = 0;
    };

    // The command that was announced in this session and waits for data and COMMIT.
    struct Transfer
    {
        std::uint8_t code = 0;
        std::size_t reportsWanted = 0; // data reports or screen blocks
        std::size_t reportsReceived = 0;
        int slot = 0;
        std::vector<std::uint8_t> bytes;
    };

    void violation(std::string text) { complaints.push_back(std::move(text)); }
    [[nodiscard]] std::uint8_t refuse(std::string text);
    [[nodiscard]] bool forbid(std::string text);
    void checkSendTime(Milliseconds now);
    void checkCommitTime(Milliseconds now);
    [[nodiscard]] bool sliceGapTooShort(Milliseconds now, Milliseconds pause) const;

    void receive(const Report& report, Milliseconds now);
    void receiveCommand(const Report& report, Milliseconds now);
    void receiveData(const Report& report, Milliseconds now);
    void receiveBankRead(const Report& report);
    [[nodiscard]] bool expectsData() const;
    [[nodiscard]] bool isMacroOffset(const Report& report) const;
    void leaveBankRead(std::uint8_t code);

    [[nodiscard]] bool spoilRefuses(std::uint8_t code) const;
    [[nodiscard]] std::uint8_t refuseSpoiled(const Report& report);
    void applySpoilToAnswer();

    // Each returns the status that the keyboard answers with.
    [[nodiscard]] std::uint8_t execute(const Report& report, Milliseconds now);
    [[nodiscard]] std::uint8_t openSession(const Report& report);
    [[nodiscard]] std::uint8_t announce(const Report& report, const CommandRule& rule);
    [[nodiscard]] std::uint8_t commit(const Report& report, Milliseconds now);
    [[nodiscard]] std::uint8_t finish(const Report& report);
    [[nodiscard]] std::uint8_t startBankRead(const Report& report);
    void dropSession();

    // Each names the violation and returns false when the report is not as it must be.
    [[nodiscard]] bool orderAllows(std::uint8_t code);
    [[nodiscard]] bool headerAllows(const Report& report, const CommandRule& rule);
    [[nodiscard]] bool zeroExcept(const Report& report, std::initializer_list<std::size_t> allowed);

    // Each returns an empty string, or why nothing was taken over.
    [[nodiscard]] std::string takeOver(const Transfer& finished);
    [[nodiscard]] std::string takeLighting(std::span<const std::uint8_t> bytes);
    [[nodiscard]] std::string takeSleep(std::span<const std::uint8_t> bytes);
    [[nodiscard]] static std::string takeLayer(std::span<const std::uint8_t> bytes,
                                               KeyLayer& layer);
    [[nodiscard]] std::string takeScreen(const Transfer& finished);
    [[nodiscard]] std::string takeColors(std::span<const std::uint8_t> bytes);

    KeyboardState held;
    std::vector<std::string> complaints;

    std::optional<std::uint8_t> openFlag;
    // Flag of the last session open that came or was lost, until FINISH.
    std::optional<std::uint8_t> closingFlag;
    // Something failed before the host's eyes, so it may close what it did not complete. Ends with
    // the session.
    bool disturbed = false;
    bool macroSession = false;
    bool committed = false;
    std::optional<Transfer> transfer;
    Report pendingData{}; // counts once its answer is fetched
    std::optional<std::size_t> bankReadAnswers;
    std::optional<Spoil> nextSpoil;

    Report answer{};
    bool answerWaits = false;
    Kind lastKind = Kind::None;
    std::optional<Milliseconds> lastTraffic;
    std::optional<Milliseconds> lastSend;
    std::optional<Milliseconds> lastSliceAnswered;
};

} // namespace tavik::virtual_keyboard
