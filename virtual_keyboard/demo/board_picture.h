#pragma once

#include "model/keyboard_layout.h"

#include <QColor>
#include <QMap>
#include <QSet>

class QPainter;

namespace tavik::virtual_keyboard {

// What is to be seen on a keyboard besides its light, by light index.
struct BoardContent
{
    QMap<int, QString> captions;
    QSet<int> pressed;
    bool isPlugged = true;

    bool operator==(const BoardContent&) const = default;
};

// The colors of the parts.
struct BoardColors
{
    QColor desk;
    QColor deskFar; // at the corners
    QColor shadow;
    QColor cable;
    QColor caseEdge;
    QColor caseTop;
    QColor caseBottom;
    QColor plate; // what lies under the caps
    QColor sideTop;
    QColor sideBottom;
    QColor faceTop;
    QColor faceBottom;
    QColor legend;
    QColor shifted;
    QColor caption;
    QColor captionFrame;
    QColor captionText;
    QColor glass;
};

// The keyboard on its desk without light, and how much of the light each part lets through, from
// black for nothing to white for all of it.
[[nodiscard]] const BoardColors& unlitBoardColors();
[[nodiscard]] const BoardColors& boardTransparency();

// Where the parts of a board lie in a view: the program's own layout, drawn with some desk around.
class BoardPlan
{
public:
    BoardPlan(const KeyboardLayout& keyboardLayout, QSizeF viewSize);

    [[nodiscard]] double scale() const { return factor; } // pixels per layout unit
    [[nodiscard]] QRectF place(const QRectF& rect) const;
    [[nodiscard]] QPointF toLayout(QPointF point) const { return (point - origin) / factor; }
    // The square in which the screen shows its pictures.
    [[nodiscard]] QRectF glass() const;
    // The light index of the key at the point, or -1.
    [[nodiscard]] int keyAt(QPointF point) const;

    void paint(QPainter& painter, const BoardContent& content, const BoardColors& colors) const;

    // The height that belongs to a width.
    [[nodiscard]] static double heightFor(const KeyboardLayout& keyboardLayout, double width);

private:
    void paintDesk(QPainter& painter, const BoardContent& content, const BoardColors& colors) const;
    void paintKey(QPainter& painter, const KeyRecord& key, const BoardContent& content,
                  const BoardColors& colors) const;
    void paintCaption(QPainter& painter, const QRectF& area, const QString& caption,
                      const BoardColors& colors) const;
    void paintLegend(QPainter& painter, const KeyRecord& key, const QRectF& face,
                     const BoardColors& colors) const;

    const KeyboardLayout& layout;
    QSizeF view;
    double factor = 1;
    QPointF origin; // of the layout
};

} // namespace tavik::virtual_keyboard
