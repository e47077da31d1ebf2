// SPDX-License-Identifier: MIT
#include "pages/parts/shown_text.h"

#include "model/keyboard_layout.h"

#include <QCoreApplication>
#include <QTextDocument>

#include <algorithm>

namespace tavik {

namespace {

constexpr qsizetype keyNameLimit = 40; // characters; a layout file may give a key any name

} // namespace

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

QString wrappedToolTip(const QString& text, const QColor& color)
{
    const QString lines = text.toHtmlEscaped().replace(u'\n', QLatin1String("<br>"));
    return color.isValid()
               ? QStringLiteral("<qt><font color=\"%1\">%2</font></qt>").arg(color.name(), lines)
               : QStringLiteral("<qt>%1</qt>").arg(lines);
}

QString nameOfKey(int lightIndex)
{
    const QList<KeyRecord>& keys = KeyboardLayout::instance().keys;
    const auto key = std::ranges::find(keys, lightIndex, &KeyRecord::lightIndex);
    const QString name = key == keys.end() ? QString() : key->desc.simplified();
    if (name.isEmpty())
        return QCoreApplication::translate("tavik::ShownText", "key %1").arg(lightIndex);
    return beginningOf(name, keyNameLimit);
}

QString colorToolTip(const QString& name, const QColor& color)
{
    const QString text = name + QLatin1String("  ") + color.name();
    return Qt::mightBeRichText(text) ? wrappedToolTip(text) : text;
}

} // namespace tavik
