// SPDX-License-Identifier: MIT
#pragma once

#include "model/edit_history.h"
#include "model/key_action.h"
#include "pages/keys/layer_write.h"

#include <QWidget>

#include <array>

class QPushButton;

namespace tavik {

class AccentButton;
class KeyboardView;
class StatusLabel;

// The page on which the user gives the keys of one layer new actions. Every change is stored and
// saved at once; the keyboard learns of it only when the user writes the layer.
class KeymapWidget : public QWidget
{
    Q_OBJECT

public:
    explicit KeymapWidget(QWidget* parent = nullptr);

public slots:
    // Asks in the dialog what the key (0 to 143) does on the current layer.
    void keyClicked(int lightIndex);
    // Opens the menu of the key (0 to 143) at a point of the screen and returns at once.
    void showKeyMenu(int lightIndex, QPoint globalPos);
    // Shows and edits layer 0 (base) or 1 (Fn) from now on. Nothing is sent.
    void switchLayer(int layer);
    // Writes the current layer to the keyboard, which blocks, and shows the outcome.
    void applyLayer();
    // Gives all keys of the current layer their factory function, without asking.
    void resetLayer();

private:
    void createLayerButtons();
    void createView();
    void createShortcuts();
    QAction* addKeyShortcut(const QString& text, const QKeySequence& keys,
                            void (KeymapWidget::*act)(int lightIndex));

    [[nodiscard]] const KeyLayer& layerKeys() const;
    [[nodiscard]] StatePart currentPart() const;
    [[nodiscard]] KeyLayer& writtenKeys()
    {
        return writtenLayers.at(static_cast<std::size_t>(currentLayer));
    }
    void editLayer(const QString& name, const std::function<void(KeyLayer&)>& change);
    void assignKey(int lightIndex, const KeyAction& action);
    void pressChord(int lightIndex);
    void copyKey(int lightIndex);
    void pasteKey(int lightIndex);
    void clearKey(int lightIndex);
    [[nodiscard]] QString keyToolTip(int lightIndex) const;
    void refreshCaptions();
    void showMark();
    void showRestored(StatePart part);

    LayerId currentLayer = LayerId::Base;
    // Both layers as they were last written, or at the start; by their ids.
    std::array<KeyLayer, 2> writtenLayers;

    QPushButton* baseButton = nullptr;
    QPushButton* fnButton = nullptr;
    KeyboardView* view = nullptr;
    QAction* copyAction = nullptr;
    QAction* pasteAction = nullptr;
    AccentButton* writeButton = nullptr;
    StatusLabel* statusLabel = nullptr;
};

} // namespace tavik
