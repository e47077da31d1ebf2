// SPDX-License-Identifier: MIT
#include "pages/macros/record_dialog.h"

#include "pages/parts/announcement.h"
#include "pages/parts/scan_codes.h"

#include <QAccessible>
#include <QCheckBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMouseEvent>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

namespace tavik {

namespace {

using Input = MacroRecording::Input;

constexpr quint64 longestRepeatGapMs = 15; // nobody is that quick
constexpr int usualDelayMs = 20;

// Qt counts the buttons by the same bits, but for those in the middle.
std::optional<std::uint8_t> buttonCode(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton:
        return 0x01;
    case Qt::RightButton:
        return 0x02;
    case Qt::MiddleButton:
        return 0x04;
    case Qt::BackButton:
        return 0x08;
    case Qt::ForwardButton:
        return 0x10;
    default:
        return {};
    }
}

} // namespace

RecordDialog::RecordDialog(const QString& macroName, QWidget* parent) : QDialog(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Record"));
    setMinimumWidth(420);

    auto* heading = new QLabel(tr("What you press is added to \"%1\".").arg(macroName), this);
    heading->setTextFormat(Qt::PlainText);
    createField();
    list = new QListWidget(this);
    list->setAccessibleName(tr("Recorded actions"));
    list->setMinimumHeight(170);
    list->setSelectionMode(QAbstractItemView::NoSelection);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(18, 16, 18, 16);
    column->setSpacing(10);
    column->addWidget(heading);
    column->addWidget(field);
    column->addWidget(list, 1);
    column->addLayout(createDelayRow());
    column->addLayout(createButtonRow());
    for (QWidget* part : findChildren<QWidget*>())
        part->installEventFilter(this);

    clock.start();
    escapeTimer = new QTimer(this);
    escapeTimer->setSingleShot(true);
    escapeTimer->setInterval(escapeHold);
    connect(escapeTimer, &QTimer::timeout, this, [this] {
        if (recording.isHeld(Input::Key, escapeUsage))
            stopAtEscape();
    });
}

void RecordDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!event->spontaneous())
        start();
}

void RecordDialog::createField()
{
    field = new QLabel(this);
    field->setAlignment(Qt::AlignCenter);
    field->setMinimumHeight(84);
    field->setWordWrap(true);
}

QLayout* RecordDialog::createDelayRow()
{
    fixedDelay = new QCheckBox(tr("The same delay between actions:"), this);
    fixedInput = new QSpinBox(this);
    fixedInput->setButtonSymbols(QAbstractSpinBox::NoButtons);
    fixedInput->setRange(0, 65535);
    fixedInput->setValue(usualDelayMs);
    fixedInput->setSuffix(tr(" ms"));
    fixedInput->setAccessibleName(tr("Delay between actions"));
    connect(fixedDelay, &QCheckBox::toggled, this, &RecordDialog::showActions);
    connect(fixedInput, &QSpinBox::valueChanged, this, [this] {
        fixedDelay->setChecked(true);
        showActions();
    });

    auto* row = new QHBoxLayout;
    row->addWidget(fixedDelay);
    row->addWidget(fixedInput);
    row->addStretch();
    return row;
}

QLayout* RecordDialog::createButtonRow()
{
    const auto create = [this](const QString& text, void (RecordDialog::*act)()) {
        auto* button = new QPushButton(text, this);
        connect(button, &QPushButton::clicked, this, act);
        return button;
    };
    stopButton = create(tr("Stop"), &RecordDialog::stopAtClick);
    againButton = create(tr("Record again"), &RecordDialog::start);
    addButton = create(tr("Add to macro"), &RecordDialog::take);
    addButton->setObjectName(QStringLiteral("accent"));
    addButton->setDefault(true);
    QPushButton* cancel = create(tr("Cancel"), &QDialog::reject);

    auto* row = new QHBoxLayout;
    row->addWidget(stopButton);
    row->addWidget(againButton);
    row->addStretch();
    row->addWidget(addButton);
    row->addWidget(cancel);
    return row;
}

void RecordDialog::start()
{
    // While a screen reader listens, it gets the keys first, and they come back without their time
    // and a little later.
    hasOwnClock = QAccessible::isActive();
    recording = MacroRecording(hasOwnClock ? longestRepeatGapMs : 0);
    isRecording = true;
    // Also from the desktop, which has keys of its own. Elsewhere no program gets those, and the
    // others come to the part that has the focus.
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        grabKeyboard();
    showRequest();
    field->setFocus(); // a screen reader says what it asks for
    field->setStyleSheet(QStringLiteral("border:1px solid #da5200;border-radius:8px;"));
    showActions();
}

void RecordDialog::showRequest()
{
    field->setText(tr("Press keys now. Mouse buttons count in this field.\n"
                      "Hold Esc for a second to stop."));
}

void RecordDialog::stop(const QString& words)
{
    if (!isRecording)
        return;
    isRecording = false;
    escapeTimer->stop();
    releaseKeyboard();
    recording.finish(latestMs);
    field->setText(words);
    field->setStyleSheet(QStringLiteral("border:1px solid #3a3d47;border-radius:8px;"));
    showActions();
    (addButton->isVisible() ? addButton : againButton)->setFocus();
}

void RecordDialog::stopAtClick()
{
    stop(tr("Stopped."));
}

void RecordDialog::take()
{
    emit recorded(actions());
    accept();
}

bool RecordDialog::event(QEvent* event)
{
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
        if (takesKey(*static_cast<QKeyEvent*>(event)))
            return true;
    } else if (isRecording && event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    } else if (event->type() == QEvent::WindowDeactivate || event->type() == QEvent::Hide) {
        // What is let go elsewhere is not heard of.
        stop(tr("Stopped, because another window was chosen."));
    }
    return QDialog::event(event);
}

quint64 RecordDialog::timeOf(const QInputEvent& event) const
{
    return hasOwnClock ? static_cast<quint64>(clock.elapsed()) : event.timestamp();
}

// Esc stops a recording, and who holds or presses it once more does not mean to lose it.
bool RecordDialog::takesKey(const QKeyEvent& key)
{
    if (!isRecording)
        return key.key() == Qt::Key_Escape && list->count() > 0;
    const bool isPress = key.type() == QEvent::KeyPress;
    const quint64 timeMs = timeOf(key);
    if (!key.isAutoRepeat())
        takeKey(key.nativeScanCode(), isPress, timeMs);
    // The timer may find it let go, since a held key is let go and pressed again all the time.
    if (isPress && recording.isHeld(Input::Key, escapeUsage) &&
        timeMs >= escapePressedMs + quint64{escapeHold.count()})
        stopAtEscape();
    return true;
}

void RecordDialog::stopAtEscape()
{
    const bool isEscapeAlone = list->count() == 1;
    recording.dropLastPress(Input::Key, escapeUsage);
    latestMs = escapePressedMs;
    stop(tr("Stopped."));
    if (isEscapeAlone)
        reject();
}

bool RecordDialog::eventFilter(QObject* watched, QEvent* event)
{
    if (!isRecording)
        return QDialog::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        return this->event(event);
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseButtonRelease: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (watched != field) {
            latestMs = timeOf(*mouse);
            break;
        }
        takeButton(mouse->button(), event->type() != QEvent::MouseButtonRelease, timeOf(*mouse));
        return true;
    }
    default:
        break;
    }
    return QDialog::eventFilter(watched, event);
}

void RecordDialog::takeKey(quint32 scanCode, bool isPress, quint64 timeMs)
{
    latestMs = timeMs;
    const std::optional<std::uint8_t> usage = usageOfScanCode(scanCode);
    if (!usage) {
        if (isPress) {
            field->setText(tr("This key cannot be recorded."));
            announce(this, field->text());
        }
        return;
    }
    showRequest();
    if (!isPress) {
        recording.release(Input::Key, *usage, timeMs);
    } else if (recording.press(Input::Key, *usage, timeMs) && *usage == escapeUsage) {
        escapePressedMs = timeMs;
        escapeTimer->start();
    }
    showActions();
}

void RecordDialog::takeButton(Qt::MouseButton button, bool isPress, quint64 timeMs)
{
    latestMs = timeMs;
    const std::optional<std::uint8_t> code = buttonCode(button);
    if (!code)
        return;
    showRequest();
    if (isPress)
        recording.press(Input::Button, *code, timeMs);
    else
        recording.release(Input::Button, *code, timeMs);
    showActions();
}

QList<MacroAction> RecordDialog::actions() const
{
    return recording.actions(fixedDelay->isChecked() ? std::optional(fixedInput->value())
                                                     : std::nullopt);
}

void RecordDialog::showActions()
{
    list->clear();
    for (const MacroAction& action : actions())
        list->addItem(action.delay == 0
                          ? macroActionWords(action)
                          : tr("%1 ms, %2").arg(action.delay).arg(macroActionWords(action)));
    list->scrollToBottom();
    fixedInput->setEnabled(!isRecording); // its input method and its menu would take keys
    stopButton->setEnabled(isRecording);  // it stays, lest a second click meets another button
    againButton->setVisible(!isRecording);
    addButton->setVisible(!isRecording && list->count() > 0);
}

} // namespace tavik
