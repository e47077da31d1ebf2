#pragma once

#include <QString>

class QLabel;
class QWidget;

namespace tavik {

// The looks of an outcome, the same on every page.
enum class StatusLook { Plain, Success, Warning, Error };

// The empty label of a page's outcome; its texts are shown as they stand, whatever is in them.
[[nodiscard]] QLabel* createStatusLabel(QWidget* parent);

// Shows the text in the look. Plain takes back whatever look was there before.
void showStatus(QLabel* label, StatusLook look, const QString& text);

// Shows what came of an operation on the keyboard: the text when it succeeded, else "Error: %1"
// with the device's last error.
void showOutcome(QLabel* label, bool succeeded, const QString& successText);

} // namespace tavik
