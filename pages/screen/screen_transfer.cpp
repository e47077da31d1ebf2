// SPDX-License-Identifier: MIT
#include "pages/screen/screen_transfer.h"

#include "device/command_session.h"

namespace tavik {

namespace {

constexpr int blocksBetweenTexts = 4;

Report uploadHeader(int slot, int blockCount)
{
    return commandReport(CommandCode::ScreenUpload, static_cast<std::uint8_t>(slot),
                         static_cast<std::uint16_t>(blockCount));
}

ScreenBlock blockAt(const ScreenStream& stream, int index)
{
    return ScreenBlock(stream.data() + static_cast<std::size_t>(index) * screenBlockSize,
                       screenBlockSize);
}

// Returns why block `number` of `count` failed, or an empty text.
QString sendBlock(ScreenLink& screen, ScreenBlock block, int number, int count)
{
    if (!screen.write(block))
        return QStringLiteral("chunk %1/%2 write failed").arg(number).arg(count);
    if (!screen.awaitAcknowledgement())
        return QStringLiteral("no ack for chunk %1/%2").arg(number).arg(count);
    return {};
}

// Sends all blocks; returns why one failed, or an empty text.
QString sendBlocks(ScreenLink& screen, const ScreenStream& stream, int count,
                   const ScreenProgress& showProgress)
{
    for (int number = 1; number <= count; ++number) {
        if (Device::isInterrupted())
            return QStringLiteral("interrupted");
        const QString error = sendBlock(screen, blockAt(stream, number - 1), number, count);
        if (!error.isEmpty())
            return error;
        if (number % blocksBetweenTexts == 1 || number == count)
            showProgress(QStringLiteral("Sending chunk %1/%2…").arg(number).arg(count));
    }
    return {};
}

// Announces, sends and commits the blocks. False leaves the reason in blockError when a block
// failed, else in the device's last error.
bool uploadBlocks(ScreenLink& screen, const ScreenStream& stream, int slot,
                  const ScreenProgress& showProgress, QString& blockError)
{
    const int count = static_cast<int>(stream.size() / screenBlockSize);
    CommandSession session(Device::instance(), SessionFlag::Zero);
    if (!session.open() ||
        !session.command(uploadHeader(slot, count), QStringLiteral("04 72 rejected (status %1)")))
        return false;
    session.unlock();
    blockError = sendBlocks(screen, stream, count, showProgress);
    if (!blockError.isEmpty()) {
        session.abandon();
        return false;
    }
    return session.commitAndEnd(QStringLiteral("TFT COMMIT rejected (status %1)"));
}

} // namespace

ScreenTransferResult sendToScreen(const ScreenStream& stream, int slot,
                                  const ScreenProgress& showProgress)
{
    Q_ASSERT(stream.size() % screenBlockSize == 0);
    Device& device = Device::instance();
    // The kernel hands acknowledgements to everybody who has the interface open: opened beside the
    // transfer of another process, it would bring along some that are not ours.
    const WireHold wire(device);
    if (!wire.isHeld())
        return {false, device.lastError};
    std::optional<ScreenLink> screen = ScreenLink::open();
    if (!screen)
        return {false, QStringLiteral("TFT interface (0xFF68/0xFF67) not found")};
    showProgress(QStringLiteral("TFT interface %1 opened…")
                     .arg(QString::number(screen->usagePage(), 16).toUpper()));

    QString blockError;
    if (device.refresh() && uploadBlocks(*screen, stream, slot, showProgress, blockError))
        return {true, {}};
    return {false, blockError.isEmpty() ? device.lastError : blockError};
}

} // namespace tavik
