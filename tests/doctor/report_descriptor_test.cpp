// SPDX-License-Identifier: MIT
#include "device/hid_interface.h"
#include "doctor/report_descriptor.h"
#include "tests/system/report_descriptors.h"

#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

const Bytes configuration = featureDescriptor(0xFF13);

// One vendor collection around the items.
Bytes wrapped(const Bytes& items)
{
    Bytes descriptor = joined({0x06, 0x13, 0xFF, 0x09, 0x01, 0xA1, 0x01}, items);
    descriptor.push_back(0xC0);
    return descriptor;
}

} // namespace

class ReportDescriptorTest : public QObject
{
    Q_OBJECT

private slots:
    void tellsInterfacesApart_data()
    {
        QTest::addColumn<Bytes>("descriptor");
        QTest::addColumn<InterfaceKind>("kind");
        const auto row = [](const char* name, InterfaceKind kind, const Bytes& descriptor) {
            QTest::newRow(name) << descriptor << kind;
        };
        constexpr auto other = InterfaceKind::Other;

        row("configuration", InterfaceKind::Configuration, configuration);
        row("screen FF68", InterfaceKind::Screen, screenDescriptor(0xFF68));
        row("screen FF67", InterfaceKind::Screen, screenDescriptor(0xFF67));
        row("both in one", InterfaceKind::Configuration,
            joined(screenDescriptor(0xFF68), configuration));
        row("both in one, configuration first", InterfaceKind::Configuration,
            joined(configuration, screenDescriptor(0xFF68)));
        row("beside the last vendor page", InterfaceKind::Configuration,
            joined(featureDescriptor(0xFFFF), configuration));
        row("four pushes", InterfaceKind::Configuration,
            joined(configuration, {0xA4, 0xA4, 0xA4, 0xA4}));
        row("beside another vendor page", InterfaceKind::Configuration,
            joined(featureDescriptor(0xFF00), configuration));
        row("page named by the usage", InterfaceKind::Configuration,
            {0x06, 0x00, 0xFF, 0x0B, 0x01, 0x00, 0x13, 0xFF, 0xA1, 0x01, 0xC0});
        row("page named by the first of two usages", InterfaceKind::Configuration,
            {0x06, 0x00, 0xFF, 0x0B, 0x01, 0x00, 0x13, 0xFF, 0x0B, 0x01, 0x00, 0x00, 0xFF, 0xA1,
             0x01, 0xC0});
        row("page named by the second of two usages", other,
            {0x06, 0x00, 0xFF, 0x09, 0x01, 0x0B, 0x01, 0x00, 0x13, 0xFF, 0xA1, 0x01, 0xC0});
        row("page after the usage", InterfaceKind::Configuration,
            {0x09, 0x01, 0x06, 0x13, 0xFF, 0xA1, 0x01, 0xC0});
        row("page kept over push and pop", InterfaceKind::Configuration,
            {0x06, 0x13, 0xFF, 0xA4, 0x06, 0x00, 0xFF, 0xB4, 0x09, 0x01, 0xA1, 0x01, 0xC0});
        row("pages kept one over the other", InterfaceKind::Configuration,
            {0x06, 0x13, 0xFF, 0xA4, 0x06, 0x00, 0xFF, 0xA4, 0xB4, 0xB4, 0x09, 0x01, 0xA1, 0x01,
             0xC0});
        row("second page named by its usage", InterfaceKind::Configuration,
            {0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0xC0, //
             0x0B, 0x01, 0x00, 0x13, 0xFF, 0xA1, 0x01, 0xC0});
        row("only the first page named by its usage", InterfaceKind::Configuration,
            {0x06, 0x00, 0xFF, 0x0B, 0x61, 0x00, 0x68, 0xFF, 0xA1, 0x01, 0xC0, //
             0x06, 0x13, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0xC0});
        row("inner collection", InterfaceKind::Configuration, wrapped({0xA1, 0x02, 0xC0}));

        row("keyboard", other, typingDescriptor());
        row("media keys", other, mediaDescriptor());
        row("keyboard behind", other, joined(configuration, typingDescriptor()));
        row("keyboard in front", other, joined(typingDescriptor(), configuration));
        row("media keys behind", other, joined(configuration, mediaDescriptor()));
        row("key page inside", other, wrapped({0x05, 0x07, 0x19, 0xE0, 0x29, 0xE7, 0x81, 0x02}));
        row("key page by long usage", other, wrapped({0x0B, 0x04, 0x00, 0x07, 0x00, 0x81, 0x02}));
        row("key page by the first of a range", other,
            wrapped({0x1B, 0x04, 0x00, 0x07, 0x00, 0x29, 0x65, 0x81, 0x02}));
        row("key page by the last of a range", other,
            wrapped({0x19, 0x04, 0x2B, 0x65, 0x00, 0x07, 0x00, 0x81, 0x02}));
        row("key page in four bytes", other, wrapped({0x07, 0x07, 0x00, 0x00, 0x00, 0x81, 0x02}));
        row("page of more than 16 bits", other,
            {0x07, 0x13, 0xFF, 0x01, 0x00, 0x09, 0x01, 0xA1, 0x01, 0xC0});
        row("beside the first page of more than 16 bits", other,
            joined(configuration, {0x07, 0x00, 0x00, 0x01, 0x00}));
        row("page without a value", other, {0x04, 0x09, 0x01, 0xA1, 0x01, 0xC0});
        row("other vendor page", other, featureDescriptor(0xFF14));
        row("vendor page inside another", other,
            {0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0x06, 0x13, 0xFF, 0x09, 0x01, 0xA1, 0x02,
             0xC0, 0xC0});

        row("nothing", other, {});
        row("no collection", other, {0x06, 0x13, 0xFF, 0x09, 0x01});
        row("collection without a page", other, {0x09, 0x01, 0xA1, 0x01, 0xC0});
        row("collection left open", other, {0x06, 0x13, 0xFF, 0xA1, 0x01, 0xA1, 0x02, 0xC0});
        row("closed once too often", other, {0x06, 0x13, 0xFF, 0xA1, 0x01, 0xC0, 0xC0, 0xA1, 0x01});
        row("input outside", other, joined(configuration, {0x09, 0x02, 0x81, 0x02}));
        row("output outside", other, joined(configuration, {0x09, 0x02, 0x91, 0x02}));
        row("feature outside", other, joined(configuration, {0x09, 0x02, 0xB1, 0x02}));
        row("pop without push", other, joined(configuration, {0xB4}));
        row("two pops for one push", other, joined(configuration, {0xA4, 0xB4, 0xB4}));
        row("five pushes", other, joined(configuration, {0xA4, 0xA4, 0xA4, 0xA4, 0xA4}));
        row("long item", other, wrapped({0xFE, 0x01, 0xF0, 0x00}));
    }
    void tellsInterfacesApart()
    {
        QFETCH(const Bytes, descriptor);
        QFETCH(const InterfaceKind, kind);

        QCOMPARE(interfaceKind(descriptor), kind);
    }

    // The last item closes the collection, so nothing shorter is whole.
    void refusesEveryTruncation()
    {
        for (const Bytes& whole : {configuration, screenDescriptor(0xFF68)}) {
            for (std::size_t length = 0; length < whole.size(); ++length)
                QCOMPARE(interfaceKind(std::span(whole).first(length)), InterfaceKind::Other);
        }
    }

    void refusesEveryOtherPageAnywhere()
    {
        for (unsigned page = 0; page < 0xFF00; ++page) {
            const Bytes descriptor =
                joined(configuration, featureDescriptor(static_cast<std::uint16_t>(page)));
            QCOMPARE(interfaceKind(descriptor), InterfaceKind::Other);
        }
    }

    // Random bytes must never read outside the descriptor; sanitizer runs see it.
    void survivesAnything()
    {
        std::uint32_t state = 1;
        for (int round = 0; round < 20000; ++round) {
            Bytes descriptor = configuration;
            for (int change = 0; change < 3; ++change) {
                state = state * 1664525U + 1013904223U;
                descriptor.at((state >> 8) % descriptor.size()) =
                    static_cast<std::uint8_t>(state >> 24);
            }
            const InterfaceKind kind = interfaceKind(descriptor);
            const Bytes page{0x13, 0xFF};
            const bool namesPage = std::search(descriptor.begin(), descriptor.end(), page.begin(),
                                               page.end()) != descriptor.end() ||
                                   kind != InterfaceKind::Configuration;
            QVERIFY(namesPage);
        }
    }

    void refusesWhatIsLongerThanTheKernelAllows()
    {
        Bytes longest = configuration;
        longest.insert(longest.begin(), 4096 - longest.size(), 0x14);
        QCOMPARE(interfaceKind(longest), InterfaceKind::Configuration);
        longest.insert(longest.begin(), 0x14);
        QCOMPARE(interfaceKind(longest), InterfaceKind::Other);
    }
};

QTEST_APPLESS_MAIN(ReportDescriptorTest)
#include "report_descriptor_test.moc"
