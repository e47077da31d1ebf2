// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "model/state_copies.h"
#include "tests/model/sample_state.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

SavedState& fields()
{
    return AppState::instance();
}

QJsonObject parsed(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

// What the program finds at its next start when the state file holds these bytes.
SavedState loaded(const QByteArray& content)
{
    writeFile(stateFilePath(), content);
    fields() = SavedState{};
    AppState::instance().load();
    return fields();
}

void saveState(const SavedState& state)
{
    fields() = state;
    AppState::instance().save();
}

// An object of the state file, written out by hand.
QByteArray keyJson(const KeyAction& action)
{
    return "        {\n            \"p1\": " + QByteArray::number(action.p1) +
           ",\n            \"p2\": " + QByteArray::number(action.p2) +
           ",\n            \"p3\": " + QByteArray::number(action.p3) +
           ",\n            \"page\": " + QByteArray::number(action.page) + "\n        }";
}

QByteArray layerJson(const KeyLayer& layer)
{
    QByteArrayList keys;
    for (const KeyAction& action : layer)
        keys.append(keyJson(action));
    return "[\n" + keys.join(",\n") + "\n    ]";
}

SavedState sampleState()
{
    SavedState state;
    state.layerBase.at(0) = {2, 3, 5, 0};
    state.layerBase.at(143) = {1, 3, 255, 9};
    state.layerFn.at(7) = {6, 0, 0, 0};
    state.macros = {{QStringLiteral("Grüße \"%1\" 🙂"), {{65535, 4, 0xB0}, {0, 4, 0x30}}},
                    {QString(), {}}};
    state.customRgb.at(0) = 255;
    state.customRgb.at(431) = 1;
    return state;
}

QByteArray sampleStateJson()
{
    const SavedState state = sampleState();
    QByteArrayList colors;
    for (const unsigned char byte : state.customRgb)
        colors.append("        " + QByteArray::number(byte));
    return "{\n    \"customRgb\": [\n" + colors.join(",\n") +
           "\n    ],\n    \"layerBase\": " + layerJson(state.layerBase) +
           ",\n    \"layerFn\": " + layerJson(state.layerFn) +
           ",\n    \"macros\": [\n"
           "        {\n"
           "            \"actions\": [\n"
           "                {\n"
           "                    \"delay\": 65535,\n"
           "                    \"flags\": 176,\n"
           "                    \"key\": 4\n"
           "                },\n"
           "                {\n"
           "                    \"delay\": 0,\n"
           "                    \"flags\": 48,\n"
           "                    \"key\": 4\n"
           "                }\n"
           "            ],\n"
           "            \"name\": \"Grüße \\\"%1\\\" 🙂\"\n"
           "        },\n"
           "        {\n"
           "            \"actions\": [\n"
           "            ],\n"
           "            \"name\": \"\"\n"
           "        }\n"
           "    ]\n"
           "}\n";
}

// The address sanitizer makes a round eight times as slow and finds its errors in far fewer.
#ifdef __SANITIZE_ADDRESS__
constexpr int randomRounds = 1000;
#else
constexpr int randomRounds = 10000;
#endif

struct FileId
{
    dev_t device = 0;
    ino_t inode = 0;

    friend bool operator==(const FileId&, const FileId&) = default;
};

unsigned permissions(const QString& path)
{
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return 0;
    return status.st_mode & 0777U;
}

FileId fileId(const QString& path)
{
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino};
}

} // namespace

class AppStateTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        configuration.makeProgramDirectory();
        writeFile(stateFile(), sampleStateJson());
    }

    void init()
    {
        // The program is silent about its files, and so is Qt.
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        configuration.makeProgramDirectory();
    }

    void cleanup()
    {
        configuration.clear();
        fields() = SavedState{};
        AppState::instance().load(); // there is nothing, and nothing is remembered of the last case
    }

    // Has to be the first test: the object is made only once in a process.
    void firstUseLoadsTheFile()
    {
        QCOMPARE(AppState::instance().layerBase.at(0), (KeyAction{2, 3, 5, 0}));
        QVERIFY(fields() == sampleState());
        QCOMPARE(readFile(backup()), sampleStateJson());
    }

    void fileStandsInTheConfigurationDirectory()
    {
        QCOMPARE(stateFilePath(), stateFile());
        QCOMPARE(QFileInfo(stateFilePath()).path(),
                 QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation));
    }

    void objectIsOneWithoutParent()
    {
        QCOMPARE(&AppState::instance(), &AppState::instance());
        QVERIFY(AppState::instance().parent() == nullptr);
        QCOMPARE(AppState::instance().metaObject()->className(), "tavik::AppState");
    }

    void signalsAreDeclaredInOrder()
    {
        const QMetaObject& type = AppState::staticMetaObject;
        QByteArrayList signatures;
        for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
            QCOMPARE(type.method(i).methodType(), QMetaMethod::Signal);
            signatures.append(type.method(i).methodSignature());
        }
        QCOMPARE(signatures,
                 (QByteArrayList{"macrosChanged()", "layersChanged()", "rgbChanged()"}));
    }

    void numbers_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<int>("asByte");
        QTest::addColumn<int>("asWord");
        const auto row = [](const char* json, int asByte, int asWord) {
            QTest::newRow(json) << QByteArray(json) << asByte << asWord;
        };
        row("0", 0, 0);
        row("255", 255, 255);
        row("256", 0, 256);
        row("300", 44, 300);
        row("-1", 255, 65535);
        row("-128", 128, 65408);
        row("65535", 255, 65535);
        row("65536", 0, 0);
        row("70000", 112, 4464);
        row("2147483647", 255, 65535);
        row("2147483648", 0, 0);
        row("-2147483648", 0, 0);
        row("-2147483649", 0, 0);
        row("4294967297", 0, 0);
        row("9223372036854775807", 0, 0);
        row("99999999999999999999", 0, 0);
        row("7.0", 7, 7);
        row("3e2", 44, 300);
        row("1.5", 0, 0);
        row("-0.5", 0, 0);
        row("1e10", 0, 0);
        row("1e400", 0, 0);
        row("\"255\"", 0, 0);
        row("\"\"", 0, 0);
        row("true", 0, 0);
        row("false", 0, 0);
        row("null", 0, 0);
        row("[1]", 0, 0);
        row("{\"page\":1}", 0, 0);
    }
    void numbers()
    {
        QFETCH(QByteArray, json);
        QFETCH(int, asByte);
        QFETCH(int, asWord);

        if (json == "1e400") {
            // A number beyond double ends the document, whatever stands around it.
            QVERIFY(loaded("{\"customRgb\":[1,1e400]}") == SavedState{});
            return;
        }
        const QByteArray key =
            "{\"page\":" + json + ",\"p1\":" + json + ",\"p2\":" + json + ",\"p3\":" + json + "}";
        const SavedState state = loaded(
            "{\"layerBase\":[" + key + "],\"layerFn\":[{}," + key +
            "],\"macros\":[{\"name\":\"n\",\"actions\":[{\"delay\":" + json + ",\"key\":" + json +
            ",\"flags\":" + json + "}]}],\"customRgb\":[1," + json + ",3]}");
        const auto byte = static_cast<std::uint8_t>(asByte);
        QCOMPARE(state.layerBase.at(0), (KeyAction{byte, byte, byte, byte}));
        QCOMPARE(state.layerFn.at(0), (KeyAction{}));
        QCOMPARE(state.layerFn.at(1), (KeyAction{byte, byte, byte, byte}));
        QCOMPARE(state.macros.size(), 1);
        QCOMPARE(state.macros.at(0).actions,
                 (QList<MacroAction>{{static_cast<std::uint16_t>(asWord), byte, byte}}));
        QCOMPARE(state.customRgb.at(0), 1);
        QCOMPARE(state.customRgb.at(1), byte);
        QCOMPARE(state.customRgb.at(2), 3);
    }

    void layerLengths_data()
    {
        QTest::addColumn<int>("count");
        for (const int count : {0, 1, 10, 143, 144, 145, 200})
            QTest::addRow("%d", count) << count;
    }
    void layerLengths()
    {
        QFETCH(int, count);
        QByteArrayList keys;
        for (int i = 0; i < count; ++i) {
            const QByteArray number = QByteArray::number(i);
            keys.append("{\"page\":2,\"p1\":1,\"p2\":" + number + ",\"p3\":3}");
        }
        const QByteArray array = '[' + keys.join(',') + ']';
        const SavedState base = loaded("{\"layerBase\":" + array + '}');
        const SavedState fn = loaded("{\"layerFn\":" + array + '}');
        QCOMPARE(fn.layerFn, base.layerBase);
        QCOMPARE(base.layerFn, KeyLayer{});
        QCOMPARE(fn.layerBase, KeyLayer{});
        for (int i = 0; i < 144; ++i) {
            const KeyAction expected =
                i < count ? KeyAction{2, 1, static_cast<std::uint8_t>(i), 3} : KeyAction{};
            QCOMPARE(base.layerBase.at(static_cast<std::size_t>(i)), expected);
        }
    }

    void colorLengths_data()
    {
        QTest::addColumn<int>("count");
        for (const int count : {0, 1, 100, 431, 432, 433, 1000})
            QTest::addRow("%d", count) << count;
    }
    void colorLengths()
    {
        QFETCH(int, count);
        QByteArrayList bytes;
        for (int i = 0; i < count; ++i)
            bytes.append(QByteArray::number(i % 251 + 1));
        const SavedState state = loaded("{\"customRgb\":[" + bytes.join(',') + "]}");
        for (int i = 0; i < 432; ++i)
            QCOMPARE(int{state.customRgb.at(static_cast<std::size_t>(i))},
                     i < count ? i % 251 + 1 : 0);
    }

    void wrongTypes_data()
    {
        QTest::addColumn<QByteArray>("value");
        for (const char* value : {"null", "true", "17", "\"text\"", "{}", "{\"0\":{\"page\":2}}"})
            QTest::newRow(value) << QByteArray(value);
    }
    void wrongTypes()
    {
        QFETCH(QByteArray, value);
        const QByteArray whole = "{\"layerBase\":" + value + ",\"layerFn\":" + value +
                                 ",\"macros\":" + value + ",\"customRgb\":" + value + "}";
        QVERIFY(loaded(whole) == SavedState{});

        const QByteArray array = '[' + value + "," + value + ']';
        SavedState expected;
        expected.macros = {MacroRecord{}, MacroRecord{}};
        if (value == "17")
            expected.customRgb.at(0) = expected.customRgb.at(1) = 17;
        QVERIFY(loaded("{\"layerBase\":" + array + ",\"layerFn\":" + array +
                       ",\"macros\":" + array + ",\"customRgb\":" + array + "}") == expected);

        const QString name = value == "\"text\"" ? QStringLiteral("text") : QString();
        expected = SavedState{};
        expected.macros = {{name, {}}, {QString(), {MacroAction{}}}};
        QVERIFY(loaded("{\"macros\":[{\"name\":" + value + ",\"actions\":" + value +
                       "},{\"actions\":[" + value + "]}]}") == expected);
    }

    void missingMembers()
    {
        fields() = sampleState();
        writeFile(stateFile(), "{\"other\":1}");
        AppState::instance().load();
        QVERIFY(fields().macros.isEmpty());
        QVERIFY(loaded("{}") == SavedState{});
        SavedState expected;
        expected.layerBase.at(0).p2 = 4;
        QVERIFY(loaded("{\"layerBase\":[{\"p2\":4,\"P1\":9,\"p4\":9}]}") == expected);
    }

    void macroTexts()
    {
        const SavedState state =
            loaded(R"({"macros":[{"name":"\u0041\ud83d\ude42\n","actions":[{"key":7,"code":9}]},)"
                   R"({"name":"","actions":[]},{"name":"مرحبا","actions":[{},{"delay":5}]}]})");
        const QList<MacroRecord> expected = {
            {QStringLiteral("A🙂\n"), {{0, 7, 0}}},
            {QString(), {}},
            {QStringLiteral("مرحبا"), {{0, 0, 0}, {5, 0, 0}}},
        };
        QCOMPARE(state.macros, expected);
    }

    void manyMacros()
    {
        SavedState state;
        for (int i = 0; i < 1000; ++i)
            state.macros.append({QString::number(i), {}});
        state.macros.append({QString(), QList<MacroAction>(5000, {1, 2, 3})});
        saveState(state);
        fields() = SavedState{};
        AppState::instance().load();
        QVERIFY(fields() == state);
    }

    void unusableFiles_data()
    {
        QTest::addColumn<QByteArray>("content");

        const QByteArray good = sampleStateJson();
        QByteArray everyByte;
        for (int i = 0; i < 256; ++i)
            everyByte.append(static_cast<char>(i));

        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("white space") << QByteArray(" \n\t ");
        QTest::newRow("array") << QByteArray('[' + good + ']');
        QTest::newRow("string") << QByteArray("\"layerBase\"");
        QTest::newRow("number") << QByteArray("17");
        QTest::newRow("no JSON") << QByteArray("layerBase=1\n");
        QTest::newRow("half a file") << good.left(good.size() / 2);
        QTest::newRow("last brace missing") << good.left(good.size() - 2);
        QTest::newRow("text behind") << QByteArray(good + "x");
        QTest::newRow("every byte") << everyByte;
        QTest::newRow("zeros") << QByteArray(4096, '\0');
        QTest::newRow("zeros in front") << QByteArray(QByteArray(16, '\0') + good);
        QTest::newRow("broken UTF-8") << QByteArray("{\"macros\":[{\"name\":\"\xC3\"}]}");
        QTest::newRow("100,000 arrays") << QByteArray(100000, '[');
        QTest::newRow("100,000 closed arrays")
            << QByteArray("{\"macros\":" + QByteArray(100000, '[') + QByteArray(100000, ']') + '}');
        QTest::newRow("100,000 objects") << QByteArray("{\"a\":").repeated(100000);
        QTest::newRow("10 MB of text") << QByteArray(10'000'000, 'x');
        QTest::newRow("10 MB of zeros") << QByteArray(10'000'000, '\0');
        QTest::newRow("10 MB, cut")
            << QByteArray("{\"customRgb\":[" + QByteArray("255,").repeated(2'500'000));
    }
    void unusableFiles()
    {
        QFETCH(QByteArray, content);
        writeFile(backup(), "an earlier copy");
        QVERIFY(loaded(content) == SavedState{});
        QCOMPARE(readFile(stateFile()), content);
        QCOMPARE(readFile(damaged()), content);
        QCOMPARE(readFile(backup()), "an earlier copy");
        QCOMPARE(filesLeft(), (QStringList{"state.json", "state.json.bak", "state.json.damaged"}));

        saveState(sampleState());
        QCOMPARE(readFile(stateFile()), sampleStateJson());
        QCOMPARE(readFile(backup()), sampleStateJson());
        QCOMPARE(readFile(damaged()), content);
    }

    void largeFileLoads()
    {
        QByteArray content = sampleStateJson();
        content.insert(1, "\"zz\":[" + QByteArray("1,").repeated(5'000'000) + "1],");
        QVERIFY(loaded(content) == sampleState());
        QCOMPARE(readFile(backup()), content);
        QVERIFY(!QFile::exists(damaged()));
    }

    void missingFile()
    {
        configuration.clear();
        AppState::instance().load();
        QVERIFY(fields() == SavedState{});
        QVERIFY(QDir(configuration.path()).isEmpty());
    }

    void directoryInPlaceOfTheFile()
    {
        QVERIFY(QDir().mkpath(stateFile()));
        AppState::instance().load();
        QVERIFY(fields() == SavedState{});
        saveState(sampleState());
        QVERIFY(QFileInfo(stateFile()).isDir());
        QVERIFY(QDir(stateFile()).isEmpty());
        QCOMPARE(filesLeft(), QStringList{"state.json"});
    }

    void pipeInPlaceOfTheFile()
    {
        QCOMPARE(mkfifo(QFile::encodeName(stateFile()).constData(), 0600), 0);
        AppState::instance().load();
        QVERIFY(fields() == SavedState{});
        saveState(sampleState());
        QCOMPARE(filesLeft(), QStringList{"state.json"});
    }

    void fileBeyondTheLimit()
    {
        writeFile(stateFile(), "{\"layerFn\":[{\"p2\":4}]}");
        QFile file(stateFile());
        QVERIFY(file.open(QIODevice::Append));
        file.write(QByteArray((64 << 20) - file.size(), ' '));
        QVERIFY(file.flush());
        AppState::instance().load();
        QCOMPARE(fields().layerFn.at(0).p2, 4);

        configuration.clear();
        configuration.makeProgramDirectory();
        fields() = SavedState{};
        writeFile(stateFile(), "{\"layerFn\":[{\"p2\":4}]}" + QByteArray(64 << 20, ' '));
        AppState::instance().load();
        QVERIFY(fields() == SavedState{});
        QCOMPARE(filesLeft(), QStringList{"state.json"});
    }

    void fileWithoutReadPermission()
    {
        if (geteuid() == 0)
            QSKIP("No file is unreadable to root.");
        writeFile(stateFile(), sampleStateJson());
        QVERIFY(QFile::setPermissions(stateFile(), QFileDevice::Permissions{}));
        AppState::instance().load();
        QVERIFY(fields() == SavedState{});
        AppState::instance().save();
        QVERIFY(QFile::setPermissions(stateFile(), QFileDevice::ReadOwner));
        QCOMPARE(readFile(stateFile()), sampleStateJson());
        QCOMPARE(filesLeft(), (QStringList{"state.json", "state.json.bak"}));
    }

    // The memory of a process opens like a file, and no byte of it can be read from address 0.
    void fileThatFailsWhileReading()
    {
        QVERIFY(QFile::link(QStringLiteral("/proc/self/mem"), stateFile()));
        AppState::instance().load();
        QVERIFY(fields() == SavedState{});
        QCOMPARE(filesLeft(), QStringList{"state.json"});
    }

    void fileFormat()
    {
        saveState(sampleState());
        QCOMPARE(readFile(stateFile()), sampleStateJson());
        QCOMPARE(parsed(readFile(stateFile())).keys(),
                 (QStringList{"customRgb", "layerBase", "layerFn", "macros"}));

        saveState({});
        const QJsonObject object = parsed(readFile(stateFile()));
        QCOMPARE(object.value(QLatin1String("layerBase")).toArray().size(), 144);
        QCOMPARE(object.value(QLatin1String("layerFn")).toArray().size(), 144);
        QCOMPARE(object.value(QLatin1String("macros")), QJsonValue(QJsonArray()));
        QCOMPARE(object.value(QLatin1String("customRgb")).toArray().size(), 432);
        QCOMPARE(filesLeft(), (QStringList{"state.json", "state.json.bak"}));
    }

    void savingMakesTheDirectory()
    {
        configuration.clear();
        saveState(sampleState());
        QCOMPARE(readFile(stateFile()), sampleStateJson());
    }

    void savingWritesInPlace()
    {
        writeFile(stateFile(), QByteArray(200000, 'x'));
        const FileId before = fileId(stateFile());
        saveState(sampleState());
        QVERIFY(before != FileId{});
        QVERIFY(fileId(stateFile()) == before);
        QCOMPARE(readFile(stateFile()), sampleStateJson());
    }

    void savingFollowsALink()
    {
        const QString elsewhere = configuration.programPath() + "/elsewhere.json";
        writeFile(elsewhere, "{}");
        QVERIFY(QFile::link(elsewhere, stateFile()));
        saveState(sampleState());
        QVERIFY(QFileInfo(stateFile()).isSymLink());
        QCOMPARE(readFile(elsewhere), sampleStateJson());
        AppState::instance().load();
        QCOMPARE(readFile(backup()), sampleStateJson());
    }

    void savingWithoutADirectoryIsSilent()
    {
        configuration.clear();
        writeFile(configuration.path() + "/zerolt-linux", "a file in the way");
        saveState(sampleState());
        QCOMPARE(readFile(configuration.path() + "/zerolt-linux"), "a file in the way");
        AppState::instance().load();
        QVERIFY(fields() == sampleState());
        QVERIFY(QFile::remove(configuration.path() + "/zerolt-linux"));
    }

    void randomStatesThroughBytes()
    {
        QRandomGenerator random(20230418);
        for (int round = 0; round < 1000; ++round) {
            const SavedState state = randomState(random);
            const QByteArray json = stateToJson(state);
            QVERIFY2(stateFromJson(parsed(json)) == state, qPrintable(QString::number(round)));
            QCOMPARE(json,
                     QJsonDocument::fromJson(json).toJson()); // as any other program writes it
        }
    }

    void randomStatesThroughTheFile()
    {
        // In memory where there is such a directory: every save waits for the disk.
        const QTemporaryDir inMemory(QStringLiteral("/dev/shm/state-XXXXXX"));
        const QByteArray onDisk = qgetenv("XDG_CONFIG_HOME");
        if (inMemory.isValid())
            qputenv("XDG_CONFIG_HOME", inMemory.path().toLocal8Bit());
        const auto back = qScopeGuard([&] { qputenv("XDG_CONFIG_HOME", onDisk); });
        QRandomGenerator random(8009);
        QByteArray previous;
        for (int round = 0; round < randomRounds; ++round) {
            const SavedState state = randomState(random);
            saveState(state);
            const QByteArray content = readFile(stateFilePath());
            QVERIFY(content != previous);
            // A start also copies the file, which takes the disk's time; some rounds go that way.
            if (round % 50 != 0) {
                QVERIFY2(stateFromJson(parsed(content)) == state,
                         qPrintable(QString::number(round)));
                previous = content;
                continue;
            }
            fields() = SavedState{};
            AppState::instance().load();
            QVERIFY2(fields() == state, qPrintable(QString::number(round)));
            AppState::instance().save();
            QCOMPARE(readFile(stateFilePath()), content);
            previous = content;
        }
    }

    void fileTooLargeToBeReadIsMovedAsideBeforeASave()
    {
        const QByteArray large(64 * 1024 * 1024 + 1, ' ');
        writeFile(stateFile(), large);
        AppState::instance().load();
        QCOMPARE(QFileInfo(stateFile()).size(), large.size());

        AppState::instance().save();
        QCOMPARE(QFileInfo(stateFile() + ".damaged").size(), large.size());
        QCOMPARE(readFile(stateFile()), stateToJson(AppState::instance()));
    }

    void damagedFileIsKeptWhereItsNameIsTaken()
    {
        writeFile(damaged() + "/something", "else");
        writeFile(stateFile(), "{ \"macros\": [");
        AppState::instance().load();
        AppState::instance().save();
        const QDir directory = QFileInfo(stateFile()).dir();
        const QStringList kept = directory.entryList({"state.json.2*.damaged"});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(readFile(directory.filePath(kept.first())), QByteArray("{ \"macros\": ["));
        QCOMPARE(readFile(stateFile()), stateToJson(AppState::instance()));
    }

    void copyTooLargeToBeReadIsMovedAsideBeforeASave()
    {
        const QByteArray large(64 * 1024 * 1024 + 1, ' ');
        for (const QString& path : {stateFile(), backup()})
            writeFile(path, large);
        AppState::instance().load();
        AppState::instance().layerBase[0] = disabledKeyAction();
        AppState::instance().save();
        QCOMPARE(QFileInfo(damaged()).size(), large.size());
        const QFileInfo backupFile(backup());
        const QStringList copies = backupFile.dir().entryList({"state.json.bak.*.damaged"});
        QCOMPARE(copies.size(), 1);
        QCOMPARE(QFileInfo(backupFile.dir(), copies.first()).size(), large.size());
        for (const QString& path : {stateFile(), backup()})
            QCOMPARE(readFile(path), stateToJson(AppState::instance()));
    }

    void stateTooLargeToBeSavedIsNotTakenOver()
    {
        const QByteArray content =
            "{\"macros\":[{\"actions\":[" + QByteArray("0,").repeated(530'000) + "0]}]}";
        QVERIFY(loaded(content) == SavedState{});
        QCOMPARE(readFile(damaged()), content);
    }

    // The file on disk can be read again; the new one could not.
    void stateTooLargeToBeReadAgainIsNotSaved()
    {
        saveState(sampleState());
        const QByteArray before = readFile(stateFile());
        AppState::instance().macros = {{"", QList<MacroAction>(530'000)}};
        AppState::instance().save();
        QCOMPARE(readFile(stateFile()), before);
        QCOMPARE(readFile(backup()), before);
        AppState::instance().macros.first().actions.resize(400'000);
        AppState::instance().save();
        QCOMPARE(readFile(stateFile()), stateToJson(AppState::instance()));
    }

    void damagedFileWithoutACopyIsMovedAsideBeforeASave()
    {
        QVERIFY(QDir().mkpath(stateFile() + ".damaged"));
        writeFile(stateFile(), "{ \"macros\": [");
        AppState::instance().load();
        QVERIFY(QDir().rmdir(stateFile() + ".damaged"));

        AppState::instance().save();
        QCOMPARE(readFile(stateFile() + ".damaged"), QByteArray("{ \"macros\": ["));
        QCOMPARE(readFile(stateFile()), stateToJson(AppState::instance()));
        // Once only: what is saved now is no such file.
        AppState::instance().save();
        QCOMPARE(readFile(stateFile() + ".damaged"), QByteArray("{ \"macros\": ["));
    }

    void loadAndSaveEmitNothing()
    {
        QSignalSpy macros(&AppState::instance(), &AppState::macrosChanged);
        QSignalSpy layers(&AppState::instance(), &AppState::layersChanged);
        QSignalSpy colors(&AppState::instance(), &AppState::rgbChanged);
        saveState(sampleState());
        fields() = SavedState{};
        AppState::instance().load();
        QVERIFY(fields() == sampleState());
        QVERIFY(loaded("no JSON") == SavedState{});
        QCOMPARE(macros.count() + layers.count() + colors.count(), 0);
        emit AppState::instance().layersChanged();
        QCOMPARE(layers.count(), 1);
    }

    void goodFileIsCopied()
    {
        writeFile(damaged(), "an earlier find");
        const QByteArray content = "{ \"layerBase\": [], \"note\": \"kept as it stands\" }";
        QVERIFY(loaded(content) == SavedState{});
        QCOMPARE(readFile(backup()), content);
        QCOMPARE(readFile(damaged()), "an earlier find");
        QCOMPARE(readFile(stateFile()), content);
        QCOMPARE(earlier(), QByteArrayList{content});
        QCOMPARE(filesLeft(),
                 (QStringList{"earlier", "state.json", "state.json.bak", "state.json.damaged"}));
    }

    void everySoundStateIsKeptOnce()
    {
        const QByteArray other = stateToJson(SavedState{});
        for (const QByteArray& content : {other, other, sampleStateJson(), other})
            loaded(content);
        QCOMPARE(earlier(), (QByteArrayList{other, sampleStateJson(), other}));
        // What stands there already is no longer only beside the state file.
        writeFile(backup(), sampleStateJson());
        loaded("damage");
        loaded("damage");
        QCOMPARE(earlier(), (QByteArrayList{sampleStateJson(), other, sampleStateJson(), other}));
    }

    void stateBeforeAResetIsKept()
    {
        saveState(sampleState());
        AppState::instance().replace(QStringLiteral("Reset"), {});
        QCOMPARE(earlier(), QByteArrayList{sampleStateJson()});
        QCOMPARE(readFile(stateFile()), stateToJson(SavedState{}));
    }

    void copyFoundBesideNoSoundFileIsKept_data()
    {
        QTest::addColumn<QByteArray>("found");
        QTest::newRow("damaged") << QByteArray("damage");
        QTest::newRow("missing") << QByteArray();
        QTest::newRow("an older one put in its place by hand") << QByteArray("{\"macros\":[]}");
    }
    void copyFoundBesideNoSoundFileIsKept()
    {
        QFETCH(QByteArray, found);
        writeFile(backup(), sampleStateJson());
        if (found.isNull())
            AppState::instance().load();
        else
            loaded(found);
        QVERIFY(fields() == SavedState{});
        QVERIFY(earlier().contains(sampleStateJson()));
        saveState({});
        QCOMPARE(readFile(backup()), stateToJson(SavedState{}));
        QVERIFY(earlier().contains(sampleStateJson()));
    }

    // Nothing but that copy holds what the user made, so it is not given up for a new edit.
    void copyThatCannotBeKeptIsNotReplaced()
    {
        writeFile(earlierPath(), "a file in the way");
        writeFile(backup(), sampleStateJson());
        loaded("damage");
        saveState({});
        QCOMPARE(readFile(backup()), sampleStateJson());
        QCOMPARE(readFile(stateFile()), "damage");
        QVERIFY(QFile::remove(earlierPath()));
        AppState::instance().save();
        QCOMPARE(earlier(), QByteArrayList{sampleStateJson()});
        QCOMPARE(readFile(stateFile()), stateToJson(SavedState{}));
    }

    void soundStateIsSavedWithoutEarlierStates()
    {
        writeFile(earlierPath(), "a file in the way");
        writeFile(backup(), "{}");
        QVERIFY(loaded(sampleStateJson()) == sampleState());
        QCOMPARE(readFile(backup()), sampleStateJson());
        AppState::instance().replace(QStringLiteral("Reset"), {});
        QCOMPARE(readFile(stateFile()), stateToJson(SavedState{}));
        QCOMPARE(readFile(earlierPath()), "a file in the way");
    }

    void newFilesAreForTheOwnerAlone()
    {
        const mode_t before = umask(0);
        saveState(sampleState());
        loaded("damage");
        saveState(sampleState());
        QVERIFY(QFile::remove(stateFile()));
        saveState(sampleState());
        umask(before);
        for (const QString& path : {stateFile(), backup(), damaged()})
            QCOMPARE(permissions(path), 0600U);

        QCOMPARE(chmod(QFile::encodeName(stateFile()).constData(), 0640), 0);
        saveState({});
        QCOMPARE(permissions(stateFile()), 0640U);
        QCOMPARE(permissions(backup()), 0600U);
    }

    // Where a copy cannot be made, as here, a save that is cut short could leave no state at all.
    void savingWithoutACopy_data()
    {
        QTest::addColumn<QByteArray>("present");
        QTest::addColumn<bool>("isSaved");
        QTest::newRow("sound") << QByteArray("{}") << false;
        QTest::newRow("damaged") << QByteArray("damage") << true;
        QTest::newRow("missing") << QByteArray() << true;
    }
    void savingWithoutACopy()
    {
        QFETCH(QByteArray, present);
        QFETCH(bool, isSaved);
        if (!present.isNull())
            writeFile(stateFile(), present);
        QVERIFY(QDir().mkpath(backup()));
        saveState(sampleState());
        QCOMPARE(readFile(stateFile()), isSaved ? sampleStateJson() : present);
    }

    // A copy of what the file holds is as good as a new one.
    void savingBesideACopyThatStays()
    {
        if (geteuid() == 0)
            QSKIP("No directory is unwritable to root.");
        const QFileInfo directory(configuration.programPath());
        const auto writable = directory.permissions();
        loaded("{}");
        QVERIFY(QFile::setPermissions(directory.filePath(),
                                      QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        saveState(sampleState());
        QCOMPARE(readFile(stateFile()), sampleStateJson());
        saveState({});
        QVERIFY(QFile::setPermissions(directory.filePath(), writable));
        QCOMPARE(readFile(stateFile()), sampleStateJson());
        QCOMPARE(readFile(backup()), "{}");
    }

    void copyIsReplacedAtTheNextStart()
    {
        loaded(sampleStateJson());
        QCOMPARE(readFile(backup()), sampleStateJson());
        const FileId first = fileId(backup());
        loaded("{}");
        QCOMPARE(readFile(backup()), "{}");
        // Put in place of the old copy, not written over it.
        QVERIFY(fileId(backup()) != first);
        loaded(sampleStateJson().chopped(2));
        QCOMPARE(readFile(backup()), "{}");
        loaded("[]");
        QCOMPARE(readFile(damaged()), "[]");
    }

    void copyIsNoMoreOpenThanTheFile()
    {
        const auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
        writeFile(backup(), "open to all");
        writeFile(stateFile(), sampleStateJson());
        QVERIFY(QFile::setPermissions(stateFile(), ownerOnly));
        AppState::instance().load();
        QCOMPARE(readFile(backup()), sampleStateJson());
        QCOMPARE(permissions(backup()), 0600U);

        QVERIFY(QFile::setPermissions(stateFile(), QFileDevice::ReadOwner));
        AppState::instance().load();
        QCOMPARE(permissions(backup()), 0600U);
    }

    void copiesAreNeverRead()
    {
        writeFile(backup(), sampleStateJson());
        writeFile(damaged(), sampleStateJson());
        AppState::instance().load();
        QVERIFY(fields() == SavedState{});
        QVERIFY(loaded("damage") == SavedState{});
        QVERIFY(loaded("{}") == SavedState{});
    }

    void failingCopyIsSilent_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("suffix");
        QTest::newRow("good") << sampleStateJson() << ".bak";
        QTest::newRow("damaged") << QByteArray("damage") << ".damaged";
    }
    void failingCopyIsSilent()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, suffix);
        QVERIFY(QDir().mkpath(stateFile() + suffix));
        const SavedState expected = suffix == ".bak" ? sampleState() : SavedState{};
        QVERIFY(loaded(content) == expected);
        QVERIFY(QFileInfo(stateFile() + suffix).isDir());
        QCOMPARE(readFile(stateFile()), content);
        QStringList expectedFiles = {"state.json", "state.json" + suffix};
        if (suffix == ".bak")
            expectedFiles.prepend("earlier");
        QCOMPARE(filesLeft(), expectedFiles);
    }

    void savingRenewsTheCopyAndLeavesTheDamagedFile()
    {
        writeFile(backup(), "a");
        writeFile(damaged(), "b");
        saveState(sampleState());
        QCOMPARE(readFile(backup()), sampleStateJson());
        QCOMPARE(readFile(damaged()), "b");
        QCOMPARE(filesLeft(), (QStringList{"state.json", "state.json.bak", "state.json.damaged"}));
    }

    void movedMacroTakesItsKeysAlong_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<QList<int>>("places"); // of what was the first, the second and so on
        using Places = QList<int>;
        QTest::newRow("down") << 1 << 2 << Places{0, 2, 1, 3};
        QTest::newRow("up") << 2 << 1 << Places{0, 2, 1, 3};
        QTest::newRow("to the end") << 0 << 3 << Places{3, 0, 1, 2};
        QTest::newRow("to the beginning") << 3 << 0 << Places{1, 2, 3, 0};
        QTest::newRow("nowhere") << 2 << 2 << Places{0, 1, 2, 3};
    }
    void movedMacroTakesItsKeysAlong()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QList<int>, places);
        SavedState moved;
        for (int macro = 0; macro < 4; ++macro) {
            moved.macros.append({QString::number(macro), {}});
            moved.layerBase.at(static_cast<std::size_t>(macro)) = macroKeyAction(macro);
            moved.layerFn.at(static_cast<std::size_t>(10 + macro)) = macroKeyAction(macro);
            moved.layerFn.at(static_cast<std::size_t>(20 + macro)) = mouseKeyAction(0x0101);
        }
        const SavedState before = moved;
        moveMacro(moved, from, to);
        for (int macro = 0; macro < 4; ++macro) {
            const int place = places.at(macro);
            QCOMPARE(moved.macros.at(place).name, QString::number(macro));
            QCOMPARE(moved.layerBase.at(static_cast<std::size_t>(macro)), macroKeyAction(place));
            QCOMPARE(moved.layerFn.at(static_cast<std::size_t>(10 + macro)), macroKeyAction(place));
            QCOMPARE(moved.layerFn.at(static_cast<std::size_t>(20 + macro)),
                     mouseKeyAction(0x0101));
        }
        moveMacro(moved, to, from);
        QVERIFY(moved == before);
    }

    // A key tells 256 macros apart.
    void keysOfTheLastMacroTheyTellApartStay()
    {
        SavedState moved;
        moved.macros = QList<MacroRecord>(258, {QStringLiteral("macro"), {}});
        moved.layerBase[0] = macroKeyAction(255);
        moved.layerBase[1] = macroKeyAction(0);
        moveMacro(moved, 255, 256);
        QCOMPARE(moved.layerBase[0], macroKeyAction(255));
        QCOMPARE(moved.layerBase[1], macroKeyAction(0));
        moveMacro(moved, 0, 255);
        QCOMPARE(moved.layerBase[0], macroKeyAction(254));
        QCOMPARE(moved.layerBase[1], macroKeyAction(255));
    }

    void keyOfAMacroThatIsGoneStays()
    {
        SavedState moved;
        moved.macros = QList<MacroRecord>(2, {QStringLiteral("macro"), {}});
        moved.layerBase[0] = macroKeyAction(2);
        moveMacro(moved, 0, 1);
        QCOMPARE(moved.layerBase[0], macroKeyAction(2));
    }

private:
    OwnConfiguration configuration;

    QString stateFile() const { return configuration.programPath() + "/state.json"; }
    QString backup() const { return stateFile() + ".bak"; }
    QString damaged() const { return stateFile() + ".damaged"; }
    QString earlierPath() const { return configuration.programPath() + "/earlier"; }

    // The states kept so far, the newest first.
    static QByteArrayList earlier()
    {
        QByteArrayList contents;
        for (const EarlierState& state : earlierStates())
            contents.append(readFile(state.path));
        return contents;
    }

    QStringList filesLeft() const
    {
        return QDir(configuration.programPath())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDir::Name);
    }
};

QTEST_GUILESS_MAIN(AppStateTest)
#include "app_state_test.moc"
