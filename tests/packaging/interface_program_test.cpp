// SPDX-License-Identifier: MIT
#include "tests/system/report_descriptors.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace tavik::tests;

namespace {

struct Outcome
{
    int exitCode = -1;
    QByteArray text;
    QByteArray complaint;
};

Outcome ask(const QStringList& arguments)
{
    QProcess program;
    program.start(QStringLiteral(TAVIK_INTERFACE_PROGRAM), arguments);
    if (!program.waitForFinished() || program.exitStatus() != QProcess::NormalExit)
        return {};
    return {program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
}

// Lays the descriptor where the kernel has it, seen from the directory of a hidraw node.
bool writeDescriptor(const QTemporaryDir& node, const Bytes& descriptor)
{
    QDir(node.path()).mkpath(QStringLiteral("device"));
    QFile file(node.filePath(QStringLiteral("device/report_descriptor")));
    const auto size = static_cast<qint64>(descriptor.size());
    return file.open(QIODevice::WriteOnly) &&
           file.write(reinterpret_cast<const char*>(descriptor.data()), size) == size;
}

} // namespace

// What udev's rule asks about every interface of the keyboard.
class InterfaceProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void answersForEveryKind_data()
    {
        QTest::addColumn<Bytes>("descriptor");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("text");
        const QByteArray configuration = "TAVIK_CENTER_INTERFACE=configuration\n";
        const QByteArray screen = "TAVIK_CENTER_INTERFACE=screen\n";
        const auto lengthened = [](std::size_t size) {
            Bytes bytes = featureDescriptor(0xFF13);
            bytes.insert(bytes.begin(), size - bytes.size(), 0x14);
            return bytes;
        };

        QTest::newRow("configuration") << featureDescriptor(0xFF13) << 0 << configuration;
        QTest::newRow("screen") << screenDescriptor(0xFF68) << 0 << screen;
        QTest::newRow("other screen") << screenDescriptor(0xFF67) << 0 << screen;
        QTest::newRow("typing") << typingDescriptor() << 1 << QByteArray();
        QTest::newRow("typing behind")
            << joined(featureDescriptor(0xFF13), typingDescriptor()) << 1 << QByteArray();
        QTest::newRow("empty") << Bytes() << 1 << QByteArray();
        QTest::newRow("longest") << lengthened(4096) << 0 << configuration;
        QTest::newRow("longer than the longest") << lengthened(4097) << 1 << QByteArray();
        QTest::newRow("endless") << lengthened(100'000) << 1 << QByteArray();
    }
    void answersForEveryKind()
    {
        QFETCH(const Bytes, descriptor);
        QFETCH(const int, exitCode);
        QFETCH(const QByteArray, text);
        const QTemporaryDir node;
        QVERIFY(writeDescriptor(node, descriptor));

        const Outcome outcome = ask({node.path()});

        QCOMPARE(outcome.exitCode, exitCode);
        QCOMPARE(outcome.text, text);
    }

    void refusesAMissingDescriptor()
    {
        const QTemporaryDir node;
        QCOMPARE(ask({node.path()}).exitCode, 1);
        QCOMPARE(ask({node.filePath(QStringLiteral("nowhere"))}).exitCode, 1);
    }

    void wantsOneArgument()
    {
        for (const QStringList& arguments : {QStringList(), QStringList({"one", "two"})}) {
            const Outcome outcome = ask(arguments);
            QCOMPARE(outcome.exitCode, 2);
            QCOMPARE(outcome.text, QByteArray());
            QCOMPARE(outcome.complaint, "Usage: tavik-center-interface "
                                        "SYSFS-DIRECTORY-OF-HIDRAW-NODE\n");
        }
    }
};

QTEST_GUILESS_MAIN(InterfaceProgramTest)
#include "interface_program_test.moc"
