#include "device/device.h"
#include "device/keyboard_identity.h"
#include "device/screen_link.h"
#include "model/macro_record.h"
#include "pages/colors/color_transfer.h"
#include "pages/keys/layer_write.h"
#include "pages/macros/macro_upload.h"
#include "pages/parts/lighting_command.h"
#include "pages/screen/screen_transfer.h"
#include "tests/support/bus_view.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <functional>
#include <set>
#include <span>

using namespace tavik;
using namespace tavik::tests;
using virtual_keyboard::Fault;
using virtual_keyboard::VirtualBus;

namespace {

// What stands below each heading: the rows of its tables and the lines of its blocks.
using Statements = QMap<QString, QStringList>;
using Operation = std::function<bool()>;

const QRegularExpression number(QStringLiteral(R"(\b(0x[0-9A-F]+|[0-9]+)\b)"));
const QRegularExpression numberOrByte(QStringLiteral(R"(\b(0x[0-9A-F]+|[0-9a-f]{2}|[0-9]+)\b)"));

QString hex(int value)
{
    return "0x" + QString::number(value, 16).toUpper().rightJustified(value > 0xFF ? 4 : 2, u'0');
}

QString row(const QStringList& cells)
{
    return cells.join(" | ");
}

QString bytes(std::span<const std::uint8_t> data)
{
    const QByteArray raw(reinterpret_cast<const char*>(data.data()),
                         static_cast<qsizetype>(data.size()));
    return QString::fromLatin1(raw.toHex(' '));
}

// As hexdump does it: eight bytes a line, a star in place of lines like the one before.
QStringList dump(std::span<const std::uint8_t> data)
{
    QStringList lines;
    QString last;
    for (std::size_t at = 0; at < data.size(); at += 8) {
        const QString line = bytes(data.subspan(at, std::min<std::size_t>(8, data.size() - at)));
        if (line != last)
            lines += QStringLiteral("%1: %2").arg(at).arg(line);
        else if (lines.last() != "*")
            lines += "*";
        last = line;
    }
    return lines += QStringLiteral("%1: end").arg(data.size());
}

// A row for each byte that is not zero: what it was built from, by its value, or the value.
QStringList layout(std::span<const std::uint8_t> data, const QMap<int, QString>& names)
{
    QStringList rows;
    for (std::size_t at = 0; at < data.size(); ++at) {
        if (data[at] != 0)
            rows += row({QString::number(at), names.value(data[at], hex(data[at]))});
    }
    return rows;
}

ScreenStream streamOf(int frames)
{
    QImage image(screenSize, QImage::Format_RGB32);
    image.fill(Qt::black);
    for (const auto& [x, y, color] : {std::tuple{0, 0, QColor(255, 0, 0)},
                                      {1, 0, QColor(0, 255, 0)},
                                      {2, 0, QColor(15, 7, 15)},
                                      {0, 1, QColor(0, 0, 255)},
                                      {127, 127, QColor(255, 255, 255)}})
        image.setPixelColor(x, y, color);
    return buildScreenStream(QList<ScreenFrame>(frames, {image, 100}));
}

bool sendFrames(int frames, int slot)
{
    return sendToScreen(streamOf(frames), slot, [](const QString&) {}).ok;
}

KeyLayer layerWith(const KeyAction& action)
{
    KeyLayer layer{};
    layer.fill(action);
    return layer;
}

// The operations as the document heads them.
const QMap<QString, Operation>& operations()
{
    static const QMap<QString, Operation> list{
        {"Lighting mode on the wire",
         [] {
             return sendLightingMode({0x0B, QColor(255, 0, 0), true, 5, 3, 3});
         }},
        {"Custom colors on the wire", [] { return enableCustomColors(5); }},
        {"Lighting sleep on the wire", [] { return sendLightingSleep(3); }},
        {"Base layer on the wire",
         [] {
             return writeLayer(LayerId::Base, layerWith({2, 1, 5}));
         }},
        {"Fn layer on the wire",
         [] {
             return writeLayer(LayerId::Fn, layerWith({2, 1, 5}));
         }},
        {"Color bank write on the wire", [] { return writeColorBank({}); }},
        {"Color bank read on the wire", [] { return readColorBank().has_value(); }},
        {"Macros on the wire", [] { return writeMacroSpace(QByteArray(448, '\x01')); }},
        {"Screen upload on the wire", [] { return sendFrames(1, 1); }}};
    return list;
}

// Runs the operation with this name on a fresh keyboard that was painted.
bool runs(
    const Operation& operation, const std::function<void()>& arrange = [] {})
{
    bus().reset();
    virtual_keyboard::KeyboardState state;
    state.colorBank.fill({0x21, 0x22, 0x23});
    bus().keyboard().setState(state);
    arrange();
    return operation();
}

bool runs(
    const char* name, const std::function<void()>& arrange = [] {})
{
    return runs(operations().value(name + QStringLiteral(" on the wire")), arrange);
}

// The trace with an exchange a line, as "sent -> answer", and repeated lines counted.
QStringList compact(const QStringList& trace, const QString& waits)
{
    static const QRegularExpression exchange(
        QStringLiteral("^wait (\\d+)\nsend (.*)\nwait (\\d+)\nread (.*)$"));
    QStringList lines;
    for (qsizetype at = 0; at < trace.size(); ++at) {
        const auto match = exchange.match(trace.mid(at, 4).join(u'\n'));
        if (match.hasMatch() && match.captured(1) + ' ' + match.captured(3) == waits) {
            const QString sent = match.captured(2);
            const QString read = match.captured(4);
            lines += (sent.size() > 3 * 16 ? "data" : sent) + " -> " +
                     (read.size() > 3 * 4 ? "bank" : read);
            at += 3;
        } else if (trace.at(at).startsWith("wait") || trace.at(at) == "ack") {
            lines.last() += "; " + trace.at(at);
        } else {
            lines += trace.at(at);
        }
    }
    QStringList counted;
    for (qsizetype at = 0, end = 0; at < lines.size(); at = end) {
        while (end < lines.size() && lines.at(end) == lines.at(at))
            ++end;
        const QString times = end - at > 1 ? QStringLiteral("%1 x ").arg(end - at) : QString();
        counted += times + lines.at(at);
    }
    return counted;
}

// The compiler asks for what is new in the enumeration.
QString nameOf(CommandCode code)
{
    switch (code) {
    case CommandCode::Commit:
        return "COMMIT";
    case CommandCode::WriteBaseLayer:
        return "write base layer";
    case CommandCode::LightingMode:
        return "lighting mode";
    case CommandCode::MacroData:
        return "macro data";
    case CommandCode::LightingSleep:
        return "lighting sleep";
    case CommandCode::OpenSession:
        return "session open";
    case CommandCode::MacroSession:
        return "macro session";
    case CommandCode::WriteColorBank:
        return "write color bank";
    case CommandCode::WriteFnLayer:
        return "write Fn layer";
    case CommandCode::ScreenUpload:
        return "screen upload";
    case CommandCode::Finish:
        return "FINISH";
    case CommandCode::ReadColorBank:
        return "read color bank";
    }
    return {};
}

void addIdentity(Statements& facts)
{
    QStringList& rows = facts["Identity"];
    rows += row({"USB vendor", hex(keyboardVendorId)});
    for (const std::uint16_t product : keyboardProductIds)
        rows += row({"USB product", hex(product)});
    rows += row({"usage page, configuration interface", hex(configurationUsagePage)});
    for (const std::uint16_t page : screenUsagePages)
        rows += row({"usage page, screen interface", hex(page)});

    // How many enumerations it takes to find an interface is its place in the search.
    const auto add = [&facts](const char* name, int page, int product, const Operation& search) {
        const bool found = runs(search, [&] {
            bus().interfaces() = {{static_cast<std::uint16_t>(product),
                                   static_cast<std::uint16_t>(page), "/dev/hidraw7"}};
        });
        const auto place = busTrace().filter("enumerate").size();
        QVERIFY(found);
        facts["Search"] += row({name, QString::number(place), hex(page), hex(product)});
    };
    for (const int product : {0x8009, 0x800A})
        add("configuration", 0xFF13, product, [] { return Device::instance().findAndOpen(); });
    for (const int page : {0xFF68, 0xFF67}) {
        for (const int product : {0x8009, 0x800A})
            add("screen", page, product, [] { return ScreenLink::open().has_value(); });
    }
    bus().reset();
    QVERIFY(Device::instance().findAndOpen());
}

void addReports(Statements& facts)
{
    facts["Request"] =
        layout(commandReport(CommandCode{0x41}, 0x42, 0x4443), {{0x41, "code"},
                                                                {0x42, "argument"},
                                                                {0x43, "count, low byte"},
                                                                {0x44, "count, high byte"}});
    const Report good{0x04, 0x13, 0x00, 0x01};
    for (std::size_t at = 0; at < good.size(); ++at) {
        Report changed = good;
        changed.at(at) ^= 0x40;
        if (!isAccepted(changed, CommandCode::LightingMode))
            facts["Answer"] += row({QString::number(at), at == 1 ? "code" : hex(good.at(at))});
    }
    for (int status = 0; status <= 0xFF; ++status) {
        const Report answer{0x04, 0x13, 0x00, static_cast<std::uint8_t>(status)};
        if (isBusyAnswer(answer) || isAccepted(answer, CommandCode::LightingMode))
            facts["Status"] += row({hex(status), isBusyAnswer(answer) ? "busy" : "accepted"});
    }
    for (const auto& [name, size] :
         {std::pair{"report", reportSize},
          {"report behind its report id", 1 + reportSize},
          {"nine-report transfer", transferSize},
          {"screen block", screenBlockSize},
          {"screen block behind its report id", 1 + screenBlockSize},
          {"color bank, packed", colorBankSize},
          {"side of a screen picture, in pixels", std::size_t{screenSize.width()}}})
        facts["Sizes"] += row({name, QString::number(size)});
}

// Returns what is waited before each send and before each read.
QString addWaits(Statements& facts)
{
    const auto wait = [](qsizetype line) { return busTrace().value(line).section(' ', -1); };
    const auto add = [&](const QString& time, const char* when) {
        facts["Waits"] += row({time, when});
    };
    runs("Base layer");
    const QString waits = wait(0) + ' ' + wait(2);
    add(wait(0), "before each send");
    add(wait(2), "before each read");
    add(wait(12), "after each report of a nine-report transfer, the last included");
    runs("Macros");
    add(wait(16), "between two macro pieces");
    add(wait(16 + 6 * 5), "between the last macro piece and the COMMIT");
    runs("Base layer", [] { bus().failAt(1, virtual_keyboard::busy(), 10); });
    add(wait(9 * 5 + 4), "after each busy or empty answer to a session open, the last included");
    runs("Screen upload", [] { bus().failBlockAt(1, virtual_keyboard::noAcknowledgement()); });
    add(wait(busTrace().indexOf(QRegularExpression("no ack.*"))),
        "for the acknowledgement of a screen block, at most");

    const auto attempts = [&facts](const char* what, const char* operation, int exchange) {
        for (int lost = 1; lost < 20; ++lost) {
            const bool passes = runs(operation, [&] {
                const auto fault = exchange == 1 ? virtual_keyboard::emptyAnswer()
                                                 : virtual_keyboard::sendError("lost");
                bus().failAt(exchange, fault, lost);
            });
            if (!passes) {
                facts["Attempts"] += row({what, QString::number(lost)});
                return;
            }
        }
    };
    attempts("session open, busy or empty answer", "Base layer", 1);
    attempts("data report of a nine-report transfer", "Base layer", 3);
    attempts("macro piece", "Macros", 4);
    attempts("any other report", "Base layer", 2);
    return waits;
}

// Which session each command came in, its argument and its count.
using Uses = QMap<QString, std::array<QStringList, 3>>;

void collect(Uses& uses)
{
    QString flag = "none";
    for (const std::vector<std::uint8_t>& report : bus().sentReports()) {
        if (report[0] != 0x04)
            continue;
        if (CommandCode{report[1]} == CommandCode::OpenSession)
            flag = QString::number(report[8]);
        const QStringList found{flag, QString::number(report[2]),
                                QString::number(report[8] + 256 * report[9])};
        for (std::size_t field = 0; field < 3; ++field) {
            QStringList& known = uses[hex(report[1])].at(field);
            if (!known.contains(found.at(static_cast<qsizetype>(field))))
                known += found.at(static_cast<qsizetype>(field));
        }
    }
}

void addSequences(Statements& facts, const QString& waits)
{
    Uses uses;
    for (const auto& [heading, operation] : operations().asKeyValueRange()) {
        QVERIFY2(runs(operation), qPrintable(heading));
        QCOMPARE(takeBusViolations(), QStringList());
        facts[heading] = compact(busTrace(), waits);
        collect(uses);
    }
    for (const int slot : {2, 3}) {
        QVERIFY(runs([slot] { return sendFrames(30, slot); }));
        collect(uses);
    }
    for (const int size : {400, 448, 452, 3072}) {
        QVERIFY(runs([size] { return writeMacroSpace(QByteArray(size, '\x01')); }));
        collect(uses);
        const auto pieces = busSends().size() - 5;
        facts["Macro announcement"] += row({QString::number(size), QString::number(pieces),
                                            QString::number(announcedMacroReports(size))});
    }
    for (int code = 0; code <= 0xFF; ++code) {
        const QString name = nameOf(static_cast<CommandCode>(code));
        if (name.isEmpty())
            continue;
        auto& [flags, arguments, counts] = uses[hex(code)];
        for (QStringList* values : {&flags, &counts})
            std::ranges::sort(*values, {},
                              [](const QString& text) { return std::pair(text.size(), text); });
        facts["Commands"] +=
            row({hex(code), name, flags.join(", "), arguments.join(", "), counts.join(", ")});
    }
}

void addFailures(Statements& facts)
{
    using namespace virtual_keyboard;
    const auto check = [&facts](const char* report, const char* operation, int exchange) {
        QStringList cells{report};
        for (const Fault& fault : {wrongEcho(), answerStatus(2), busy(), emptyAnswer()}) {
            const bool passes = runs(operation, [&] { bus().failAt(exchange, fault); });
            cells += !passes ? "fails" : bus().count("wait 300") > 0 ? "again" : "passes";
        }
        facts["Checks"] += row(cells);
    };
    check("session open", "Lighting mode", 1);
    check("lighting mode", "Lighting mode", 2);
    check("lighting sleep", "Lighting sleep", 2);
    check("write base layer", "Base layer", 2);
    check("write Fn layer", "Fn layer", 2);
    check("write color bank", "Color bank write", 2);
    check("macro session", "Macros", 2);
    check("macro data", "Macros", 3);
    check("screen upload", "Screen upload", 2);
    check("any data report", "Base layer", 3);
    check("COMMIT", "Lighting mode", 4);
    check("FINISH", "Lighting mode", 5);
    check("read color bank", "Color bank read", 1);
    check("COMMIT after that", "Color bank read", 10);

    const auto close = [&facts](const char* what, const char* operation,
                                const std::function<void()>& arrange) {
        std::ignore = runs(operation, arrange);
        const QString last = busSends().value(busSends().size() - 1);
        facts["Closing"] += row({what, last.startsWith("04 f0") ? last : "nothing"});
    };
    const Fault lost = sendError("lost");
    const Fault refused = answerStatus(2);
    close("session open with flag 0 refused", "Color bank write",
          [] { bus().failAt(1, busy(), 10); });
    close("session open with flag 1 refused", "Macros", [] { bus().failAt(1, busy(), 10); });
    close("command refused, flag 0", "Screen upload", [&] { bus().failAt(2, refused); });
    close("command refused, flag 1", "Macros", [&] { bus().failAt(2, refused); });
    close("data report lost, flag 1", "Macros", [&] { bus().failAt(4, lost, 10); });
    close("COMMIT refused, flag 1", "Fn layer", [&] { bus().failCommand(0x02, refused); });
    close("reading the color bank broken off", "Color bank read", [&] { bus().failAt(3, lost); });
    close("screen block refused", "Screen upload", [] { bus().failBlockAt(2, shortWrite()); });
    close("screen block not acknowledged", "Screen upload",
          [] { bus().failBlockAt(2, noAcknowledgement()); });
    close("screen COMMIT refused", "Screen upload", [&] { bus().failCommand(0x02, refused); });
    close("screen COMMIT accepted", "Screen upload", [] {});
}

void addKeys(Statements& facts)
{
    const auto add = [&facts](const char* table, const QString& name, const KeyAction& action) {
        const std::array<std::uint8_t, 4> raw{action.page, action.p1, action.p2, action.p3};
        facts[table] += row({name, bytes(raw)});
    };
    add("Key actions", "factory function", {});
    add("Key actions", "usage 0x04 with Shift", keyboardKeyAction(0x04, 0x02));
    add("Key actions", "no function", disabledKeyAction());
    add("Key actions", "macro 7, counted from 0", macroKeyAction(7));
    for (const auto& [kind, name] : {std::pair{KeyActionPage::Default, "default"},
                                     {KeyActionPage::Mouse, "mouse"},
                                     {KeyActionPage::Keyboard, "keyboard"},
                                     {KeyActionPage::Consumer, "consumer"},
                                     {KeyActionPage::Special, "special"},
                                     {KeyActionPage::Macro, "macro"},
                                     {KeyActionPage::Extended, "extended"}})
        facts["Kinds"] += row({hex(static_cast<int>(kind)), name});
    for (std::size_t bit = 0; bit < keyModifiers.size(); ++bit) {
        const auto usage = static_cast<std::uint8_t>(0xE0 + bit);
        QCOMPARE(keyboardKeyAction(usage, 0).p1, keyModifiers.at(bit).mask);
        add("Modifiers", row({keyModifiers.at(bit).text.toString(), hex(usage)}),
            keyboardKeyAction(usage, 0));
    }
    for (const MouseChoice& choice : mouseChoices)
        add("Mouse actions", choice.text.toString(), mouseKeyAction(choice.value));
    for (const MediaChoice& choice : mediaChoices)
        add("Multimedia keys", choice.text.toString(), consumerKeyAction(choice.usage));

    KeyLayer layer{};
    layer[1] = {0x41, 0x42, 0x43, 0x44};
    layer[143] = {0x45, 0x46, 0x47, 0x48};
    facts["Layer block"] = layout(layerImage(layer), {{0x41, "kind of key 1"},
                                                      {0x42, "p1 of key 1"},
                                                      {0x43, "p2 of key 1"},
                                                      {0x44, "p3 of key 1"},
                                                      {0x45, "kind of key 143"},
                                                      {0x46, "p1 of key 143"}});
}

// The highest value, counted from 0, that the keyboard takes at this place of a payload.
QString highest(CommandCode code, std::uint8_t argument, Report payload, std::size_t place)
{
    int value = 0;
    for (; value <= 0xFF; ++value) {
        payload.at(place) = static_cast<std::uint8_t>(value);
        if (!runs([&] { return Device::instance().sendCommand(code, argument, payload); }))
            break;
    }
    return QString::number(value - 1);
}

void addLighting(Statements& facts)
{
    const Report mode = lightingModePayload({0x41, QColor(0x42, 0x43, 0x44), true, 5, 3, 2});
    facts["Lighting mode"] = layout(mode, {{0x41, "effect"},
                                           {0x42, "red"},
                                           {0x43, "green"},
                                           {0x44, "blue"},
                                           {1, "random color"},
                                           {5, "brightness"},
                                           {3, "speed"},
                                           {2, "direction"}});
    facts["Lighting sleep"] = layout(lightingSleepPayload(2), {{2, "sleep code"}});
    for (const auto& [name, place] :
         {std::pair{"random color", 8}, {"brightness", 9}, {"speed", 10}, {"direction", 11}})
        facts["Ranges"] += row({name, "0 to " + highest(CommandCode::LightingMode, 0,
                                                        lightingModePayload({}), place)});
    facts["Ranges"] += row({"sleep code", "0 to " + highest(CommandCode::LightingSleep, 1,
                                                            lightingSleepPayload(0), 8)});
    for (const LightingEffect& effect : lightingEffects) {
        QVERIFY2(runs([&effect] { return sendLightingMode({effect.code}); }), effect.name);
        facts["Effects"] += row({effect.name, hex(effect.code)});
    }
    facts["Effects"] += row({"custom colors", hex(customColorsEffect)});
    for (int direction = 0; direction < 4; ++direction) {
        const Report payload = lightingModePayload({1, Qt::black, false, 0, 0, direction});
        const auto summary = QString::fromStdString(virtual_keyboard::lightingSummary(payload));
        facts["Directions"] += row({QString::number(direction), summary.section(' ', -1)});
    }
}

void addColors(Statements& facts)
{
    ColorBank bank{};
    setColor(bank, 1, {0xB1, 0xB2, 0xB3});
    setColor(bank, 143, {0xB4, 0xB5, 0xB6});
    const TransferImage image = colorBankImage(bank);
    const QMap<int, QString> names{{0xB1, "red of key 1"},
                                   {0xB2, "green of key 1"},
                                   {0xB3, "blue of key 1"},
                                   {0xB4, "red of key 143"}};
    for (const QString& line : layout(image, names)) {
        const int at = line.section(' ', 0, 0).toInt();
        if (at <= 8 || at >= 572)
            facts["Color bank block"] += line;
    }
    for (std::size_t answer = 0; answer < slicesPerTransfer; ++answer) {
        ColorBankAnswers answers{};
        for (std::size_t at = 0; at < reportSize; ++at)
            answers.at(answer).at(at) = static_cast<std::uint8_t>(at + 1);
        const ColorBank got = colorBankFromAnswers(answers);
        const auto isSet = [](int value) { return value != 0; };
        const auto first = std::ranges::find_if(got, isSet) - got.begin();
        const auto count = std::ranges::count_if(got, isSet);
        QStringList cells{QString::number(answer + 1), "none", "none"};
        if (count > 0) {
            const int byte = got.at(static_cast<std::size_t>(first)) - 1;
            cells[1] = QStringLiteral("%1 to %2").arg(byte).arg(byte + count - 1);
            cells[2] = QStringLiteral("%1 to %2").arg(first).arg(first + count - 1);
        }
        facts["Color bank answers"] += row(cells);
    }
}

void addMacros(Statements& facts)
{
    const auto sizeOf = [](qsizetype macros, qsizetype actions) {
        const MacroRecord macro{{}, QList<MacroAction>(actions)};
        return encodeMacroSpace(QList<MacroRecord>(macros, macro)).value_or(QByteArray()).size();
    };
    qsizetype longest = 1;
    while (sizeOf(1, longest + 1) > 0)
        ++longest;
    const auto counted = (sizeOf(200, 1) - sizeOf(0, 0)) / (sizeOf(1, 1) - sizeOf(0, 0));
    facts["Macro limits"] = {row({"bytes, at least", QString::number(sizeOf(0, 0))}),
                             row({"bytes, at most", QString::number(sizeOf(1, longest))}),
                             row({"macros", QString::number(counted)}),
                             row({"actions of a macro alone", QString::number(longest)})};
    for (const MacroActionType& type : macroActionTypes)
        facts["Macro actions"] += row({type.label.toString(), hex(type.flags)});
    const QList<MacroRecord> macros{{{}, {{0, 0x04, 0xB0}, {300, 0x04, 0x30}}},
                                    {},
                                    {{}, QList<MacroAction>(100, {10, 0x01, 0x90})}};
    const QByteArray image = encodeMacroSpace(macros).value_or(QByteArray());
    facts["Macro image"] = dump(std::vector<std::uint8_t>(image.begin(), image.end()));
}

void addScreen(Statements& facts)
{
    facts["Screen stream"] = dump(streamOf(2));
    for (const int frames : {1, 2, int{screenFrameLimit}}) {
        const auto blocks = streamOf(frames).size() / screenBlockSize;
        facts["Screen blocks"] += row({QString::number(frames), QString::number(blocks)});
    }
    for (const int delay : {0, 21, 22, 100, 509, 510, 1275})
        facts["Screen times"] += row({QString::number(delay), hex(screenTimeByte(delay))});
}

Statements statedIn(const QString& document)
{
    Statements stated;
    QString heading;
    for (const QString& line : document.split(u'\n')) {
        if (line.startsWith(u'#')) {
            heading = line.section(u' ', 1);
        } else if (line.startsWith("|--")) {
            stated[heading].removeLast(); // the table's head
        } else if (line.startsWith(u'|')) {
            QStringList cells;
            for (const QString& cell : line.split(u'|'))
                cells += cell.trimmed();
            stated[heading] += row(cells.mid(1, cells.size() - 2));
        } else if (line.startsWith("    ")) {
            stated[heading] += line.trimmed();
        }
    }
    return stated;
}

bool isChecked(const QString& line)
{
    return line.startsWith("    ") || (line.startsWith(u'|') && !line.startsWith("|--"));
}

} // namespace

class ProtocolDocumentTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QFile file(qEnvironmentVariable("TAVIK_SOURCE_DIR") + "/docs/protocol.md");
        QVERIFY(file.open(QIODevice::ReadOnly));
        document = QString::fromUtf8(file.readAll());

        QVERIFY(!runs("Base layer", [] { bus().unplug(); }));
        QCOMPARE(busSends(), QStringList());
        facts["Closing"] += row({"no keyboard found", "nothing"});
        addIdentity(facts);
        addReports(facts);
        const QString waits = addWaits(facts);
        addSequences(facts, waits);
        addFailures(facts);
        addKeys(facts);
        addLighting(facts);
        addColors(facts);
        addMacros(facts);
        addScreen(facts);
    }

    void documentSaysWhatTheProgramDoes_data()
    {
        QTest::addColumn<QString>("heading");
        const QStringList headings = facts.keys() + statedIn(document).keys();
        for (const QString& heading : QSet<QString>(headings.begin(), headings.end()))
            QTest::newRow(qPrintable(heading)) << heading;
    }
    void documentSaysWhatTheProgramDoes()
    {
        QFETCH(const QString, heading);
        QCOMPARE(statedIn(document).value(heading), facts.value(heading));
    }

    // Prose repeats numbers at most.
    void proseHasNoNumbersOfItsOwn()
    {
        QString checked;
        QStringList strange;
        for (const QString& line : document.split(u'\n'))
            checked += isChecked(line) ? line + u'\n' : QString();
        for (const QString& line : document.split(u'\n')) {
            for (const auto& match : number.globalMatch(isChecked(line) ? QString() : line)) {
                const QRegularExpression same("\\b" + match.captured() + "\\b");
                if (!checked.contains(same))
                    strange += match.captured() + " in: " + line;
            }
        }
        QVERIFY2(strange.isEmpty(), qPrintable(strange.join(u'\n')));
    }

    void everyWrongNumberIsNoticed()
    {
        QCOMPARE(statedIn(document), facts);
        QStringList lines = document.split(u'\n');
        QStringList unnoticed;
        int tried = 0;
        for (QString& line : lines) {
            const QString right = line;
            const bool isHead = lines.value(&line - lines.data() + 1).startsWith("|--");
            for (const auto& match :
                 numberOrByte.globalMatch(isChecked(line) && !isHead ? line : "")) {
                line[match.capturedEnd() - 1] = match.captured().endsWith('0') ? u'1' : u'0';
                unnoticed +=
                    statedIn(lines.join(u'\n')) == facts ? QStringList(line) : QStringList();
                line = right;
                ++tried;
            }
        }
        QVERIFY2(unnoticed.isEmpty(), qPrintable(unnoticed.join(u'\n')));
        QVERIFY(tried > 500);
    }

private:
    QString document;
    Statements facts;
};

QTEST_GUILESS_MAIN(ProtocolDocumentTest)

#include "protocol_document_test.moc"
