// SPDX-License-Identifier: MIT
#include "tavikctl/lighting_words.h"

namespace tavik {

namespace {

constexpr int highestLevel = 5;

int levelOf(const QString& name, std::optional<int> level, int otherwise)
{
    if (level && (*level < 0 || *level > highestLevel))
        throw Failure{ExitCode::WrongUsage,
                      QStringLiteral("The %1 goes from 0 to %2.").arg(name).arg(highestLevel)};
    return level.value_or(otherwise);
}

template <typename Value>
QString nameOf(Value value, const QList<Named<Value>>& entries)
{
    const auto found = std::ranges::find(entries, value, &Named<Value>::value);
    return found == entries.end() ? QString::number(value) : found->name;
}

} // namespace

const QList<Named<std::uint8_t>>& effectNames()
{
    static const QList<Named<std::uint8_t>> names = [] {
        QList<Named<std::uint8_t>> entries;
        for (const LightingEffect& effect : lightingEffects)
            entries.append({typedName(QLatin1String(effect.name)), effect.code});
        return entries;
    }();
    return names;
}

const QList<Named<int>>& directionNames()
{
    static const QList<Named<int>> names{{QStringLiteral("right"), 0},
                                         {QStringLiteral("down"), 1},
                                         {QStringLiteral("up"), 2},
                                         {QStringLiteral("left"), 3}};
    return names;
}

const QList<Named<int>>& sleepNames()
{
    static const QList<Named<int>> names{{QStringLiteral("never"), 0},
                                         {QStringLiteral("1"), 1},
                                         {QStringLiteral("5"), 2},
                                         {QStringLiteral("30"), 3}};
    return names;
}

LightingSettings lightingFromWords(const LightWords& words)
{
    LightingSettings settings = usualLighting;
    settings.effect = findNamed(QStringLiteral("effect"), words.effect, effectNames());
    settings.randomColor =
        words.color.isEmpty() || words.color.compare(u"random", Qt::CaseInsensitive) == 0;
    if (!settings.randomColor)
        settings.color = colorFromWord(words.color);
    settings.brightness =
        levelOf(QStringLiteral("brightness"), words.brightness, settings.brightness);
    settings.speed = levelOf(QStringLiteral("speed"), words.speed, settings.speed);
    if (!words.direction.isEmpty())
        settings.direction =
            findNamed(QStringLiteral("direction"), words.direction, directionNames());
    return settings;
}

LightWords lightWordsFrom(const QJsonObject& object)
{
    LightWords words;
    const auto text = [](const QJsonValue& value, QString& word) {
        word = value.toString();
        return !word.isEmpty();
    };
    const auto number = [](const QJsonValue& value, std::optional<int>& level) {
        level = value.toInt(-1);
        return value.isDouble();
    };
    for (auto member = object.begin(); member != object.end(); ++member) {
        const QString key = member.key();
        const QJsonValue value = member.value();
        const bool isKnown =
            (key == QLatin1String("effect") && text(value, words.effect)) ||
            (key == QLatin1String("color") && text(value, words.color)) ||
            (key == QLatin1String("direction") && text(value, words.direction)) ||
            (key == QLatin1String("brightness") && number(value, words.brightness)) ||
            (key == QLatin1String("speed") && number(value, words.speed));
        if (!isKnown)
            throw Failure{ExitCode::Failed,
                          QStringLiteral("\"lighting\" in the file has a wrong member \"%1\".")
                              .arg(key.left(60))};
    }
    return words;
}

KeyColor colorFromWord(const QString& word)
{
    const QString digits = word.startsWith(u'#') ? word.sliced(1) : word;
    bool isNumber = false;
    const uint value = digits.toUInt(&isNumber, 16);
    const auto isDigit = [](QChar sign) { return sign.isLetterOrNumber(); };
    if (!isNumber || digits.size() != 6 || !std::ranges::all_of(digits, isDigit))
        throw Failure{ExitCode::WrongUsage,
                      QStringLiteral("\"%1\" is no color: write six hexadecimal digits, as in "
                                     "ff8800.")
                          .arg(word.left(60))};
    const auto byte = [value](int shift) {
        return static_cast<unsigned char>((value >> shift) & 0xFF);
    };
    return {byte(16), byte(8), byte(0)};
}

QString colorWord(KeyColor color)
{
    return hexByte(color.red) + hexByte(color.green) + hexByte(color.blue);
}

QString lightingWords(const Report& payload)
{
    if (payload[0] == customColorsEffect)
        return QStringLiteral("custom colors, brightness %1").arg(payload[9]);
    return QStringLiteral("%1, color %2, brightness %3, speed %4, direction %5")
        .arg(nameOf(payload[0], effectNames()),
             payload[8] != 0 ? QStringLiteral("random")
                             : colorWord({payload[1], payload[2], payload[3]}))
        .arg(payload[9])
        .arg(payload[10])
        .arg(nameOf(int{payload[11]}, directionNames()));
}

QString sleepWords(const Report& payload)
{
    const QString name = nameOf(int{payload[8]}, sleepNames());
    return payload[8] == 0 ? name : QStringLiteral("after %1 min").arg(name);
}

} // namespace tavik
