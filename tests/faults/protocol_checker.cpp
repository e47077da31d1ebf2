// SPDX-License-Identifier: MIT
#include "tests/faults/protocol_checker.h"

namespace tavik::tests {

namespace {

constexpr int sessionAttempts = 10;
constexpr char accepted = 0x01;
constexpr char busyStatus = '\xFF';

const QString absentText = QStringLiteral("Keyboard not found (vendor interface 0xFF13). Plug the "
                                          "USB-C cable (wired mode).");

QString controlReport(const char* code, int flag)
{
    return QStringLiteral("04 ") + QLatin1String(code) +
           (flag == 1 ? QStringLiteral(" 00 00 00 00 00 00 01") : QString());
}

// A report as the bus writes it down, with the zeros that it leaves out.
QByteArray wholeReport(const QString& text)
{
    QByteArray bytes = QByteArray::fromHex(text.toLatin1());
    bytes.resize(64, '\0');
    return bytes;
}

QString statusOf(const QByteArray& answer)
{
    return QString::fromLatin1(answer.mid(3, 1).toHex());
}

enum class Lock { Held, Free };

class Follower
{
public:
    Follower(const QList<WireEvent>& allEvents, bool connectedBefore)
        : events(allEvents), connected(connectedBefore)
    {
    }

    bool follow(const ProtocolSequence& sequence)
    {
        switch (sequence.frame) {
        case ProtocolSequence::Frame::Session:
            return connect() && session(sequence);
        case ProtocolSequence::Frame::Bare:
            return connect() && bareExchanges(sequence.steps);
        case ProtocolSequence::Frame::ScreenBlocks:
            return screen(sequence);
        }
        return false;
    }

    // Nothing may follow the end of a sequence.
    void end() const
    {
        if (at < events.size())
            complain(QStringLiteral("the end"));
    }

    QString text;
    QList<QByteArray> answers;

private:
    bool fail(const QString& why)
    {
        text = why;
        return false;
    }

    [[noreturn]] void complain(const QString& expected) const
    {
        const QString found = at < events.size() ? events.at(at).line : QStringLiteral("the end");
        throw QStringLiteral("event %1 is \"%2\" instead of \"%3\"")
            .arg(at + 1)
            .arg(found, expected);
    }

    bool nextIs(const QString& line) const
    {
        return at < events.size() && events.at(at).line == line;
    }

    const WireEvent& take(const QString& line, Lock lock)
    {
        if (!nextIs(line))
            complain(line);
        if (events.at(at).lockIsFree != (lock == Lock::Free))
            complain(line + (lock == Lock::Free ? " without the lock" : " under the lock"));
        return events.at(at++);
    }

    // Opens the first of the interfaces with this name that opens, enumeration by enumeration.
    bool openFirst(const QString& name, const QString& opened, Lock lock)
    {
        for (const char* product : {"8009", "800a"}) {
            const WireEvent& list = take(QStringLiteral("enumerate ") + product, lock);
            for (qsizetype count = list.offered.count(name); count > 0; --count) {
                if (!nextIs(opened + QStringLiteral(" refused"))) {
                    take(opened, lock);
                    return true;
                }
                take(opened + QStringLiteral(" refused"), lock);
            }
        }
        return false;
    }

    bool connect()
    {
        if (connected)
            return true;
        if (nextIs(QStringLiteral("init failed"))) {
            take(QStringLiteral("init failed"), Lock::Held);
            return fail(QStringLiteral("hid_init failed"));
        }
        take(QStringLiteral("init"), Lock::Held);
        connected = openFirst(QStringLiteral("config"), QStringLiteral("open config"), Lock::Held);
        if (connected)
            return true;
        take(QStringLiteral("exit"), Lock::Held);
        return fail(absentText);
    }

    // The answer, or nothing when the transport failed.
    std::optional<QByteArray> exchange(const QString& report)
    {
        take(QStringLiteral("wait 35"), Lock::Held);
        if (nextIs(QStringLiteral("send failed")))
            return failTransport(QStringLiteral("send failed"));
        take(QStringLiteral("send ") + report, Lock::Held);
        take(QStringLiteral("wait 50"), Lock::Held);
        if (nextIs(QStringLiteral("read failed")))
            return failTransport(QStringLiteral("read failed"));
        if (at == events.size() || !events.at(at).line.startsWith(QLatin1String("read ")))
            complain(QStringLiteral("read"));
        return wholeReport(take(events.at(at).line, Lock::Held).line.mid(5));
    }

    std::optional<QByteArray> failTransport(const QString& line)
    {
        text = take(line, Lock::Held).error;
        return std::nullopt;
    }

    // The reports of a bare sequence and the data may be answered with anything.
    bool step(const SequenceStep& step)
    {
        std::optional<QByteArray> answer;
        for (int attempt = 0; !answer && attempt < step.attempts; ++attempt)
            answer = exchange(step.report);
        if (!answer)
            return false;
        answers += *answer;
        const QByteArray request = wholeReport(step.report);
        const bool isAccepted = answer->at(0) == request.at(0) && answer->at(1) == request.at(1) &&
                                answer->at(3) == accepted;
        if (!step.rejection.isEmpty() && !isAccepted)
            return fail(step.rejection.arg(statusOf(*answer)));
        if (step.pauseMs > 0)
            take(QStringLiteral("wait %1").arg(step.pauseMs), Lock::Held);
        return true;
    }

    bool everyStep(const QList<SequenceStep>& steps)
    {
        return std::ranges::all_of(steps, [this](const SequenceStep& one) { return step(one); });
    }

    bool openSession(int flag)
    {
        for (int attempt = 0; attempt < sessionAttempts; ++attempt) {
            const std::optional<QByteArray> answer = exchange(controlReport("18", flag));
            if (!answer)
                return false;
            if (answer->count('\0') < answer->size() && answer->at(3) != busyStatus)
                return true;
            take(QStringLiteral("wait 300"), Lock::Held);
        }
        return fail(QStringLiteral("Keyboard refuses to open a session (busy?)"));
    }

    bool finish(int flag)
    {
        return step(
            {"FINISH", controlReport("f0", flag), QStringLiteral("FINISH rejected (status %1)")});
    }

    bool session(const ProtocolSequence& sequence)
    {
        const bool isDone = openSession(sequence.flag) && everyStep(sequence.steps);
        return finish(sequence.flag) && isDone;
    }

    bool bareExchanges(const QList<SequenceStep>& steps)
    {
        if (!everyStep(steps))
            return false;
        static_cast<void>(exchange(QStringLiteral("04 02")));
        return true;
    }

    bool screen(const ProtocolSequence& sequence)
    {
        if (!openFirst(QStringLiteral("screen FF68"), QStringLiteral("open screen"), Lock::Free) &&
            !openFirst(QStringLiteral("screen FF67"), QStringLiteral("open screen"), Lock::Free))
            return fail(QStringLiteral("TFT interface (0xFF68/0xFF67) not found"));
        const bool isDone = connect() && screenSession(sequence);
        take(QStringLiteral("close screen"), Lock::Free);
        return isDone;
    }

    bool screenSession(const ProtocolSequence& sequence)
    {
        if (!openSession(sequence.flag) || !everyStep(sequence.steps))
            return finish(sequence.flag) && false;
        const QString blockError = blocks(sequence.blocks);
        if (!blockError.isEmpty()) {
            static_cast<void>(exchange(controlReport("f0", sequence.flag)));
            return fail(blockError);
        }
        const bool isDone = step(
            {"COMMIT", QStringLiteral("04 02"), QStringLiteral("TFT COMMIT rejected (status %1)")});
        return isDone || (finish(sequence.flag) && false);
    }

    // Why a block failed, or an empty text.
    QString blocks(int count)
    {
        for (int block = 1; block <= count; ++block) {
            for (const char* failure : {"block short", "block failed"}) {
                if (nextIs(QLatin1String(failure))) {
                    take(QLatin1String(failure), Lock::Free);
                    return QStringLiteral("chunk %1/%2 write failed").arg(block).arg(count);
                }
            }
            take(QStringLiteral("block 4097 bytes"), Lock::Free);
            for (const char* failure : {"no ack 1000", "ack failed"}) {
                if (nextIs(QLatin1String(failure))) {
                    take(QLatin1String(failure), Lock::Free);
                    return QStringLiteral("no ack for chunk %1/%2").arg(block).arg(count);
                }
            }
            take(QStringLiteral("ack"), Lock::Free);
        }
        return {};
    }

    const QList<WireEvent>& events;
    qsizetype at = 0;
    bool connected;
};

} // namespace

Verdict judge(const ProtocolSequence& sequence, const QList<WireEvent>& events,
              bool connectedBefore)
{
    Follower follower(events, connectedBefore);
    Verdict verdict;
    try {
        verdict.succeeds = follower.follow(sequence);
        follower.end();
    } catch (const QString& complaint) {
        verdict.complaint = complaint;
    }
    verdict.text = follower.text;
    verdict.answers = follower.answers;
    return verdict;
}

} // namespace tavik::tests
