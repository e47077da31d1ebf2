// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QSize>
#include <QString>

namespace tavik {

// Load a picture of the skin; null when it is missing or broken.
[[nodiscard]] QImage loadSkinImage(const QString& name);
[[nodiscard]] QPixmap loadSkinPixmap(const QString& name);

// Builds an icon from a horizontal strip of four frames: normal, hovered, selected, disabled. The
// strip is looked up under "icons/" first, then under its bare name. Empty when it does not load.
// On a dense screen, the strip with "@2x" or "@3x" beside it is taken; sizes stay in units.
[[nodiscard]] QIcon spriteStripIcon(const QString& name, QSize frameSize);

// Builds a 24 x 24 icon from a picture under "icons/" that turns orange while it is selected or
// checked. Empty when it does not load.
[[nodiscard]] QIcon tintedIcon(const QString& name);

// Cuts one frame out of a strip, looked up under its bare name and likewise. Empty when it does not
// load.
[[nodiscard]] QIcon frameIcon(const QString& name, int frame, QSize frameSize);

} // namespace tavik
