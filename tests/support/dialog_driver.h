// SPDX-License-Identifier: MIT
#pragma once

#include <QScopeGuard>
#include <QWidget>

#include <functional>

namespace tavik::tests {

// Runs the action on the next modal dialog or popup that opens, once, from the event loop that the
// dialog itself runs. Several calls queue up: each takes one dialog after the other. The returned
// count of actions not run yet lets a test insist that every dialog came.
void onNextDialog(std::function<void(QWidget& dialog)> action);

// How many actions are still waiting for their dialog.
[[nodiscard]] int dialogsStillExpected();

// Closes the dialog also when a check in it fails, so that a failure is not a standstill.
[[nodiscard]] inline auto closeAtTheEnd(QWidget& dialog)
{
    return qScopeGuard([&dialog] { dialog.close(); });
}

// Clicks the button with this text in the dialog; the test fails when there is none.
void clickButton(QWidget& dialog, const QString& text);

} // namespace tavik::tests
