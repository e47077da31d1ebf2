// SPDX-License-Identifier: MIT
#pragma once

#include "device/device.h"

#include <QMutexLocker>

namespace tavik {

// What a session is opened and finished with. The keyboard wants 0 round its color bank and its
// screen, 1 round everything else; why is unknown.
enum class SessionFlag : std::uint8_t { Zero = 0, One = 1 };

// Keeps the sequences of other processes off the wire for as long as it lives, for what has to stay
// together beyond one CommandSession. Locks the device's mutex itself, for a moment.
class WireHold
{
public:
    explicit WireHold(Device& keyboard);
    ~WireHold();
    Q_DISABLE_COPY_MOVE(WireHold)

    // False when another process did not let go in time; the device's last error says so.
    [[nodiscard]] bool isHeld() const { return held; }

private:
    Device& device;
    bool held = false;
};

// One command sequence on the wire. It holds the device's lock from its making to its end, and the
// keyboard gets the FINISH it is owed whatever happens in between: from the first attempt to open a
// session on, also after a refusal, until finish() or commitAndEnd() has closed it. That FINISH may
// replace the device's last error, so the error is read after the session has ended.
//
// Every operation returns false on failure and leaves the reason in the device's last error, so
// that a sequence is its steps in order, chained with &&.
class CommandSession
{
public:
    CommandSession(Device& keyboard, SessionFlag sessionFlag);
    ~CommandSession();
    Q_DISABLE_COPY_MOVE(CommandSession)

    // Opens the keyboard unless it is open, and keeps the sequences of other processes off the wire
    // until this one ends. All that is needed where the keyboard wants no session.
    [[nodiscard]] bool connectKeyboard();

    // As connectKeyboard(), and then opens the session. Nothing is owed to a keyboard that is not
    // there, or that another process talks to.
    [[nodiscard]] bool open();

    // As the operations of Device with these names.
    [[nodiscard]] bool command(const Report& request, const QString& rejection);
    [[nodiscard]] bool exchange(Report& report) { return device.exchange(report); }
    [[nodiscard]] bool sendSlice(const Report& slice) { return device.sendSlice(slice); }
    [[nodiscard]] bool sendChunks(const TransferImage& data) { return device.sendChunks(data); }
    [[nodiscard]] bool commit() { return device.commit(); }
    [[nodiscard]] bool commit(const QString& rejection) { return device.commit(rejection); }
    [[nodiscard]] bool finish();

    // Lets others of this process have the lock between two commands of one session, then goes on
    // in it.
    [[nodiscard]] bool letOthersIn();

    // Lets the lock go while the session waits for what travels on another interface. abandon() and
    // commitAndEnd() take it again.
    void unlock() { locker.unlock(); }

    // Ends a session whose data did not get through. What the keyboard says to it does not count.
    void abandon();

    // Makes the keyboard take over what it was sent; accepting that ends the session by itself.
    [[nodiscard]] bool commitAndEnd(const QString& rejection);

private:
    Device& device;
    const std::uint8_t flag;
    QMutexLocker<QMutex> locker;
    bool holdsWire = false;
    bool finishOwed = false;
};

} // namespace tavik
