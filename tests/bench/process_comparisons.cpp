// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "tests/bench/comparison.h"
#include "tests/support/bus_view.h"
#include "tests/support/files.h"

#include <QApplication>
#include <QMap>
#include <QProcess>
#include <QTimer>

#include <cstdio>
#include <ctime>
#include <future>
#include <sys/resource.h>

namespace tavik::bench {

namespace {

class PaintWatcher : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject*, QEvent* event) override
    {
        hasPainted = hasPainted || event->type() == QEvent::Paint;
        return false;
    }

    bool hasPainted = false;
};

const QString marker = QStringLiteral("--contestant");

constexpr QSize programSize(1200, 720);

std::unique_ptr<QWidget> emptyWindow()
{
    auto window = std::make_unique<QWidget>();
    window->setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    window->resize(programSize);
    return window;
}

std::unique_ptr<QWidget> styledWindow()
{
    applyApplicationStyle(*qApp);
    std::unique_ptr<QWidget> window = emptyWindow();
    window->setStyleSheet(windowStyleSheet());
    return window;
}

std::unique_ptr<QWidget> program()
{
    applyApplicationStyle(*qApp);
    return std::make_unique<MainWindow>();
}

std::unique_ptr<QWidget> lonelyProgram()
{
    tests::bus().unplug();
    return program();
}

// A figure in kilobytes of one of this process's files, in mebibytes.
double mebibytes(const char* file, QByteArrayView name)
{
    for (const QByteArray& line : tests::readFile(file).split('\n')) {
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toDouble() / 1024;
    }
    qFatal("no %s in %s", name.data(), file);
}

QList<double> start(std::unique_ptr<QWidget> (*createWindow)(), double startTime)
{
    const std::unique_ptr<QWidget> window = createWindow();
    doUntilPainted(*window, [&window] { window->show(); });
    const double processor = static_cast<double>(clock()) * 1e3 / CLOCKS_PER_SEC;
    const double elapsed = machineTime() - startTime;
    const char* const rollup = "/proc/self/smaps_rollup";
    return {processor, elapsed, mebibytes("/proc/self/status", "VmHWM:"),
            mebibytes(rollup, "Private_Clean:") + mebibytes(rollup, "Private_Dirty:")};
}

QList<double> idle(std::unique_ptr<QWidget> (*createWindow)(), double seconds)
{
    const std::unique_ptr<QWidget> window = createWindow();
    doUntilPainted(*window, [&window] { window->show(); });
    const auto wakeUps = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return static_cast<double>(usage.ru_nvcsw);
    };
    const auto runFor = [](double time) {
        QTimer::singleShot(static_cast<int>(time * 1000), qApp, &QApplication::quit);
        QApplication::exec();
    };
    runFor(1); // until what the start has left to do is done
    const double before = wakeUps();
    const double processor = processorTime([&] { runFor(seconds); });
    return {processor, wakeUps() - before};
}

} // namespace

void doUntilPainted(QWidget& widget, const Work& work)
{
    PaintWatcher watcher;
    widget.installEventFilter(&watcher);
    work();
    while (!watcher.hasPainted)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

QList<double> inOwnProcess(const QString& contestant, double number, int pixelRatio)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_SCALE_FACTOR", QString::number(pixelRatio));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  {marker, contestant, QString::number(number, 'g', 17)});
    require(process.waitForFinished(120'000) && process.exitStatus() == QProcess::NormalExit &&
                process.exitCode() == 0,
            "a process of its own did not come to its end");
    QList<double> figures;
    for (const QByteArray& figure : process.readAllStandardOutput().simplified().split(' '))
        figures += figure.toDouble();
    return figures;
}

bool runAsContestant(const QStringList& arguments)
{
    if (arguments.size() != 4 || arguments.at(1) != marker)
        return false;
    // A start gets the machine's time at which it began, and idling its seconds.
    const QMap<QString, std::function<QList<double>(double)>> contestants{
        {"start-empty", [](double time) { return start(emptyWindow, time); }},
        {"start-styled", [](double time) { return start(styledWindow, time); }},
        {"start-program", [](double time) { return start(lonelyProgram, time); }},
        {"idle-empty", [](double seconds) { return idle(emptyWindow, seconds); }},
        {"idle-connected", [](double seconds) { return idle(program, seconds); }},
        {"idle-alone", [](double seconds) { return idle(lonelyProgram, seconds); }},
        {"repaint", repaintKeyboard},
        {"picture", repaintPicture},
    };
    for (const double figure : contestants.value(arguments.at(2))(arguments.at(3).toDouble()))
        std::printf("%.17g\n", figure);
    return true;
}

QList<Comparison> startComparisons()
{
    const auto started = [](const char* contestant) {
        return [contestant] { return inOwnProcess(contestant, machineTime()); };
    };
    const auto rows = [](const QString& bound, std::optional<Goal> processor,
                         std::optional<Goal> memory) {
        return QList<Row>{{"start / " + bound + ": processor", "ms", processor},
                          {"start / " + bound + ": elapsed", "ms", {}},
                          {"start / " + bound + ": peak memory", "MiB", {}},
                          {"start / " + bound + ": private memory", "MiB", memory}};
    };
    return {{rows("empty window", {}, {}), 11, started("start-program"), started("start-empty")},
            {rows("styled window", Goal{4, 0}, Goal{1, 12}), 11, started("start-program"),
             started("start-styled")}};
}

QList<Comparison> commandComparisons()
{
    const auto processorOf = [](const QString& program, const QStringList& arguments) {
        return [=] {
            const auto spent = [] {
                rusage usage{};
                getrusage(RUSAGE_CHILDREN, &usage);
                const auto milliseconds = [](const timeval& time) {
                    return static_cast<double>(time.tv_sec) * 1e3 +
                           static_cast<double>(time.tv_usec) / 1e3;
                };
                return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
            };
            const double before = spent();
            QProcess process;
            process.start(program, arguments);
            require(process.waitForFinished(), "the command did not come to its end");
            return QList{spent() - before};
        };
    };
    return {{{{"tavikctl status: processor", "ms", Goal{0, 20}}},
             21,
             processorOf(QStringLiteral(TAVIKCTL), {"status"}),
             processorOf("/bin/true", {})}};
}

QList<Comparison> idleComparisons(Effort effort)
{
    const double seconds = effort == Effort::Full ? 60 : 5;
    const QString name = QStringLiteral("idle %1 s, %2").arg(seconds);
    const auto both = [seconds](const QString& first, const QString& second) {
        return [=] {
            auto other =
                std::async(std::launch::async, [=] { return inOwnProcess(second, seconds); });
            const QList<double> figures = inOwnProcess(first, seconds);
            return figures + other.get();
        };
    };
    return {{{{name.arg("keyboard: processor"), "ms", {}},
              {name.arg("keyboard: wake-ups"), "", Goal{1, 0}},
              {name.arg("no keyboard: processor"), "ms", {}},
              {name.arg("no keyboard: wake-ups"), "", {}}},
             1,
             both("idle-connected", "idle-alone"),
             both("idle-empty", "idle-empty")}};
}

} // namespace tavik::bench
