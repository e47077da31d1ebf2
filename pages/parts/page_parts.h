// SPDX-License-Identifier: MIT
#pragma once

#include "pages/parts/accent_button.h"

#include <QPushButton>

#include <functional>
#include <initializer_list>

class QAbstractButton;
class QAction;
class QHBoxLayout;
class QLabel;
class QLayout;
class QListWidget;
class QMenu;
class QVBoxLayout;

namespace tavik {

// A window too small for a page cuts the page at its edges instead of piling up its parts.
void cutAtEdges(QLayout* pageLayout);

// The column of a page that has the same margin on all sides. A spacing of -1 is the style's own.
[[nodiscard]] QVBoxLayout* createPageColumn(QWidget* page, int spacing = 8);

// Widgets side by side, pushed to the left.
[[nodiscard]] QHBoxLayout* createRow(std::initializer_list<QWidget*> widgets);

// Tab comes to the chosen one of buttons that exclude each other, whoever has chosen it; the arrow
// keys go on from there.
void letTabFindTheChosen(const QList<QAbstractButton*>& buttons);

// An entry for the menu of a widget, whose keys work while that widget has the focus. One that asks
// opens its question and returns: an assistive tool that chose the entry waits for that.
QAction* addMenuEntry(QWidget* widget, const QString& text, const QKeySequence& keys,
                      const std::function<void()>& act);

// Shows a menu, which is gone when it closes. It closes when an entry is chosen by whatever means:
// after the press of an assistive tool, it would stay open.
void popUp(QMenu* menu, QPoint globalPos);

// The entries of such a menu are to be chosen one after the other.
void keepOpen(QMenu* menu);

// Moves a window of the page so that it has this center, as far as the screen allows.
void centerAt(QWidget* window, QPoint globalCenter);

// Combo boxes have no name of their own for a screen reader on Linux: they are called as their
// label is. Gives one its accessible name by a label that nobody sees.
void labelUnseen(QWidget* control);

// The selected row becomes the current one, however it was selected, and a list without a selected
// row selects the current one: everything acts on the row that is marked.
void keepCurrentSelected(QListWidget* list);

// A heading over a group of controls.
[[nodiscard]] QLabel* createHeading(const QString& text, int pixelSize, QWidget* parent);

// The quiet explanation at the foot of a page.
[[nodiscard]] QLabel* createHint(const QString& text, QWidget* parent);

// A button of a page that calls one of its slots.
template <typename Page>
[[nodiscard]] QPushButton* createButton(const QString& text, Page* page, void (Page::*slot)())
{
    auto* button = new QPushButton(text, page);
    QObject::connect(button, &QPushButton::clicked, page, slot);
    return button;
}

// The one button that does what its page is for.
template <typename Page>
[[nodiscard]] AccentButton* createAccentButton(const QString& text, Page* page,
                                               void (Page::*slot)())
{
    auto* button = new AccentButton(text, page);
    QObject::connect(button, &QPushButton::clicked, page, slot);
    return button;
}

} // namespace tavik
