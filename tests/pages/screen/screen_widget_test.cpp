// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "pages/screen/frame_player.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_widget.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"
#include "tests/support/page_view.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QCompleter>
#include <QDropEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QScopeGuard>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QToolTip>
#include <QTreeView>
#include <QUrl>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;

namespace {

const QString importText = QStringLiteral("Import GIF / images (resized to 128×128)…");
const QString previewText = QStringLiteral("Convert & preview");
const QString sendText = QStringLiteral("Send to screen");
const QString hintText = QStringLiteral(
    "The animation is stored in the selected slot. Press Fn + Delete on the keyboard "
    "to switch between the clock and your animation.");

const QString plainStyle = QString();

void click(const ScreenWidget& page, const QString& text)
{
    QTest::mouseClick(buttonOf(page, text), Qt::LeftButton);
}

QLabel* previewOf(const ScreenWidget& page)
{
    for (QLabel* label : page.findChildren<QLabel*>()) {
        if (label->minimumSize() == QSize(256, 256))
            return label;
    }
    qFatal("no preview");
}

// The one that is neither preview nor hint nor the caption of the slots.
QLabel* statusOf(const ScreenWidget& page)
{
    for (QLabel* label : page.findChildren<QLabel*>()) {
        if (label->wordWrap() && label->objectName() != QLatin1String("hint"))
            return label;
    }
    qFatal("no status label");
}

QSpinBox* slotOf(const ScreenWidget& page)
{
    return page.findChild<QSpinBox*>();
}

// Chooses these files in the dialog that opens next; none cancels it.
void chooseNext(const QStringList& paths)
{
    onNextDialog([paths](QWidget& dialog) {
        if (paths.isEmpty()) {
            static_cast<QDialog&>(dialog).reject();
            return;
        }
        QStringList quoted;
        for (const QString& path : paths)
            quoted += u'"' + path + u'"';
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(quoted.join(u' '));
        QMetaObject::invokeMethod(&dialog, "accept");
    });
}

// Calls the function whenever the label is painted.
class Watcher : public QObject
{
public:
    Watcher(QLabel* label, std::function<void()> function) : onPaint(std::move(function))
    {
        label->installEventFilter(this);
    }

    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            onPaint();
        return QObject::eventFilter(object, event);
    }

private:
    std::function<void()> onPaint;
};

// Notes the text of a label whenever it is painted.
class PaintedTexts
{
public:
    explicit PaintedTexts(QLabel* label)
        : watcher(label, [this, label] {
              if (texts.isEmpty() || texts.last() != label->text())
                  texts += label->text();
          })
    {
    }

    QStringList texts;

private:
    Watcher watcher;
};

} // namespace

class ScreenWidgetTest : public QObject
{
    Q_OBJECT

private:
    QString write(const QString& name, const QByteArray& bytes) const
    {
        const QString path = directory.filePath(name);
        writeFile(path, bytes);
        return path;
    }

    QString writeStill(const QString& name = QStringLiteral("still.png"),
                       const QColor& color = Qt::red) const
    {
        QImage image(300, 200, QImage::Format_RGB32);
        image.fill(color);
        return write(name, encodeImage(image, "png"));
    }

    QString writeAnimation(const QString& name, int frameCount) const
    {
        return write(name, encodePlainGif({30, 30}, manyColors(frameCount), 10));
    }

    void importInto(const ScreenWidget& page, const QStringList& paths) const
    {
        chooseNext(paths);
        click(page, importText);
        QCOMPARE(dialogsStillExpected(), 0);
    }

    // Whether the page takes the files; it imports them later.
    static bool drop(ScreenWidget& page, const QStringList& paths)
    {
        QMimeData data;
        data.setUrls(QUrl::fromStringList(paths));
        QDragEnterEvent enter({20, 20}, Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&page, &enter);
        // Whoever offers to move a file would delete it.
        if (!enter.isAccepted() || enter.dropAction() != Qt::CopyAction)
            return false;
        QDropEvent event({20, 20}, Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&page, &event);
        return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }

    static QAction* entry(const ScreenWidget& page, const char* text)
    {
        for (QAction* action : page.actions()) {
            if (action->text() == QLatin1String(text))
                return action;
        }
        qFatal("no entry %s", text);
    }

    static void paste(const ScreenWidget& page, QMimeData* pasted)
    {
        QApplication::clipboard()->setMimeData(pasted);
        entry(page, "Paste pictures")->trigger();
    }

    // What the tool tip of the status label says, as it is shown.
    static QString outcomesOf(const ScreenWidget& page)
    {
        QHelpEvent help(QEvent::ToolTip, {1, 1}, QPoint(1, 1));
        QToolTip::hideText();
        QApplication::sendEvent(statusOf(page), &help);
        return QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText();
    }

    QTemporaryDir directory;

private slots:
    void droppedPicturesAreImported()
    {
        ScreenWidget page;
        page.show();
        const QStringList files{writeAnimation("clip.GIF", 45), write("notes.txt", "no picture"),
                                writeStill("late.png")};
        QStringList urls;
        for (const QString& file : files)
            urls += QUrl::fromLocalFile(file).toString();
        QVERIFY(drop(page, urls));
        QCOMPARE(statusOf(page)->text(), QString()); // whoever they come from does not wait
        QTRY_COMPARE(statusOf(page)->text(), QStringLiteral("30 frame(s) imported."));
        QCOMPARE(statusOf(page)->styleSheet(), plainStyle);
        QVERIFY(!previewOf(page)->pixmap().isNull());
        QCOMPARE(outcomesOf(page), QStringLiteral("clip.GIF: 30 of 45 frames\n"
                                                  "The last 2 of 3 files: not read, there are 30 "
                                                  "frames already"));
        QCOMPARE(busTrace(), QStringList());
    }

    void everyKindOfPictureIsTaken()
    {
        ScreenWidget page;
        page.show();
        for (const char* name : {"a.gif", "a.png", "a.jpg", "a.jpeg", "a.bmp", "A.JPG"})
            QVERIFY2(drop(page, {QStringLiteral("file:///nowhere/") + QLatin1String(name)}), name);
    }

    void whatIsNoPictureIsLeftToTheWindow_data()
    {
        QTest::addColumn<QStringList>("urls");
        QTest::newRow("nothing") << QStringList();
        QTest::newRow("settings") << QStringList{"file:///tmp/a.json"};
        QTest::newRow("from elsewhere") << QStringList{"https://example.org/a.png"};
    }
    void whatIsNoPictureIsLeftToTheWindow()
    {
        QFETCH(QStringList, urls);
        ScreenWidget page;
        page.show();
        QVERIFY(!drop(page, urls));
    }

    void eachFileHasItsOutcome()
    {
        ScreenWidget page;
        page.show();
        const QString broken = write("broken.png", "no picture");
        QByteArray cut = encodePlainGif({30, 30}, manyColors(5), 10);
        cut.chop(60); // in the last frame
        importInto(page, {broken, writeStill("<b>still.png"), writeAnimation("t%1%2.gif", 2),
                          write("cut.gif", cut)});
        QCOMPARE(statusOf(page)->text(), QStringLiteral("7 frame(s) imported."));
        QCOMPARE(outcomesOf(page), QStringLiteral("broken.png: cannot be read\n"
                                                  "<b>still.png: 1 frame\n"
                                                  "t%1%2.gif: 2 frames\n"
                                                  "cut.gif: 4 frames"));
        QStringList many;
        for (int index = 0; index < 35; ++index)
            many += write(QStringLiteral("%1.png").arg(index), "no picture");
        importInto(page, many);
        const QString outcomes = outcomesOf(page);
        QCOMPARE(outcomes.count(QStringLiteral("cannot be read")), 32);
        QVERIFY(outcomes.endsWith(QStringLiteral("\nand 3 more")));
        click(page, sendText); // the next text has a tool tip of its own
        QCOMPARE(outcomesOf(page), QStringLiteral("Import between 1 and 30 frames first."));
    }

    void pastedFilesAndPicturesAreImported()
    {
        ScreenWidget page;
        page.show();
        auto* files = new QMimeData;
        files->setUrls({QUrl::fromLocalFile(writeStill("blue.png", Qt::blue)),
                        QUrl::fromLocalFile(writeStill("red.png"))});
        paste(page, files);
        QCOMPARE(statusOf(page)->text(), QStringLiteral("2 frame(s) imported."));
        QCOMPARE(previewOf(page)->pixmap().toImage().pixelColor(128, 128), QColor(Qt::blue));

        auto* picture = new QMimeData;
        QImage green(30, 200, QImage::Format_RGB32);
        green.fill(Qt::green);
        picture->setImageData(green);
        picture->setData("image/png", encodeImage(green, "png"));
        paste(page, picture);
        QCOMPARE(statusOf(page)->text(), QStringLiteral("1 frame(s) imported."));
        QCOMPARE(previewOf(page)->pixmap().toImage().pixelColor(5, 250), QColor(Qt::green));
        QCOMPARE(outcomesOf(page), QString());

        auto* other = new QMimeData; // nothing that the dialog would offer
        other->setUrls({QUrl::fromLocalFile(write("notes.txt", "no picture"))});
        paste(page, other);
        const QString nothing = QStringLiteral("There is no picture to paste.");
        QCOMPARE(statusOf(page)->text(), nothing);

        QByteArray large = encodeImage(green, "png");
        large.resize(64 * 1024 * 1024 + 1, '\0'); // a byte more than a file may have
        auto* offered = new QMimeData;
        offered->setData("image/png", large);
        statusOf(page)->clear();
        paste(page, offered);
        QCOMPARE(statusOf(page)->text(), nothing);

        auto* text = new QMimeData;
        text->setText(QStringLiteral("nothing to see"));
        statusOf(page)->clear();
        paste(page, text);
        QCOMPARE(statusOf(page)->text(), nothing);
        QCOMPARE(previewOf(page)->pixmap().toImage().pixelColor(5, 250), QColor(Qt::green));
    }

    void everyFormatOfAPictureIsPasted()
    {
        QImage painted(30, 20, QImage::Format_RGB32);
        painted.fill(Qt::green);
        for (const auto& [format, content] :
             {std::pair("image/png", encodeImage(painted, "png")),
              std::pair("image/bmp", encodeImage(painted, "bmp")),
              std::pair("image/jpeg", encodeImage(painted, "jpg")),
              std::pair("image/gif", encodePlainGif({30, 20}, manyColors(3), 10))}) {
            ScreenWidget page;
            page.show();
            auto* pasted = new QMimeData;
            pasted->setData(QLatin1String(format), content);
            paste(page, pasted);
            QVERIFY2(statusOf(page)->text().endsWith(QStringLiteral(" frame(s) imported.")),
                     format);
        }
    }

    void pastedPictureIsSentLikeAFileOfIt()
    {
        QImage painted(300, 200, QImage::Format_RGB32);
        painted.fill(QColor(10, 200, 77));
        ScreenWidget page;
        page.show();
        auto* pasted = new QMimeData;
        pasted->setImageData(painted);
        pasted->setData("image/bmp", encodeImage(painted, "bmp"));
        paste(page, pasted);
        click(page, sendText);
        const auto stored = bus().keyboard().state().screenSlots.at(0);
        importInto(page, {write("same.png", encodeImage(painted, "png"))});
        bus().keyboard().setState({});
        click(page, sendText);
        QVERIFY(bus().keyboard().state().screenSlots.at(0) == stored);
    }

    void framesPlayInTheirTime()
    {
        ScreenWidget page;
        page.show();
        QVERIFY(!entry(page, "Play")->isEnabled());
        importInto(page,
                   {write("clip.gif", encodePlainGif({30, 30}, {0xFFFF0000, 0xFF0000FF}, 5))});
        entry(page, "Play")->trigger();
        auto* player = page.findChild<FramePlayer*>();
        QVERIFY(player != nullptr && player->isVisible());
        QPushButton* chosen = buttonOf(*player, QStringLiteral("2 ×"));
        QCOMPARE(player->focusWidget(), chosen);
        QAccessibleInterface* sizes = QAccessible::queryAccessibleInterface(chosen)->parent();
        QCOMPARE(sizes->text(QAccessible::Name), QStringLiteral("Size"));
        QLabel* screen = player->findChildren<QLabel*>().at(0);
        QLabel* words = player->findChildren<QLabel*>().at(1);
        const auto isShown = [&](int frame, QRgb color) {
            return words->text() == QStringLiteral("Frame %1 of 2, 50 ms").arg(frame) &&
                   screen->pixmap().toImage().pixel(9, 9) == color;
        };
        QTRY_VERIFY(isShown(2, 0xFF0000FF));
        QTRY_VERIFY(isShown(1, 0xFFFF0000)); // it begins again
        QPushButton* pause = buttonOf(*player, QStringLiteral("Pause"));
        pause->click();
        const QTimer* timer = player->findChild<QTimer*>();
        QVERIFY(!timer->isActive());
        for (const int scale : {1, 2, 4}) {
            buttonOf(*player, QStringLiteral("%1 ×").arg(scale))->click();
            QCOMPARE(screen->size(), QSize(128, 128) * scale);
            QCOMPARE(screen->pixmap().deviceIndependentSize().toSize(), screen->size());
            QVERIFY(!timer->isActive());
        }
        pause->click();
        QCOMPARE(timer->interval(), 50);
        QCOMPARE(timer->timerType(), Qt::PreciseTimer); // others are late by up to a twentieth
        QVERIFY(timer->isActive());
        buttonOf(*player, QStringLiteral("Close"))->click();
        QTRY_VERIFY(page.findChild<FramePlayer*>() == nullptr);
    }

    void menuOffersPlayingAndPasting()
    {
        ScreenWidget page;
        page.show();
        QContextMenuEvent request(QContextMenuEvent::Mouse, {5, 5}, page.mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(previewOf(page), &request);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu != nullptr);
        QCOMPARE(menu->actions(), page.actions());
        menu->close();
    }

    void pageHasItsControls()
    {
        const ScreenWidget page;
        QCOMPARE(page.layout()->contentsMargins(), QMargins(12, 12, 12, 12));
        QStringList texts;
        for (const QPushButton* each : page.findChildren<QPushButton*>())
            texts += each->text();
        QCOMPARE(texts, QStringList({importText, previewText, sendText}));
        QCOMPARE(buttonOf(page, sendText)->objectName(), QStringLiteral("accent"));

        QCOMPARE(slotOf(page)->minimum(), 1);
        QCOMPARE(slotOf(page)->maximum(), 3);
        QCOMPARE(slotOf(page)->value(), 1);
        QStringList labels;
        for (const QLabel* label : page.findChildren<QLabel*>())
            labels += label->text();
        QVERIFY(labels.contains("Destination slot:"));

        const QLabel* hint = page.findChild<QLabel*>("hint");
        QCOMPARE(hint->text(), hintText);
        QVERIFY(hint->wordWrap());
        QCOMPARE(statusOf(page)->text(), QString());
    }

    void partsStandInTheirOrder()
    {
        ScreenWidget page;
        page.resize(1100, 660);
        page.show();
        const QList<const QWidget*> parts{buttonOf(page, importText), slotOf(page), previewOf(page),
                                          statusOf(page), page.findChild<QLabel*>("hint")};
        for (qsizetype index = 1; index < parts.size(); ++index)
            QVERIFY(parts.at(index)->geometry().top() > parts.at(index - 1)->geometry().bottom());
        QVERIFY(buttonOf(page, previewText)->x() > buttonOf(page, importText)->geometry().right());
        QVERIFY(buttonOf(page, sendText)->x() > buttonOf(page, previewText)->geometry().right());
        // Left over room is to the right of both rows and below the hint.
        QVERIFY(buttonOf(page, sendText)->geometry().right() < 700);
        QVERIFY(slotOf(page)->geometry().right() < 400);
        QVERIFY(page.findChild<QLabel*>("hint")->geometry().bottom() < 500);
    }

    void previewHasItsPlaceAndLook()
    {
        ScreenWidget page;
        page.resize(1100, 660);
        page.show();
        const QLabel* label = previewOf(page);
        QCOMPARE(label->size(), QSize(256, 256));
        QCOMPARE(label->maximumSize(), QSize(256, 256));
        QCOMPARE(label->geometry().center().x(), page.rect().center().x());
        QCOMPARE(label->alignment(), Qt::AlignCenter);
        QCOMPARE(
            label->styleSheet(),
            QStringLiteral("background:#0d0d10; border:1px solid #3a3d47; border-radius:8px;"));
        QVERIFY(label->pixmap().isNull());
    }

    void ampersandIsSeenAndMarksNoShortcut()
    {
        ScreenWidget page;
        page.show();
        QPushButton* shown = buttonOf(page, previewText);
        QVERIFY(shown->shortcut().isEmpty());
        QCOMPARE(shown->accessibleName(), previewText);

        QPushButton spelledOut(QStringLiteral("Convert && preview"));
        QCOMPARE(shown->sizeHint(), spelledOut.sizeHint());
        spelledOut.resize(shown->size());
        spelledOut.ensurePolished();
        const auto look = [](QPushButton& each) {
            return each.grab().toImage().convertToFormat(QImage::Format_RGB32);
        };
        QCOMPARE(look(*shown), look(spelledOut));
    }

    void dialogAsksForPictures()
    {
        const ScreenWidget page;
        onNextDialog([](QWidget& dialog) {
            auto* files = qobject_cast<QFileDialog*>(&dialog);
            QVERIFY(files != nullptr);
            QCOMPARE(files->windowTitle(), QStringLiteral("Images or GIF"));
            QCOMPARE(files->nameFilters(), QStringList("Images (*.gif *.png *.jpg *.jpeg *.bmp)"));
            QCOMPARE(files->fileMode(), QFileDialog::ExistingFiles);
            QCOMPARE(files->acceptMode(), QFileDialog::AcceptOpen);
            files->reject();
        });
        click(page, importText);
        QCOMPARE(dialogsStillExpected(), 0);
    }

    void dialogOpensAmongThePicturesAndThenWhereItWasLeft()
    {
        const QTemporaryDir home;
        qputenv("HOME", home.path().toUtf8());
        QVERIFY(QDir(home.path()).mkdir("Pictures"));
        const auto folderNow = [this](const ScreenWidget& page, const QStringList& chosen) {
            QString folder;
            onNextDialog([&](QWidget& dialog) {
                folder = qobject_cast<QFileDialog*>(&dialog)->directory().absolutePath();
                QCOMPARE(dialog.findChild<QLineEdit*>("fileNameEdit")->text(), QString());
                dialog.close();
            });
            click(page, importText);
            if (!chosen.isEmpty())
                importInto(page, chosen);
            return folder;
        };
        const ScreenWidget page;
        QCOMPARE(folderNow(page, {writeStill()}), home.filePath("Pictures"));
        QCOMPARE(folderNow(page, {}), directory.path());
        QVERIFY(QDir(home.path()).rmdir("Pictures"));
        const ScreenWidget other;
        QCOMPARE(folderNow(other, {}), home.path());
    }

    void columnsOfTheDialogUseTheirSpace()
    {
        const ScreenWidget page;
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            dialog.resize(900, 500);
            QCoreApplication::processEvents();
            const auto* files = dialog.findChild<QTreeView*>(QStringLiteral("treeView"));
            QVERIFY(files != nullptr && files->isVisible());
            QCOMPARE(files->header()->length(), files->viewport()->width());
            QCOMPARE(files->header()->sectionResizeMode(0), QHeaderView::Stretch);
            QCOMPARE(files->header()->sectionResizeMode(3), QHeaderView::ResizeToContents);
        });
        click(page, importText);
        QCOMPARE(dialogsStillExpected(), 0);
    }

    // As if it had no ground of its own, since every widget is see-through.
    void listOfNamesHasAGround()
    {
        qApp->setStyleSheet(QStringLiteral("QWidget{background:transparent;}"));
        const auto back = qScopeGuard([] { qApp->setStyleSheet({}); });
        const ScreenWidget page;
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            const auto* input = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            QVERIFY(input != nullptr && input->completer() != nullptr);
            QAbstractItemView* popup = input->completer()->popup();
            popup->resize(200, 100);
            QImage picture(popup->size(), QImage::Format_RGB32);
            picture.fill(Qt::magenta); // shows through where nothing is painted
            popup->render(&picture);
            for (const QPoint& place : {QPoint(3, 3), QPoint(100, 50), QPoint(196, 96)})
                QCOMPARE(picture.pixelColor(place).name(), QStringLiteral("#242426"));
        });
        click(page, importText);
        QCOMPARE(dialogsStillExpected(), 0);
    }

    void importCountsAndShowsTheFirstFrame()
    {
        const ScreenWidget page;
        importInto(page, {writeStill("red.png", Qt::red)});
        QCOMPARE(statusOf(page)->text(), QStringLiteral("1 frame(s) imported."));
        QCOMPARE(statusOf(page)->styleSheet(), plainStyle);
        QCOMPARE(previewOf(page)->pixmap().toImage().pixelColor(128, 128), QColor(Qt::red));

        importInto(page, {writeStill("blue.png", Qt::blue), writeAnimation("a.gif", 4)});
        QCOMPARE(statusOf(page)->text(), QStringLiteral("5 frame(s) imported."));
        QCOMPARE(previewOf(page)->pixmap().toImage().pixelColor(128, 128), QColor(Qt::blue));
    }

    void waitingShowsWhileFilesAreReadAndNotAfterwards()
    {
        ScreenWidget page;
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        QList<Qt::CursorShape> cursors;
        const Watcher watcher(statusOf(page), [&] {
            if (const QCursor* cursor = QApplication::overrideCursor())
                cursors += cursor->shape();
        });
        click(page, sendText); // a text that the import takes away first
        cursors.clear();
        importInto(page, {writeStill()});
        QVERIFY(cursors.contains(Qt::WaitCursor));
        QCOMPARE(QApplication::overrideCursor(), nullptr);
    }

    void importOfNothingUsableEmptiesTheList()
    {
        const ScreenWidget page;
        importInto(page, {writeStill()});
        importInto(page, {write("a.png", "no picture")});
        QCOMPARE(statusOf(page)->text(), QStringLiteral("0 frame(s) imported."));
        QVERIFY(!previewOf(page)->pixmap().isNull());
        click(page, sendText);
        QCOMPARE(statusOf(page)->text(), QStringLiteral("no frames"));
    }

    void cancelledDialogKeepsTheFrames()
    {
        const ScreenWidget page;
        importInto(page, {writeAnimation("a.gif", 2)});
        importInto(page, {});
        QCOMPARE(statusOf(page)->text(), QStringLiteral("2 frame(s) imported."));
        click(page, sendText);
        QCOMPARE(bus().keyboard().screenSlot(1).size(), std::size_t{2});
    }

    void importTakesTheRedFromTheStatus()
    {
        const ScreenWidget page;
        click(page, sendText);
        QCOMPARE(statusOf(page)->styleSheet(), errorStyle);
        importInto(page, {writeStill()});
        QCOMPARE(statusOf(page)->styleSheet(), plainStyle);
    }

    void previewIsSharp()
    {
        // A pattern of single pixels; each of them has to stay a square of its own.
        QImage pattern(128, 128, QImage::Format_RGB32);
        for (int y = 0; y < 128; ++y) {
            for (int x = 0; x < 128; ++x)
                pattern.setPixel(x, y, qRgb(x * 2, y * 2, (x + y) % 2 == 0 ? 255 : 0));
        }
        const ScreenWidget page;
        importInto(page, {write("a.png", encodeImage(pattern, "png"))});
        const QImage shown =
            previewOf(page)->pixmap().toImage().convertToFormat(QImage::Format_RGB32);
        QCOMPARE(shown.size(), QSize(256, 256));
        for (int y = 0; y < 256; ++y) {
            for (int x = 0; x < 256; ++x)
                QCOMPARE(shown.pixel(x, y), pattern.pixel(x / 2, y / 2));
        }
    }

    void previewWithoutFramesLeavesItAsItWas()
    {
        const ScreenWidget page;
        click(page, previewText);
        QVERIFY(previewOf(page)->pixmap().isNull());
        importInto(page, {writeStill("red.png", Qt::red)});
        importInto(page, {write("a.png", "no picture")});
        click(page, previewText);
        QCOMPARE(previewOf(page)->pixmap().toImage().pixelColor(9, 9), QColor(Qt::red));
        QCOMPARE(busTrace(), QStringList());
    }

    void previewButtonShowsTheFirstFrame()
    {
        const ScreenWidget page;
        importInto(page, {writeStill("red.png", Qt::red)});
        previewOf(page)->clear();
        click(page, previewText);
        QCOMPARE(previewOf(page)->pixmap().toImage().pixelColor(9, 9), QColor(Qt::red));
    }

    void sendingNothingIsRefused()
    {
        const ScreenWidget page;
        click(page, sendText);
        QCOMPARE(statusOf(page)->text(), QStringLiteral("no frames"));
        QCOMPARE(statusOf(page)->styleSheet(), errorStyle);
        QCOMPARE(busTrace(), QStringList());
    }

    void sendingMoreThanThirtyFramesIsRefused()
    {
        const ScreenWidget page;
        importInto(page, {writeAnimation("a.gif", 20), writeAnimation("b.gif", 30)});
        QCOMPARE(statusOf(page)->text(), QStringLiteral("50 frame(s) imported."));
        click(page, sendText);
        QCOMPARE(statusOf(page)->text(), QStringLiteral("no frames"));
        QCOMPARE(statusOf(page)->styleSheet(), errorStyle);
        QCOMPARE(busTrace(), QStringList());
    }

    void oneFrameIsSentToTheChosenSlot()
    {
        ScreenWidget page;
        page.show();
        importInto(page, {writeStill()});
        slotOf(page)->setValue(2);
        const PaintedTexts painted(statusOf(page));
        click(page, sendText);
        QCOMPARE(
            statusOf(page)->text(),
            QStringLiteral("Animation sent (slot 2, 1 frames). Press Fn + Delete to display it."));
        QCOMPARE(statusOf(page)->styleSheet(), successStyle);
        QCOMPARE(bus().keyboard().screenSlot(2).size(), std::size_t{1});
        // Each text was on the display before the thread went on.
        QCOMPARE(painted.texts.filter("ing ") + painted.texts.filter("opened"),
                 QStringList({"Sending 9 blocks of 4096 bytes…", "Sending chunk 1/9…",
                              "Sending chunk 5/9…", "Sending chunk 9/9…",
                              "TFT interface FF68 opened…"}));
    }

    void progressIsNotRed()
    {
        const ScreenWidget page;
        importInto(page, {writeStill()});
        bus().failBlockAt(2, noAcknowledgement());
        click(page, sendText);
        QCOMPARE(statusOf(page)->styleSheet(), errorStyle);
        QStringList styles;
        bus().setListener([&] { styles += statusOf(page)->styleSheet(); });
        click(page, sendText);
        bus().setListener({});
        QVERIFY(styles.size() > 20);
        styles.removeDuplicates();
        QCOMPARE(styles, QStringList(plainStyle));
    }

    void fullAnimationArrivesAsThePageHoldsIt()
    {
        const ScreenWidget page;
        const QString path = writeAnimation("a.gif", 30);
        importInto(page, {path});
        slotOf(page)->setValue(3);
        click(page, sendText);
        QCOMPARE(
            statusOf(page)->text(),
            QStringLiteral("Animation sent (slot 3, 30 frames). Press Fn + Delete to display it."));
        QCOMPARE(bus().count("block 4097 bytes"), 241);
        QVERIFY(bus().sentBlocks() == buildScreenStream(importImages({path})));

        const auto& held = bus().keyboard().screenSlot(3);
        QCOMPARE(held.size(), std::size_t{30});
        const QList<QRgb> colors = manyColors(30);
        for (std::size_t index = 0; index < held.size(); ++index) {
            const QRgb color = colors.at(static_cast<qsizetype>(index));
            const int expected =
                (qRed(color) >> 3) << 11 | (qGreen(color) >> 2) << 5 | qBlue(color) >> 3;
            QCOMPARE(held.at(index).time.count(), 100);
            for (const std::uint16_t pixel : held.at(index).pixels)
                QCOMPARE(int{pixel}, expected);
        }
    }

    void failureIsShownAsItStandsAndCanBeRepeated_data()
    {
        QTest::addColumn<QString>("failing");
        QTest::addColumn<QString>("text");
        QTest::newRow("no screen") << "screen"
                                   << "TFT interface (0xFF68/0xFF67) not found";
        QTest::newRow("no keyboard") << "keyboard"
                                     << "TFT interface (0xFF68/0xFF67) not found";
        QTest::newRow("no configuration") << "configuration" << notFoundText;
        QTest::newRow("start") << "start"
                               << "04 72 rejected (status 02)";
        QTest::newRow("write") << "write"
                               << "chunk 5/9 write failed";
        QTest::newRow("acknowledgement") << "acknowledgement"
                                         << "no ack for chunk 9/9";
        QTest::newRow("commit") << "commit"
                                << "TFT COMMIT rejected (status 03)";
        QTest::newRow("finish") << "finish"
                                << "FINISH rejected (status 04)";
        QTest::newRow("busy") << "busy"
                              << "Keyboard refuses to open a session (busy?)";
    }

    void failureIsShownAsItStandsAndCanBeRepeated()
    {
        QFETCH(const QString, failing);
        QFETCH(const QString, text);
        const QHash<QString, std::function<void()>> preparations{
            {"screen", [] { bus().setOpens("/dev/hidraw2", false); }},
            {"keyboard", [] { bus().unplug(); }},
            {"configuration", [] { bus().setOpens("/dev/hidraw1", false); }},
            {"start", [] { bus().failCommand(0x72, answerStatus(2)); }},
            {"write", [] { bus().failBlockAt(5, shortWrite()); }},
            {"acknowledgement", [] { bus().failBlockAt(9, noAcknowledgement()); }},
            {"commit", [] { bus().failCommand(0x02, answerStatus(3)); }},
            {"finish",
             [] {
                 bus().failCommand(0x02, answerStatus(3));
                 bus().failCommand(0xF0, answerStatus(4));
             }},
            {"busy", [] { bus().failAt(1, busy(), 10); }}};
        const ScreenWidget page;
        importInto(page, {writeAnimation("a.gif", 1)});
        slotOf(page)->setValue(3);
        preparations.value(failing)();
        click(page, sendText);
        QCOMPARE(statusOf(page)->text(), text);
        QCOMPARE(statusOf(page)->styleSheet(), errorStyle);
        QCOMPARE(slotOf(page)->value(), 3);
        QVERIFY(deviceLockIsFree());
        QCOMPARE(bus().openHandles(), Device::instance().isOpen() ? 1 : 0);

        bus().clearFaults();
        bus().setOpens("/dev/hidraw1", true);
        bus().setOpens("/dev/hidraw2", true);
        bus().plug();
        click(page, sendText);
        QCOMPARE(
            statusOf(page)->text(),
            QStringLiteral("Animation sent (slot 3, 1 frames). Press Fn + Delete to display it."));
        QCOMPARE(statusOf(page)->styleSheet(), successStyle);
    }

    void clickWhileSendingStartsNothing_data()
    {
        QTest::addColumn<QString>("line"); // of the trace, at which the click comes
        QTest::newRow("at the beginning") << "enumerate 8009";
        QTest::newRow("during the blocks") << "ack";
        QTest::newRow("at the end") << "close screen";
    }

    void clickWhileSendingStartsNothing()
    {
        QFETCH(const QString, line);
        ScreenWidget page;
        page.show();
        importInto(page, {writeStill()});
        QPushButton* const sendButton = buttonOf(page, sendText);
        int clicks = 0;
        bus().setListener([&] {
            if (busTrace().last() != line)
                return;
            ++clicks;
            // One that would act at once, and one that waits until the thread is free.
            page.upload();
            page.importFiles();
            QMetaObject::invokeMethod(sendButton, "click", Qt::QueuedConnection);
        });
        sendButton->click();
        bus().setListener({});
        QCoreApplication::processEvents();
        QVERIFY(clicks > 0);
        QCOMPARE(bus().count("open screen"), 1);
        QCOMPARE(bus().count("block 4097 bytes"), 9);
        QCOMPARE(
            statusOf(page)->text(),
            QStringLiteral("Animation sent (slot 1, 1 frames). Press Fn + Delete to display it."));

        sendButton->click();
        QCOMPARE(bus().count("block 4097 bytes"), 18);
    }

    void clickBeforeTheTransferBlocksTheThreadStartsNothing()
    {
        ScreenWidget page;
        page.show();
        importInto(page, {writeStill()});
        QPushButton* const sendButton = buttonOf(page, sendText);
        QMetaObject::invokeMethod(sendButton, "click", Qt::QueuedConnection);
        QMetaObject::invokeMethod(buttonOf(page, importText), "click", Qt::QueuedConnection);
        sendButton->click();
        QCoreApplication::processEvents();
        QCOMPARE(bus().count("block 4097 bytes"), 9);
    }
};

TAVIK_ISOLATED_TEST_MAIN(ScreenWidgetTest)
#include "screen_widget_test.moc"
