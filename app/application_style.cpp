// SPDX-License-Identifier: MIT
#include "app/application_style.h"

#include "app/skin/skin_files.h"
#include "app/skin/skin_icons.h"
#include "files/regular_file.h"
#include "files/shared_place.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QFontDatabase>
#include <QImage>

namespace tavik {

namespace {

constexpr qint64 largestFont = 32 * 1024 * 1024;
constexpr qint64 largestControl = 8 * 1024; // which may be texts of eight megabytes
constexpr int mostControlPixels = 256 * 256;
constexpr int mostDensity = 9; // that Qt looks for

// Every page relies on the object names in these selectors for its look.
const char* const globalStyleSheet = R"(
QWidget { color: #f1f1f1; background: transparent; font-family: "Open Sans", "Segoe UI", sans-serif; font-size: 14px; }
QMainWindow { background: #000000; }
QWidget#shell { background: #111111; border: 1px solid #484848; }
QWidget#titleBar { background: #111111; border-bottom: 1px solid #202020; }
QLabel#pageTitle { color: #f1f1f1; font-size: 15px; font-weight: 600; }
QWidget#sidebar { background: rgba(15,15,16,245); border-right: 1px solid #252527; }
QWidget#lightingPanel { background: rgba(65,65,65,235); }
QWidget#settingsSidePanel, QWidget#gameModePanel { background: rgba(65,65,65,225); }
QToolButton#navButton, QToolButton#windowMinimize, QToolButton#windowClose { border: 0; border-radius: 0; padding: 0; background: transparent; }
QToolButton#navButton:hover { background: rgba(255,255,255,10); }
QToolButton#windowMinimize:hover, QToolButton#windowClose:hover { background: #2b2b2d; }
QStackedWidget#pageStack { background: transparent; border: 0; }
QLabel { background: transparent; }
QLabel#hint { color: #9c9c9f; }
QLabel#headerTitle { color: #f3f3f3; font-size: 17px; font-weight: 700; }
QLabel#emptyPageTitle { color: #dfdfdf; font-size: 18px; font-weight: 600; }
QPushButton { color: #f1f1f1; background: #505050; border: 1px solid #666666; border-radius: 0; padding: 4px 8px; font-weight: 500; }
QPushButton:hover { background: #5a5a5a; }
QPushButton:pressed { background: #454545; }
QPushButton:disabled { color: #858585; background: #414141; }
QPushButton#accent { color: #ffffff; background: #da5200; border-color: #da5200; }
QPushButton#accent:hover { background: #e36512; }
QComboBox, QLineEdit, QSpinBox { color: #f2f2f2; background: #515151; border: 1px solid #777777; border-radius: 0; padding: 3px 6px; min-height: 24px; }
QComboBox:hover, QLineEdit:hover, QSpinBox:hover { border-color: #9a9a9a; }
QComboBox QAbstractItemView { color: #f2f2f2; background: #515151; border: 1px solid #777777; selection-background-color: #da5200; }
QSlider::groove:horizontal { height: 5px; background: #777777; border-radius: 0; }
QSlider::sub-page:horizontal { background: #ee7300; }
QSlider::handle:horizontal { background: #f7f7f7; border: 2px solid #ee7300; width: 13px; height: 13px; margin: -5px 0; border-radius: 7px; }
QCheckBox { spacing: 8px; }
QCheckBox::indicator { width: 18px; height: 18px; border: 1px solid #dddddd; border-radius: 0; }
QCheckBox::indicator:checked { background: #e77a19; }
QGroupBox { color: #e2e2e2; background: rgba(65,65,65,220); border: 1px solid #585858; border-radius: 0; margin-top: 14px; padding: 12px 10px 10px; }
QGroupBox::title { subcontrol-origin: margin; left: 10px; padding: 0 4px; }
QLabel#statusOk { color: #7ec97e; font-weight: 600; }
QLabel#statusErr { color: #e07070; font-weight: 600; }
QListWidget, QTableWidget { color: #f2f2f2; background: rgba(40,40,40,180); border: 1px solid #666666; }
QTableWidget::item:selected, QListWidget::item:selected { background: #da5200; }
QHeaderView::section { color: #eeeeee; background: #505050; border: 0; padding: 5px; }
QScrollBar:vertical { width: 8px; background: #303030; }
QScrollBar::handle:vertical { background: #777777; min-height: 24px; }
)";

// By its first four bytes.
bool isPlainFont(const QByteArray& signature)
{
    return QByteArrayList{QByteArray("\0\1\0\0", 4), "OTTO", "true", "ttcf"}.contains(signature);
}

void registerFonts()
{
    const QString regular = resolveSkinFile(QStringLiteral("fonts/OpenSans-Regular.ttf"));
    const QString semibold = resolveSkinFile(QStringLiteral("fonts/OpenSans-Semibold.ttf"));
    for (const QString& path : {regular, semibold}) {
        // A pipe would hold the start for ever, and fonts for the web inflate to any size.
        QFile file;
        if (openRegularFile(file, path, largestFont) && isPlainFont(file.read(4)))
            QFontDatabase::addApplicationFont(path);
    }
}

// The global sheet makes every widget transparent, so a dialog without a ground would be black. Its
// least height of combo and spin boxes is not that of the two whose height is fixed.
const char* const mainWindowStyleSheet = R"(
QDialog, QMenu { background: #242426; }
QMenu { border: 1px solid #484848; padding: 4px 0; }
QDialog#chordDialog { border: 1px solid #585858; }
QMenu::item { padding: 5px 26px 5px 14px; }
QMenu::item:disabled { color: #858585; }
QMenu::item:selected { background: #c04800; color: #ffffff; }
QMenu::separator { height: 1px; background: #3a3a3c; margin: 4px 8px; }
QToolTip { color: #f1f1f1; background: #242426; border: 1px solid #585858; padding: 3px 6px; }
QInputDialog QLineEdit { min-width: 280px; }
QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }
QMessageBox QPushButton { icon-size: 0px; }
QDialogButtonBox QPushButton { min-width: 64px; }
QFileDialog { min-width: 760px; min-height: 480px; }
QFileDialog QListView, QFileDialog QTreeView { background: #1b1b1c; border: 1px solid #484848; }
QFileDialog QToolButton { padding: 3px; border: 1px solid transparent; }
QFileDialog QToolButton:hover { background: #3a3a3c; }

QSpinBox#rgbInput { min-height: 26px; }
QComboBox#languageSelect { min-height: 23px; }
QComboBox { combobox-popup: 0; }
QComboBox QFrame { background: #515151; }
QComboBox QAbstractItemView::item { min-height: 26px; padding: 0 4px; border: 0; }
QComboBox QAbstractItemView::item:selected { color: #ffffff; background: #da5200; }
QComboBox#languageSelect QAbstractItemView { min-width: 240px; }
QAbstractButton, QSlider { outline: 0; }
QAbstractItemView { outline: 0; selection-background-color: #da5200; selection-color: #ffffff; }
QLineEdit, QAbstractSpinBox { selection-background-color: #8a3a08; selection-color: #ffffff; }
QGroupBox { font-size: 13px; }
QGroupBox::title { top: -4px; }
QListWidget::item { padding: 2px 0; }
QScrollBar:horizontal { height: 8px; background: #303030; }
QScrollBar::handle:horizontal { background: #777777; min-width: 24px; }
QScrollBar::handle:hover { background: #909090; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QSpinBox:disabled { color: #858585; background: #414141; }
QCheckBox:disabled { color: #9a9a9a; }
QCheckBox::indicator:disabled { border-color: #6e6e6e; }

QToolButton#settingsNavButton { border: 0; border-radius: 0; padding: 0; background: transparent; }
QToolButton#settingsNavButton:hover { background: rgba(255,255,255,10); }
QPushButton:checked { color: #ffffff; background: #8a3a08; border-color: #e77a19; border-bottom: 3px solid #ffb27a; padding-bottom: 2px; }
)";

// With the pictures of the skin; without them the controls keep the marks of the platform.
// The channels of the Lighting page have no buttons, so they show no marks either.
const char* const controlStyleSheet = R"(
QComboBox::drop-down { subcontrol-origin: border; subcontrol-position: center right; width: 26px; border: 0; }
QComboBox::down-arrow { image: url("%1"); width: 12px; height: 12px; }
QSpinBox::up-button { subcontrol-origin: border; subcontrol-position: top right; width: 22px; height: 15px; border: 0; margin: 1px 1px 0 0; }
QSpinBox::down-button { subcontrol-origin: border; subcontrol-position: bottom right; width: 22px; height: 15px; border: 0; margin: 0 1px 1px 0; }
QSpinBox::up-button:hover, QSpinBox::down-button:hover { background: #626262; }
QSpinBox::down-arrow { image: url("%1"); width: 10px; height: 10px; }
QSpinBox::up-arrow { image: url("%2"); width: 10px; height: 10px; }
QSpinBox#rgbInput::up-arrow, QSpinBox#rgbInput::down-arrow { image: none; width: 0; height: 0; }
QCheckBox::indicator:checked { image: url("%3"); }
QMessageBox { messagebox-question-icon: url("%4"); messagebox-information-icon: url("%5"); }
)";

// What a style sheet names is opened by Qt itself, which waits for a pipe and inflates all that is
// in a picture. Of several densities it takes what fits the screen, also one that comes later.
bool isHarmless(const QString& path)
{
    for (int density = 1; density <= mostDensity; ++density) {
        const QString picture = density == 1 ? path : densePictureName(path, density);
        if (density > 1 && !QFileInfo::exists(picture))
            continue;
        const auto content = readRegularFile(picture, largestControl);
        if (!content || !isTrustedPath(picture))
            return false;
        const QImage image = decodeSkinImage(*content);
        if (image.isNull() || image.width() * image.height() > mostControlPixels)
            return false;
    }
    return true;
}

QString controlSheet()
{
    const QString down = resolveSkinFile(QStringLiteral("control_down.png"));
    const QString up = resolveSkinFile(QStringLiteral("control_up.png"));
    const QString check = resolveSkinFile(QStringLiteral("control_check.png"));
    const QString question = resolveSkinFile(QStringLiteral("dialog_question.png"));
    const QString information = resolveSkinFile(QStringLiteral("dialog_information.png"));
    for (const QString& path : {down, up, check, question, information}) {
        if (path.isEmpty() || path.contains(u'"') || path.contains(u'\\') || !isHarmless(path))
            return {};
    }
    return QString::fromLatin1(controlStyleSheet).arg(down, up, check, question, information);
}

} // namespace

void applyApplicationStyle(QApplication& application)
{
    registerFonts();
    QApplication::setFont(QFont(QStringLiteral("Open Sans"), 10));
    application.setStyleSheet(QString::fromLatin1(globalStyleSheet));
    QApplication::setWindowIcon(loadSkinPixmap(QStringLiteral("icons/tavik-center.png")));
}

QString windowStyleSheet()
{
    return QString::fromLatin1(mainWindowStyleSheet) + controlSheet();
}

} // namespace tavik
