// SPDX-License-Identifier: MIT
#include "tests/kernel/usb_keyboard.h"

#include <array>
#include <cstdio>

namespace tavik::tests {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Outcome = UsbResult::Outcome;

constexpr std::uint8_t toDevice = 0x00;
constexpr std::uint8_t toInterface = 0x01;
constexpr std::uint8_t toEndpoint = 0x02;
constexpr std::uint8_t fromDevice = 0x80;
constexpr std::uint8_t fromInterface = 0x81;
constexpr std::uint8_t fromEndpoint = 0x82;
constexpr std::uint8_t classToInterface = 0x21;
constexpr std::uint8_t classFromInterface = 0xA1;

// Requests of every USB device.
constexpr std::uint8_t getStatus = 0;
constexpr std::uint8_t clearFeature = 1;
constexpr std::uint8_t setConfiguration = 9;
constexpr std::uint8_t getDescriptor = 6;
constexpr std::uint8_t setInterface = 11;

// Requests of the HID class.
constexpr std::uint8_t getReportRequest = 1;
constexpr std::uint8_t setReportRequest = 9;
constexpr std::uint8_t setIdle = 10;
constexpr std::uint8_t setProtocol = 11;

constexpr std::uint8_t deviceDescriptorType = 1;
constexpr std::uint8_t configurationDescriptorType = 2;
constexpr std::uint8_t stringDescriptorType = 3;
constexpr std::uint8_t reportDescriptorType = 0x22;

// The report's kind in the high byte, its id, which is always 0, in the low one.
constexpr std::uint16_t outputReport = 0x0200;
constexpr std::uint16_t featureReport = 0x0300;

constexpr std::uint16_t lampReportSize = 1;

constexpr std::uint16_t number(UsbInterface interface)
{
    return static_cast<std::uint16_t>(interface);
}

// No more than the host has room for.
UsbResult answer(Bytes bytes, const UsbSetup& setup)
{
    if (bytes.size() > setup.length)
        bytes.resize(setup.length);
    return {Outcome::Done, std::move(bytes)};
}

} // namespace

UsbResult UsbKeyboard::control(const UsbSetup& setup, std::span<const std::uint8_t> data,
                               Milliseconds now)
{
    const bool asksReport = setup.requestType == classFromInterface &&
                            setup.request == getReportRequest && setup.value == featureReport &&
                            setup.index == number(UsbInterface::Configuration) &&
                            setup.length == virtual_keyboard::reportSize;
    if (asksReport)
        return getFeature(now);

    switch (setup.requestType) {
    case fromDevice:
    case fromInterface:
    case fromEndpoint:
        if (setup.request == getDescriptor)
            return descriptor(setup);
        if (setup.request == getStatus)
            return answer({0, 0}, setup);
        break;
    case toDevice:
        if (setup.request == setConfiguration)
            return {};
        break;
    case toInterface:
        if (setup.request == setInterface)
            return {};
        break;
    case toEndpoint:
        if (setup.request == clearFeature)
            return {};
        break;
    case classToInterface:
        if (setup.request == setIdle || setup.request == setProtocol)
            return {};
        if (setup.request == setReportRequest)
            return setReport(setup, data, now);
        break;
    default:
        break;
    }
    return refuse(setup);
}

UsbResult UsbKeyboard::descriptor(const UsbSetup& setup)
{
    const auto type = static_cast<std::uint8_t>(setup.value >> 8);
    const auto which = static_cast<std::uint8_t>(setup.value & 0xFF);
    if (setup.requestType == fromInterface) {
        if (type != reportDescriptorType || which != 0 || setup.index >= usbInterfaceCount)
            return refuse(setup);
        return answer(reportDescriptor(usbIdentity, static_cast<UsbInterface>(setup.index)), setup);
    }
    if (type == deviceDescriptorType)
        return answer(deviceDescriptor(usbIdentity), setup);
    if (type == configurationDescriptorType && which == 0)
        return answer(configurationDescriptor(usbIdentity), setup);
    if (type == stringDescriptorType) {
        if (const auto text = stringDescriptor(which))
            return answer(*text, setup);
    }
    // A host may ask for descriptors that not every device has.
    return {Outcome::Stalled, {}};
}

UsbResult UsbKeyboard::refuse(const UsbSetup& setup)
{
    std::array<char, 100> text{};
    std::snprintf(text.data(), text.size(),
                  "control request %02x %02x value %04x index %04x length %u", setup.requestType,
                  setup.request, setup.value, setup.index, setup.length);
    misuse.emplace_back(text.data());
    return {Outcome::Stalled, {}};
}

UsbResult UsbKeyboard::setReport(const UsbSetup& setup, std::span<const std::uint8_t> data,
                                 Milliseconds now)
{
    if (data.size() != setup.length)
        return refuse(setup);
    if (setup.value == featureReport && setup.index == number(UsbInterface::Configuration) &&
        setup.length == virtual_keyboard::reportSize)
        return setFeature(data, now);
    if (setup.value == outputReport && setup.index == number(UsbInterface::Typing) &&
        setup.length == lampReportSize)
        return {};
    return refuse(setup);
}

UsbResult UsbKeyboard::setFeature(std::span<const std::uint8_t> data, Milliseconds now)
{
    if (strikes(UsbFault::UnplugSend)) {
        model.reportLost(data);
        return {Outcome::Unplugged, {}};
    }
    if (strikes(UsbFault::StallSend)) {
        model.reportLost(data);
        return {Outcome::Stalled, {}};
    }
    model.setFeature(data, now);
    return {};
}

UsbResult UsbKeyboard::getFeature(Milliseconds now)
{
    if (strikes(UsbFault::StallRead)) {
        model.answerLost();
        return {Outcome::Stalled, {}};
    }
    const virtual_keyboard::Report report = model.getFeature(now);
    return {Outcome::Done, {report.begin(), report.end()}};
}

UsbResult UsbKeyboard::interruptOut(std::uint8_t endpoint, std::span<const std::uint8_t> data)
{
    if (endpoint != screenOutEndpoint) {
        misuse.push_back("output on endpoint " + std::to_string(endpoint));
        return {Outcome::Stalled, {}};
    }
    if (strikes(UsbFault::UnplugBlock)) {
        model.answerLost();
        return {Outcome::Unplugged, {}};
    }
    const auto acknowledgement = model.screenReport(data);
    if (strikes(UsbFault::LoseAck)) {
        model.answerLost();
        return {};
    }
    if (strikes(UsbFault::UnplugAck)) {
        model.answerLost();
        return {Outcome::DoneThenUnplugged, {}};
    }
    if (acknowledgement)
        acknowledgements.emplace_back(acknowledgement->begin(), acknowledgement->end());
    return {};
}

std::optional<Bytes> UsbKeyboard::takeInput(std::uint8_t endpoint)
{
    if (endpoint != screenInEndpoint || acknowledgements.empty())
        return std::nullopt;
    Bytes report = std::move(acknowledgements.front());
    acknowledgements.pop_front();
    return report;
}

bool UsbKeyboard::strikes(UsbFault fault)
{
    if (!planned || planned->fault != fault || --planned->countdown > 0)
        return false;
    planned.reset();
    return true;
}

void UsbKeyboard::planFault(UsbFault fault, int nth)
{
    planned = PlannedFault{fault, nth};
}

void UsbKeyboard::disconnect()
{
    model.disconnect();
    acknowledgements.clear();
    planned.reset();
}

void UsbKeyboard::reset()
{
    model.reset();
    acknowledgements.clear();
    planned.reset();
    misuse.clear();
}

std::vector<std::string> UsbKeyboard::violations() const
{
    std::vector<std::string> all = misuse;
    all.insert(all.end(), model.violations().begin(), model.violations().end());
    return all;
}

} // namespace tavik::tests
