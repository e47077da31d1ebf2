// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "files/process_lock.h"
#include "pages/colors/rgb_widget.h"
#include "pages/keys/keymap_widget.h"
#include "pages/macros/macro_widget.h"
#include "pages/parts/lighting_command.h"
#include "pages/parts/status_label.h"
#include "pages/screen/screen_widget.h"
#include "tests/faults/protocol_checker.h"
#include "tests/pages/keys/layer_write_steps.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/made_images.h"
#include "tests/support/page_view.h"

#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

// Every operation of the program on the keyboard, once as it should be and then once for each call
// into hidapi and each way in which that call can fail. Every run has a process of its own, a copy
// of this one, since the device exists once per process.

using namespace tavik;
using namespace tavik::tests;
using virtual_keyboard::Fault;

namespace {

// A run takes milliseconds, but one that waits for its own lock would take for ever.
constexpr unsigned secondsToStandStill = 60;

constexpr int fromThenOn = 1000; // more often than any operation tries

// Ten attempts are made at most.
const QList<int> roundTheLimit{1, 9, 10, fromThenOn};
const QList<int> onceOrAlways{1, fromThenOn};

// What the caller of an operation gets.
struct Outcome
{
    bool succeeded = false;
    QString text;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

struct Operation
{
    ProtocolSequence protocol;
    std::function<Outcome()> run;
    QString successText;
    QString failureText = QStringLiteral("Error: %1");
    bool wantsConnection = false; // does nothing before the keyboard was opened
};

struct PlannedFault
{
    QString name;
    int call = 0; // the number of the call before which it begins
    std::function<void()> begin;
    std::function<void()> end = [] {}; // after that call
};

// Notes what happens on the bus, and lets a fault begin and end in time.
class Recorder
{
public:
    Recorder()
    {
        bus().setListener([this] { noteNewLine(); });
    }
    ~Recorder() { bus().setListener({}); }
    Q_DISABLE_COPY_MOVE(Recorder)

    void start(const PlannedFault* fault)
    {
        bus().clearTrace();
        events.clear();
        calls = 0;
        planned = fault;
        beginAndEnd();
    }

    QList<WireEvent> events;

private:
    void noteNewLine()
    {
        const auto& trace = bus().trace();
        if (trace.size() == static_cast<std::size_t>(events.size()))
            return; // plugged or unplugged
        const QString line = QString::fromStdString(trace.back());
        if (line.startsWith(QLatin1String("open ")) && !line.endsWith(QLatin1String("refused")))
            noteOpened(line);
        events += {line, QString::fromStdString(bus().errorText(configuration)), deviceLockIsFree(),
                   offeredIn(line)};
        if (line.startsWith(QLatin1String("wait ")))
            return;
        ++calls;
        beginAndEnd();
    }

    void noteOpened(const QString& line)
    {
        ++opened;
        if (line == QLatin1String("open config"))
            configuration = opened;
    }

    static QStringList offeredIn(const QString& line)
    {
        QStringList offered;
        if (!line.startsWith(QLatin1String("enumerate ")) || !bus().plugged())
            return offered;
        for (const virtual_keyboard::BusInterface& entry : bus().interfaces()) {
            if (entry.productId != line.mid(10).toUShort(nullptr, 16))
                continue;
            const QString page = QString::number(entry.usagePage, 16).toUpper();
            offered += entry.usagePage == 0xFF13 ? QStringLiteral("config") : "screen " + page;
        }
        return offered;
    }

    void beginAndEnd()
    {
        if (planned != nullptr && calls == planned->call)
            planned->end();
        if (planned != nullptr && calls + 1 == planned->call)
            planned->begin();
    }

    const PlannedFault* planned = nullptr;
    int calls = 0;
    int opened = 0;
    int configuration = -1;
};

SequenceStep headerStep(const char* code, int argument, const char* count, const QString& rejection)
{
    const QString report = QStringLiteral("04 %1 %2 00 00 00 00 00 %3")
                               .arg(QLatin1String(code))
                               .arg(argument, 2, 10, QLatin1Char('0'))
                               .arg(QLatin1String(count));
    return {"header", report, rejection};
}

SequenceStep commitStep(const QString& rejection = QStringLiteral("COMMIT rejected (status %1)"))
{
    return {"COMMIT", QStringLiteral("04 02"), rejection};
}

ProtocolSequence payloadSequence(const char* code, int argument, const QString& payload)
{
    return {
        .steps = {
            headerStep(code, argument, "01",
                       QStringLiteral("Command %1 rejected (status %2)").arg(QLatin1String(code))),
            {"data", payload, QString()},
            commitStep()}};
}

QList<SequenceStep> slices(std::span<const std::uint8_t> image)
{
    QList<SequenceStep> steps = dataSteps("slice", image);
    for (SequenceStep& step : steps)
        step.pauseMs = 2;
    return steps;
}

ProtocolSequence layerSequence(const char* code, const KeyLayer& layer)
{
    std::vector<std::uint8_t> image;
    for (const KeyAction& action : layer)
        image.insert(image.end(), {action.page, action.p1, action.p2, action.p3});
    image.at(574) = 0xAA;
    image.at(575) = 0x55;
    return {.steps = QList<SequenceStep>{headerStep(
                         code, 0, "09", QStringLiteral("Keymap command rejected (status %1)"))} +
                     slices(image) + QList{commitStep()}};
}

ProtocolSequence bankWriteSequence(const ColorBank& bank)
{
    std::vector<std::uint8_t> image;
    for (std::size_t key = 0; key < 144; ++key)
        image.insert(image.end(), {static_cast<std::uint8_t>(key), bank.at(3 * key),
                                   bank.at(3 * key + 1), bank.at(3 * key + 2)});
    image.at(574) = 0xAA;
    image.at(575) = 0x55;
    return {.flag = 0,
            .steps = QList<SequenceStep>{headerStep(
                         "23", 0, "09", QStringLiteral("RGB bank rejected (status %1)"))} +
                     slices(image) + QList{commitStep()}};
}

ProtocolSequence bankReadSequence()
{
    QList<SequenceStep> steps{headerStep("f5", 0, "09", QString())};
    for (int report = 1; report <= 8; ++report)
        steps += {"piece", QStringLiteral("00"), QString()};
    return {.frame = ProtocolSequence::Frame::Bare, .steps = steps};
}

// One macro of two actions: its offset, their doubled number, and the actions behind it.
ProtocolSequence macroSequence()
{
    std::vector<std::uint8_t> image(448);
    image[0] = 0x90;
    image[1] = 0x01;
    image[400] = 4;
    const std::array<std::uint8_t, 8> actions{10, 0, 4, 0xB0, 0x2C, 0x01, 4, 0x30};
    std::ranges::copy(actions, image.begin() + 404);
    QList<SequenceStep> pieces = slices(image);
    pieces.last().pauseMs = 30;
    return {.steps = QList<SequenceStep>{{"macro session", QStringLiteral("04 19"),
                                          QStringLiteral("Macro session rejected (status %1)")},
                                         headerStep("15", 0, "08", QString())} +
                     pieces +
                     QList{commitStep(QStringLiteral("Macro COMMIT rejected (status %1)"))}};
}

ProtocolSequence screenSequence(const char* blockCount, int blocks)
{
    return {
        .frame = ProtocolSequence::Frame::ScreenBlocks,
        .flag = 0,
        .steps = {headerStep("72", 1, blockCount, QStringLiteral("04 72 rejected (status %1)"))},
        .blocks = blocks};
}

// Without a page: the caller looks at the device itself.
Outcome outcomeOf(bool succeeded)
{
    return {succeeded, succeeded ? QString() : Device::instance().lastError};
}

Operation lightingOperation(const ProtocolSequence& protocol, std::function<bool()> send)
{
    return {.protocol = protocol,
            .run = [send = std::move(send)] { return outcomeOf(send()); },
            .successText = QString(),
            .failureText = QStringLiteral("%1"),
            .wantsConnection = true};
}

// A button of a page, whose status label says what came of it.
Operation pageOperation(const ProtocolSequence& protocol, const std::shared_ptr<QWidget>& page,
                        const QString& button, const QString& successText)
{
    const auto run = [page, button]() -> Outcome {
        buttonOf(*page, button)->click();
        const auto* status = page->findChild<StatusLabel*>();
        const bool succeeded = status->styleSheet() == successStyle;
        if (!succeeded && status->styleSheet() != errorStyle)
            qFatal("neither green nor red");
        return {succeeded, status->text()};
    };
    return {.protocol = protocol, .run = run, .successText = successText};
}

Operation layerOperation(int layer)
{
    const auto page = std::make_shared<KeymapWidget>();
    page->switchLayer(layer);
    const AppState& state = AppState::instance();
    return pageOperation(
        layer == 0 ? layerSequence("11", state.layerBase) : layerSequence("27", state.layerFn),
        page, QStringLiteral("Write layer to keyboard"),
        layer == 0 ? QStringLiteral("Layer base written.") : QStringLiteral("Layer Fn written."));
}

Operation colorOperation(const ProtocolSequence& protocol, const char* button,
                         const char* successText)
{
    return pageOperation(protocol, std::make_shared<RgbWidget>(), QLatin1String(button),
                         QLatin1String(successText));
}

Operation screenOperation(int frames, const ProtocolSequence& protocol)
{
    const auto page = std::make_shared<ScreenWidget>();
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("animation.gif"));
    tavik::tests::writeFile(path, encodePlainGif({30, 30}, manyColors(frames), 10));
    onNextDialog([path](QWidget& dialog) {
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(path);
        QMetaObject::invokeMethod(&dialog, "accept");
    });
    buttonOf(*page, QStringLiteral("Import GIF / images (resized to 128×128)…"))->click();
    Operation operation =
        pageOperation(protocol, page, QStringLiteral("Send to screen"),
                      QStringLiteral("Animation sent (slot 1, %1 frames). Press Fn + Delete to "
                                     "display it.")
                          .arg(frames));
    operation.failureText = QStringLiteral("%1");
    return operation;
}

QMap<QString, std::function<Operation()>> operations()
{
    const QString modePayload = QStringLiteral("0b ff 80 40 00 00 00 00 01 05 03 03 00 00 aa 55");
    const QString customPayload = QStringLiteral("80 00 00 00 00 00 00 00 00 05 00 00 00 00 aa 55");
    const QString sleepPayload = QStringLiteral("00 ").repeated(8) + QStringLiteral("03 ") +
                                 QStringLiteral("00 ").repeated(53) + QStringLiteral("aa 55");
    return {
        {"lighting mode",
         [=] {
             return lightingOperation(payloadSequence("13", 0, modePayload), [] {
                 return sendLightingMode({.effect = 0x0B,
                                          .color = {0xFF, 0x80, 0x40},
                                          .randomColor = true,
                                          .brightness = 5,
                                          .speed = 3,
                                          .direction = 3});
             });
         }},
        {"lighting sleep",
         [=] {
             return lightingOperation(payloadSequence("17", 1, sleepPayload),
                                      [] { return sendLightingSleep(3); });
         }},
        {"custom mode",
         [=] {
             return colorOperation(payloadSequence("13", 0, customPayload), "Enable custom mode",
                                   "Custom mode enabled.");
         }},
        {"base layer", [] { return layerOperation(0); }},
        {"Fn layer", [] { return layerOperation(1); }},
        {"color bank",
         [] {
             return colorOperation(bankWriteSequence(AppState::instance().customRgb),
                                   "Send painting to keyboard", "Painting sent.");
         }},
        {"color bank read",
         [] {
             return colorOperation(bankReadSequence(), "Read from keyboard",
                                   "Color bank read from keyboard.");
         }},
        {"macros",
         [] {
             return pageOperation(macroSequence(), std::make_shared<MacroWidget>(),
                                  QStringLiteral("Write macros to keyboard"),
                                  QStringLiteral("Macros written (412 bytes)."));
         }},
        {"screen, one frame", [] { return screenOperation(1, screenSequence("09", 9)); }},
        {"screen, three frames", [] { return screenOperation(3, screenSequence("19", 25)); }},
    };
}

void addExchangeFault(QList<PlannedFault>& faults, const QString& name, int call,
                      const Fault& fault, const QList<int>& times)
{
    for (const int count : times)
        faults += {QStringLiteral("%1, %2 times").arg(name).arg(count), call,
                   [fault, count] { bus().failAt(1, fault, count); }};
}

// The FINISH that closes a failure can fail as well, and then has the last word.
void addWithFailingFinish(QList<PlannedFault>& faults, const QString& name, int call,
                          const std::function<void()>& begin, const QList<Fault>& closing)
{
    for (const Fault& fault : closing)
        faults += {name + QStringLiteral(", FINISH too"), call, [begin, fault] {
                       begin();
                       bus().failCommand(0xF0, fault);
                   }};
}

void addSendFaults(QList<PlannedFault>& faults, const QString& name, int call)
{
    const Fault lost = virtual_keyboard::sendError("send broke");
    addExchangeFault(faults, name + QStringLiteral(" fails"), call, lost, roundTheLimit);
    addWithFailingFinish(
        faults, name + QStringLiteral(" fails"), call, [lost] { bus().failAt(1, lost, 10); },
        {virtual_keyboard::sendError("FINISH lost"), virtual_keyboard::wrongByte(1)});
}

// What happens to an answer is decided when its report is sent, one call earlier.
void addReadFaults(QList<PlannedFault>& faults, const QString& name, int call)
{
    using namespace virtual_keyboard;
    const Fault lost = readError("read broke");
    const int send = call - 1;
    addExchangeFault(faults, name + QStringLiteral(" fails"), send, lost, roundTheLimit);
    addExchangeFault(faults, name + QStringLiteral(" is empty"), send, emptyAnswer(),
                     roundTheLimit);
    addExchangeFault(faults, name + QStringLiteral(" is busy"), send, busy(), roundTheLimit);
    addExchangeFault(faults, name + QStringLiteral(" counts nothing"), send, countsNothing(),
                     onceOrAlways);
    for (const int status : {0x00, 0x02})
        addExchangeFault(faults, name + QStringLiteral(" has status %1").arg(status), send,
                         answerStatus(static_cast<std::uint8_t>(status)), onceOrAlways);
    for (const int place : {0, 1, 2, 3})
        addExchangeFault(faults, name + QStringLiteral(" has a wrong byte %1").arg(place), send,
                         wrongByte(static_cast<std::uint8_t>(place)), onceOrAlways);
    addWithFailingFinish(faults, name + QStringLiteral(" fails"), send,
                         [lost] { bus().failAt(1, lost, 10); },
                         {readError("FINISH unread"), busy()});
    addWithFailingFinish(faults, name + QStringLiteral(" is refused"), send,
                         [] { bus().failAt(1, answerStatus(5)); },
                         {answerStatus(9), emptyAnswer()});
}

void addBlockFault(QList<PlannedFault>& faults, const QString& name, int call, const Fault& fault)
{
    for (const int times : onceOrAlways)
        faults += {QStringLiteral("%1, %2 times").arg(name).arg(times), call, [fault, times] {
                       for (int block = 1; block <= times; ++block)
                           bus().failBlockAt(block, fault);
                   }};
    addWithFailingFinish(faults, name, call, [fault] { bus().failBlockAt(1, fault); },
                         {virtual_keyboard::answerStatus(9)});
}

void addBlockFaults(QList<PlannedFault>& faults, const QString& name, int call)
{
    using namespace virtual_keyboard;
    addBlockFault(faults, name + QStringLiteral(" fails"), call, sendError("block broke"));
    addBlockFault(faults, name + QStringLiteral(" is short"), call, shortWrite());
    addBlockFault(faults, name + QStringLiteral(" writes nothing"), call, zeroWrite());
}

void addAcknowledgementFaults(QList<PlannedFault>& faults, const QString& name, int call)
{
    using namespace virtual_keyboard;
    const int block = call - 1;
    addBlockFault(faults, name + QStringLiteral(" fails"), block, readError("ack broke"));
    addBlockFault(faults, name + QStringLiteral(" is missing"), block, noAcknowledgement());
    addBlockFault(faults, name + QStringLiteral(" is one byte"), block, shortAcknowledgement());
}

void addSearchFaults(QList<PlannedFault>& faults, const QString& line, const QString& name,
                     int call)
{
    if (line == QLatin1String("init"))
        faults += {name + QStringLiteral(" fails"), call, [] { bus().setInitFails(true); }};
    if (line.startsWith(QLatin1String("enumerate "))) {
        const auto hidden = std::make_shared<std::vector<virtual_keyboard::BusInterface>>();
        const auto swap = [hidden] { bus().interfaces().swap(*hidden); };
        faults += {name + QStringLiteral(" finds nothing"), call, swap, swap};
    }
    if (line.startsWith(QLatin1String("open "))) {
        const char* path = line.endsWith(QLatin1String("config")) ? "/dev/hidraw1" : "/dev/hidraw2";
        faults +=
            {name + QStringLiteral(" is refused"), call, [path] { bus().setOpens(path, false); }};
    }
}

QList<PlannedFault> faultsOf(const QStringList& healthyTrace)
{
    QList<PlannedFault> faults;
    int call = 0;
    for (const QString& line : healthyTrace) {
        if (line.startsWith(QLatin1String("wait ")))
            continue;
        ++call;
        const QString name = QStringLiteral("call %1 (%2)").arg(call).arg(line.left(26));
        faults += {name + QStringLiteral(" finds no keyboard"), call, [] { bus().unplug(); }};
        addSearchFaults(faults, line, name, call);
        if (line.startsWith(QLatin1String("send ")))
            addSendFaults(faults, name, call);
        if (line.startsWith(QLatin1String("read ")))
            addReadFaults(faults, name, call);
        if (line.startsWith(QLatin1String("block ")))
            addBlockFaults(faults, name, call);
        if (line == QLatin1String("ack"))
            addAcknowledgementFaults(faults, name, call);
    }
    return faults;
}

// The bank as nine answers carry it: from the second byte on.
ColorBank packedBank(const QList<QByteArray>& answers)
{
    ColorBank bank{};
    std::ranges::copy(answers.join().mid(1, 432), bank.begin());
    return bank;
}

void healKeyboard(const std::vector<virtual_keyboard::BusInterface>& interfaces)
{
    bus().clearFaults();
    bus().setInitFails(false);
    bus().interfaces() = interfaces;
    bus().plug();
}

class Run
{
public:
    explicit Run(const Operation& toRun) : operation(toRun)
    {
        if (operation.wantsConnection && !Device::instance().refresh())
            complaints += QStringLiteral("no keyboard to begin with");
    }

    // The operation under this fault, then once more on a keyboard that is well.
    QStringList under(const PlannedFault& fault)
    {
        const auto interfaces = bus().interfaces();
        const virtual_keyboard::KeyboardState before = bus().keyboard().state();
        once(&fault);
        const virtual_keyboard::KeyboardState after = bus().keyboard().state();
        const bool wasCommitted = busSends().contains(QStringLiteral("04 02"));
        const bool hasSucceeded = verdict.succeeds;

        healKeyboard(interfaces);
        const bool isStale = bus().staleHandles() > 0;
        once(nullptr);
        // A handle that outlived its keyboard is kept until the program ends.
        require(verdict.succeeds != isStale, "the next operation does not work");
        const virtual_keyboard::KeyboardState wanted = bus().keyboard().state();
        require(after == before || (wasCommitted && (isStale || after == wanted)),
                "the keyboard holds half of it");
        require(!hasSucceeded || isStale || after == wanted, "the keyboard does not hold it");
        return complaints;
    }

    QStringList healthy()
    {
        const virtual_keyboard::KeyboardState before = bus().keyboard().state();
        once(nullptr);
        require(verdict.succeeds, "fails on a keyboard that is well");
        const bool isRead = operation.protocol.frame == ProtocolSequence::Frame::Bare;
        require((bus().keyboard().state() == before) == isRead, "the keyboard is as it was");
        return complaints.isEmpty() ? busTrace() : QStringList{"FAIL"} + complaints;
    }

private:
    void once(const PlannedFault* fault)
    {
        const SavedState before = stateInMemory();
        const QByteArray fileBefore = readFile(stateFilePath());
        const bool connected = Device::instance().isOpen();
        recorder.start(fault);
        const Outcome outcome = operation.run();
        verdict = judge(operation.protocol, recorder.events, connected);
        require(verdict.complaint.isEmpty(), verdict.complaint);
        const Outcome due{verdict.succeeds, verdict.succeeds
                                                ? operation.successText
                                                : operation.failureText.arg(verdict.text)};
        require(
            outcome == due,
            QStringLiteral("the caller gets \"%1\" instead of \"%2\"").arg(outcome.text, due.text));
        checkState(before, fileBefore);
        checkLeftTidy();
    }

    void checkState(const SavedState& before, const QByteArray& fileBefore)
    {
        const bool isRead = operation.protocol.frame == ProtocolSequence::Frame::Bare;
        SavedState due = before;
        if (isRead && verdict.succeeds)
            due.customRgb = packedBank(verdict.answers);
        require(stateInMemory() == due, "the state in memory is another");
        if (due == before)
            require(readFile(stateFilePath()) == fileBefore, "the state file is another");
        else
            require(stateOnDisk() == due, "the state file does not hold what was read");
    }

    void checkLeftTidy()
    {
        require(deviceLockIsFree(), "the device stays locked");
        ProcessLock otherProcess(runtimeFilePath(QStringLiteral("tavik-center-wire.lock")));
        require(otherProcess.attempt() == ProcessLock::Attempt::Taken, "the wire stays locked");
        require(bus().openHandles() == (Device::instance().isOpen() ? 1 : 0), "a handle leaks");
        require(bus().unfreedEnumerations() == 0, "an enumeration leaks");
        for (const QString& violation : takeBusViolations())
            require(false, QStringLiteral("the keyboard complains: ") + violation);
    }

    void require(bool holds, const QString& complaint)
    {
        if (!holds)
            complaints += complaint;
    }
    void require(bool holds, const char* complaint) { require(holds, QLatin1String(complaint)); }

    const Operation& operation;
    Recorder recorder;
    Verdict verdict;
    QStringList complaints;
};

// Runs behind the end of the device, which was made later.
void checkEverythingClosed()
{
    if (bus().openHandles() > 0 || busTrace().isEmpty() ||
        busTrace().last() != QLatin1String("exit"))
        _exit(3);
}

const QString standStillText = QStringLiteral("stands still");

// What the function returns in a copy of this process, which then ends as the program does.
QStringList inOwnProcess(const std::function<QStringList()>& function)
{
    std::fflush(nullptr);
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        qFatal("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        std::atexit(checkEverythingClosed);
        alarm(secondsToStandStill);
        QFile out;
        if (!out.open(ends[1], QIODevice::WriteOnly | QIODevice::Unbuffered))
            _exit(4);
        out.write(function().join(u'\n').toUtf8());
        std::exit(0);
    }
    close(ends[1]);
    QFile in;
    QByteArray text;
    if (in.open(ends[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        text = in.readAll();
    int status = 0;
    waitpid(child, &status, 0);
    QStringList lines = QString::fromUtf8(text).split(u'\n', Qt::SkipEmptyParts);
    if (WIFSIGNALED(status))
        lines += WTERMSIG(status) == SIGALRM
                     ? standStillText
                     : QStringLiteral("killed by signal %1").arg(WTERMSIG(status));
    else if (WEXITSTATUS(status) == 3)
        lines += QStringLiteral("the program's end leaves a handle or the library open");
    else if (WEXITSTATUS(status) != 0)
        lines += QStringLiteral("ended with %1").arg(WEXITSTATUS(status));
    return lines;
}

SavedState variedState()
{
    SavedState state;
    std::uint8_t next = 3;
    for (KeyLayer* layer : {&state.layerBase, &state.layerFn}) {
        for (KeyAction& action : *layer)
            action = {1, ++next, ++next, ++next};
    }
    for (unsigned char& byte : state.customRgb)
        byte = ++next;
    state.macros = {{QStringLiteral("greeting"), {{10, 4, 0xB0}, {300, 4, 0x30}}}};
    return state;
}

} // namespace

class FaultCampaignTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
        QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
        qputenv("XDG_CONFIG_HOME", configuration.path().toLocal8Bit());
        static_cast<SavedState&>(AppState::instance()) = variedState();
        AppState::instance().save();
        virtual_keyboard::KeyboardState held;
        for (std::size_t key = 0; key < held.colorBank.size(); ++key)
            held.colorBank.at(key) = {static_cast<std::uint8_t>(key), 0x77,
                                      static_cast<std::uint8_t>(200 - key)};
        bus().keyboard().setState(held);
    }

    void everyFault_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("fewest"); // faults that there have to be: 3,765 in all
        const QList<std::pair<const char*, int>> rows{
            {"lighting mode", 185},       {"lighting sleep", 185}, {"custom mode", 190},
            {"base layer", 490},          {"Fn layer", 490},       {"color bank", 490},
            {"color bank read", 375},     {"macros", 450},         {"screen, one frame", 295},
            {"screen, three frames", 615}};
        QCOMPARE(rows.size(), operations().size());
        for (const auto& [name, fewest] : rows)
            QTest::newRow(name) << name << fewest;
    }
    void everyFault()
    {
        QFETCH(const QString, name);
        QFETCH(const int, fewest);
        const Operation operation = operations().value(name)();
        const QStringList trace = inOwnProcess([&] { return Run(operation).healthy(); });
        QVERIFY2(!trace.contains("FAIL"), qPrintable(trace.join(u'\n')));

        const QList<PlannedFault> faults = faultsOf(trace);
        QVERIFY2(faults.size() >= fewest, qPrintable(QString::number(faults.size())));
        QStringList complaints;
        for (const PlannedFault& fault : faults) {
            if (!complaints.isEmpty() && complaints.last().endsWith(standStillText))
                break;
            for (const QString& complaint :
                 inOwnProcess([&] { return Run(operation).under(fault); }))
                complaints += fault.name + QStringLiteral(": ") + complaint;
        }
        faultCount += faults.size();
        QVERIFY2(
            complaints.isEmpty(),
            qPrintable(
                QStringLiteral("%1 of %2 faults:\n").arg(complaints.size()).arg(faults.size()) +
                complaints.mid(0, 40).join(u'\n')));
    }

    void cleanupTestCase() { qInfo("%lld faults", static_cast<long long>(faultCount)); }

private:
    QTemporaryDir configuration;
    qsizetype faultCount = 0;
};

QTEST_MAIN(FaultCampaignTest)
#include "fault_campaign_test.moc"
