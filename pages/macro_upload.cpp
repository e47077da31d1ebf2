#include "pages/macro_upload.h"

#include "device/device.h"
#include "device/pause.h"

#include <QMutexLocker>
#include <QScopeGuard>

#include <algorithm>
#include <tuple>

using namespace std::chrono_literals;

namespace tavik {

namespace {

constexpr std::uint8_t macroSessionFlag = 1;
constexpr auto pauseBetweenPieces = 2ms;
constexpr auto pauseBeforeCommit = 30ms;

constexpr qsizetype pieceSize = reportSize;
constexpr qsizetype smallestImage = 400;

constexpr qsizetype piecesFor(qsizetype byteCount)
{
    return (byteCount + pieceSize - 1) / pieceSize;
}

Report pieceAt(const QByteArray& buffer, qsizetype piece)
{
    Report report{};
    std::copy_n(buffer.begin() + piece * pieceSize, pieceSize, report.begin());
    return report;
}

// Opens the session and has the keyboard expect macros; the session stays open when that went well.
bool startMacroSession()
{
    Device& device = Device::instance();
    const QMutexLocker lock(&device.mutex);
    if (!device.ensureOpen())
        return false;

    // Armed before the session opens: the keyboard wants its FINISH after a refusal, too.
    auto closing = qScopeGuard([&device] { std::ignore = device.finish(macroSessionFlag); });
    const QString rejection = QStringLiteral("Macro session rejected (status %1)");
    if (!device.openSession(macroSessionFlag) ||
        !device.command(commandReport(CommandCode::MacroSession), rejection))
        return false;
    closing.dismiss();
    return true;
}

// The keyboard takes the number of reports without an acknowledgement worth checking.
bool announceMacroData(qsizetype imageSize)
{
    Report report = commandReport(CommandCode::MacroData, 0,
                                  static_cast<std::uint16_t>(announcedMacroReports(imageSize)));
    return Device::instance().exchange(report);
}

// Sends the whole reports of the buffer; the end marker behind them stays here.
bool sendPieces(const QByteArray& buffer)
{
    const qsizetype pieceCount = buffer.size() / pieceSize;
    for (qsizetype piece = 0; piece < pieceCount; ++piece) {
        if (piece > 0)
            pause(pauseBetweenPieces);
        if (!Device::instance().sendSlice(pieceAt(buffer, piece)))
            return false;
    }
    return true;
}

// Goes on in the open session under a lock of its own.
bool sendMacroData(const QByteArray& image)
{
    const QByteArray buffer = macroTransferBuffer(image);
    Device& device = Device::instance();
    const QMutexLocker lock(&device.mutex);
    if (!device.ensureOpen())
        return false;

    auto closing = qScopeGuard([&device] { std::ignore = device.finish(macroSessionFlag); });
    if (!announceMacroData(image.size()) || !sendPieces(buffer))
        return false;
    pause(pauseBeforeCommit);
    if (!device.commit(QStringLiteral("Macro COMMIT rejected (status %1)")))
        return false;
    closing.dismiss();
    return device.finish(macroSessionFlag);
}

} // namespace

QByteArray macroTransferBuffer(const QByteArray& image)
{
    QByteArray buffer = image;
    buffer.resize(piecesFor(image.size()) * pieceSize, '\0');
    buffer.append(static_cast<char>(markerFirst));
    buffer.append(static_cast<char>(markerSecond));
    return buffer;
}

int announcedMacroReports(qsizetype imageSize)
{
    return static_cast<int>(piecesFor(std::max(imageSize, smallestImage))) + 1;
}

// The lock is let go between the two commands; the keyboard keeps the session open meanwhile.
bool writeMacroSpace(const QByteArray& image)
{
    return startMacroSession() && sendMacroData(image);
}

} // namespace tavik
