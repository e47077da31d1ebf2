#include "pages/screen_transfer.h"

#include "device/device.h"

#include <QMutexLocker>
#include <QScopeGuard>

#include <algorithm>
#include <array>
#include <tuple>

namespace tavik {

namespace {

// In the order in which they are tried.
constexpr std::array<std::uint16_t, 2> screenUsagePages{0xFF68, 0xFF67};

constexpr std::uint8_t screenSessionFlag = 0;
constexpr int acknowledgementTimeoutMs = 1000;
constexpr int blocksBetweenTexts = 4;

struct ScreenInterface
{
    HidHandle handle; // null when the keyboard offers none
    std::uint16_t usagePage = 0;
};

ScreenInterface openScreenInterface()
{
    for (const std::uint16_t usagePage : screenUsagePages) {
        for (const std::uint16_t productId : keyboardProductIds) {
            HidInterface found = openHidInterface(productId, usagePage);
            if (found.handle)
                return {std::move(found.handle), usagePage};
        }
    }
    return {};
}

// Opens the session and announces the blocks; the session stays open when that went well.
bool startUpload(int slot, int blockCount)
{
    Device& device = Device::instance();
    const QMutexLocker lock(&device.mutex);
    if (!device.ensureOpen())
        return false;

    // Armed before the session opens: the keyboard wants its FINISH after a refusal, too.
    auto closing = qScopeGuard([&device] { std::ignore = device.finish(screenSessionFlag); });
    const Report header = commandReport(CommandCode::ScreenUpload, static_cast<std::uint8_t>(slot),
                                        static_cast<std::uint16_t>(blockCount));
    const QString rejection = QStringLiteral("04 72 rejected (status %1)");
    if (!device.openSession(screenSessionFlag) || !device.command(header, rejection))
        return false;
    closing.dismiss();
    return true;
}

// Returns why block `number` of `count` failed, or an empty text.
QString sendBlock(hid_device* screen, const std::uint8_t* block, int number, int count)
{
    std::array<std::uint8_t, 1 + screenBlockSize> buffer{}; // report id 0 in front
    std::copy_n(block, screenBlockSize, buffer.begin() + 1);
    if (hid_write(screen, buffer.data(), buffer.size()) != static_cast<int>(buffer.size()))
        return QStringLiteral("chunk %1/%2 write failed").arg(number).arg(count);

    // That an answer comes is all the keyboard says; its contents have no known meaning.
    Report acknowledgement{};
    if (hid_read_timeout(screen, acknowledgement.data(), acknowledgement.size(),
                         acknowledgementTimeoutMs) < 1)
        return QStringLiteral("no ack for chunk %1/%2").arg(number).arg(count);
    return {};
}

// Sends all blocks; returns why one failed, or an empty text.
QString sendBlocks(hid_device* screen, const ScreenStream& stream, int count,
                   const ScreenProgress& showProgress)
{
    const std::uint8_t* block = stream.data();
    for (int number = 1; number <= count; ++number, block += screenBlockSize) {
        const QString error = sendBlock(screen, block, number, count);
        if (!error.isEmpty())
            return error;
        if (number % blocksBetweenTexts == 1 || number == count)
            showProgress(QStringLiteral("Sending chunk %1/%2…").arg(number).arg(count));
    }
    return {};
}

// Closes the session after blocks that failed. Their text is the result whatever comes of this, so
// the answer is not looked at.
void abandonUpload()
{
    Device& device = Device::instance();
    const QMutexLocker lock(&device.mutex);
    Report report = commandReport(CommandCode::Finish, 0, screenSessionFlag);
    std::ignore = device.exchange(report);
}

// Makes the keyboard show what it was sent. An accepted COMMIT ends this session by itself: only a
// failed one is followed by a FINISH.
bool commitUpload()
{
    Device& device = Device::instance();
    const QMutexLocker lock(&device.mutex);
    if (device.commit(QStringLiteral("TFT COMMIT rejected (status %1)")))
        return true;
    std::ignore = device.finish(screenSessionFlag);
    return false;
}

} // namespace

ScreenTransferResult sendToScreen(const ScreenStream& stream, int slot,
                                  const ScreenProgress& showProgress)
{
    Q_ASSERT(stream.size() % screenBlockSize == 0);
    const int blockCount = static_cast<int>(stream.size() / screenBlockSize);

    const ScreenInterface screen = openScreenInterface();
    if (!screen.handle)
        return {false, QStringLiteral("TFT interface (0xFF68/0xFF67) not found")};
    showProgress(QStringLiteral("TFT interface %1 opened…")
                     .arg(QString::number(screen.usagePage, 16).toUpper()));

    Device& device = Device::instance();
    if (!device.refresh() || !startUpload(slot, blockCount))
        return {false, device.lastError};
    const QString blockError = sendBlocks(screen.handle.get(), stream, blockCount, showProgress);
    if (!blockError.isEmpty()) {
        abandonUpload();
        return {false, blockError};
    }
    if (!commitUpload())
        return {false, device.lastError};
    return {true, {}};
}

} // namespace tavik
