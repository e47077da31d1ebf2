// SPDX-License-Identifier: MIT
#pragma once

#include <QBrush>
#include <QColor>
#include <QRectF>
#include <QString>

class QPainter;

namespace tavik {

struct KeyRecord;

// The parts of a drawn keyboard, in light and in dark. All measures are layout units.
struct BoardColors
{
    QColor caseEdge;
    QColor caseTop;
    QColor caseBottom;
    QColor screenEdge;
    QColor glass;
    QColor sideTop; // of a cap
    QColor sideBottom;
    QColor faceEdge;
    QColor faceTop;
    QColor faceBottom;
    QColor legend;
    QColor shifted;
};

struct LegendSizes
{
    double character = 8.9;
    double word = 8.1;
};

inline constexpr double caseRadius = 11;
inline constexpr double faceRadius = 4;

// What the cap of a key shows to whoever looks down on it, without its sides.
[[nodiscard]] QRectF faceOf(const QRectF& cap);

// The square in which a screen shows its pictures; not valid where the screen is too small.
[[nodiscard]] QRectF glassOf(const QRectF& screen);

void fillRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& brush);
void paintCase(QPainter& painter, const QRectF& rect, const BoardColors& colors);
void paintScreenFrame(QPainter& painter, const QRectF& rect, const BoardColors& colors);
void paintCap(QPainter& painter, const QRectF& cap, const BoardColors& colors);

// The legends of the key in the upper corners of its cap: the middle belongs to the caption. They
// are outlines, the same at every scale and on every machine. A legend that is too long gets nearer
// to the edges and narrower, and ends in an ellipsis where that does not help.
void paintLegends(QPainter& painter, const KeyRecord& key, const QRectF& cap,
                  const QString& fontFamily, const LegendSizes& sizes, const BoardColors& colors);

} // namespace tavik
