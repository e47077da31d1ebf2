// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <optional>

class QWidget;

namespace tavik::bench {

// The most that a figure may be: so many times its bound, and so much more.
struct Goal
{
    double factor = 0;
    double more = 0;
};

struct Row
{
    QString name;
    QString unit;
    std::optional<Goal> goal;
};

// Does the work once and returns a value for each row.
using Contestant = std::function<QList<double>()>;

// A task of the program beside the least work that could do it. The two take turns, so that a slow
// moment of the machine meets both.
struct Comparison
{
    QList<Row> rows;
    int runs = 1;
    Contestant measured;
    Contestant bound;
};

// How much is done: the figures of a smoke run are of no use, but every row is there.
enum class Effort { Smoke, Full };

enum class Output { Table, Json };

// Runs all comparisons and prints the medians. The program ends when a figure is missing.
void runComparisons(const QList<Comparison>& comparisons, Effort effort, Output output);

using Work = std::function<void()>;

// Milliseconds of processor time of this process for one call, as the mean of so many.
[[nodiscard]] double processorTime(const Work& work, int calls = 1);

// Of two kinds of work, each done so many times in a run.
[[nodiscard]] Comparison processorTimes(const QString& name, const Goal& goal, int runs,
                                        const Work& measured, const Work& bound, int calls = 1);

// Milliseconds that pass meanwhile.
[[nodiscard]] double elapsedTime(const Work& work);

// Milliseconds of the clock that every process of the machine shares.
[[nodiscard]] double machineTime();

// Ends the program, with the text, when the condition does not hold.
void require(bool condition, const char* text);

// Does something and returns when the widget has painted itself next.
void doUntilPainted(QWidget& widget, const Work& work);

// Has a contestant run in a process of its own, on a screen with so many pixels to a point, and
// returns the figures it prints. The number is its own affair.
[[nodiscard]] QList<double> inOwnProcess(const QString& contestant, double number,
                                         int pixelRatio = 1);

// What such a process does. False when the arguments name no contestant.
[[nodiscard]] bool runAsContestant(const QStringList& arguments);

// Contestants for processes of their own: how long the drawn keyboard, in each of its modes, and
// one picture in its place take to paint, as the mean of so many times.
[[nodiscard]] QList<double> repaintKeyboard(double times);
[[nodiscard]] QList<double> repaintPicture(double times);

[[nodiscard]] QList<Comparison> startComparisons();
[[nodiscard]] QList<Comparison> drawingComparisons(Effort effort);
[[nodiscard]] QList<Comparison> screenComparisons(Effort effort);
[[nodiscard]] QList<Comparison> stateComparisons();
[[nodiscard]] QList<Comparison> wireComparisons(Effort effort);
[[nodiscard]] QList<Comparison> commandComparisons();
[[nodiscard]] QList<Comparison> idleComparisons(Effort effort);

} // namespace tavik::bench
