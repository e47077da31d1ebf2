// SPDX-License-Identifier: MIT
#include "device/device.h"

#include "device/keyboard_identity.h"
#include "device/pause.h"
#include "device/rehearsal.h"
#include "device/wire_lock.h"

#include <QMutexLocker>
#include <hidapi.h>

#include <algorithm>

using namespace std::chrono_literals;

namespace tavik {

namespace {

constexpr int attemptsPerSlice = 10;

// The firmware handles one report at a time and answers late; these waits are its protocol.
constexpr auto pauseBeforeSend = 35ms;
constexpr auto pauseBeforeRead = 50ms;
constexpr auto pauseAfterSlice = 2ms;

// hidraw wants the report id in front; the keyboard's reports have id 0.
constexpr std::size_t bufferSize = 1 + reportSize;
using Buffer = std::array<std::uint8_t, bufferSize>;

} // namespace

Device& Device::instance()
{
    static Device device;
    return device;
}

Device::Device() = default;

Device::~Device()
{
    const QMutexLocker lock(&mutex);
    if (handle) {
        handle.reset();
        path.clear();
        emit connectedChanged(false);
    }
    hid_exit();
}

bool Device::isOpen() const
{
    return handle != nullptr || rehearsal();
}

bool Device::ensureOpen()
{
    if (isOpen())
        return true;
    if (hid_init() < 0) {
        lastError = QStringLiteral("hid_init failed");
        return false;
    }
    return findAndOpen();
}

bool Device::refresh()
{
    const QMutexLocker lock(&mutex);
    if (!ensureOpen())
        return false;
    emit connectedChanged(true);
    return true;
}

bool Device::findAndOpen()
{
    for (const std::uint16_t productId : keyboardProductIds) {
        HidInterface found = openHidInterface(productId, configurationUsagePage);
        if (!found.handle)
            continue;
        handle = std::move(found.handle);
        path = found.path;
        emit connectedChanged(true);
        return true;
    }
    lastError = QStringLiteral(
        "Keyboard not found (vendor interface 0xFF13). Plug the USB-C cable (wired mode).");
    hid_exit();
    return false;
}

bool Device::exchange(Report& report)
{
    if (isInterrupted() && report != commandReport(CommandCode::Finish, 0, report[8])) {
        lastError = interruptedText();
        return false;
    }
    if (const ReportViewer& show = rehearsal()) {
        show(report);
        report = acceptedAnswer(report);
        return true;
    }
    if (!isOpen()) {
        lastError = QStringLiteral("not connected");
        return false;
    }
    Buffer output{};
    std::copy(report.begin(), report.end(), output.begin() + 1);
    pause(pauseBeforeSend);
    if (hid_send_feature_report(handle.get(), output.data(), output.size()) < 0)
        return failWithTransportText();

    Buffer input{}; // its first byte asks for report id 0
    pause(pauseBeforeRead);
    if (hid_get_feature_report(handle.get(), input.data(), input.size()) < 0)
        return failWithTransportText();
    std::copy(input.begin() + 1, input.end(), report.begin());
    return true;
}

bool Device::sendSlice(const Report& slice)
{
    for (int attempt = 0; attempt < attemptsPerSlice; ++attempt) {
        Report report = slice;
        if (exchange(report))
            return true;
    }
    return false;
}

bool Device::sendChunks(const TransferImage& data)
{
    for (std::size_t offset = 0; offset < data.size(); offset += reportSize) {
        Report slice{};
        std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(offset), reportSize, slice.begin());
        if (!sendSlice(slice))
            return false;
        pause(pauseAfterSlice);
    }
    return true;
}

QString Device::interruptedText()
{
    return QStringLiteral("interrupted");
}

bool Device::failWithTransportText()
{
    lastError = QString::fromWCharArray(hid_error(handle.get()));
    return false;
}

} // namespace tavik
