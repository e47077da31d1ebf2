// SPDX-License-Identifier: MIT
#include "tests/bench/comparison.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

namespace tavik::bench {

namespace {

double clockTime(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Three digits that count, as far as four decimals show them.
QString numberText(double value)
{
    const int magnitude = value > 0 ? static_cast<int>(std::floor(std::log10(value))) : 0;
    return QString::number(value, 'f', std::clamp(2 - magnitude, 0, 4));
}

QString goalText(const Row& row)
{
    const Goal goal = row.goal.value_or(Goal());
    if (goal.factor == 0)
        return QStringLiteral("%1 %2").arg(goal.more).arg(row.unit);
    return goal.more == 0 && goal.factor != 1
               ? QStringLiteral("%1 x").arg(goal.factor)
               : QStringLiteral("+ %1 %2").arg(goal.more).arg(row.unit);
}

bool isMet(const Goal& goal, double measured, double bound)
{
    return measured <= goal.factor * bound + goal.more;
}

void printLine(const QString& name, const QStringList& columns)
{
    QString line = name.leftJustified(40);
    for (const QString& column : columns)
        line += column.rightJustified(12);
    std::printf("%s\n", qUtf8Printable(line));
    std::fflush(stdout);
}

void printRow(const Row& row, double measured, double bound)
{
    QStringList columns{numberText(measured) + u' ' + row.unit, numberText(bound),
                        numberText(measured / bound)};
    if (row.goal)
        columns << goalText(row) << (isMet(*row.goal, measured, bound) ? "met" : "NOT MET");
    printLine(row.name, columns);
}

QJsonObject toJson(const Row& row, double measured, double bound)
{
    QJsonObject object{
        {"name", row.name}, {"unit", row.unit}, {"measured", measured}, {"bound", bound}};
    if (row.goal) {
        object.insert("limit", row.goal->factor * bound + row.goal->more);
        object.insert("met", isMet(*row.goal, measured, bound));
    }
    return object;
}

} // namespace

void runComparisons(const QList<Comparison>& comparisons, Effort effort, Output output)
{
    QJsonArray all;
    if (output == Output::Table)
        printLine("What", {"measured", "bound", "ratio", "goal", "verdict"});
    for (const Comparison& comparison : comparisons) {
        const auto count = static_cast<std::size_t>(comparison.rows.size());
        std::vector<std::vector<double>> measured(count);
        std::vector<std::vector<double>> bound(count);
        const auto take = [count](const Contestant& contestant,
                                  std::vector<std::vector<double>>& samples) {
            const QList<double> values = contestant();
            require(static_cast<std::size_t>(values.size()) == count, "a figure is missing");
            for (std::size_t row = 0; row < count; ++row)
                samples[row].push_back(values[static_cast<qsizetype>(row)]);
        };
        for (int run = 0; run < (effort == Effort::Full ? comparison.runs : 1); ++run) {
            take(comparison.measured, measured);
            take(comparison.bound, bound);
        }
        for (std::size_t index = 0; index < count; ++index) {
            const Row& row = comparison.rows[static_cast<qsizetype>(index)];
            const double figure = median(measured[index]);
            const double least = median(bound[index]);
            if (output == Output::Table)
                printRow(row, figure, least);
            all.append(toJson(row, figure, least));
        }
    }
    if (output == Output::Json)
        std::printf("%s", QJsonDocument(all).toJson().constData());
}

double processorTime(const Work& work, int calls)
{
    const double start = clockTime(CLOCK_PROCESS_CPUTIME_ID);
    for (int call = 0; call < calls; ++call)
        work();
    return (clockTime(CLOCK_PROCESS_CPUTIME_ID) - start) / calls;
}

Comparison processorTimes(const QString& name, const Goal& goal, int runs, const Work& measured,
                          const Work& bound, int calls)
{
    const auto timed = [calls](const Work& work) {
        return [=] { return QList{processorTime(work, calls)}; };
    };
    return {{{name, "ms", goal}}, runs, timed(measured), timed(bound)};
}

double elapsedTime(const Work& work)
{
    const double start = machineTime();
    work();
    return machineTime() - start;
}

double machineTime()
{
    return clockTime(CLOCK_MONOTONIC);
}

void require(bool condition, const char* text)
{
    if (!condition)
        qFatal("%s", text);
}

} // namespace tavik::bench
