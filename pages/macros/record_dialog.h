// SPDX-License-Identifier: MIT
#pragma once

#include "pages/macros/macro_recording.h"

#include <QDialog>
#include <QElapsedTimer>

class QCheckBox;
class QInputEvent;
class QLabel;
class QListWidget;
class QPushButton;
class QSpinBox;
class QTimer;

namespace tavik {

// Records keys, by where they lie, and mouse buttons pressed in a field of it, from the moment it
// is shown until it is stopped. Every key may be meant, so a click stops it, or Esc held for a
// second. Then the user chooses the delays and takes the recording or drops it. It deletes itself.
class RecordDialog : public QDialog
{
    Q_OBJECT

public:
    RecordDialog(const QString& macroName, QWidget* parent);

signals:
    // Once, with one action or more, when the user takes them. The dialog closes.
    void recorded(const QList<tavik::MacroAction>& actions);

protected:
    void showEvent(QShowEvent* event) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void createField();
    QLayout* createDelayRow();
    QLayout* createButtonRow();

    void start();
    void showRequest();
    void stop(const QString& words);
    void stopAtClick();
    void stopAtEscape();
    void take();
    [[nodiscard]] quint64 timeOf(const QInputEvent& event) const;
    bool takesKey(const QKeyEvent& key);
    void takeKey(quint32 scanCode, bool isPress, quint64 timeMs);
    void takeButton(Qt::MouseButton button, bool isPress, quint64 timeMs);
    [[nodiscard]] QList<MacroAction> actions() const;
    void showActions();

    bool isRecording = false;
    QElapsedTimer clock;
    bool hasOwnClock = false;
    quint64 latestMs = 0; // the time of what came last
    quint64 escapePressedMs = 0;
    MacroRecording recording;
    QTimer* escapeTimer = nullptr;

    QLabel* field = nullptr;
    QListWidget* list = nullptr;
    QCheckBox* fixedDelay = nullptr;
    QSpinBox* fixedInput = nullptr;
    QPushButton* stopButton = nullptr;
    QPushButton* againButton = nullptr;
    QPushButton* addButton = nullptr;
};

} // namespace tavik
