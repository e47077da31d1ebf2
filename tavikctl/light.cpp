// SPDX-License-Identifier: MIT
#include "tavikctl/commands.h"
#include "tavikctl/keyboard.h"

#include <QJsonArray>

namespace tavik {

void setLight(const LightWords& words)
{
    const LightingSettings settings = lightingFromWords(words);
    connectKeyboard();
    requireSent(sendLightingMode(settings));
}

void listEffects(const Output& output)
{
    const QStringList names = namesOf(effectNames());
    if (output.json)
        output.value(QJsonDocument(QJsonArray::fromStringList(names)));
    else
        output.line(names.join(u'\n'));
}

void setSleep(const QString& time)
{
    const int code = findNamed(QStringLiteral("sleep time"), time, sleepNames());
    connectKeyboard();
    requireSent(sendLightingSleep(code));
}

} // namespace tavik
