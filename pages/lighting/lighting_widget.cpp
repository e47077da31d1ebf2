// SPDX-License-Identifier: MIT
#include "pages/lighting/lighting_widget.h"

#include "app/skin/skin_icons.h"
#include "device/device.h"
#include "model/keyboard_layout.h"
#include "pages/lighting/effect_delegate.h"
#include "pages/lighting/palette_wheel.h"
#include "pages/parts/accessible_roles.h"
#include "pages/parts/announcement.h"
#include "pages/parts/busy_wait.h"
#include "pages/parts/color_names.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/preview_area.h"
#include "pages/parts/shown_text.h"
#include "pages/parts/status_label.h"

#include <QApplication>
#include <QButtonGroup>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QScopeGuard>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QToolButton>

#include <tuple>

using namespace std::chrono_literals;

namespace tavik {

namespace {

constexpr auto sendDelay = 180ms;

constexpr int startRow = 10;
static_assert(lightingEffects.at(startRow).code == usualLighting.effect);
constexpr int startSleep = 2;

constexpr QSize effectItemSize(220, 30);
constexpr QSize switchSize(44, 26);
constexpr QSize directionFrameSize(30, 30);
constexpr int directionPlainFrame = 0;
constexpr int directionChosenFrame = 4;
constexpr int swatchColumns = 7;
constexpr int panelMinimumHeight = 290;

// On purpose the arrow to the right stands in the left cell, and the other way round.
struct DirectionEntry
{
    const char* picture;
    int row;
    int column;
    const char* accessibleName;
};
constexpr std::array<DirectionEntry, 4> directionEntries{{
    {"img_direction_right.png", 1, 0,
     QT_TRANSLATE_NOOP("tavik::LightingWidget", "Direction right")},
    {"img_direction_bottom.png", 2, 1,
     QT_TRANSLATE_NOOP("tavik::LightingWidget", "Direction down")},
    {"img_direction_top.png", 0, 1, QT_TRANSLATE_NOOP("tavik::LightingWidget", "Direction up")},
    {"img_direction_left.png", 1, 2, QT_TRANSLATE_NOOP("tavik::LightingWidget", "Direction left")},
}};

struct SleepChoice
{
    const char* text;
    int code;
};
constexpr std::array<SleepChoice, 4> sleepChoices{
    {{"Not Sleep", 0}, {"1 min", 1}, {"5 min", 2}, {"30 min", 3}}};

} // namespace

LightingWidget::LightingWidget(QWidget* parent)
    : QWidget(parent),
      effect(usualLighting.effect),
      color(shownColor(usualLighting.color)),
      direction(usualLighting.direction),
      sleep(startSleep)
{
    sendTimer.setSingleShot(true);
    sendTimer.setInterval(sendDelay);
    connect(&sendTimer, &QTimer::timeout, this, &LightingWidget::apply);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 10, 5, 0);
    row->setSpacing(10);
    // In a window too small for the page, the picture is scaled and the panel is cut at the edges;
    // nothing is drawn over anything else.
    row->setSizeConstraint(QLayout::SetNoConstraint);
    setMinimumHeight(row->contentsMargins().top() + previewMinimumHeight + panelMinimumHeight);
    createEffectList(row);
    row->addWidget(createRightSide(), 1);
    createStatusLabel();
    showColor(color);
}

void LightingWidget::createEffectList(QLayout* row)
{
    effectList = new QListWidget(this);
    effectList->setObjectName(QStringLiteral("effectList"));
    effectList->setAccessibleName(tr("Lighting effect"));
    effectList->setFixedWidth(effectItemSize.width());
    effectList->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    effectList->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    effectList->setStyleSheet(
        QStringLiteral("QListWidget#effectList{background:rgba(55,55,55,235);border:0;padding:0;} "
                       "QListWidget::item{padding:0;}"));
    effectList->setItemDelegate(new EffectDelegate(effectList));
    for (const LightingEffect& entry : lightingEffects) {
        auto* item = new QListWidgetItem(QLatin1String(entry.name), effectList);
        item->setData(Qt::UserRole, entry.code);
        item->setData(Qt::SizeHintRole, effectItemSize);
    }
    effectList->setCurrentRow(startRow);
    connect(effectList, &QListWidget::currentRowChanged, this, &LightingWidget::chooseEffect);
    keepCurrentSelected(effectList);
    row->addWidget(effectList);
}

QWidget* LightingWidget::createRightSide()
{
    auto* right = new QWidget(this);
    right->setObjectName(QStringLiteral("lightingRight"));
    right->setMinimumWidth(1); // narrower than the panel
    auto* column = new QVBoxLayout(right);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new PreviewArea(KeyboardLayout::instance(), right), 1);
    column->addWidget(createPanel(right));
    return right;
}

// Each widget gets its last parent at once: with another one its style is worked out again.
QWidget* LightingWidget::createPanel(QWidget* parent)
{
    auto* panel = new QWidget(parent);
    panel->setObjectName(QStringLiteral("lightingPanel"));
    panel->setMinimumHeight(panelMinimumHeight);
    auto* row = new QHBoxLayout(panel);
    row->setContentsMargins(12, 16, 14, 0);
    row->setSizeConstraint(QLayout::SetMinimumSize);
    // The constraint takes the place of the panel's own minimum, so the row must keep it.
    row->addStrut(panelMinimumHeight - row->contentsMargins().top());

    wheel = new PaletteWheel(panel);
    wheel->onColorPicked([this](const QColor& picked) { setColor(picked); });
    row->addWidget(wheel, 0, Qt::AlignVCenter);
    row->addWidget(createColorColumn(panel));
    row->addWidget(createOptionsColumn(panel));
    return panel;
}

QWidget* LightingWidget::createColorColumn(QWidget* parent)
{
    auto* columnWidget = new QWidget(parent);
    columnWidget->setFixedWidth(320);
    columnWidget->setStyleSheet(QStringLiteral("QRadioButton{font-size:13px;}")); // four in a row
    auto* column = new QVBoxLayout(columnWidget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(14);
    column->addLayout(createRandomColorRow(columnWidget));
    column->addLayout(createRgbRow(columnWidget));
    column->addLayout(createSwatches(columnWidget));
    // A fixed text, the same in every language.
    QLabel* heading = createHeading(QStringLiteral("灯光休眠时间"), 14, columnWidget);
    heading->setToolTip(tr("Lighting sleep time"));
    column->addWidget(heading);
    column->addLayout(createSleepChoices(columnWidget));
    column->addStretch();
    return columnWidget;
}

QLayout* LightingWidget::createRandomColorRow(QWidget* parent)
{
    randomColorSwitch = new QPushButton(parent);
    randomColorSwitch->setCheckable(true);
    randomColorSwitch->setChecked(usualLighting.randomColor);
    randomColorSwitch->setFixedSize(switchSize);
    randomColorSwitch->setIconSize(switchSize);
    randomColorSwitch->setAccessibleName(tr("Random Color"));
    randomColorSwitch->setStyleSheet(
        QStringLiteral("QPushButton{background:transparent;border:0;padding:0;}"));
    showSwitch();
    connect(randomColorSwitch, &QPushButton::toggled, this, [this] {
        showSwitch();
        sendTimer.start();
    });

    auto* row = new QHBoxLayout;
    row->setSpacing(0);
    row->addWidget(createHeading(tr("Random Color"), 15, parent));
    row->addSpacing(18);
    row->addWidget(randomColorSwitch);
    row->addStretch();
    return row;
}

QLayout* LightingWidget::createRgbRow(QWidget* parent)
{
    constexpr std::array<const char*, 3> texts{"R:", "G:", "B:"};
    const QStringList accessibleNames{tr("Red"), tr("Green"), tr("Blue")};
    auto* row = new QHBoxLayout;
    row->setSpacing(0);
    for (std::size_t channel = 0; channel < rgbInputs.size(); ++channel) {
        auto* label = new QLabel(QLatin1String(texts.at(channel)), parent);
        label->setFixedWidth(20);
        auto* input = new QSpinBox(parent);
        input->setObjectName(QStringLiteral("rgbInput"));
        input->setAccessibleName(accessibleNames.at(static_cast<qsizetype>(channel)));
        input->setRange(0, 255);
        input->setFixedSize(63, 32);
        input->setAlignment(Qt::AlignCenter);
        input->setStyleSheet(QStringLiteral(
            "QSpinBox#rgbInput{color:#444;background:#f2f2f2;border:1px solid #aaa;padding:2px "
            "5px;}"
            "QSpinBox#rgbInput::up-button,QSpinBox#rgbInput::down-button{width:0;height:0;border:0;"
            "}"));
        connect(input, &QSpinBox::valueChanged, this, &LightingWidget::colorFromSpinBoxes);
        rgbInputs.at(channel) = input;

        if (channel > 0)
            row->addSpacing(5);
        row->addWidget(label);
        row->addSpacing(10);
        row->addWidget(input);
    }
    row->addStretch();
    return row;
}

QLayout* LightingWidget::createSwatches(QWidget* parent)
{
    auto* grid = new QGridLayout;
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(5);
    for (int index = 0; index < static_cast<int>(swatchColors.size()); ++index) {
        const NamedColor& swatch = swatchColors.at(static_cast<std::size_t>(index));
        const QColor swatchColor(swatch.color);
        auto* button = new QPushButton(parent);
        button->setFixedSize(32, 30);
        button->setCursor(Qt::PointingHandCursor);
        button->setProperty("swatchColor", swatchColor);
        button->setAccessibleName(colorWords(swatchColor));
        button->setToolTip(colorToolTip(nameOf(swatch), swatchColor));
        button->setAccessibleDescription(tr("Color of the effect"));
        button->setStyleSheet(
            QStringLiteral("QPushButton { background:%1; border:1px solid #555; padding:0; }"
                           "QPushButton:hover { border:2px solid white; }")
                .arg(swatchColor.name()));
        connect(button, &QPushButton::clicked, this,
                [this, swatchColor] { setColor(swatchColor); });
        grid->addWidget(button, index / swatchColumns, index % swatchColumns);
    }
    grid->setAlignment(Qt::AlignLeft);
    return grid;
}

QLayout* LightingWidget::createSleepChoices(QWidget* parent)
{
    auto* group = new QButtonGroup(this);
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    for (const SleepChoice& choice : sleepChoices) {
        auto* button = new QRadioButton(QLatin1String(choice.text), parent);
        button->setObjectName(QStringLiteral("sleepChoice"));
        button->setProperty("sleepCode", choice.code);
        button->setChecked(choice.code == sleep);
        button->setStyleSheet(QStringLiteral(
            "QRadioButton#sleepChoice{spacing:7px;}"
            "QRadioButton#sleepChoice:checked{color:#f07800;}"
            "QRadioButton#sleepChoice::indicator{width:15px;height:15px;border:2px solid #c9c9c9;"
            "border-radius:8px;background:transparent;}"
            "QRadioButton#sleepChoice::indicator:checked{background:#f4f4f4;}"));
        group->addButton(button, choice.code);
        row->addWidget(button);
    }
    row->addStretch();
    setAccessibleGroup(group, tr("Lighting sleep time"));
    // Clicking the chosen one sends it once more, so toggling would not do.
    connect(group, &QButtonGroup::idClicked, this, &LightingWidget::chooseSleep);
    letTabFindTheChosen(group->buttons());
    return row;
}

QWidget* LightingWidget::createOptionsColumn(QWidget* parent)
{
    auto* columnWidget = new QWidget(parent);
    columnWidget->setFixedWidth(220);
    auto* column = new QVBoxLayout(columnWidget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    addLabeledSlider(column, tr("Brightness"), brightnessSlider, usualLighting.brightness);
    addLabeledSlider(column, tr("Speed"), speedSlider, usualLighting.speed);
    column->addWidget(createHeading(tr("Direction"), 15, columnWidget));
    column->addLayout(createDirectionPad(columnWidget));
    column->addStretch();
    return columnWidget;
}

void LightingWidget::addLabeledSlider(QVBoxLayout* column, const QString& title, QSlider*& slider,
                                      int startValue)
{
    slider = new QSlider(Qt::Horizontal, column->parentWidget());
    slider->setAccessibleName(title);
    slider->setRange(0, 5);
    slider->setPageStep(1);
    slider->setFixedHeight(20);
    slider->setValue(startValue);
    auto* valueLabel = new QLabel(QString::number(startValue), slider->parentWidget());
    valueLabel->setAlignment(Qt::AlignCenter);
    valueLabel->setMinimumWidth(24);
    valueLabel->setStyleSheet(QStringLiteral("color:#ff7900;font-size:15px;font-weight:600;"));
    connect(slider, &QSlider::valueChanged, this, [this, valueLabel](int value) {
        valueLabel->setText(QString::number(value));
        sendTimer.start();
    });

    auto* sliderRow = new QHBoxLayout;
    sliderRow->addWidget(slider, 1);
    sliderRow->addWidget(valueLabel);
    column->addWidget(createHeading(title, 15, slider->parentWidget()));
    column->addLayout(sliderRow);
}

QLayout* LightingWidget::createDirectionPad(QWidget* parent)
{
    auto* group = new QButtonGroup(this);
    auto* grid = new QGridLayout;
    for (int index = 0; index < static_cast<int>(directionEntries.size()); ++index) {
        const DirectionEntry& entry = directionEntries.at(static_cast<std::size_t>(index));
        auto* button = new QToolButton(parent);
        button->setCheckable(true);
        button->setChecked(index == direction);
        button->setFixedSize(42, 31);
        button->setIconSize(directionFrameSize);
        button->setAccessibleName(tr(entry.accessibleName));
        button->setStyleSheet(
            QStringLiteral("QToolButton{background:transparent;border:0;padding:0;}"
                           "QToolButton:hover{background:rgba(255,255,255,18);}"));
        group->addButton(button, index);
        grid->addWidget(button, entry.row, entry.column, Qt::AlignCenter);
        directionButtons.at(static_cast<std::size_t>(index)) = button;
    }
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(2);
    grid->setAlignment(Qt::AlignLeft);
    showDirection();
    setAccessibleGroup(group, tr("Direction"));
    connect(group, &QButtonGroup::idClicked, this, &LightingWidget::chooseDirection);
    letTabFindTheChosen(group->buttons());
    return grid;
}

// Stands in no layout: it comes up over the corner of the effect list. Created last, so that it
// lies on top; it is small, so the tool tip begins with the whole text.
void LightingWidget::createStatusLabel()
{
    statusLabel = new StatusLabel(this);
    statusLabel->setObjectName(QStringLiteral("lightingStatus"));
    statusLabel->setWordWrap(true);
    statusLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    statusLabel->setStyleSheet(QStringLiteral(
        "QLabel#lightingStatus{color:#ff9a9a;background:#2a1414;font-size:9px;padding:0 2px;}"));
    statusLabel->hide();
}

void LightingWidget::apply()
{
    if (!Device::instance().isOpen())
        return;
    if (BusyWait::isRunning()) {
        sendTimer.start();
        return;
    }
    // Nobody asked for this moment: what is chosen meanwhile is a new choice, and is sent next.
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const auto cursorBack = qScopeGuard(&QApplication::restoreOverrideCursor);
    const LightingSettings settings{effect,
                                    keyColorOf(color),
                                    randomColorSwitch->isChecked(),
                                    brightnessSlider->value(),
                                    speedSlider->value(),
                                    direction};
    const bool sent = sendLightingMode(settings);
    const QString error = sent ? QString() : Device::instance().lastError;
    statusLabel->setText(error);
    statusLabel->setAdvice(error, !sent);
    statusLabel->setVisible(!sent);
    announce(statusLabel, error);
}

void LightingWidget::setColor(QColor newColor)
{
    color = newColor;
    showColor(color);
    sendTimer.start();
}

void LightingWidget::showColor(const QColor& newColor)
{
    const std::array<int, 3> channels{newColor.red(), newColor.green(), newColor.blue()};
    for (std::size_t channel = 0; channel < rgbInputs.size(); ++channel) {
        const QSignalBlocker blocker(rgbInputs.at(channel));
        rgbInputs.at(channel)->setValue(channels.at(channel));
    }
    wheel->setColor(newColor);
}

void LightingWidget::colorFromSpinBoxes()
{
    color = QColor(rgbInputs[0]->value(), rgbInputs[1]->value(), rgbInputs[2]->value());
    wheel->setColor(color);
    sendTimer.start();
}

void LightingWidget::chooseEffect(int index)
{
    const QListWidgetItem* item = effectList->item(index);
    if (item == nullptr)
        return;
    effect = static_cast<std::uint8_t>(item->data(Qt::UserRole).toInt());
    sendTimer.start();
}

void LightingWidget::chooseDirection(int newDirection)
{
    direction = newDirection;
    showDirection();
    sendTimer.start();
}

void LightingWidget::showDirection()
{
    for (std::size_t index = 0; index < directionButtons.size(); ++index) {
        const bool isChosen = static_cast<int>(index) == direction;
        directionButtons.at(index)->setIcon(
            frameIcon(QLatin1String(directionEntries.at(index).picture),
                      isChosen ? directionChosenFrame : directionPlainFrame, directionFrameSize));
    }
}

void LightingWidget::showSwitch()
{
    const QString picture = randomColorSwitch->isChecked() ? QStringLiteral("img_switch_on.png")
                                                           : QStringLiteral("img_switch_off.png");
    randomColorSwitch->setIcon(frameIcon(picture, 0, switchSize));
}

void LightingWidget::chooseSleep(int value)
{
    sleep = value;
    if (!Device::instance().isOpen())
        return;
    const BusyWait wait(this);
    if (!wait.hasBegun()) {
        QTimer::singleShot(sendDelay, this, [this] { chooseSleep(sleep); });
        return;
    }
    // A sleep time that does not arrive is not reported: the next choice sends it anew.
    std::ignore = sendLightingSleep(sleep);
}

} // namespace tavik
