// SPDX-License-Identifier: MIT
#include "tavikctl/key_words.h"

#include "model/key_names.h"
#include "model/keyboard_layout.h"
#include "tavikctl/output.h"

#include <QRegularExpression>

#include <map>

namespace tavik {

namespace {

const QString macroPrefix = QStringLiteral("macro:");
constexpr std::uint8_t firstModifierUsage = 0xE0;
// For what lies under no key of this board.
const QString lightPrefix = QStringLiteral("light-");

QList<Named<std::size_t>> readKeyNames()
{
    QList<Named<std::size_t>> names;
    std::map<QString, int> uses;
    const QList<KeyRecord>& keys = KeyboardLayout::instance().keys;
    const auto isKey = [](const KeyRecord& key) {
        return key.lightIndex >= 0 && key.lightIndex < static_cast<int>(layerSize);
    };
    for (const KeyRecord& key : keys) {
        if (!isKey(key) || key.desc.isEmpty())
            continue;
        names.append({typedName(key.desc), static_cast<std::size_t>(key.lightIndex)});
        ++uses[names.last().name];
        if (key.legend != key.desc && !key.legend.isEmpty())
            ++uses[typedName(key.legend)];
    }
    for (const KeyRecord& key : keys) {
        if (const QString printed = typedName(key.legend); isKey(key) && uses[printed] == 1)
            names.append({printed, static_cast<std::size_t>(key.lightIndex)});
    }
    for (qsizetype index = names.size() - 1; index >= 0; --index) {
        for (const char* side : {"left", "right"}) {
            const QString brief = QLatin1Char(*side) + QStringLiteral("-");
            if (names.at(index).name.startsWith(brief))
                names.append(
                    {QLatin1String(side) + names.at(index).name.sliced(1), names.at(index).value});
        }
    }
    return names;
}

QList<Named<std::uint8_t>> readUsageNames()
{
    QList<Named<std::uint8_t>> names;
    for (const std::uint8_t usage : offeredKeyUsages())
        names.append({nameOfUsage(usage), usage});
    for (std::size_t bit = 0; bit < keyModifiers.size(); ++bit)
        names.append({typedName(keyModifiers.at(bit).text.toString()),
                      static_cast<std::uint8_t>(firstModifierUsage + bit)});
    return names;
}

QList<Named<KeyAction>> readActionNames()
{
    QList<Named<KeyAction>> names{{QStringLiteral("default"), {}},
                                  {QStringLiteral("disabled"), disabledKeyAction()}};
    for (const auto& [name, usage] : usageNames())
        names.append({name, keyboardKeyAction(usage, 0)});
    for (const MediaChoice& choice : mediaChoices)
        names.append({typedName(choice.text.toString()), consumerKeyAction(choice.usage)});
    for (const MouseChoice& choice : mouseChoices)
        names.append({typedName(choice.text.toString()), mouseKeyAction(choice.value)});
    return names;
}

// Takes the modifiers off the front of the word and returns their bits.
std::uint8_t takeModifiers(QString& word)
{
    std::uint8_t modifiers = 0;
    for (qsizetype plus = word.indexOf(u'+'); plus > 0; plus = word.indexOf(u'+')) {
        const QString name = typedName(word.first(plus));
        const auto& names = usageNames();
        const auto found = std::ranges::find(names, name, &Named<std::uint8_t>::name);
        if (found == names.end() || found->value < firstModifierUsage)
            break;
        modifiers |= keyboardKeyAction(found->value, 0).p1;
        word.remove(0, plus + 1);
    }
    return modifiers;
}

KeyAction actionOfBytes(std::uint32_t bytes)
{
    const auto byte = [bytes](int place) {
        return static_cast<std::uint8_t>(bytes >> (8 * place));
    };
    return {byte(3), byte(2), byte(1), byte(0)};
}

bool isTypable(const KeyAction& combination)
{
    return combination.p3 == 0 && (combination.p1 | combination.p2) != 0 &&
           (combination.p2 == 0 ||
            std::ranges::find(usageNames(), combination.p2, &Named<std::uint8_t>::value) !=
                usageNames().end());
}

QString combinationWord(const KeyAction& action)
{
    QStringList words;
    for (const KeyModifier& modifier : keyModifiers) {
        if (action.p1 & modifier.mask)
            words += typedName(modifier.text.toString());
    }
    if (action.p2 != 0)
        words += nameOfUsage(action.p2);
    return words.join(u'+');
}

} // namespace

const QList<Named<std::size_t>>& keyNames()
{
    static const QList<Named<std::size_t>> names = readKeyNames();
    if (names.isEmpty())
        throw Failure{ExitCode::Failed,
                      QStringLiteral("The layout file with the names of the keys is missing. "
                                     "Install the program again.")};
    return names;
}

QString nameOfKeyAt(std::size_t lightIndex)
{
    const auto& names = keyNames();
    const auto found = std::ranges::find(names, lightIndex, &Named<std::size_t>::value);
    return found == names.end() ? lightPrefix + QString::number(lightIndex) : found->name;
}

QList<std::size_t> keysFromWord(const QString& word)
{
    QList<std::size_t> keys;
    if (typedName(word) == QLatin1String("all")) {
        for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex)
            keys += lightIndex;
        return keys;
    }
    const QStringList names = word == QLatin1String(",") ? QStringList(word) : word.split(u',');
    for (const QString& name : names) {
        bool isNumber = false;
        const uint light = name.startsWith(lightPrefix, Qt::CaseInsensitive)
                               ? name.sliced(lightPrefix.size()).toUInt(&isNumber)
                               : 0;
        keys += isNumber && light < layerSize ? light
                                              : findNamed(QStringLiteral("key"), name, keyNames());
    }
    return keys;
}

QList<Assignment> assignmentsFromWords(const QStringList& words)
{
    QList<Assignment> assignments;
    for (const QString& word : words) {
        const qsizetype sign = word.indexOf(u'=', 1); // the first may be the name of a key
        if (sign < 0)
            throw Failure{ExitCode::WrongUsage,
                          QStringLiteral("\"%1\" assigns nothing: write KEY=VALUE.").arg(word)};
        assignments.append({keysFromWord(word.first(sign)), word.sliced(sign + 1)});
    }
    std::ranges::stable_sort(assignments, {}, [](const Assignment& assignment) {
        return assignment.keys.size() == static_cast<qsizetype>(layerSize) ? 0 : 1;
    });
    return assignments;
}

const QList<Named<std::uint8_t>>& usageNames()
{
    static const QList<Named<std::uint8_t>> names = readUsageNames();
    return names;
}

QString nameOfUsage(std::uint8_t usage)
{
    return typedName(keyName(usage));
}

const QList<Named<KeyAction>>& actionNames()
{
    static const QList<Named<KeyAction>> names = readActionNames();
    return names;
}

KeyAction actionFromWord(const QString& word, const QList<MacroRecord>& macros)
{
    if (word.startsWith(macroPrefix, Qt::CaseInsensitive)) {
        const qsizetype index = macroIndexOf(word.sliced(macroPrefix.size()), macros);
        if (index >= macroLimit)
            throw Failure{
                ExitCode::Failed,
                QStringLiteral("The keyboard takes the first %1 macros only.").arg(macroLimit)};
        return macroKeyAction(static_cast<int>(index));
    }
    static const QRegularExpression fourBytes(QStringLiteral("^0x[0-9A-Fa-f]{8}$"));
    if (fourBytes.match(word).hasMatch())
        return actionOfBytes(word.toUInt(nullptr, 16));
    QString rest = word;
    const std::uint8_t modifiers = takeModifiers(rest);
    if (modifiers == 0)
        return findNamed(QStringLiteral("action"), rest, actionNames());
    KeyAction action =
        keyboardKeyAction(findNamed(QStringLiteral("key"), rest, usageNames()), modifiers);
    action.p1 |= modifiers;
    return action;
}

QString wordOfAction(const KeyAction& action, const QList<MacroRecord>& macros)
{
    for (const auto& [name, value] : actionNames()) {
        if (value == action)
            return name;
    }
    const auto page = static_cast<KeyActionPage>(action.page);
    if (page == KeyActionPage::Macro && action.p1 < macros.size() && action.p1 < macroLimit &&
        action == macroKeyAction(action.p1)) {
        const QString name = macros.at(action.p1).name.simplified();
        if (macroIndexOf(forTerminal(name), macros) == action.p1)
            return macroPrefix + name;
    }
    if (page == KeyActionPage::Keyboard && isTypable(action))
        return combinationWord(action);
    QString bytes = QStringLiteral("0x");
    for (const std::uint8_t byte : {action.page, action.p1, action.p2, action.p3})
        bytes += QStringLiteral("%1").arg(byte, 2, 16, QLatin1Char('0'));
    return bytes;
}

qsizetype macroIndexOf(const QString& name, const QList<MacroRecord>& macros)
{
    QStringList names;
    for (const MacroRecord& macro : macros)
        names += macro.name;
    if (const qsizetype index = names.indexOf(name); index >= 0)
        return index;
    // As lists show them.
    for (QString& known : names)
        known = forTerminal(known.simplified());
    for (const Qt::CaseSensitivity cases : {Qt::CaseSensitive, Qt::CaseInsensitive}) {
        const auto found = std::ranges::find_if(names, [&](const QString& known) {
            return known.compare(name.simplified(), cases) == 0;
        });
        if (found != names.end())
            return found - names.begin();
    }
    throw unknownName(QStringLiteral("macro"), name, names);
}

} // namespace tavik
