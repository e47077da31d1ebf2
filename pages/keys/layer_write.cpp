// SPDX-License-Identifier: MIT
#include "pages/keys/layer_write.h"

#include "device/command_session.h"

namespace tavik {

namespace {

constexpr std::size_t bytesPerKey = 4;
static_assert(layerSize * bytesPerKey == transferSize);

Report layerHeader(LayerId id)
{
    const CommandCode code =
        id == LayerId::Base ? CommandCode::WriteBaseLayer : CommandCode::WriteFnLayer;
    return commandReport(code, 0, slicesPerTransfer);
}

} // namespace

TransferImage layerImage(const KeyLayer& layer)
{
    TransferImage image{};
    auto next = image.begin();
    for (const KeyAction& action : layer) {
        for (const std::uint8_t byte : {action.page, action.p1, action.p2, action.p3})
            *next++ = byte;
    }
    image[transferSize - 2] = markerFirst;
    image[transferSize - 1] = markerSecond;
    return image;
}

bool writeLayer(LayerId id, const KeyLayer& layer)
{
    const TransferImage image = layerImage(layer);
    CommandSession session(Device::instance(), SessionFlag::One);
    return session.open() &&
           session.command(layerHeader(id),
                           QStringLiteral("Keymap command rejected (status %1)")) &&
           session.sendChunks(image) && session.commit() && session.finish();
}

} // namespace tavik
