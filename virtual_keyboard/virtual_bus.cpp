// SPDX-License-Identifier: MIT
#include "virtual_keyboard/virtual_bus.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace tavik::virtual_keyboard {

namespace {

constexpr std::uint16_t screenUsagePage = 0xFF68;
constexpr std::uint16_t otherScreenUsagePage = 0xFF67;
constexpr std::uint8_t commandMarker = 0x04;

// The texts that the real library and kernel give.
constexpr std::string_view sendNoDevice = "ioctl (SFEATURE): No such device";
constexpr std::string_view readNoDevice = "ioctl (GFEATURE): No such device";
constexpr std::string_view sendStalled = "ioctl (SFEATURE): Broken pipe";
constexpr std::string_view readStalled = "ioctl (GFEATURE): Broken pipe";
constexpr std::string_view sendInvalid = "ioctl (SFEATURE): Invalid argument";
constexpr std::string_view readInvalid = "ioctl (GFEATURE): Invalid argument";
constexpr std::string_view writeNoDevice = "No such device";
constexpr std::string_view writeStalled = "Broken pipe";
constexpr std::string_view pollNoDevice = "unexpected poll error (device disconnected)";

bool isScreen(std::uint16_t usagePage)
{
    return usagePage == screenUsagePage || usagePage == otherScreenUsagePage;
}

std::string nameOf(std::uint16_t usagePage)
{
    if (usagePage == configurationUsagePage)
        return "config";
    return isScreen(usagePage) ? "screen" : "typing";
}

std::string hexId(std::uint16_t id)
{
    std::array<char, 5> text{};
    std::snprintf(text.data(), text.size(), "%04x", id);
    return text.data();
}

// Trailing zero bytes say nothing; at least one byte stays.
std::string hexBytes(std::span<const std::uint8_t> bytes)
{
    std::size_t length = bytes.size();
    while (length > 1 && bytes[length - 1] == 0)
        --length;
    std::string line;
    for (const std::uint8_t byte : bytes.first(std::min(length, bytes.size()))) {
        std::array<char, 4> text{};
        std::snprintf(text.data(), text.size(), "%02x", byte);
        line += (line.empty() ? "" : " ") + std::string(text.data());
    }
    return line;
}

bool startsWithAnyOf(const std::string& line, std::initializer_list<std::string_view> words)
{
    return std::ranges::any_of(words,
                               [&](std::string_view word) { return line.starts_with(word); });
}

void requireExchangeFault(const Fault& fault)
{
    using enum Fault::Kind;
    if (fault.kind != SendError && fault.kind != ReadError && fault.kind != CountsNothing &&
        fault.kind != Answer)
        throw std::invalid_argument("only a screen block can fail in this way");
}

std::vector<BusInterface> factoryInterfaces()
{
    return {{.productId = 0x8009, .usagePage = 0x0001, .path = "/dev/hidraw0"},
            {.productId = 0x8009, .usagePage = configurationUsagePage, .path = "/dev/hidraw1"},
            {.productId = 0x8009, .usagePage = screenUsagePage, .path = "/dev/hidraw2"}};
}

} // namespace

Fault sendError(std::string text)
{
    return {.kind = Fault::Kind::SendError, .text = std::move(text)};
}

Fault readError(std::string text)
{
    return {.kind = Fault::Kind::ReadError, .text = std::move(text)};
}

Fault shortWrite()
{
    return {.kind = Fault::Kind::ShortWrite, .text = {}};
}

Fault zeroWrite()
{
    return {.kind = Fault::Kind::ZeroWrite, .text = {}};
}

Fault noAcknowledgement()
{
    return {.kind = Fault::Kind::NoAcknowledgement, .text = {}};
}

Fault shortAcknowledgement()
{
    return {.kind = Fault::Kind::ShortAcknowledgement, .text = {}};
}

Fault countsNothing()
{
    return {.kind = Fault::Kind::CountsNothing, .text = {}};
}

Fault answerStatus(std::uint8_t status)
{
    return {
        .kind = Fault::Kind::Answer, .text = {}, .answer = AnswerFault::Status, .status = status};
}

Fault busy()
{
    return answerStatus(0xFF);
}

Fault emptyAnswer()
{
    return {.kind = Fault::Kind::Answer, .text = {}, .answer = AnswerFault::Empty};
}

Fault wrongEcho(std::uint8_t status)
{
    return {.kind = Fault::Kind::Answer,
            .text = {},
            .answer = AnswerFault::WrongEcho,
            .status = status};
}

Fault wrongByte(std::uint8_t place)
{
    return {
        .kind = Fault::Kind::Answer, .text = {}, .answer = AnswerFault::WrongByte, .status = place};
}

VirtualBus::VirtualBus() : usbInterfaces(factoryInterfaces()) {}

VirtualBus& VirtualBus::instance()
{
    static VirtualBus* const bus = new VirtualBus;
    return *bus;
}

void VirtualBus::reset()
{
    model.reset();
    usbInterfaces = factoryInterfaces();
    isPlugged = true;
    initFails = false;
    enumeratedPaths.clear();
    heldEnumerations = 0;
    openError.clear();
    for (OpenedInterface& opened : everOpened) {
        opened.error.clear();
        opened.acknowledgements.clear();
    }
    clearFaults();
    virtualNow = Milliseconds(0);
    clearTrace();
    clearViolations();
}

void VirtualBus::setProductId(std::uint16_t productId)
{
    for (BusInterface& entry : usbInterfaces)
        entry.productId = productId;
}

void VirtualBus::setScreenUsagePage(std::uint16_t usagePage)
{
    if (!isScreen(usagePage))
        throw std::invalid_argument("not a usage page of a screen interface");
    for (BusInterface& entry : usbInterfaces) {
        if (isScreen(entry.usagePage))
            entry.usagePage = usagePage;
    }
}

void VirtualBus::removeScreen()
{
    std::erase_if(usbInterfaces,
                  [](const BusInterface& entry) { return isScreen(entry.usagePage); });
}

void VirtualBus::addConfigurationInterface(std::string path, bool opens)
{
    const auto existing =
        std::ranges::find(usbInterfaces, configurationUsagePage, &BusInterface::usagePage);
    const std::uint16_t productId =
        existing == usbInterfaces.end() ? BusInterface().productId : existing->productId;
    usbInterfaces.insert(existing, {.productId = productId,
                                    .usagePage = configurationUsagePage,
                                    .path = std::move(path),
                                    .opens = opens});
}

void VirtualBus::setOpens(const std::string& path, bool opens)
{
    const auto entry = std::ranges::find(usbInterfaces, path, &BusInterface::path);
    if (entry == usbInterfaces.end())
        throw std::invalid_argument("no interface has the path " + path);
    entry->opens = opens;
}

void VirtualBus::plug()
{
    isPlugged = true;
    tellListener();
}

void VirtualBus::unplug()
{
    if (!isPlugged)
        return;
    isPlugged = false;
    ++generation;
    model.disconnect();
    tellListener();
}

void VirtualBus::failAt(int exchange, const Fault& fault, int times)
{
    if (exchange < 1 || times < 1)
        throw std::invalid_argument("exchanges are counted from 1");
    requireExchangeFault(fault);
    for (int repeat = 0; repeat < times; ++repeat)
        exchangeFaults[exchangeCount + exchange + repeat] = fault;
}

void VirtualBus::failCommand(std::uint8_t code, const Fault& fault, int nth)
{
    if (nth < 1)
        throw std::invalid_argument("commands are counted from 1");
    requireExchangeFault(fault);
    commandFaults.push_back({code, nth, fault});
}

void VirtualBus::failBlockAt(int block, const Fault& fault)
{
    if (block < 1)
        throw std::invalid_argument("blocks are counted from 1");
    if (fault.kind == Fault::Kind::Answer)
        throw std::invalid_argument("an acknowledgement carries no answer");
    blockFaults[blockCount + block] = fault;
}

void VirtualBus::unplugAt(int call)
{
    if (call < 1)
        throw std::invalid_argument("calls are counted from 1");
    unplugCall = callCount + call;
}

void VirtualBus::clearFaults()
{
    exchangeFaults.clear();
    commandFaults.clear();
    blockFaults.clear();
    unplugCall.reset();
    failingRead.reset();
    acknowledgementFault.reset();
}

VirtualBus::Milliseconds VirtualBus::now() const
{
    return clockNow ? clockNow() : virtualNow;
}

void VirtualBus::wait(Milliseconds duration)
{
    advance(duration);
    record("wait " + std::to_string(duration.count()));
}

void VirtualBus::advance(Milliseconds duration)
{
    if (clockWait)
        clockWait(duration);
    else
        virtualNow += duration;
}

void VirtualBus::setClock(std::function<Milliseconds()> now, std::function<void(Milliseconds)> wait)
{
    clockNow = std::move(now);
    clockWait = std::move(wait);
}

std::vector<std::string> VirtualBus::wire() const
{
    std::vector<std::string> lines;
    std::ranges::copy_if(events, std::back_inserter(lines), [](const std::string& line) {
        return startsWithAnyOf(line, {"send ", "read ", "block ", "ack", "no ack "});
    });
    return lines;
}

std::vector<std::string> VirtualBus::sends() const
{
    std::vector<std::string> lines;
    for (const std::vector<std::uint8_t>& report : arrivedReports)
        lines.push_back(hexBytes(report));
    return lines;
}

int VirtualBus::count(std::string_view line) const
{
    return static_cast<int>(std::ranges::count(events, line));
}

void VirtualBus::clearTrace()
{
    events.clear();
    arrivedReports.clear();
    arrivedBlocks.clear();
}

std::vector<std::string> VirtualBus::violations() const
{
    std::vector<std::string> all = misuse;
    all.insert(all.end(), model.violations().begin(), model.violations().end());
    return all;
}

void VirtualBus::clearViolations()
{
    misuse.clear();
    model.clearViolations();
}

int VirtualBus::openHandles() const
{
    return static_cast<int>(std::ranges::count(everOpened, false, &OpenedInterface::closed));
}

int VirtualBus::staleHandles() const
{
    return static_cast<int>(
        std::ranges::count_if(everOpened, [this](const OpenedInterface& opened) {
            return !opened.closed && !reaches(opened);
        }));
}

int VirtualBus::init()
{
    record(initFails ? "init failed" : "init");
    return initFails ? -1 : 0;
}

int VirtualBus::exit()
{
    // A screen handle may still be open here: when the keyboard is not found in the middle of a
    // screen transfer, the library is shut down before that interface is closed.
    const bool configurationOpen =
        std::ranges::any_of(everOpened, [](const OpenedInterface& opened) {
            return !opened.closed && opened.usagePage == configurationUsagePage;
        });
    if (configurationOpen)
        violation("hid_exit() while the configuration interface is open");
    checkEnumerationsFreed("hid_exit()");
    record("exit");
    return 0;
}

std::vector<BusInterface> VirtualBus::enumerate(std::uint16_t vendor, std::uint16_t product)
{
    checkEnumerationsFreed("hid_enumerate()");
    std::vector<BusInterface> found;
    if (isPlugged && vendor == vendorId) {
        std::ranges::copy_if(usbInterfaces, std::back_inserter(found),
                             [&](const BusInterface& entry) {
                                 return product == 0 || entry.productId == product; // 0 is any
                             });
    }
    enumeratedPaths.clear();
    for (const BusInterface& entry : found)
        enumeratedPaths.push_back(entry.path);
    if (!found.empty())
        ++heldEnumerations;
    record("enumerate " + (vendor == vendorId ? "" : hexId(vendor) + ":") + hexId(product));
    return found;
}

void VirtualBus::enumerationFreed()
{
    if (heldEnumerations > 0)
        --heldEnumerations;
}

void VirtualBus::checkEnumerationsFreed(std::string_view function)
{
    if (heldEnumerations > 0)
        violation(std::string(function) + " before the enumeration was freed");
}

VirtualBus::Handle VirtualBus::open(const std::string& path)
{
    if (std::ranges::find(enumeratedPaths, path) == enumeratedPaths.end())
        violation("hid_open_path() of " + path + ", which was not just enumerated");
    const auto entry = std::ranges::find(usbInterfaces, path, &BusInterface::path);
    const bool exists = isPlugged && entry != usbInterfaces.end();
    if (!exists || !entry->opens) {
        openError = "Failed to open a device with path '" + path +
                    (exists ? "': Permission denied" : "': No such file or directory");
        const std::string name =
            entry == usbInterfaces.end() ? "unknown" : nameOf(entry->usagePage);
        record("open " + name + " refused");
        return -1;
    }
    openError.clear();
    everOpened.push_back({.usagePage = entry->usagePage,
                          .name = nameOf(entry->usagePage),
                          .generation = generation,
                          .error = {},
                          .acknowledgements = {}});
    record("open " + everOpened.back().name);
    return static_cast<Handle>(everOpened.size());
}

void VirtualBus::close(Handle handle)
{
    OpenedInterface* opened = usable(handle, "hid_close()");
    if (opened == nullptr)
        return;
    opened->closed = true;
    record("close " + opened->name);
}

int VirtualBus::sendFeature(Handle handle, std::span<const std::uint8_t> buffer)
{
    OpenedInterface* opened = usable(handle, "hid_send_feature_report()");
    if (opened == nullptr)
        return -1;
    countCall();
    if (buffer.size() < 2)
        return fail(*opened, "send failed", sendInvalid);
    const auto payload = buffer.subspan(1);
    const std::optional<Fault> fault = faultOfExchange(payload);
    if (!reaches(*opened))
        return fail(*opened, "send failed", sendNoDevice);
    if (!isConfigurationReport(*opened, buffer[0], "sent"))
        return fail(*opened, "send failed", sendStalled);
    if (fault && fault->kind == Fault::Kind::SendError) {
        model.reportLost(payload);
        return fail(*opened, "send failed", fault->text);
    }
    const bool losesAnswer = fault && fault->kind == Fault::Kind::ReadError;
    failingRead = losesAnswer ? std::optional(fault->text) : std::nullopt;
    if (fault && fault->kind == Fault::Kind::Answer)
        model.spoilNextAnswer(fault->answer, fault->status);

    opened->error.clear();
    arrivedReports.emplace_back(payload.begin(), payload.end());
    model.setFeature(payload, now());
    record("send " + hexBytes(payload));
    readCountsNothing = fault && fault->kind == Fault::Kind::CountsNothing;
    return readCountsNothing ? 0 : static_cast<int>(buffer.size());
}

int VirtualBus::getFeature(Handle handle, std::span<std::uint8_t> buffer)
{
    OpenedInterface* opened = usable(handle, "hid_get_feature_report()");
    if (opened == nullptr)
        return -1;
    countCall();
    if (buffer.size() < 2)
        return fail(*opened, "read failed", readInvalid);
    if (!reaches(*opened))
        return fail(*opened, "read failed", readNoDevice);
    if (!isConfigurationReport(*opened, buffer[0], "asked for"))
        return fail(*opened, "read failed", readStalled);
    if (buffer.size() != reportSize + 1) {
        violation("hid_get_feature_report() with room for " + std::to_string(buffer.size()) +
                  " bytes, expected 65");
    }
    if (const auto text = std::exchange(failingRead, std::nullopt); text) {
        model.answerLost();
        return fail(*opened, "read failed", *text);
    }
    opened->error.clear();
    const Report answer = model.getFeature(now());
    const std::size_t length = std::min(buffer.size() - 1, answer.size());
    std::copy_n(answer.begin(), length, buffer.begin() + 1);
    record("read " + hexBytes(answer));
    return std::exchange(readCountsNothing, false) ? 0 : static_cast<int>(length) + 1;
}

int VirtualBus::write(Handle handle, std::span<const std::uint8_t> buffer)
{
    OpenedInterface* opened = usable(handle, "hid_write()");
    if (opened == nullptr)
        return -1;
    countCall();
    ++blockCount;
    const auto planned = blockFaults.extract(blockCount);
    if (!reaches(*opened))
        return fail(*opened, "block failed", writeNoDevice);
    if (buffer.empty() || buffer[0] != 0 || !isScreen(opened->usagePage)) {
        violation("output report on the " + opened->name +
                  " interface that is not one of its screen blocks");
        return fail(*opened, "block failed", writeStalled);
    }
    opened->error.clear();
    if (planned && planned.mapped().kind == Fault::Kind::SendError) {
        model.answerLost();
        return fail(*opened, "block failed", planned.mapped().text);
    }
    if (planned && (planned.mapped().kind == Fault::Kind::ShortWrite ||
                    planned.mapped().kind == Fault::Kind::ZeroWrite)) {
        model.answerLost();
        record("block short");
        const bool isShort = planned.mapped().kind == Fault::Kind::ShortWrite;
        return isShort ? static_cast<int>(buffer.size()) - 1 : 0;
    }
    acknowledgementFault = planned ? std::optional(planned.mapped()) : std::nullopt;
    receiveBlock(*opened, buffer.subspan(1));
    record("block " + std::to_string(buffer.size()) + " bytes");
    return static_cast<int>(buffer.size());
}

void VirtualBus::receiveBlock(OpenedInterface& opened, std::span<const std::uint8_t> block)
{
    arrivedBlocks.insert(arrivedBlocks.end(), block.begin(), block.end());
    const std::optional<Report> acknowledgement = model.screenReport(block);
    const bool arrives =
        !acknowledgementFault || acknowledgementFault->kind == Fault::Kind::ShortAcknowledgement;
    if (acknowledgement && arrives)
        opened.acknowledgements.push_back(*acknowledgement);
    if (!arrives)
        model.answerLost();
}

int VirtualBus::readTimeout(Handle handle, std::span<std::uint8_t> buffer, Milliseconds timeout)
{
    OpenedInterface* opened = usable(handle, "hid_read_timeout()");
    if (opened == nullptr)
        return -1;
    countCall();
    const std::optional<Fault> fault = std::exchange(acknowledgementFault, std::nullopt);
    if (!reaches(*opened))
        return fail(*opened, "ack failed", pollNoDevice);
    if (fault && fault->kind == Fault::Kind::ReadError)
        return fail(*opened, "ack failed", fault->text);
    opened->error.clear();
    if (opened->acknowledgements.empty()) {
        advance(timeout);
        record("no ack " + std::to_string(timeout.count()));
        return 0;
    }
    const Report acknowledgement = opened->acknowledgements.front();
    opened->acknowledgements.erase(opened->acknowledgements.begin());
    const bool isShort = fault && fault->kind == Fault::Kind::ShortAcknowledgement;
    const std::size_t length = std::min(buffer.size(), isShort ? 1 : acknowledgement.size());
    std::copy_n(acknowledgement.begin(), length, buffer.begin());
    record("ack");
    return static_cast<int>(length);
}

std::string VirtualBus::errorText(Handle handle) const
{
    const bool known = handle >= 1 && static_cast<std::size_t>(handle) <= everOpened.size();
    const std::string& text =
        known ? everOpened[static_cast<std::size_t>(handle) - 1].error : openError;
    return text.empty() ? "Success" : text;
}

void VirtualBus::record(std::string line)
{
    events.push_back(std::move(line));
    tellListener();
}

void VirtualBus::tellListener() const
{
    if (listener)
        listener();
}

VirtualBus::OpenedInterface* VirtualBus::usable(Handle handle, std::string_view function)
{
    if (handle < 1 || static_cast<std::size_t>(handle) > everOpened.size()) {
        violation(std::string(function) + " without a handle");
        return nullptr;
    }
    OpenedInterface& opened = everOpened[static_cast<std::size_t>(handle) - 1];
    if (opened.closed) {
        violation(std::string(function) + " with a closed handle");
        return nullptr;
    }
    return &opened;
}

void VirtualBus::countCall()
{
    ++callCount;
    if (unplugCall != callCount)
        return;
    unplugCall.reset();
    unplug();
}

bool VirtualBus::isConfigurationReport(const OpenedInterface& opened, std::uint8_t reportId,
                                       std::string_view verb)
{
    if (opened.usagePage != configurationUsagePage) {
        violation("feature report " + std::string(verb) + " on the " + opened.name + " interface");
        return false;
    }
    if (reportId != 0) {
        violation("feature report " + std::string(verb) + " with report id " +
                  std::to_string(reportId) + ", expected 0");
        return false;
    }
    return true;
}

int VirtualBus::fail(OpenedInterface& opened, std::string line, std::string_view text)
{
    opened.error = text;
    record(std::move(line));
    return -1;
}

std::optional<Fault> VirtualBus::faultOfExchange(std::span<const std::uint8_t> payload)
{
    ++exchangeCount;
    std::optional<Fault> fault;
    if (const auto planned = exchangeFaults.extract(exchangeCount); planned)
        fault = planned.mapped();
    const bool command = payload.size() > 1 && payload[0] == commandMarker;
    for (CommandFault& planned : commandFaults) {
        if (!command || planned.code != payload[1])
            continue;
        if (--planned.nth == 0 && !fault)
            fault = planned.fault;
    }
    std::erase_if(commandFaults, [](const CommandFault& planned) { return planned.nth == 0; });
    return fault;
}

} // namespace tavik::virtual_keyboard
