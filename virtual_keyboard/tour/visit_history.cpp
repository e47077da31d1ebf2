// SPDX-License-Identifier: MIT
#include "model/edit_history.h"
#include "model/state_copies.h"
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QTableWidget>

#include <cstdio>

namespace tavik::virtual_keyboard {

namespace {

SavedState presentState()
{
    return AppState::instance();
}

QString exportedPath()
{
    return QFileInfo(stateFilePath()).path() + "/settings-of-the-tour.json";
}

// The middle of the first row of a list or table.
QPoint firstRow(QWidget& widget)
{
    const auto& view = static_cast<QAbstractItemView&>(widget);
    return view.viewport()->mapTo(&widget, view.visualRect(view.model()->index(0, 0)).center());
}

// The entry of an earlier state at the end of the open menu, once it has been counted.
QString oldestEntry()
{
    const auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (menu == nullptr || menu->actions().constLast()->menu() == nullptr)
        return {};
    const QString text = menu->actions().constLast()->menu()->actions().constLast()->text();
    return text.contains(u'\t') ? text : QString();
}

// What stands in the file dialog that is open; null when none is.
QString fileNameInDialog()
{
    const auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    const auto* field = dialog != nullptr ? dialog->findChild<QLineEdit*>("fileNameEdit") : nullptr;
    return field != nullptr ? field->text() : QString();
}

} // namespace

// Makes the edit on its page, undoes it from another one and redoes it.
void Tour::undoAndRedo(const QString& title, const QString& page, const std::function<void()>& edit)
{
    constexpr const char* notUndone = "a step is not undone";
    SavedState before;
    SavedState after;
    step(
        "undo and redo: " + title,
        [&] {
            showPage(page);
            before = driver.onGui(presentState);
            edit();
            driver.require([&] { return presentState() != before; }, notUndone);
            after = driver.onGui(presentState);
            showPage("Light Effect Mode");
            driver.pressWith(KeySymbol::Control, KeySymbol{'z'});
            driver.require([&] { return presentState() == before; }, notUndone);
            driver.require([&] { return shownPage() == page; }, notUndone);
            showPage("Light Effect Mode");
            driver.pressWith(KeySymbol::Control, KeySymbol{'Z'});
        },
        [&] { return presentState() == after && shownPage() == page; },
        [] { return "undone and redone: " + EditHistory::instance().undoText(); });
}

void Tour::visitHistory()
{
    const auto press = [this](const char* text) { return [this, text] { driver.press(text); }; };
    const QString keys = "Keys";
    const QString macros = "Macros";
    const QString colors = "Custom Lighting";

    undoAndRedo("a key of the Fn layer", keys, [&] {
        driver.press("Fn layer");
        clickKey("Tab", MouseButton::Right);
        driver.chooseMenuEntry(QString(), "Disabled");
    });
    undoAndRedo("a key by its dialog", keys, [&] {
        clickKey("Q");
        driver.chooseItem(TourDriver::called("Assignment type"), "Disabled");
        driver.press("OK");
    });
    undoAndRedo("all keys of a layer", keys, press("Reset all to default"));
    undoAndRedo("the color of a key", colors, [&] { clickKey("A"); });
    undoAndRedo("all colors", colors, press("Fill all keys"));
    undoAndRedo("the colors of the keyboard", colors, press("Read from keyboard"));
    undoAndRedo("a new macro", macros, [&] {
        driver.press("New macro");
        driver.type("Undone");
        driver.press("OK");
    });
    undoAndRedo("a new action", macros, [&] {
        driver.clickAt(TourDriver::visible<QListWidget>, firstRow);
        driver.press("Add action");
    });
    undoAndRedo("a removed action", macros, [&] {
        driver.clickAt(TourDriver::visible<QListWidget>, firstRow);
        driver.clickAt(TourDriver::visible<QTableWidget>, firstRow);
        driver.press("Remove action");
    });

    showPage(macros);
    step(
        "undo by the menu of the macros",
        [&] {
            driver.clickAt(TourDriver::visible<QListWidget>, firstRow);
            driver.pressWith(KeySymbol::Shift, KeySymbol::F10);
            driver.require([] { return QApplication::activePopupWidget() != nullptr; },
                           "no menu opens");
            driver.takePicture("macro-menu");
            driver.chooseMenuEntry(QString(), "Undo Remove action");
        },
        [] { return EditHistory::instance().redoText() == "Remove action"; },
        [] { return "next: " + EditHistory::instance().undoText(); });
    undoAndRedo("a deleted macro", macros, [&] {
        driver.clickAt(TourDriver::visible<QListWidget>, firstRow);
        driver.press("Delete");
    });
}

void Tour::visitExchange()
{
    const QString settings = "Keyboard Settings";
    SavedState exported;
    const auto chooseFile = [&](const char* entry) {
        driver.press("Reset Keyboard Data", MouseButton::Right);
        driver.chooseMenuEntry(QString(), entry);
        const auto isTyped = [] { return fileNameInDialog() == exportedPath(); };
        driver.type(exportedPath());
        if (!driver.waitUntil(isTyped)) {
            std::printf("   retyped: %s\n", qUtf8Printable(driver.onGui(fileNameInDialog)));
            driver.pressWith(KeySymbol::Control, KeySymbol{'a'});
            driver.type(exportedPath());
            driver.require(isTyped, "the file name is not typed");
        }
        driver.takePicture("settings-file-dialog");
        // A list of matching names that has just opened takes the key for itself.
        for (int attempt = 0; attempt < 3; ++attempt) {
            driver.pressKey(KeySymbol::Return);
            if (driver.waitUntil([] { return fileNameInDialog().isNull(); }))
                break;
        }
    };
    showPage(settings);
    step(
        "export the settings",
        [&] {
            exported = driver.onGui(presentState);
            chooseFile("Export settings…");
        },
        [&] {
            QString reason;
            return readStateFile(exportedPath(), &reason) == exported;
        },
        [] { return QStringLiteral("%1 bytes").arg(QFileInfo(exportedPath()).size()); });
    undoAndRedo("the cleared data", settings, [&] {
        driver.press("Reset Keyboard Data");
        driver.press("Yes");
    });
    undoAndRedo("an import", settings, [&] {
        chooseFile("Import settings…");
        driver.press("Yes");
    });

    QString entry;
    showPage(settings);
    step(
        "go back to an earlier state",
        [&] {
            driver.press("Reset Keyboard Data", MouseButton::Right);
            driver.require([&] { return !(entry = oldestEntry()).isEmpty(); },
                           "no earlier state is offered");
            driver.chooseMenuEntry("Earlier states", entry);
            driver.takePicture("earlier-state-question");
            driver.press("Yes");
        },
        [] {
            QString reason;
            return readStateFile(earlierStates().constLast().path, &reason) == presentState();
        },
        [&] { return QString(entry).replace(u'\t', ": "); });
}

} // namespace tavik::virtual_keyboard
