// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "model/keyboard_layout.h"
#include "pages/lighting/palette_wheel.h"
#include "pages/parts/keyboard_view.h"
#include "tests/bench/comparison.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

namespace tavik::bench {

namespace {

// As large as on the page that shows nothing else, over the ground that it repeats there.
constexpr QRect viewArea(30, 25, 1080, 600);
constexpr QSize workspaceSize(1140, 660);

// One picture, painted without a look at what lies below it.
class PictureView : public QWidget
{
public:
    PictureView(QPixmap shown, QWidget* parent) : QWidget(parent), picture(std::move(shown)) {}

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawPixmap(0, 0, picture);
    }

private:
    QPixmap picture;
};

// A workspace with the drawn keyboard, and beside it one with a picture of the same.
struct Workspaces
{
    Workspaces()
    {
        view.setKeyboardLayout(&KeyboardLayout::instance());
        for (const KeyRecord& key : KeyboardLayout::instance().keys) {
            view.setCaption(key.lightIndex, QStringLiteral("Ctrl+%1").arg(key.desc));
            view.setKeyColor(key.lightIndex, QColor::fromHsv(key.lightIndex * 2, 255, 255));
        }
        keyboardGround.setObjectName("workspace");
        for (QWidget* child : {static_cast<QWidget*>(&view), static_cast<QWidget*>(&picture)}) {
            child->setGeometry(viewArea);
            child->parentWidget()->resize(workspaceSize);
            doUntilPainted(*child, [child] { child->parentWidget()->show(); });
        }
    }

    QWidget keyboardGround;
    QWidget pictureGround;
    KeyboardView view{&keyboardGround};
    PictureView picture{opaquePicture(), &pictureGround};

private:
    QPixmap opaquePicture()
    {
        const double ratio = pictureGround.devicePixelRatioF();
        QImage image(viewArea.size() * ratio, QImage::Format_RGB32);
        image.setDevicePixelRatio(ratio);
        image.fill(Qt::darkGray);
        return QPixmap::fromImage(image);
    }
};

constexpr std::array modes{KeyboardViewMode::RainbowGlow, KeyboardViewMode::Captions,
                           KeyboardViewMode::KeyColors};

Comparison keyPress(int calls)
{
    const auto workspaces = std::make_shared<Workspaces>();
    workspaces->view.setMode(KeyboardViewMode::Captions);
    const QList<KeyRecord>& keys = KeyboardLayout::instance().keys;
    require(keys.size() > 40, "the layout has too few keys");
    const auto areas = std::make_shared<QList<QRect>>();
    for (const qsizetype index : {20, 40})
        areas->append(workspaces->view.hitRectangle(keys.at(index)));
    const auto press = [=] {
        areas->swapItemsAt(0, 1);
        const QPointF point = areas->constFirst().center();
        QMouseEvent event(QEvent::MouseButtonPress, point, point, Qt::LeftButton, Qt::LeftButton,
                          {});
        doUntilPainted(workspaces->view,
                       [&] { QApplication::sendEvent(&workspaces->view, &event); });
    };
    const auto copy = [=] { workspaces->picture.repaint(QRegion(areas->at(0)) + areas->at(1)); };
    return processorTimes("key press with its repaint", {0, 2}, 15, press, copy, calls);
}

Comparison wheelColor(int calls)
{
    const auto wheel = std::make_shared<PaletteWheel>();
    doUntilPainted(*wheel, [&wheel] { wheel->show(); });
    const auto turn = [wheel, hue = 0]() mutable {
        wheel->setColor(QColor::fromHsv(hue++ % 360, 255, 255));
    };
    return processorTimes(
        "color of the wheel", {0, 0.1}, 15, turn, [wheel] { wheel->update(); }, calls);
}

} // namespace

QList<double> repaintKeyboard(double times)
{
    applyApplicationStyle(*qApp);
    Workspaces workspaces;
    QList<double> figures;
    for (const KeyboardViewMode mode : modes) {
        workspaces.view.setMode(mode);
        workspaces.view.repaint();
        figures += processorTime([&] { workspaces.view.repaint(); }, static_cast<int>(times));
    }
    return figures;
}

QList<double> repaintPicture(double times)
{
    applyApplicationStyle(*qApp);
    Workspaces workspaces;
    workspaces.picture.repaint();
    return QList<double>(modes.size(), processorTime([&] { workspaces.picture.repaint(); },
                                                     static_cast<int>(times)));
}

QList<Comparison> drawingComparisons(Effort effort)
{
    const int calls = effort == Effort::Full ? 20 : 1;
    QList<Comparison> comparisons;
    for (const int ratio : {1, 2}) {
        const QString name = QStringLiteral("repaint at %1 x: %2").arg(ratio);
        comparisons += Comparison{{{name.arg("glow"), "ms", {}},
                                   {name.arg("captions"), "ms", {}},
                                   {name.arg("colors"), "ms", {}}},
                                  9,
                                  [=] { return inOwnProcess("repaint", calls, ratio); },
                                  [=] { return inOwnProcess("picture", calls, ratio); }};
    }
    return comparisons << keyPress(calls) << wheelColor(calls * 50);
}

} // namespace tavik::bench
