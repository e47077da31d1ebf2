// SPDX-License-Identifier: MIT
#pragma once

#include "device/command_report.h"
#include "model/key_action.h"

namespace tavik {

// The two layers of the keyboard: what its keys do, and what they do while Fn is held.
enum class LayerId { Base = 0, Fn = 1 };

// The layer as the keyboard takes it: four bytes for each key in index order. The last two bytes,
// p2 and p3 of key 143, are always the end marker.
[[nodiscard]] TransferImage layerImage(const KeyLayer& layer);

// Writes all 144 keys of the layer to the keyboard, opening it when needed; takes more than a
// second. False leaves the reason in the device's last error; a FINISH that fails on the way out
// replaces it. Locks the device itself for the whole sequence.
[[nodiscard]] bool writeLayer(LayerId id, const KeyLayer& layer);

} // namespace tavik
