// SPDX-License-Identifier: MIT
#include "tests/system/emulated_keyboard.h"

#include "tests/system/report_descriptors.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <linux/hidraw.h>
#include <linux/ioctl.h>
#include <mutex>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <umockdev.h>
#include <unistd.h>
#include <utility>

namespace tavik::tests {

namespace {

namespace fs = std::filesystem;
using virtual_keyboard::KeyboardModel;
using virtual_keyboard::Report;

const std::string usbDevice = "/devices/pci0000:00/0000:00:14.0/usb1/1-2";

// What the kernel accepts: at least a report id and a byte, at most its own buffer.
constexpr std::size_t shortestTransfer = 2;
constexpr std::size_t longestTransfer = 16384;
constexpr std::size_t featureTransfer = 65;   // report id and payload
constexpr std::size_t unreadReportLimit = 63; // later ones are dropped

enum class Role { Typing, Configuration, Screen };

[[noreturn]] void abandon(const std::string& reason)
{
    std::cerr << "emulated keyboard: " << reason << std::endl;
    std::abort();
}

std::string hexText(unsigned value, int digits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%0*X", digits, value);
    return text.data();
}

std::string hexText(const Bytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += hexText(byte, 2);
    return text;
}

// Descriptors of this keyboard name their page first.
Role roleOf(const Bytes& descriptor)
{
    if (descriptor.size() < 3 || descriptor[0] != 0x06 || descriptor[2] != 0xFF)
        return Role::Typing;
    return descriptor[1] == 0x13 ? Role::Configuration : Role::Screen;
}

void addToTestbed(UMockdevTestbed* testbed, const std::string& description)
{
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(testbed, description.c_str(), &error))
        abandon(error->message);
}

std::string usbDeviceText(std::uint16_t productId)
{
    return "P: " + usbDevice +
           "\n"
           "E: DEVTYPE=usb_device\nE: DRIVER=usb\nE: SUBSYSTEM=usb\n"
           "A: manufacturer=ZEROLT\\n\nA: product=TAVIK Pro\\n\nA: serial=\\n\n"
           "A: bcdDevice=0100\\n\nA: idVendor=0c45\\n\nA: idProduct=" +
           hexText(productId, 4) + "\\n\n\n";
}

} // namespace

EmulatedDevice wholeKeyboard(std::uint16_t productId, std::uint16_t screenUsagePage)
{
    return {productId,
            {{typingDescriptor()},
             {featureDescriptor(0xFF13), true},
             {screenDescriptor(screenUsagePage), true}}};
}

struct EmulatedKeyboard::Shared
{
    std::mutex mutex;
    std::condition_variable opened;
    UMockdevTestbed* testbed = nullptr;
    KeyboardModel model;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    bool unplugged = false;
    bool stallSend = false;
    bool stallAnswer = false;
    bool loseAcknowledgement = false;
    int transfers = 0;

    [[nodiscard]] std::chrono::milliseconds now() const
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - start);
    }
};

// One hidraw node. Its file is a pseudo terminal, because a client polls it for real: every waiting
// input report is one byte in the terminal, so that the client wakes up, and handed out by read().
class EmulatedKeyboard::Node
{
public:
    Node(Shared& sharedState, std::uint16_t productId, std::size_t number,
         const EmulatedInterface& interface);
    ~Node() { g_object_unref(handler); }

    void setPermitted(bool permitted);
    void hangUp();
    [[nodiscard]] bool wasOpened() const { return opened; }

private:
    // The outcome of a system call: a negative count means failure with this errno.
    struct Outcome
    {
        long count = -1;
        int error = EPIPE; // what a request stalled by the keyboard ends in
    };

    static gboolean onIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, Node* node);
    static gboolean onWrite(UMockdevIoctlBase*, UMockdevIoctlClient* client, Node* node);
    static gboolean onRead(UMockdevIoctlBase*, UMockdevIoctlClient* client, Node* node);
    static void onConnected(UMockdevIoctlBase*, UMockdevIoctlClient* client, Node* node);

    void addNode(std::uint16_t productId, bool markedByRule);
    void announceTerminalNumber();
    [[nodiscard]] Outcome ioctl(unsigned long request, UMockdevIoctlData* data);
    [[nodiscard]] Outcome sendFeature(std::span<const std::uint8_t> buffer);
    [[nodiscard]] Outcome getFeature(std::span<std::uint8_t> buffer);
    [[nodiscard]] Outcome write(std::span<const std::uint8_t> buffer);
    [[nodiscard]] Outcome read(std::span<std::uint8_t> buffer);
    [[nodiscard]] bool takeWakeUp();
    [[nodiscard]] int terminal() const;

    Shared& shared;
    Bytes descriptor;
    Role role;
    std::string nodeName;  // "hidraw1"
    std::string nodePath;  // "/dev/hidraw1"
    std::string hidDevice; // below the testbed's sys directory
    UMockdevIoctlBase* handler = nullptr;
    std::deque<Report> unread;
    bool opened = false;
};

EmulatedKeyboard::Node::Node(Shared& sharedState, std::uint16_t productId, std::size_t number,
                             const EmulatedInterface& interface)
    : shared(sharedState),
      descriptor(interface.reportDescriptor),
      role(roleOf(interface.reportDescriptor)),
      nodeName("hidraw" + std::to_string(number)),
      nodePath("/dev/" + nodeName),
      handler(umockdev_ioctl_base_new())
{
    const std::string usbInterface = usbDevice + "/1-2:1." + std::to_string(number);
    const std::string interfaceNumber = hexText(static_cast<unsigned>(number), 2);
    hidDevice = usbInterface + "/0003:0C45:" + hexText(productId, 4) + ".00" + interfaceNumber;
    addToTestbed(shared.testbed, "P: " + usbInterface +
                                     "\nE: DEVTYPE=usb_interface\nE: DRIVER=usbhid\n"
                                     "E: SUBSYSTEM=usb\nA: bInterfaceNumber=" +
                                     interfaceNumber + "\\n\n\n");
    addNode(productId, interface.markedByRule);

    g_signal_connect(handler, "handle-ioctl", G_CALLBACK(onIoctl), this);
    g_signal_connect(handler, "handle-write", G_CALLBACK(onWrite), this);
    g_signal_connect(handler, "handle-read", G_CALLBACK(onRead), this);
    g_signal_connect(handler, "client-connected", G_CALLBACK(onConnected), this);
    umockdev_testbed_attach_ioctl(shared.testbed, nodePath.c_str(), handler, nullptr);
    // A child that kept the terminal open would never see it hang up.
    fcntl(terminal(), F_SETFD, FD_CLOEXEC);
    announceTerminalNumber();
}

void EmulatedKeyboard::Node::addNode(std::uint16_t productId, bool markedByRule)
{
    addToTestbed(shared.testbed, "P: " + hidDevice + "\nE: DRIVER=hid-generic\nE: HID_ID=0003:" +
                                     hexText(0x0C45, 8) + ":" + hexText(productId, 8) +
                                     "\nE: HID_NAME=ZEROLT TAVIK Pro\nE: HID_UNIQ=\n"
                                     "E: SUBSYSTEM=hid\nH: report_descriptor=" +
                                     hexText(descriptor) + "\n\n");
    addToTestbed(shared.testbed,
                 "P: " + hidDevice + "/hidraw/" + nodeName + "\nN: " + nodeName + "\nE: DEVNAME=" +
                     nodePath + "\nE: MAJOR=244\nE: MINOR=0\nE: SUBSYSTEM=hidraw\n" +
                     (markedByRule ? "E: TAVIK_CENTER_INTERFACE=yes\n" : "") +
                     "L: device=../../../" + fs::path(hidDevice).filename().string() + "\n\n");
}

// hidapi looks an open node up by its device number, which is the terminal's.
void EmulatedKeyboard::Node::announceTerminalNumber()
{
    struct stat status
    {
    };
    std::array<char, 64> name{};
    if (ptsname_r(terminal(), name.data(), name.size()) != 0 || stat(name.data(), &status) != 0)
        abandon("no terminal for " + nodePath);
    const std::string node = "/sys" + hidDevice + "/hidraw/" + nodeName;
    const auto majorNumber = static_cast<int>(major(status.st_rdev));
    const auto minorNumber = static_cast<int>(minor(status.st_rdev));
    umockdev_testbed_set_property_int(shared.testbed, node.c_str(), "MAJOR", majorNumber);
    umockdev_testbed_set_property_int(shared.testbed, node.c_str(), "MINOR", minorNumber);
    std::unique_ptr<char, decltype(&g_free)> root(umockdev_testbed_get_root_dir(shared.testbed),
                                                  &g_free);
    const fs::path numbers = std::string(root.get()) + "/sys/dev/char";
    fs::create_directories(numbers);
    fs::create_symlink("../.." + hidDevice + "/hidraw/" + nodeName,
                       numbers / (std::to_string(majorNumber) + ":" + std::to_string(minorNumber)));
}

int EmulatedKeyboard::Node::terminal() const
{
    return umockdev_testbed_get_dev_fd(shared.testbed, nodePath.c_str());
}

void EmulatedKeyboard::Node::setPermitted(bool permitted)
{
    std::array<char, 64> name{};
    if (ptsname_r(terminal(), name.data(), name.size()) != 0 ||
        chmod(name.data(), permitted ? 0666 : 0) != 0)
        abandon("the permissions of " + nodePath + " cannot be set");
}

// The file descriptor keeps its number, because umockdev knows it.
void EmulatedKeyboard::Node::hangUp()
{
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup3(nothing, terminal(), O_CLOEXEC);
    close(nothing);
}

gboolean EmulatedKeyboard::Node::onIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client,
                                         Node* node)
{
    const unsigned long request = umockdev_ioctl_client_get_request(client);
    if (_IOC_TYPE(request) != 'H')
        return FALSE; // what terminals are asked
    UMockdevIoctlData* data = umockdev_ioctl_data_resolve(umockdev_ioctl_client_get_arg(client), 0,
                                                          _IOC_SIZE(request), nullptr);
    const Outcome outcome = node->ioctl(request, data);
    umockdev_ioctl_client_complete(client, outcome.count, outcome.count < 0 ? outcome.error : 0);
    return TRUE;
}

gboolean EmulatedKeyboard::Node::onWrite(UMockdevIoctlBase*, UMockdevIoctlClient* client,
                                         Node* node)
{
    const UMockdevIoctlData* data = umockdev_ioctl_client_get_arg(client);
    const Outcome outcome = node->write({data->data, static_cast<std::size_t>(data->data_len)});
    umockdev_ioctl_client_complete(client, outcome.count, outcome.count < 0 ? outcome.error : 0);
    return TRUE;
}

gboolean EmulatedKeyboard::Node::onRead(UMockdevIoctlBase*, UMockdevIoctlClient* client, Node* node)
{
    UMockdevIoctlData* data = umockdev_ioctl_client_get_arg(client);
    const Outcome outcome = node->read({data->data, static_cast<std::size_t>(data->data_len)});
    umockdev_ioctl_client_complete(client, outcome.count, outcome.count < 0 ? outcome.error : 0);
    return TRUE;
}

// Nothing that came before it was opened is delivered.
void EmulatedKeyboard::Node::onConnected(UMockdevIoctlBase*, UMockdevIoctlClient*, Node* node)
{
    const std::lock_guard lock(node->shared.mutex);
    node->unread.clear();
    while (node->takeWakeUp()) {
    }
    node->opened = true;
    node->shared.opened.notify_all();
}

EmulatedKeyboard::Node::Outcome EmulatedKeyboard::Node::ioctl(unsigned long request,
                                                              UMockdevIoctlData* data)
{
    const std::lock_guard lock(shared.mutex);
    if (shared.unplugged)
        return {-1, ENODEV};
    const std::size_t length = _IOC_SIZE(request);
    if (data == nullptr)
        return {-1, EINVAL};
    if (request == HIDIOCGRDESCSIZE) {
        const int size = static_cast<int>(descriptor.size());
        std::memcpy(data->data, &size, sizeof size);
        return {0, 0};
    }
    if (request == HIDIOCGRDESC) {
        std::ranges::copy(descriptor, data->data + offsetof(hidraw_report_descriptor, value));
        return {0, 0};
    }
    if (length < shortestTransfer)
        return {-1, EINVAL};
    if (request == HIDIOCSFEATURE(length))
        return sendFeature({data->data, length});
    if (request == HIDIOCGFEATURE(length))
        return getFeature({data->data, length});
    return {-1, EINVAL};
}

EmulatedKeyboard::Node::Outcome
EmulatedKeyboard::Node::sendFeature(std::span<const std::uint8_t> buffer)
{
    ++shared.transfers;
    if (role != Role::Configuration || buffer[0] != 0)
        return {};
    if (std::exchange(shared.stallSend, false)) {
        shared.model.reportLost(buffer.subspan(1));
        return {};
    }
    shared.model.setFeature(buffer.subspan(1), shared.now());
    return {static_cast<long>(buffer.size()), 0};
}

EmulatedKeyboard::Node::Outcome EmulatedKeyboard::Node::getFeature(std::span<std::uint8_t> buffer)
{
    ++shared.transfers;
    if (role != Role::Configuration || buffer[0] != 0)
        return {};
    if (std::exchange(shared.stallAnswer, false)) {
        shared.model.answerLost();
        return {};
    }
    const Report answer = shared.model.getFeature(shared.now());
    const std::size_t length = std::min(buffer.size(), featureTransfer);
    std::copy_n(answer.begin(), length - 1, buffer.begin() + 1);
    return {static_cast<long>(length), 0};
}

EmulatedKeyboard::Node::Outcome EmulatedKeyboard::Node::write(std::span<const std::uint8_t> buffer)
{
    const std::lock_guard lock(shared.mutex);
    if (shared.unplugged)
        return {-1, ENODEV};
    if (buffer.size() < shortestTransfer || buffer.size() > longestTransfer)
        return {-1, EINVAL};
    ++shared.transfers;
    if (role != Role::Screen || buffer[0] != 0)
        return {};
    const std::optional<Report> acknowledgement = shared.model.screenReport(buffer.subspan(1));
    if (std::exchange(shared.loseAcknowledgement, false)) {
        shared.model.answerLost();
    } else if (acknowledgement && unread.size() < unreadReportLimit) {
        unread.push_back(*acknowledgement);
        if (::write(terminal(), "!", 1) != 1)
            abandon("the reader of " + nodePath + " cannot be woken up");
    }
    return {static_cast<long>(buffer.size()), 0};
}

// One report a read; what does not fit is lost.
EmulatedKeyboard::Node::Outcome EmulatedKeyboard::Node::read(std::span<std::uint8_t> buffer)
{
    const std::lock_guard lock(shared.mutex);
    if (shared.unplugged)
        return {-1, EIO};
    if (unread.empty() || !takeWakeUp())
        return {-1, EAGAIN};
    ++shared.transfers;
    const Report report = unread.front();
    unread.pop_front();
    const std::size_t length = std::min(buffer.size(), report.size());
    std::copy_n(report.begin(), length, buffer.begin());
    return {static_cast<long>(length), 0};
}

// The terminal's other end is opened for the moment only: whoever lists its holders sees clients.
bool EmulatedKeyboard::Node::takeWakeUp()
{
    std::array<char, 64> name{};
    if (ptsname_r(terminal(), name.data(), name.size()) != 0)
        return false;
    const int end = open(name.data(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    char byte = 0;
    const bool taken = end >= 0 && ::read(end, &byte, 1) == 1;
    if (end >= 0)
        close(end);
    return taken;
}

EmulatedKeyboard::EmulatedKeyboard(const EmulatedDevice& device)
    : shared(std::make_unique<Shared>())
{
    shared->testbed = umockdev_testbed_new();
    if (!device.interfaces.empty())
        addToTestbed(shared->testbed, usbDeviceText(device.productId));
    for (const EmulatedInterface& interface : device.interfaces) {
        nodes.push_back(std::make_unique<Node>(*shared, device.productId, nodes.size(), interface));
    }
    // Tests run programs as another user, who must reach the testbed and its sockets.
    std::unique_ptr<char, decltype(&g_free)> root(umockdev_testbed_get_root_dir(shared->testbed),
                                                  &g_free);
    fs::permissions(root.get(), fs::perms(0755));
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root.get())) {
        if (!entry.is_symlink())
            fs::permissions(entry.path(), fs::perms(entry.is_regular_file() ? 0644 : 0777));
    }
}

EmulatedKeyboard::~EmulatedKeyboard()
{
    g_object_unref(shared->testbed);
}

void EmulatedKeyboard::setPermitted(std::size_t interface, bool permitted)
{
    nodes.at(interface)->setPermitted(permitted);
}

void EmulatedKeyboard::unplug()
{
    const std::lock_guard lock(shared->mutex);
    shared->unplugged = true;
    shared->model.disconnect();
    for (const std::unique_ptr<Node>& node : nodes)
        node->hangUp();
    umockdev_testbed_remove_device(shared->testbed, ("/sys" + usbDevice).c_str());
    // The nodes and the links to them are left behind.
    std::unique_ptr<char, decltype(&g_free)> root(umockdev_testbed_get_root_dir(shared->testbed),
                                                  &g_free);
    for (std::size_t number = 0; number < nodes.size(); ++number) {
        const std::string name = "hidraw" + std::to_string(number);
        fs::remove(fs::path(root.get()) / "sys/class/hidraw" / name);
        fs::remove(fs::path(root.get()) / "dev" / name);
    }
}

void EmulatedKeyboard::stallNextSend()
{
    const std::lock_guard lock(shared->mutex);
    shared->stallSend = true;
}

void EmulatedKeyboard::stallNextAnswer()
{
    const std::lock_guard lock(shared->mutex);
    shared->stallAnswer = true;
}

void EmulatedKeyboard::loseNextAcknowledgement()
{
    const std::lock_guard lock(shared->mutex);
    shared->loseAcknowledgement = true;
}

void EmulatedKeyboard::withModel(const std::function<void(KeyboardModel&)>& use)
{
    const std::lock_guard lock(shared->mutex);
    use(shared->model);
}

std::string EmulatedKeyboard::violations()
{
    std::string lines;
    withModel([&](const KeyboardModel& model) {
        for (const std::string& text : model.violations())
            lines += text + '\n';
    });
    return lines;
}

int EmulatedKeyboard::transfers()
{
    const std::lock_guard lock(shared->mutex);
    return shared->transfers;
}

bool EmulatedKeyboard::waitUntilOpened(std::size_t interface, std::chrono::milliseconds timeout)
{
    std::unique_lock lock(shared->mutex);
    return shared->opened.wait_for(lock, timeout, [&] { return nodes.at(interface)->wasOpened(); });
}

} // namespace tavik::tests
