// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/keyboard_model.h"

#include <functional>
#include <map>
#include <string_view>
#include <utility>

namespace tavik::virtual_keyboard {

inline constexpr std::uint16_t vendorId = 0x0C45;
inline constexpr std::uint16_t configurationUsagePage = 0xFF13;

// One HID interface on the bus. Those with usage page FF13 are configuration interfaces, those
// with FF68 or FF67 screen interfaces; anything else is an interface for typing.
struct BusInterface
{
    std::uint16_t productId = 0x8009;
    std::uint16_t usagePage = 0x0001;
    std::string path;
    bool opens = true;
    std::string holder = {}; // another program that has it open; empty for none
};

// What happens to one exchange on the configuration interface, or to one screen block.
struct Fault
{
    enum class Kind {
        SendError,
        ReadError,
        ShortWrite,
        ZeroWrite,
        NoAcknowledgement,
        ShortAcknowledgement,
        CountsNothing,
        Answer
    };

    Kind kind = Kind::SendError;
    std::string text; // what hid_error() then says
    AnswerFault answer = AnswerFault::Status;
    std::uint8_t status = 0; // or the place of the wrong byte
};

// The report does not reach the keyboard; the send (or the block write) fails with the text.
[[nodiscard]] Fault sendError(std::string text);
// The report reaches the keyboard; fetching its answer (or acknowledgement) fails with the text.
[[nodiscard]] Fault readError(std::string text);
// A screen block is written one byte short and does not reach the keyboard.
[[nodiscard]] Fault shortWrite();
// As a short write, but nothing at all is written.
[[nodiscard]] Fault zeroWrite();
// A screen block arrives but its acknowledgement never comes back: the read times out.
[[nodiscard]] Fault noAcknowledgement();
// A screen block arrives and is acknowledged by a single byte.
[[nodiscard]] Fault shortAcknowledgement();
// All goes well, but both calls of the exchange return 0 instead of a number of bytes.
[[nodiscard]] Fault countsNothing();
// The keyboard answers with this status and, unless it is 01, does nothing.
[[nodiscard]] Fault answerStatus(std::uint8_t status);
[[nodiscard]] Fault busy(); // status FF
// The keyboard answers with 64 zeros and does nothing.
[[nodiscard]] Fault emptyAnswer();
// The keyboard does what it was asked, but its answer names another command and, unless it is 0,
// carries this status.
[[nodiscard]] Fault wrongEcho(std::uint8_t status = 0);
// The keyboard does what it was asked, but this byte of its answer (0 to 63) is the complement of
// what it should be.
[[nodiscard]] Fault wrongByte(std::uint8_t place);

// The USB bus with one keyboard on it, and the clock. There is one for the process; it is never
// destroyed, because the device link closes its handle as the very last thing. Not thread-safe.
class VirtualBus
{
public:
    using Milliseconds = std::chrono::milliseconds;

    // -1: refused or failed; a valid handle is 1 or more and never given out twice.
    using Handle = int;

    [[nodiscard]] static VirtualBus& instance();

    // Factory state: keyboard plugged in under product id 8009 with a typing interface
    // (/dev/hidraw0), a configuration interface (/dev/hidraw1) and a screen interface on FF68
    // (/dev/hidraw2); model reset, no faults, empty trace, no violations, virtual time 0 again. An
    // open handle stays open and reaches the fresh keyboard, unless it was stale before. A clock
    // and a listener that were handed in stay.
    void reset();

    [[nodiscard]] KeyboardModel& keyboard() { return model; }

    // What is plugged in.
    [[nodiscard]] std::vector<BusInterface>& interfaces() { return usbInterfaces; }
    void setProductId(std::uint16_t productId);       // of every interface
    void setScreenUsagePage(std::uint16_t usagePage); // FF68 or FF67
    void removeScreen();
    // Put in front of the existing configuration interface, so that it is found first.
    void addConfigurationInterface(std::string path, bool opens = true);
    void setOpens(const std::string& path, bool opens);
    void setInitFails(bool fails) { initFails = fails; } // hid_init() returns -1
    void plug();
    // Enumerations are empty from now on, and every open handle is stale for good.
    void unplug();
    [[nodiscard]] bool plugged() const { return isPlugged; }

    // Faults, counted from the moment of the call: 1 is the next one.
    //
    // Exchange: one feature report sent on the configuration interface and its answer, failed
    // attempts included. `times` faults the following ones too.
    void failAt(int exchange, const Fault& fault, int times = 1);
    // The n-th exchange from now on whose report is a command (04 first) with this code.
    void failCommand(std::uint8_t code, const Fault& fault, int nth = 1);
    // Block: one write on the screen interface and its acknowledgement.
    void failBlockAt(int block, const Fault& fault);
    // Unplugs just before the n-th transport call (send, read, block, acknowledgement).
    void unplugAt(int call);
    void clearFaults();

    // Virtual time starts at 0 and moves only by waiting.
    [[nodiscard]] Milliseconds now() const;
    void wait(Milliseconds duration);
    // A demo hands in a real clock; empty functions bring the virtual clock back.
    void setClock(std::function<Milliseconds()> now, std::function<void(Milliseconds)> wait);
    // Called after every line of the trace and after plugging and unplugging; empty to stop.
    void setListener(std::function<void()> newListener) { listener = std::move(newListener); }

    // What happened, one line per event:
    //   "init" "init failed" "exit" "enumerate 8009"
    //   "open config" "open config refused" "close config" (also "screen", "typing")
    //   "wait 35"
    //   "send 04 18 00 00 00 00 00 00 01" "send failed" "read 04 18 00 01" "read failed"
    //   "block 4097 bytes" "block short" "block failed" "ack" "no ack 1000" "ack failed"
    // Sent and read bytes are those behind the report id, trailing zeros dropped, one byte at
    // least ("send 00").
    [[nodiscard]] const std::vector<std::string>& trace() const { return events; }
    // Only the transport lines: sends, reads, blocks, acknowledgements.
    [[nodiscard]] std::vector<std::string> wire() const;
    // Only the reports that reached the keyboard, without the word: "04 18 00 00 00 00 00 00 01".
    [[nodiscard]] std::vector<std::string> sends() const;
    // The same reports whole, as given behind the report id.
    [[nodiscard]] const std::vector<std::vector<std::uint8_t>>& sentReports() const
    {
        return arrivedReports;
    }
    // The blocks that reached the keyboard's screen interface, one behind the other.
    [[nodiscard]] const std::vector<std::uint8_t>& sentBlocks() const { return arrivedBlocks; }
    // How often a line stands in the trace.
    [[nodiscard]] int count(std::string_view line) const;
    // Empties trace, sent reports and sent blocks; faults and violations stay.
    void clearTrace();

    // What was wrong in the use of hidapi, then what was wrong for the keyboard.
    [[nodiscard]] std::vector<std::string> violations() const;
    void clearViolations();
    [[nodiscard]] int openHandles() const;
    // Those of them that no longer reach the keyboard, because it was unplugged since.
    [[nodiscard]] int staleHandles() const;
    [[nodiscard]] int unfreedEnumerations() const { return heldEnumerations; }

    // The transport, as hidapi's functions need it. Negative results are failures whose text
    // errorText() gives. Buffers start with the report id.
    [[nodiscard]] int init();
    int exit();
    [[nodiscard]] std::vector<BusInterface> enumerate(std::uint16_t vendor, std::uint16_t product);
    void enumerationFreed();
    [[nodiscard]] Handle open(const std::string& path);
    void close(Handle handle);
    [[nodiscard]] int sendFeature(Handle handle, std::span<const std::uint8_t> buffer);
    [[nodiscard]] int getFeature(Handle handle, std::span<std::uint8_t> buffer);
    [[nodiscard]] int write(Handle handle, std::span<const std::uint8_t> buffer);
    [[nodiscard]] int readTimeout(Handle handle, std::span<std::uint8_t> buffer,
                                  Milliseconds timeout);
    // Text of the last failure on this handle, or of the last failed open for handle -1;
    // "Success" when there was none.
    [[nodiscard]] std::string errorText(Handle handle) const;

private:
    struct OpenedInterface
    {
        std::uint16_t usagePage = 0;
        std::string name; // "config", "screen" or "typing"
        int generation = 0;
        bool closed = false;
        std::string error;
        std::vector<Report> acknowledgements;
    };

    struct CommandFault
    {
        std::uint8_t code = 0;
        int nth = 1;
        Fault fault;
    };

    VirtualBus();

    void record(std::string line);
    void tellListener() const;
    void violation(std::string text) { misuse.push_back(std::move(text)); }
    // Null, with the misuse recorded, when the handle is unknown or closed.
    [[nodiscard]] OpenedInterface* usable(Handle handle, std::string_view function);
    // False once the keyboard was unplugged since the handle was opened.
    [[nodiscard]] bool reaches(const OpenedInterface& opened) const
    {
        return isPlugged && opened.generation == generation;
    }
    [[nodiscard]] bool isConfigurationReport(const OpenedInterface& opened, std::uint8_t reportId,
                                             std::string_view verb);
    void checkEnumerationsFreed(std::string_view function);
    void receiveBlock(OpenedInterface& opened, std::span<const std::uint8_t> block);
    void advance(Milliseconds duration);
    void countCall();
    [[nodiscard]] int fail(OpenedInterface& opened, std::string line, std::string_view text);
    [[nodiscard]] std::optional<Fault> faultOfExchange(std::span<const std::uint8_t> payload);

    KeyboardModel model;
    std::vector<BusInterface> usbInterfaces;
    bool isPlugged = true;
    bool initFails = false;
    int generation = 0;

    std::vector<OpenedInterface> everOpened; // the handle is the index plus one
    std::vector<std::string> enumeratedPaths;
    int heldEnumerations = 0;
    std::string openError;

    int exchangeCount = 0;
    int blockCount = 0;
    int callCount = 0;
    std::map<int, Fault> exchangeFaults;
    std::vector<CommandFault> commandFaults;
    std::map<int, Fault> blockFaults;
    std::optional<int> unplugCall;
    std::optional<std::string> failingRead;
    bool readCountsNothing = false;
    std::optional<Fault> acknowledgementFault;

    Milliseconds virtualNow{0};
    std::function<Milliseconds()> clockNow;
    std::function<void(Milliseconds)> clockWait;
    std::function<void()> listener;

    std::vector<std::string> events;
    std::vector<std::vector<std::uint8_t>> arrivedReports;
    std::vector<std::uint8_t> arrivedBlocks;
    std::vector<std::string> misuse;
};

} // namespace tavik::virtual_keyboard
