// SPDX-License-Identifier: MIT
#include "tavikctl/output.h"

namespace tavik {

QString forTerminal(QString text)
{
    for (QChar& character : text) {
        const bool turnsDirection = (character >= QChar(0x202A) && character <= QChar(0x202E)) ||
                                    (character >= QChar(0x2066) && character <= QChar(0x2069));
        if ((character.category() == QChar::Other_Control && character != u'\n') || turnsDirection)
            character = QChar::ReplacementCharacter;
    }
    return text;
}

} // namespace tavik
