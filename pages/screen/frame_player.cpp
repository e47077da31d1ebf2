// SPDX-License-Identifier: MIT
#include "pages/screen/frame_player.h"

#include "pages/parts/accessible_roles.h"
#include "pages/parts/page_parts.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace tavik {

FramePlayer::FramePlayer(const QList<ScreenFrame>& shownFrames, QWidget* parent)
    : QDialog(parent), frames(shownFrames)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Animation"));
    screen = new QLabel(this);
    screen->setStyleSheet(QStringLiteral("background:#000000;")); // what shows through is black
    words = new QLabel(this);
    words->setAlignment(Qt::AlignCenter);
    timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, &FramePlayer::showNext);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 16, 16, 14);
    column->setSpacing(10);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->addWidget(screen, 0, Qt::AlignCenter);
    column->addWidget(words);
    column->addLayout(createControls());
    setScale(scale);
    timer->start(frames.constFirst().delayMs);
}

QLayout* FramePlayer::createControls()
{
    auto* row = new QHBoxLayout;
    row->addStretch();
    auto* sizes = new QWidget(this);
    auto* sizeRow = new QHBoxLayout(sizes);
    sizeRow->setContentsMargins(0, 0, 0, 0);
    auto* scales = new QButtonGroup(this);
    for (const int choice : {1, 2, 4}) {
        auto* button = new QPushButton(tr("%1 ×").arg(choice), sizes);
        button->setCheckable(true);
        button->setAutoDefault(false);
        button->setChecked(choice == scale);
        scales->addButton(button, choice);
        sizeRow->addWidget(button);
    }
    row->addWidget(sizes);
    setAccessibleGroup(scales, tr("Size"));
    letTabFindTheChosen(scales->buttons());
    scales->button(scale)->setFocus();
    connect(scales, &QButtonGroup::idToggled, this, [this](int choice, bool isChosen) {
        if (isChosen)
            setScale(choice);
    });
    auto* pause = new QPushButton(tr("Pause"), this);
    pause->setCheckable(true);
    pause->setAutoDefault(false);
    connect(pause, &QPushButton::toggled, this, [this](bool isPaused) {
        if (isPaused)
            timer->stop();
        else
            timer->start(frames.at(current).delayMs);
    });
    row->addSpacing(12);
    row->addWidget(pause);
    auto* close = new QPushButton(tr("Close"), this);
    close->setAutoDefault(false);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    row->addWidget(close);
    row->addStretch();
    return row;
}

void FramePlayer::setScale(int chosenScale)
{
    scale = chosenScale;
    screen->setFixedSize(screenSize * scale);
    showFrame();
    if (!isVisible())
        return;
    const QPoint center = geometry().center();
    layout()->activate(); // takes the new size
    centerAt(this, center);
}

void FramePlayer::showFrame()
{
    const ScreenFrame& frame = frames.at(current);
    // In the pixels of the display, so that those of the picture stay sharp on every one.
    const qreal ratio = devicePixelRatioF();
    QPixmap picture = QPixmap::fromImage(
        frame.image.scaled(screen->size() * ratio, Qt::KeepAspectRatio, Qt::FastTransformation));
    picture.setDevicePixelRatio(ratio);
    screen->setPixmap(picture);
    words->setText(
        tr("Frame %1 of %2, %3 ms").arg(current + 1).arg(frames.size()).arg(frame.delayMs));
}

void FramePlayer::showNext()
{
    current = (current + 1) % frames.size();
    showFrame();
    timer->start(frames.at(current).delayMs);
}

} // namespace tavik
