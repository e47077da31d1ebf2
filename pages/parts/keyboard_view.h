#pragma once

#include "model/keyboard_layout.h"

#include <QColor>
#include <QMap>
#include <QPixmap>
#include <QWidget>

namespace tavik {

// What KeyboardView draws over every key.
enum class KeyboardViewMode { RainbowGlow = 0, Captions = 1, KeyColors = 2 };

// Point size of the painter's base font at a drawing scale.
[[nodiscard]] double keyboardBaseFontSize(double scale);

// Point size of a key caption at a drawing scale.
[[nodiscard]] int keyCaptionFontSize(double scale);

// The drawn keyboard: its picture, scaled to fit and centered, with a decoration over each key and
// a frame round the selected one. Keys are named by their light index (0 to 143); a key of the
// layout with another index is drawn but never reported.
//
// The drawn keys can be reached from the keyboard as well: the arrow keys move a focus mark of
// their own, Space and Return press the marked key, the menu key asks for its menu.
class KeyboardView : public QWidget
{
    Q_OBJECT

public:
    explicit KeyboardView(QWidget* parent = nullptr);

    // Shows this board, which must outlive the view, and forgets all captions and colors. Until
    // then the view says that it is loading.
    void setKeyboardLayout(const KeyboardLayout* newLayout);

    // The owner changes mode, captions and colors and then asks for a repaint with update().
    void setMode(KeyboardViewMode newMode) { mode = newMode; }
    void setCaption(int lightIndex, const QString& caption); // an empty one is none
    void setKeyColor(int lightIndex, QColor color) { keyColors.insert(lightIndex, color); }
    void clearCaptions() { captions.clear(); }
    void clearKeyColors() { keyColors.clear(); }

    // The light index of the first key in layout order whose drawn rectangle holds the point, in
    // widget coordinates; -1 when there is none.
    [[nodiscard]] int keyAt(QPoint point) const;

    // The rectangle in which a key answers to the pointer, in widget coordinates; empty while no
    // board with a size is shown.
    [[nodiscard]] QRect hitRectangle(const KeyRecord& key) const;

    // The key drawn with the selection frame; -1 before the first press.
    [[nodiscard]] int selectedKey() const { return selected; }

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
    struct Scaling
    {
        double factor = 0.0;
        double left = 0.0;
        double top = 0.0;
    };

    [[nodiscard]] bool hasBoard() const;
    [[nodiscard]] Scaling scaling() const;
    [[nodiscard]] QRect innerRectangle(const KeyRecord& key) const;
    [[nodiscard]] const KeyRecord* markedKey() const;
    void selectKey(int lightIndex);
    void moveMark(QPoint direction);

    void paintWorkspaceBehind(QPainter& painter) const;
    void paintKeyboardPicture(QPainter& painter);
    void paintKey(QPainter& painter, const KeyRecord& key) const;
    void drawBox(QPainter& painter, const QRect& box, double corner) const;
    void paintGlow(QPainter& painter, const QRect& inner, QColor color, double radiusFactor,
                   double corner) const;
    void paintCaption(QPainter& painter, const QRect& inner, const QString& caption) const;

    const KeyboardLayout* keyboardLayout = nullptr;
    KeyboardViewMode mode = KeyboardViewMode::RainbowGlow;
    QMap<int, QString> captions;
    QMap<int, QColor> keyColors;
    QPixmap keyboardPicture;
    QPixmap scaledPicture; // keyboardPicture at the size it was last drawn
    QPixmap backgroundPicture;
    int selected = -1;
    int marked = -1; // light index of the key with the focus mark
    bool markVisible = false;
};

} // namespace tavik
