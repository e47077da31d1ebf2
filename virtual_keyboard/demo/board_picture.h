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

// The colors of the parts; at first those of a keyboard without light.
struct BoardColors
{
    QColor desk = QColor(0x2c, 0x27, 0x23);
    QColor deskFar = QColor(0x17, 0x15, 0x14); // at the corners
    QColor shadow = QColor(0, 0, 0, 26);
    QColor cable = QColor(0x0c, 0x0c, 0x0d);
    QColor caseEdge = QColor(0x4a, 0x4b, 0x50);
    QColor caseTop = QColor(0x25, 0x26, 0x29);
    QColor caseBottom = QColor(0x1a, 0x1b, 0x1d);
    QColor plate = QColor(0x0c, 0x0c, 0x0e); // what lies under the caps
    QColor sideTop = QColor(0x26, 0x27, 0x2a);
    QColor sideBottom = QColor(0x12, 0x13, 0x15);
    QColor faceTop = QColor(0x2f, 0x30, 0x34);
    QColor faceBottom = QColor(0x22, 0x23, 0x26);
    QColor legend = QColor(0x8a, 0x8c, 0x92);
    QColor shifted = QColor(0x74, 0x76, 0x7c);
    QColor caption = QColor(231, 122, 25, 60);
    QColor captionFrame = QColor(231, 122, 25);
    QColor captionText = QColor(0xff, 0xe2, 0xc6);
    QColor glass = QColor(0x07, 0x07, 0x08);
};

// How much of the light each part lets through, from black for nothing to white for all of it.
[[nodiscard]] BoardColors boardTransparency();

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
