// SPDX-License-Identifier: MIT
#include "app/window_place.h"

#include <QRect>
#include <QWidget>

namespace tavik {

void showOnScreen(QWidget& window, const QRect& available)
{
    const QSize wanted = window.size();
    window.resize(wanted.boundedTo(available.size()).expandedTo(window.minimumSize()));
    if (window.size() != wanted)
        window.move(available.topLeft());
    window.show();
}

} // namespace tavik
