// SPDX-License-Identifier: MIT
#include "app/skin_title_bar.h"

#include "app/skin/skin_icons.h"
#include "pages/parts/accessible_roles.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QToolButton>
#include <QWindow>

namespace tavik {

namespace {

constexpr QSize systemButtonSize(30, 30);

QLabel* createLogo(QWidget* parent)
{
    auto* logo = new QLabel(parent);
    logo->setFixedSize(62, 28);
    QPixmap picture = loadSkinPixmap(QStringLiteral("zerolt-logo.png"));
    if (!picture.isNull()) {
        // Scaled for the screen's pixel ratio: the wordmark is small and shows every blur.
        const qreal pixelRatio = parent->devicePixelRatioF();
        picture = picture.scaled(QSize(62, 26) * pixelRatio, Qt::KeepAspectRatio,
                                 Qt::SmoothTransformation);
        picture.setDevicePixelRatio(pixelRatio);
        logo->setPixmap(picture);
    }
    return logo;
}

QToolButton* createSystemButton(const QString& objectName, const QString& toolTip,
                                const QString& stripName, QWidget* parent)
{
    auto* button = new QToolButton(parent);
    button->setObjectName(objectName);
    button->setFixedSize(systemButtonSize);
    button->setIconSize(systemButtonSize);
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    setAccessibleRole(button, QAccessible::Button);
    button->setIcon(spriteStripIcon(stripName, systemButtonSize));
    return button;
}

bool compositorMovesWindows()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

} // namespace

SkinTitleBar::SkinTitleBar(QWidget* parent) : QWidget(parent), title(new QLabel(this))
{
    setObjectName(QStringLiteral("titleBar"));
    setAttribute(Qt::WA_StyledBackground); // a subclass does not paint its style sheet otherwise
    setFixedHeight(48);

    title->setObjectName(QStringLiteral("pageTitle"));
    auto* minimize =
        createSystemButton(QStringLiteral("windowMinimize"), QStringLiteral("Minimize"),
                           QStringLiteral("main_sysbtn_min.png"), this);
    auto* close = createSystemButton(QStringLiteral("windowClose"), QStringLiteral("Close"),
                                     QStringLiteral("main_sysbtn_close.png"), this);
    connect(minimize, &QToolButton::clicked, this, &SkinTitleBar::minimizeRequested);
    connect(close, &QToolButton::clicked, this, &SkinTitleBar::closeRequested);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(7, 0, 5, 0);
    row->addWidget(createLogo(this));
    row->addWidget(title);
    row->addStretch();
    row->addWidget(minimize);
    row->addWidget(close);
}

void SkinTitleBar::setTitle(const QString& text)
{
    title->setText(text);
}

void SkinTitleBar::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        pressedAt = event->globalPosition().toPoint();
        dragOffset = pressedAt - window()->frameGeometry().topLeft();
        isHeldStill = false;
    }
    QWidget::mousePressEvent(event);
}

void SkinTitleBar::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint pointer = event->globalPosition().toPoint();
    if (!isHeldStill && event->buttons().testFlag(Qt::LeftButton)) {
        const bool isFar =
            (pointer - pressedAt).manhattanLength() >= QApplication::startDragDistance();
        if (compositorMovesWindows()) {
            // A Wayland client does not know where its window is, so the compositor does the
            // moving, and the restoring before it. Not on the press, or no second click would come.
            if (isFar && window()->windowHandle() != nullptr)
                isHeldStill = window()->windowHandle()->startSystemMove();
        } else if (!window()->isMaximized()) {
            window()->move(pointer - dragOffset);
        } else if (isFar) {
            restoreUnder(pointer);
        }
    }
    QWidget::mouseMoveEvent(event);
}

void SkinTitleBar::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        isHeldStill = true; // the hand may tremble before it lets go
        emit maximizeToggled();
    }
}

// The pointer keeps its share of the width, so that it stays on the title bar.
void SkinTitleBar::restoreUnder(QPoint pointer)
{
    const QRect restored = window()->normalGeometry();
    dragOffset.setX(dragOffset.x() * restored.width() / window()->width());
    window()->showNormal();
    window()->setGeometry(QRect(pointer - dragOffset, restored.size()));
}

} // namespace tavik
