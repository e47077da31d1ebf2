// SPDX-License-Identifier: MIT
#pragma once

#include "device/screen_link.h"

#include <QStringList>

namespace tavik {

// The one function of the module that reads pictures. It lies apart, because reading pictures takes
// Qt Gui, and that the libraries of a display: a machine without them has the other commands.
//
// Makes the stream of all pictures in the files; an empty stream when there are none or too many,
// and then a reason for the user. The notes tell of files of which only the first pictures are
// taken.
inline constexpr const char* pictureReaderName = "tavikReadPictures";
using PictureReader = void (*)(const QStringList& paths, ScreenStream& stream, QString& reason,
                               QStringList& notes);

} // namespace tavik
