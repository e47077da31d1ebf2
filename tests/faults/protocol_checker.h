// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/sequence_faults.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tavik::tests {

// One event on the virtual bus, and what could be seen at that moment.
struct WireEvent
{
    QString line;        // as the bus writes it down
    QString error;       // what hid_error() says of the configuration interface
    bool lockIsFree;     // of the device
    QStringList offered; // by an enumeration: "config", "screen FF68", "typing"
};

// A command sequence as the protocol has it.
struct ProtocolSequence
{
    enum class Frame {
        Session,     // between session open and FINISH
        Bare,        // without a session, ended by a COMMIT that nobody looks at
        ScreenBlocks // session 0 round blocks on the other interface, ended by its COMMIT
    };

    Frame frame = Frame::Session;
    int flag = 1;
    QList<SequenceStep> steps; // all but session open and FINISH; of blocks, the header alone
    int blocks = 0;
};

// What has to come of a sequence, judged by what the keyboard answered.
struct Verdict
{
    bool succeeds = false;
    QString text;              // why not
    QString complaint;         // where the program left the protocol; empty when it did not
    QList<QByteArray> answers; // to the steps of a bare sequence, 64 bytes each
};

// Follows the protocol along the events. The first one that the protocol does not want there, and
// one too many or too few, is the complaint. Nothing of the program is known here.
[[nodiscard]] Verdict judge(const ProtocolSequence& sequence, const QList<WireEvent>& events,
                            bool connectedBefore);

} // namespace tavik::tests
