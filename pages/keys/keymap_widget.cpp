#include "pages/keys/keymap_widget.h"

#include "model/key_names.h"
#include "model/keyboard_layout.h"
#include "pages/keys/action_dialog.h"
#include "pages/keys/action_menu.h"
#include "pages/parts/busy_wait.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/status_label.h"
#include "pages/parts/undo_entries.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tavik {

namespace {

bool isKey(int lightIndex)
{
    return lightIndex >= 0 && lightIndex < static_cast<int>(layerSize);
}

QString layerName(LayerId id)
{
    return id == LayerId::Base ? QStringLiteral("base") : QStringLiteral("Fn");
}

} // namespace

KeymapWidget::KeymapWidget(QWidget* parent)
    : QWidget(parent), writtenLayers{AppState::instance().layerBase, AppState::instance().layerFn}
{
    createLayerButtons();
    createView();

    QVBoxLayout* column = createPageColumn(this);
    column->addLayout(createRow({baseButton, fnButton}));
    column->addWidget(view, 1);
    column->addWidget(createHint(
        tr("Click a key to assign an action. Base layer = normal keys, Fn layer = hold Fn."),
        this));
    writeButton =
        createAccentButton(tr("Write layer to keyboard"), this, &KeymapWidget::applyLayer);
    column->addLayout(createRow(
        {writeButton, createButton(tr("Reset all to default"), this, &KeymapWidget::resetLayer)}));
    statusLabel = new StatusLabel(this);
    column->addWidget(statusLabel);

    // Captions show the names of macros as well.
    connect(&EditHistory::instance(), &EditHistory::changed, this, [this](StatePart part) {
        if (part == StatePart::Macros || part == StatePart::Everything)
            refreshCaptions();
    });
    connect(&AppState::instance(), &AppState::layersChanged, this, &KeymapWidget::refreshCaptions);
    connect(&AppState::instance(), &AppState::macrosChanged, this, &KeymapWidget::refreshCaptions);
    connect(&EditHistory::instance(), &EditHistory::restored, this, &KeymapWidget::showRestored);
    switchLayer(static_cast<int>(LayerId::Base));
}

void KeymapWidget::createLayerButtons()
{
    baseButton = new QPushButton(tr("Base layer"), this);
    fnButton = new QPushButton(tr("Fn layer"), this);
    for (QPushButton* button : {baseButton, fnButton})
        button->setCheckable(true);
    connect(baseButton, &QPushButton::clicked, this,
            [this] { switchLayer(static_cast<int>(LayerId::Base)); });
    connect(fnButton, &QPushButton::clicked, this,
            [this] { switchLayer(static_cast<int>(LayerId::Fn)); });
}

void KeymapWidget::createView()
{
    view = new KeyboardView(this);
    view->setKeyboardLayout(&KeyboardLayout::instance());
    view->setMode(KeyboardViewMode::Captions);
    connect(view, &KeyboardView::slotActivated, this, &KeymapWidget::keyClicked);
    connect(view, &KeyboardView::slotContextMenu, this, &KeymapWidget::showKeyMenu);
    view->setKeyToolTip([](int) { return tr("Click to assign, right click for a menu"); });
}

const KeyLayer& KeymapWidget::layerKeys() const
{
    const AppState& state = AppState::instance();
    return currentLayer == LayerId::Base ? state.layerBase : state.layerFn;
}

StatePart KeymapWidget::currentPart() const
{
    return currentLayer == LayerId::Base ? StatePart::BaseLayer : StatePart::FnLayer;
}

void KeymapWidget::editLayer(const QString& name, const std::function<void(KeyLayer&)>& change)
{
    EditHistory::instance().edit(currentPart(), name, [&](SavedState& state) {
        change(currentLayer == LayerId::Base ? state.layerBase : state.layerFn);
    });
    refreshCaptions();
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
    addUndoEntries(menu);
    menu->popup(globalPos);
}

void KeymapWidget::assignKey(int lightIndex, const KeyAction& action)
{
    editLayer(tr("Assign %1").arg(keyInStepName(lightIndex)),
              [&](KeyLayer& keys) { keys.at(static_cast<std::size_t>(lightIndex)) = action; });
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
    editLayer(tr("Reset %1 layer").arg(layerName(currentLayer)),
              [](KeyLayer& keys) { keys.fill({}); });
}

void KeymapWidget::applyLayer()
{
    const BusyWait wait(this, statusLabel);
    if (!wait.hasBegun())
        return;
    const bool written = writeLayer(currentLayer, layerKeys());
    if (written)
        writtenKeys() = layerKeys();
    showMark();
    statusLabel->showOutcome(written, tr("Layer %1 written.").arg(layerName(currentLayer)),
                             currentPart());
}

void KeymapWidget::refreshCaptions()
{
    const AppState& state = AppState::instance();
    int lightIndex = 0;
    for (const KeyAction& action : layerKeys())
        view->setCaption(lightIndex++, keyActionLabel(action, state.macros));
    showMark();
}

// What the keyboard held before the program started is unknown; then nothing is marked.
void KeymapWidget::showMark()
{
    writeButton->setMarked(layerKeys() != writtenKeys());
}

void KeymapWidget::showRestored(StatePart part)
{
    if (part == StatePart::BaseLayer || part == StatePart::FnLayer)
        switchLayer(static_cast<int>(part == StatePart::BaseLayer ? LayerId::Base : LayerId::Fn));
}

} // namespace tavik
