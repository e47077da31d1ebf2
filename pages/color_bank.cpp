#include "pages/color_bank.h"

#include "device/device.h"
#include "pages/lighting_command.h"

#include <QMutexLocker>
#include <QScopeGuard>

#include <algorithm>
#include <tuple>

namespace tavik {

namespace {

constexpr std::size_t bytesPerColor = 3;
constexpr std::size_t bytesPerRecord = 4;
static_assert(colorBankSize == layerSize * bytesPerColor);
static_assert(transferSize == layerSize * bytesPerRecord);

// The first byte of the first answer is no part of the bank.
constexpr std::size_t bankOffset = 1;
static_assert(bankOffset + colorBankSize <= transferSize);

// The keyboard wants this session opened and closed with 0, as that of its screen; its other
// commands use 1.
constexpr std::uint8_t bankSessionFlag = 0;

Report bankHeader(CommandCode code)
{
    return commandReport(code, 0, slicesPerTransfer);
}

} // namespace

TransferImage colorBankImage(const ColorBank& bank)
{
    TransferImage image{};
    for (std::size_t key = 0; key < layerSize; ++key) {
        image.at(bytesPerRecord * key) = static_cast<std::uint8_t>(key);
        for (std::size_t channel = 0; channel < bytesPerColor; ++channel)
            image.at(bytesPerRecord * key + 1 + channel) = bank.at(bytesPerColor * key + channel);
    }
    image[transferSize - 2] = markerFirst;
    image[transferSize - 1] = markerSecond;
    return image;
}

ColorBank colorBankFromAnswers(const ColorBankAnswers& answers)
{
    TransferImage stream{};
    auto next = stream.begin();
    for (const Report& answer : answers)
        next = std::copy(answer.begin(), answer.end(), next);
    ColorBank bank{};
    std::copy_n(stream.begin() + bankOffset, colorBankSize, bank.begin());
    return bank;
}

bool enableCustomColors(int brightness)
{
    Device& device = Device::instance();
    if (!device.isOpen() && !device.refresh())
        return false;
    LightingSettings settings;
    settings.effect = customColorsEffect;
    settings.brightness = brightness;
    return sendLightingMode(settings);
}

bool writeColorBank(const ColorBank& bank)
{
    const TransferImage image = colorBankImage(bank);
    Device& device = Device::instance();
    const QMutexLocker lock(&device.mutex);
    if (!device.ensureOpen())
        return false;

    // Armed before the session opens: the keyboard wants its FINISH after a refusal, too.
    auto closing = qScopeGuard([&device] { std::ignore = device.finish(bankSessionFlag); });
    const QString rejection = QStringLiteral("RGB bank rejected (status %1)");
    if (!device.openSession(bankSessionFlag) ||
        !device.command(bankHeader(CommandCode::WriteColorBank), rejection))
        return false;
    if (!device.sendChunks(image) || !device.commit())
        return false;
    closing.dismiss();
    return device.finish(bankSessionFlag);
}

// Reading needs no session: the keyboard answers the header itself with the first piece of the bank
// and each empty report with the next one, and there is no acknowledgement to check.
std::optional<ColorBank> readColorBank()
{
    Device& device = Device::instance();
    const QMutexLocker lock(&device.mutex);
    if (!device.ensureOpen())
        return std::nullopt;

    ColorBankAnswers answers{};
    answers.front() = bankHeader(CommandCode::ReadColorBank);
    for (Report& report : answers) {
        if (!device.exchange(report))
            return std::nullopt;
    }
    // Ends the reading. The bank is complete by now, whatever becomes of this report.
    Report ending = commandReport(CommandCode::Commit);
    std::ignore = device.exchange(ending);
    return colorBankFromAnswers(answers);
}

} // namespace tavik
