// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace tavik {

// The macro space as it is sent: padded with zeros to whole reports, then the two bytes of the end
// marker.
[[nodiscard]] QByteArray macroTransferBuffer(const QByteArray& image);

// How many data reports the keyboard is told to expect for an image of this many bytes (up to
// 3072). One more than come: the one with the end marker is counted but not sent.
[[nodiscard]] int announcedMacroReports(qsizetype imageSize);

// Replaces the whole macro space of the keyboard by this image, opening the keyboard when needed;
// takes one to five seconds. False leaves the reason in the device's last error; a FINISH that
// fails on the way out replaces it. Locks the device itself, letting go once on the way.
[[nodiscard]] bool writeMacroSpace(const QByteArray& image);

} // namespace tavik
