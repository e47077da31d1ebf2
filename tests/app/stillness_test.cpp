// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "tests/app/window_pages.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/files.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"
#include "tests/support/menu_driver.h"
#include "tests/support/page_view.h"

#include <QAbstractAnimation>
#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int screenPage = 4;
constexpr int settingsPage = 8;

// Notices what is painted in any window.
class PaintWatch : public QObject
{
public:
    PaintWatch() { qApp->installEventFilter(this); }
    // Whether nothing has been painted since it was forgotten, and nothing is for so long.
    [[nodiscard]] bool isStillFor(int milliseconds)
    {
        return !QTest::qWaitFor([this] { return painted; }, milliseconds);
    }

    void forget() { painted = false; }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        painted = painted || event->type() == QEvent::Paint;
        return false;
    }

private:
    bool painted = false;
};

} // namespace

// For people whom movement disturbs, and who cannot drag, click twice or hold a pointer still.
class StillnessTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { applyApplicationStyle(*qApp); }

    void init()
    {
        AppState& state = AppState::instance();
        state.layerBase.at(0) = {6, 0, 0, 0};
        state.macros = {{QStringLiteral("First"), {{0, 4, 0xB0}, {40, 4, 0x30}}}};
        state.customRgb.fill(77);
        QApplication::setCursorFlashTime(0); // that of the desktop, which people can set
        window = std::make_unique<MainWindow>();
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        writeFile(directory.filePath("a.gif"),
                  encodePlainGif({128, 128}, {qRgb(255, 0, 0), qRgb(0, 255, 0)}, 5));
    }

    void cleanup() { window.reset(); }

    // An animation that was imported is data, too.
    void nothingMovesByItself_data() { addPageRows(); }
    void nothingMovesByItself()
    {
        QFETCH(int, page);
        drop(stackOf(*window)->widget(screenPage), "a.gif");
        QTRY_VERIFY(statusOf(screenPage).startsWith(QStringLiteral("2 frame(s)")));
        stackOf(*window)->setCurrentIndex(page);
        PaintWatch watch;
        QTRY_VERIFY((watch.forget(), watch.isStillFor(200)));

        QVERIFY(watch.isStillFor(600));
        for (const QAbstractAnimation* animation : window->findChildren<QAbstractAnimation*>())
            QVERIFY(animation->state() != QAbstractAnimation::Running);
        // What runs looks after the connection; its time comes, and nothing is painted of it.
        for (QTimer* timer : window->findChildren<QTimer*>()) {
            if (!timer->isActive())
                continue;
            for (int turn = 0; turn < 20; ++turn) {
                QTimerEvent event(timer->timerId());
                QApplication::sendEvent(timer, &event);
            }
        }
        QVERIFY(watch.isStillFor(200));
    }

    // Each in the hands of somebody who drags, and of somebody who has keys only.
    void keysDoWhatADropDoes_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("byKeys");
        for (const bool byKeys : {false, true}) {
            const char* way = byKeys ? "by keys" : "dropped";
            QTest::addRow("pictures, %s", way) << screenPage << "a.gif" << byKeys;
            QTest::addRow("settings, %s", way) << settingsPage << "a.json" << byKeys;
        }
    }
    void keysDoWhatADropDoes()
    {
        QFETCH(int, page);
        QFETCH(QString, file);
        QFETCH(bool, byKeys);
        SavedState other = stateInMemory();
        other.macros = {{QStringLiteral("Other"), {}}};
        writeFile(directory.filePath("a.json"), stateToJson(other));
        stackOf(*window)->setCurrentIndex(page);
        if (!byKeys)
            drop(stackOf(*window)->widget(page), file);
        else if (page == screenPage)
            paste(file);
        else
            importByMenu();
        if (page == settingsPage && byKeys)
            onNextDialog([path = directory.filePath(file)](QWidget& dialog) {
                const auto closing = closeAtTheEnd(dialog);
                auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
                name->setText(path); // pasted; what is typed opens a list of proposals
                QTest::keyClick(name, Qt::Key_Return);
            });
        if (page == settingsPage)
            onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("Yes")); });
        if (page == screenPage)
            QTRY_VERIFY(statusOf(page).startsWith(QStringLiteral("2 frame(s)")));
        else
            QTRY_COMPARE(AppState::instance().macros.first().name, QStringLiteral("Other"));
    }

private:
    QString statusOf(int page) const
    {
        for (const auto* label : stackOf(*window)->widget(page)->findChildren<QLabel*>()) {
            if (label->text().contains(QStringLiteral("frame(s)")))
                return label->text();
        }
        return {};
    }

    std::unique_ptr<QMimeData> dataOf(const QString& file) const
    {
        auto data = std::make_unique<QMimeData>();
        data->setUrls({QUrl::fromLocalFile(directory.filePath(file))});
        return data;
    }

    void drop(QWidget* page, const QString& file) const
    {
        QWidget* target = file.endsWith(QLatin1String("gif")) ? page : window.get();
        const auto data = dataOf(file);
        QDragEnterEvent enter({20, 20}, Qt::CopyAction, data.get(), Qt::LeftButton, {});
        QApplication::sendEvent(target, &enter);
        QDropEvent event({20, 20}, Qt::CopyAction, data.get(), Qt::LeftButton, {});
        QApplication::sendEvent(target, &event);
    }

    void paste(const QString& file) const
    {
        QApplication::clipboard()->setMimeData(dataOf(file).release());
        QTest::keyClick(window.get(), Qt::Key_V, Qt::ControlModifier);
    }

    // The menu of the page, the key that opens it, and the field in which the name is written.
    void importByMenu() const
    {
        QPushButton* button = buttonOf(*window, QStringLiteral("Reset Keyboard Data"));
        button->setFocus();
        QTest::keyClick(button, Qt::Key_F10, Qt::ShiftModifier);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu != nullptr);
        chooseInMenu(menu, QStringLiteral("Import settings"));
    }

    std::unique_ptr<MainWindow> window;
    QTemporaryDir directory;
};

TAVIK_ISOLATED_TEST_MAIN(StillnessTest)
#include "stillness_test.moc"
