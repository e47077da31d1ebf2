// SPDX-License-Identifier: MIT
#include "device/pause.h"
#include "model/macro_record.h"
#include "pages/colors/color_transfer.h"
#include "pages/keys/layer_write.h"
#include "pages/macros/macro_upload.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_transfer.h"
#include "tests/bench/comparison.h"
#include "tests/support/bus_view.h"

#include <numeric>

namespace tavik {

// The pause of the program under another name, since the virtual bus takes the place of the one
// that the device link calls.
void programPause(std::chrono::milliseconds duration);

} // namespace tavik

namespace tavik::bench {

namespace {

using Milliseconds = std::chrono::milliseconds;
using Operation = std::function<bool()>;

void waitReally()
{
    tests::bus().setClock(
        [] { return Milliseconds(static_cast<Milliseconds::rep>(machineTime())); }, programPause);
}

QList<Milliseconds> waitsOf(const Operation& operation)
{
    tests::bus().reset();
    require(operation(), "the keyboard does not take it");
    QList<Milliseconds> waits;
    for (const QString& line : tests::busTrace()) {
        if (line.startsWith("wait "))
            waits += Milliseconds(line.mid(5).toInt());
    }
    return waits;
}

QByteArray fullMacroSpace()
{
    MacroRecord macro{{}, QList<MacroAction>(768, MacroAction{10, 4, 0xB0})};
    std::optional<QByteArray> image;
    while (!(image = encodeMacroSpace({macro})))
        macro.actions.removeLast();
    return *image;
}

Comparison onTheWire(const QString& name, const Operation& operation, bool takesTime)
{
    const QList<Milliseconds> waits = waitsOf(operation);
    const double sum =
        static_cast<double>(std::accumulate(waits.begin(), waits.end(), Milliseconds()).count());
    return {{{name + " / stated waits", "ms", Goal{1.02, 0}}, {name + " / bare sleeps", "ms", {}}},
            3,
            [=] {
                if (takesTime)
                    waitReally();
                tests::bus().clearTrace();
                const double time =
                    elapsedTime([&] { require(operation(), "the keyboard does not take it"); });
                return QList{time, time};
            },
            [=] {
                return QList{sum, elapsedTime([&] {
                                 for (const Milliseconds wait : waits)
                                     pause(wait);
                             })};
            }};
}

} // namespace

QList<Comparison> wireComparisons(Effort effort)
{
    const bool isFull = effort == Effort::Full;
    const QByteArray macros = fullMacroSpace();
    QImage picture(screenSize, QImage::Format_RGB32);
    picture.fill(Qt::darkCyan);
    const ScreenStream stream = buildScreenStream(QList<ScreenFrame>(30, {picture, 100}));
    // In a smoke run only the last one takes its time.
    return {onTheWire(
                "bank write", [] { return writeColorBank({}); }, isFull),
            onTheWire(
                "bank read", [] { return readColorBank().has_value(); }, isFull),
            onTheWire(
                "macro upload", [=] { return writeMacroSpace(macros); }, isFull),
            onTheWire(
                "screen upload", [=] { return sendToScreen(stream, 1, [](const QString&) {}).ok; },
                isFull),
            onTheWire(
                "layer write", [] { return writeLayer(LayerId::Base, {}); }, true)};
}

} // namespace tavik::bench
