// SPDX-License-Identifier: MIT
#pragma once

class QPainter;
class QRect;
class QString;

namespace tavik {

// Point size of a key caption at a drawing scale.
[[nodiscard]] int captionFontSize(double scale);

// The least width at which a caption is set, of its natural one. Narrower still, it would be hard
// to read.
inline constexpr double narrowestCaption = 0.75;

// Draws a caption in the painter's font and pen, centered in the rectangle. It is broken between
// words and behind each plus of a combination; what does not fit is set narrower, and only then
// cut with an ellipsis. Nothing is drawn outside the rectangle.
void drawCaption(QPainter& painter, const QRect& area, const QString& caption);

} // namespace tavik
