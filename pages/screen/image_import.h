// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QStringList>

namespace tavik {

// The keyboard's screen, in pixels.
inline constexpr QSize screenSize(128, 128);

// How many pictures one slot of the keyboard holds.
inline constexpr qsizetype screenFrameLimit = 30;

// One picture of an animation.
struct ScreenFrame
{
    QImage image;    // screenSize; transparent parts are black to the keyboard
    int delayMs = 0; // how long it stays, 20 to 1275 when imported
};

// Reads pictures and animations, in the order of the paths, each stretched to the screen's size.
// A file gives at most 30 frames, and once 30 are there no further file is read: the list may thus
// hold up to 59. A file that cannot be read, or not within some seconds and 300 MB, gives no
// frames, an animation those before its fault. Takes no lock.
// Sets how much memory the JPEG library may use, through its environment variable. The outcomes are
// a line for each path that says what became of it, and one for all that were not read any more.
[[nodiscard]] QList<ScreenFrame> importImages(const QStringList& paths,
                                              QStringList* outcomes = nullptr);

// The pictures in the content of one such file, with the same limits.
[[nodiscard]] QList<ScreenFrame> importContent(const QByteArray& content);

} // namespace tavik
