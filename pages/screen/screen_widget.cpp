// SPDX-License-Identifier: MIT
#include "pages/screen/screen_widget.h"

#include "pages/parts/accessible_roles.h"
#include "pages/parts/announcement.h"
#include "pages/parts/busy_wait.h"
#include "pages/parts/file_dialog.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/status_label.h"
#include "pages/screen/frame_player.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_transfer.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QDir>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSpinBox>
#include <QStandardPaths>
#include <QStyleOptionButton>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>

namespace tavik {

namespace {

constexpr int slotCount = 3;
constexpr QSize previewSize(256, 256);
constexpr qsizetype shownOutcomes = 32; // lines of a tool tip
constexpr std::chrono::milliseconds retryDelay(100);
constexpr std::chrono::milliseconds longestSilence(1000); // of a screen reader, while it sends

// Where people keep what they may want to see on the keyboard.
QString firstPictureFolder()
{
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return QDir(pictures).exists() ? pictures : QDir::homePath();
}

// The local files of what is dragged or pasted.
QStringList filesIn(const QMimeData* data)
{
    QStringList paths;
    for (const QUrl& url : data->urls()) {
        if (url.isLocalFile())
            paths += url.toLocalFile();
    }
    return paths;
}

// In which of the formats offered another program shall hand over its picture, so that its size can
// be found out before it is decoded; empty for none.
QString pictureFormat(const QStringList& offered)
{
    for (const char* format : {"image/png", "image/bmp", "image/gif", "image/jpeg"}) {
        if (offered.contains(QLatin1String(format)))
            return QLatin1String(format);
    }
    return {};
}

// As in the dialog.
bool isPictureName(const QString& path)
{
    static const QStringList suffixes{"gif", "png", "jpg", "jpeg", "bmp"};
    return suffixes.contains(QFileInfo(path).suffix(), Qt::CaseInsensitive);
}

// A button whose text is shown as it stands: an ampersand in it is an ampersand and marks no
// shortcut.
class PlainTextButton : public QPushButton
{
public:
    PlainTextButton(const QString& text, QWidget* parent) : QPushButton(text, parent)
    {
        setShortcut({});
        setAccessibleName(text);
    }

    QSize sizeHint() const override
    {
        // The base class leaves no room for what it takes for a mark.
        const int ampersands = static_cast<int>(text().count(u'&'));
        const int width = fontMetrics().horizontalAdvance(u'&');
        return QPushButton::sizeHint() + QSize(ampersands * width, 0);
    }

protected:
    void initStyleOption(QStyleOptionButton* option) const override
    {
        QPushButton::initStyleOption(option);
        option->text.replace(QLatin1String("&"), QLatin1String("&&"));
    }
};

} // namespace

ScreenWidget::ScreenWidget(QWidget* parent) : QWidget(parent), pictureFolder(firstPictureFolder())
{
    QVBoxLayout* column = createPageColumn(this);
    column->addLayout(createButtonRow());
    column->addLayout(createSlotRow());
    createPreview();
    column->addWidget(previewLabel, 0, Qt::AlignHCenter);
    statusLabel = new StatusLabel(this);
    statusLabel->setWordWrap(true);
    column->addWidget(statusLabel);
    QLabel* hint = createHint(tr("The animation is stored in the selected slot. Press Fn + Delete "
                                 "on the keyboard to switch between the clock and your animation."),
                              this);
    hint->setWordWrap(true);
    column->addWidget(hint);
    column->addStretch();
    createEntries();
    setAcceptDrops(true);
}

QLayout* ScreenWidget::createButtonRow()
{
    QPushButton* importButton = createButton(tr("Import GIF / images (resized to 128×128)…"), this,
                                             &ScreenWidget::importFiles);
    auto* previewButton = new PlainTextButton(tr("Convert & preview"), this);
    connect(previewButton, &QPushButton::clicked, this, &ScreenWidget::preview);
    return createRow({importButton, previewButton,
                      createAccentButton(tr("Send to screen"), this, &ScreenWidget::upload)});
}

QLayout* ScreenWidget::createSlotRow()
{
    slotInput = new QSpinBox(this);
    slotInput->setRange(1, slotCount);
    auto* label = new QLabel(tr("Destination slot:"), this);
    label->setBuddy(slotInput);

    return createRow({label, slotInput});
}

void ScreenWidget::createPreview()
{
    previewLabel = new QLabel(this);
    previewLabel->setFixedSize(previewSize);
    previewLabel->setAlignment(Qt::AlignCenter);
    previewLabel->setAccessibleName(tr("Preview"));
    previewLabel->setToolTip(
        tr("Drop pictures here or paste them. Right click or Shift+F10 opens a menu."));
    letToolsOpenMenu(previewLabel, QAccessible::Graphic);
    previewLabel->setStyleSheet(
        QStringLiteral("background:#0d0d10; border:1px solid #3a3d47; border-radius:8px;"));
}

// They work while the page is open, wherever the focus is.
void ScreenWidget::createEntries()
{
    playEntry = addMenuEntry(this, tr("Play"), Qt::CTRL | Qt::Key_P, [this] { play(); });
    playEntry->setEnabled(false);
    QAction* paste =
        addMenuEntry(this, tr("Paste pictures"), Qt::CTRL | Qt::Key_V, [this] { pastePictures(); });
    for (QAction* entry : {playEntry, paste})
        entry->setShortcutContext(Qt::WindowShortcut);
}

void ScreenWidget::contextMenuEvent(QContextMenuEvent* event)
{
    auto* menu = new QMenu(this);
    menu->setAccessibleName(previewLabel->accessibleName());
    menu->addActions(actions());
    popUp(menu, event->globalPos());
}

void ScreenWidget::dragEnterEvent(QDragEnterEvent* event)
{
    if (std::ranges::any_of(filesIn(event->mimeData()), isPictureName) &&
        QApplication::activeModalWidget() == nullptr) {
        // Whoever offers to move a file would delete it.
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore(); // the window may know what to do with it
    }
}

void ScreenWidget::dropEvent(QDropEvent* event)
{
    event->setDropAction(Qt::CopyAction);
    event->accept();
    // The program that the files come from waits until this returns.
    const QStringList paths = filesIn(event->mimeData());
    QTimer::singleShot(0, this, [this, paths] { importDropped(paths); });
}

// The keyboard may just be written.
void ScreenWidget::importDropped(const QStringList& paths)
{
    if (BusyWait::isRunning())
        QTimer::singleShot(retryDelay, this, [this, paths] { importDropped(paths); });
    else
        importFrom(paths);
}

void ScreenWidget::pastePictures()
{
    const QMimeData* pasted = QApplication::clipboard()->mimeData();
    // Asked once: every question takes seconds where the program that holds it does not answer.
    const QStringList offered = pasted == nullptr ? QStringList() : pasted->formats();
    const QStringList paths =
        offered.contains(QStringLiteral("text/uri-list")) ? filesIn(pasted) : QStringList();
    if (std::ranges::any_of(paths, isPictureName)) {
        importFrom(paths);
        return;
    }
    if (BusyWait::isRunning())
        return;
    if (const QString format = pictureFormat(offered); !format.isEmpty()) {
        const BusyWait wait(this, statusLabel);         // who holds the picture may take its time
        pasted = QApplication::clipboard()->mimeData(); // another one may have come since
        const QList<ScreenFrame> taken =
            importContent(pasted == nullptr ? QByteArray() : pasted->data(format));
        if (!taken.isEmpty()) {
            takeFrames(taken, {});
            return;
        }
    }
    statusLabel->showStatus(StatusLook::Warning, tr("There is no picture to paste."));
}

void ScreenWidget::importFiles()
{
    if (!BusyWait::isRunning())
        importFrom(askForPictures());
}

void ScreenWidget::importFrom(const QStringList& paths)
{
    if (paths.isEmpty() || BusyWait::isRunning())
        return;
    const BusyWait wait(this, statusLabel);
    QStringList outcomes;
    const QList<ScreenFrame> imported = importImages(paths, &outcomes);
    takeFrames(imported, outcomes);
}

void ScreenWidget::takeFrames(const QList<ScreenFrame>& taken, const QStringList& outcomes)
{
    frames = taken;
    playEntry->setEnabled(!frames.isEmpty());
    statusLabel->showStatus(StatusLook::Plain, tr("%1 frame(s) imported.").arg(frames.size()));
    QStringList shown = outcomes.first(std::min(outcomes.size(), shownOutcomes));
    if (outcomes.size() > shownOutcomes)
        shown += tr("and %1 more").arg(outcomes.size() - shownOutcomes);
    statusLabel->setAdvice(shown.join(u'\n'));
    preview();
}

void ScreenWidget::play()
{
    (new FramePlayer(frames, this))->open();
}

QStringList ScreenWidget::askForPictures()
{
    QFileDialog dialog(this, tr("Images or GIF"), pictureFolder,
                       tr("Images (*.gif *.png *.jpg *.jpeg *.bmp)"));
    dialog.setFileMode(QFileDialog::ExistingFiles);
    const QStringList paths = chosenFiles(dialog);
    if (!paths.isEmpty())
        pictureFolder = QFileInfo(paths.constFirst()).absolutePath();
    return paths;
}

void ScreenWidget::preview()
{
    if (frames.isEmpty())
        return;
    // In the pixels of the display, so that those of the picture stay sharp on every one.
    const qreal ratio = previewLabel->devicePixelRatioF();
    const QImage picture = frames.constFirst().image.scaled(
        previewSize * ratio, Qt::KeepAspectRatio, Qt::FastTransformation);
    QPixmap pixmap = QPixmap::fromImage(picture);
    pixmap.setDevicePixelRatio(ratio);
    previewLabel->setPixmap(pixmap);
    previewLabel->setAccessibleDescription(tr("The first of %1 frame(s)").arg(frames.size()));
}

void ScreenWidget::upload()
{
    const BusyWait wait(this, statusLabel);
    if (!wait.hasBegun())
        return;
    if (frames.isEmpty() || frames.size() > screenFrameLimit) {
        statusLabel->showRefusal(tr("no frames"),
                                 tr("Import between 1 and %1 frames first.").arg(screenFrameLimit));
        return;
    }
    sendFrames();
}

void ScreenWidget::sendFrames()
{
    const ScreenStream stream = buildScreenStream(frames);
    statusLabel->showStatus(
        StatusLook::Plain,
        tr("Sending %1 blocks of 4096 bytes…").arg(stream.size() / screenBlockSize));
    QCoreApplication::processEvents(); // paints it, before the transfer blocks the thread

    const int slot = slotInput->value();
    QElapsedTimer sinceAnnounced;
    sinceAnnounced.start();
    const ScreenTransferResult result = sendToScreen(stream, slot, [&](const QString& text) {
        statusLabel->setText(text);
        if (sinceAnnounced.hasExpired(longestSilence.count())) {
            announce(statusLabel, text);
            sinceAnnounced.start();
        }
        statusLabel->repaint(); // no event loop runs meanwhile
    });
    if (!result.ok) {
        statusLabel->showStatus(StatusLook::Error, result.error);
        return;
    }
    statusLabel->showStatus(
        StatusLook::Success,
        tr("Animation sent (slot %1, %2 frames). Press Fn + Delete to display it.")
            .arg(slot)
            .arg(frames.size()));
}

} // namespace tavik
