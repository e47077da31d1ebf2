#include "pages/colors/rgb_widget.h"

#include "model/app_state.h"
#include "model/keyboard_layout.h"
#include "pages/colors/color_preview.h"
#include "pages/colors/color_transfer.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/status_label.h"

#include <QColorDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QSlider>
#include <QVBoxLayout>

namespace tavik {

namespace {

constexpr QSize previewSize(56, 26);
constexpr int brightnessSliderWidth = 160;
constexpr int highestBrightness = 5;

} // namespace

RgbWidget::RgbWidget(QWidget* parent) : QWidget(parent)
{
    QVBoxLayout* column = createPageColumn(this);
    column->addLayout(createBrushRow());
    column->addLayout(createModeRow());
    column->addLayout(
        createRow({createAccentButton(tr("Send painting to keyboard"), this, &RgbWidget::apply),
                   createButton(tr("Read from keyboard"), this, &RgbWidget::loadFromKeyboard)}));
    createView();
    column->addWidget(view, 1);
    column->addWidget(createHint(tr("Click keys to paint them with the brush color."), this));
    statusLabel = createStatusLabel(this);
    column->addWidget(statusLabel);

    connect(&AppState::instance(), &AppState::rgbChanged, this, &RgbWidget::refreshColors);
    refreshColors();
}

QLayout* RgbWidget::createBrushRow()
{
    preview = new ColorPreview(brushColor, this);
    preview->setFixedSize(previewSize);

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
}

void RgbWidget::chooseBrushColor()
{
    const QColor chosen = QColorDialog::getColor(brushColor, this, tr("Brush color"));
    if (!chosen.isValid())
        return;
    brushColor = chosen;
    preview->update();
}

void RgbWidget::paintKey(std::size_t lightIndex)
{
    setColor(AppState::instance().customRgb, lightIndex,
             {static_cast<unsigned char>(brushColor.red()),
              static_cast<unsigned char>(brushColor.green()),
              static_cast<unsigned char>(brushColor.blue())});
}

void RgbWidget::keyClicked(int lightIndex)
{
    paintKey(static_cast<std::size_t>(lightIndex));
    AppState::instance().save();
    refreshColors();
}

void RgbWidget::paintAll()
{
    for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex)
        paintKey(lightIndex);
    AppState::instance().save();
    refreshColors();
}

void RgbWidget::applyMode()
{
    showOutcome(statusLabel, enableCustomColors(brightnessSlider->value()),
                tr("Custom mode enabled."));
}

void RgbWidget::apply()
{
    showOutcome(statusLabel, writeColorBank(AppState::instance().customRgb), tr("Painting sent."));
}

void RgbWidget::loadFromKeyboard()
{
    const std::optional<ColorBank> bank = readColorBank();
    if (bank) {
        AppState::instance().customRgb = *bank;
        AppState::instance().save();
        refreshColors();
    }
    showOutcome(statusLabel, bank.has_value(), tr("Color bank read from keyboard."));
}

// Every key has a color, black included, which shows as a gray glow.
void RgbWidget::refreshColors()
{
    const ColorBank& bank = AppState::instance().customRgb;
    for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex) {
        const KeyColor color = colorOf(bank, lightIndex);
        view->setKeyColor(static_cast<int>(lightIndex), QColor(color.red, color.green, color.blue));
    }
}

} // namespace tavik
