// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessible>
#include <QString>

class QButtonGroup;
class QWidget;

namespace tavik {

// What assistive tools are told that the widget is, where its class says something else or nothing;
// the name counts when the widget has none. To be called before anybody asks, as a page is built.
void setAccessibleRole(QWidget* widget, QAccessible::Role role, const QString& name = {});

// The same, for a widget on which the menu key opens a menu: they can open it, too.
void letToolsOpenMenu(QWidget* widget, QAccessible::Role role, const QString& name = {});

// To assistive tools, the buttons are radio buttons in a group of this name. All of them have the
// same parent widget, in whose children the group takes their place.
void setAccessibleGroup(QButtonGroup* group, const QString& name);

} // namespace tavik
