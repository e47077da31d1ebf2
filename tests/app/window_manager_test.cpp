// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "app/window_place.h"
#include "app/window_rim.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QApplication>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QWindow>

#include <cstdlib>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

using namespace tavik;

namespace {

// The pointer of the X server, moved as a hand moves it.
class Pointer : public QObject
{
public:
    Pointer() : connection(xcb_connect(nullptr, nullptr)) { qApp->installEventFilter(this); }
    ~Pointer() override { xcb_disconnect(connection); }
    Q_DISABLE_COPY_MOVE(Pointer)

    // A window shown before the manager runs would be none of its business.
    [[nodiscard]] bool seesAWindowManager() const
    {
        const auto atom = internAtom("_NET_SUPPORTING_WM_CHECK");
        const Reply<xcb_get_property_reply_t> property(xcb_get_property_reply(
            connection, xcb_get_property(connection, 0, root(), atom->atom, XCB_ATOM_WINDOW, 0, 1),
            nullptr));
        return property && xcb_get_property_value_length(property.get()) > 0;
    }

    // What the window manager and its task list show of a window.
    [[nodiscard]] QImage iconOf(const QWidget& window) const
    {
        const auto atom = internAtom("_NET_WM_ICON");
        const Reply<xcb_get_property_reply_t> property(xcb_get_property_reply(
            connection,
            xcb_get_property(connection, 0, static_cast<xcb_window_t>(window.winId()), atom->atom,
                             XCB_ATOM_CARDINAL, 0, 1'000'000),
            nullptr));
        if (!property || xcb_get_property_value_length(property.get()) < 8)
            return {};
        const auto* values = static_cast<const uchar*>(xcb_get_property_value(property.get()));
        const auto* size = reinterpret_cast<const quint32*>(values);
        return QImage(values + 8, static_cast<int>(size[0]), static_cast<int>(size[1]),
                      QImage::Format_ARGB32)
            .copy();
    }

    void moveTo(QPoint point)
    {
        fake(XCB_MOTION_NOTIFY, 0, point);
        QVERIFY(QTest::qWaitFor([point] { return QCursor::pos() == point; }));
    }
    void press(int button = 1) { fake(XCB_BUTTON_PRESS, button); }
    void release(int button = 1)
    {
        const int before = released;
        fake(XCB_BUTTON_RELEASE, button);
        QVERIFY(QTest::qWaitFor([this, before] { return released > before; }));
    }
    void click(QPoint point, int button = 1)
    {
        moveTo(point);
        press(button);
        release(button);
    }
    // Nobody waits until it has reached the program, which may be busy.
    void clickMeanwhile(QPoint point)
    {
        fake(XCB_MOTION_NOTIFY, 0, point);
        fake(XCB_BUTTON_PRESS, 1);
        fake(XCB_BUTTON_RELEASE, 1);
    }
    // Alt+F4, by the numbers that these keys have on every X server for PCs.
    void closeByKeys()
    {
        fake(XCB_KEY_PRESS, 64);
        fake(XCB_KEY_PRESS, 70);
        fake(XCB_KEY_RELEASE, 70);
        fake(XCB_KEY_RELEASE, 64);
    }
    void drag(QPoint from, QPoint to, int button = 1)
    {
        moveTo(from);
        press(button);
        moveFurther(from, to);
        release(button);
    }
    // From the press to the release, the window manager resizes by itself. It has taken over when
    // the window follows.
    void dragByManager(const QWidget& window, QPoint from, QPoint to)
    {
        const QRect before = window.geometry();
        const int pressesBefore = pressed;
        moveTo(from);
        press();
        QVERIFY(QTest::qWaitFor([&] { return pressed > pressesBefore; }));
        QVERIFY(QTest::qWaitFor([&] {
            moveFurther(from, to);
            return window.geometry() != before;
        }));
        fake(XCB_BUTTON_RELEASE, 1);
    }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        pressed += event->type() == QEvent::MouseButtonPress ? 1 : 0;
        released += event->type() == QEvent::MouseButtonRelease ? 1 : 0;
        return false;
    }

private:
    struct Free
    {
        void operator()(void* reply) const { std::free(reply); }
    };
    template <typename T>
    using Reply = std::unique_ptr<T, Free>;

    [[nodiscard]] Reply<xcb_intern_atom_reply_t> internAtom(std::string_view name) const
    {
        return Reply<xcb_intern_atom_reply_t>(xcb_intern_atom_reply(
            connection,
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
            nullptr));
    }
    [[nodiscard]] xcb_window_t root() const
    {
        return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    }

    void moveFurther(QPoint from, QPoint to)
    {
        for (int step = 1; step <= 8; ++step)
            moveTo(from + (to - from) * step / 8);
    }

    void fake(int type, int detail, QPoint point = {})
    {
        xcb_test_fake_input(connection, static_cast<std::uint8_t>(type),
                            static_cast<std::uint8_t>(detail), XCB_CURRENT_TIME, root(),
                            static_cast<std::int16_t>(point.x()),
                            static_cast<std::int16_t>(point.y()), 0);
        Reply<xcb_get_input_focus_reply_t>(
            xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    }

    xcb_connection_t* connection;
    int pressed = 0; // events that have reached the program
    int released = 0;
};

constexpr QRect startPlace(60, 80, 1000, 700);

} // namespace

// The window in the hands of a window manager, with real pointer events.
class WindowManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        manager.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
        QVERIFY2(manager.waitForStarted(), "openbox does not start");
        QTRY_VERIFY_WITH_TIMEOUT(pointer.seesAWindowManager(), 20'000);
        applyApplicationStyle(*qApp);
    }

    void init()
    {
        window = std::make_unique<MainWindow>();
        window->setGeometry(startPlace);
        showOnScreen(*window, window->screen()->availableGeometry());
        QVERIFY(QTest::qWaitForWindowActive(window.get(), 20'000));
        QTRY_COMPARE(window->geometry(), startPlace);
    }

    void cleanup() { window.reset(); }

    void cleanupTestCase()
    {
        manager.terminate();
        manager.waitForFinished();
    }

    void taskListsShowItsIcon()
    {
        const QImage icon = pointer.iconOf(*window);
        QVERIFY(icon.width() >= 16);
        // The key in the color of the program.
        QCOMPARE(icon.pixelColor(icon.width() * 44 / 64, icon.height() * 22 / 64),
                 QColor(0xe77a19));
    }

    void keysOfTheWindowManagerKeepWorking()
    {
        // Again, as people would: it may not yet have been listening.
        QTRY_VERIFY2(!window->isVisible() || (pointer.closeByKeys(), false), "not closed");
    }

    void edgesAndCornersResize_data()
    {
        QTest::addColumn<QPoint>("from");
        QTest::addColumn<QMargins>("growth"); // by which each edge moves outwards
        const QRect r = startPlace;
        const QPoint middle = r.center();
        QTest::newRow("left") << QPoint(r.left() + 2, middle.y()) << QMargins(40, 0, 0, 0);
        QTest::newRow("right") << QPoint(r.right() - 2, middle.y()) << QMargins(0, 0, 40, 0);
        QTest::newRow("top") << QPoint(middle.x(), r.top() + 2) << QMargins(0, 24, 0, 0);
        QTest::newRow("bottom") << QPoint(middle.x(), r.bottom() - 2) << QMargins(0, 0, 0, 24);
        QTest::newRow("top left") << r.topLeft() + QPoint(2, 2) << QMargins(40, 24, 0, 0);
        QTest::newRow("top right") << r.topRight() + QPoint(-2, 10) << QMargins(0, 24, 40, 0);
        QTest::newRow("bottom left") << r.bottomLeft() + QPoint(10, -2) << QMargins(40, 0, 0, 24);
        QTest::newRow("bottom right") << r.bottomRight() - QPoint(2, 2) << QMargins(0, 0, 40, 24);
    }
    void edgesAndCornersResize()
    {
        QFETCH(QPoint, from);
        QFETCH(QMargins, growth);
        pointer.dragByManager(
            *window, from,
            from + QPoint(growth.right() - growth.left(), growth.bottom() - growth.top()));
        QTRY_COMPARE(window->geometry(), startPlace.marginsAdded(growth));
    }

    void resizingStopsAtTheLeastSize()
    {
        pointer.dragByManager(*window, startPlace.bottomRight() - QPoint(2, 2),
                              startPlace.topLeft());
        QTRY_COMPARE(window->geometry(), QRect(startPlace.topLeft(), QSize(900, 620)));
    }

    void rimShowsWhatItDoes()
    {
        const auto* rim = window->findChild<WindowRim*>();
        pointer.moveTo({startPlace.left() + 2, startPlace.center().y()});
        QTRY_COMPARE(rim->cursor().shape(), Qt::SizeHorCursor);
        pointer.moveTo({startPlace.center().x(), startPlace.bottom() - 2});
        QTRY_COMPARE(rim->cursor().shape(), Qt::SizeVerCursor);
        pointer.moveTo(startPlace.topLeft() + QPoint(2, 2));
        QTRY_COMPARE(rim->cursor().shape(), Qt::SizeFDiagCursor);
        pointer.moveTo(startPlace.topRight() + QPoint(-2, 2));
        QTRY_COMPARE(rim->cursor().shape(), Qt::SizeBDiagCursor);
        pointer.moveTo(startPlace.topLeft() + QPoint(500, 20));
        QTRY_VERIFY(!rim->underMouse());
    }

    void titleBarMoves()
    {
        pointer.drag(startPlace.topLeft() + QPoint(400, 20),
                     startPlace.topLeft() + QPoint(450, 50));
        QTRY_COMPARE(window->geometry(), startPlace.translated(50, 30));
    }

    void doubleClickMaximizesAndRestores()
    {
        const QPoint bar = startPlace.topLeft() + QPoint(400, 20);
        pointer.click(bar);
        pointer.click(bar);
        QTRY_VERIFY(window->isMaximized());
        QTRY_COMPARE(window->geometry(), window->screen()->availableGeometry());
        QVERIFY(!window->findChild<WindowRim*>()->isVisible());

        const QPoint maximizedBar(400, 20);
        pointer.click(maximizedBar);
        pointer.click(maximizedBar);
        QTRY_COMPARE(window->geometry(), startPlace);
        QVERIFY(window->findChild<WindowRim*>()->isVisible());
    }

    // The hand moves on before it lets go of the second click.
    void doubleClickThatSlipsStillMaximizes()
    {
        const QPoint bar = startPlace.topLeft() + QPoint(400, 20);
        pointer.click(bar);
        pointer.press();
        QTRY_VERIFY(window->isMaximized());
        pointer.moveTo(bar + QPoint(15, 30));
        pointer.moveTo(bar + QPoint(30, 60));
        pointer.release();
        QVERIFY(window->isMaximized());
        QCOMPARE(window->geometry(), window->screen()->availableGeometry());
    }

    void draggingAMaximizedWindowRestoresItUnderThePointer()
    {
        window->showMaximized();
        QTRY_COMPARE(window->geometry(), window->screen()->availableGeometry());
        const QPoint from(window->width() * 3 / 4, 20);
        const QPoint to = from + QPoint(30, 200);
        pointer.drag(from, to);
        QTRY_VERIFY(!window->isMaximized());
        QTRY_COMPARE(window->size(), startPlace.size());
        QTRY_COMPARE(to - window->pos(), QPoint(startPlace.width() * 3 / 4, 20));

        // Its old size is not lost.
        window->showMaximized();
        QTRY_VERIFY(window->isMaximized());
        window->showNormal();
        QTRY_COMPARE(window->size(), startPlace.size());
    }

    void tremblingHandDoesNotRestore()
    {
        window->showMaximized();
        QTRY_COMPARE(window->geometry(), window->screen()->availableGeometry());
        pointer.drag({600, 20}, {603, 22});
        QVERIFY(window->isMaximized());
        QCOMPARE(window->geometry(), window->screen()->availableGeometry());
    }

    void otherButtonsDoNothing()
    {
        const QPoint bar = startPlace.topLeft() + QPoint(400, 20);
        for (const int button : {2, 3}) {
            pointer.drag(bar, bar + QPoint(50, 50), button);
            pointer.click(bar, button);
            pointer.click(bar, button);
            QCOMPARE(window->geometry(), startPlace);
            QVERIFY(QApplication::activePopupWidget() == nullptr);
        }
        pointer.drag(startPlace.bottomRight() - QPoint(2, 2),
                     startPlace.bottomRight() + QPoint(40, 40), 3);
        QCOMPARE(window->geometry(), startPlace);
    }

    // While the keyboard is written, clicks lie in the connection to the display.
    void clicksThatWaitInTheDisplayNeverHappen()
    {
        const auto* stack = window->findChild<QStackedWidget*>(QStringLiteral("pageStack"));
        const auto placeOf = [](const QWidget* widget) {
            return widget->mapToGlobal(widget->rect().center());
        };
        const QToolButton* keys = nullptr;
        const QToolButton* settings = nullptr;
        for (const QToolButton* button : window->findChildren<QToolButton*>()) {
            keys = button->toolTip() == QLatin1String("Keys") ? button : keys;
            settings = button->toolTip() == QLatin1String("Keyboard Settings") ? button : settings;
        }
        pointer.click(placeOf(keys));
        QTRY_COMPARE(stack->currentIndex(), 1);
        const QWidget* write = stack->currentWidget()->findChild<QPushButton*>("accent");
        virtual_keyboard::VirtualBus& bus = virtual_keyboard::VirtualBus::instance();
        bus.clearTrace();
        bool clicked = false;
        bus.setListener([&] {
            if (std::exchange(clicked, true))
                return;
            pointer.clickMeanwhile(placeOf(write));
            pointer.clickMeanwhile(placeOf(settings));
        });
        pointer.click(placeOf(write));
        bus.setListener({});
        QTRY_VERIFY(QApplication::overrideCursor() == nullptr);
        const int exchanges = bus.count("wait 35");
        QCOMPARE(exchanges, 13); // open, header, nine reports, COMMIT, FINISH
        // Whatever came before this one has been dealt with.
        pointer.click(placeOf(window->findChild<QLabel*>(QStringLiteral("pageTitle"))));
        QCOMPARE(bus.count("wait 35"), exchanges);
        QCOMPARE(stack->currentIndex(), 1);
    }

private:
    QProcess manager;
    Pointer pointer;
    std::unique_ptr<MainWindow> window;
};

int main(int argc, char* argv[])
{
    const QTemporaryDir configuration;
    qputenv("XDG_CONFIG_HOME", configuration.path().toLocal8Bit());
    const QApplication application(argc, argv);
    WindowManagerTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "window_manager_test.moc"
