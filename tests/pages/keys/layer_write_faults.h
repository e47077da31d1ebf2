#pragma once

#include "virtual_keyboard/virtual_bus.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QTest>

namespace tavik::tests {

// The reports of a layer write that goes well, in order: session open, header, nine slices, COMMIT,
// FINISH. The slices stand here for themselves; what they carry is another test's question.
inline constexpr int openStep = 1;
inline constexpr int headerStep = 2;
inline constexpr int firstSliceStep = 3;
inline constexpr int lastSliceStep = 11;
inline constexpr int commitStep = 12;
inline constexpr int finishStep = 13;
inline constexpr int attemptsPerStep = 10;

// One way in which a layer write fails: what goes wrong at which step, the steps whose reports
// reach the keyboard all the same, and the text that is left.
struct LayerWriteFault
{
    QByteArray name;
    int step = 0;
    virtual_keyboard::Fault fault;
    int times = 1;
    QList<int> reportSteps;
    QString text;
};

namespace layer_write_faults {

using virtual_keyboard::Fault;

// The steps before the failing one, as often as it got through itself, then the closing FINISH.
inline QList<int> stepsUntil(int step, int arrivals)
{
    QList<int> steps;
    for (int done = openStep; done < step; ++done)
        steps += done;
    steps += QList<int>(arrivals, step);
    if (step != finishStep)
        steps += finishStep;
    return steps;
}

inline void addAnswers(QList<LayerWriteFault>& faults, int step, const QByteArray& stepName,
                       const QString& rejection)
{
    using namespace virtual_keyboard;
    const QList<int> steps = stepsUntil(step, 1);
    faults += {stepName + " rejected", step, answerStatus(5), 1, steps, rejection.arg(u"05")};
    faults += {stepName + " busy", step, busy(), 1, steps, rejection.arg(u"ff")};
    faults += {stepName + " unanswered", step, emptyAnswer(), 1, steps, rejection.arg(u"00")};
    faults += {stepName + " wrong echo", step, wrongEcho(), 1, steps, rejection.arg(u"01")};
}

inline void addTransport(QList<LayerWriteFault>& faults, int step, const QByteArray& stepName,
                         int times)
{
    using namespace virtual_keyboard;
    faults +=
        {stepName + " not sent",      step, sendError("send broke"), times, stepsUntil(step, 0),
         QStringLiteral("send broke")};
    faults +=
        {stepName + " not read",      step, readError("read broke"), times, stepsUntil(step, times),
         QStringLiteral("read broke")};
}

} // namespace layer_write_faults

// Every exchange of the write with everything that can go wrong in it.
inline QList<LayerWriteFault> allLayerWriteFaults()
{
    using namespace layer_write_faults;
    const QString refusal = QStringLiteral("Keyboard refuses to open a session (busy?)");
    QList<LayerWriteFault> faults;
    faults += {"session busy",
               openStep,
               virtual_keyboard::busy(),
               attemptsPerStep,
               stepsUntil(openStep, attemptsPerStep),
               refusal};
    faults += {"session unanswered",
               openStep,
               virtual_keyboard::emptyAnswer(),
               attemptsPerStep,
               stepsUntil(openStep, attemptsPerStep),
               refusal};
    addTransport(faults, openStep, "session", 1);
    addTransport(faults, headerStep, "header", 1);
    addAnswers(faults, headerStep, "header", QStringLiteral("Keymap command rejected (status %1)"));
    for (int step = firstSliceStep; step <= lastSliceStep; ++step)
        addTransport(faults, step, "slice " + QByteArray::number(step - headerStep),
                     attemptsPerStep);
    addTransport(faults, commitStep, "COMMIT", 1);
    addAnswers(faults, commitStep, "COMMIT", QStringLiteral("COMMIT rejected (status %1)"));
    addTransport(faults, finishStep, "FINISH", 1);
    addAnswers(faults, finishStep, "FINISH", QStringLiteral("FINISH rejected (status %1)"));
    return faults;
}

// One data row for each fault up to the step; "row" is its place in the list above.
inline void layerWriteFaultRows(int lastStep = finishStep)
{
    QTest::addColumn<int>("row");
    int row = 0;
    for (const LayerWriteFault& fault : allLayerWriteFaults()) {
        if (fault.step <= lastStep)
            QTest::newRow(fault.name.constData()) << row;
        ++row;
    }
}

} // namespace tavik::tests
