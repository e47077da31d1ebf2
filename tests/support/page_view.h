// SPDX-License-Identifier: MIT
#pragma once

#include "model/app_state.h"
#include "tests/support/files.h"

#include <QJsonDocument>
#include <QPushButton>

namespace tavik::tests {

// How a status label looks.
inline const QString successStyle = QStringLiteral("color:#7ec97e;");
inline const QString warningStyle = QStringLiteral("color:#e0a050;");
inline const QString errorStyle = QStringLiteral("color:#e07070;");

// The button of the page with exactly this text. The test ends when there is none.
inline QPushButton* buttonOf(const QWidget& page, const QString& text)
{
    for (QPushButton* button : page.findChildren<QPushButton*>()) {
        if (button->text() == text)
            return button;
    }
    qFatal("no button \"%s\"", qPrintable(text));
}

inline SavedState stateInMemory()
{
    return AppState::instance();
}

// What a start of the program would find.
inline SavedState stateOnDisk()
{
    return stateFromJson(QJsonDocument::fromJson(readFile(stateFilePath())).object());
}

} // namespace tavik::tests
