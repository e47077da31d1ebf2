#include "app/skin_title_bar.h"

#include "app/skin/skin_icons.h"

#include <QGuiApplication>
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
        dragOffset = event->globalPosition().toPoint() - window()->frameGeometry().topLeft();
        // A Wayland client does not know where its window is, so the compositor does the moving.
        if (compositorMovesWindows() && window()->windowHandle() != nullptr)
            window()->windowHandle()->startSystemMove();
    }
    QWidget::mousePressEvent(event);
}

void SkinTitleBar::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons().testFlag(Qt::LeftButton) && !compositorMovesWindows())
        window()->move(event->globalPosition().toPoint() - dragOffset);
    QWidget::mouseMoveEvent(event);
}

} // namespace tavik
