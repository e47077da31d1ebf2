// SPDX-License-Identifier: MIT
#include "tavikctl/commands.h"
#include "tavikctl/key_words.h"
#include "tavikctl/user_state.h"

#include <QJsonArray>

namespace tavik {

namespace {

QStringList macroNames()
{
    QStringList names;
    for (const MacroRecord& macro : presentState().macros)
        names += macro.name.simplified();
    return names;
}

QStringList actionWords()
{
    QStringList words = namesOf(actionNames());
    for (const QString& name : macroNames())
        words += QStringLiteral("macro:") + name;
    return words;
}

using Lister = QStringList (*)();

} // namespace

void listNames(const Output& output, const QString& kind)
{
    static const QList<Named<Lister>> listers{
        {QStringLiteral("keys"), [] { return namesOf(keyNames()); }},
        {QStringLiteral("actions"), actionWords},
        {QStringLiteral("effects"), [] { return namesOf(effectNames()); }},
        {QStringLiteral("macros"), macroNames},
    };
    const QStringList names = findNamed(QStringLiteral("list of names"), kind, listers)();
    if (output.json)
        output.value(QJsonDocument(QJsonArray::fromStringList(names)));
    else if (!names.isEmpty())
        output.line(names.join(u'\n'));
}

} // namespace tavik
