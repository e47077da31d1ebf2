// SPDX-License-Identifier: MIT
#pragma once

#include "app/skin/skin_picture.h"

#include <QImage>
#include <QList>
#include <QString>

namespace tavik {

// Saves the picture as PNG and creates its directory. A failure ends the generator.
void savePicture(const QImage& picture, const QString& path);

// Puts the picture at these sizes into the file, too, scaled as the program would scale it.
void savePrepared(const QImage& picture, const QString& path, SkinPicture::Scaling scaling,
                  const QList<QSize>& sizes);

} // namespace tavik
