// SPDX-License-Identifier: MIT
#pragma once

#include "pages/screen/image_import.h"

#include <QWidget>

class QAction;
class QLabel;
class QLayout;
class QSpinBox;

namespace tavik {

class StatusLabel;

// The page that puts pictures and animations on the keyboard's screen. The frames live as long as
// the page: a failed transfer can be repeated.
class ScreenWidget : public QWidget
{
    Q_OBJECT

public:
    explicit ScreenWidget(QWidget* parent = nullptr);

public slots:
    // Asks for files and replaces the frames by theirs; without a choice the frames stay.
    void importFiles();
    // Shows the first frame, if there is one.
    void preview();
    // Sends the frames to the chosen slot and shows the outcome; takes seconds. While it runs,
    // neither this nor importFiles() does anything.
    void upload();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QLayout* createButtonRow();
    QLayout* createSlotRow();
    void createPreview();
    void createEntries();

    void sendFrames();
    QStringList askForPictures();
    void importFrom(const QStringList& paths);
    void importDropped(const QStringList& paths);
    void pastePictures();
    void play();
    void takeFrames(const QList<ScreenFrame>& taken, const QStringList& outcomes);

    QList<ScreenFrame> frames;
    QString pictureFolder; // where the dialog opens

    QAction* playEntry = nullptr;
    QSpinBox* slotInput = nullptr;
    QLabel* previewLabel = nullptr;
    StatusLabel* statusLabel = nullptr;
};

} // namespace tavik
