// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "model/edit_history.h"
#include "model/state_copies.h"
#include "tests/app/window_pages.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/page_view.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <memory>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int macrosPage = 2;
constexpr int lightingPage = 3;
constexpr int settingsPage = 8;

SavedState droppedState()
{
    SavedState state;
    state.macros = {{QStringLiteral("Dropped"), {}}};
    return state;
}

} // namespace

class SettingsDropTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        applyApplicationStyle(*qApp);
        window = std::make_unique<MainWindow>();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }

    void cleanup()
    {
        window.reset();
        QCOMPARE(busWire(), QStringList());
    }

    void settingsFileIsImported_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("shown");
        QTest::newRow("on a page that shows it") << macrosPage << macrosPage;
        QTest::newRow("on another page") << lightingPage << settingsPage;
    }
    void settingsFileIsImported()
    {
        QFETCH(int, page);
        QFETCH(int, shown);
        stackOf(*window)->setCurrentIndex(page);
        onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("Yes")); });
        QVERIFY(drop({fileWith("My Settings.JSON", stateToJson(droppedState()))}));
        // Nobody is kept waiting by the question.
        QCOMPARE(dialogsStillExpected(), 1);
        QTRY_VERIFY(stateInMemory() == droppedState());
        QVERIFY(stateOnDisk() == droppedState());
        QCOMPARE(EditHistory::instance().undoText(), QStringLiteral("Import settings"));
        QCOMPARE(earlierStates().size(), 1);
        QCOMPARE(stackOf(*window)->currentIndex(), shown);
        const auto* list = stackOf(*window)->widget(macrosPage)->findChild<QListWidget*>();
        QCOMPARE(list->count(), 1);
        QCOMPARE(list->item(0)->text(), QStringLiteral("Dropped"));
    }

    void whatIsNoSettingsFileIsNotTaken_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::newRow("picture") << QStringList{"a.png"};
        QTest::newRow("two files") << QStringList{"a.json", "b.json"};
        QTest::newRow("nothing") << QStringList{};
    }
    void whatIsNoSettingsFileIsNotTaken()
    {
        QFETCH(QStringList, names);
        QList<QUrl> urls;
        for (const QString& name : names)
            urls += fileWith(name, stateToJson(droppedState()));
        QVERIFY(!drop(urls));
        QVERIFY(!drop({QUrl(QStringLiteral("https://example.org/a.json"))}));
    }

    void nothingIsTakenBehindADialog()
    {
        QMessageBox box(window.get());
        box.setModal(true);
        box.show();
        QVERIFY(!drop({fileWith("a.json", stateToJson(droppedState()))}));
    }

    void keyOpensTheMenuOfTheResetButton()
    {
        stackOf(*window)->setCurrentIndex(settingsPage);
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QPushButton* button = buttonOf(*window, QStringLiteral("Reset Keyboard Data"));
        button->setFocus();
        QTest::keyClick(button, Qt::Key_F10, Qt::ShiftModifier);
        const auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu != nullptr);
        QCOMPARE(menu->actions().first()->text(), QStringLiteral("Export settings…"));
    }

private:
    QUrl fileWith(const QString& name, const QByteArray& content) const
    {
        const QString path = directory.filePath(name);
        writeFile(path, content);
        return QUrl::fromLocalFile(path);
    }

    // True when the window takes what is dragged; it is dropped then.
    bool drop(const QList<QUrl>& urls)
    {
        QMimeData data;
        data.setUrls(urls);
        const QPoint middle = window->rect().center();
        QDragEnterEvent enter(middle, Qt::CopyAction, &data, Qt::LeftButton, {});
        enter.ignore();
        QApplication::sendEvent(window.get(), &enter);
        if (!enter.isAccepted())
            return false;
        QDropEvent event(middle, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window.get(), &event);
        return event.isAccepted();
    }

    QTemporaryDir directory;
    std::unique_ptr<MainWindow> window;
};

TAVIK_ISOLATED_TEST_MAIN(SettingsDropTest)

#include "settings_drop_test.moc"
