// SPDX-License-Identifier: MIT
#pragma once

#include "tavikctl/failure.h"

#include <QList>
#include <QStringList>

#include <algorithm>

namespace tavik {

// What a user types for one of several values.
template <typename Value>
struct Named
{
    QString name;
    Value value;
};

// A name as it is typed: in lower case, with dashes for its spaces. Signs and arrows that a shell
// would take for itself, or that no key types, become words: "comma", "up".
[[nodiscard]] QString typedName(const QString& name);

// The three names that what was typed is nearest to, or short for, the nearest first.
[[nodiscard]] QStringList nearestNames(const QString& typed, QStringList names);

// Wrong usage: there is no such thing, but some of nearly that name.
[[nodiscard]] Failure unknownName(const QString& kind, const QString& typed,
                                  const QStringList& names);

template <typename Value>
[[nodiscard]] QStringList namesOf(const QList<Named<Value>>& entries)
{
    QStringList names;
    for (const auto& entry : entries)
        names += entry.name;
    names.removeDuplicates();
    return names;
}

// The value of the first entry with this name, whatever its case. Throws when there is none.
template <typename Value>
[[nodiscard]] Value findNamed(const QString& kind, const QString& typed,
                              const QList<Named<Value>>& entries)
{
    const QString name = typedName(typed);
    const auto found = std::ranges::find(entries, name, &Named<Value>::name);
    if (found == entries.end())
        throw unknownName(kind, typed, namesOf(entries));
    return found->value;
}

} // namespace tavik
