// SPDX-License-Identifier: MIT
#include "pages/keys/keymap_widget.h"

#include "model/key_names.h"
#include "model/keyboard_layout.h"
#include "pages/keys/action_dialog.h"
#include "pages/keys/action_menu.h"
#include "pages/keys/chord_dialog.h"
#include "pages/parts/accessible_roles.h"
#include "pages/parts/busy_wait.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/shown_text.h"
#include "pages/parts/status_label.h"
#include "pages/parts/undo_entries.h"

#include <QAction>
#include <QButtonGroup>
#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
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

// A key's action on the clipboard, as the four bytes that the keyboard stores.
QString clipboardFormat()
{
    return QStringLiteral("application/x-tavik-key-action");
}

std::optional<KeyAction> actionOnClipboard()
{
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    const QByteArray bytes = data == nullptr ? QByteArray() : data->data(clipboardFormat());
    if (bytes.size() != sizeof(KeyAction))
        return {};
    const auto byte = [&](qsizetype index) { return static_cast<std::uint8_t>(bytes.at(index)); };
    return KeyAction{byte(0), byte(1), byte(2), byte(3)};
}

} // namespace

KeymapWidget::KeymapWidget(QWidget* parent)
    : QWidget(parent), writtenLayers{AppState::instance().layerBase, AppState::instance().layerFn}
{
    createLayerButtons();
    createView();
    createShortcuts();

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
    auto* layers = new QButtonGroup(this);
    layers->addButton(baseButton, static_cast<int>(LayerId::Base));
    layers->addButton(fnButton, static_cast<int>(LayerId::Fn));
    connect(layers, &QButtonGroup::idToggled, this, [this](int layer, bool isChecked) {
        if (isChecked)
            switchLayer(layer);
    });
    setAccessibleGroup(layers, tr("Layer"));
    letTabFindTheChosen(layers->buttons());
}

void KeymapWidget::createView()
{
    view = new KeyboardView(this);
    view->setKeyboardLayout(&KeyboardLayout::instance());
    view->setMode(KeyboardViewMode::Captions);
    connect(view, &KeyboardView::slotActivated, this, &KeymapWidget::keyClicked);
    connect(view, &KeyboardView::slotContextMenu, this, &KeymapWidget::showKeyMenu);
    view->setKeyToolTip([this](int lightIndex) { return keyToolTip(lightIndex); });
}

void KeymapWidget::createShortcuts()
{
    copyAction = addKeyShortcut(tr("Copy"), Qt::CTRL | Qt::Key_C, &KeymapWidget::copyKey);
    pasteAction = addKeyShortcut(tr("Paste"), Qt::CTRL | Qt::Key_V, &KeymapWidget::pasteKey);
    addKeyShortcut(tr("Default key"), Qt::Key_Delete, &KeymapWidget::clearKey);
}

// It acts on the marked key while the drawn keys have the focus.
QAction* KeymapWidget::addKeyShortcut(const QString& text, const QKeySequence& keys,
                                      void (KeymapWidget::*act)(int lightIndex))
{
    return addMenuEntry(view, text, keys, [this, act] {
        if (isKey(view->markedKey()))
            (this->*act)(view->markedKey());
    });
}

QString KeymapWidget::keyToolTip(int lightIndex) const
{
    const AppState& state = AppState::instance();
    const auto index = static_cast<std::size_t>(lightIndex);
    const KeyAction& base = state.layerBase.at(index);
    const KeyAction& fn = state.layerFn.at(index);
    if (base == KeyAction() && fn == KeyAction())
        return tr("Click to assign, right click for a menu");
    const auto words = [&](const KeyAction& action) {
        return beginningOf(keyActionWords(action, state.macros), toolTipNameLimit);
    };
    return wrappedToolTip(
        tr("%1\nBase layer: %2\nFn layer: %3").arg(nameOfKey(lightIndex), words(base), words(fn)));
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
    dialog.setAccessibleDescription(nameOfKey(lightIndex));
    if (dialog.exec() == QDialog::Accepted)
        assignKey(lightIndex, dialog.action());
}

void KeymapWidget::showKeyMenu(int lightIndex, QPoint globalPos)
{
    Q_ASSERT(isKey(lightIndex));
    const KeyAction current = layerKeys().at(static_cast<std::size_t>(lightIndex));
    auto* menu = new ActionMenu(nameOfKey(lightIndex), current, AppState::instance().macros, this);
    connect(
        menu, &ActionMenu::assignRequested, this, [this, lightIndex] { keyClicked(lightIndex); },
        Qt::QueuedConnection); // who pressed it need not wait for the dialog
    connect(menu, &ActionMenu::chordRequested, this,
            [this, lightIndex] { pressChord(lightIndex); });
    connect(menu, &ActionMenu::actionChosen, this,
            [this, lightIndex](const KeyAction& action) { assignKey(lightIndex, action); });
    menu->addSeparator();
    menu->addActions({copyAction, pasteAction});
    // Asking the clipboard may take long, so only a menu does it.
    pasteAction->setEnabled(actionOnClipboard().has_value());
    connect(menu, &QMenu::aboutToHide, pasteAction, [this] { pasteAction->setEnabled(true); });
    addUndoEntries(menu);
    popUp(menu, globalPos);
}

void KeymapWidget::pressChord(int lightIndex)
{
    auto* dialog = new ChordDialog(nameOfKey(lightIndex), this);
    connect(dialog, &ChordDialog::chordTaken, this,
            [this, lightIndex](const KeyAction& chord) { assignKey(lightIndex, chord); });
    dialog->openAt(mapToGlobal(rect().center()));
}

void KeymapWidget::copyKey(int lightIndex)
{
    const KeyAction action = layerKeys().at(static_cast<std::size_t>(lightIndex));
    auto* copied = new QMimeData;
    copied->setData(clipboardFormat(),
                    QByteArray(reinterpret_cast<const char*>(&action), sizeof action));
    copied->setText(keyActionWords(action, AppState::instance().macros));
    QGuiApplication::clipboard()->setMimeData(copied);
}

void KeymapWidget::pasteKey(int lightIndex)
{
    if (const std::optional<KeyAction> action = actionOnClipboard())
        assignKey(lightIndex, *action);
}

void KeymapWidget::clearKey(int lightIndex)
{
    assignKey(lightIndex, {});
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
    (currentLayer == LayerId::Base ? baseButton : fnButton)->setChecked(true);
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
