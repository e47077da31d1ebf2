#include "pages/colors/rgb_widget.h"

#include "device/device.h"
#include "model/app_state.h"
#include "model/keyboard_layout.h"
#include "pages/colors/color_preview.h"
#include "pages/colors/color_transfer.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/status_label.h"

#include <QColorDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

namespace tavik {

namespace {

constexpr int pageMargin = 12;
constexpr int pageSpacing = 8;
constexpr QSize previewSize(56, 26);
constexpr int brightnessSliderWidth = 160;
constexpr int highestBrightness = 5;

} // namespace

RgbWidget::RgbWidget(QWidget* parent) : QWidget(parent)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(pageMargin, pageMargin, pageMargin, pageMargin);
    column->setSpacing(pageSpacing);
    // A window too small for the page cuts it at its edges instead of piling up its parts.
    column->setSizeConstraint(QLayout::SetMinimumSize);

    column->addLayout(createBrushRow());
    column->addLayout(createModeRow());
    column->addLayout(createTransferRow());
    createView();
    column->addWidget(view, 1);
    auto* hint = new QLabel(tr("Click keys to paint them with the brush color."), this);
    hint->setObjectName(QStringLiteral("hint"));
    column->addWidget(hint);
    statusLabel = new QLabel(this);
    statusLabel->setTextFormat(Qt::PlainText);
    column->addWidget(statusLabel);

    connect(&AppState::instance(), &AppState::rgbChanged, this, &RgbWidget::refreshColors);
    refreshColors();
}

QLayout* RgbWidget::createBrushRow()
{
    preview = new ColorPreview(brushColor, this);
    preview->setFixedSize(previewSize);

    auto* row = new QHBoxLayout;
    row->addWidget(preview);
    row->addWidget(createButton(tr("Brush color…"), &RgbWidget::chooseBrushColor));
    row->addWidget(createButton(tr("Fill all keys"), &RgbWidget::paintAll));
    row->addStretch();
    return row;
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

    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(brightnessSlider);
    row->addWidget(createButton(tr("Enable custom mode"), &RgbWidget::applyMode));
    row->addStretch();
    return row;
}

QLayout* RgbWidget::createTransferRow()
{
    QPushButton* sendButton = createButton(tr("Send painting to keyboard"), &RgbWidget::apply);
    sendButton->setObjectName(QStringLiteral("accent"));

    auto* row = new QHBoxLayout;
    row->addWidget(sendButton);
    row->addWidget(createButton(tr("Read from keyboard"), &RgbWidget::loadFromKeyboard));
    row->addStretch();
    return row;
}

void RgbWidget::createView()
{
    view = new KeyboardView(this);
    view->setKeyboardLayout(&KeyboardLayout::instance());
    view->setMode(KeyboardViewMode::KeyColors);
    connect(view, &KeyboardView::slotActivated, this, &RgbWidget::keyClicked);
}

QPushButton* RgbWidget::createButton(const QString& text, void (RgbWidget::*slot)())
{
    auto* button = new QPushButton(text, this);
    connect(button, &QPushButton::clicked, this, slot);
    return button;
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
    showOutcome(enableCustomColors(brightnessSlider->value()), tr("Custom mode enabled."));
}

void RgbWidget::apply()
{
    showOutcome(writeColorBank(AppState::instance().customRgb), tr("Painting sent."));
}

void RgbWidget::loadFromKeyboard()
{
    const std::optional<ColorBank> bank = readColorBank();
    if (bank) {
        AppState::instance().customRgb = *bank;
        AppState::instance().save();
        refreshColors();
    }
    showOutcome(bank.has_value(), tr("Color bank read from keyboard."));
}

// Every key has a color, black included, which shows as a gray glow.
void RgbWidget::refreshColors()
{
    const ColorBank& bank = AppState::instance().customRgb;
    view->clearKeyColors();
    for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex) {
        const KeyColor color = colorOf(bank, lightIndex);
        view->setKeyColor(static_cast<int>(lightIndex), QColor(color.red, color.green, color.blue));
    }
    view->update();
}

void RgbWidget::showOutcome(bool succeeded, const QString& successText)
{
    if (succeeded)
        showStatus(statusLabel, StatusLook::Success, successText);
    else
        showError(statusLabel, Device::instance().lastError);
}

} // namespace tavik
