// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/sent_text.h"

#include "model/key_names.h"
#include "model/keyboard_layout.h"

#include <QStringList>

#include <algorithm>

namespace tavik::virtual_keyboard {

namespace {

constexpr std::size_t eventsNamed = 40; // more than a line can show

QString mediaText(const KeyAction& action)
{
    const auto* choice = std::ranges::find(mediaChoices, action.p1, &MediaChoice::usage);
    return choice == mediaChoices.end() ? keyActionLabel(action, {}) : choice->text.toString();
}

QString eventText(const MacroEvent& event)
{
    switch (event.kind) {
    case MacroEventKind::KeyPress:
        return keyName(event.code) + u'↓';
    case MacroEventKind::KeyRelease:
        return keyName(event.code) + u'↑';
    case MacroEventKind::MousePress:
        return QStringLiteral("mouse %1↓").arg(event.code);
    case MacroEventKind::MouseRelease:
        return QStringLiteral("mouse %1↑").arg(event.code);
    case MacroEventKind::Pause:
        return {};
    case MacroEventKind::Unknown:
        break;
    }
    return QStringLiteral("something unknown");
}

QString macroText(const KeyboardModel& keyboard, int index)
{
    const std::vector<MacroEvent> events = keyboard.playMacro(index);
    QStringList steps;
    for (const MacroEvent& event : events) {
        if (steps.size() > static_cast<qsizetype>(eventsNamed)) {
            steps += QStringLiteral("…");
            break;
        }
        if (event.delayMs > 0)
            steps += QStringLiteral("%1 ms").arg(event.delayMs);
        if (const QString text = eventText(event); !text.isEmpty())
            steps += text;
    }
    return QStringLiteral("macro %1: ").arg(index) +
           (steps.isEmpty() ? QStringLiteral("nothing, the keyboard holds none")
                            : steps.join(u' '));
}

QString factoryText(const KeyRecord& key, LayerId layer)
{
    if (layer == LayerId::Fn)
        return QStringLiteral("whatever Fn+%1 does from the factory").arg(key.desc);
    return keyName(static_cast<std::uint8_t>(key.code));
}

} // namespace

QString sentText(const KeyboardModel& keyboard, const KeyRecord& key, LayerId layer)
{
    const KeyActionBytes bytes =
        keyboard.keyAction(layer, static_cast<std::size_t>(key.lightIndex));
    const KeyAction action{bytes[0], bytes[1], bytes[2], bytes[3]};
    switch (static_cast<KeyActionPage>(action.page)) {
    case KeyActionPage::Default:
        return factoryText(key, layer);
    case KeyActionPage::Mouse:
    case KeyActionPage::Keyboard:
        return keyActionWords(action, {});
    case KeyActionPage::Consumer:
        return mediaText(action);
    case KeyActionPage::Special:
        return QStringLiteral("nothing");
    case KeyActionPage::Macro:
        return macroText(keyboard, action.p1);
    case KeyActionPage::Extended:
        break;
    }
    return QStringLiteral("what nobody knows (%1)").arg(keyActionLabel(action, {}));
}

} // namespace tavik::virtual_keyboard
