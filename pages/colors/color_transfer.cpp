// SPDX-License-Identifier: MIT
#include "pages/colors/color_transfer.h"

#include "device/command_session.h"
#include "pages/parts/lighting_command.h"

#include <algorithm>
#include <tuple>

namespace tavik {

namespace {

constexpr std::size_t bytesPerRecord = 4;
static_assert(transferSize == layerSize * bytesPerRecord);

// The first byte of the first answer is no part of the bank.
constexpr std::size_t bankOffset = 1;
static_assert(bankOffset + colorBankSize <= transferSize);

Report bankHeader(CommandCode code)
{
    return commandReport(code, 0, slicesPerTransfer);
}

} // namespace

TransferImage colorBankImage(const ColorBank& bank)
{
    TransferImage image{};
    for (std::size_t key = 0; key < layerSize; ++key) {
        const KeyColor color = colorOf(bank, key);
        std::uint8_t* record = image.data() + bytesPerRecord * key;
        record[0] = static_cast<std::uint8_t>(key);
        record[1] = color.red;
        record[2] = color.green;
        record[3] = color.blue;
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
    CommandSession session(Device::instance(), SessionFlag::Zero);
    return session.open() &&
           session.command(bankHeader(CommandCode::WriteColorBank),
                           QStringLiteral("RGB bank rejected (status %1)")) &&
           session.sendChunks(image) && session.commit() && session.finish();
}

// Reading needs no session: the keyboard answers the header itself with the first piece of the bank
// and each empty report with the next one, and there is no acknowledgement to check.
std::optional<ColorBank> readColorBank()
{
    CommandSession session(Device::instance(), SessionFlag::Zero);
    if (!session.connectKeyboard())
        return std::nullopt;

    ColorBankAnswers answers{};
    answers.front() = bankHeader(CommandCode::ReadColorBank);
    for (Report& report : answers) {
        if (!session.exchange(report))
            return std::nullopt;
    }
    // Ends the reading. The bank is complete by now, whatever becomes of this report.
    Report ending = commandReport(CommandCode::Commit);
    std::ignore = session.exchange(ending);
    return colorBankFromAnswers(answers);
}

} // namespace tavik
