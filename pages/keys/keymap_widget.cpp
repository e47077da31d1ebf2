#include "pages/keys/keymap_widget.h"

#include "device/device.h"
#include "model/app_state.h"
#include "model/key_names.h"
#include "model/keyboard_layout.h"
#include "pages/keys/action_dialog.h"
#include "pages/keys/action_menu.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/status_label.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tavik {

namespace {

constexpr int pageMargin = 12;
constexpr int pageSpacing = 8;

bool isKey(int lightIndex)
{
    return lightIndex >= 0 && lightIndex < static_cast<int>(layerSize);
}

QString layerName(LayerId id)
{
    return id == LayerId::Base ? QStringLiteral("base") : QStringLiteral("Fn");
}

} // namespace

KeymapWidget::KeymapWidget(QWidget* parent) : QWidget(parent)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(pageMargin, pageMargin, pageMargin, pageMargin);
    column->setSpacing(pageSpacing);
    // A window too small for the page cuts it at its edges instead of piling up its parts.
    column->setSizeConstraint(QLayout::SetMinimumSize);

    column->addLayout(createLayerButtons());
    createView();
    column->addWidget(view, 1);
    auto* hint = new QLabel(
        tr("Click a key to assign an action. Base layer = normal keys, Fn layer = hold Fn."), this);
    hint->setObjectName(QStringLiteral("hint"));
    column->addWidget(hint);
    column->addLayout(createLayerCommands());
    statusLabel = new QLabel(this);
    statusLabel->setTextFormat(Qt::PlainText);
    column->addWidget(statusLabel);

    // Captions show the names of macros as well.
    connect(&AppState::instance(), &AppState::layersChanged, this, &KeymapWidget::refreshCaptions);
    connect(&AppState::instance(), &AppState::macrosChanged, this, &KeymapWidget::refreshCaptions);
    switchLayer(static_cast<int>(LayerId::Base));
}

QLayout* KeymapWidget::createLayerButtons()
{
    baseButton = new QPushButton(tr("Base layer"), this);
    fnButton = new QPushButton(tr("Fn layer"), this);
    auto* row = new QHBoxLayout;
    for (QPushButton* button : {baseButton, fnButton}) {
        button->setCheckable(true);
        row->addWidget(button);
    }
    row->addStretch();
    connect(baseButton, &QPushButton::clicked, this,
            [this] { switchLayer(static_cast<int>(LayerId::Base)); });
    connect(fnButton, &QPushButton::clicked, this,
            [this] { switchLayer(static_cast<int>(LayerId::Fn)); });
    return row;
}

void KeymapWidget::createView()
{
    view = new KeyboardView(this);
    view->setKeyboardLayout(&KeyboardLayout::instance());
    view->setMode(KeyboardViewMode::Captions);
    connect(view, &KeyboardView::slotActivated, this, &KeymapWidget::keyClicked);
    connect(view, &KeyboardView::slotContextMenu, this, &KeymapWidget::showKeyMenu);
}

QLayout* KeymapWidget::createLayerCommands()
{
    auto* writeButton = new QPushButton(tr("Write layer to keyboard"), this);
    writeButton->setObjectName(QStringLiteral("accent"));
    connect(writeButton, &QPushButton::clicked, this, &KeymapWidget::applyLayer);
    auto* resetButton = new QPushButton(tr("Reset all to default"), this);
    connect(resetButton, &QPushButton::clicked, this, &KeymapWidget::resetLayer);

    auto* row = new QHBoxLayout;
    row->addWidget(writeButton);
    row->addWidget(resetButton);
    row->addStretch();
    return row;
}

KeyLayer& KeymapWidget::layerKeys() const
{
    AppState& state = AppState::instance();
    return currentLayer == LayerId::Base ? state.layerBase : state.layerFn;
}

void KeymapWidget::keyClicked(int lightIndex)
{
    Q_ASSERT(isKey(lightIndex));
    const KeyAction current = layerKeys().at(static_cast<std::size_t>(lightIndex));
    ActionDialog dialog(current, static_cast<int>(AppState::instance().macros.size()), this);
    if (dialog.exec() == QDialog::Accepted)
        assignKey(lightIndex, dialog.action());
}

void KeymapWidget::showKeyMenu(int lightIndex, QPoint globalPos)
{
    Q_ASSERT(isKey(lightIndex));
    const KeyAction current = layerKeys().at(static_cast<std::size_t>(lightIndex));
    auto* menu = new ActionMenu(current, AppState::instance().macros, this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu, &ActionMenu::assignRequested, this,
            [this, lightIndex] { keyClicked(lightIndex); });
    connect(menu, &ActionMenu::actionChosen, this,
            [this, lightIndex](const KeyAction& action) { assignKey(lightIndex, action); });
    menu->popup(globalPos);
}

void KeymapWidget::assignKey(int lightIndex, const KeyAction& action)
{
    layerKeys().at(static_cast<std::size_t>(lightIndex)) = action;
    AppState::instance().save();
    refreshCaptions();
}

void KeymapWidget::switchLayer(int layer)
{
    Q_ASSERT(layer == 0 || layer == 1);
    currentLayer = static_cast<LayerId>(layer);
    // Set by hand: a click on the checked button has just unchecked it.
    baseButton->setChecked(currentLayer == LayerId::Base);
    fnButton->setChecked(currentLayer == LayerId::Fn);
    refreshCaptions();
}

void KeymapWidget::resetLayer()
{
    layerKeys().fill({});
    AppState::instance().save();
    refreshCaptions();
}

void KeymapWidget::applyLayer()
{
    if (writeLayer(currentLayer, layerKeys()))
        showStatus(statusLabel, StatusLook::Success,
                   tr("Layer %1 written.").arg(layerName(currentLayer)));
    else
        showError(statusLabel, Device::instance().lastError);
}

void KeymapWidget::refreshCaptions()
{
    const AppState& state = AppState::instance();
    view->clearCaptions();
    int lightIndex = 0;
    for (const KeyAction& action : layerKeys()) {
        const QString caption = keyActionLabel(action, state.macros);
        if (!caption.isEmpty())
            view->setCaption(lightIndex, caption);
        ++lightIndex;
    }
    view->update();
}

} // namespace tavik
