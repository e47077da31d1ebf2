// SPDX-License-Identifier: MIT
#include "model/key_names.h"

#include <QStringView>

#include <algorithm>
#include <numeric>

namespace tavik {

namespace {

struct CodeName
{
    std::uint8_t code;
    QStringView name;
};

// In the order of the usages, modifiers and Fn last; the first match counts.
constexpr std::array keyNames{
    CodeName{0x04, u"A"},
    CodeName{0x05, u"B"},
    CodeName{0x06, u"C"},
    CodeName{0x07, u"D"},
    CodeName{0x08, u"E"},
    CodeName{0x09, u"F"},
    CodeName{0x0A, u"G"},
    CodeName{0x0B, u"H"},
    CodeName{0x0C, u"I"},
    CodeName{0x0D, u"J"},
    CodeName{0x0E, u"K"},
    CodeName{0x0F, u"L"},
    CodeName{0x10, u"M"},
    CodeName{0x11, u"N"},
    CodeName{0x12, u"O"},
    CodeName{0x13, u"P"},
    CodeName{0x14, u"Q"},
    CodeName{0x15, u"R"},
    CodeName{0x16, u"S"},
    CodeName{0x17, u"T"},
    CodeName{0x18, u"U"},
    CodeName{0x19, u"V"},
    CodeName{0x1A, u"W"},
    CodeName{0x1B, u"X"},
    CodeName{0x1C, u"Y"},
    CodeName{0x1D, u"Z"},
    CodeName{0x1E, u"1"},
    CodeName{0x1F, u"2"},
    CodeName{0x20, u"3"},
    CodeName{0x21, u"4"},
    CodeName{0x22, u"5"},
    CodeName{0x23, u"6"},
    CodeName{0x24, u"7"},
    CodeName{0x25, u"8"},
    CodeName{0x26, u"9"},
    CodeName{0x27, u"0"},
    CodeName{0x28, u"Enter"},
    CodeName{0x29, u"Esc"},
    CodeName{0x2A, u"Backspace"},
    CodeName{0x2B, u"Tab"},
    CodeName{0x2C, u"Space"},
    CodeName{0x2D, u"-"},
    CodeName{0x2E, u"="},
    CodeName{0x2F, u"["},
    CodeName{0x30, u"]"},
    CodeName{0x31, u"\\"},
    CodeName{0x32, u"#"},
    CodeName{0x33, u";"},
    CodeName{0x34, u"'"},
    CodeName{0x35, u"`"},
    CodeName{0x36, u","},
    CodeName{0x37, u"."},
    CodeName{0x38, u"/"},
    CodeName{0x39, u"Caps Lock"},
    CodeName{0x3A, u"F1"},
    CodeName{0x3B, u"F2"},
    CodeName{0x3C, u"F3"},
    CodeName{0x3D, u"F4"},
    CodeName{0x3E, u"F5"},
    CodeName{0x3F, u"F6"},
    CodeName{0x40, u"F7"},
    CodeName{0x41, u"F8"},
    CodeName{0x42, u"F9"},
    CodeName{0x43, u"F10"},
    CodeName{0x44, u"F11"},
    CodeName{0x45, u"F12"},
    CodeName{0x46, u"Print Screen"},
    CodeName{0x47, u"Scroll Lock"},
    CodeName{0x48, u"Pause"},
    CodeName{0x49, u"Insert"},
    CodeName{0x4A, u"Home"},
    CodeName{0x4B, u"PgUp"},
    CodeName{0x4C, u"Delete"},
    CodeName{0x4D, u"End"},
    CodeName{0x4E, u"PgDn"},
    CodeName{0x4F, u"→"},
    CodeName{0x50, u"←"},
    CodeName{0x51, u"↓"},
    CodeName{0x52, u"↑"},
    CodeName{0x53, u"Num Lock"},
    CodeName{0x54, u"NP /"},
    CodeName{0x55, u"NP *"},
    CodeName{0x56, u"NP -"},
    CodeName{0x57, u"NP +"},
    CodeName{0x58, u"NP Enter"},
    CodeName{0x59, u"NP 1"},
    CodeName{0x5A, u"NP 2"},
    CodeName{0x5B, u"NP 3"},
    CodeName{0x5C, u"NP 4"},
    CodeName{0x5D, u"NP 5"},
    CodeName{0x5E, u"NP 6"},
    CodeName{0x5F, u"NP 7"},
    CodeName{0x60, u"NP 8"},
    CodeName{0x61, u"NP 9"},
    CodeName{0x62, u"NP 0"},
    CodeName{0x63, u"NP ."},
    CodeName{0xE0, u"L Ctrl"},
    CodeName{0xE1, u"L Shift"},
    CodeName{0xE2, u"L Alt"},
    CodeName{0xE3, u"L Win"},
    CodeName{0xE4, u"R Ctrl"},
    CodeName{0xE5, u"R Shift"},
    CodeName{0xE6, u"R Alt"},
    CodeName{0xE7, u"R Win"},
    CodeName{0xAF, u"Fn"},
};
static_assert(keyNames.size() == 105);

constexpr std::array consumerCaptions{
    CodeName{0xB5, u"Next Track"},  CodeName{0xB6, u"Previous Track"},
    CodeName{0xB7, u"Stop"},        CodeName{0xCD, u"Play / Pause"},
    CodeName{0xE2, u"Mute"},        CodeName{0xE9, u"Volume Up"},
    CodeName{0xEA, u"Volume Down"}, CodeName{0x92, u"Calculator"},
    CodeName{0x9C, u"Mail"},        CodeName{0x83, u"Sleep"},
    CodeName{0x82, u"Reset"},       CodeName{0x81, u"Power"},
    CodeName{0x23, u"Home"},        CodeName{0x27, u"Refresh"},
    CodeName{0x8A, u"Email"},
};

constexpr std::uint8_t leftModifiers = 0x0F;

// The first parameter whose caption is "Disabled". The dialog's "Disabled" stores 0 instead, and
// what the keyboard makes of other values is unknown, so those two keep their different captions.
constexpr std::uint8_t specialDisabled = 3;

// The name of a code in one of the tables above, or the fallback text with the code as two
// hexadecimal digits in the place of its %1.
template <std::size_t Size>
QString nameIn(const std::array<CodeName, Size>& table, std::uint8_t code, const QString& fallback)
{
    const auto entry = std::ranges::find(table, code, &CodeName::code);
    if (entry != table.end())
        return entry->name.toString();
    return fallback.arg(int{code}, 2, 16, QLatin1Char('0'));
}

// Only left-hand modifiers add a word. A lone modifier has no usage; its mask is then named as if
// it were one, so a lone Right Ctrl (0x10) reads "M".
QString keyboardLabel(const KeyAction& action)
{
    QString label;
    for (const KeyModifier& modifier : keyModifiers) {
        if (action.p1 & modifier.mask & leftModifiers)
            label += modifier.text.toString() + QLatin1Char('+');
    }
    return label + keyName(action.p2 == 0 ? action.p1 : action.p2);
}

QString keyboardWords(const KeyAction& action)
{
    QStringList words;
    for (const KeyModifier& modifier : keyModifiers) {
        if (action.p1 & modifier.mask)
            words += modifier.text.toString();
    }
    if (action.p2 != 0 || words.isEmpty())
        words += keyName(action.p2);
    return words.join(QLatin1Char('+'));
}

QString mouseWords(const KeyAction& action)
{
    for (const MouseChoice& choice : mouseChoices) {
        if (mouseKeyAction(choice.value) == action)
            return choice.text.toString();
    }
    return QStringLiteral("Mouse 0x%1%2")
        .arg(int{action.p1}, 2, 16, QLatin1Char('0'))
        .arg(int{action.p2}, 2, 16, QLatin1Char('0'));
}

QString macroLabel(std::uint8_t macroIndex, const QList<MacroRecord>& macros)
{
    if (macroIndex < macros.size())
        return macros.at(macroIndex).name;
    return QStringLiteral("Macro %1").arg(int{macroIndex});
}

} // namespace

QString keyName(std::uint8_t code)
{
    return nameIn(keyNames, code, QStringLiteral("0x%1"));
}

QString keyActionLabel(const KeyAction& action, const QList<MacroRecord>& macros)
{
    switch (static_cast<KeyActionPage>(action.page)) {
    case KeyActionPage::Default:
        return QString();
    case KeyActionPage::Mouse:
        return QStringLiteral("Mouse");
    case KeyActionPage::Keyboard:
        return keyboardLabel(action);
    case KeyActionPage::Consumer:
        return nameIn(consumerCaptions, action.p1, QStringLiteral("Consumer 0x%1"));
    case KeyActionPage::Special:
        return action.p1 == specialDisabled ? QStringLiteral("Disabled")
                                            : QStringLiteral("Special");
    case KeyActionPage::Macro:
        return macroLabel(action.p1, macros);
    case KeyActionPage::Extended:
        return QStringLiteral("Extended");
    }
    return QStringLiteral("Page %1").arg(int{action.page});
}

QString keyActionWords(const KeyAction& action, const QList<MacroRecord>& macros)
{
    if (action == disabledKeyAction())
        return QStringLiteral("Disabled");
    switch (static_cast<KeyActionPage>(action.page)) {
    case KeyActionPage::Default:
        return QStringLiteral("Default key");
    case KeyActionPage::Keyboard:
        return keyboardWords(action);
    case KeyActionPage::Mouse:
        return mouseWords(action);
    case KeyActionPage::Macro:
        return action.p1 < macros.size()
                   ? QStringLiteral("Macro \"%1\"").arg(macros.at(action.p1).name)
                   : macroLabel(action.p1, macros);
    default:
        return keyActionLabel(action, macros);
    }
}

const std::array<std::uint8_t, offeredKeyUsageCount>& offeredKeyUsages()
{
    static constexpr auto usages = [] {
        constexpr std::size_t plainKeyCount = 112;
        std::array<std::uint8_t, offeredKeyUsageCount> all{};
        std::iota(all.begin(), all.begin() + plainKeyCount, std::uint8_t{4});
        std::iota(all.begin() + plainKeyCount, all.end(), std::uint8_t{224});
        return all;
    }();
    static_assert(usages[111] == 115 && usages.back() == 231);
    return usages;
}

} // namespace tavik
