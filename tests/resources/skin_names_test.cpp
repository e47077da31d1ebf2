// SPDX-License-Identifier: MIT
#include "tests/resources/skin_access.h"
#include "tests/resources/skin_names.h"

#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

namespace tavik::tests {

class SkinNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void literalsAreFound_data();
    void literalsAreFound();
    void iconsAreLookedUpInTheirDirectory();
    void everyNameAskedForIsThere();
    void everyFileIsAskedFor();

private:
    // Name and, for the message, the source file it stands in.
    [[nodiscard]] static QList<std::pair<QString, QString>> namesInTheProgram();
};

void SkinNamesTest::literalsAreFound_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("plain") << R"(load("a.png"); load("fonts/b-C.ttf");)"
                           << QStringList{"a.png", "fonts/b-C.ttf"};
    QTest::newRow("line comment") << "// \"a.png\"\nload(\"b.png\");" << QStringList{"b.png"};
    QTest::newRow("block comment") << "/* \"a.png\"\n */ load(\"b.png\");" << QStringList{"b.png"};
    QTest::newRow("slashes in a string") << R"(f("http://x"); g("a.png");)" << QStringList{"a.png"};
    QTest::newRow("escaped quote") << R"(f("\""); g("a.png");)" << QStringList{"a.png"};
    QTest::newRow("quote as character") << R"(f('"'); g("a.png");)" << QStringList{"a.png"};
    QTest::newRow("digit separator") << R"(f(1'000, "a.png", 2'000);)" << QStringList{"a.png"};
    QTest::newRow("raw string") << "f(R\"(url(\"a.png\"))\");" << QStringList{"a.png"};
    QTest::newRow("file filter") << R"x(f("Images (*.gif *.png *.jpg)");)x" << QStringList{};
    QTest::newRow("installed path")
        << R"(f("Icon=/usr/share/tavik-center/official-skin/a.png\n");)" << QStringList{"a.png"};
    QTest::newRow("foreign path") << R"(f("/usr/share/a.png");)" << QStringList{"/usr/share/a.png"};
    QTest::newRow("composed name") << R"(f("tab_%1.png");)" << QStringList{"tab_%1.png"};
}

void SkinNamesTest::literalsAreFound()
{
    QFETCH(QString, source);
    QFETCH(QStringList, names);
    QCOMPARE(skinNamesIn(source), names);
}

void SkinNamesTest::iconsAreLookedUpInTheirDirectory()
{
    QTemporaryDir directory;
    QVERIFY(QDir(directory.path()).mkdir("icons"));
    for (const char* name : {"icons/tab.png", "plain.png"}) {
        QFile file(directory.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QCOMPARE(skinFileFor("tab.png", directory.path()), QString("icons/tab.png"));
    QCOMPARE(skinFileFor("icons/tab.png", directory.path()), QString("icons/tab.png"));
    QCOMPARE(skinFileFor("plain.png", directory.path()), QString("plain.png"));
    QCOMPARE(skinFileFor("missing.png", directory.path()), QString());
    QCOMPARE(skinFileFor("icons", directory.path()), QString());
}

QList<std::pair<QString, QString>> SkinNamesTest::namesInTheProgram()
{
    QList<std::pair<QString, QString>> names;
    const QDir root(qEnvironmentVariable("TAVIK_SOURCE_DIR"));
    for (const char* part : {"app", "device", "model", "pages"}) {
        QDirIterator files(root.filePath(part), {"*.cpp", "*.h"}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            if (!file.open(QIODevice::ReadOnly))
                qFatal("Cannot read %s", qPrintable(file.fileName()));
            for (const QString& name : skinNamesIn(QString::fromUtf8(file.readAll())))
                names.append({name, root.relativeFilePath(file.fileName())});
        }
    }
    return names;
}

void SkinNamesTest::everyNameAskedForIsThere()
{
    const QList<std::pair<QString, QString>> names = namesInTheProgram();
    QVERIFY(!names.isEmpty());
    QStringList missing;
    for (const auto& [name, source] : names) {
        if (skinFileFor(name, skinDirectory()).isEmpty())
            missing.append(name + " in " + source);
    }
    QCOMPARE(missing, QStringList());
}

void SkinNamesTest::everyFileIsAskedFor()
{
    QSet<QString> asked;
    for (const auto& [name, source] : namesInTheProgram())
        asked.insert(skinFileFor(name, skinDirectory()));

    QStringList unused;
    int files = 0;
    QDirIterator skin(skinDirectory(), QDir::Files, QDirIterator::Subdirectories);
    while (skin.hasNext()) {
        const QString name = QDir(skinDirectory()).relativeFilePath(skin.next());
        ++files;
        // On a dense screen, the program looks beside the plain picture.
        static const QRegularExpression density(QStringLiteral("@[23]x(?=\\.png$)"));
        if (!asked.contains(QString(name).remove(density)))
            unused.append(name);
    }
    QVERIFY(files > 0);
    QCOMPARE(unused, QStringList());
}

} // namespace tavik::tests

QTEST_GUILESS_MAIN(tavik::tests::SkinNamesTest)
#include "skin_names_test.moc"
