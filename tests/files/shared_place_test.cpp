// SPDX-License-Identifier: MIT
#include "files/shared_place.h"
#include "tests/support/made_shared_place.h"

#include <QTemporaryDir>
#include <QTest>

#include <optional>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

const QString root = MadeSharedPlace::root;
const QString probe = MadeSharedPlace::path("probe/layout.xml");

} // namespace

class SharedPlaceTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        place.emplace();
        if (!place->isMade())
            QSKIP("/tmp/tavik-center is in use");
        writeFile(probe, {});
        QVERIFY(isTrustedPath(probe));
    }

    void cleanup() { place.reset(); }

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
        QTest::newRow("directory like /tmp") << directory << 01777 << false;
        QTest::newRow("directory above") << root + "/resources" << 0775 << false;
        QTest::newRow("directory on the way") << root + "/app" << 0775 << false;
        QTest::newRow("first directory") << root << 0775 << false;
    }
    void othersMayNotWrite()
    {
        QFETCH(QString, path);
        QFETCH(int, mode);
        QVERIFY(MadeSharedPlace::setMode(path, static_cast<mode_t>(mode)));
        QTEST(isTrustedPath(probe), "isTrusted");
    }

    void linksLeadThroughNoOpenDirectory()
    {
        const QTemporaryDir closed("/tmp/tavik-closed-XXXXXX");
        const QTemporaryDir open("/tmp/tavik-open-XXXXXX");
        writeFile(closed.filePath("layout.xml"), {});
        QVERIFY(QFile::link(closed.path(), open.filePath("middle")));
        QVERIFY(QFile::link(open.filePath("middle"), root + "/resources/away"));
        const QString used = QString(sharedPlace) + "/away/layout.xml";
        QVERIFY(isTrustedPath(used));
        QVERIFY(MadeSharedPlace::setMode(open.path(), 0777));
        QVERIFY(!isTrustedPath(used));
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
        QVERIFY(MadeSharedPlace::setMode(elsewhere, 0777));
        QVERIFY(!isTrustedPath(link));
    }

    void otherPlacesAreTrusted()
    {
        QVERIFY(isTrustedPath("/tmp/tavik-center/resources/layout.xml"));
        QVERIFY(isTrustedPath("/nowhere"));
        QVERIFY(!isTrustedPath(QString(sharedPlace) + "/nothing"));
    }

private:
    std::optional<MadeSharedPlace> place;
};

QTEST_GUILESS_MAIN(SharedPlaceTest)
#include "shared_place_test.moc"
