// SPDX-License-Identifier: MIT
#include "model/edit_history.h"
#include "model/state_copies.h"
#include "pages/settings/settings_widget.h"
#include "pages/settings/state_exchange.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/menu_driver.h"
#include "tests/support/page_view.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <sys/stat.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

const QString exportText = QStringLiteral("Export settings…");
const QString importText = QStringLiteral("Import settings…");

// One macro named like this, and a key, whose number grows with it.
SavedState numbered(int number)
{
    SavedState state;
    state.macros = {{QStringLiteral("macro %1").arg(number), {{10, 4, 0xB0}}}};
    for (int key = 0; key < number; ++key)
        state.layerBase.at(static_cast<std::size_t>(key)) = {2, 1, 4, 0};
    return state;
}

SavedState presentState()
{
    SavedState state = numbered(5);
    state.layerFn[143] = {5, 0, 0, 0};
    state.customRgb.fill(99);
    return state;
}

QStringList textsOf(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* entry : menu->actions())
        texts += entry->text();
    return texts;
}

QString timeText(const EarlierState& state)
{
    return QLocale().toString(state.keptAt.toLocalTime(), QLocale::ShortFormat);
}

} // namespace

class StateExchangeTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        // Where the dialogs open; what has been exported to the user's own home is none of this.
        qputenv("HOME", home.path().toUtf8());
        static_cast<SavedState&>(AppState::instance()) = presentState();
        AppState::instance().save();
        page = std::make_unique<SettingsWidget>();
        page->resize(1140, 700);
        page->show();
        QVERIFY(QTest::qWaitForWindowExposed(page.get()));
    }

    void cleanup()
    {
        page.reset();
        QCOMPARE(busWire(), QStringList());
        QCOMPARE(dialogsStillExpected(), 0);
    }

    void menuOfTheResetButton_data()
    {
        QTest::addColumn<bool>("fromKeyboard");
        QTest::newRow("mouse") << false;
        QTest::newRow("key") << true;
    }
    void menuOfTheResetButton()
    {
        QFETCH(bool, fromKeyboard);
        const QMenu* menu =
            openMenu(fromKeyboard ? QContextMenuEvent::Keyboard : QContextMenuEvent::Mouse);
        QCOMPARE(textsOf(menu), QStringList({exportText, importText, "Earlier states"}));
        const QMenu* earlier = menu->actions().at(2)->menu();
        QCOMPARE(textsOf(earlier), QStringList("None kept yet"));
        QVERIFY(!earlier->actions().first()->isEnabled());
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        isUnchanged();
    }

    void earlierStatesAreListedNewestFirst()
    {
        SavedState colored = numbered(1);
        colored.customRgb[3] = 1;
        colored.layerFn[3] = {5, 0, 0, 0};
        for (const SavedState& state : {numbered(0), numbered(3), colored, SavedState{}})
            QVERIFY(keepEarlier(stateToJson(state)));
        QStringList times;
        for (const EarlierState& state : earlierStates())
            times += timeText(state);
        QMenu* earlier = openEarlierStates();
        QTRY_COMPARE(textsOf(earlier), QStringList({times.at(0) + "\t0 keys, 0 macros, 0 colors",
                                                    times.at(1) + "\t2 keys, 1 macro, 1 color",
                                                    times.at(2) + "\t3 keys, 1 macro, 0 colors",
                                                    times.at(3) + "\t0 keys, 1 macro, 0 colors"}));
    }

    void earlierStateThatIsDamagedCannotBeChosen()
    {
        QVERIFY(keepEarlier(stateToJson(numbered(1))));
        writeFile(earlierStates().first().path, "[]");
        const QMenu* earlier = openEarlierStates();
        QTRY_VERIFY(earlier->actions().first()->text().endsWith("\tcannot be read"));
        QVERIFY(!earlier->actions().first()->isEnabled());
    }

    // 30 of them take as long to count as the program takes to start; the menu does not wait.
    void menuOpensBeforeTheStatesAreCounted()
    {
        for (int number = 0; number < 35; ++number)
            QVERIFY(keepEarlier(stateToJson(numbered(number))));
        const QMenu* earlier = openMenu(QContextMenuEvent::Mouse)->actions().at(2)->menu();
        QCOMPARE(earlier->actions().size(), 30);
        QVERIFY(!earlier->actions().first()->text().contains(u'\t'));
        QTRY_VERIFY(earlier->actions().constLast()->text().contains(u'\t'));
    }

    // Nothing of the present is in the state of that date.
    void earlierStateWithoutAllMembersBringsTheRestBackEmpty()
    {
        QVERIFY(keepEarlier("{\"macros\":[{\"name\":\"old\"}]}"));
        EditHistory::instance().takeOver(QStringLiteral("present"), numbered(5));
        QMenu* earlier = openEarlierStates();
        chooseInMenu(earlier, earlier->actions().constLast());
        answerLater(QStringLiteral("Yes"),
                    QStringLiteral("Go back to the state of %1?\n\nThen you have 0 keys, 1 macro, "
                                   "0 colors. Undo takes this back.")
                        .arg(timeText(earlierStates().constLast())));
        SavedState old;
        old.macros = {{QStringLiteral("old"), {}}};
        QTRY_VERIFY(static_cast<const SavedState&>(AppState::instance()) == old);
    }

    void earlierStateComesBack()
    {
        QVERIFY(keepEarlier(stateToJson(numbered(1))));
        QVERIFY(keepEarlier(stateToJson(numbered(2))));
        const EarlierState chosen = earlierStates().at(1);
        const QSignalSpy restored(&EditHistory::instance(), &EditHistory::restored);
        QMenu* earlier = openEarlierStates();
        chooseInMenu(earlier, earlier->actions().at(1));
        answerLater(QStringLiteral("Yes"),
                    QStringLiteral("Go back to the state of %1?\n\nThen you have 1 key, 1 macro, "
                                   "0 colors. Undo takes this back.")
                        .arg(timeText(chosen)));
        QTRY_COMPARE(restored.count(), 1);
        isTakenOver(numbered(1), QStringLiteral("Earlier state"));
    }

    void importTakesOverTheFile()
    {
        const QString path = fileWith(stateToJson(numbered(2)));
        onNextDialog([path](QWidget& dialog) {
            const auto* files = qobject_cast<QFileDialog*>(&dialog);
            QVERIFY(files != nullptr);
            QCOMPARE(files->windowTitle(), QStringLiteral("Import settings"));
            QCOMPARE(files->fileMode(), QFileDialog::ExistingFile);
            QCOMPARE(files->nameFilters(), QStringList("Settings (*.json)"));
            chooseFile(dialog, path);
        });
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            const auto* box = qobject_cast<QMessageBox*>(&dialog);
            QVERIFY(box != nullptr);
            QCOMPARE(box->windowTitle(), QStringLiteral("Import settings"));
            QCOMPARE(box->text(),
                     QStringLiteral("Take over the settings in \"chosen.json\"? What the file does "
                                    "not hold stays as it is.\n\nThen you have 2 keys, 1 macro, 0 "
                                    "colors. Undo takes this back."));
            QCOMPARE(box->icon(), QMessageBox::Question);
            QVERIFY(box->defaultButton() == box->button(QMessageBox::No));
            clickButton(dialog, QStringLiteral("Yes"));
        });
        importSettings(page.get());
        isTakenOver(numbered(2), QStringLiteral("Import settings"));
    }

    void longNameOfAFileIsCut()
    {
        for (const auto& [length, shown] :
             {std::pair(60, QString(55, u'n') + QStringLiteral(".json")),
              std::pair(61, QString(56, u'n') + QStringLiteral(".jso…"))}) {
            const QString path =
                directory.filePath(QString(length - 5, u'n') + QStringLiteral(".json"));
            writeFile(path, "no settings");
            onNextDialog([shown = shown](QWidget& dialog) {
                const auto closing = closeAtTheEnd(dialog);
                QVERIFY(static_cast<QMessageBox&>(dialog).text().startsWith(
                    QStringLiteral("\"%1\" cannot be used.").arg(shown)));
            });
            importSettingsFrom(path, page.get());
            QCOMPARE(dialogsStillExpected(), 0);
        }
    }

    void importFromTheMenu()
    {
        chooseInMenu(openMenu(QContextMenuEvent::Mouse), importText);
        onNextDialog([](QWidget& dialog) {
            QCOMPARE(dialog.windowTitle(), QStringLiteral("Import settings"));
            dialog.close();
        });
        QTRY_COMPARE(dialogsStillExpected(), 0);
        isUnchanged();
    }

    void refusedQuestionChangesNothing_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::newRow("no") << "No";
        QTest::newRow("closed") << "";
    }
    void refusedQuestionChangesNothing()
    {
        QFETCH(QString, answer);
        onNextDialog([answer](QWidget& dialog) {
            if (answer.isEmpty())
                QTest::keyClick(&dialog, Qt::Key_Escape);
            else
                clickButton(dialog, answer);
        });
        importSettingsFrom(fileWith(stateToJson(numbered(2))), page.get());
        isUnchanged();
    }

    void missingMembersKeepTheirValues_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("member");
        const QByteArray key = R"({"page":3,"p1":226,"p2":0,"p3":0})";
        QTest::newRow("base layer") << QByteArray("{\"layerBase\":[" + key + "]}") << 0;
        QTest::newRow("Fn layer") << QByteArray("{\"layerFn\":[" + key + "]}") << 1;
        QTest::newRow("macros") << QByteArray("{\"macros\":[{\"name\":\"New\"}]}") << 2;
        QTest::newRow("colors") << QByteArray("{\"customRgb\":[1,2,3]}") << 3;
        QTest::newRow("others are no arrays")
            << QByteArray(R"({"customRgb":[1,2,3],"macros":5,"layerBase":{},"layerFn":null})") << 3;
    }
    void missingMembersKeepTheirValues()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, member);
        SavedState expected = presentState();
        if (member == 0)
            expected.layerBase = KeyLayer{{{3, 226, 0, 0}}};
        if (member == 1)
            expected.layerFn = KeyLayer{{{3, 226, 0, 0}}};
        if (member == 2)
            expected.macros = {{QStringLiteral("New"), {}}};
        if (member == 3)
            expected.customRgb = tavik::ColorBank{1, 2, 3};
        onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("Yes")); });
        importSettingsFrom(fileWith(content), page.get());
        isTakenOver(expected, QStringLiteral("Import settings"));
    }

    void unusableFileIsRefusedInOneBox_data()
    {
        QTest::addColumn<QByteArray>("kind");
        QTest::addColumn<QString>("reason");
        const QString unreadable = QStringLiteral("The file cannot be read, or it is too large.");
        const QString damaged = QStringLiteral("The file is damaged, or it is no settings file.");
        const QString foreign = QStringLiteral("The file holds no settings of this program.");
        for (const char* kind : {"missing", "directory", "pipe", "1 GB"})
            QTest::newRow(kind) << QByteArray(kind) << unreadable;
        const QByteArray whole = stateToJson(numbered(3));
        QTest::newRow("array") << QByteArray("[" + whole + "]") << damaged;
        for (qsizetype length = 0; length < whole.size() - 2; length += 3001)
            QTest::addRow("cut at %d", static_cast<int>(length)) << whole.left(length) << damaged;
        QTest::newRow("empty object") << QByteArray("{}") << foreign;
        QTest::newRow("foreign object") << QByteArray("{\"other\":[]}") << foreign;
        QTest::newRow("wrong types") << QByteArray("{\"macros\":5,\"layerFn\":{}}") << foreign;
    }
    void unusableFileIsRefusedInOneBox()
    {
        QFETCH(QByteArray, kind);
        QFETCH(QString, reason);
        const QString path = directory.filePath(QStringLiteral("<b>x.json"));
        if (kind == "directory")
            QVERIFY(QDir().mkpath(path));
        else if (kind == "pipe")
            QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else if (kind != "missing")
            writeFile(path, kind);
        if (kind == "1 GB")
            QVERIFY(QFile::resize(path, 1'000'000'000));
        onNextDialog([reason](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            const auto* box = qobject_cast<QMessageBox*>(&dialog);
            QVERIFY(box != nullptr);
            QCOMPARE(box->windowTitle(), QStringLiteral("Import settings"));
            QCOMPARE(box->text(), QStringLiteral("\"<b>x.json\" cannot be used. ") + reason);
            QCOMPARE(box->textFormat(), Qt::PlainText);
            QCOMPARE(box->standardButtons(), QMessageBox::Ok);
            QCOMPARE(box->icon(), QMessageBox::Information);
        });
        importSettingsFrom(path, page.get());
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        isUnchanged();
    }

    void importWorksWhereNothingCanBeKept()
    {
        const QString earlier = QFileInfo(stateFilePath()).path() + QStringLiteral("/earlier");
        writeFile(earlier, "a file in its place");
        onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("Yes")); });
        importSettingsFrom(fileWith(stateToJson(numbered(2))), page.get());
        QVERIFY(stateInMemory() == numbered(2));
        QCOMPARE(readFile(earlier), QByteArray("a file in its place"));
        EditHistory::instance().undo();
        QVERIFY(stateOnDisk() == presentState());
    }

    void whatIsExportedIsImportedAgain()
    {
        const QString path = directory.filePath(QStringLiteral("saved.json"));
        exportTo(directory.filePath(QStringLiteral("saved"))); // the ending is added
        QCOMPARE(readFile(path), readFile(stateFilePath()));
        QCOMPARE(QFile::permissions(path) & (QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                             QFileDevice::ReadOther | QFileDevice::WriteOther),
                 QFileDevice::Permissions());
        isUnchanged();

        AppState::instance().replace(QStringLiteral("Reset"), {});
        EditHistory::instance().clear();
        onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("Yes")); });
        importSettingsFrom(path, page.get());
        QVERIFY(stateInMemory() == presentState());
        QCOMPARE(readFile(stateFilePath()), readFile(path));
    }

    void exportFromTheMenu()
    {
        chooseInMenu(openMenu(QContextMenuEvent::Mouse), exportText);
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            const auto* files = qobject_cast<QFileDialog*>(&dialog);
            QVERIFY(files != nullptr);
            QCOMPARE(files->windowTitle(), QStringLiteral("Export settings"));
            QCOMPARE(files->acceptMode(), QFileDialog::AcceptSave);
            QCOMPARE(files->selectedFiles(),
                     QStringList(QDir::homePath() + QStringLiteral("/tavik-settings.json")));
        });
        QTRY_COMPARE(dialogsStillExpected(), 0);
        isUnchanged();
    }

    void existingFileIsNotReplacedUnasked()
    {
        const QString path = fileWith("something of value");
        onNextDialog([path](QWidget& dialog) { chooseFile(dialog, path.chopped(5)); }); // no ending
        onNextDialog([](QWidget& box) { clickButton(box, QStringLiteral("No")); });
        onNextDialog([](QWidget& dialog) { dialog.close(); });
        exportSettings(page.get());
        QCOMPARE(readFile(path), QByteArray("something of value"));
    }

    void refusedWriteIsTold()
    {
        onNextDialog([](QWidget& dialog) { chooseFile(dialog, QStringLiteral("/proc/x.json")); });
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            const auto* box = qobject_cast<QMessageBox*>(&dialog);
            QVERIFY(box != nullptr);
            QCOMPARE(box->windowTitle(), QStringLiteral("Export settings"));
            QCOMPARE(box->text(), QStringLiteral("\"x.json\" could not be written."));
            QCOMPARE(box->textFormat(), Qt::PlainText);
        });
        exportSettings(page.get());
        isUnchanged();
    }

private:
    QMenu* openMenu(QContextMenuEvent::Reason reason)
    {
        QPushButton* button = buttonOf(*page, "Reset Keyboard Data");
        const QPoint position = button->rect().center();
        QContextMenuEvent event(reason, position, button->mapToGlobal(position));
        QApplication::sendEvent(button, &event);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (menu == nullptr)
            qFatal("no menu opens");
        return menu;
    }

    QMenu* openEarlierStates()
    {
        QMenu* menu = openMenu(QContextMenuEvent::Mouse);
        QMenu* earlier = menu->actions().at(2)->menu();
        chooseInMenu(menu, QStringLiteral("Earlier states"));
        [&] { QTRY_VERIFY(earlier->isVisible()); }();
        return earlier;
    }

    static void answerLater(const QString& answer, const QString& question)
    {
        onNextDialog([answer, question](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            QCOMPARE(static_cast<QMessageBox&>(dialog).text(), question);
            clickButton(dialog, answer);
        });
    }

    static void chooseFile(QWidget& dialog, const QString& path)
    {
        dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
        QMetaObject::invokeMethod(&dialog, "accept", Qt::QueuedConnection);
    }

    void exportTo(const QString& path)
    {
        onNextDialog([path](QWidget& dialog) { chooseFile(dialog, path); });
        exportSettings(page.get());
        QCOMPARE(dialogsStillExpected(), 0);
    }

    QString fileWith(const QByteArray& content) const
    {
        const QString path = directory.filePath(QStringLiteral("chosen.json"));
        writeFile(path, content);
        return path;
    }

    static void isUnchanged()
    {
        QVERIFY(stateInMemory() == presentState());
        QVERIFY(stateOnDisk() == presentState());
        QCOMPARE(EditHistory::instance().count(), 0);
        QVERIFY(earlierStates().isEmpty());
    }

    // The state is there, as one step of this name, and the one before is kept.
    static void isTakenOver(const SavedState& state, const QString& name)
    {
        QVERIFY(stateInMemory() == state);
        QVERIFY(stateOnDisk() == state);
        QCOMPARE(EditHistory::instance().count(), 1);
        QCOMPARE(EditHistory::instance().undoText(), name);
        QVERIFY(!earlierStates().isEmpty());
        QCOMPARE(readFile(earlierStates().first().path), stateToJson(presentState()));
        EditHistory::instance().undo();
        QVERIFY(stateInMemory() == presentState());
        QVERIFY(stateOnDisk() == presentState());
        EditHistory::instance().redo();
        QVERIFY(stateOnDisk() == state);
    }

    QTemporaryDir directory;
    QTemporaryDir home;
    std::unique_ptr<SettingsWidget> page;
};

TAVIK_ISOLATED_TEST_MAIN(StateExchangeTest)

#include "state_exchange_test.moc"
