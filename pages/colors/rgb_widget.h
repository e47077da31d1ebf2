// SPDX-License-Identifier: MIT
#pragma once

#include "model/edit_history.h"

#include <QColor>
#include <QWidget>

class QLayout;
class QSlider;

namespace tavik {

class AccentButton;
class ColorPreview;
class KeyboardView;
class StatusLabel;

// The page on which the user paints the keys. Every change is stored and saved at once and needs no
// keyboard; the keyboard learns of it only when the user sends the painting.
class RgbWidget : public QWidget
{
    Q_OBJECT

public:
    explicit RgbWidget(QWidget* parent = nullptr);

public slots:
    // Paints the key (0 to 143) with the brush color.
    void keyClicked(int lightIndex);
    // Writes all key colors to the keyboard, which blocks, and shows the outcome.
    void apply();
    // Makes the keyboard show its key colors and shows the outcome.
    void applyMode();
    // Paints all keys with the brush color, without asking.
    void paintAll();
    // Replaces all key colors by those of the keyboard, which blocks, and shows the outcome. They
    // stay as they are when the reading fails.
    void loadFromKeyboard();

private:
    QLayout* createBrushRow();
    QLayout* createModeRow();
    void createView();

    void chooseBrushColor();
    void takeBrushColor(const QColor& color);
    void showKeyMenu(int lightIndex, QPoint globalPos);
    void clearKey(int lightIndex);
    void paintKeysOf(const QString& name, const KeyColor& color);
    void paintKey(ColorBank& bank, std::size_t lightIndex) const;
    void editColors(const QString& name, const std::function<void(ColorBank&)>& change);
    void refreshColors();
    void showBrushColor();
    void showMark();

    QColor brushColor{255, 60, 60};
    QList<QColor> earlierBrushColors; // of this run, the latest first
    ColorBank writtenColors;          // as they were last written or read, or at the start

    ColorPreview* preview = nullptr;
    QSlider* brightnessSlider = nullptr;
    KeyboardView* view = nullptr;
    AccentButton* sendButton = nullptr;
    StatusLabel* statusLabel = nullptr;
};

} // namespace tavik
