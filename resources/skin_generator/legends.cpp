#include "resources/skin_generator/legends.h"

#include <algorithm>
#include <array>

namespace tavik {

namespace {

struct Print
{
    uint usage;
    const char* text;
    const char* shifted;
};

constexpr uint usageA = 0x04;
constexpr uint usageZ = 0x1D;
constexpr uint usageF1 = 0x3A;
constexpr uint usageF12 = 0x45;
constexpr uint usageDelete = 0x4C;
constexpr uint usageFn = 0xAF;

constexpr std::array prints{
    Print{0x1E, "1", "!"},        Print{0x1F, "2", "@"},    Print{0x20, "3", "#"},
    Print{0x21, "4", "$"},        Print{0x22, "5", "%"},    Print{0x23, "6", "^"},
    Print{0x24, "7", "&"},        Print{0x25, "8", "*"},    Print{0x26, "9", "("},
    Print{0x27, "0", ")"},        Print{0x28, "Enter", ""}, Print{0x29, "Esc", ""},
    Print{0x2A, "Backspace", ""}, Print{0x2B, "Tab", ""},   Print{0x2C, "", ""},
    Print{0x2D, "-", "_"},        Print{0x2E, "=", "+"},    Print{0x2F, "[", "{"},
    Print{0x30, "]", "}"},        Print{0x31, "\\", "|"},   Print{0x33, ";", ":"},
    Print{0x34, "'", "\""},       Print{0x35, "`", "~"},    Print{0x36, ",", "<"},
    Print{0x37, ".", ">"},        Print{0x38, "/", "?"},    Print{0x39, "Caps", ""},
    Print{0x4A, "Home", ""},      Print{0x4B, "PgUp", ""},  Print{usageDelete, "Del", ""},
    Print{0x4D, "End", ""},       Print{0x4E, "PgDn", ""},  Print{usageFn, "Fn", ""},
    Print{0xE0, "Ctrl", ""},      Print{0xE1, "Shift", ""}, Print{0xE2, "Alt", ""},
    Print{0xE3, "Win", ""},       Print{0xE4, "Ctrl", ""},  Print{0xE5, "Shift", ""},
    Print{0xE6, "Alt", ""},
};

struct Arrow
{
    uint usage;
    int degrees;
};

constexpr std::array arrows{Arrow{0x4F, 90}, Arrow{0x50, 270}, Arrow{0x51, 180}, Arrow{0x52, 0}};

} // namespace

Legend legendOf(uint usage)
{
    Legend legend;
    if (usage >= usageA && usage <= usageZ) {
        legend.text = QChar(static_cast<char16_t>(u'A' + (usage - usageA)));
        return legend;
    }
    if (usage >= usageF1 && usage <= usageF12) {
        legend.text = QStringLiteral("F%1").arg(usage - usageF1 + 1);
        return legend;
    }
    const auto arrow = std::find_if(arrows.begin(), arrows.end(),
                                    [usage](const Arrow& a) { return a.usage == usage; });
    if (arrow != arrows.end()) {
        legend.arrow = arrow->degrees;
        return legend;
    }
    const auto print = std::find_if(prints.begin(), prints.end(),
                                    [usage](const Print& p) { return p.usage == usage; });
    if (print == prints.end())
        qFatal("No legend for usage 0x%02x", usage);
    legend.text = QLatin1String(print->text);
    legend.shifted = QLatin1String(print->shifted);
    legend.fn = usage == usageFn;
    if (usage == usageDelete)
        legend.fnShape = QStringLiteral("screen_hint"); // Fn + Delete changes what the screen shows
    return legend;
}

} // namespace tavik
