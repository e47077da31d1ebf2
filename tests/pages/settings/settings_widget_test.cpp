// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "model/app_state.h"
#include "pages/macros/macro_widget.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/preview_area.h"
#include "pages/settings/autostart_entry.h"
#include "pages/settings/settings_widget.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/page_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <sys/stat.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

QString settingsFilePath()
{
    return QSettings().fileName();
}

SavedState savedState()
{
    SavedState state;
    state.layerBase[3] = {2, 1, 4, 0};
    state.layerFn[143] = {5, 0, 0, 0};
    state.macros = {{QStringLiteral("Hello"), {{10, 4, 0xB0}}}, {QStringLiteral("Empty"), {}}};
    state.customRgb[431] = 99;
    return state;
}

void fillState()
{
    static_cast<SavedState&>(AppState::instance()) = savedState();
    AppState::instance().save();
}

} // namespace

class SettingsWidgetTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { page.reset(); }

    void creationConnectsAtOnce()
    {
        showPage();
        QVERIFY(Device::instance().isOpen());
        QCOMPARE(busTrace(), QStringList({"init", "enumerate 8009", "open config"}));
        QCOMPARE(busWire(), QStringList());
        QVERIFY(deviceLockIsFree());
    }

    void creationLeavesAnOpenKeyboardAlone()
    {
        QVERIFY(Device::instance().refresh());
        bus().clearTrace();
        const QSignalSpy spy(&Device::instance(), &Device::connectedChanged);
        showPage();
        QCOMPARE(busTrace(), QStringList());
        QCOMPARE(spy.count(), 0);
    }

    void creationWritesNothing()
    {
        bus().unplug();
        showPage();
        QVERIFY(!QFile::exists(settingsFilePath()));
        QVERIFY(!isAutostartEnabled());
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void creationLeavesAnEditedEntryAndSettingAlone()
    {
        const QByteArray entry = "[Desktop Entry]\nExec=mine\n";
        writeFile(autostartFilePath(), entry);
        const QByteArray settings = "[General]\nlanguage=1\n\n[Other]\nkept=yes\n";
        writeFile(settingsFilePath(), settings);
        showPage();
        QVERIFY(autoRunOption()->isChecked());
        QCOMPARE(languageSelect()->currentIndex(), 1);
        QCOMPARE(readFile(autostartFilePath()), entry);
        QCOMPARE(readFile(settingsFilePath()), settings);
    }

    void storedLanguageIsSelected_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::newRow("unset") << QByteArray("[General]\nother=1\n") << 0 << "English";
        QTest::newRow("first") << QByteArray("[General]\nlanguage=0\n") << 0 << "English";
        QTest::newRow("second") << QByteArray("[General]\nlanguage=1\n") << 1
                                << QStringLiteral("Chinese (简体中文)");
        QTest::newRow("third") << QByteArray("[General]\nlanguage=2\n") << 2
                               << QStringLiteral("Traditional Chinese (繁體中文)");
        QTest::newRow("beside others") << QByteArray("[General]\nlanguage=2\n[Other]\nmail=a@b\n")
                                       << 2 << QStringLiteral("Traditional Chinese (繁體中文)");
        QTest::newRow("too large") << QByteArray("[General]\nlanguage=3\n") << -1 << "";
        QTest::newRow("negative") << QByteArray("[General]\nlanguage=-4\n") << -1 << "";
    }
    void storedLanguageIsSelected()
    {
        QFETCH(QByteArray, settings);
        QFETCH(int, index);
        QFETCH(QString, text);
        writeFile(settingsFilePath(), settings);
        showPage();
        QCOMPARE(languageSelect()->currentIndex(), index);
        QCOMPARE(languageSelect()->currentText(), text);
        QCOMPARE(readFile(settingsFilePath()), settings);
    }

    void storeOfSaneSizeIsRead_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::addColumn<int>("index");
        QTest::newRow("1 MB") << qsizetype{1024} * 1024 << 2;
        QTest::newRow("a byte more") << qsizetype{1024} * 1024 + 1 << 0;
    }
    void storeOfSaneSizeIsRead()
    {
        QFETCH(qsizetype, size);
        QFETCH(int, index);
        const QByteArray settings = "[General]\nlanguage=2\n";
        writeFile(settingsFilePath(), settings + QByteArray(size - settings.size(), '\n'));
        showPage();
        QCOMPARE(languageSelect()->currentIndex(), index);
    }

    // Such an object may be of any kind, size and depth.
    void packedObjectsAreNotRead_data()
    {
        QTest::addColumn<QByteArray>("language");
        QTest::newRow("number") << QByteArray("@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x2)");
        QTest::newRow("escaped") << QByteArray("\\x40Variant(\\0\\0\\0\\x2\\0\\0\\0\\x2)");
    }
    void packedObjectsAreNotRead()
    {
        QFETCH(QByteArray, language);
        const QByteArray settings = "[General]\nlanguage=" + language + '\n';
        writeFile(settingsFilePath(), settings);
        showPage();
        QCOMPARE(languageSelect()->currentIndex(), 0);
        QTest::keyClick(languageSelect(), Qt::Key_Down);
        QCOMPARE(readFile(settingsFilePath()), settings);
    }

    // Opening it would never return.
    void storeThatIsAPipeIsLeftAlone_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("program") << settingsFilePath();
        QTest::newRow("organization") << QFileInfo(settingsFilePath()).path() + ".conf";
        QTest::newRow("system") << system.filePath("zerolt-linux/ZEROLT TAVIK Pro.conf");
    }
    void storeThatIsAPipeIsLeftAlone()
    {
        QFETCH(QString, name);
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(system.path()));
        QVERIFY(QDir().mkpath(QFileInfo(name).path()));
        QCOMPARE(mkfifo(QFile::encodeName(name).constData(), 0600), 0);
        showPage();
        QCOMPARE(languageSelect()->currentIndex(), 0);
        QTest::keyClick(languageSelect(), Qt::Key_Down);
        QCOMPARE(languageSelect()->currentIndex(), 1);
    }

    void chosenLanguageIsStoredAndNothingElseChanges()
    {
        showPage();
        const QStringList before = visibleTexts();
        QTest::keyClick(languageSelect(), Qt::Key_Down);
        QTest::keyClick(languageSelect(), Qt::Key_Down);
        QCOMPARE(languageSelect()->currentIndex(), 2);
        QCOMPARE(readFile(settingsFilePath()), QByteArray("[General]\nlanguage=2\n"));
        QCOMPARE(visibleTexts(), before);
        QVERIFY(!QFile::exists(stateFilePath()));
        QCOMPARE(busWire(), QStringList());
    }

    void startAtLogInIsWrittenAndRemoved()
    {
        showPage();
        QVERIFY(!autoRunOption()->isChecked());
        autoRunOption()->click();
        QCOMPARE(readFile(autostartFilePath()),
                 autostartEntry(QCoreApplication::applicationFilePath()));
        autoRunOption()->click();
        QVERIFY(!QFile::exists(autostartFilePath()));
    }

    void existingEntryIsShownAsChecked()
    {
        QVERIFY(enableAutostart());
        showPage();
        QVERIFY(autoRunOption()->isChecked());
        autoRunOption()->click();
        QVERIFY(!isAutostartEnabled());
    }

    void turningOffWithoutEntryChangesNothing()
    {
        showPage();
        page->setAutoRun(false);
        QVERIFY(!QFile::exists(autostartFilePath()));
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    }

    void entryThatCannotBeWrittenIsSilent()
    {
        writeFile(QFileInfo(autostartFilePath()).path(), "a file in the folder's place");
        showPage();
        autoRunOption()->click();
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QCOMPARE(readFile(QFileInfo(autostartFilePath()).path()),
                 QByteArray("a file in the folder's place"));
    }

    void resetAsksWithNoAsTheDefault()
    {
        fillState();
        showPage();
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            const auto* box = qobject_cast<QMessageBox*>(&dialog);
            QVERIFY(box != nullptr);
            QCOMPARE(box->windowTitle(), QStringLiteral("Reset Keyboard Data"));
            QCOMPARE(box->text(),
                     QStringLiteral("Clear saved key mappings, macros and custom RGB data?"));
            QCOMPARE(box->icon(), QMessageBox::Question);
            QCOMPARE(box->standardButtons(), QMessageBox::Yes | QMessageBox::No);
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
        buttonOf(*page, "Reset Keyboard Data")->click();
        QCOMPARE(dialogsStillExpected(), 0);
        QVERIFY(stateInMemory() == savedState());
        QVERIFY(stateOnDisk() == savedState());
    }

    void everythingButYesKeepsTheData_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::newRow("no") << "No";
        QTest::newRow("closed") << "";
    }
    void everythingButYesKeepsTheData()
    {
        QFETCH(QString, answer);
        fillState();
        showPage();
        const QSignalSpy layers(&AppState::instance(), &AppState::layersChanged);
        onNextDialog([answer](QWidget& dialog) {
            if (answer.isEmpty())
                QTest::keyClick(&dialog, Qt::Key_Escape);
            else
                clickButton(dialog, answer);
        });
        buttonOf(*page, "Reset Keyboard Data")->click();
        QCOMPARE(dialogsStillExpected(), 0);
        QVERIFY(stateInMemory() == savedState());
        QVERIFY(stateOnDisk() == savedState());
        QCOMPARE(layers.count(), 0);
    }

    void yesClearsSavesAndTells()
    {
        fillState();
        showPage();
        bus().clearTrace();
        QStringList told;
        const AppState& state = AppState::instance();
        const auto note = [&told](const char* name) {
            const bool isSaved = stateOnDisk() == SavedState();
            told += QLatin1String(name) + QLatin1String(isSaved ? "" : " before saving");
        };
        connect(&state, &AppState::layersChanged, this, [note] { note("layers"); });
        connect(&state, &AppState::macrosChanged, this, [note] { note("macros"); });
        connect(&state, &AppState::rgbChanged, this, [note] { note("rgb"); });
        answerResetWithYes();
        QCOMPARE(told, QStringList({"layers", "macros", "rgb"}));
        QVERIFY(stateInMemory() == SavedState());
        QVERIFY(stateOnDisk() == SavedState());
        QCOMPARE(busTrace(), QStringList());
    }

    void clearedMacrosAreGoneFromTheirPage()
    {
        fillState();
        showPage();
        const MacroWidget macros;
        const auto* list = macros.findChild<QListWidget*>();
        QCOMPARE(list->count(), 2);
        answerResetWithYes();
        QCOMPARE(list->count(), 0);
    }

    void restoreOnlyTells()
    {
        fillState();
        showPage();
        bus().clearTrace();
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            const auto* box = qobject_cast<QMessageBox*>(&dialog);
            QVERIFY(box != nullptr);
            QCOMPARE(box->windowTitle(), QStringLiteral("Restore Factory Settings"));
            QCOMPARE(box->text(), QStringLiteral("A factory-reset command is not present in the "
                                                 "recovered wired USB protocol."));
            QCOMPARE(box->icon(), QMessageBox::Information);
            QCOMPARE(box->standardButtons(), QMessageBox::Ok);
            clickButton(dialog, QStringLiteral("OK"));
        });
        buttonOf(*page, "Restore Factory Settings")->click();
        QCOMPARE(dialogsStillExpected(), 0);
        QVERIFY(stateInMemory() == savedState());
        QVERIFY(stateOnDisk() == savedState());
        QCOMPARE(busTrace(), QStringList());
    }

    void timerLooksEveryFiveSeconds()
    {
        showPage();
        QCOMPARE(timer()->interval(), 5000);
        QVERIFY(timer()->isActive());
        QVERIFY(!timer()->isSingleShot());
    }

    // The real timer, only quicker.
    void keyboardPluggedInLaterIsFound()
    {
        bus().unplug();
        showPage();
        const QStringList search{"init", "enumerate 8009", "enumerate 800a", "exit"};
        QCOMPARE(busTrace(), search);
        QVERIFY(!Device::instance().isOpen());
        bus().plug();
        const QSignalSpy spy(&Device::instance(), &Device::connectedChanged);
        timer()->setInterval(0);
        QTRY_VERIFY(Device::instance().isOpen());
        QVERIFY(timer()->isActive());
        QVERIFY(spy.count() >= 1);
        QVERIFY(spy.first().first().toBool());
        QCOMPARE(busTrace().last(3), QStringList({"init", "enumerate 8009", "open config"}));
    }

    void everyTickWithoutKeyboardSearchesOnce()
    {
        bus().unplug();
        showPage();
        bus().clearTrace();
        page->refreshConnection();
        page->refreshConnection();
        const QStringList search{"init", "enumerate 8009", "enumerate 800a", "exit"};
        QCOMPARE(busTrace(), search + search);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QVERIFY(deviceLockIsFree());
    }

    void tickWithAKeyboardTouchesNothing()
    {
        showPage();
        bus().clearTrace();
        const QSignalSpy spy(&Device::instance(), &Device::connectedChanged);
        page->refreshConnection();
        // The handle stays after the cable is pulled; only an exchange would notice.
        bus().unplug();
        page->refreshConnection();
        QCOMPARE(busTrace(), QStringList());
        QCOMPARE(spy.count(), 0);
    }

    void gameModeIsOnlyShown()
    {
        showPage();
        bus().clearTrace();
        auto* master = page->findChild<QCheckBox*>(QStringLiteral("gameModeMaster"));
        QVERIFY(master->isEnabled());
        QVERIFY(!master->isChecked());
        QCOMPARE(master->text(), QStringLiteral("Disable"));
        QCOMPARE(master->toolTip(), QStringLiteral("Game-mode key blocking is not available on "
                                                   "this USB driver interface."));
        const auto choices = page->findChildren<QCheckBox*>(QStringLiteral("gameModeChoice"));
        QCOMPARE(choices.size(), 3);
        master->click();
        QVERIFY(master->isChecked());
        for (const QCheckBox* choice : choices) {
            QVERIFY(!choice->isEnabled());
            QVERIFY(!choice->isChecked());
            QCOMPARE(choice->text(), QStringLiteral("Disable"));
        }
        QCOMPARE(busTrace(), QStringList());
        QVERIFY(!QFile::exists(settingsFilePath()));
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void gameModePanelIsAGridOfLabelsAndChoices()
    {
        showPage();
        const auto* panel = page->findChild<QWidget*>(QStringLiteral("gameModePanel"));
        QVERIFY(panel->height() >= 290);
        const auto* grid = qobject_cast<QGridLayout*>(panel->layout());
        const QStringList texts{"Game mode", "Alt + Tab", "Alt + F4", "Windows Key"};
        for (int row = 0; row < 4; ++row) {
            const auto* label = qobject_cast<QLabel*>(grid->itemAtPosition(row, 0)->widget());
            QCOMPARE(label->text(), texts.at(row));
            QVERIFY(qobject_cast<QCheckBox*>(grid->itemAtPosition(row, 1)->widget()) != nullptr);
        }
        QCOMPARE(grid->contentsMargins(), QMargins(62, 63, 10, 10));
        QCOMPARE(grid->verticalSpacing(), 12);
        QCOMPARE(grid->columnMinimumWidth(0), 148);
        QCOMPARE(grid->rowStretch(4), 1);
    }

    void sidePanelKeepsItsGaps()
    {
        showPage();
        const auto* panel = page->findChild<QWidget*>(QStringLiteral("settingsSidePanel"));
        QCOMPARE(panel->width(), 220);
        const auto* label = panel->findChild<QLabel*>();
        const QPushButton* reset = buttonOf(*page, "Reset Keyboard Data");
        const QPushButton* restore = buttonOf(*page, "Restore Factory Settings");
        QCOMPARE(label->geometry().top(), 46);
        QCOMPARE(gap(label, languageSelect()), 5);
        QCOMPARE(languageSelect()->height(), 31);
        QCOMPARE(gap(languageSelect(), autoRunOption()), 198);
        QCOMPARE(gap(autoRunOption(), reset), 13);
        QCOMPARE(gap(reset, restore), 10);
        QCOMPARE(reset->height(), 29);
        QCOMPARE(restore->height(), 29);
        QCOMPARE(reset->geometry().left(), 10);
        QCOMPARE(reset->width(), 200);
    }

    void previewScalesTheKeyboard()
    {
        QCOMPARE(previewViewSize(QSize(416, 170)), QSize(400, 150));
        showPage();
        const auto* preview = page->findChild<PreviewArea*>();
        QCOMPARE(preview->minimumHeight(), 380);
        QCOMPARE(preview->findChild<KeyboardView*>()->size(), QSize(800, 300));
    }

private:
    void showPage()
    {
        page = std::make_unique<SettingsWidget>();
        page->resize(1140, 700);
        page->show();
        QVERIFY(QTest::qWaitForWindowExposed(page.get()));
    }

    void answerResetWithYes()
    {
        onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("Yes")); });
        buttonOf(*page, "Reset Keyboard Data")->click();
        QCOMPARE(dialogsStillExpected(), 0);
    }

    static int gap(const QWidget* upper, const QWidget* lower)
    {
        return lower->geometry().top() - upper->geometry().bottom() - 1;
    }

    QStringList visibleTexts() const
    {
        QStringList texts;
        for (const QLabel* label : page->findChildren<QLabel*>())
            texts += label->text();
        for (const QAbstractButton* button : page->findChildren<QAbstractButton*>())
            texts += button->text();
        return texts;
    }

    QComboBox* languageSelect() const
    {
        return page->findChild<QComboBox*>(QStringLiteral("languageSelect"));
    }
    QCheckBox* autoRunOption() const
    {
        return page->findChild<QCheckBox*>(QStringLiteral("autoRunOption"));
    }
    QTimer* timer() const
    {
        return page->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    }

    const QTemporaryDir system; // has settings of its own
    std::unique_ptr<SettingsWidget> page;
};

TAVIK_ISOLATED_TEST_MAIN(SettingsWidgetTest)

#include "settings_widget_test.moc"
