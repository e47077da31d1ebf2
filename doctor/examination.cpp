// SPDX-License-Identifier: MIT
#include "doctor/examination.h"

#include "device/keyboard_identity.h"
#include "doctor/usb_nodes.h"

#include <hidapi.h>

#include <algorithm>
#include <memory>
#include <unistd.h>

namespace tavik::doctor {

namespace {

constexpr std::uint16_t firstVendorPage = 0xFF00;
constexpr std::uint16_t genericDesktopPage = 0x0001;
constexpr std::uint16_t keyboardUsage = 0x0006;

// One collection of an interface; an interface with several is listed as often.
struct ListedCollection
{
    std::string path;
    std::uint16_t productId = 0;
    std::uint16_t usagePage = 0;
    std::uint16_t usage = 0;
};

using Listing = std::vector<ListedCollection>;

struct ListRelease
{
    void operator()(hid_device_info* list) const { hid_free_enumeration(list); }
};

// Everything of this maker.
Listing listCollections()
{
    const std::unique_ptr<hid_device_info, ListRelease> list(hid_enumerate(keyboardVendorId, 0));
    Listing listing;
    for (const hid_device_info* entry = list.get(); entry != nullptr; entry = entry->next)
        listing.push_back({entry->path, entry->product_id, entry->usage_page, entry->usage});
    return listing;
}

bool isKeyboardProduct(std::uint16_t productId)
{
    return std::ranges::find(keyboardProductIds, productId) != keyboardProductIds.end();
}

// Receivers and other models come under product ids of their own; what types counts as one.
std::optional<DeviceId> findKeyboard(const Listing& listing)
{
    const auto own = std::ranges::find_if(listing, isKeyboardProduct, &ListedCollection::productId);
    if (own != listing.end())
        return DeviceId{keyboardVendorId, own->productId};
    const auto other = std::ranges::find_if(listing, [](const ListedCollection& collection) {
        return collection.usagePage == genericDesktopPage && collection.usage == keyboardUsage;
    });
    if (other == listing.end())
        return std::nullopt;
    return DeviceId{keyboardVendorId, other->productId};
}

// The nodes with this usage page, in the order in which the program tries them.
std::vector<std::string> pathsOf(const Listing& listing, std::uint16_t usagePage)
{
    std::vector<std::string> paths;
    for (const std::uint16_t productId : keyboardProductIds) {
        for (const ListedCollection& collection : listing) {
            if (collection.productId == productId && collection.usagePage == usagePage)
                paths.push_back(collection.path);
        }
    }
    return paths;
}

// The kernel makes one node of all collections of an interface.
bool isSharedWithKeys(const Listing& listing, const std::string& path)
{
    return std::ranges::any_of(listing, [&](const ListedCollection& collection) {
        return collection.path == path && collection.usagePage < firstVendorPage;
    });
}

// The first node that opens and that nobody else has, else the first that opens, else the first: of
// two keyboards one may be free.
std::optional<Node> findNode(const Listing& listing, std::uint16_t usagePage)
{
    std::optional<Node> found;
    for (const std::string& path : pathsOf(listing, usagePage)) {
        Node node = examineNode(path);
        node.sharedWithKeys = isSharedWithKeys(listing, path);
        if (node.error == 0 && !isInUse(node)) {
            if (found && found->error == 0)
                node.passedOver = found->path;
            return node;
        }
        if (!found || (found->error != 0 && node.error == 0))
            found = std::move(node);
    }
    return found;
}

bool isRuleInstalled()
{
    const std::vector<std::filesystem::path> directories = udevRuleDirectories();
    return std::ranges::any_of(directories, [](const std::filesystem::path& directory) {
        std::error_code error; // an unreadable directory holds no rule for us
        return std::filesystem::exists(directory / ruleFileName, error);
    });
}

} // namespace

Findings examine()
{
    Findings findings;
    findings.runAsRoot = geteuid() == 0;
    findings.ruleInstalled = isRuleInstalled();
    findings.holdersOfGoneNodes = holdersOfGoneNodes();
    findings.hidapiWorks = hid_init() == 0;
    if (!findings.hidapiWorks)
        return findings;
    const Listing listing = listCollections();
    findings.keyboard = findKeyboard(listing);
    findings.configuration = findNode(listing, configurationUsagePage);
    for (const std::uint16_t usagePage : screenUsagePages) {
        if (!findings.screen)
            findings.screen = findNode(listing, usagePage);
    }
    return findings;
}

} // namespace tavik::doctor
