// SPDX-License-Identifier: MIT
#include "pages/colors/rgb_widget.h"

#include "model/keyboard_layout.h"
#include "pages/colors/color_preview.h"
#include "pages/colors/color_transfer.h"
#include "pages/parts/accessible_roles.h"
#include "pages/parts/busy_wait.h"
#include "pages/parts/color_names.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/shown_text.h"
#include "pages/parts/status_label.h"
#include "pages/parts/undo_entries.h"

#include <QColorDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QSlider>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace tavik {

namespace {

constexpr QSize previewSize(56, 26);
constexpr int brightnessSliderWidth = 160;
constexpr int highestBrightness = 5;
constexpr qsizetype keptBrushColors = 8;
constexpr QSize menuIconSize(16, 16);      // a larger one would be scaled
constexpr QRect swatchPlace(4, 2, 12, 12); // off the edge of the menu
constexpr QColor swatchFrame(0x80, 0x80, 0x88);

QColor colorOfKey(std::size_t lightIndex)
{
    return shownColor(colorOf(AppState::instance().customRgb, lightIndex));
}

QIcon swatch(const QColor& color, const QWidget* widget)
{
    QPixmap picture(menuIconSize * widget->devicePixelRatioF());
    picture.setDevicePixelRatio(widget->devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setPen(swatchFrame);
    painter.setBrush(color);
    painter.drawRect(swatchPlace.adjusted(0, 0, -1, -1));
    return picture;
}

} // namespace

RgbWidget::RgbWidget(QWidget* parent)
    : QWidget(parent), writtenColors(AppState::instance().customRgb)
{
    QVBoxLayout* column = createPageColumn(this);
    column->addLayout(createBrushRow());
    column->addLayout(createModeRow());
    sendButton = createAccentButton(tr("Send painting to keyboard"), this, &RgbWidget::apply);
    column->addLayout(createRow(
        {sendButton, createButton(tr("Read from keyboard"), this, &RgbWidget::loadFromKeyboard)}));
    createView();
    column->addWidget(view, 1);
    column->addWidget(createHint(tr("Click keys to paint them with the brush color."), this));
    statusLabel = new StatusLabel(this);
    column->addWidget(statusLabel);

    connect(&AppState::instance(), &AppState::rgbChanged, this, &RgbWidget::refreshColors);
    connect(&EditHistory::instance(), &EditHistory::restored, this, &RgbWidget::refreshColors);
    refreshColors();
}

QLayout* RgbWidget::createBrushRow()
{
    preview = new ColorPreview(brushColor, this);
    preview->setFixedSize(previewSize);
    setAccessibleRole(preview, QAccessible::Graphic, tr("Brush"));
    showBrushColor();

    return createRow({preview, createButton(tr("Brush color…"), this, &RgbWidget::chooseBrushColor),
                      createButton(tr("Fill all keys"), this, &RgbWidget::paintAll)});
}

QLayout* RgbWidget::createModeRow()
{
    brightnessSlider = new QSlider(Qt::Horizontal, this);
    brightnessSlider->setRange(0, highestBrightness);
    brightnessSlider->setPageStep(1);
    brightnessSlider->setValue(highestBrightness);
    brightnessSlider->setFixedWidth(brightnessSliderWidth);
    auto* label = new QLabel(tr("Custom mode brightness:"), this);
    label->setBuddy(brightnessSlider);

    return createRow({label, brightnessSlider,
                      createButton(tr("Enable custom mode"), this, &RgbWidget::applyMode)});
}

void RgbWidget::createView()
{
    view = new KeyboardView(this);
    view->setKeyboardLayout(&KeyboardLayout::instance());
    view->setMode(KeyboardViewMode::KeyColors);
    connect(view, &KeyboardView::slotActivated, this, &RgbWidget::keyClicked);
    connect(view, &KeyboardView::slotContextMenu, this, &RgbWidget::showKeyMenu);
    addMenuEntry(view, tr("Clear key"), Qt::Key_Delete, [this] {
        if (view->markedKey() >= 0) // the one whose menu it is, too
            clearKey(view->markedKey());
    });
    view->setKeyToolTip([](int lightIndex) {
        return colorToolTip(nameOfKey(lightIndex),
                            colorOfKey(static_cast<std::size_t>(lightIndex)));
    });
}

void RgbWidget::chooseBrushColor()
{
    const QColor chosen = QColorDialog::getColor(brushColor, this, tr("Brush color"));
    if (chosen.isValid())
        takeBrushColor(chosen);
}

void RgbWidget::takeBrushColor(const QColor& color)
{
    if (color == brushColor)
        return;
    earlierBrushColors.removeOne(color);
    earlierBrushColors.prepend(std::exchange(brushColor, color));
    earlierBrushColors.resize(std::min(earlierBrushColors.size(), keptBrushColors));
    showBrushColor();
}

void RgbWidget::showKeyMenu(int lightIndex, QPoint globalPos)
{
    const KeyColor color =
        colorOf(AppState::instance().customRgb, static_cast<std::size_t>(lightIndex));
    const QColor shown = shownColor(color);
    auto* menu = new QMenu(this);
    menu->setAccessibleName(QStringLiteral("%1: %2").arg(nameOfKey(lightIndex), colorWords(shown)));
    menu->addAction(swatch(shown, this), tr("Take this color"), this,
                    [=, this] { takeBrushColor(shown); });
    menu->addAction(swatch(brushColor, this), tr("Fill keys of this color"), this,
                    [=, this] { paintKeysOf(tr("Fill keys of a color"), color); });
    menu->addAction(swatch(brushColor, this), tr("Fill unpainted keys"), this,
                    [this] { paintKeysOf(tr("Fill unpainted keys"), {}); });
    menu->addActions(view->actions());
    if (!earlierBrushColors.isEmpty())
        menu->addSeparator();
    for (const QColor& earlier : earlierBrushColors)
        menu->addAction(swatch(earlier, this), tr("Brush %1").arg(earlier.name()), this,
                        [=, this] { takeBrushColor(earlier); });
    addUndoEntries(menu);
    popUp(menu, globalPos);
}

void RgbWidget::showBrushColor()
{
    preview->update();
    preview->setToolTip(colorToolTip(tr("Brush"), brushColor));
    preview->setAccessibleDescription(colorWords(brushColor));
}

void RgbWidget::paintKey(ColorBank& bank, std::size_t lightIndex) const
{
    setColor(bank, lightIndex, keyColorOf(brushColor));
}

void RgbWidget::keyClicked(int lightIndex)
{
    editColors(tr("Paint %1").arg(keyInStepName(lightIndex)),
               [&](ColorBank& bank) { paintKey(bank, static_cast<std::size_t>(lightIndex)); });
}

void RgbWidget::clearKey(int lightIndex)
{
    editColors(tr("Clear %1").arg(keyInStepName(lightIndex)),
               [&](ColorBank& bank) { setColor(bank, static_cast<std::size_t>(lightIndex), {}); });
}

void RgbWidget::paintKeysOf(const QString& name, const KeyColor& color)
{
    editColors(name, [&](ColorBank& bank) {
        for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex) {
            if (colorOf(bank, lightIndex) == color)
                paintKey(bank, lightIndex);
        }
    });
}

void RgbWidget::paintAll()
{
    editColors(tr("Fill all keys"), [this](ColorBank& bank) {
        for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex)
            paintKey(bank, lightIndex);
    });
}

void RgbWidget::applyMode()
{
    const BusyWait wait(this, statusLabel);
    if (!wait.hasBegun())
        return;
    statusLabel->showOutcome(enableCustomColors(brightnessSlider->value()),
                             tr("Custom mode enabled."));
    statusLabel->clearOn(brightnessSlider, &QSlider::valueChanged);
}

void RgbWidget::apply()
{
    const BusyWait wait(this, statusLabel);
    if (!wait.hasBegun())
        return;
    const ColorBank& bank = AppState::instance().customRgb;
    const bool sent = writeColorBank(bank);
    if (sent)
        writtenColors = bank;
    showMark();
    statusLabel->showOutcome(sent, tr("Painting sent."), StatePart::Colors);
}

void RgbWidget::loadFromKeyboard()
{
    const BusyWait wait(this, statusLabel);
    if (!wait.hasBegun())
        return;
    const std::optional<ColorBank> bank = readColorBank();
    if (bank) {
        writtenColors = *bank; // as good as written
        editColors(tr("Read from keyboard"), [&](ColorBank& colors) { colors = *bank; });
    }
    statusLabel->showOutcome(bank.has_value(), tr("Color bank read from keyboard."),
                             StatePart::Colors);
}

void RgbWidget::editColors(const QString& name, const std::function<void(ColorBank&)>& change)
{
    EditHistory::instance().edit(StatePart::Colors, name,
                                 [&](SavedState& state) { change(state.customRgb); });
    refreshColors();
}

// Every key has a color, black included, which shows as a gray glow.
void RgbWidget::refreshColors()
{
    for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex)
        view->setKeyColor(static_cast<int>(lightIndex), colorOfKey(lightIndex));
    showMark();
}

// What the keyboard held before the program started is unknown; then nothing is marked.
void RgbWidget::showMark()
{
    sendButton->setMarked(AppState::instance().customRgb != writtenColors);
}

} // namespace tavik
