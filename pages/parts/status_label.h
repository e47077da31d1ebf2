#pragma once

#include <QString>

class QLabel;

namespace tavik {

// The looks of an outcome, the same on every page.
enum class StatusLook { Plain, Success, Warning, Error };

// Shows the text in the look. Plain takes back whatever look was there before.
void showStatus(QLabel* label, StatusLook look, const QString& text);

// Shows "Error: %1" with the text, in the look of an error.
void showError(QLabel* label, const QString& text);

} // namespace tavik
