// SPDX-License-Identifier: MIT
#include "device/keyboard_identity.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QTest>
#include <hidapi.h>

#include <array>
#include <string>

using namespace tavik::virtual_keyboard;
using tavik::keyboardProductIds;
using tavik::keyboardVendorId;
using tavik::screenUsagePages;

namespace {

using Lines = std::vector<std::string>;

VirtualBus& bus()
{
    return VirtualBus::instance();
}

hid_device* openFirst(unsigned short usagePage)
{
    hid_device_info* const list = hid_enumerate(keyboardVendorId, keyboardProductIds.front());
    hid_device* device = nullptr;
    for (const hid_device_info* entry = list; entry != nullptr; entry = entry->next) {
        if (entry->usage_page == usagePage && device == nullptr)
            device = hid_open_path(entry->path);
    }
    hid_free_enumeration(list);
    return device;
}

} // namespace

class HidapiFunctionsTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { bus().reset(); }
    void theListCarriesWhatTheLibraryCarries()
    {
        hid_device_info* const list = hid_enumerate(keyboardVendorId, keyboardProductIds.front());
        QVERIFY(list != nullptr);
        const hid_device_info* const config = list->next;
        QCOMPARE(config->vendor_id, keyboardVendorId);
        QCOMPARE(config->product_id, keyboardProductIds.front());
        QCOMPARE(config->usage_page, tavik::configurationUsagePage);
        QCOMPARE(config->interface_number, 1);
        QCOMPARE(std::string(config->path), std::string("/dev/hidraw1"));
        QCOMPARE(std::wstring(config->product_string), std::wstring(L"TAVIK Pro"));
        QCOMPARE(bus().unfreedEnumerations(), 1);
        hid_free_enumeration(list);
        QCOMPARE(bus().unfreedEnumerations(), 0);
    }

    void anEmptyListIsNull()
    {
        QVERIFY(hid_enumerate(keyboardVendorId, keyboardProductIds.back()) == nullptr);
        QVERIFY(hid_enumerate(keyboardVendorId, 0x8009 + 5) == nullptr);
        hid_free_enumeration(nullptr);
        QCOMPARE(bus().unfreedEnumerations(), 0);
        QVERIFY(bus().violations().empty());
    }

    void anExchangeGoesThroughTheBus()
    {
        hid_device* const device = openFirst(tavik::configurationUsagePage);
        QVERIFY(device != nullptr);
        std::array<unsigned char, 65> buffer{0x00, 0x04, 0x18};
        buffer[9] = 1;
        QCOMPARE(hid_send_feature_report(device, buffer.data(), buffer.size()), 65);
        bus().wait(std::chrono::milliseconds(50));
        buffer.fill(0);
        QCOMPARE(hid_get_feature_report(device, buffer.data(), buffer.size()), 65);
        QCOMPARE(buffer, (std::array<unsigned char, 65>{0x00, 0x04, 0x18, 0x00, 0x01}));
        hid_close(device);
        QCOMPARE(bus().trace(),
                 (Lines{"enumerate 8009", "open config", "send 04 18 00 00 00 00 00 00 01",
                        "wait 50", "read 04 18 00 01", "close config"}));
        QVERIFY(bus().violations().empty());
    }

    void theScreenTakesBlocksAndAcknowledges()
    {
        hid_device* const device = openFirst(screenUsagePages.front());
        const std::vector<unsigned char> block(4097);
        std::array<unsigned char, 64> acknowledgement{};
        QCOMPARE(hid_write(device, block.data(), block.size()), 4097);
        QCOMPARE(hid_read_timeout(device, acknowledgement.data(), acknowledgement.size(), 1000), 0);
        QCOMPARE(bus().now().count(), 1000);
        hid_close(device);
        QCOMPARE(bus().trace().back(), std::string("close screen"));
        // Nobody had announced an upload.
        QCOMPARE(bus().violations(), Lines{"screen block outside an upload"});
    }

    void anErrorIsAWideText()
    {
        hid_device* const device = openFirst(tavik::configurationUsagePage);
        QCOMPARE(std::wstring(hid_error(device)), std::wstring(L"Success"));
        bus().failAt(1, sendError("the cable came off"));
        const std::array<unsigned char, 65> buffer{};
        QCOMPARE(hid_send_feature_report(device, buffer.data(), buffer.size()), -1);
        QCOMPARE(std::wstring(hid_error(device)), std::wstring(L"the cable came off"));
        hid_close(device);
    }

    void aRefusedOpenIsNull()
    {
        bus().setOpens("/dev/hidraw1", false);
        QVERIFY(openFirst(tavik::configurationUsagePage) == nullptr);
        QCOMPARE(
            std::wstring(hid_error(nullptr)),
            std::wstring(L"Failed to open a device with path '/dev/hidraw1': Permission denied"));
        QCOMPARE(bus().trace(), (Lines{"enumerate 8009", "open config refused"}));
    }

    void theLibraryStartsAndStops()
    {
        QCOMPARE(hid_init(), 0);
        QCOMPARE(hid_exit(), 0);
        bus().setInitFails(true);
        QCOMPARE(hid_init(), -1);
        QCOMPARE(bus().trace(), (Lines{"init", "exit", "init failed"}));
    }

    void aClosedOrMissingHandleIsNamed()
    {
        hid_device* const device = openFirst(tavik::configurationUsagePage);
        hid_close(device);
        hid_close(device);
        hid_close(nullptr);
        std::array<unsigned char, 65> buffer{};
        QCOMPARE(hid_send_feature_report(device, buffer.data(), buffer.size()), -1);
        QCOMPARE(hid_get_feature_report(device, buffer.data(), buffer.size()), -1);
        QCOMPARE(hid_write(device, buffer.data(), buffer.size()), -1);
        QCOMPARE(hid_read_timeout(nullptr, buffer.data(), buffer.size(), 0), -1);
        QCOMPARE(bus().violations(), (Lines{"hid_close() with a closed handle",
                                            "hid_send_feature_report() with a closed handle",
                                            "hid_get_feature_report() with a closed handle",
                                            "hid_write() with a closed handle",
                                            "hid_read_timeout() without a handle"}));
    }
};

QTEST_GUILESS_MAIN(HidapiFunctionsTest)
#include "hidapi_functions_test.moc"
