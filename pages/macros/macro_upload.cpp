// SPDX-License-Identifier: MIT
#include "pages/macros/macro_upload.h"

#include "device/command_session.h"
#include "device/pause.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace tavik {

namespace {

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

// The keyboard takes the number of reports without an acknowledgement worth checking.
bool announceMacroData(CommandSession& session, qsizetype imageSize)
{
    Report report = commandReport(CommandCode::MacroData, 0,
                                  static_cast<std::uint16_t>(announcedMacroReports(imageSize)));
    return session.exchange(report);
}

// Sends the whole reports of the buffer; the end marker behind them stays here.
bool sendPieces(CommandSession& session, const QByteArray& buffer)
{
    const qsizetype pieceCount = buffer.size() / pieceSize;
    for (qsizetype piece = 0; piece < pieceCount; ++piece) {
        if (piece > 0)
            pause(pauseBetweenPieces);
        if (!session.sendSlice(pieceAt(buffer, piece)))
            return false;
    }
    pause(pauseBeforeCommit);
    return true;
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

// One session carries two commands, and the keyboard keeps it open between them.
bool writeMacroSpace(const QByteArray& image)
{
    const QByteArray buffer = macroTransferBuffer(image);
    CommandSession session(Device::instance(), SessionFlag::One);
    return session.open() &&
           session.command(commandReport(CommandCode::MacroSession),
                           QStringLiteral("Macro session rejected (status %1)")) &&
           session.letOthersIn() && announceMacroData(session, image.size()) &&
           sendPieces(session, buffer) &&
           session.commit(QStringLiteral("Macro COMMIT rejected (status %1)")) && session.finish();
}

} // namespace tavik
