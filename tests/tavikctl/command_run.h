// SPDX-License-Identifier: MIT
#pragma once

#include "tavikctl/command_line.h"

#include <QProcess>
#include <QString>

#include <sstream>

namespace tavik::tests {

// What came of a command line.
struct Ran
{
    int code = -1;
    QString out;
    QString err;
};

inline Ran runArguments(const std::vector<std::string>& arguments, bool isTerminal = false)
{
    std::ostringstream out;
    std::ostringstream err;
    const int code = runCommand(arguments, out, err, isTerminal);
    return {code, QString::fromStdString(out.str()), QString::fromStdString(err.str())};
}

// A line as it is typed, without the name of the program.
inline Ran run(const QString& line)
{
    std::vector<std::string> arguments;
    for (const QString& word : QProcess::splitCommand(line))
        arguments.push_back(word.toStdString());
    return runArguments(arguments);
}

} // namespace tavik::tests
