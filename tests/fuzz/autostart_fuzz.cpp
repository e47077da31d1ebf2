// SPDX-License-Identifier: MIT
#include "pages/settings/autostart_entry.h"
#include "tests/fuzz/fuzz_target.h"

#include <QString>

#include <algorithm>
#include <optional>

namespace tavik::tests {

namespace {

const QByteArray before = "[Desktop Entry]\nType=Application\nName=ZEROLT TAVIK Pro\nExec=\"";
const QByteArray behind =
    "\"\nIcon=/usr/share/tavik-center/official-skin/zerolt-logo.png\nTerminal=false\n"
    "X-GNOME-Autostart-enabled=true\n";

// The one argument of a quoted command, as a desktop reads it: a backslash takes a quote, a
// backslash, a dollar sign or a backtick as it stands. Nothing where the quotes do not enclose all.
std::optional<QByteArray> quotedArgument(const QByteArray& command)
{
    QByteArray argument;
    qsizetype at = 1;
    for (; at < command.size() && command.at(at) != '"'; ++at) {
        if (command.at(at) == '\\' && QByteArrayView("\"\\$`").contains(command.mid(at + 1, 1)))
            ++at;
        argument += command.mid(at, 1);
    }
    if (!command.startsWith('"') || at != command.size() - 1)
        return {};
    return argument;
}

// These mean something else to the desktop, and the entry leaves them as they are.
bool isPlain(char character)
{
    return static_cast<unsigned char>(character) >= ' ' &&
           !QByteArrayView("\\$`%").contains(character);
}

} // namespace

QByteArrayList seeds()
{
    return {"/usr/bin/tavik-center", "/home/a b/tavik center", "/opt/the \"new\" one/tavik-center",
            "/home/\xE9\x94\xAE\xE7\x9B\x98/Gr\xC3\xB6\xC3\x9F"
            "e/%1/\\\"$HOME`\n%f"};
}

void check(const QByteArray& input)
{
    const QString path = QString::fromUtf8(input);
    if (path.toUtf8() != input)
        return; // Qt tells no such path
    const QByteArray entry = autostartEntry(path);
    TAVIK_HOLDS(entry.startsWith(before) && entry.endsWith(behind));
    const QByteArray quoted =
        entry.sliced(before.size(), entry.size() - before.size() - behind.size());

    // No two paths make the same entry, and nothing but the quotes is touched.
    TAVIK_HOLDS(QByteArray(quoted).replace("\\\"", "\"") == input);
    TAVIK_HOLDS(quoted.size() == input.size() + input.count('"'));
    if (std::ranges::all_of(input, isPlain))
        TAVIK_HOLDS(quotedArgument('"' + quoted + '"') == input);
}

} // namespace tavik::tests
