#include "pages/macros/record_dialog.h"

#include "pages/parts/scan_codes.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMouseEvent>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

#include <chrono>

namespace tavik {

namespace {

using Input = MacroRecording::Input;

constexpr std::uint8_t escapeUsage = 0x29;
constexpr auto escapeHold = std::chrono::seconds(1);
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

    escapeTimer = new QTimer(this);
    escapeTimer->setSingleShot(true);
    escapeTimer->setInterval(escapeHold);
    connect(escapeTimer, &QTimer::timeout, this, [this] {
        if (!recording.isHeld(Input::Key, escapeUsage))
            return;
        recording.dropLastPress(Input::Key, escapeUsage);
        stop();
    });
    start();
}

void RecordDialog::createField()
{
    field = new QLabel(this);
    field->setAlignment(Qt::AlignCenter);
    field->setMinimumHeight(84);
    field->setWordWrap(true);
    field->installEventFilter(this);
}

QLayout* RecordDialog::createDelayRow()
{
    fixedDelay = new QCheckBox(tr("The same delay before each action:"), this);
    fixedInput = new QSpinBox(this);
    fixedInput->setButtonSymbols(QAbstractSpinBox::NoButtons);
    fixedInput->setRange(0, 65535);
    fixedInput->setValue(usualDelayMs);
    fixedInput->setSuffix(tr(" ms"));
    fixedInput->setAccessibleName(tr("Delay before each action"));
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
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, act);
        return button;
    };
    stopButton = create(tr("Stop"), &RecordDialog::stop);
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
    recording = {};
    isRecording = true;
    grabKeyboard(); // also from the desktop, which has keys of its own
    showRequest();
    field->setStyleSheet(QStringLiteral("border:1px solid #da5200;border-radius:8px;"));
    showActions();
}

void RecordDialog::showRequest()
{
    field->setText(tr("Press keys now. Mouse buttons count in this field.\n"
                      "Hold Esc for a second to stop."));
}

void RecordDialog::stop()
{
    if (!isRecording)
        return;
    isRecording = false;
    escapeTimer->stop();
    releaseKeyboard();
    recording.finish(latestMs);
    field->setText(tr("Stopped."));
    field->setStyleSheet(QStringLiteral("border:1px solid #3a3d47;border-radius:8px;"));
    showActions();
    (addButton->isEnabled() ? addButton : againButton)->setFocus();
}

void RecordDialog::take()
{
    emit recorded(actions());
    accept();
}

bool RecordDialog::event(QEvent* event)
{
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease;
    const auto* key = isKey ? static_cast<QKeyEvent*>(event) : nullptr;
    if (isKey && isRepeat(*key))
        return true;
    if (!isRecording)
        return QDialog::event(event);
    if (isKey) {
        takeKey(key->nativeScanCode(), event->type() == QEvent::KeyPress, key->timestamp());
        return true;
    }
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    // What is let go elsewhere is not heard of.
    if (event->type() == QEvent::WindowDeactivate || event->type() == QEvent::Hide)
        stop();
    return QDialog::event(event);
}

// Esc that has stopped the recording is still held, and must not close the dialog. Not every repeat
// is known as one: some begin with a release at the same moment.
bool RecordDialog::isRepeat(const QKeyEvent& key)
{
    if (key.key() != Qt::Key_Escape)
        return isRecording && key.isAutoRepeat();
    const bool isSameMoment = key.timestamp() == escapeReleasedMs;
    if (key.type() == QEvent::KeyRelease)
        escapeReleasedMs = key.timestamp();
    return key.isAutoRepeat() || (!isRecording && isSameMoment);
}

bool RecordDialog::eventFilter(QObject* watched, QEvent* event)
{
    const bool isPress =
        event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    if (!isRecording || (!isPress && event->type() != QEvent::MouseButtonRelease))
        return QDialog::eventFilter(watched, event);
    const auto* mouse = static_cast<QMouseEvent*>(event);
    takeButton(mouse->button(), isPress, mouse->timestamp());
    return true;
}

void RecordDialog::takeKey(quint32 scanCode, bool isPress, quint64 timeMs)
{
    latestMs = timeMs;
    const std::optional<std::uint8_t> usage = usageOfScanCode(scanCode);
    if (!usage) {
        if (isPress)
            field->setText(tr("This key cannot be recorded."));
        return;
    }
    showRequest();
    const bool counts = isPress ? recording.press(Input::Key, *usage, timeMs)
                                : recording.release(Input::Key, *usage, timeMs);
    if (counts && isPress && *usage == escapeUsage)
        escapeTimer->start();
    showActions();
}

void RecordDialog::takeButton(Qt::MouseButton button, bool isPress, quint64 timeMs)
{
    latestMs = timeMs;
    const std::optional<std::uint8_t> code = buttonCode(button);
    if (!code)
        return;
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
    stopButton->setVisible(isRecording);
    againButton->setVisible(!isRecording);
    addButton->setVisible(!isRecording);
    addButton->setEnabled(list->count() > 0);
}

} // namespace tavik
