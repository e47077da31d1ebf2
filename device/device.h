// SPDX-License-Identifier: MIT
#pragma once

#include "device/command_report.h"
#include "device/hid_interface.h"

#include <QMutex>
#include <QObject>
#include <QString>

#include <atomic>
#include <memory>

namespace tavik {

struct WireLock;

// The connection to the keyboard's configuration interface: one per process, GUI thread only.
//
// The mutex keeps two command sequences of this process from interleaving on the wire, and is not
// recursive. refresh() and sendCommand() lock it themselves, and so does a CommandSession for a
// sequence of its own. Every other operation that talks to the keyboard expects its caller to hold
// it. Sequences of other processes are kept off by the wire lock, a file of this user's.
//
// Operations return false on failure and leave the reason in lastError, which a success never
// clears. A failed exchange keeps the handle open, also after the keyboard was unplugged.
class Device : public QObject
{
    Q_OBJECT

public:
    static Device& instance();
    ~Device() override;

    // True while a handle is open, which says nothing about the keyboard still being plugged in.
    // Always true while reports are only rehearsed.
    [[nodiscard]] bool isOpen() const;

    // Ends the sequence that runs: from now on the keyboard gets nothing but the FINISH that it is
    // owed. Every other exchange and every wait for other processes fails with "interrupted". May
    // be called from a signal handler.
    static void interrupt() noexcept { interrupted = true; }
    static void forgetInterruption() noexcept { interrupted = false; }
    [[nodiscard]] static bool isInterrupted() noexcept { return interrupted; }

    // Whether the keyboard, or another process, has just kept a session from being opened. The
    // FINISH that is owed all the same may have left another text since.
    [[nodiscard]] bool wasBusy() const { return isTurnedAway; }

    // What is left in lastError when the keyboard, or another process, keeps a session from being
    // opened.
    [[nodiscard]] static QString busyText();

    // Opens the keyboard unless it is open. False leaves "hid_init failed" or the discovery text.
    // Emits connectedChanged(true) when it opened one. Caller holds the mutex.
    [[nodiscard]] bool ensureOpen();

    // As ensureOpen(), but locks the mutex itself and always announces a connection: a fresh one is
    // therefore announced twice, and listeners run under the lock and must not touch the device.
    [[nodiscard]] bool refresh();

    // Searches the configuration interface and opens it. False leaves the text that asks for the
    // cable and shuts hidapi down again. Emits connectedChanged(true). Caller holds the mutex.
    [[nodiscard]] bool findAndOpen();

    // Keeps the sequences of other processes off the wire until releaseWire() was called as often
    // as this has returned true. Waits up to 5 s for them; false leaves the text of a busy
    // keyboard. Where no lock can be made, nobody is kept off, and that is no failure. Caller holds
    // the mutex.
    [[nodiscard]] bool takeWire();
    void releaseWire();

    // Sends the report (35 ms after it was asked to) and replaces it by the answer, read 50 ms
    // later and not examined. False leaves "not connected" or hidapi's text. Caller holds the
    // mutex.
    [[nodiscard]] bool exchange(Report& report);

    // Exchanges one data report, up to ten times until it passes; the answer does not matter. False
    // leaves the text of the tenth failure. Caller holds the mutex.
    [[nodiscard]] bool sendSlice(const Report& slice);

    // Sends 576 bytes as nine data reports with 2 ms after each. False when one of them failed ten
    // times; the later ones are then not sent. Caller holds the mutex.
    [[nodiscard]] bool sendChunks(const TransferImage& data);

    // Exchanges a command report and checks the answer. False leaves the transport's text, or
    // rejection with its lowest place marker replaced by the status. Caller holds the mutex.
    [[nodiscard]] bool command(const Report& request, const QString& rejection);

    // Opens a command session, waiting 300 ms after each of up to ten busy or empty answers; any
    // other answer counts as open. flag is 0 or 1; the FINISH with the same flag is owed to the
    // keyboard also after a refusal. Caller holds the mutex.
    [[nodiscard]] bool openSession(std::uint8_t flag);

    // Makes the keyboard take over what it was sent. False leaves the transport's text or rejection
    // with the status. Caller holds the mutex.
    [[nodiscard]] bool commit(const QString& rejection = commitRejection());

    // Closes a session opened with the same flag. False leaves the transport's text or "FINISH
    // rejected (status %1)". Caller holds the mutex.
    [[nodiscard]] bool finish(std::uint8_t flag);

    // Sends one 64-byte payload as a whole command session of its own, opening the keyboard when
    // needed. False leaves the reason; a FINISH that fails on the way out replaces it. Locks the
    // mutex itself.
    [[nodiscard]] bool sendCommand(CommandCode code, std::uint8_t argument, const Report& payload);

private:
    Device();

    [[nodiscard]] bool failWithTransportText();
    [[nodiscard]] static QString interruptedText();
    static QString commitRejection();

    static inline std::atomic<bool> interrupted = false;
    static_assert(std::atomic<bool>::is_always_lock_free);

    bool isTurnedAway = false;
    HidHandle handle;
    std::unique_ptr<WireLock> wireLock; // made when it is first taken

public:
    QString lastError;
    QString path; // hidraw path of the open interface
    QMutex mutex;

signals:
    void connectedChanged(bool connected);
};

} // namespace tavik
