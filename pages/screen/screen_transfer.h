// SPDX-License-Identifier: MIT
#pragma once

#include "device/screen_link.h"

#include <QString>

#include <functional>

namespace tavik {

struct ScreenTransferResult
{
    bool ok = false;
    QString error; // why not, ready to be shown
};

// Called with a text to be shown now; the calling thread stays busy until the transfer ends.
using ScreenProgress = std::function<void(const QString& text)>;

// Sends the stream into one of the keyboard's screen slots (1 to 3), over an interface of its own
// that is opened for it, and makes the keyboard take it over. Takes seconds. Locks the device
// itself, but not while the blocks travel. GUI thread only.
[[nodiscard]] ScreenTransferResult sendToScreen(const ScreenStream& stream, int slot,
                                                const ScreenProgress& showProgress);

} // namespace tavik
