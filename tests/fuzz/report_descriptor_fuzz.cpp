// SPDX-License-Identifier: MIT
#include "doctor/report_descriptor.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/system/report_descriptors.h"

namespace tavik::tests {

namespace {

QByteArray text(const Bytes& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())};
}

std::size_t itemSize(std::uint8_t prefix)
{
    return std::size_t{1} + ((prefix & 3) == 3 ? 4 : prefix & 3);
}

Bytes withItem(Bytes descriptor, std::size_t place, const Bytes& item)
{
    descriptor.insert(descriptor.begin() + static_cast<std::ptrdiff_t>(place), item.begin(),
                      item.end());
    return descriptor;
}

} // namespace

QByteArrayList seeds()
{
    return {text(featureDescriptor(0xFF13)),
            text(screenDescriptor(0xFF68)),
            text(joined(screenDescriptor(0xFF67), featureDescriptor(0xFF13))),
            text(joined(featureDescriptor(0xFF13), typingDescriptor())),
            text(mediaDescriptor()),
            text({0x06, 0x13, 0xFF, 0xA4, 0x06, 0x00, 0xFF, 0xB4, 0x0B, 0x01, 0x00, 0x13,
                  0xFF, 0x19, 0x01, 0x29, 0x02, 0xA1, 0x01, 0xA1, 0x02, 0xC0, 0xC0})};
}

void check(const QByteArray& input)
{
    // Without the byte behind its end that a QByteArray has.
    const Bytes descriptor(input.begin(), input.end());
    const InterfaceKind kind = interfaceKind(descriptor);
    if (kind == InterfaceKind::Other)
        return;
    TAVIK_HOLDS(descriptor.size() <= largestReportDescriptor);
    const bool isFull = descriptor.size() + 2 > largestReportDescriptor;

    // It is whole items, as many collections closed as opened; one that is ours stays so with an
    // item that says nothing of pages, and ceases to be with any page of keys, wherever it stands.
    int depth = 0;
    std::size_t place = 0;
    while (place < descriptor.size()) {
        TAVIK_HOLDS(interfaceKind(withItem(descriptor, place, {0x05, 0x07})) ==
                    InterfaceKind::Other);
        TAVIK_HOLDS(isFull || interfaceKind(withItem(descriptor, place, {0x15, 0x00})) == kind);
        const std::uint8_t tag = descriptor[place] & 0xFC;
        depth += tag == 0xA0 ? 1 : tag == 0xC0 ? -1 : 0;
        TAVIK_HOLDS(depth >= 0);
        place += itemSize(descriptor[place]);
    }
    TAVIK_HOLDS(depth == 0 && place == descriptor.size());
}

} // namespace tavik::tests
