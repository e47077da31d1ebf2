#include "pages/parts/shown_text.h"

namespace tavik {

QString beginningOf(const QString& text, qsizetype characters)
{
    if (text.size() <= characters)
        return text;
    // Never between the two halves of one character.
    const bool splitsPair = text.at(characters - 1).isHighSurrogate();
    return text.left(splitsPair ? characters - 1 : characters) + u'…';
}

QString menuText(QString text)
{
    text.replace(u'\t', u' ').replace(u'\n', u' ');
    return text.replace(u'&', QStringLiteral("&&"));
}

} // namespace tavik
