// SPDX-License-Identifier: MIT
#include "pages/parts/keyboard_geometry.h"

#include "model/key_action.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavik {

namespace {

// Layout files are edited by hand; a number beyond any screen must not overflow.
double bounded(double value)
{
    constexpr double farAway = 1 << 20;
    return std::clamp(value, -farAway, farAway);
}

// QRect itself adds up in int, which the numbers of a hand-edited file may overflow.
QPointF centerOf(const QRect& rect)
{
    return {(rect.left() * 1.0 + rect.right()) / 2, (rect.top() * 1.0 + rect.bottom()) / 2};
}

// True when a walk in the direction can meet the second key without leaving the line of the first.
bool areInLine(const QRect& first, const QRect& second, QPoint direction)
{
    return direction.x() != 0 ? first.top() <= second.bottom() && second.top() <= first.bottom()
                              : first.left() <= second.right() && second.left() <= first.right();
}

bool isReportable(const KeyRecord& key)
{
    return key.lightIndex >= 0 && key.lightIndex < static_cast<int>(layerSize);
}

} // namespace

KeyboardGeometry::KeyboardGeometry(const KeyboardLayout* keyboardLayout, QSize viewSize)
    : layout(keyboardLayout)
{
    if (layout == nullptr || layout->width <= 0 || layout->height <= 0) {
        layout = nullptr;
        return;
    }
    const double width = layout->width;
    const double height = layout->height;
    factor = std::min(viewSize.width() / width, viewSize.height() / height);
    left = (viewSize.width() - width * factor) / 2;
    top = (viewSize.height() - height * factor) / 2;
}

QRectF KeyboardGeometry::boardRectangle() const
{
    if (!hasBoard())
        return {};
    return {QPointF(qRound(left), qRound(top)), QSizeF(layout->width, layout->height) * factor};
}

QRect KeyboardGeometry::hitRectangle(const KeyRecord& key) const
{
    if (!hasBoard())
        return {};
    const double width = key.rect.right() + 1.0 - key.rect.left();
    const double height = key.rect.bottom() + 1.0 - key.rect.top();
    return {qRound(bounded(key.rect.left() * factor + left)),
            qRound(bounded(key.rect.top() * factor + top)),
            static_cast<int>(bounded(width * factor)), static_cast<int>(bounded(height * factor))};
}

QRect KeyboardGeometry::innerRectangle(const KeyRecord& key) const
{
    const QRect hit = hitRectangle(key);
    const int right = hit.left() + hit.width();
    const int bottom = hit.top() + hit.height();
    return {QPoint(hit.left() + 1, hit.top() + 1), QPoint(right - 3, bottom - 3)};
}

int KeyboardGeometry::keyAt(QPoint point) const
{
    if (!hasBoard())
        return -1;
    for (const KeyRecord& key : layout->keys) {
        if (isReportable(key) && hitRectangle(key).contains(point))
            return key.lightIndex;
    }
    return -1;
}

const KeyRecord* KeyboardGeometry::find(int lightIndex) const
{
    if (!hasBoard())
        return nullptr;
    for (const KeyRecord& key : layout->keys) {
        if (key.lightIndex == lightIndex && isReportable(key))
            return &key;
    }
    return nullptr;
}

QList<int> KeyboardGeometry::keys() const
{
    QList<int> found;
    if (!hasBoard())
        return found;
    for (const KeyRecord& key : layout->keys) {
        if (isReportable(key) && !found.contains(key.lightIndex))
            found += key.lightIndex;
    }
    return found;
}

// Keys in line come first, however wide the key the walk starts from; among the others a step
// sideways counts double.
const KeyRecord* KeyboardGeometry::neighbor(const KeyRecord* from, QPoint direction) const
{
    if (!hasBoard())
        return nullptr;
    const KeyRecord* nearest = nullptr;
    double bestScore = std::numeric_limits<double>::max();
    constexpr double outOfLine = 1e12; // more than any layout file can name
    for (const KeyRecord& key : layout->keys) {
        if (!isReportable(key) || &key == from)
            continue;
        if (from == nullptr)
            return &key;
        const QPointF step = centerOf(key.rect) - centerOf(from->rect);
        const double forward = step.x() * direction.x() + step.y() * direction.y();
        const double sideways =
            std::abs(step.x() * direction.y()) + std::abs(step.y() * direction.x());
        const double score =
            forward + 2 * sideways + (areInLine(from->rect, key.rect, direction) ? 0 : outOfLine);
        if (forward > 1.0 && score < bestScore) {
            bestScore = score;
            nearest = &key;
        }
    }
    return nearest;
}

const KeyRecord* KeyboardGeometry::lastNeighbor(const KeyRecord* from, QPoint direction) const
{
    const KeyRecord* next = neighbor(from, direction);
    if (from == nullptr)
        return next;
    const KeyRecord* last = from;
    while (next != nullptr && areInLine(last->rect, next->rect, direction)) {
        last = next;
        next = neighbor(last, direction);
    }
    return last;
}

const KeyRecord* KeyboardGeometry::nextTyped(const KeyRecord* from, const QString& typed) const
{
    if (!hasBoard() || typed.isEmpty())
        return nullptr;
    QList<const KeyRecord*> found;
    for (const KeyRecord& key : layout->keys) {
        if (isReportable(key) && key.legend.startsWith(typed, Qt::CaseInsensitive))
            found += &key;
    }
    if (found.isEmpty())
        return nullptr;
    std::stable_partition(found.begin(), found.end(),
                          [&](const KeyRecord* key) { return key->legend.size() == typed.size(); });
    return found.at((found.indexOf(from) + 1) % found.size());
}

} // namespace tavik
