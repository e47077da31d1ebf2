// SPDX-License-Identifier: MIT
#pragma once

#include "pages/keys/layer_write.h"
#include "tests/support/sequence_faults.h"

namespace tavik::tests {

// The exchanges of a layer write, counted from 1.
inline constexpr int openExchange = 1;
inline constexpr int headerExchange = 2;
inline constexpr int firstSliceExchange = 3;
inline constexpr int commitExchange = 12;
inline constexpr int finishExchange = 13;

// The thirteen reports of the write as they go over the wire.
inline QList<SequenceStep> layerWriteSteps(LayerId id, const KeyLayer& layer)
{
    std::vector<std::uint8_t> image;
    for (const KeyAction& action : layer)
        image.insert(image.end(), {action.page, action.p1, action.p2, action.p3});
    image.at(574) = 0xAA;
    image.at(575) = 0x55;

    QList<SequenceStep> steps{
        {"session", "04 18 00 00 00 00 00 00 01", QString()},
        {"header",
         id == LayerId::Base ? "04 11 00 00 00 00 00 00 09" : "04 27 00 00 00 00 00 00 09",
         "Keymap command rejected (status %1)"}};
    steps += dataSteps("slice", image);
    steps += {"COMMIT", "04 02", "COMMIT rejected (status %1)"};
    steps += {"FINISH", "04 f0 00 00 00 00 00 00 01", "FINISH rejected (status %1)"};
    return steps;
}

} // namespace tavik::tests
