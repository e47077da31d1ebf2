// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "files/process_lock.h"
#include "model/app_state.h"
#include "model/keyboard_layout.h"
#include "model/state_copies.h"
#include "tavikctl/key_words.h"
#include "tavikctl/macro_words.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"
#include "tests/support/named_keys.h"
#include "tests/support/page_view.h"
#include "tests/tavikctl/command_run.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>

using namespace tavik;
using namespace tavik::tests;
using virtual_keyboard::answerStatus;
using virtual_keyboard::busy;

namespace {

const QString finishOne = QStringLiteral("04 f0 00 00 00 00 00 00 01");
const QString finishZero = QStringLiteral("04 f0");

// Every command that talks to the keyboard, and how it ends its last session.
struct Talk
{
    const char* line;
    const QString& finish;
};
const QList<Talk> talks{
    {"light rolling", finishOne},         {"sleep 5", finishOne},       {"keys write", finishOne},
    {"keys write --layer fn", finishOne}, {"colors write", finishZero}, {"colors on", finishOne},
    {"macros write", finishOne},          {"screen %1", finishZero},    {"apply", finishZero},
};

// As a failure is told.
QString told(const QString& text)
{
    return QStringLiteral("tavikctl: ") + text + u'\n';
}

const QString plugAgain = QStringLiteral(". Unplug the keyboard, plug it in, and try again.\n");

// "NAME: description" of everything that the help of a command lists.
QStringList listedIn(const QString& help)
{
    static const QRegularExpression entry(
        QStringLiteral("\\n  (\\S+)(?: [^\\n]*?)?(?:\\n +| {2,})(\\S.*)"));
    QStringList entries;
    for (const QRegularExpressionMatch& match : entry.globalMatch(help))
        entries += match.captured(1) + QStringLiteral(": ") + match.captured(2);
    return entries;
}

bool isOneLine(const QString& text)
{
    return text.startsWith(QLatin1String("tavikctl: ")) && text.count(u'\n') == 1 &&
           text.endsWith(u'\n');
}

} // namespace

class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        picture = folder.filePath("picture.png");
        QImage image(128, 128, QImage::Format_RGB32);
        image.fill(Qt::red);
        QVERIFY(image.save(picture));
    }

    void keysAreSetByTheirNames_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<QString>("key");
        QTest::addColumn<KeyAction>("action");
        const auto row = [](const char* word, const char* key, const KeyAction& action) {
            QTest::newRow(word) << QString(word) << QString(key) << action;
        };
        row("caps=disabled", "Caps Lock", disabledKeyAction());
        row("CAPS-LOCK=Disabled", "Caps Lock", disabledKeyAction());
        row("a=ctrl+shift+b", "A", {2, 0x03, 5, 0});
        row("a=right-alt+right-ctrl", "A", {2, 0x50, 0, 0});
        row("f5=volume-up", "F5", consumerKeyAction(0xE9));
        row("f5=play-pause", "F5", consumerKeyAction(0xCD));
        row("pgdn=scroll-down", "PgDn", mouseKeyAction(0x03FF));
        row("up=np-enter", "↑", keyboardKeyAction(0x58, 0));
        row("comma=period", ",", keyboardKeyAction(0x37, 0));
        row(",=.", ",", keyboardKeyAction(0x37, 0));
        row("===", "=", keyboardKeyAction(0x2E, 0));
        row("l-shift=alt", "L Shift", {2, 0x04, 0, 0});
        row("right-shift=r-shift", "R Shift", keyboardKeyAction(0xE5, 0));
        row("a=0x09fF0203", "A", {9, 0xFF, 2, 3});
        row("m=macro:greet", "M", macroKeyAction(1));
        row("enter=default", "Enter", {});
        // Words for what a shell would take for something else, in the order of the usages.
        std::uint8_t usage = 0x2D;
        for (const char* word :
             {"minus", "equal", "left-bracket", "right-bracket", "backslash", "hash", "semicolon",
              "quote", "backquote", "comma", "period", "slash"})
            row(qPrintable(QStringLiteral("b=") + word), "B", keyboardKeyAction(usage++, 0));
        usage = 0x4F;
        for (const char* word : {"right", "left", "down", "up"})
            row(qPrintable(QStringLiteral("b=") + word), "B", keyboardKeyAction(usage++, 0));
    }
    void keysAreSetByTheirNames()
    {
        QFETCH(QString, word);
        QFETCH(QString, key);
        QFETCH(KeyAction, action);
        QCOMPARE(run("macros set Other press a").code, 0);
        QCOMPARE(run("macros set Greet press h").code, 0);
        for (const char* layer : {"base", "fn"}) {
            const Ran ran = runArguments({"keys", "set", word.toStdString(), "--layer", layer});
            QCOMPARE(ran.err, QString());
            QCOMPARE(ran.out, QString());
            QCOMPARE(ran.code, 0);
        }
        SavedState wanted;
        wanted.layerBase.at(indexOf(key)) = action;
        QCOMPARE(stateOnDisk().layerBase, wanted.layerBase);
        QCOMPARE(stateOnDisk().layerFn, wanted.layerBase);
        QCOMPARE(busTrace(), QStringList());
    }

    // What is shown can be typed.
    void everyKeyAndActionHasAWord()
    {
        const QList<MacroRecord> macros{{"Greet", {}}, {"greet", {}}, {"Greet", {}}};
        for (const KeyRecord& key : KeyboardLayout::instance().keys)
            QCOMPARE(keysFromWord(nameOfKeyAt(static_cast<std::size_t>(key.lightIndex))),
                     QList<std::size_t>{static_cast<std::size_t>(key.lightIndex)});
        QList<KeyAction> actions{{2, 0xFF, 4, 0}, {2, 0x11, 0, 0}, macroKeyAction(0)};
        // Whatever a state file may hold.
        constexpr std::array<std::uint8_t, 7> bytes{0x00, 0x01, 0x02, 0x03, 0x64, 0x80, 0xE9};
        for (std::uint8_t page = 0; page < 8; ++page) {
            for (const std::uint8_t p1 : bytes) {
                for (const std::uint8_t p2 : bytes)
                    actions += {KeyAction{page, p1, p2, 0}, KeyAction{page, p1, p2, 7}};
            }
        }
        for (const auto& [name, action] : actionNames())
            actions += action;
        QVERIFY(actions.size() > 900);
        QSet<QString> words;
        for (const KeyAction& action : actions) {
            QCOMPARE(actionFromWord(wordOfAction(action, macros), macros), action);
            words += wordOfAction(action, macros);
        }
        QCOMPARE(wordOfAction({9, 1, 2, 3}, {}), QStringLiteral("0x09010203"));
    }

    void everyMacroHasWords_data()
    {
        QTest::addColumn<QList<MacroAction>>("actions");
        QTest::addColumn<QString>("words");
        QTest::newRow("keys") << QList<MacroAction>{{0, 0x0B, 0xB0}, {40, 0x0B, 0x30}}
                              << "press h, 40, release h";
        QTest::newRow("mouse") << QList<MacroAction>{{5, 4, 0x90}, {65535, 255, 0x10}}
                               << "5, click 0x04, 65535, unclick 0xff";
        QTest::newRow("pause") << QList<MacroAction>{{500, 0, 0x50}} << "500, pause";
        QTest::newRow("nothing") << QList<MacroAction>{} << "";
    }
    void everyMacroHasWords()
    {
        QFETCH(QList<MacroAction>, actions);
        QFETCH(QString, words);
        QCOMPARE(wordsOfMacro(actions), words);
        if (!words.isEmpty())
            QCOMPARE(macroFromWords(words), actions);
        QCOMPARE(macroFromWords("PRESS H,20,20, release L-Ctrl, 7"),
                 (QList<MacroAction>{{0, 0x0B, 0xB0}, {40, 0xE0, 0x30}, {7, 0, 0x50}}));
    }

    void colorsHaveAllAsTheirGround()
    {
        QCOMPARE(run("colors set w,a=ff8800 all=102030 S=#0000ff").code, 0);
        const ColorBank bank = stateOnDisk().customRgb;
        QCOMPARE(colorOf(bank, indexOf("W")), (KeyColor{0xFF, 0x88, 0}));
        QCOMPARE(colorOf(bank, indexOf("A")), (KeyColor{0xFF, 0x88, 0}));
        QCOMPARE(colorOf(bank, indexOf("S")), (KeyColor{0, 0, 0xFF}));
        QCOMPARE(colorOf(bank, 143), (KeyColor{0x10, 0x20, 0x30}));
        QVERIFY(run("colors").out.contains("\nw=ff8800\n"));
    }

    void colorsAreReadBack()
    {
        QCOMPARE(run("colors set w=ff8800").code, 0);
        QCOMPARE(run("colors write").code, 0);
        QCOMPARE(run("colors set all=000000").code, 0);
        QCOMPARE(run("colors").out, QString());
        QCOMPARE(run("colors read").code, 0);
        QCOMPARE(run("colors show").out, QStringLiteral("w=ff8800\n"));
    }

    void macrosAreMadeChangedAndRemoved()
    {
        QCOMPARE(run("macros set Greet press h, 40, release h").code, 0);
        QCOMPARE(run("macros set \"Second one\" press a").code, 0);
        QCOMPARE(run("macros set greet press b").code, 0);
        QCOMPARE(run("macros").out, QStringLiteral("Greet\nSecond one\n"));
        QCOMPARE(run("macros show GREET").out, QStringLiteral("press b\n"));
        QCOMPARE(run("macros set Mouse click left-click, unclick Mouse-Button-5").code, 0);
        QCOMPARE(run("macros show mouse").out, QStringLiteral("click 0x01, unclick 0x10\n"));
        QCOMPARE(run("macros remove mouse").code, 0);
        QCOMPARE(run("macros remove greet").code, 0);
        QCOMPARE(run("macros list").out, QStringLiteral("Second one\n"));
        QCOMPARE(runArguments({"macros", "set", "", "press", "a"}).code, 2);
    }

    // The numbers of the later ones change, and what their keys play must not.
    void keysFollowWhenAMacroIsRemoved()
    {
        for (const char* name : {"First", "Second", "Third"})
            QCOMPARE(run(QStringLiteral("macros set %1 press a").arg(name)).code, 0);
        const QString all = "a=macro:first b=macro:second c=macro:third caps=disabled";
        QCOMPARE(run("keys set " + all).code, 0);
        QCOMPARE(run("keys set --layer fn esc=macro:second f1=macro:third").code, 0);
        QCOMPARE(run("macros remove second --dry-run").code, 0);
        const Ran ran = run("macros remove second");
        QCOMPARE(ran.out, QString());
        QCOMPARE(ran.err, QStringLiteral("tavikctl: b played it on the base layer and is as it "
                                         "comes again.\ntavikctl: esc played it on the fn layer "
                                         "and is as it comes again.\n"));
        QCOMPARE(run("keys").out, QStringLiteral("caps-lock=disabled\na=macro:First\n"
                                                 "c=macro:Third\n"));
        QCOMPARE(run("keys --layer fn").out, QStringLiteral("f1=macro:Third\n"));
        QCOMPARE(QJsonDocument::fromJson(run("macros remove first --json").out.toUtf8()).object(),
                 (QJsonObject{{"base", QJsonArray{"a"}}, {"fn", QJsonArray()}}));
    }

    // Whatever a list shows in one line finds what it stands for.
    void namesAreFoundAsTheyAreShown()
    {
        AppState::instance().macros = {{" two \n words ", {{0, 4, 0x20}, {5, 0xF3, 0xB0}}}};
        AppState::instance().layerBase.at(indexOf("A")) = macroKeyAction(0);
        AppState::instance().save();
        QCOMPARE(run("macros list").out, QString("two words\n"));
        QCOMPARE(run("keys show").out, QString("a=macro:two words\n"));
        const QString steps = run("macros show \"Two Words\"").out.trimmed();
        QCOMPARE(steps, QString("0x20 0x04, 5, press 0xf3"));
        const QList<MacroAction> actions = macroFromWords(steps);
        QCOMPARE(actions, AppState::instance().macros.first().actions);

        QCOMPARE(run("keys set all=disabled").code, 0);
        const QStringList shown = run("keys show").out.trimmed().split(u'\n');
        QCOMPARE(shown.size(), qsizetype{layerSize});
        QCOMPARE(run("keys set all=default").code, 0);
        QCOMPARE(run("keys set " + shown.join(u' ')).code, 0);
        QCOMPARE(run("keys show").out.trimmed().split(u'\n'), shown);
    }

    void moreMacrosThanTheKeyboardTakes()
    {
        for (int number = 1; number <= 101; ++number)
            AppState::instance().macros.append({QStringLiteral("M%1").arg(number), {}});
        AppState::instance().save();
        QCOMPARE(run("keys set a=macro:M100").code, 0);
        const Ran ran = run("keys set a=macro:M101");
        QCOMPARE(ran.code, 1);
        QCOMPARE(ran.err, told("The keyboard takes the first 100 macros only."));
        const Ran written = run("macros write");
        QCOMPARE(written.code, 0);
        QCOMPARE(written.err,
                 QString("tavikctl: The keyboard takes the first 100 macros of 101.\n"));
    }

    // A terminal would obey what is in the name of an imported macro.
    void namesDoNotReachTheTerminalAsTheyAre()
    {
        const QString name = QStringLiteral("a\x1b[2J\x07\u009b1mb\u202ec\u2066d");
        const QString told = QStringLiteral("a\ufffd[2J\ufffd\ufffd1mb\ufffdc\ufffdd");
        AppState::instance().macros = {{name, {}}};
        AppState::instance().layerBase[0] = macroKeyAction(0);
        AppState::instance().save();
        QCOMPARE(run("macros list").out, told + u'\n');
        QCOMPARE(run("names macros").out, told + u'\n');
        QVERIFY(run("keys show").out.endsWith(QStringLiteral("=macro:") + told + u'\n'));
        const Ran unknown = runArguments({"macros", "show", "a" + name.toStdString()});
        QVERIFY(isOneLine(unknown.err) && unknown.err.contains("a" + told));
        // What is told finds it, and nothing is lost where a program reads.
        QCOMPARE(runArguments({"macros", "show", told.toStdString()}).code, 0);
        const QJsonDocument list = QJsonDocument::fromJson(run("macros list --json").out.toUtf8());
        QCOMPARE(list.array().at(0).toObject().value("name").toString(), name);
    }

    void macroOfJustThatNameIsChanged()
    {
        AppState::instance().macros = {{"greet", {}}, {"Greet", {}}};
        AppState::instance().save();
        QCOMPARE(run("macros set Greet press z").code, 0);
        const QList<MacroRecord> macros = AppState::instance().macros;
        QCOMPARE(macros.at(0).actions.size(), qsizetype{0});
        QCOMPARE(macros.at(1).actions.size(), qsizetype{1});
    }

    void answersInJson()
    {
        const auto json = [](const QString& line) {
            return QJsonDocument::fromJson(run(line).out.toUtf8());
        };
        QCOMPARE(run("keys set a=ctrl+b").code, 0);
        QCOMPARE(run("colors set a=010203").code, 0);
        QCOMPARE(run("macros set Greet press h").code, 0);
        QCOMPARE(json("keys --json").object(), (QJsonObject{{"a", "ctrl+b"}}));
        QCOMPARE(json("--json colors").object(), (QJsonObject{{"a", "010203"}}));
        const QJsonObject greet{{"name", "Greet"}, {"steps", "press h"}};
        QCOMPARE(json("macros --json").array(), QJsonArray{greet});
        QCOMPARE(json("macros show greet --json").object(), greet);
        QCOMPARE(json("light --list --json").array().size(), 20);
        QCOMPARE(json("names effects --json").array(), json("light --list --json").array());
        QCOMPARE(json("status --json").object().value("product").toString(),
                 QStringLiteral("0c45:8009"));
        QCOMPARE(json("status --json").object().value("commands").toObject(),
                 (QJsonObject{{"path", "/dev/hidraw1"}, {"heldBy", QJsonArray()}}));
    }

    void statusTellsWhatTheDoctorFinds()
    {
        bus().interfaces().at(1).holder = "sender";
        const Ran ran = run("status");
        QCOMPARE(ran.code, 0); // others may have it open, too
        QVERIFY2(ran.out.startsWith("The keyboard is there, but in use: sender"),
                 qPrintable(ran.out));
        QCOMPARE(ran.out.section(u'\n', 1),
                 QString("product:  0c45:8009\ncommands: /dev/hidraw1, held by sender (process 1)\n"
                         "screen:   /dev/hidraw2\n"));
        const QJsonObject holder{{"name", "sender"}, {"process", 1}};
        QCOMPARE(
            QJsonDocument::fromJson(run("status --json").out.toUtf8()).object(),
            (QJsonObject{
                {"status", ran.out.section(u'\n', 0, 0)},
                {"code", 0},
                {"product", "0c45:8009"},
                {"commands", QJsonObject{{"path", "/dev/hidraw1"}, {"heldBy", QJsonArray{holder}}}},
                {"screen", QJsonObject{{"path", "/dev/hidraw2"}, {"heldBy", QJsonArray()}}}}));
    }

    void wrongUsageChangesNothing_data()
    {
        QTest::addColumn<QString>("text");
        const auto row = [](const char* line, const char* text) {
            QTest::newRow(line) << QString(text);
        };
        row("--json", "Name a command; tavikctl --help lists them.");
        row("lihgt", "There is no command \"lihgt\". Did you mean light, import or sleep?");
        row("keys sett a=b", "There is no command \"sett\". Did you mean set, show or write?");
        row("light", "Name an effect; tavikctl light --list lists them.");
        row("light brethe",
            "There is no effect \"brethe\". Did you mean breath, shuttle or static?");
        row("light static --brightness 6", "The brightness goes from 0 to 5.");
        row("light static --speed -1", "The speed goes from 0 to 5.");
        row("light static --color red",
            "\"red\" is no color: write six hexadecimal digits, as in ff8800.");
        row("light static --color +f8800",
            "\"+f8800\" is no color: write six hexadecimal digits, as in ff8800.");
        row("light static --direction lft",
            "There is no direction \"lft\". Did you mean left, right or up?");
        row("sleep 7", "There is no sleep time \"7\". Did you mean 1, 5 or 30?");
        row("keys set a=disabled cpas=disabled",
            "There is no key \"cpas\". Did you mean caps, slash or space?");
        row("keys set a=disabled b=ctrl+frob", "There is no key \"frob\". Did you mean b, f or o?");
        row("keys set a=disabled b=volume-upp",
            "There is no action \"volume-upp\". Did you mean volume-up, volume-down or scroll-up?");
        row("keys set a=disabled b=volup",
            "There is no action \"volup\". Did you mean volume-up, pgup or up?");
        row("keys set a=disabled b=macro:Nobody", "There is no macro \"Nobody\".");
        row("keys set a=disabled frob", "\"frob\" assigns nothing: write KEY=VALUE.");
        row("keys set a=disabled --layer both",
            "There is no layer \"both\". Did you mean base or fn?");
        row("colors set a=ff8800 b=ff88",
            "\"ff88\" is no color: write six hexadecimal digits, as in ff8800.");
        row("colors set a=ff8800 w,,d=000000", "There is no key \"\". Did you mean 1, 2 or 3?");
        row("macros show Nobody", "There is no macro \"Nobody\".");
        row("macros remove Nobody", "There is no macro \"Nobody\".");
        row("macros set X press",
            "\"press\" is no step of a macro: write press KEY, release KEY, click BUTTON, unclick "
            "BUTTON, pause, or milliseconds, with commas between.");
        row("macros set X press a, dance",
            "\"dance\" is no step of a macro: write press KEY, release KEY, click BUTTON, unclick "
            "BUTTON, pause, or milliseconds, with commas between.");
        row("macros set X click scroll-up", "\"scroll-up\" is no mouse button: write left-click, "
                                            "right-click, middle-click, or a code as in 0x08.");
        row("macros set X click 256", "\"256\" is no mouse button: write left-click, right-click, "
                                      "middle-click, or a code as in 0x08.");
        row("macros set X 40000, 40000, press a",
            "\"40000\" is no wait: 0 to 65535 ms before each step.");
        row("earlier restore 1",
            "There is no earlier state 1; tavikctl earlier lists the 0 there are.");
        row("names knobs",
            "There is no list of names \"knobs\". Did you mean keys, actions or macros?");
        for (const char* two :
             {"keys set caps=disabled write", "export keys", "apply status", "light static sleep 5",
              "screen a.gif status", "light colors", "macros remove write earlier"})
            row(two, "One command at a time; a file that is called like one needs ./ before its "
                     "name.");
    }
    void wrongUsageChangesNothing()
    {
        QFETCH(QString, text);
        const Ran ran = run(QTest::currentDataTag());
        QCOMPARE(ran.err, told(text));
        QCOMPARE(ran.out, QString());
        QCOMPARE(ran.code, 2);
        QVERIFY(!QFile::exists(stateFilePath()));
        QCOMPARE(busSends(), QStringList());
    }

    // Their words are those of CLI11, which differ between its versions.
    void wrongOptionsChangeNothing_data()
    {
        QTest::addColumn<QString>("text");
        const auto row = [](const char* line, const char* text) {
            QTest::newRow(line) << QString(text);
        };
        row("status now", "following argument was not expected: now");
        row("keys --frob", "following argument was not expected: --frob");
        row("keys set", "required");
        row("colors on --brightness 6", "--brightness: Value 6 not in range");
        row("screen x.png --slot 0", "--slot: Value 0 not in range");
        row("screen x.png --slot 4", "--slot: Value 4 not in range");
    }
    void wrongOptionsChangeNothing()
    {
        QFETCH(QString, text);
        const Ran ran = run(QTest::currentDataTag());
        QVERIFY2(ran.err.contains(text), qPrintable(ran.err));
        QVERIFY2(ran.err.endsWith(". See tavikctl --help.\n"), qPrintable(ran.err));
        QVERIFY2(isOneLine(ran.err), qPrintable(ran.err));
        QCOMPARE(ran.out, QString());
        QCOMPARE(ran.code, 2);
        QVERIFY(!QFile::exists(stateFilePath()));
        QCOMPARE(busSends(), QStringList());
    }

    // As of a variable that is not set, or of a name from an old disk.
    void argumentsThatAreNoText()
    {
        for (const std::vector<std::string>& arguments : {std::vector<std::string>{"apply", ""},
                                                          {"light", "static", "--color", ""},
                                                          {"export", ""}}) {
            const Ran ran = runArguments(arguments);
            QCOMPARE(ran.err, told("An argument is empty. Leave it out, or say what it is."));
            QCOMPARE(ran.code, 2);
            QCOMPARE(ran.out, QString());
        }
        const QString name = QStringLiteral("out").rightJustified(60, u'x');
        const Ran ran = runArguments({"export", name.toStdString() + "\xff"});
        QCOMPARE(ran.err,
                 told(u'"' + name + "\" is not in UTF-8. Rename the file, or set the locale."));
        QCOMPARE(ran.code, 2);
        QCOMPARE(busSends(), QStringList());
        QCOMPARE(QDir().entryList({"*out*"}), QStringList());
    }

    // A typing error of a script, and nobody waits for minutes.
    void longWrongNames()
    {
        const QString name(100'000, u'x');
        const Ran ran = run("keys set a=" + name);
        QCOMPARE(ran.code, 2);
        QVERIFY(ran.err.size() < 250);
        QCOMPARE(run("light " + name).code, 2);
    }

    void helpTellsWhatCanBeTyped_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QStringList>("entries");
        const auto row = [](const char* command, const char* description,
                            const QStringList& entries = {}) {
            QTest::newRow(qPrintable(QString(command) + "--help"))
                << QString(description) << entries;
        };
        row("", "Sets up the ZEROLT TAVIK Pro keyboard.",
            {"--version: Display program version information and exit", "--json: Answer in JSON",
             "--dry-run: Say what would be sent, and change nothing",
             "status: Whether the keyboard can be used", "light: Choose a lighting effect",
             "sleep: Choose when the lighting sleeps", "keys: What the keys do",
             "colors: The color of every key", "macros: What the keyboard plays",
             "screen: Put pictures on the screen", "export: Write the settings to a file",
             "import: Take over the settings in a file", "earlier: Earlier settings",
             "apply: Write all settings to the keyboard", "names: List what can be typed"});
        row("status ", "Whether the keyboard can be used");
        row("light ", "Choose a lighting effect",
            {"EFFECT: The effect", "--list: List the effects", "--color: RRGGBB, or random",
             "--brightness: 0 to 5", "--speed: 0 to 5", "--direction: left, right, up or down"});
        row("sleep ", "Choose when the lighting sleeps", {"TIME: never, or minutes: 1, 5 or 30"});
        row("keys ", "What the keys do",
            {"--layer: base or fn", "show: Show the keys that are not as they come",
             "set: Assign keys", "write: Write the layer to the keyboard"});
        row("keys show ", "Show the keys that are not as they come");
        row("keys set ", "Assign keys", {"ASSIGNMENTS: As in caps=disabled a=ctrl+shift+b"});
        row("keys write ", "Write the layer to the keyboard");
        row("colors ", "The color of every key",
            {"show: Show the keys that are not black", "set: Paint keys",
             "write: Write the colors to the keyboard", "read: Read the colors from the keyboard",
             "on: Let the keyboard show its colors"});
        row("colors set ", "Paint keys", {"ASSIGNMENTS: As in w,a,s,d=ff8800 all=000000"});
        row("colors on ", "Let the keyboard show its colors", {"--brightness: 0 to 5"});
        row("macros ", "What the keyboard plays",
            {"list: List the macros", "show: Show the steps of a macro",
             "set: Make or change a macro", "remove: Remove a macro",
             "write: Write all macros to the keyboard"});
        row("macros show ", "Show the steps of a macro", {"NAME: The macro"});
        row("macros set ", "Make or change a macro",
            {"NAME: The macro", "STEP: As in press h, 40, release h"});
        row("macros remove ", "Remove a macro", {"NAME: The macro"});
        row("screen ", "Put pictures on the screen",
            {"FILE: Pictures or animations, 30 pictures in all", "--slot: 1 to 3"});
        row("export ", "Write the settings to a file", {"FILE: Standard output without one"});
        row("import ", "Take over the settings in a file",
            {"FILE: What it does not hold stays as it is"});
        row("earlier ", "Earlier settings",
            {"list: List them, the newest first", "restore: Go back to one of them"});
        row("earlier restore ", "Go back to one of them", {"N: Its number in the list"});
        row("apply ", "Write all settings to the keyboard",
            {"FILE: Your own settings without one"});
        row("names ", "List what can be typed", {"KIND: keys, actions, effects or macros"});
    }
    void helpTellsWhatCanBeTyped()
    {
        QFETCH(QString, description);
        QFETCH(QStringList, entries);
        const Ran ran = run(QTest::currentDataTag());
        QVERIFY2(ran.out.trimmed().startsWith(description + u'\n'), qPrintable(ran.out));
        QVERIFY(ran.out.contains("tavikctl"));
        // The other entry is the library's, which newer ones list in another place.
        QStringList listed = listedIn(ran.out);
        QCOMPARE(listed.removeAll("-h,--help: Print this help message and exit"), 1);
        QCOMPARE(listed, entries);
    }

    // What has to be given is asked for by its name.
    void whatIsMissingIsNamed_data()
    {
        QTest::addColumn<QString>("name");
        const auto row = [](const char* line, const char* name) {
            QTest::newRow(line) << QString(name);
        };
        row("sleep", "TIME");
        row("keys set", "ASSIGNMENTS");
        row("colors set", "ASSIGNMENTS");
        row("macros show", "NAME");
        row("macros set", "NAME");
        row("macros set X", "STEP");
        row("macros remove", "NAME");
        row("screen", "FILE");
        row("import", "FILE");
        row("earlier restore", "N");
        row("names", "KIND");
    }
    void whatIsMissingIsNamed()
    {
        QFETCH(QString, name);
        const Ran ran = run(QTest::currentDataTag());
        QCOMPARE(ran.err, told(name + " is required. See tavikctl --help."));
        QCOMPARE(ran.code, 2);
    }

    void helpIsNoError()
    {
        for (const char* line : {"--help", "light --help", "--version"}) {
            const Ran ran = run(line);
            QCOMPARE(ran.code, 0);
            QVERIFY(!ran.out.isEmpty());
            QCOMPARE(ran.err, QString());
        }
    }

    void keyboardThatIsNotThere()
    {
        for (const Talk& talk : talks) {
            prepareState();
            bus().unplug();
            const Ran ran = runTalk(talk);
            bus().plug();
            QCOMPARE(ran.code, 3);
            QCOMPARE(ran.out, QString());
            QVERIFY2(ran.err.contains("The keyboard is not on USB."), qPrintable(ran.err));
            QVERIFY(isOneLine(ran.err));
        }
        bus().unplug();
        QCOMPARE(run("status").code, 3);
        QCOMPARE(run("colors read").code, 3);
    }

    void keyboardThatMayNotBeOpened()
    {
        bus().setOpens("/dev/hidraw1", false);
        for (const Talk& talk : talks) {
            prepareState();
            const Ran ran = runTalk(talk);
            QCOMPARE(ran.code, 4);
            QVERIFY2(ran.err.contains("you may not use it"), qPrintable(ran.err));
            QVERIFY(isOneLine(ran.err));
        }
        QCOMPARE(run("status").code, 4);
    }

    void keyboardThatIsBusy()
    {
        prepareState();
        for (const Talk& talk : talks) {
            bus().failAt(1, busy(), 10);
            const Ran ran = runTalk(talk);
            QVERIFY2(
                ran.err.endsWith("busy?). Wait until the other program is done, then try again.\n"),
                qPrintable(ran.err));
            QCOMPARE(ran.code, 5);
            QVERIFY(isOneLine(ran.err));
            bus().clearFaults();
        }
    }

    // A keyboard that is so busy may refuse the FINISH, too, whose text is then the last.
    void keyboardThatIsBusyToTheEnd()
    {
        prepareState();
        for (const Talk& talk : talks) {
            bus().failAt(1, busy(), 11);
            const Ran ran = runTalk(talk);
            QVERIFY2(ran.err.contains("busy?"), qPrintable(ran.err));
            QCOMPARE(ran.code, 5);
            bus().clearFaults();
            QCOMPARE(runTalk(talk).code, 0);
            bus().failAt(2, answerStatus(5));
            QCOMPARE(runTalk(talk).code, 1);
            bus().clearFaults();
        }
        bus().clearViolations();
    }

    void wireThatAnotherProcessHolds()
    {
        prepareState();
        ProcessLock other(runtimeFilePath(QStringLiteral("tavik-center-wire.lock")));
        QCOMPARE(other.attempt(), ProcessLock::Attempt::Taken);
        for (const Talk& talk : talks) {
            const Ran ran = runTalk(talk);
            QCOMPARE(ran.code, 5);
            QCOMPARE(busSends(), QStringList());
        }
    }

    void keyboardThatRefuses()
    {
        prepareState();
        for (const Talk& talk : talks) {
            bus().clearTrace();
            bus().failAt(2, answerStatus(5));
            const Ran ran = runTalk(talk);
            QCOMPARE(ran.code, 1);
            QVERIFY2(ran.err.contains("rejected (status 05)"), qPrintable(ran.err));
            QVERIFY2(ran.err.endsWith(plugAgain), qPrintable(ran.err));
            QVERIFY(isOneLine(ran.err));
            QCOMPARE(busSends().size(), 3);
            bus().clearFaults();
        }
        bus().clearViolations();
    }

    // Wherever it happens, the session gets its FINISH and nothing else.
    void interruptionEndsTheSequence()
    {
        prepareState();
        for (const Talk& talk : talks) {
            bus().clearTrace();
            QCOMPARE(runTalk(talk).code, 0);
            const auto eventCount = static_cast<int>(bus().wire().size());
            for (int event = 1; event<eventCount; event += eventCount> 60 ? 7 : 1) {
                bus().clearTrace();
                bus().setListener([event] {
                    if (static_cast<int>(bus().wire().size()) >= event)
                        Device::interrupt();
                });
                const Ran ran = runTalk(talk);
                bus().setListener({});
                Device::forgetInterruption();
                const QStringList sends = busSends();
                if (ran.code == 0) {
                    // It came when all was done but the end.
                    QVERIFY(event >= eventCount - 4);
                    continue;
                }
                QCOMPARE(ran.code, 130);
                QVERIFY(ran.err.endsWith("Interrupted.\n"));
                QVERIFY(sends.constLast().startsWith("04 f0"));
                QVERIFY(deviceLockIsFree());
            }
            QCOMPARE(runTalk(talk).code, 0);
        }
        bus().clearViolations(); // a session of no command
    }

    void dryRunShowsJustWhatIsSent()
    {
        prepareState();
        QList<Talk> lines = talks;
        lines.append({"colors read", finishZero});
        for (const Talk& talk : lines) {
            bus().clearTrace();
            const Ran dry = runTalk(talk, {"--dry-run", "--json"});
            QCOMPARE(dry.err, QString());
            QCOMPARE(dry.code, 0);
            QCOMPARE(busTrace().filter(QRegularExpression("^(?!wait)")), QStringList());
            QStringList shown;
            for (const QJsonValue& report : QJsonDocument::fromJson(dry.out.toUtf8()).array()) {
                QVERIFY(!report["meaning"].toString().isEmpty());
                if (!report["bytes"].toString().isEmpty())
                    shown += report["bytes"].toString();
            }
            QCOMPARE(runTalk(talk).code, 0);
            QCOMPARE(shown, busSends());
        }
    }

    void dryRunChangesNothing()
    {
        prepareState();
        const QByteArray before = readFile(stateFilePath());
        const QString exported = folder.filePath("exported.json");
        for (const QString& line :
             {QStringLiteral("keys set a=disabled"), QStringLiteral("colors set all=ffffff"),
              QStringLiteral("colors read"), QStringLiteral("macros set New press a"),
              QStringLiteral("macros remove Greet"), QStringLiteral("earlier restore 1"),
              QStringLiteral("import \"%1\"").arg(stateFilePath()),
              QStringLiteral("export \"%1\"").arg(exported)})
            QCOMPARE(run(line + " --dry-run").code, 0);
        QCOMPARE(readFile(stateFilePath()), before);
        QVERIFY(!QFile::exists(exported));
        QCOMPARE(run("keys set a=disabled --dry-run --json").out, QString("{\n}\n"));
        QCOMPARE(run("light static --json").out, QString("{\n}\n"));
        QVERIFY(QJsonDocument::fromJson(run("keys --dry-run --json").out.toUtf8()).isObject());
        // It notices what is wrong all the same.
        QCOMPARE(run("keys set a=frob --dry-run").code, 2);
    }

    void dryRunReadsLikeWords()
    {
        QCOMPARE(run("keys set caps=disabled").code, 0);
        QCOMPARE(run("sleep 30 --dry-run").out.count(u'\n'), 5);
        QVERIFY(run("sleep 30 --dry-run").out.contains("(data 1 of 1: after 30 min)\n"));
        QVERIFY(run("keys write --dry-run").out.contains("(data 4 of 9: caps-lock=disabled)\n"));
        QVERIFY(run("light static --color ff8800 --dry-run")
                    .out.contains("static, color ff8800, brightness 5, speed 3, direction left"));
        QVERIFY(run("screen \"" + picture + "\" --slot 2 --dry-run")
                    .out.contains("(screen, slot 2)\nblock 1 of 9\nblock 2 of 9\n"));
    }

    // It would not show the change.
    void openWindowKeepsEditsOut()
    {
        prepareState();
        const QByteArray before = readFile(stateFilePath());
        ProcessLock window(lockPathOf(stateFilePath()));
        QCOMPARE(window.attempt(), ProcessLock::Attempt::Taken);
        const QString socket = runtimeFilePathOf(stateFilePath(), QStringLiteral(".socket"));
        tests::writeFile(socket, {});
        const auto gone = qScopeGuard([&socket] { QFile::remove(socket); });
        for (const QString& line :
             {QStringLiteral("keys set a=disabled"), QStringLiteral("colors set all=ffffff"),
              QStringLiteral("colors read"), QStringLiteral("macros set New press a"),
              QStringLiteral("macros remove Greet"), QStringLiteral("earlier restore 1"),
              QStringLiteral("import \"%1\"").arg(stateFilePath())}) {
            const Ran ran = run(line);
            QCOMPARE(ran.code, 1);
            QCOMPARE(ran.err, told("The window of tavik-center is open and would not show the "
                                   "change. Make it there, or close the window first."));
        }
        QCOMPARE(readFile(stateFilePath()), before);
        QCOMPARE(busSends(), QStringList());
        for (const Talk& talk : talks)
            QCOMPARE(runTalk(talk).code, 0);
        QCOMPARE(run("keys").code, 0);
    }

    void commandThatDoesNotEndIsNotTakenForAWindow()
    {
        ProcessLock other(lockPathOf(stateFilePath()));
        QCOMPARE(other.attempt(), ProcessLock::Attempt::Taken);
        const Ran ran = run("keys set a=disabled");
        QCOMPARE(ran.code, 1);
        QCOMPARE(ran.err, told("Another command edits the settings. Wait for it, then try again."));
        QCOMPARE(bus().count("wait 50"), 199);

        bus().setListener([] { Device::interrupt(); });
        QCOMPARE(run("keys set a=disabled").code, 130);
        bus().setListener({});
        Device::forgetInterruption();
    }

    void windowThatSavesJustNowIsWaitedFor()
    {
        prepareState();
        const QByteArray whole = readFile(stateFilePath());
        tests::writeFile(stateFilePath(), whole.first(20));
        bus().setListener([&whole] { tests::writeFile(stateFilePath(), whole); });
        const Ran ran = run("keys show");
        bus().setListener({});
        QCOMPARE(ran.err, QString());
        QVERIFY(ran.out.contains("caps-lock=disabled"));
    }

    void anotherCommandIsWaitedFor()
    {
        ProcessLock other(lockPathOf(stateFilePath()));
        QCOMPARE(other.attempt(), ProcessLock::Attempt::Taken);
        bus().setListener([&other] {
            if (bus().count("wait 50") == 3)
                other.release();
        });
        QCOMPARE(run("keys set a=disabled").code, 0);
        QCOMPARE(bus().count("wait 50"), 3);
    }

    void damagedSettingsAreNotOverwritten()
    {
        prepareState();
        const QByteArray good = readFile(stateFilePath());
        QVERIFY(keepEarlier(good));
        tests::writeFile(stateFilePath(), "{\"layerBase\": [");
        const QString path = u'"' + stateFilePath() + u'"';
        for (const char* line : {"keys set a=disabled", "keys", "keys write", "export"}) {
            const Ran ran = run(line);
            QCOMPARE(ran.code, 1);
            QVERIFY2(ran.err.startsWith("tavikctl: " + path + " cannot be used. ") &&
                         ran.err.endsWith(". Go back to an earlier state: tavikctl earlier.\n"),
                     qPrintable(ran.err));
            QVERIFY(isOneLine(ran.err));
        }
        QCOMPARE(run("apply").err, told(path + " is no settings file that can be read."));
        QCOMPARE(readFile(stateFilePath()), QByteArray("{\"layerBase\": ["));
        const QString file = folder.filePath("good.json");
        tests::writeFile(file, good);
        QCOMPARE(run("import \"" + file + "\" --dry-run").code, 0);
        QCOMPARE(run("import \"" + file + u'"').code, 0);
        QCOMPARE(stateOnDisk(), stateFromJson(QJsonDocument::fromJson(good).object()));
        tests::writeFile(stateFilePath(), "{\"layerBase\": [");
        QCOMPARE(run("earlier restore 1").code, 0);
        QCOMPARE(stateOnDisk(), stateFromJson(QJsonDocument::fromJson(good).object()));
    }

    void settingsThatCannotBeWritten()
    {
        const Ran exported = run("export /dev/full/nowhere.json");
        QCOMPARE(exported.code, 1);
        QCOMPARE(exported.err,
                 told("\"/dev/full/nowhere.json\" could not be written. Look for room "
                      "on the disk, and whether you may write there."));
        // A directory in its place; root may write to everything else.
        QVERIFY(QDir().mkpath(stateFilePath() + "/x"));
        const Ran ran = run("keys set a=disabled");
        QCOMPARE(ran.code, 1);
        QCOMPARE(ran.err, told(u'"' + stateFilePath() +
                               "\" cannot be used. The file cannot be read, or it is too large. Go "
                               "back to an earlier state: tavikctl earlier."));
    }

    void settingsGoOutAndComeBack()
    {
        prepareState();
        const SavedState state = stateOnDisk();
        const QString file = folder.filePath("my settings.json");
        QCOMPARE(run("export \"" + file + u'"').code, 0);
        QCOMPARE(run("export").out.toUtf8(), readFile(file));
        QCOMPARE(run("keys set all=default").code, 0);
        QCOMPARE(run("macros remove Greet").code, 0);
        QVERIFY(stateOnDisk() != state);

        QCOMPARE(run("import \"" + file + u'"').code, 0);
        QCOMPARE(stateOnDisk(), state);
        QCOMPARE(run("import \"" + picture + u'"').code, 1);

        // The one before the import is kept.
        const QStringList earlier = run("earlier").out.split(u'\n', Qt::SkipEmptyParts);
        QVERIFY(earlier.size() >= 1);
        QVERIFY(earlier.constFirst().startsWith(" 1  20"));
        const QJsonArray listed =
            QJsonDocument::fromJson(run("earlier --json").out.toUtf8()).array();
        QCOMPARE(listed.size(), earlier.size());
        QCOMPARE(listed.at(0).toObject().keys(), QStringList({"number", "path", "time"}));
        QCOMPARE(listed.at(0)["number"].toInt(), 1);
        QCOMPARE(run("earlier restore 1").code, 0);
        QCOMPARE(stateOnDisk().macros, QList<MacroRecord>());
        QCOMPARE(run("earlier restore 31").code, 2);
    }

    void exportSparesWhatIsThere()
    {
        QCOMPARE(run("keys set caps=disabled").code, 0);
        const QString file = folder.filePath("mine.json");
        tests::writeFile(file, "mine");
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        QCOMPARE(run("export \"" + file + u'"').code, 1);
        QCOMPARE(readFile(file), QByteArray("mine"));
        constexpr auto open = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther;
        QVERIFY(QFile::setPermissions(file, open));
        QCOMPARE(run("export \"" + file + u'"').code, 0);
        QCOMPARE(readFile(file), readFile(stateFilePath()));
        QVERIFY(QFile::permissions(file).testFlag(QFile::ReadOther));

        const QString pipe = folder.filePath("pipe");
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QFile reader(pipe);
        QVERIFY(reader.open(::open(QFile::encodeName(pipe).constData(), O_RDONLY | O_NONBLOCK),
                            QIODevice::ReadOnly, QFile::AutoCloseHandle));
        QCOMPARE(run("export \"" + pipe + u'"').code, 0);
        QCOMPARE(reader.readAll(), readFile(stateFilePath()));
        QCOMPARE(run("export \"" + folder.path() + u'"').code, 1);
    }

    void moreThanCanBeSaved()
    {
        AppState::instance().macros = {{QString(16 * 1024 * 1024 - 20'000, u'n'), {}}};
        AppState::instance().save();
        const QByteArray before = readFile(stateFilePath());
        QVERIFY(before.size() > 16'000'000);
        const Ran ran = runArguments({"macros", "set", std::string(30'000, 'x'), "press", "a"});
        QCOMPARE(ran.err, told("These are more macros, or longer names, than can be saved. Nothing "
                               "was changed."));
        QCOMPARE(ran.code, 1);
        QCOMPARE(readFile(stateFilePath()), before);
    }

    void macrosThatTakeTooMuchRoom()
    {
        QString steps = "press a";
        for (int step = 1; step < 668; ++step)
            steps += ", press a";
        QCOMPARE(run("macros set Long " + steps).code, 0);
        const Ran ran = run("macros write");
        QCOMPARE(ran.code, 1);
        QCOMPARE(ran.err, told("Macro space exceeded (3072 bytes). Remove some steps or macros, "
                               "then write again."));
        const Ran applied = run("apply");
        QCOMPARE(applied.code, 1);
        QCOMPARE(applied.err, told(u'"' + stateFilePath() +
                                   "\": Macro space exceeded (3072 bytes). Nothing was sent."));
        QCOMPARE(busSends(), QStringList());
    }

    void picturesThatDoNotDo()
    {
        const QString text = folder.filePath("notes.txt");
        tests::writeFile(text, "no picture");
        const QString film = folder.filePath("film.gif");
        tests::writeFile(film, encodePlainGif({8, 8}, manyColors(30), 7));
        const QString unread = "\"%1\" is no picture that can be read.";
        const QList<std::pair<QString, QString>> lines{
            {"screen \"" + text + u'"', unread.arg(text)},
            {"screen missing.png", unread.arg("missing.png")},
            {"screen \"" + film + "\" \"" + picture + u'"',
             "These are more than 30 pictures, which is all that a slot holds. Leave some out."}};
        for (const auto& [line, reason] : lines) {
            const Ran ran = run(line);
            QCOMPARE(ran.code, 1);
            QCOMPARE(ran.err, told(reason));
        }
        QCOMPARE(busSends(), QStringList());
        const QString longer = folder.filePath("longer\x1b.gif");
        tests::writeFile(longer, encodePlainGif({8, 8}, manyColors(31), 7));
        const Ran cut = run("screen \"" + longer + u'"');
        QCOMPARE(cut.code, 0);
        QCOMPARE(cut.err, QStringLiteral("tavikctl: longer\ufffd.gif: 30 of 31 frames\n"));
        QCOMPARE(run("screen \"" + film + u'"').code, 0);
    }

    void progressIsDrawnOnATerminalOnly()
    {
        QCOMPARE(runArguments({"screen", picture.toStdString()}).err, QString());
        const Ran ran = runArguments({"screen", picture.toStdString()}, true);
        QCOMPARE(ran.code, 0);
        QVERIFY2(ran.err.startsWith("\r[####....") && ran.err.contains("] 1/9\r["),
                 qPrintable(ran.err));
        QVERIFY(ran.err.endsWith("########] 9/9\n"));
        QCOMPARE(ran.out, QString());
        QCOMPARE(runArguments({"screen", picture.toStdString(), "--dry-run"}, true).err, QString());
        // What is said of a failure has a line of its own.
        bus().failBlockAt(3, virtual_keyboard::noAcknowledgement());
        const Ran failed = runArguments({"screen", picture.toStdString()}, true);
        QCOMPARE(failed.code, 1);
        QVERIFY2(failed.err.contains("] 1/9\ntavikctl: "), qPrintable(failed.err));
        bus().clearFaults();
        bus().clearViolations();
    }

    void applyWritesWhatAFileHolds()
    {
        const QString file = folder.filePath("light.json");
        tests::writeFile(file, R"({"sleep": 30, "lighting": {"effect": "Static",
            "color": "ff8800", "brightness": 4}})");
        QCOMPARE(run("apply \"" + file + u'"').err, QString());
        const QStringList asApplied = busSends();
        bus().clearTrace();
        QCOMPARE(run("light static --color ff8800 --brightness 4").code, 0);
        QCOMPARE(run("sleep 30").code, 0);
        QCOMPARE(asApplied, busSends());

        tests::writeFile(file, R"({"lighting": {"effect": "custom", "brightness": 1},
            "layerFn": [], "sleep": "never"})");
        bus().clearTrace();
        QCOMPARE(run("apply \"" + file + u'"').err, QString());
        const QStringList second = busSends();
        bus().clearTrace();
        QCOMPARE(run("keys write --layer fn").code, 0);
        QCOMPARE(run("colors on --brightness 1").code, 0);
        QCOMPARE(run("sleep never").code, 0);
        QCOMPARE(second, busSends());
    }

    // Everything is looked at before anything is sent.
    void applySendsNothingOfAWrongFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* name, const char* content, const QString& reason) {
            QTest::newRow(name) << QByteArray(content) << reason;
        };
        row("no JSON", "text", " is no settings file that can be read.");
        row("nothing in it", "{}", " holds no settings of this program.");
        row("wrong effect", R"({"layerBase": [], "lighting": {"effect": "brethe"}})",
            ": There is no effect \"brethe\". Did you mean breath, shuttle or static?");
        row("wrong level", R"({"layerBase": [], "lighting": {"effect": "static", "speed": 6}})",
            ": The speed goes from 0 to 5.");
        row("wrong level of the colors", R"({"lighting": {"effect": "custom", "brightness": 6}})",
            ": The brightness goes from 0 to 5.");
        row("lighting that is none", R"({"layerBase": [], "lighting": 1})",
            ": \"lighting\" in the file has to be an object.");
        row("wrong sleep", R"({"layerBase": [], "sleep": 7})",
            ": There is no sleep time \"7\". Did you mean 1, 5 or 30?");
        const QString member = ": \"lighting\" in the file has a wrong member \"%1\".";
        row("wrong type", R"({"layerBase": [], "lighting": {"effect": 3}})", member.arg("effect"));
        row("wrong member", R"({"layerBase": [], "lighting": {"effect": "static", "sped": 3}})",
            member.arg("sped"));
        row("unknown text", R"({"layerBase": [], "lighting": {"effect": "static", "way": "left"}})",
            member.arg("way"));
        row("no color", R"({"lighting": {"effect": "static", "color": ""}})", member.arg("color"));
        row("no direction", R"({"lighting": {"effect": "static", "direction": 3}})",
            member.arg("direction"));
        row("no level", R"({"lighting": {"effect": "static", "brightness": "3"}})",
            member.arg("brightness"));
        row("no speed", R"({"lighting": {"effect": "static", "speed": "3"}})", member.arg("speed"));
    }
    void applySendsNothingOfAWrongFile()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, reason);
        const QString file = folder.filePath("wrong.json");
        tests::writeFile(file, content);
        const Ran ran = run("apply \"" + file + u'"');
        QCOMPARE(ran.code, 1);
        QCOMPARE(ran.err, told(u'"' + file + u'"' + reason));
        QCOMPARE(busSends(), QStringList());
    }

    void applyNeedsSettings()
    {
        const Ran ran = run("apply");
        QCOMPARE(ran.code, 1);
        QCOMPARE(ran.err,
                 told("Nothing has been saved yet: there is no \"" + stateFilePath() + "\"."));
    }

    void applyNamesTheStepThatFails()
    {
        prepareState();
        bus().failCommand(0x23, answerStatus(5));
        const Ran ran = run("apply");
        QCOMPARE(ran.code, 1);
        QVERIFY2(ran.err.startsWith("tavikctl: Colors: RGB bank rejected (status 05)"),
                 qPrintable(ran.err));
        bus().clearViolations();
    }

    void namesCanBeListed()
    {
        QCOMPARE(run("macros set Greet press h").code, 0);
        const auto names = [](const char* kind) {
            return run(QLatin1String("names ") + QLatin1String(kind)).out.split(u'\n');
        };
        QVERIFY(names("keys").contains("caps-lock"));
        QVERIFY(names("keys").contains("up"));
        QVERIFY(names("actions").contains("volume-up"));
        QVERIFY(names("actions").contains("macro:Greet"));
        QCOMPARE(names("effects").size(), 21);
        QCOMPARE(names("macros"), QStringList({"Greet", ""}));
    }

private:
    static void prepareState()
    {
        QCOMPARE(run("keys set caps=disabled f5=macro-free").code, 2);
        QCOMPARE(run("macros set Greet press h, 40, release h").code, 0);
        QCOMPARE(run("keys set caps=disabled m=macro:Greet").code, 0);
        QCOMPARE(run("keys set --layer fn f5=volume-up").code, 0);
        QCOMPARE(run("colors set w,a,s,d=ff8800").code, 0);
        QVERIFY(keepEarlier(readFile(stateFilePath())));
    }

    Ran runTalk(const Talk& talk, std::vector<std::string> arguments = {}) const
    {
        for (const QString& word : QString(talk.line).split(u' '))
            arguments.push_back(word == "%1" ? picture.toStdString() : word.toStdString());
        return runArguments(arguments);
    }

    const QTemporaryDir folder;
    QString picture;
};

TAVIK_ISOLATED_TEST_MAIN(CommandLineTest)
#include "command_line_test.moc"
