// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/demo/keyboard_in_use.h"
#include "virtual_keyboard/demo/wire_log.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

class QLabel;
class QListWidget;
class QPushButton;
class QToolButton;

namespace tavik::virtual_keyboard {

class LitBoard;
class VirtualBus;

// The virtual keyboard on its desk: shows its light and its screen, what its keys send, what it
// holds, and what comes over the wire; it can be clicked, unplugged and made to misbehave. It
// follows the one bus of the process as long as it lives, also while the program blocks the event
// loop. Needs no time of the processor while nothing moves or nobody sees it.
class KeyboardWindow : public QWidget
{
    Q_OBJECT

public:
    explicit KeyboardWindow(QWidget* parent = nullptr);
    ~KeyboardWindow() override;

    // Shows the window beside or under the program's, which must be shown already, outlives this
    // one and keeps the focus. It may be moved a little, and shrunk where only so both have room.
    void showBeside(QWidget& program);

    // With the board as large as this width allows.
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void place(QWidget& program);
    void placeAgain(QWidget& program, int times);
    void followBus();
    void showState();
    void preparePainting();
    void say(const QString& text);
    void pressKey(int lightIndex);
    void togglePlug();
    void plantFaults();
    void showWire(bool shown);
    void renewWireList();
    void keepLinesWhole();

    [[nodiscard]] QWidget* createButtons();
    [[nodiscard]] QString stateText() const;

    VirtualBus& bus;
    KeyboardInUse keyboard;
    WireLog wire;
    std::size_t talkSeen = 0;
    int refusalsSeen = 0;

    LitBoard* board;
    QString said; // in whole
    QLabel* sentLabel;
    QLabel* stateLabel;
    QPushButton* plugButton = nullptr;
    QPushButton* busyButton = nullptr;
    QPushButton* refuseButton = nullptr;
    QSize placedFrame;   // what was round it when it was placed
    int grownByWire = 0; // pixels, while the list is shown
    int raisedByWire = 0;
    QToolButton* wireButton = nullptr;
    QListWidget* wireList;

    // Starts when a picture is painted that will not stay, so it rests while nobody sees any.
    QTimer nextPicture;
    bool stateIsOld = false;
    QElapsedTimer sinceRepaint;
};

} // namespace tavik::virtual_keyboard
