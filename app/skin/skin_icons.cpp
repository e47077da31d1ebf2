// SPDX-License-Identifier: MIT
#include "app/skin/skin_icons.h"

#include "app/skin/skin_files.h"
#include "files/shared_place.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tavik {

namespace {

constexpr QSize tintedIconSize(24, 24);
constexpr QColor tint(0xE7, 0x7A, 0x19);

enum StripFrame { NormalFrame, HoveredFrame, SelectedFrame, DisabledFrame };

constexpr double densestStrip = 3; // pixels per unit

// The strip in the file, or the one beside it that is made for the pixels of the densest screen.
QPixmap loadStrip(const QString& path)
{
    if (path.isEmpty())
        return {};
    int density = static_cast<int>(std::ceil(std::min(qGuiApp->devicePixelRatio(), densestStrip)));
    for (; density > 1; --density) {
        const QString dense = densePictureName(path, density);
        QImage strip = isTrustedPath(dense) ? decodeSkinImage(readSkinFile(dense)) : QImage();
        if (!strip.isNull()) {
            strip.setDevicePixelRatio(density);
            return QPixmap::fromImage(strip);
        }
    }
    return QPixmap::fromImage(decodeSkinImage(readSkinFile(path)));
}

QPixmap stripFrame(const QPixmap& strip, int frame, QSize size)
{
    const QSize pixels = size * strip.devicePixelRatio();
    return strip.copy(QRect(QPoint(frame * pixels.width(), 0), pixels));
}

QImage tinted(const QImage& image)
{
    QImage result = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(result.rect(), tint);
    return result;
}

// Scaled for the screen's pixel ratio, so that the icon stays sharp on dense screens.
QPixmap tintedIconPixmap(const QImage& image)
{
    const qreal pixelRatio = qGuiApp->devicePixelRatio();
    QPixmap pixmap = QPixmap::fromImage(
        image.scaled(tintedIconSize * pixelRatio, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(pixelRatio);
    return pixmap;
}

} // namespace

QImage loadSkinImage(const QString& name)
{
    return decodeSkinImage(readSkinFile(resolveSkinFile(name)));
}

QPixmap loadSkinPixmap(const QString& name)
{
    return QPixmap::fromImage(loadSkinImage(name));
}

QIcon spriteStripIcon(const QString& name, QSize frameSize)
{
    const QString prefixed = resolveSkinFile(QStringLiteral("icons/") + name);
    const QPixmap strip = loadStrip(prefixed.isEmpty() ? resolveSkinFile(name) : prefixed);
    if (strip.isNull())
        return {};

    const auto frame = [&](StripFrame index) { return stripFrame(strip, index, frameSize); };
    QIcon icon;
    icon.addPixmap(frame(NormalFrame), QIcon::Normal, QIcon::Off);
    icon.addPixmap(frame(HoveredFrame), QIcon::Active, QIcon::Off);
    icon.addPixmap(frame(SelectedFrame), QIcon::Selected, QIcon::Off);
    icon.addPixmap(frame(SelectedFrame), QIcon::Normal, QIcon::On);
    icon.addPixmap(frame(DisabledFrame), QIcon::Disabled, QIcon::Off);
    return icon;
}

QIcon tintedIcon(const QString& name)
{
    const QImage image = loadSkinImage(QStringLiteral("icons/") + name);
    if (image.isNull())
        return {};

    const QPixmap plainPixmap = tintedIconPixmap(image);
    const QPixmap tintedPixmap = tintedIconPixmap(tinted(image));
    QIcon icon;
    icon.addPixmap(plainPixmap, QIcon::Normal, QIcon::Off);
    icon.addPixmap(tintedPixmap, QIcon::Normal, QIcon::On);
    icon.addPixmap(tintedPixmap, QIcon::Selected, QIcon::Off);
    return icon;
}

QIcon frameIcon(const QString& name, int frame, QSize frameSize)
{
    const QPixmap strip = loadStrip(resolveSkinFile(name));
    if (strip.isNull())
        return {};
    return QIcon(stripFrame(strip, frame, frameSize));
}

} // namespace tavik
