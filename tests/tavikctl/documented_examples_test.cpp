// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "tests/support/bus_view.h"
#include "tests/support/files.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"
#include "tests/tavikctl/command_run.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

QString sourceText(const QString& name)
{
    return QString::fromUtf8(
        tests::readFile(qEnvironmentVariable("TAVIK_SOURCE_DIR") + u'/' + name));
}

// The examples as they are typed.
QStringList examplesIn(const QString& text, const QString& before)
{
    const QRegularExpression example(before + QStringLiteral("(tavikctl .*)"));
    QStringList examples;
    for (const QString& line : text.split(u'\n')) {
        if (const auto match = example.match(line); match.hasMatch())
            examples += match.captured(1);
    }
    return examples;
}

} // namespace

// What the documents say can be typed, on a keyboard and in a folder with the picture they name.
class DocumentedExamplesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QDir::setCurrent(folder.path()));
        tests::writeFile(QStringLiteral("cat.gif"), encodePlainGif({20, 30}, manyColors(5), 7));
    }

    void readme()
    {
        const QStringList examples = examplesIn(sourceText("README.md"), QStringLiteral("^    "));
        QCOMPARE(examples.size(), 6);
        runAll(examples);
    }

    void manualPage()
    {
        const QString page =
            sourceText("packaging/man/tavikctl.1.in").replace(QStringLiteral("\\-"), "-");
        const QString section = page.section(QStringLiteral(".SH EXAMPLES"), 1);
        const QStringList examples = examplesIn(section, QStringLiteral("^"));
        QCOMPARE(examples.size(), 15);
        runAll(examples);
        QCOMPARE(page.count(QStringLiteral("\n.EX\n")), page.count(QStringLiteral("\n.EE\n")));
    }

    // The page names every command and option there is.
    void manualPageIsComplete()
    {
        const QString page =
            sourceText("packaging/man/tavikctl.1.in").replace(QStringLiteral("\\-"), "-");
        QStringList words;
        for (const char* command : {"", "light", "sleep", "keys", "colors", "colors on", "macros",
                                    "screen", "export", "import", "earlier", "apply", "names"}) {
            const QString help = run(QLatin1String(command) + QStringLiteral(" --help")).out;
            for (const QString& line : help.split(u'\n')) {
                const QString word = line.section(u' ', 0, 0, QString::SectionSkipEmpty);
                if (line.startsWith(QStringLiteral("  ")) && word.at(0).toUpper() != word.at(0))
                    words += word;
                if (word.contains(QStringLiteral("--")))
                    words += word.section(u',', -1);
            }
        }
        QVERIFY(words.contains("brightness") || words.contains("--brightness"));
        QVERIFY(words.contains("restore"));
        for (const QString& word : words)
            QVERIFY2(page.contains(word), qPrintable(word));
    }

private:
    static void runAll(const QStringList& examples)
    {
        for (const QString& example : examples) {
            const Ran ran = run(example.section(u' ', 1));
            QVERIFY2(ran.code == 0, qPrintable(example + ": " + ran.err));
            QCOMPARE(ran.err, QString());
        }
        QVERIFY(!busSends().isEmpty());
    }

    const QTemporaryDir folder;
};

TAVIK_ISOLATED_TEST_MAIN(DocumentedExamplesTest)
#include "documented_examples_test.moc"
