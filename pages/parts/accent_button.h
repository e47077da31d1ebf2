// SPDX-License-Identifier: MIT
#pragma once

#include <QPushButton>

namespace tavik {

// The one button that does what its page is for. It can carry a mark for what the keyboard has not
// been told yet.
class AccentButton : public QPushButton
{
    Q_OBJECT

public:
    AccentButton(const QString& text, QWidget* parent);

    // Draws or takes away a dot beside the text, and a tool tip that says what it means. The button
    // keeps its text and its size.
    void setMarked(bool marked);

    // A line of the tool tip, below what the dot means.
    void setNote(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showToolTip();

    bool isMarked = false;
    QString note;
};

} // namespace tavik
