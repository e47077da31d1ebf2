// SPDX-License-Identifier: MIT
#include "tests/support/made_images.h"
#include "tests/support/made_shared_place.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace tavik::tests;

namespace {

// In kilobytes. The sanitizer keeps what is freed, and books of its own.
#ifdef __SANITIZE_ADDRESS__
constexpr qint64 mostMemory = 1200 * 1024;
#else
constexpr qint64 mostMemory = 400 * 1024;
#endif

const QStringList pictures{
    "control_check.png",         "control_down.png",       "control_up.png",
    "dialog_information.png",    "dialog_question.png",    "img_circlepalette.png",
    "img_direction_bottom.png",  "img_direction_left.png", "img_direction_right.png",
    "img_direction_top.png",     "img_keyboard_brix9.png", "img_switch_off.png",
    "img_switch_on.png",         "keyboard_bkg.png",       "main_sysbtn_close.png",
    "main_sysbtn_min.png",       "zerolt-logo.png",        "icons/icon_favorites.png",
    "icons/icon_music.png",      "icons/tab_config.png",   "icons/tab_customkey.png",
    "icons/tab_customlight.png", "icons/tab_home.png",     "icons/tab_lcd.png",
    "icons/tab_light.png",       "icons/tab_macro.png",    "icons/tavik-center.png"};
const QStringList layouts{"keyboard-layout.xml", "rgb-keyboard.xml"};
const QStringList fonts{"fonts/OpenSans-Regular.ttf", "fonts/OpenSans-Semibold.ttf"};

// Whoever reads a drawing parses all of it before telling its size.
QByteArray drawingBomb()
{
    return "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'>" +
           QByteArray("<g/>").repeated(1'500'000) + "</svg>";
}

// So many macros without a name.
QByteArray macrosWithoutNames(qsizetype count)
{
    return "{\"macros\":[{}" + QByteArray(",{}").repeated(count) + "]}";
}

// A state as the program writes it, as large as it reads one.
QByteArray largestState()
{
    const QByteArray action = R"(
                {
                    "delay": 65535,
                    "flags": 176,
                    "key": 255
                },)";
    const QByteArray begin = "{\n    \"macros\": [\n        {\n            \"actions\": [";
    const QByteArray end = "{}],\"name\":\"M\"}]}";
    return begin + action.repeated((64 * 1024 * 1024 - begin.size() - end.size()) / action.size()) +
           end;
}

QByteArray layoutBomb()
{
    return "<Keyboard width='800' height='300'>" +
           QByteArray("<key light_index='1' rect_width='9' rect_height='9'/>").repeated(70'000) +
           "</Keyboard>";
}

// The text so many times, with a number in it.
QByteArray numbered(const QByteArray& text, int count)
{
    QByteArray all;
    for (int number = 0; number < count; ++number)
        all += QByteArray(text).replace("%1", QByteArray::number(number));
    return all;
}

// The largest amount of memory that the process has had, in kilobytes.
qint64 peakMemory(qint64 processId)
{
    const QString status =
        QString::fromLatin1(readFile(QStringLiteral("/proc/%1/status").arg(processId)));
    return status.section(QLatin1String("VmHWM:"), 1).section(u'k', 0, 0).trimmed().toLongLong();
}

} // namespace

// Whatever lies where the program reads at its start, it starts.
class HostileStartTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Away from the skin beside it, the program takes the one in the current directory.
        QVERIFY(QDir().mkpath(directory.filePath("bin")));
        QVERIFY(QFile::copy(PROGRAM_UNDER_TEST, program()));
    }

    void startsAllTheSame_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("content");
        const QString skin = "run/resources/official-skin/";
        QStringList skinPictures;
        QStringList skinFonts;
        for (const QString& name : pictures) {
            skinPictures += skin + name;
            skinPictures += skin + QString(name).replace('.', "@2x.");
        }
        for (const QString& name : fonts)
            skinFonts += skin + name;
        QStringList layout;
        for (const QString& name : layouts)
            layout += "run/" + name;
        // Before a layout that is installed.
        QStringList firstLayout = layout;
        for (const QString& name : layouts)
            firstLayout += MadeSharedPlace::path(name);
        const QStringList state{"config/zerolt-linux/ZEROLT TAVIK Pro/state.json",
                                "config/zerolt-linux/ZEROLT TAVIK Pro/state.json.bak"};
        const QStringList settings{"config/zerolt-linux/ZEROLT TAVIK Pro.conf",
                                   "config/zerolt-linux.conf"};
        const QStringList all = skinPictures + skinFonts + firstLayout + state + settings;
        for (const char* kind : {"pipe", "endless device", "directory", "nothing in it", "huge"})
            QTest::newRow(kind) << all << QString(kind) << QByteArray();
        QTest::newRow("pixels in pictures")
            << skinPictures << QString() << encodeBlackPng({20'000, 20'000}, 1);
        QTest::newRow("texts in pictures")
            << skinPictures << QString() << encodeBlackPng({150, 30}, 8, 60);
        QTest::newRow("drawings for pictures") << skinPictures << QString() << drawingBomb();
        QTest::newRow("pipe for dense screens")
            << skinPictures.filter("@") << QString("pipe") << encodeBlackPng({150, 30}, 8);
        for (const int count : {600'000, 20'000'000}) {
            QTest::addRow("%d macros", count) << state << QString() << macrosWithoutNames(count);
        }
        QTest::newRow("digits for macros")
            << state << QString()
            << "{\"macros\":[" + QByteArray("0,").repeated(11'000'000) + "0]}";
        QTest::newRow("a name of 64 MB") << state << QString()
                                         << "{\"macros\":[{\"name\":\"\\u00e4" +
                                                QByteArray(64 * 1024 * 1024 - 100, 'n') + "\"}]}";
        QTest::newRow("largest state") << state << QString() << largestState();
        QTest::newRow("layout bomb") << layout << QString() << layoutBomb();
        QTest::newRow("attributes in a layout")
            << layout << QString() << "<key" + numbered(" a%1=''", 300'000) + "/>";
        QTest::newRow("entities in a layout")
            << layout << QString()
            << "<!DOCTYPE k [<!ENTITY e '" + QByteArray("<key/>").repeated(40) + "'>]><Keyboard>" +
                   QByteArray("&e;").repeated(1'300'000);
        QTest::newRow("everything at its limit") << all << QString("limits") << QByteArray();
        QTest::newRow("noise in fonts")
            << skinFonts << QString() << QByteArray(31 * 1024 * 1024, 'x');
    }
    void startsAllTheSame()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, kind);
        QFETCH(QByteArray, content);
        if (QTest::currentDataTag() == QByteArray("layout bomb") && isInstalled())
            QSKIP("an installed layout is found first");
        const MadeSharedPlace shared;
        for (const QString& name : names) {
            if (shared.isMade() || QDir::isRelativePath(name))
                place(QDir(directory.path()).filePath(name), kind, content);
            if (kind == "pipe" && !content.isEmpty())
                writeFile(directory.filePath(QString(name).remove("@2x")), content);
        }

        QProcess first;
        start(first);
        const QDir runtime(directory.filePath("runtime"));
        QTRY_VERIFY_WITH_TIMEOUT(!runtime.entryList({"*.socket"}, QDir::System).isEmpty(), 30'000);
        // A second start ends when the first, with its window open, answers.
        bool isAnswered = false;
        for (int attempt = 0; attempt < 20 && !isAnswered; ++attempt) {
            QProcess second;
            start(second);
            isAnswered = second.waitForFinished(4'000) && second.exitCode() == 0;
            second.kill();
            second.waitForFinished();
        }
        QVERIFY(isAnswered);
        QCOMPARE(first.state(), QProcess::Running);
        const qint64 memory = peakMemory(first.processId());
        QVERIFY(memory > 0);
        QVERIFY2(memory < mostMemory, qPrintable(QString::number(memory / 1024) + " MB"));
        first.terminate();
        QVERIFY(first.waitForFinished());
    }

    void cleanup()
    {
        for (const char* name : {"run", "config", "runtime"})
            QDir(directory.filePath(name)).removeRecursively();
    }

private:
    [[nodiscard]] QString program() const { return directory.filePath("bin/tavik-center"); }

    static bool isInstalled()
    {
        return QFileInfo::exists("/usr/share/tavik-center") ||
               QFileInfo::exists("/usr/local/share/tavik-center");
    }

    static void place(const QString& path, const QString& kind, const QByteArray& content)
    {
        QDir().mkpath(QFileInfo(path).path());
        if (kind == "pipe")
            QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else if (kind == "endless device")
            QVERIFY(QFile::link("/dev/zero", path));
        else if (kind == "directory")
            QVERIFY(QDir().mkpath(path));
        else if (kind == "limits")
            writeFile(path, largest(path));
        else
            writeFile(path, content);
        if (kind == "huge")
            QVERIFY(QFile::resize(path, qint64{1} << 30));
        if (kind == "limits" && path.contains("/official-skin/") && !isControl(path))
            QVERIFY(QFile::resize(path, 32 * 1024 * 1024));
    }

    static bool isControl(const QString& path)
    {
        return path.contains("/control_") || path.contains("/dialog_");
    }

    // As large as a file in its place may be, and as costly.
    static QByteArray largest(const QString& path)
    {
        static const QByteArray state = largestState();
        static const QByteArray picture = [] {
            QImage image(3162, 3162, QImage::Format_ARGB32);
            image.fill(Qt::transparent);
            return encodeImage(image, "png");
        }();
        if (path.endsWith(".json") || path.endsWith(".bak"))
            return state;
        if (path.endsWith(".ttf"))
            return readFile(TAVIK_FONT);
        if (path.endsWith(".conf"))
            return "[General]\n" + QByteArray("language=2\n").repeated(95'000);
        if (path.endsWith(".xml"))
            return layoutBomb();
        return isControl(path) ? encodeBlackPng({256, 256}, 8) : picture;
    }

    void start(QProcess& process) const
    {
        QDir().mkpath(directory.filePath("runtime"));
        QFile::setPermissions(directory.filePath("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QDir().mkpath(directory.filePath("run"));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", directory.filePath("config"));
        environment.insert("XDG_RUNTIME_DIR", directory.filePath("runtime"));
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("QT_SCALE_FACTOR", "2"); // which asks for pictures of both densities
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(directory.filePath("run"));
        process.start(program(), QStringList());
        process.waitForStarted();
    }

    QTemporaryDir directory;
};

QTEST_GUILESS_MAIN(HostileStartTest)
#include "hostile_start_test.moc"
