// SPDX-License-Identifier: MIT
#include "model/key_action.h"
#include "model/keyboard_layout.h"
#include "pages/parts/keyboard_geometry.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/files.h"

#include <QBuffer>

#include <algorithm>

namespace tavik::tests {

namespace {

bool readInto(KeyboardLayout& layout, const QByteArray& document, QString* reason)
{
    QBuffer buffer;
    buffer.setData(document);
    return buffer.open(QIODevice::ReadOnly) && layout.read(buffer, reason);
}

bool areAlike(const KeyRecord& first, const KeyRecord& second)
{
    return first.code == second.code && first.desc == second.desc &&
           first.lightIndex == second.lightIndex && first.rect == second.rect &&
           first.legend == second.legend && first.shifted == second.shifted;
}

bool isReportable(int lightIndex)
{
    return lightIndex >= 0 && lightIndex < static_cast<int>(layerSize);
}

void checkPlaces(const KeyboardLayout& layout, QSize viewSize)
{
    const KeyboardGeometry geometry(&layout, viewSize);
    TAVIK_HOLDS(geometry.hasBoard() == (layout.width > 0 && layout.height > 0));
    constexpr int farthest = 1 << 20;
    for (const KeyRecord& key : layout.keys.mid(0, 200)) {
        const QRect hit = geometry.hitRectangle(key);
        TAVIK_HOLDS(std::abs(hit.x()) <= farthest && std::abs(hit.y()) <= farthest);
        TAVIK_HOLDS(std::abs(hit.width()) <= farthest && std::abs(hit.height()) <= farthest);
        TAVIK_HOLDS(geometry.innerRectangle(key).width() <= std::max(hit.width(), 0));
        const int found = geometry.keyAt(hit.center());
        TAVIK_HOLDS(found == -1 ? !isReportable(key.lightIndex) || !hit.contains(hit.center())
                                : isReportable(found) && geometry.find(found) != nullptr);
    }
    const KeyRecord* from = geometry.neighbor(nullptr, {1, 0});
    for (const QPoint direction : {QPoint(1, 0), QPoint(-1, 0), QPoint(0, 1), QPoint(0, -1)}) {
        const KeyRecord* next = from ? geometry.neighbor(from, direction) : nullptr;
        TAVIK_HOLDS(next == nullptr || (next != from && isReportable(next->lightIndex)));
    }
}

} // namespace

QByteArrayList seeds()
{
    return {readFile(TAVIK_LAYOUT_FILE),
            "<?xml version='1.0'?><!DOCTYPE k [<!ENTITY a 'b'>]><Layout109K xpos='1' ypos='2' "
            "width='80' height='30'><case rect_left='1' rect_width='-3'/><screen/><key code='0x1e' "
            "desc='A' key_index='1' light_index='143' row_col='3#12' rect_left='1' rect_top='2' "
            "rect_width='30' rect_height='20' fnlayer_disable='1' legend='&a;' shifted='!'/>"
            "<key light_index='144'/></Layout109K>"};
}

void check(const QByteArray& input)
{
    KeyboardLayout layout;
    QString reason;
    const bool accepted = readInto(layout, input, &reason);
    TAVIK_HOLDS(accepted ? !layout.keys.isEmpty() : !reason.isEmpty());

    // What stood in the object before leaves no trace.
    KeyboardLayout again = layout;
    TAVIK_HOLDS(readInto(again, input, nullptr) == accepted);
    TAVIK_HOLDS(std::ranges::equal(layout.keys, again.keys, areAlike));
    TAVIK_HOLDS(layout.caseRect == again.caseRect && layout.screenRect == again.screenRect);

    checkPlaces(layout, {800, 300});
    checkPlaces(layout, {0, 7});
}

} // namespace tavik::tests
