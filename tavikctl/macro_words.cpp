// SPDX-License-Identifier: MIT
#include "tavikctl/macro_words.h"

#include "tavikctl/key_words.h"

#include <array>
#include <limits>

namespace tavik {

namespace {

struct StepKind
{
    std::uint8_t flags;
    QStringView verb;
    enum { Key, Button, Nothing } object;
};

constexpr std::array stepKinds{
    StepKind{0xB0, u"press", StepKind::Key},     StepKind{0x30, u"release", StepKind::Key},
    StepKind{0x90, u"click", StepKind::Button},  StepKind{0x10, u"unclick", StepKind::Button},
    StepKind{0x50, u"pause", StepKind::Nothing},
};
static_assert(stepKinds.size() == macroActionTypes.size());

constexpr std::uint8_t pauseFlags = 0x50;
constexpr int longestWait = std::numeric_limits<std::uint16_t>::max();

Failure wrongStep(const QString& step)
{
    return {ExitCode::WrongUsage,
            QStringLiteral("\"%1\" is no step of a macro: write press KEY, release KEY, "
                           "click BUTTON, unclick BUTTON, pause, or milliseconds, with commas "
                           "between.")
                .arg(step.left(60))};
}

std::optional<std::uint8_t> byteFrom(const QString& word)
{
    bool isNumber = false;
    const uint value = word.toUInt(&isNumber, 0);
    if (!isNumber || value > std::numeric_limits<std::uint8_t>::max())
        return {};
    return static_cast<std::uint8_t>(value);
}

std::uint8_t buttonFrom(const QString& word)
{
    for (const MouseChoice& choice : mouseChoices) {
        if (const KeyAction action = mouseKeyAction(choice.value);
            action.p1 == 1 && typedName(choice.text.toString()) == typedName(word))
            return action.p2;
    }
    if (const std::optional<std::uint8_t> button = byteFrom(word))
        return *button;
    throw Failure{ExitCode::WrongUsage,
                  QStringLiteral("\"%1\" is no mouse button: write left-click, right-click, "
                                 "middle-click, or a code as in 0x08.")
                      .arg(word.left(60))};
}

std::uint8_t keyFrom(const QString& word)
{
    const std::optional<std::uint8_t> code = byteFrom(word);
    // Digits alone are keys.
    return code && word.startsWith(QLatin1String("0x"))
               ? *code
               : findNamed(QStringLiteral("key"), word, usageNames());
}

MacroAction actionFrom(const QString& step, std::uint16_t delay)
{
    const QStringList words = step.split(u' ', Qt::SkipEmptyParts);
    const auto* kind = std::ranges::find(stepKinds, words.value(0).toLower(), &StepKind::verb);
    const qsizetype wordsWanted =
        kind != stepKinds.end() && kind->object == StepKind::Nothing ? 1 : 2;
    // A step of a kind that has no word is shown by its bytes.
    const std::optional<std::uint8_t> flags = byteFrom(words.value(0));
    const std::optional<std::uint8_t> rawCode = byteFrom(words.value(1));
    if (words.size() == 2 && words.at(0).startsWith(QLatin1String("0x")) && flags && rawCode)
        return {delay, *rawCode, *flags};
    if (kind == stepKinds.end() || words.size() != wordsWanted)
        throw wrongStep(step);
    std::uint8_t code = 0;
    if (kind->object == StepKind::Key)
        code = keyFrom(words.at(1));
    else if (kind->object == StepKind::Button)
        code = buttonFrom(words.at(1));
    return {delay, code, kind->flags};
}

QString wordsOf(const MacroAction& action)
{
    const auto* kind = std::ranges::find(stepKinds, action.flags, &StepKind::flags);
    const QString code = QStringLiteral("0x%1").arg(action.code, 2, 16, QLatin1Char('0'));
    if (kind == stepKinds.end())
        return QStringLiteral("0x%1 %2").arg(action.flags, 2, 16, QLatin1Char('0')).arg(code);
    const QString verb = kind->verb.toString();
    if (kind->object == StepKind::Nothing)
        return verb;
    return verb + u' ' + (kind->object == StepKind::Key ? nameOfUsage(action.code) : code);
}

} // namespace

QList<MacroAction> macroFromWords(const QString& words)
{
    QList<MacroAction> actions;
    int wait = 0;
    for (const QString& part : words.split(u',')) {
        const QString step = part.simplified();
        bool isWait = false;
        const int time = step.toInt(&isWait);
        if (!isWait) {
            actions.append(actionFrom(step, static_cast<std::uint16_t>(wait)));
            wait = 0;
            continue;
        }
        if (time < 0 || time > longestWait - wait)
            throw Failure{
                ExitCode::WrongUsage,
                QStringLiteral("\"%1\" is no wait: 0 to 65535 ms before each step.").arg(step)};
        wait += time;
    }
    // Behind the last step only a step of its own can wait.
    if (wait > 0)
        actions.append({static_cast<std::uint16_t>(wait), 0, pauseFlags});
    return actions;
}

QString wordsOfMacro(const QList<MacroAction>& actions)
{
    QStringList words;
    for (const MacroAction& action : actions) {
        if (action.delay > 0)
            words += QString::number(action.delay);
        words += wordsOf(action);
    }
    return words.join(QStringLiteral(", "));
}

} // namespace tavik
