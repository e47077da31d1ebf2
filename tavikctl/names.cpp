// SPDX-License-Identifier: MIT
#include "tavikctl/names.h"

#include <array>
#include <numeric>
#include <vector>

namespace tavik {

namespace {

struct SignWord
{
    QStringView sign;
    QStringView word;
};

constexpr std::array signWords{
    SignWord{u"`", u"backquote"},     SignWord{u"-", u"minus"},
    SignWord{u"=", u"equal"},         SignWord{u"[", u"left-bracket"},
    SignWord{u"]", u"right-bracket"}, SignWord{u"\\", u"backslash"},
    SignWord{u"#", u"hash"},          SignWord{u";", u"semicolon"},
    SignWord{u"'", u"quote"},         SignWord{u",", u"comma"},
    SignWord{u".", u"period"},        SignWord{u"/", u"slash"},
    SignWord{u"→", u"right"},         SignWord{u"←", u"left"},
    SignWord{u"↓", u"down"},          SignWord{u"↑", u"up"},
};

constexpr qsizetype namesSuggested = 3;
constexpr qsizetype longestCompared = 60; // characters; it takes the square of the time

// How far what was typed is from a name: one for each character that it lacks, since people shorten
// names, and two for each that is wrong or too many.
std::size_t distanceBetween(const QString& first, const QString& second)
{
    const auto width = static_cast<std::size_t>(second.size()) + 1;
    std::vector<std::size_t> above;
    std::vector<std::size_t> row(width);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (qsizetype i = 1; i <= first.size(); ++i) {
        above = row;
        row[0] = 2 * static_cast<std::size_t>(i);
        for (std::size_t j = 1; j < width; ++j) {
            const auto place = static_cast<qsizetype>(j);
            const bool isSame = first[i - 1] == second[place - 1];
            row[j] = std::min({above[j] + 2, row[j - 1] + 1, above[j - 1] + (isSame ? 0 : 2)});
        }
    }
    return row.back();
}

} // namespace

QString typedName(const QString& name)
{
    const auto* entry = std::ranges::find(signWords, QStringView(name), &SignWord::sign);
    if (entry != signWords.end())
        return entry->word.toString();
    return name.toLower().replace(QLatin1String(" / "), QLatin1String("-")).replace(u' ', u'-');
}

QStringList nearestNames(const QString& typed, QStringList names)
{
    const QString wanted = typedName(typed.left(longestCompared));
    std::ranges::stable_sort(names, {}, [&](const QString& name) {
        return distanceBetween(wanted, typedName(name.left(longestCompared)));
    });
    return names.first(std::min(names.size(), namesSuggested));
}

Failure unknownName(const QString& kind, const QString& typed, const QStringList& names)
{
    const QString text =
        QStringLiteral("There is no %1 \"%2\"").arg(kind, typed.left(longestCompared));
    if (names.isEmpty())
        return {ExitCode::WrongUsage, text + QStringLiteral(".")};
    QStringList nearest = nearestNames(typed, names);
    const QString last = nearest.takeLast();
    const QString others = nearest.join(QStringLiteral(", "));
    return {ExitCode::WrongUsage,
            text + QStringLiteral(". Did you mean %1?")
                       .arg(others.isEmpty() ? last : others + QStringLiteral(" or ") + last)};
}

} // namespace tavik
