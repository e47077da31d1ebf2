// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "device/keyboard_identity.h"
#include "device/screen_link.h"
#include "model/macro_record.h"
#include "pages/colors/color_transfer.h"
#include "pages/keys/layer_write.h"
#include "pages/macros/macro_upload.h"
#include "pages/parts/lighting_command.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_transfer.h"
#include "tests/support/bus_view.h"
#include "tests/support/files.h"

#include <QRegularExpression>
#include <QTest>

#include <functional>
#include <span>

using namespace tavik;
using namespace tavik::tests;

namespace {

// What stands below each heading: the rows of its tables and the lines of its blocks.
using Statements = QMap<QString, QStringList>;
using Operation = std::function<bool()>;

QString hex(int value)
{
    return "0x" + QString::number(value, 16).toUpper().rightJustified(value > 0xFF ? 4 : 2, u'0');
}

QString decimal(qsizetype value)
{
    return QString::number(value);
}

QString row(const QStringList& cells)
{
    return cells.join(" | ");
}

QString bytes(std::span<const std::uint8_t> data)
{
    const QByteArray raw(reinterpret_cast<const char*>(data.data()), std::ssize(data));
    return QString::fromLatin1(raw.toHex(' '));
}

// As hexdump does it: eight bytes a line, a star in place of lines like the one before.
QStringList dump(std::span<const std::uint8_t> data)
{
    QStringList lines;
    QString last;
    for (std::size_t at = 0; at < data.size(); at += 8) {
        const QString line = bytes(data.subspan(at, 8));
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
    image.setPixelColor(0, 0, {255, 0, 0});
    image.setPixelColor(1, 0, {0, 255, 0});
    image.setPixelColor(2, 0, {15, 7, 15});
    image.setPixelColor(0, 1, {0, 0, 255});
    image.setPixelColor(127, 127, {255, 255, 255});
    return buildScreenStream(QList<ScreenFrame>(frames, {image, 100}));
}

bool upload(int frames, int slot)
{
    return sendToScreen(streamOf(frames), slot, [](const QString&) {}).ok;
}

bool writeMacros(int size)
{
    return writeMacroSpace(QByteArray(size, '\x01'));
}

bool fillLayer(LayerId id)
{
    KeyLayer layer{};
    layer.fill({2, 1, 5});
    return writeLayer(id, layer);
}

// The operations as the document heads them.
const QMap<QString, Operation> operations{
    {"Lighting mode",
     std::bind_front(sendLightingMode, LightingSettings{0x0B, {255, 0, 0}, true, 5, 3, 3})},
    {"Custom colors", [] { return enableCustomColors(5); }},
    {"Lighting sleep", [] { return sendLightingSleep(3); }},
    {"Base layer", [] { return fillLayer(LayerId::Base); }},
    {"Fn layer", [] { return fillLayer(LayerId::Fn); }},
    {"Color bank write", [] { return writeColorBank({}); }},
    {"Color bank read", [] { return readColorBank().has_value(); }},
    {"Macros", [] { return writeMacros(448); }},
    {"Screen upload", [] { return upload(1, 1); }}};

// Runs the operation on a fresh keyboard that was painted.
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

// The trace with an exchange a line, as "sent -> answer", and repeated lines counted.
QStringList compactTrace()
{
    QString text = busTrace().join(u'\n');
    text.replace(QRegularExpression("wait 35\nsend (.*)\nwait 50\nread (.*)"), "\\1 -> \\2");
    text.replace(QRegularExpression("(.. ){17,}->"), "data ->");
    text.replace(QRegularExpression("->( ..){5,}"), "-> bank");
    text.replace(QRegularExpression("\n(wait|ack)"), "; \\1");
    const QStringList lines = text.split(u'\n');
    QStringList counted;
    for (qsizetype at = 0, end = 0; at < lines.size(); at = end) {
        while (end < lines.size() && lines.at(end) == lines.at(at))
            ++end;
        counted += (end - at > 1 ? decimal(end - at) + " x " : QString()) + lines.at(at);
    }
    return counted;
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
}

void addReports(Statements& facts)
{
    const QMap<int, QString> names{
        {0x41, "code"}, {0x42, "argument"}, {0x43, "count, low byte"}, {0x44, "count, high byte"}};
    facts["Request"] = layout(commandReport(CommandCode{0x41}, 0x42, 0x4443), names);
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

void addWaits(Statements& facts)
{
    const auto add = [&facts](qsizetype line, const char* when) {
        facts["Waits"] += row({busTrace().value(line).section(' ', -1), when});
    };
    QVERIFY(runs(operations["Base layer"]));
    add(0, "before each send");
    add(2, "before each read");
    add(12, "after each report of a nine-report transfer, the last included");
    QVERIFY(runs(operations["Macros"]));
    add(16, "between two macro pieces");
    add(16 + 6 * 5, "between the last macro piece and the COMMIT");
    QVERIFY(!runs(operations["Base layer"], [] { bus().failAt(1, virtual_keyboard::busy(), 10); }));
    add(9 * 5 + 4, "after each busy or empty answer to a session open, the last included");
    QVERIFY(!runs(operations["Screen upload"],
                  [] { bus().failBlockAt(1, virtual_keyboard::noAcknowledgement()); }));
    add(busTrace().indexOf("no ack 1000"), "for the acknowledgement of a screen block, at most");
}

// A row for each command that was sent: its code, session flag, argument and count.
QStringList sentCommands()
{
    static const QMap<int, QString> names{
        {0x02, "COMMIT"},        {0x11, "write base layer"}, {0x13, "lighting mode"},
        {0x15, "macro data"},    {0x17, "lighting sleep"},   {0x18, "session open"},
        {0x19, "macro session"}, {0x23, "write color bank"}, {0x27, "write Fn layer"},
        {0x72, "screen upload"}, {0xF0, "FINISH"},           {0xF5, "read color bank"}};
    QStringList rows;
    QString flag = "none";
    for (const std::vector<std::uint8_t>& report : bus().sentReports()) {
        const QString count = decimal(report[8] + 256 * report[9]);
        if (report[0] == 0x04 && report[1] == 0x18)
            flag = count;
        if (report[0] == 0x04)
            rows += row({hex(report[1]), names.value(report[1]), flag, decimal(report[2]), count});
    }
    return rows;
}

void addSequences(Statements& facts)
{
    QStringList& commands = facts["Commands"];
    for (const auto& [name, operation] : operations.asKeyValueRange()) {
        QVERIFY2(runs(operation), qPrintable(name));
        QCOMPARE(takeBusViolations(), QStringList());
        facts[name + " on the wire"] = compactTrace();
        commands += sentCommands();
    }
    for (const int slot : {2, 3}) {
        QVERIFY(runs([slot] { return upload(30, slot); }));
        commands += sentCommands();
    }
    for (const int size : {400, 448, 452, 3072}) {
        QVERIFY(runs([size] { return writeMacros(size); }));
        commands += sentCommands();
        const auto pieces = busSends().size() - 5;
        facts["Macro announcement"] +=
            row({decimal(size), decimal(pieces), decimal(announcedMacroReports(size))});
    }
    commands.sort();
    commands.removeDuplicates();
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
    using enum KeyActionPage;
    const QMap<KeyActionPage, const char*> kinds{
        {Default, "default"}, {Mouse, "mouse"}, {Keyboard, "keyboard"}, {Consumer, "consumer"},
        {Special, "special"}, {Macro, "macro"}, {Extended, "extended"}};
    for (const auto& [kind, name] : kinds.asKeyValueRange())
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
    const QMap<int, QString> names{{0x41, "kind of key 1"},   {0x42, "p1 of key 1"},
                                   {0x43, "p2 of key 1"},     {0x44, "p3 of key 1"},
                                   {0x45, "kind of key 143"}, {0x46, "p1 of key 143"}};
    facts["Layer block"] = layout(layerImage(layer), names);
}

void addLighting(Statements& facts)
{
    const Report mode = lightingModePayload({0x41, {0x42, 0x43, 0x44}, true, 5, 3, 2});
    const QMap<int, QString> names{{0x41, "effect"}, {0x42, "red"},       {0x43, "green"},
                                   {0x44, "blue"},   {1, "random color"}, {5, "brightness"},
                                   {3, "speed"},     {2, "direction"}};
    facts["Lighting mode"] = layout(mode, names);
    facts["Lighting sleep"] = layout(lightingSleepPayload(2), {{2, "sleep code"}});
    for (const LightingEffect& effect : lightingEffects) {
        QVERIFY2(runs([&effect] { return sendLightingMode({effect.code}); }), effect.name);
        facts["Effects"] += row({effect.name, hex(effect.code)});
    }
    facts["Effects"] += row({"custom colors", hex(customColorsEffect)});
}

void addColors(Statements& facts)
{
    ColorBank bank{};
    setColor(bank, 1, {0xB1, 0xB2, 0xB3});
    setColor(bank, 143, {0xB4, 0xB5, 0xB6});
    const QMap<int, QString> names{{0xB1, "red of key 1"},
                                   {0xB2, "green of key 1"},
                                   {0xB3, "blue of key 1"},
                                   {0xB4, "red of key 143"}};
    const QStringList block = layout(colorBankImage(bank), names);
    facts["Color bank block"] = block.first(5) + block.last(4);
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
    facts["Macro limits"] = {row({"bytes, at least", decimal(sizeOf(0, 0))}),
                             row({"bytes, at most", decimal(sizeOf(1, longest))}),
                             row({"macros", decimal(counted)}),
                             row({"actions of a macro alone", decimal(longest)})};
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
        const auto blocks = std::ssize(streamOf(frames)) / qsizetype{screenBlockSize};
        facts["Screen blocks"] += row({decimal(frames), decimal(blocks)});
    }
    for (const int delay : {0, 21, 22, 100, 509, 510, 1275})
        facts["Screen times"] += row({decimal(delay), hex(screenTimeByte(delay))});
}

// Only the rows of tables and the lines of blocks.
bool isChecked(const QStringList& lines, qsizetype at)
{
    const bool isHead = lines.value(at + 1).startsWith("|--") || lines.at(at).startsWith("|--");
    return lines.at(at).startsWith("    ") || (lines.at(at).startsWith(u'|') && !isHead);
}

Statements statedIn(const QStringList& lines)
{
    Statements stated;
    QString heading;
    for (qsizetype at = 0; at < lines.size(); ++at) {
        const QString& line = lines.at(at);
        if (line.startsWith(u'#'))
            heading = line.section(u' ', 1);
        else if (isChecked(lines, at))
            stated[heading] += line.startsWith(u'|') ? line.chopped(2).mid(2) : line.trimmed();
    }
    return stated;
}

} // namespace

class ProtocolDocumentTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QString path = qEnvironmentVariable("TAVIK_SOURCE_DIR") + "/docs/protocol.md";
        document = QString::fromUtf8(readFile(path)).split(u'\n');
        QVERIFY(Device::instance().findAndOpen());
        addIdentity(facts);
        addReports(facts);
        addWaits(facts);
        addSequences(facts);
        addKeys(facts);
        addLighting(facts);
        addColors(facts);
        addMacros(facts);
        addScreen(facts);
    }

    void documentSaysWhatTheProgramDoes()
    {
        const Statements stated = statedIn(document);
        QCOMPARE(stated.keys(), facts.keys());
        for (const auto& [heading, lines] : stated.asKeyValueRange())
            QCOMPARE(lines, facts.value(heading));
    }

    // Prose repeats numbers at most.
    void proseHasNoNumbersOfItsOwn()
    {
        static const QRegularExpression number(R"(\b(0x[0-9A-F]+|[0-9]+)\b)");
        QString checked;
        QString prose;
        for (qsizetype at = 0; at < document.size(); ++at)
            (isChecked(document, at) ? checked : prose) += document.at(at) + u'\n';
        for (const auto& match : number.globalMatch(prose)) {
            const QRegularExpression same("\\b" + match.captured() + "\\b");
            QVERIFY2(checked.contains(same), qPrintable(match.captured()));
        }
    }

    void everyWrongNumberIsNoticed()
    {
        static const QRegularExpression number(R"(\b(0x[0-9A-F]+|[0-9a-f]{2}|[0-9]+)\b)");
        QStringList lines = document;
        int tried = 0;
        for (qsizetype at = 0; at < lines.size(); ++at) {
            const QString right = lines.at(at);
            for (const auto& match : number.globalMatch(isChecked(document, at) ? right : "")) {
                lines[at][match.capturedEnd() - 1] = match.captured().endsWith('0') ? u'1' : u'0';
                QVERIFY2(statedIn(lines) != facts, qPrintable(lines.at(at)));
                lines[at] = right;
                ++tried;
            }
        }
        QVERIFY(tried > 500);
    }

private:
    QStringList document;
    Statements facts;
};

QTEST_GUILESS_MAIN(ProtocolDocumentTest)

#include "protocol_document_test.moc"
