// SPDX-License-Identifier: MIT
#pragma once

#include "model/key_action.h"

#include <QDialog>

#include <chrono>

class QLabel;
class QTimer;

namespace tavik {

// Takes the next keys that are pressed together: any modifiers, left and right told apart, and one
// key, or modifiers alone. Keys count by where they lie. Every key may be meant, so only the
// button, a click beside the dialog and Esc held for a second cancel it. It deletes itself.
class ChordDialog : public QDialog
{
    Q_OBJECT

public:
    // keyName is the key that is to get the chord.
    ChordDialog(const QString& keyName, QWidget* parent);

    // Shows it there, as far as the screen allows, and returns at once.
    void openAt(QPoint globalCenter);

signals:
    // Once, when the keys are let go. The dialog closes.
    void chordTaken(tavik::KeyAction chord);

protected:
    bool event(QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void press(quint32 scanCode);
    void release(quint32 scanCode);
    QTimer* createTimer(std::chrono::milliseconds interval, void (ChordDialog::*act)());
    [[nodiscard]] static QString escapeWords();
    void showChord();
    void finish();

    std::uint8_t heldModifiers = 0;
    KeyAction chord; // default while nothing is pressed
    QLabel* words = nullptr;
    QLabel* note = nullptr;
    QTimer* escapeHeld = nullptr;  // leaves
    QTimer* escapeLetGo = nullptr; // takes Esc
};

} // namespace tavik
