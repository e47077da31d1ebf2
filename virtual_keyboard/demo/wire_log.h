// SPDX-License-Identifier: MIT
#pragma once

#include "device/command_report.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QList>
#include <QString>

#include <string>
#include <vector>

namespace tavik::virtual_keyboard {

struct WireLine
{
    QString text;
    bool isWrong = false; // the keyboard complains: the computer did what it may not

    bool operator==(const WireLine&) const = default;
};

// What went over the wire, in words: a line for each command and its answer ("open session",
// "base layer, 9 reports", "commit", "finish"), and one for each violation.
class WireLog
{
public:
    // Takes in what the bus has recorded since the last time. True when the lines have changed.
    bool update(const VirtualBus& bus);

    // The latest ones, oldest first.
    [[nodiscard]] const QList<WireLine>& lines() const { return latest; }
    // How often the keyboard has refused a command so far.
    [[nodiscard]] int refusals() const { return refused; }

private:
    void read(std::string_view event);
    void readSend(const Report& report);
    void readAnswer(const Report& answer);
    void readData(const Report& report);
    void countData();
    void add(const QString& text, bool isWrong = false);
    [[nodiscard]] QString& commandLine();

    QList<WireLine> latest;
    std::size_t eventsRead = 0;
    std::vector<std::string> violationsSeen;
    int refused = 0;

    // The latest command, and its data reports or blocks so far.
    CommandCode code{};
    QString title;
    qsizetype linesSince = 0; // that stand behind its own
    int announced = 0;
    int arrived = 0;
    bool answersCommand = false;
};

} // namespace tavik::virtual_keyboard
