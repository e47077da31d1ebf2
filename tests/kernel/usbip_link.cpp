// SPDX-License-Identifier: MIT
#include "tests/kernel/usbip_link.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <fstream>
#include <sys/socket.h>
#include <unistd.h>

namespace tavik::tests {

// All numbers travel most significant byte first; the setup packet is as it is on the wire.
struct UsbipSubmit
{
    std::uint32_t flags;
    std::uint32_t length;
    std::uint32_t startFrame;
    std::uint32_t packetCount;
    std::uint32_t interval;
    std::array<std::uint8_t, 8> setup;
};

struct UsbipReturn
{
    std::uint32_t status;
    std::uint32_t transferred;
    std::uint32_t startFrame;
    std::uint32_t packetCount;
    std::uint32_t errorCount;
    std::array<std::uint8_t, 8> unused;
};

struct UsbipHeader
{
    std::uint32_t command;
    std::uint32_t sequenceNumber;
    std::uint32_t deviceId;
    std::uint32_t direction; // 1 is towards the host
    std::uint32_t endpoint;
    union {
        UsbipSubmit submit;
        UsbipReturn result;
        std::uint32_t victim; // sequence number of the transfer to take back
    };
};
static_assert(sizeof(UsbipHeader) == 48);

namespace {

constexpr const char* attachFile = "/sys/devices/platform/vhci_hcd.0/attach";
constexpr int port = 0;
constexpr std::uint32_t deviceId = 1U << 16 | 2U; // bus 1, device 2
constexpr int fullSpeed = 2;

constexpr std::uint32_t commandSubmit = 1;
constexpr std::uint32_t commandUnlink = 2;
constexpr std::uint32_t returnSubmit = 3;
constexpr std::uint32_t returnUnlink = 4;

constexpr std::size_t longestTransfer = 65536;

std::uint16_t word(const std::array<std::uint8_t, 8>& setup, std::size_t at)
{
    return static_cast<std::uint16_t>(setup[at] | setup[at + 1] << 8);
}

UsbSetup decodeSetup(const std::array<std::uint8_t, 8>& setup)
{
    return {setup[0], setup[1], word(setup, 2), word(setup, 4), word(setup, 6)};
}

} // namespace

UsbipLink::~UsbipLink()
{
    unplug();
}

bool UsbipLink::plug()
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return false;
    std::ofstream attach(attachFile);
    attach << port << ' ' << ends[0] << ' ' << deviceId << ' ' << fullSpeed << std::endl;
    close(ends[0]); // the kernel holds its end by itself
    if (!attach) {
        close(ends[1]);
        return false;
    }
    kernelSocket = ends[1];
    return true;
}

void UsbipLink::unplug()
{
    if (!isPlugged())
        return;
    close(kernelSocket);
    kernelSocket = -1;
    waitingInputs.clear();
    keyboard.disconnect();
}

// A socket that fails is a plug that was pulled from the kernel's side.
bool UsbipLink::receive(void* bytes, std::size_t count)
{
    if (isPlugged() && recv(kernelSocket, bytes, count, MSG_WAITALL) == static_cast<ssize_t>(count))
        return true;
    unplug();
    return false;
}

void UsbipLink::send(const void* bytes, std::size_t count)
{
    const auto* next = static_cast<const std::uint8_t*>(bytes);
    while (isPlugged() && count > 0) {
        const ssize_t sent = ::send(kernelSocket, next, count, MSG_NOSIGNAL);
        if (sent <= 0)
            return unplug();
        next += sent;
        count -= static_cast<std::size_t>(sent);
    }
}

void UsbipLink::serve()
{
    UsbipHeader request{};
    if (!receive(&request, sizeof request))
        return;
    if (ntohl(request.command) == commandUnlink)
        unlink(request);
    else
        submit(request);
    deliverInput();
}

void UsbipLink::submit(const UsbipHeader& request)
{
    const auto endpoint = static_cast<std::uint8_t>(ntohl(request.endpoint));
    const bool towardsHost = ntohl(request.direction) == 1;
    const std::size_t length = ntohl(request.submit.length);
    if (ntohl(request.command) != commandSubmit || length > longestTransfer)
        return unplug();

    std::vector<std::uint8_t> data(towardsHost ? 0 : length);
    if (!data.empty() && !receive(data.data(), data.size()))
        return;
    if (endpoint == 0)
        conclude(request, keyboard.control(decodeSetup(request.submit.setup), data, now()));
    else if (!towardsHost)
        conclude(request, keyboard.interruptOut(endpoint, data));
    else
        waitingInputs[endpoint].push_back(request.sequenceNumber);
}

void UsbipLink::conclude(const UsbipHeader& request, const UsbResult& result)
{
    using Outcome = UsbResult::Outcome;
    if (result.outcome == Outcome::Unplugged)
        return unplug();
    if (result.outcome == Outcome::Stalled)
        return reply(request.sequenceNumber, -EPIPE, 0, {});
    const bool towardsHost = ntohl(request.direction) == 1;
    const std::size_t transferred = towardsHost ? result.data.size() : ntohl(request.submit.length);
    reply(request.sequenceNumber, 0, transferred, result.data);
    if (result.outcome == Outcome::DoneThenUnplugged)
        unplug();
}

// Takes back a transfer that waits for input. One that was answered already is unknown here.
void UsbipLink::unlink(const UsbipHeader& request)
{
    int status = 0;
    for (auto& [endpoint, waiting] : waitingInputs) {
        if (std::erase(waiting, request.victim) > 0)
            status = -ECONNRESET;
    }
    UsbipHeader header{};
    header.command = htonl(returnUnlink);
    header.sequenceNumber = request.sequenceNumber;
    header.result.status = htonl(static_cast<std::uint32_t>(status));
    send(&header, sizeof header);
}

void UsbipLink::reply(std::uint32_t sequenceNumber, int status, std::size_t transferred,
                      std::span<const std::uint8_t> data)
{
    UsbipHeader header{};
    header.command = htonl(returnSubmit);
    header.sequenceNumber = sequenceNumber;
    header.result.status = htonl(static_cast<std::uint32_t>(status));
    header.result.transferred = htonl(static_cast<std::uint32_t>(transferred));
    send(&header, sizeof header);
    send(data.data(), data.size());
}

// Input reports go out as soon as the kernel waits for one.
void UsbipLink::deliverInput()
{
    for (auto& [endpoint, waiting] : waitingInputs) {
        while (!waiting.empty()) {
            const auto report = keyboard.takeInput(endpoint);
            if (!report)
                break;
            const std::uint32_t sequenceNumber = waiting.front();
            waiting.pop_front();
            reply(sequenceNumber, 0, report->size(), *report);
            if (!isPlugged())
                return;
        }
    }
}

std::chrono::milliseconds UsbipLink::now() const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
}

} // namespace tavik::tests
