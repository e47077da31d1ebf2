// SPDX-License-Identifier: MIT
#include "model/state_copies.h"
#include "tests/model/sample_state.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

QByteArray numbered(int number)
{
    return "{\"macros\":[{\"name\":\"" + QByteArray::number(number) + "\"}]}";
}

QByteArrayList contents(const QList<EarlierState>& states)
{
    QByteArrayList list;
    for (const EarlierState& state : states)
        list.append(readFile(state.path));
    return list;
}

} // namespace

class StateCopiesTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        configuration.clear();
        configuration.makeProgramDirectory();
    }

    void nothingKeptYet()
    {
        QVERIFY(earlierStates().isEmpty());
        QVERIFY(QDir(configuration.programPath()).isEmpty());
    }

    void keptAsTheyWereUnderTheirTime()
    {
        const QDateTime before = QDateTime::currentDateTimeUtc();
        QVERIFY(keepEarlier("{ \"kept\": \"byte for byte\" }"));
        const QList<EarlierState> states = earlierStates();
        QCOMPARE(states.size(), 1);
        QCOMPARE(readFile(states.first().path), "{ \"kept\": \"byte for byte\" }");
        QVERIFY(states.first().keptAt >= before);
        QVERIFY(states.first().keptAt <= QDateTime::currentDateTimeUtc());
        QCOMPARE(QFileInfo(states.first().path).path(), directory());
        static const QRegularExpression form(
            QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d-\\d\\d-\\d\\d\\.\\d{3}Z\\.json$"));
        QVERIFY(form.match(QFileInfo(states.first().path).fileName()).hasMatch());
    }

    void keptForTheOwnerAlone()
    {
        QVERIFY(keepEarlier(numbered(1)));
        struct stat status = {};
        QCOMPARE(stat(QFile::encodeName(earlierStates().first().path).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777U, 0600U);
    }

    // The last two of these are made within one second, mostly within one millisecond.
    void newestFirstAndNoneTwice()
    {
        for (const int number : {1, 1, 2, 2, 1, 3})
            QVERIFY(keepEarlier(numbered(number)));
        QCOMPARE(contents(earlierStates()),
                 (QByteArrayList{numbered(3), numbered(1), numbered(2), numbered(1)}));
    }

    void newestThirtyStay()
    {
        for (int number = 0; number < 35; ++number)
            QVERIFY(keepEarlier(numbered(number)));
        const QByteArrayList left = contents(earlierStates());
        QCOMPARE(left.size(), 30);
        QCOMPARE(left.first(), numbered(34));
        QCOMPARE(left.last(), numbered(5));
        QCOMPARE(QDir(directory()).entryList(QDir::Files).size(), 30);
    }

    void clockThatJumpsBack()
    {
        for (int number = 0; number < 30; ++number)
            writeFile(directory() + QStringLiteral("/2099-01-01T00-00-%1.000Z.json")
                                        .arg(number, 2, 10, QChar(u'0')),
                      numbered(number));
        QVERIFY(keepEarlier(numbered(30)));
        QVERIFY(keepEarlier(numbered(31)));
        const QByteArrayList left = contents(earlierStates());
        QCOMPARE(left.size(), 30);
        QCOMPARE(left.at(0), numbered(31));
        QCOMPARE(left.at(1), numbered(30));
        QCOMPARE(left.last(), numbered(2));
    }

    void foreignFilesStay()
    {
        const QStringList foreign = {
            "notes.txt",
            "state.json",
            ".json",
            "2026-01-01T00-00-00.000Z.json.bak",
            "2026-01-01T00-00-00Z.json",
            "2026-01-01T00:00:00.000Z.json",
            "2026-01-01 00-00-00.000Z.json",
            "2026-13-01T00-00-00.000Z.json",
            "2026-02-30T00-00-00.000Z.json",
            "2026-01-01T24-00-00.000Z.json",
            "2026-01-01t00-00-00.000z.json",
            "2026-01-01T00-00-00.0000Z.json",
            "9000-01-01T00-00-00.000Z.json",
        };
        for (const QString& name : foreign)
            writeFile(directory() + u'/' + name, "{}");
        QVERIFY(QDir(directory()).mkdir("2098-01-01T00-00-00.000Z.json"));
        QVERIFY(QFile::link(directory() + "/notes.txt",
                            directory() + "/2098-01-01T00-00-01.000Z.json"));
        QCOMPARE(
            mkfifo(QFile::encodeName(directory() + "/2098-01-01T00-00-02.000Z.json").constData(),
                   0600),
            0);
        QVERIFY(earlierStates().isEmpty());
        for (int number = 0; number < 40; ++number)
            QVERIFY(keepEarlier(numbered(number)));
        QCOMPARE(earlierStates().size(), 30);
        QCOMPARE(contents(earlierStates()).first(), numbered(39));
        for (const QString& name : foreign)
            QCOMPARE(readFile(directory() + u'/' + name), "{}");
        QCOMPARE(
            QDir(directory())
                .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot)
                .size(),
            foreign.size() + 3 + 30);
    }

    void tenThousandFiles_data()
    {
        QTest::addColumn<bool>("own");
        QTest::newRow("foreign") << false;
        QTest::newRow("own") << true;
    }
    void tenThousandFiles()
    {
        QFETCH(bool, own);
        QDir().mkpath(directory());
        for (int i = 0; i < 10'000; ++i) {
            const QString name = own ? "/2001-01-01T%1-%2-%3.000Z.json" : "/photo %1-%2-%3.json";
            const auto padded = [](int number) {
                return QStringLiteral("%1").arg(number, 2, 10, QChar(u'0'));
            };
            QFile file(directory() +
                       name.arg(padded(i / 3600), padded(i / 60 % 60), padded(i % 60)));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        QElapsedTimer timer;
        timer.start();
        QVERIFY(keepEarlier(numbered(1)));
        const QList<EarlierState> states = earlierStates();
        qInfo("10,000 files: %lld ms", timer.elapsed());
        QVERIFY(timer.elapsed() < 5000);
        QCOMPARE(readFile(states.first().path), numbered(1));
        QCOMPARE(states.size(), own ? 30 : 1);
        QCOMPARE(QDir(directory()).entryList(QDir::Files).size(), own ? 30 : 10'001);
    }

    void placeThatCannotBeUsed_data()
    {
        QTest::addColumn<QString>("obstacle");
        for (const char* obstacle : {"file", "dangling link", "unwritable"})
            QTest::newRow(obstacle) << obstacle;
    }
    void placeThatCannotBeUsed()
    {
        QFETCH(QString, obstacle);
        if (obstacle == "file") {
            writeFile(directory(), "a file");
        } else if (obstacle == "dangling link") {
            QVERIFY(QFile::link(configuration.path() + "/nowhere", directory()));
        } else {
            if (geteuid() == 0)
                QSKIP("No directory is unwritable to root.");
            QVERIFY(QDir().mkpath(directory()));
            QVERIFY(
                QFile::setPermissions(directory(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        }
        QVERIFY(!keepEarlier(numbered(1)));
        QVERIFY(earlierStates().isEmpty());
        if (obstacle == "file")
            QCOMPARE(readFile(directory()), "a file");
        QVERIFY(!QFile::exists(configuration.path() + "/nowhere"));
    }

    void linkToAnotherDirectory()
    {
        const QString elsewhere = configuration.programPath() + "/elsewhere";
        QVERIFY(QDir().mkpath(elsewhere));
        QVERIFY(QFile::link(elsewhere, directory()));
        QVERIFY(keepEarlier(numbered(1)));
        QCOMPARE(contents(earlierStates()), QByteArrayList{numbered(1)});
        QCOMPARE(QDir(elsewhere).entryList(QDir::Files).size(), 1);
    }

    void stateFileIsRead()
    {
        QRandomGenerator random(7);
        const SavedState state = randomState(random);
        writeFile(chosen(), stateToJson(state));
        QString reason;
        const auto read = readStateFile(chosen(), &reason);
        QVERIFY(read && *read == state);
        QCOMPARE(reason, QString());
    }

    void oneMemberIsEnough()
    {
        for (const char* member : {"customRgb", "layerBase", "layerFn", "macros"}) {
            writeFile(chosen(), QByteArray("{\"") + member + "\":[]}");
            QString reason;
            QVERIFY2(readStateFile(chosen(), &reason) == SavedState{}, member);
        }
    }

    void fileThatIsNoState_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("reason");
        const QString damaged = "The file is damaged, or it is no settings file.";
        QTest::newRow("empty") << QByteArray("") << damaged;
        QTest::newRow("array") << QByteArray("[{\"macros\":[]}]") << damaged;
        QTest::newRow("no JSON") << QByteArray("macros") << damaged;
        QTest::newRow("deep") << QByteArray("{\"macros\":" + QByteArray(500'000, '[')) << damaged;
        QTest::newRow("zeros") << QByteArray(1'000'000, '\0') << damaged;
        QTest::newRow("something else")
            << QByteArray("{\"other\":1}") << "The file holds no settings of this program.";
    }
    void fileThatIsNoState()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, reason);
        writeFile(chosen(), content);
        verifyRefused(reason);
    }

    void fileThatCannotBeRead_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind :
             {"missing", "directory", "pipe", "endless device", "1 GB", "700,000 lists"})
            QTest::newRow(kind) << kind;
    }
    void fileThatCannotBeRead()
    {
        QFETCH(QString, kind);
        if (kind == "directory")
            QVERIFY(QDir().mkpath(chosen()));
        if (kind == "pipe")
            QCOMPARE(mkfifo(QFile::encodeName(chosen()).constData(), 0600), 0);
        if (kind == "endless device")
            QVERIFY(QFile::link("/dev/zero", chosen()));
        if (kind == "1 GB") {
            writeFile(chosen(), "{}");
            QVERIFY(QFile::resize(chosen(), 1'000'000'000));
        }
        // Two megabytes that would take hundreds once they are read.
        if (kind == "700,000 lists")
            writeFile(chosen(), "{\"macros\":[" + QByteArray("[],").repeated(700'000) + "[]]}");
        verifyRefused("The file cannot be read, or it is too large.");
    }

    // What a text would take once it is read: 24 bytes a value, 400 a list or object, 256 MB at
    // most.
    void memoryLimit_data()
    {
        QTest::addColumn<int>("values");
        QTest::addColumn<int>("containers");
        QTest::addColumn<bool>("isRead");
        QTest::newRow("just all of it") << 11'184'794 << 1 << true;
        QTest::newRow("a value more") << 11'184'795 << 1 << false;
        QTest::newRow("containers") << 9 << 671'088 << true;
        QTest::newRow("a container more") << 0 << 671'089 << false;
    }
    void memoryLimit()
    {
        QFETCH(int, values);
        QFETCH(int, containers);
        QFETCH(bool, isRead);
        for (const char container : {'[', '{'}) {
            writeFile(chosen(), QByteArray(values, ',') + QByteArray(containers, container));
            QCOMPARE(readStateContent(chosen()).has_value(), isRead);
        }
    }

    // The quotes count, an escaped one does not end a name, and an escape is one.
    void longestNames_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("isRead");
        QTest::newRow("just all of it") << QByteArray("n") << 16 * 1024 * 1024 - 1 << true;
        QTest::newRow("a character more") << QByteArray("n") << 16 * 1024 * 1024 << false;
        QTest::newRow("escaped quotes") << QByteArray("\\\"") << 16 * 1024 * 1024 << false;
        QTest::newRow("escapes") << QByteArray("\\\"") << 16 * 1024 * 1024 - 1 << true;
    }
    void longestNames()
    {
        QFETCH(QByteArray, name);
        QFETCH(int, count);
        writeFile(chosen(), '"' + name.repeated(count) + '"' + QByteArray(20'000'000, ' '));
        QTEST(readStateContent(chosen()).has_value(), "isRead");
    }

    // A digit in the place of a macro or an action is one: short to read, long in the window and in
    // the file that is written.
    void digitsForMacros_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("reason");
        const QString damaged = "The file is damaged, or it is no settings file.";
        const QString unsaved = "The file holds more macros than can be saved.";
        QTest::newRow("many macros") << QByteArray("{\"macros\":[") << 2'000'000 << damaged;
        QTest::newRow("many actions")
            << QByteArray("{\"macros\":[{\"actions\":[") << 2'000'000 << damaged;
        QTest::newRow("more macros than can be saved")
            << QByteArray("{\"macros\":[") << 320'000 << unsaved;
        QTest::newRow("more actions than can be saved")
            << QByteArray("{\"macros\":[{\"actions\":[") << 530'000 << unsaved;
        QTest::newRow("macros") << QByteArray("{\"macros\":[") << 310'000 << QString();
        QTest::newRow("actions") << QByteArray("{\"macros\":[{\"actions\":[") << 500'000
                                 << QString();
    }
    void digitsForMacros()
    {
        QFETCH(QByteArray, before);
        QFETCH(int, count);
        QFETCH(QString, reason);
        const QByteArray after = before.endsWith("actions\":[") ? "0]}]}" : "0]}";
        writeFile(chosen(), before + QByteArray("0,").repeated(count - 1) + after);
        if (!reason.isEmpty())
            return verifyRefused(reason);
        QString unused;
        const std::optional<SavedState> state = readStateFile(chosen(), &unused);
        QVERIFY(state);
        writeFile(chosen(), stateToJson(*state));
        QCOMPARE(readStateFile(chosen(), &unused), state);
    }

    void cutAnywhere()
    {
        const QByteArray whole = stateToJson(SavedState{});
        QVERIFY(whole.endsWith("}\n"));
        int tried = 0;
        for (qsizetype length = 0; length < whole.size() - 1; length += 97, ++tried) {
            writeFile(chosen(), whole.left(length));
            verifyRefused("The file is damaged, or it is no settings file.");
        }
        writeFile(chosen(), whole.chopped(2));
        verifyRefused("The file is damaged, or it is no settings file.");
        QVERIFY(tried > 200);
    }

private:
    OwnConfiguration configuration;

    QString directory() const { return configuration.programPath() + "/earlier"; }
    QString chosen() const { return configuration.path() + "/zerolt-linux/chosen.json"; }

    void verifyRefused(const QString& expected) const
    {
        QString reason;
        QVERIFY(!readStateFile(chosen(), &reason));
        QCOMPARE(reason, expected);
    }
};

QTEST_GUILESS_MAIN(StateCopiesTest)
#include "state_copies_test.moc"
