#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

class QPushButton;

namespace tavik::virtual_keyboard {

class KeyboardModel;

// Shows live what the virtual keyboard holds and does: its keys with their colors and actions, its
// lighting and sleep time, its macros, the animations of its screen slots and the latest reports.
class KeyboardWindow : public QWidget
{
    Q_OBJECT

public:
    explicit KeyboardWindow(QWidget* parent = nullptr);

    // Repaints at once, also while the program blocks the event loop; at most some 25 times a
    // second, so that a long transfer is not slowed down.
    void showProgress();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void togglePlug();

    QPushButton* plugButton;
    QElapsedTimer sinceStart; // what the animations play by
    QElapsedTimer sinceRepaint;
    QTimer animation;
};

} // namespace tavik::virtual_keyboard
