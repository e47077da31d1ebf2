// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonDocument>
#include <QString>

#include <ostream>

namespace tavik {

// The text with a mark for each character that a terminal would obey instead of showing it: a macro
// of a file from elsewhere may have any name. Lines stay.
[[nodiscard]] QString forTerminal(QString text);

// Where a command's words go, and what the user wants of them.
struct Output
{
    std::ostream& out;
    std::ostream& err;
    bool isTerminal = false; // err is one: progress may be drawn there
    bool json = false;
    bool dryRun = false;

    void line(const QString& text) const { out << forTerminal(text).toStdString() << '\n'; }
    // What the user has to know beside the answer.
    void note(const QString& text) const
    {
        err << "tavikctl: " << forTerminal(text.simplified()).toStdString() << '\n';
    }
    // One object or array.
    void value(const QJsonDocument& value) const { out << value.toJson().constData(); }
};

} // namespace tavik
