// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QWidget;

namespace tavik {

// Lets a screen reader say the text, as something that has come of the widget. Nobody else notices.
void announce(QWidget* widget, const QString& text);

} // namespace tavik
