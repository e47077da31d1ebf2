// SPDX-License-Identifier: MIT
#pragma once

#include "pages/screen/image_import.h"

#include <QDialog>

class QLabel;
class QTimer;

namespace tavik {

// Shows the frames one after the other, each for its time, as often as the user looks; at one, two
// or four pixels of the window for one of the keyboard's. It deletes itself.
class FramePlayer : public QDialog
{
    Q_OBJECT

public:
    // One frame or more.
    FramePlayer(const QList<ScreenFrame>& frames, QWidget* parent);

private:
    QLayout* createControls();
    void setScale(int scale);
    void showFrame();
    void showNext();

    QList<ScreenFrame> frames;
    qsizetype current = 0;
    int scale = 2;

    QLabel* screen = nullptr;
    QLabel* words = nullptr;
    QTimer* timer = nullptr;
};

} // namespace tavik
