// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/bus_view.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QTest>

#include <span>

namespace tavik::tests {

// One exchange of a command sequence that goes well.
struct SequenceStep
{
    QByteArray name;
    QString report;    // as the bus writes it down
    QString rejection; // the text of a refused answer; empty when the answer is not checked
    int attempts = 1;  // how often the program tries to get the report through
    int pauseMs = 0;   // what the keyboard wants to wait for behind it
};

// One way in which a sequence fails: what goes wrong at which exchange, and what has to come of it.
struct SequenceFault
{
    QByteArray name;
    int exchange = 0;
    virtual_keyboard::Fault fault;
    int times = 1;
    QStringList sends; // the reports that reach the keyboard all the same
    QString text;      // the reason that is left
};

// How the bus writes down a report.
inline QString reportText(std::span<const std::uint8_t> bytes)
{
    while (bytes.size() > 1 && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    const QByteArray raw(reinterpret_cast<const char*>(bytes.data()),
                         static_cast<qsizetype>(bytes.size()));
    return QString::fromLatin1(raw.toHex(' '));
}

// The data in reports of 64 bytes, which the program tries to send ten times.
inline QList<SequenceStep> dataSteps(const QByteArray& name, std::span<const std::uint8_t> data)
{
    QList<SequenceStep> steps;
    while (!data.empty()) {
        const auto report = data.first(std::min(data.size(), std::size_t{64}));
        steps +=
            {name + ' ' + QByteArray::number(steps.size() + 1), reportText(report), QString(), 10};
        data = data.subspan(report.size());
    }
    return steps;
}

inline QStringList reportsOf(const QList<SequenceStep>& steps)
{
    QStringList reports;
    for (const SequenceStep& step : steps)
        reports += step.report;
    return reports;
}

// What the keyboard answers when all is well. Only data reports are tried more than once.
inline QString goodAnswerTo(const SequenceStep& step)
{
    const bool isCommand = step.attempts == 1 && step.report.startsWith(QStringLiteral("04 "));
    return isCommand ? step.report.left(5) + QStringLiteral(" 00 01") : QStringLiteral("00");
}

namespace sequence_faults {

// The reports before the failing exchange, as many of its own as arrived, then the closing one.
inline QStringList sendsUntil(const QList<SequenceStep>& steps, qsizetype failing, int arrivals,
                              const QString& closing)
{
    QStringList sends = reportsOf(steps.first(failing));
    sends += QList<QString>(arrivals, steps.at(failing).report);
    if (!closing.isEmpty() && failing + 1 < steps.size())
        sends += closing;
    return sends;
}

inline void addTransportFaults(QList<SequenceFault>& faults, const QList<SequenceStep>& steps,
                               qsizetype failing, const QString& closing)
{
    const SequenceStep& step = steps.at(failing);
    const int exchange = static_cast<int>(failing) + 1;
    faults += {step.name + " not sent",
               exchange,
               virtual_keyboard::sendError("send broke"),
               step.attempts,
               sendsUntil(steps, failing, 0, closing),
               QStringLiteral("send broke")};
    faults += {step.name + " not read",
               exchange,
               virtual_keyboard::readError("read broke"),
               step.attempts,
               sendsUntil(steps, failing, step.attempts, closing),
               QStringLiteral("read broke")};
}

inline void addAnswerFaults(QList<SequenceFault>& faults, const QList<SequenceStep>& steps,
                            qsizetype failing, const QString& closing)
{
    using namespace virtual_keyboard;
    const SequenceStep& step = steps.at(failing);
    const int exchange = static_cast<int>(failing) + 1;
    const QStringList sends = sendsUntil(steps, failing, 1, closing);
    const auto add = [&](const char* what, const Fault& fault, const char* status) {
        faults += {
            step.name + what, exchange, fault, 1, sends, step.rejection.arg(QLatin1String(status))};
    };
    add(" rejected", answerStatus(5), "05");
    add(" busy", busy(), "ff");
    add(" unanswered", emptyAnswer(), "00");
    add(" wrong echo", wrongEcho(), "01");
}

inline void addOpenFaults(QList<SequenceFault>& faults, const QList<SequenceStep>& steps,
                          const QString& closing)
{
    constexpr int attempts = 10;
    const QStringList sends = sendsUntil(steps, 0, attempts, closing);
    const QString text = QStringLiteral("Keyboard refuses to open a session (busy?)");
    faults += {"session busy", 1, virtual_keyboard::busy(), attempts, sends, text};
    faults += {"session unanswered", 1, virtual_keyboard::emptyAnswer(), attempts, sends, text};
}

} // namespace sequence_faults

// Everything that can go wrong in a sequence with a session, which starts with the session open and
// ends with the FINISH that also closes every failure.
inline QList<SequenceFault> faultsOfSession(const QList<SequenceStep>& steps)
{
    using namespace sequence_faults;
    const QString closing = steps.last().report;
    QList<SequenceFault> faults;
    addOpenFaults(faults, steps, closing);
    for (qsizetype step = 0; step < steps.size(); ++step) {
        addTransportFaults(faults, steps, step, closing);
        if (!steps.at(step).rejection.isEmpty())
            addAnswerFaults(faults, steps, step, closing);
    }
    return faults;
}

// Everything that can go wrong in bare exchanges, which simply end with a failure.
inline QList<SequenceFault> faultsOfExchanges(const QList<SequenceStep>& steps)
{
    QList<SequenceFault> faults;
    for (qsizetype step = 0; step < steps.size(); ++step)
        sequence_faults::addTransportFaults(faults, steps, step, QString());
    return faults;
}

// One data row "fault" for each.
inline void addFaultRows(const QList<SequenceFault>& faults)
{
    QTest::addColumn<SequenceFault>("fault");
    for (const SequenceFault& fault : faults)
        QTest::newRow(fault.name.constData()) << fault;
}

inline void arrange(const SequenceFault& fault)
{
    bus().failAt(fault.exchange, fault.fault, fault.times);
}

// What one exchange that goes well leaves in the trace.
inline QStringList exchangeTrace(const SequenceStep& step)
{
    return {QStringLiteral("wait 35"), QStringLiteral("send ") + step.report,
            QStringLiteral("wait 50"), QStringLiteral("read ") + goodAnswerTo(step)};
}

} // namespace tavik::tests

Q_DECLARE_METATYPE(tavik::tests::SequenceFault)
