// SPDX-License-Identifier: MIT
#include "tests/resources/skin_names.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace tavik::tests {

namespace {

// A comment, a character or a string literal, whichever comes first: only so are quotes inside
// comments and slashes inside strings told apart. A string's text is captured.
const QRegularExpression& tokens()
{
    static const QRegularExpression expression(
        R"re(//[^\n]*|/\*.*?\*/)re"
        R"re(|R"([^(\s]*)\((?<raw>.*?)\)\1"|"(?<text>(?:[^"\\\n]|\\.)*)")re"
        R"re(|(?<!\w)'(?:[^'\\\n]|\\.)+')re",
        QRegularExpression::DotMatchesEverythingOption);
    return expression;
}

const QRegularExpression& fileName()
{
    static const QRegularExpression expression(R"((?<![\w*.%])[\w/%][\w/%.-]*\.(?:png|ttf)\b)");
    return expression;
}

} // namespace

QStringList skinNamesIn(const QString& source)
{
    QStringList names;
    for (const QRegularExpressionMatch& token : tokens().globalMatch(source)) {
        const QString literal = token.captured("raw") + token.captured("text");
        for (const QRegularExpressionMatch& match : fileName().globalMatch(literal))
            names.append(match.captured().section("official-skin/", -1));
    }
    return names;
}

QString skinFileFor(const QString& name, const QString& skinDirectory)
{
    for (const QString& candidate : {"icons/" + name, name}) {
        if (QFileInfo(skinDirectory + '/' + candidate).isFile())
            return candidate;
    }
    return {};
}

} // namespace tavik::tests
