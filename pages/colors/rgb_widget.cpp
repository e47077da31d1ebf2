#include "pages/colors/rgb_widget.h"

#include "model/keyboard_layout.h"
#include "pages/colors/color_preview.h"
#include "pages/colors/color_transfer.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/status_label.h"
#include "pages/parts/undo_entries.h"

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
    connect(&EditHistory::instance(), &EditHistory::restored, this, &RgbWidget::showRestored);
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
    connect(view, &KeyboardView::slotContextMenu, this,
            [this](int, QPoint globalPos) { showUndoMenu(this, globalPos); });
}

void RgbWidget::chooseBrushColor()
{
    const QColor chosen = QColorDialog::getColor(brushColor, this, tr("Brush color"));
    if (!chosen.isValid())
        return;
    brushColor = chosen;
    preview->update();
}

void RgbWidget::paintKey(ColorBank& bank, std::size_t lightIndex) const
{
    setColor(bank, lightIndex,
             {static_cast<unsigned char>(brushColor.red()),
              static_cast<unsigned char>(brushColor.green()),
              static_cast<unsigned char>(brushColor.blue())});
}

void RgbWidget::keyClicked(int lightIndex)
{
    editColors(tr("Paint %1").arg(keyInStepName(lightIndex)),
               [&](ColorBank& bank) { paintKey(bank, static_cast<std::size_t>(lightIndex)); });
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
    if (bank)
        editColors(tr("Read from keyboard"), [&](ColorBank& colors) { colors = *bank; });
    showOutcome(statusLabel, bank.has_value(), tr("Color bank read from keyboard."));
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
    const ColorBank& bank = AppState::instance().customRgb;
    for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex) {
        const KeyColor color = colorOf(bank, lightIndex);
        view->setKeyColor(static_cast<int>(lightIndex), QColor(color.red, color.green, color.blue));
    }
}

void RgbWidget::showRestored(StatePart part)
{
    refreshColors();
    if (part == StatePart::Colors || part == StatePart::Everything)
        showStatus(statusLabel, StatusLook::Plain, {});
}

} // namespace tavik
