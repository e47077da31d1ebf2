// SPDX-License-Identifier: MIT
#include <QProcess>
#include <QRect>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <xcb/xcb.h>

namespace {

struct Free
{
    void operator()(void* reply) const { std::free(reply); }
};

// What a display knows of its windows.
class DisplayView
{
public:
    explicit DisplayView(const QByteArray& name)
        : connection(xcb_connect(name.constData(), nullptr))
    {
    }
    ~DisplayView() { xcb_disconnect(connection); }
    Q_DISABLE_COPY_MOVE(DisplayView)

    [[nodiscard]] bool hasWindowManager() const
    {
        return !property(root(), "_NET_SUPPORTING_WM_CHECK").isEmpty();
    }

    // From the lowest to the one in front.
    [[nodiscard]] QList<xcb_window_t> windows() const
    {
        return numbers(root(), "_NET_CLIENT_LIST_STACKING");
    }

    [[nodiscard]] QString title(xcb_window_t window) const
    {
        return QString::fromUtf8(property(window, "_NET_WM_NAME"));
    }

    [[nodiscard]] bool isMapped(xcb_window_t window) const
    {
        const std::unique_ptr<xcb_get_window_attributes_reply_t, Free> attributes(
            xcb_get_window_attributes_reply(
                connection, xcb_get_window_attributes(connection, window), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    // With what the window manager has put round it.
    [[nodiscard]] QRect frame(xcb_window_t window) const
    {
        const std::unique_ptr<xcb_get_geometry_reply_t, Free> size(
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
        const std::unique_ptr<xcb_translate_coordinates_reply_t, Free> place(
            xcb_translate_coordinates_reply(
                connection, xcb_translate_coordinates(connection, window, root(), 0, 0), nullptr));
        const QList<xcb_window_t> edges = numbers(window, "_NET_FRAME_EXTENTS");
        if (!size || !place || edges.size() < 4)
            return {};
        const auto edge = [&](int index) { return static_cast<int>(edges.at(index)); };
        return QRect(place->dst_x, place->dst_y, size->width, size->height)
            .adjusted(-edge(0), -edge(2), edge(1), edge(3));
    }

    // As a click on the button in its frame does.
    void close(xcb_window_t window) const
    {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atom("_NET_CLOSE_WINDOW");
        xcb_send_event(connection, 0, root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(connection);
    }

private:
    [[nodiscard]] xcb_window_t root() const
    {
        return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    }

    [[nodiscard]] xcb_atom_t atom(QByteArrayView name) const
    {
        const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(xcb_intern_atom_reply(
            connection,
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
            nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    [[nodiscard]] QByteArray property(xcb_window_t window, QByteArrayView name) const
    {
        const std::unique_ptr<xcb_get_property_reply_t, Free> reply(xcb_get_property_reply(
            connection, xcb_get_property(connection, 0, window, atom(name), XCB_ATOM_ANY, 0, 1000),
            nullptr));
        return reply ? QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                  xcb_get_property_value_length(reply.get()))
                     : QByteArray();
    }

    [[nodiscard]] QList<xcb_window_t> numbers(xcb_window_t window, QByteArrayView name) const
    {
        const QByteArray bytes = property(window, name);
        QList<xcb_window_t> values(bytes.size() / static_cast<qsizetype>(sizeof(xcb_window_t)));
        if (!values.isEmpty())
            std::memcpy(values.data(), bytes.constData(),
                        static_cast<std::size_t>(values.size()) * sizeof(xcb_window_t));
        return values;
    }

    xcb_connection_t* connection;
};

} // namespace

// The program on the virtual keyboard as people start it, on displays with a window manager.
class DemoStartTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QVERIFY(directory.isValid());
        environment.insert("XDG_CONFIG_HOME", directory.path());
        environment.insert("XDG_RUNTIME_DIR", directory.path());
        environment.insert("QT_QPA_PLATFORM", "xcb");
    }

    void cleanup()
    {
        for (QProcess* process : {&demo, &manager, &server}) {
            process->terminate();
            process->waitForFinished();
        }
        display.reset();
    }

    void bothWindowsHaveRoom_data()
    {
        QTest::addColumn<QSize>("screen");
        QTest::addColumn<QSize>("leastProgram");
        QTest::addColumn<int>("leastWidth");
        QTest::addColumn<int>("mostWidth");
        QTest::newRow("full HD") << QSize(1920, 1080) << QSize(1200, 720) << 700 << 720;
        QTest::newRow("a high screen") << QSize(1200, 1920) << QSize(1200, 720) << 1100 << 1200;
        QTest::newRow("a large laptop") << QSize(1600, 900) << QSize(1140, 720) << 450 << 460;
    }
    void bothWindowsHaveRoom()
    {
        QFETCH(const QSize, screen);
        QFETCH(const QSize, leastProgram);
        QFETCH(const int, leastWidth);
        QFETCH(const int, mostWidth);
        start(screen);
        QTRY_VERIFY_WITH_TIMEOUT(bothAreShown(), 60'000);
        QTRY_VERIFY2(QRect({}, screen).contains(keyboardFrame()), qPrintable(places()));
        QTRY_VERIFY2(QRect({}, screen).contains(programFrame()), qPrintable(places()));
        QTRY_VERIFY2(!programFrame().intersects(keyboardFrame()), qPrintable(places()));
        QTRY_VERIFY2(programFrame().width() >= leastProgram.width(), qPrintable(places()));
        QTRY_VERIFY2(programFrame().height() >= leastProgram.height(), qPrintable(places()));
        QTRY_VERIFY2(keyboardFrame().width() >= leastWidth, qPrintable(places()));
        QTRY_VERIFY2(keyboardFrame().width() <= mostWidth, qPrintable(places()));
    }

    // Whoever looks for the keyboard finds it behind the program.
    void theProgramIsInFrontWhereThereIsNoRoom_data()
    {
        QTest::addColumn<QSize>("screen");
        QTest::newRow("a laptop") << QSize(1366, 768);
        QTest::newRow("1280 × 720") << QSize(1280, 720);
        QTest::newRow("1024 × 600") << QSize(1024, 600);
    }
    void theProgramIsInFrontWhereThereIsNoRoom()
    {
        QFETCH(const QSize, screen);
        start(screen);
        QTRY_VERIFY_WITH_TIMEOUT(bothAreShown(), 60'000);
        QTRY_VERIFY2(QRect({}, screen).contains(keyboardFrame()), qPrintable(places()));
        QTRY_VERIFY2(display->windows().constLast() == window(programTitle), qPrintable(places()));
        // All that is left beside the program shows some of the keyboard.
        QVERIFY2(programFrame().left() == 0 && keyboardFrame().right() == screen.width() - 1,
                 qPrintable(places()));
        QVERIFY2(programFrame().width() == std::min(screen.width(), 1200), qPrintable(places()));
    }

    void theKeyboardGoesWithTheProgram()
    {
        start({1920, 1080});
        QTRY_VERIFY_WITH_TIMEOUT(bothAreShown(), 60'000);
        display->close(window(programTitle));
        QVERIFY(demo.waitForFinished());
        QCOMPARE(demo.exitStatus(), QProcess::NormalExit);
        QCOMPARE(demo.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(demo.readAll()), QString());
    }

    void theProgramStaysWithoutTheKeyboard()
    {
        start({1920, 1080});
        QTRY_VERIFY_WITH_TIMEOUT(bothAreShown(), 60'000);
        display->close(window(keyboardTitle));
        QTRY_VERIFY(window(keyboardTitle) == XCB_NONE);
        QVERIFY(display->isMapped(window(programTitle)));
        QCOMPARE(demo.state(), QProcess::Running);
    }

private:
    void start(QSize screen)
    {
        server.start("Xvfb", {"-displayfd", "1", "-screen", "0",
                              QStringLiteral("%1x%2x24").arg(screen.width()).arg(screen.height())});
        QTRY_VERIFY2_WITH_TIMEOUT(server.canReadLine(), "Xvfb does not start", 60'000);
        const QByteArray name = ':' + server.readLine().trimmed();
        environment.insert("DISPLAY", name);
        display = std::make_unique<DisplayView>(name);

        manager.setProcessEnvironment(environment);
        manager.start("openbox", {"--sm-disable"});
        QTRY_VERIFY_WITH_TIMEOUT(display->hasWindowManager(), 60'000);
        demo.setProcessEnvironment(environment);
        demo.setProcessChannelMode(QProcess::MergedChannels);
        demo.start(PROGRAM_UNDER_TEST, QStringList());
        QVERIFY(demo.waitForStarted());
    }

    [[nodiscard]] xcb_window_t window(const QString& title) const
    {
        for (const xcb_window_t each : display->windows()) {
            if (display->title(each) == title)
                return each;
        }
        return XCB_NONE;
    }
    [[nodiscard]] bool bothAreShown() const
    {
        return display->isMapped(window(programTitle)) && display->isMapped(window(keyboardTitle));
    }
    [[nodiscard]] QRect programFrame() const { return display->frame(window(programTitle)); }
    [[nodiscard]] QRect keyboardFrame() const { return display->frame(window(keyboardTitle)); }
    [[nodiscard]] QString places() const
    {
        QString text;
        QDebug(&text) << programFrame() << keyboardFrame();
        return text;
    }

    const QString programTitle = QStringLiteral("ZEROLT TAVIK Pro");
    const QString keyboardTitle = QStringLiteral("Virtual keyboard");
    QTemporaryDir directory;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QProcess server;
    QProcess manager;
    QProcess demo;
    std::unique_ptr<DisplayView> display;
};

QTEST_GUILESS_MAIN(DemoStartTest)
#include "demo_start_test.moc"
