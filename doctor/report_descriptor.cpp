// SPDX-License-Identifier: MIT
#include "doctor/report_descriptor.h"

#include "device/keyboard_identity.h"

#include <optional>
#include <vector>

namespace tavik {

namespace {

constexpr std::uint8_t longItem = 0xFE;
constexpr std::size_t pageStackLimit = 4; // as in the kernel
constexpr std::uint16_t firstVendorPage = 0xFF00;

// Prefix of a short item without its two bits of size.
enum class ItemTag : std::uint8_t {
    UsagePage = 0x04,
    Usage = 0x08,
    UsageMinimum = 0x18,
    UsageMaximum = 0x28,
    Input = 0x80,
    Output = 0x90,
    Collection = 0xA0,
    Push = 0xA4,
    Feature = 0xB0,
    Pop = 0xB4,
    EndCollection = 0xC0,
};

struct Item
{
    ItemTag tag;
    std::size_t dataSize; // 0, 1, 2 or 4
    std::uint32_t data;
};

// Follows the items of one descriptor. Every operation returns false when the interface cannot be
// one of ours.
class DescriptorReader
{
public:
    [[nodiscard]] bool take(const Item& item);
    [[nodiscard]] bool isComplete() const { return depth == 0; }
    [[nodiscard]] InterfaceKind kind() const { return found; }

private:
    [[nodiscard]] bool setPage(std::uint32_t page);
    [[nodiscard]] bool addUsage(const Item& item);
    [[nodiscard]] bool openCollection();
    [[nodiscard]] bool closeCollection();
    [[nodiscard]] bool pushPage();
    [[nodiscard]] bool popPage();

    std::uint32_t currentPage = 0;
    std::vector<std::uint32_t> pageStack;
    std::uint32_t pageOfFirstUsage = 0; // of the next collection; 0 when it names none
    bool usageSeen = false;
    std::size_t depth = 0;
    InterfaceKind found = InterfaceKind::Other;
};

bool isVendorPage(std::uint32_t page)
{
    return page >= firstVendorPage && page <= 0xFFFF;
}

bool DescriptorReader::take(const Item& item)
{
    switch (item.tag) {
    case ItemTag::UsagePage:
        return setPage(item.data);
    case ItemTag::Usage:
    case ItemTag::UsageMinimum:
    case ItemTag::UsageMaximum:
        return addUsage(item);
    case ItemTag::Push:
        return pushPage();
    case ItemTag::Pop:
        return popPage();
    case ItemTag::Collection:
        return openCollection();
    case ItemTag::EndCollection:
        return closeCollection();
    case ItemTag::Input:
    case ItemTag::Output:
    case ItemTag::Feature:
        return depth > 0 && isVendorPage(currentPage);
    }
    return true;
}

bool DescriptorReader::setPage(std::uint32_t page)
{
    currentPage = page;
    return isVendorPage(page);
}

// A usage of four bytes carries its own page in the upper two.
bool DescriptorReader::addUsage(const Item& item)
{
    const bool first = !usageSeen;
    usageSeen = true;
    if (item.dataSize < 4)
        return true;
    const std::uint32_t page = item.data >> 16;
    if (first)
        pageOfFirstUsage = page;
    return isVendorPage(page);
}

bool DescriptorReader::openCollection()
{
    const std::uint32_t page = pageOfFirstUsage != 0 ? pageOfFirstUsage : currentPage;
    if (depth++ > 0)
        return true;
    if (page == configurationUsagePage)
        found = InterfaceKind::Configuration;
    const bool isScreen = page == screenUsagePages.front() || page == screenUsagePages.back();
    if (isScreen && found == InterfaceKind::Other)
        found = InterfaceKind::Screen;
    return isVendorPage(page);
}

// What counts are the usages in front of an outermost collection, so they begin anew only here.
bool DescriptorReader::closeCollection()
{
    pageOfFirstUsage = 0;
    usageSeen = false;
    return depth-- > 0;
}

bool DescriptorReader::pushPage()
{
    pageStack.push_back(currentPage);
    return pageStack.size() <= pageStackLimit;
}

bool DescriptorReader::popPage()
{
    if (pageStack.empty())
        return false;
    currentPage = pageStack.back();
    pageStack.pop_back();
    return true;
}

// Takes the first item off the descriptor. Nothing when it is cut off or a long item, for which
// HID knows no use.
std::optional<Item> takeItem(std::span<const std::uint8_t>& descriptor)
{
    const std::uint8_t prefix = descriptor.front();
    if (prefix == longItem)
        return std::nullopt;
    const std::size_t dataSize = (prefix & 0x03) == 3 ? 4 : prefix & 0x03;
    Item item{static_cast<ItemTag>(prefix & 0xFC), dataSize, 0};
    if (descriptor.size() < 1 + item.dataSize)
        return std::nullopt;
    for (std::size_t byte = 0; byte < item.dataSize; ++byte)
        item.data |= static_cast<std::uint32_t>(descriptor[1 + byte]) << (8 * byte);
    descriptor = descriptor.subspan(1 + item.dataSize);
    return item;
}

} // namespace

InterfaceKind interfaceKind(std::span<const std::uint8_t> descriptor)
{
    if (descriptor.size() > largestReportDescriptor)
        return InterfaceKind::Other;
    DescriptorReader reader;
    while (!descriptor.empty()) {
        const std::optional<Item> item = takeItem(descriptor);
        if (!item || !reader.take(*item))
            return InterfaceKind::Other;
    }
    return reader.isComplete() ? reader.kind() : InterfaceKind::Other;
}

} // namespace tavik
