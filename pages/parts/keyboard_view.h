// SPDX-License-Identifier: MIT
#pragma once

#include "app/skin/skin_picture.h"
#include "pages/parts/keyboard_geometry.h"

#include <QAccessible>
#include <QColor>
#include <QMap>
#include <QWidget>

#include <functional>

namespace tavik {

// What KeyboardView draws over every key.
enum class KeyboardViewMode { RainbowGlow = 0, Captions = 1, KeyColors = 2 };

// Point size of the painter's base font at a drawing scale.
[[nodiscard]] double keyboardBaseFontSize(double scale);

// The drawn keyboard: its picture, scaled to fit and centered, with a decoration over each key and
// a frame round the selected one. Keys are named by their light index (0 to 143); a key of the
// layout with another index is drawn but never reported.
//
// The drawn keys can be reached from the keyboard as well: the arrow keys move a focus mark of
// their own, as Home, End, Page Up, Page Down and what stands on a key do. Space and Return press
// the marked key, the menu key asks for its menu. Assistive tools find a child for every key that
// is reported (keyboard_accessible).
class KeyboardView : public QWidget
{
    Q_OBJECT

public:
    explicit KeyboardView(QWidget* parent = nullptr);

    // Shows this board, which must outlive the view, and forgets all captions and colors. Until
    // then the view says that it is loading.
    void setKeyboardLayout(const KeyboardLayout* newLayout);

    // These repaint what they change. An empty caption and an invalid color are none.
    void setMode(KeyboardViewMode newMode);
    void setCaption(int lightIndex, const QString& caption);
    void setKeyColor(int lightIndex, const QColor& color);

    // What the tool tip of a key says, by its light index; empty for nothing.
    void setKeyToolTip(std::function<QString(int lightIndex)> textOfKey);

    // The light index of the first key in layout order whose drawn rectangle holds the point, in
    // widget coordinates; -1 when there is none.
    [[nodiscard]] int keyAt(QPoint point) const { return geometryNow().keyAt(point); }

    // The light indexes of all keys that can be reported, in layout order.
    [[nodiscard]] QList<int> keys() const { return geometryNow().keys(); }

    // The light index of the key that the next key stroke acts on; -1 for none.
    [[nodiscard]] int markedKey() const { return marked; }

    // The light index of the key that was pressed last; -1 for none.
    [[nodiscard]] int selectedKey() const { return selected; }

    // Whether anybody answers when the menu of a key is asked for.
    [[nodiscard]] bool hasKeyMenu() const;

    // What the view shows on a key, in words; empty where it only shows the keyboard.
    [[nodiscard]] QString wordsOnKey(int lightIndex) const;

    // These act on a key of the board without the pointer, as a key stroke does.
    void focusKey(int lightIndex);
    void pressKey(int lightIndex);
    void openKeyMenu(int lightIndex);

    // The rectangle in which a key answers to the pointer, in widget coordinates; empty while no
    // board with a size is shown.
    [[nodiscard]] QRect hitRectangle(const KeyRecord& key) const
    {
        return geometryNow().hitRectangle(key);
    }
    [[nodiscard]] QRect hitRectangle(int lightIndex) const;

signals:
    // A left press on a key.
    void slotActivated(int lightIndex);
    // A right press on a key; globalPos is where the pointer is.
    void slotContextMenu(int lightIndex, QPoint globalPos);

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    [[nodiscard]] KeyboardGeometry geometryNow() const { return {keyboardLayout, size()}; }
    void repaintKey(int lightIndex);
    void selectKey(int lightIndex);
    void setMark(int lightIndex);
    void moveMark(QPoint direction);
    [[nodiscard]] bool takesMarkFar(const QKeyEvent& event);
    void tellOfKey(int lightIndex, QAccessibleEvent&& event);
    void showMark(bool visible);

    void paintWorkspaceBehind(QPainter& painter);
    void paintKeyboardPicture(QPainter& painter, const KeyboardGeometry& geometry);
    void paintKey(QPainter& painter, const KeyRecord& key, const QRect& inner, double scale) const;
    void paintFrames(QPainter& painter, int lightIndex, const QRect& inner, double scale) const;
    [[nodiscard]] QRect visiblePart(const QRect& box, double corner) const;
    void drawBox(QPainter& painter, const QRect& box, double corner) const;
    void paintGlow(QPainter& painter, const QRect& inner, QColor color, double radiusFactor,
                   double corner) const;
    void paintCaption(QPainter& painter, const QRect& inner, const QString& caption,
                      double scale) const;

    const KeyboardLayout* keyboardLayout = nullptr;
    KeyboardViewMode mode = KeyboardViewMode::RainbowGlow;
    QMap<int, QString> captions;
    QMap<int, QColor> keyColors;
    std::function<QString(int)> toolTipOfKey;
    SkinPicture keyboardPicture;
    SkinPicture backgroundPicture;
    std::shared_ptr<const QPixmap> drawnPicture; // keyboardPicture as it was last drawn
    std::shared_ptr<const QPixmap>
        drawnGround; // backgroundPicture likewise, as the workspace has it

    // Light indexes, -1 for none. The selected key is the one last pressed, by whatever means. The
    // marked key is the one that the next key stroke acts on: a press moves it along, an arrow key
    // moves it alone. Its mark shows only while the user works with the keyboard.
    int selected = -1;
    int marked = -1;
    bool markVisible = false;
};

} // namespace tavik
