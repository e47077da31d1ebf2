// SPDX-License-Identifier: MIT
#pragma once

#include <QStackedWidget>
#include <QTest>

namespace tavik::tests {

inline QStackedWidget* stackOf(const QWidget& window)
{
    return window.findChild<QStackedWidget*>(QStringLiteral("pageStack"));
}

// One data row "page" for each page of the window, in the order of the stack.
inline void addPageRows()
{
    QTest::addColumn<int>("page");
    int page = 0;
    for (const char* name : {"home", "keys", "macros", "lighting", "screen", "favorites",
                             "custom lighting", "music", "settings"})
        QTest::newRow(name) << page++;
}

} // namespace tavik::tests
