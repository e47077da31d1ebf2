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

#include <stdexcept>

namespace tavik::virtual_keyboard {

namespace {

SavedState presentState()
{
    return AppState::instance();
}

QString exportedPath()
{
    return QFileInfo(stateFilePath()).path() + QStringLiteral("/settings-of-the-tour.json");
}

template <typename View>
QWidget* visibleView()
{
    for (QWidget* widget : QApplication::allWidgets()) {
        if (qobject_cast<View*>(widget) != nullptr && widget->isVisible())
            return widget;
    }
    return nullptr;
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
    const auto* field =
        dialog != nullptr ? dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")) : nullptr;
    return field != nullptr ? field->text() : QString();
}

} // namespace

// Makes the edit on its page, undoes it from another one and redoes it.
void Tour::undoAndRedo(const QString& title, const QString& page, const std::function<void()>& edit)
{
    const auto require = [this](const std::function<bool()>& condition) {
        if (!driver.waitUntil(condition))
            throw std::runtime_error("a step is not undone");
    };
    SavedState before;
    SavedState after;
    step(
        QStringLiteral("undo and redo: ") + title,
        [&] {
            showPage(page);
            before = driver.onGui(presentState);
            edit();
            require([&] { return presentState() != before; });
            after = driver.onGui(presentState);
            showPage(QStringLiteral("Light Effect Mode"));
            driver.pressWith(KeySymbol::Control, KeySymbol{'z'});
            require([&] { return presentState() == before; });
            require([&] { return shownPage() == page; });
            showPage(QStringLiteral("Light Effect Mode"));
            driver.pressWith(KeySymbol::Control, KeySymbol{'Z'});
        },
        [&] { return presentState() == after && shownPage() == page; },
        [] { return QStringLiteral("undone and redone: ") + EditHistory::instance().undoText(); });
}

void Tour::visitHistory()
{
    const auto button = [](const char* text) {
        return [text] { return TourDriver::buttonWithText(QLatin1String(text)); };
    };
    const auto called = [](const char* name) {
        return [name] { return TourDriver::widgetCalled(QLatin1String(name)); };
    };
    const auto press = [&](const char* text) {
        return [this, button, text] { driver.click(button(text)); };
    };
    const QString keys = QStringLiteral("Keys");
    const QString macros = QStringLiteral("Macros");
    const QString colors = QStringLiteral("Custom Lighting");

    undoAndRedo(QStringLiteral("a key of the Fn layer"), keys, [&] {
        driver.click(button("Fn layer"));
        clickKey(QStringLiteral("Tab"), MouseButton::Right);
        driver.chooseMenuEntry(QString(), QStringLiteral("Disabled"));
    });
    undoAndRedo(QStringLiteral("a key by its dialog"), keys, [&] {
        clickKey(QStringLiteral("Q"));
        driver.chooseItem(called("Assignment type"), QStringLiteral("Disabled"));
        driver.click(button("OK"));
    });
    undoAndRedo(QStringLiteral("all keys of a layer"), keys, press("Reset all to default"));
    undoAndRedo(QStringLiteral("the color of a key"), colors,
                [&] { clickKey(QStringLiteral("A")); });
    undoAndRedo(QStringLiteral("all colors"), colors, press("Fill all keys"));
    undoAndRedo(QStringLiteral("the colors of the keyboard"), colors, press("Read from keyboard"));
    undoAndRedo(QStringLiteral("a new macro"), macros, [&] {
        driver.click(button("New macro"));
        driver.type(QStringLiteral("Undone"));
        driver.click(button("OK"));
    });
    undoAndRedo(QStringLiteral("a new action"), macros, [&] {
        driver.clickAt(visibleView<QListWidget>, firstRow);
        driver.click(button("Add action"));
    });
    undoAndRedo(QStringLiteral("a removed action"), macros, [&] {
        driver.clickAt(visibleView<QListWidget>, firstRow);
        driver.clickAt(visibleView<QTableWidget>, firstRow);
        driver.click(button("Remove action"));
    });

    showPage(macros);
    step(
        QStringLiteral("undo by the menu of the macros"),
        [&] {
            driver.clickAt(visibleView<QListWidget>, firstRow);
            driver.pressWith(KeySymbol::Shift, KeySymbol::F10);
            if (!driver.waitUntil([] { return QApplication::activePopupWidget() != nullptr; }))
                throw std::runtime_error("no menu opens");
            driver.takePicture(QStringLiteral("macro-menu"));
            driver.chooseMenuEntry(QString(), QStringLiteral("Undo Remove action"));
        },
        [] { return EditHistory::instance().redoText() == QStringLiteral("Remove action"); },
        [] { return QStringLiteral("next: ") + EditHistory::instance().undoText(); });
    undoAndRedo(QStringLiteral("a deleted macro"), macros, [&] {
        driver.clickAt(visibleView<QListWidget>, firstRow);
        driver.click(button("Delete"));
    });
}

void Tour::visitExchange()
{
    const auto button = [](const char* text) {
        return [text] { return TourDriver::buttonWithText(QLatin1String(text)); };
    };
    const QString settings = QStringLiteral("Keyboard Settings");
    SavedState exported;
    const auto chooseFile = [&](const char* entry) {
        driver.click(button("Reset Keyboard Data"), MouseButton::Right);
        driver.chooseMenuEntry(QString(), QString::fromUtf8(entry));
        driver.type(exportedPath());
        if (!driver.waitUntil([] { return fileNameInDialog() == exportedPath(); }))
            throw std::runtime_error("the file name is not typed");
        driver.takePicture(QStringLiteral("settings-file-dialog"));
        // A list of matching names that has just opened takes the key for itself.
        for (int attempt = 0; attempt < 3; ++attempt) {
            driver.pressKey(KeySymbol::Return);
            if (driver.waitUntil([] { return fileNameInDialog().isNull(); }))
                break;
        }
    };
    showPage(settings);
    step(
        QStringLiteral("export the settings"),
        [&] {
            exported = driver.onGui(presentState);
            chooseFile("Export settings…");
        },
        [&] {
            QString reason;
            return readStateFile(exportedPath(), &reason) == exported;
        },
        [] { return QStringLiteral("%1 bytes").arg(QFileInfo(exportedPath()).size()); });
    undoAndRedo(QStringLiteral("the cleared data"), settings, [&] {
        driver.click(button("Reset Keyboard Data"));
        driver.click(button("Yes"));
    });
    undoAndRedo(QStringLiteral("an import"), settings, [&] {
        chooseFile("Import settings…");
        driver.click(button("Yes"));
    });

    QString entry;
    showPage(settings);
    step(
        QStringLiteral("go back to an earlier state"),
        [&] {
            driver.click(button("Reset Keyboard Data"), MouseButton::Right);
            if (!driver.waitUntil([&] { return !(entry = oldestEntry()).isEmpty(); }))
                throw std::runtime_error("no earlier state is offered");
            driver.chooseMenuEntry(QStringLiteral("Earlier states"), entry);
            driver.takePicture(QStringLiteral("earlier-state-question"));
            driver.click(button("Yes"));
        },
        [] {
            QString reason;
            return readStateFile(earlierStates().constLast().path, &reason) == presentState();
        },
        [&] { return QString(entry).replace(u'\t', QStringLiteral(": ")); });
}

} // namespace tavik::virtual_keyboard
