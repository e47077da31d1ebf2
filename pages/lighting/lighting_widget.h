// SPDX-License-Identifier: MIT
#pragma once

#include "pages/parts/lighting_command.h"

#include <QColor>
#include <QTimer>
#include <QWidget>

#include <array>

class QLayout;
class QListWidget;
class QPushButton;
class QSlider;
class QSpinBox;
class QToolButton;
class QVBoxLayout;

namespace tavik {

class PaletteWheel;
class StatusLabel;

// The page on which the user picks one of the keyboard's own lighting effects and its options.
// Changes are sent together, 180 ms after the last one; the sleep time is sent at once. Without a
// connection they are only held.
class LightingWidget : public QWidget
{
    Q_OBJECT

public:
    explicit LightingWidget(QWidget* parent = nullptr);

public slots:
    // Sends all settings as they stand and shows the reason when the keyboard does not take them.
    void apply();
    // Makes this the color of the page, its spin boxes and its wheel.
    void setColor(QColor newColor);
    // Takes the effect of a row of the list; any other index is ignored.
    void chooseEffect(int index);
    // 0 right, 1 down, 2 up, 3 left.
    void chooseDirection(int newDirection);
    // 0 never, 1 after one minute, 2 after five, 3 after thirty; sent at once.
    void chooseSleep(int value);

private:
    void createEffectList(QLayout* row);
    QWidget* createRightSide();
    QWidget* createPanel(QWidget* parent);
    QWidget* createColorColumn(QWidget* parent);
    QLayout* createRandomColorRow(QWidget* parent);
    QLayout* createRgbRow(QWidget* parent);
    QLayout* createSwatches(QWidget* parent);
    QLayout* createSleepChoices(QWidget* parent);
    QWidget* createOptionsColumn(QWidget* parent);
    void addLabeledSlider(QVBoxLayout* column, const QString& title, QSlider*& slider,
                          int startValue);
    QLayout* createDirectionPad(QWidget* parent);
    void createStatusLabel();

    void showColor(const QColor& newColor);
    void colorFromSpinBoxes();
    void showDirection();
    void showSwitch();

    // The values that a control does not hold already.
    std::uint8_t effect;
    QColor color;
    int direction;
    int sleep;
    QTimer sendTimer{this};

    QListWidget* effectList = nullptr;
    PaletteWheel* wheel = nullptr;
    QPushButton* randomColorSwitch = nullptr;
    std::array<QSpinBox*, 3> rgbInputs{}; // red, green, blue
    QSlider* brightnessSlider = nullptr;
    QSlider* speedSlider = nullptr;
    std::array<QToolButton*, 4> directionButtons{};
    StatusLabel* statusLabel = nullptr;
};

} // namespace tavik
