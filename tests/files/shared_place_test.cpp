// SPDX-License-Identifier: MIT
#include "files/shared_place.h"
#include "tests/support/files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

const QString root = QStringLiteral("/tmp/tavik-center");
const QString mark = root + QStringLiteral("/made-by-shared_place_test");
const QString probe = QString(sharedPlace) + QStringLiteral("/probe/layout.xml");

bool setMode(const QString& path, mode_t mode)
{
    return ::chmod(QFile::encodeName(path).constData(), mode) == 0;
}

} // namespace

class SharedPlaceTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        if (QFileInfo::exists(mark)) // a run that was ended has left it
            QDir(root).removeRecursively();
        if (QFileInfo::exists(root))
            QSKIP("/tmp/tavik-center is in use");
        QVERIFY(QDir().mkpath(root + "/app"));
        QVERIFY(setMode(root, 0755));
        isMade = true;
        writeFile(mark, {});
        writeFile(probe, {});
        QVERIFY(isTrustedPath(probe));
    }

    void cleanup()
    {
        if (isMade)
            QDir(root).removeRecursively();
        isMade = false;
    }

    void othersMayNotWrite_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("isTrusted");
        const QString directory = root + "/resources/probe";
        QTest::newRow("file, nobody else") << probe << 0644 << true;
        QTest::newRow("file, group") << probe << 0664 << false;
        QTest::newRow("file, everybody") << probe << 0646 << false;
        QTest::newRow("directory, group") << directory << 0775 << false;
        QTest::newRow("directory, everybody") << directory << 0757 << false;
        QTest::newRow("directory like /tmp") << directory << 01777 << true;
        QTest::newRow("directory above") << root + "/resources" << 0775 << false;
        QTest::newRow("directory on the way") << root + "/app" << 0775 << false;
        QTest::newRow("first directory") << root << 0775 << false;
    }
    void othersMayNotWrite()
    {
        QFETCH(QString, path);
        QFETCH(int, mode);
        QVERIFY(setMode(path, static_cast<mode_t>(mode)));
        QTEST(isTrustedPath(probe), "isTrusted");
    }

    void belongsToNobodyElse_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("file") << probe;
        QTest::newRow("directory") << root + "/resources/probe";
        QTest::newRow("directory on the way") << root + "/app";
        QTest::newRow("first directory") << root;
        QTest::newRow("link") << root + "/resources/link";
    }
    void belongsToNobodyElse()
    {
        if (geteuid() != 0)
            QSKIP("only root can give files away");
        QFETCH(QString, path);
        QVERIFY(QFile::link(probe, root + "/resources/link"));
        const QString used = path.endsWith("link") ? QString(sharedPlace) + "/link" : probe;
        QVERIFY(isTrustedPath(used));
        QCOMPARE(::lchown(QFile::encodeName(path).constData(), 65534, 65534), 0);
        QVERIFY(!isTrustedPath(used));
    }

    // Of an ordinary user: what root has, and the user's own.
    void belongsToRootOrTheUser()
    {
        if (geteuid() != 0)
            QSKIP("only root can give files away");
        QCOMPARE(::seteuid(65534), 0);
        const bool rootsIsTrusted = isTrustedPath(probe);
        QCOMPARE(::seteuid(0), 0);
        QVERIFY(rootsIsTrusted);

        QCOMPARE(::chown(QFile::encodeName(probe).constData(), 65534, 65534), 0);
        QVERIFY(!isTrustedPath(probe));
        QCOMPARE(::seteuid(65534), 0);
        const bool ownIsTrusted = isTrustedPath(probe);
        QCOMPARE(::seteuid(0), 0);
        QVERIFY(ownIsTrusted);
    }

    void linkLeadsToWhatIsTrusted()
    {
        const QString elsewhere = root + "/elsewhere";
        writeFile(elsewhere + "/file", {});
        QVERIFY(QFile::link(elsewhere + "/file", root + "/resources/link"));
        const QString link = QString(sharedPlace) + "/link";
        QVERIFY(isTrustedPath(link));
        QVERIFY(setMode(elsewhere, 0777));
        QVERIFY(!isTrustedPath(link));
    }

    void otherPlacesAreTrusted()
    {
        QVERIFY(isTrustedPath("/tmp/tavik-center/resources/layout.xml"));
        QVERIFY(isTrustedPath("/nowhere"));
        QVERIFY(!isTrustedPath(QString(sharedPlace) + "/nothing"));
    }

private:
    bool isMade = false;
};

QTEST_GUILESS_MAIN(SharedPlaceTest)
#include "shared_place_test.moc"
