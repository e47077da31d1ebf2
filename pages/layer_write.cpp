#include "pages/layer_write.h"

#include "device/device.h"

#include <QMutexLocker>
#include <QScopeGuard>

#include <tuple>

namespace tavik {

namespace {

constexpr std::size_t bytesPerKey = 4;
static_assert(layerSize * bytesPerKey == transferSize);

constexpr std::uint8_t layerSessionFlag = 1;

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
    Device& device = Device::instance();
    const QMutexLocker lock(&device.mutex);
    if (!device.ensureOpen())
        return false;

    // Armed before the session opens: the keyboard wants its FINISH after a refusal, too.
    auto closing = qScopeGuard([&device] { std::ignore = device.finish(layerSessionFlag); });
    const QString rejection = QStringLiteral("Keymap command rejected (status %1)");
    if (!device.openSession(layerSessionFlag) || !device.command(layerHeader(id), rejection))
        return false;
    if (!device.sendChunks(image) || !device.commit())
        return false;
    closing.dismiss();
    return device.finish(layerSessionFlag);
}

} // namespace tavik
