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

} // namespace tavik
