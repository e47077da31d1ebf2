// SPDX-License-Identifier: MIT
#include "pages/keys/chord_dialog.h"

#include "model/key_names.h"
#include "pages/parts/announcement.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/scan_codes.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace tavik {

namespace {

const QString noteStyle = QStringLiteral("color:#b8b8ba;");
const QString refusalStyle = QStringLiteral("color:#e0a050;");

// The server lets a held key go and presses it again at once, and not every time it says so.
constexpr std::chrono::milliseconds longestRepeatGap(40);

// 0 for a key that is no modifier.
std::uint8_t modifierMask(std::uint8_t usage)
{
    return keyboardKeyAction(usage, 0).p2 == 0 ? keyboardKeyAction(usage, 0).p1 : std::uint8_t{0};
}

QLabel* createLabel(const QString& text, const QString& style, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    label->setStyleSheet(style);
    return label;
}

} // namespace

// As a popup it gets keys that the desktop would take for itself.
ChordDialog::ChordDialog(const QString& keyName, QWidget* parent) : QDialog(parent, Qt::Popup)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Press the keys"));
    setObjectName(QStringLiteral("chordDialog"));
    setMinimumWidth(380);
    setFocusPolicy(Qt::StrongFocus);

    words = createLabel({}, QStringLiteral("font-size:20px;font-weight:600;"), this);
    note = createLabel({}, noteStyle, this);
    auto* cancel = new QPushButton(tr("Cancel"), this);
    cancel->setFocusPolicy(Qt::NoFocus); // Space and Enter may be meant
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    escapeHeld = createTimer(escapeHold, &ChordDialog::reject);
    escapeLetGo = createTimer(longestRepeatGap, &ChordDialog::finish);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(18, 16, 18, 14);
    column->setSpacing(10);
    const QString request = tr("Press the keys that \"%1\" is to send.").arg(keyName);
    setAccessibleDescription(request + u' ' + escapeWords());
    column->addWidget(createLabel(request, {}, this));
    column->addWidget(words);
    column->addWidget(note);
    column->addWidget(cancel, 0, Qt::AlignHCenter);
    showChord();
}

QTimer* ChordDialog::createTimer(std::chrono::milliseconds interval, void (ChordDialog::*act)())
{
    auto* timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setInterval(interval);
    connect(timer, &QTimer::timeout, this, act);
    return timer;
}

QString ChordDialog::escapeWords()
{
    return tr("Hold Esc for a second to leave.");
}

void ChordDialog::openAt(QPoint globalCenter)
{
    adjustSize();
    centerAt(this, globalCenter);
    show();
    // Nobody tells of the focus of a popup. The focus that a closing menu gives back is told of
    // later, too, and would be said over this.
    QMetaObject::invokeMethod(
        this, [this] { announce(this, accessibleDescription()); }, Qt::QueuedConnection);
}

// All keys, also those that move the focus, close a dialog or belong to a shortcut.
bool ChordDialog::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        event->accept();
        return true;
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (!key->isAutoRepeat() && event->type() == QEvent::KeyPress)
            press(key->nativeScanCode());
        else if (!key->isAutoRepeat())
            release(key->nativeScanCode());
        event->accept();
        return true;
    }
    default:
        return QDialog::event(event);
    }
}

// What is let go elsewhere is not heard of.
void ChordDialog::focusOutEvent(QFocusEvent* event)
{
    heldModifiers = 0;
    chord = {};
    escapeHeld->stop();
    escapeLetGo->stop();
    showChord();
    QDialog::focusOutEvent(event);
}

void ChordDialog::press(quint32 scanCode)
{
    const std::optional<std::uint8_t> usage = usageOfScanCode(scanCode);
    if (!usage) {
        note->setStyleSheet(refusalStyle);
        note->setText(tr("This key cannot be assigned. Press another one."));
        announce(this, note->text());
        return;
    }
    if (chord.p2 != 0) {
        if (*usage == escapeUsage)
            escapeLetGo->stop(); // it is held
        return;                  // the first key counts
    }
    const std::uint8_t mask = modifierMask(*usage);
    heldModifiers |= mask;
    chord = keyboardKeyAction(mask != 0 ? 0 : *usage, heldModifiers);
    if (*usage == escapeUsage)
        escapeHeld->start();
    showChord();
}

// Modifiers alone count as they were when the first of them is let go.
void ChordDialog::release(quint32 scanCode)
{
    const std::optional<std::uint8_t> usage = usageOfScanCode(scanCode);
    if (!usage)
        return;
    const std::uint8_t mask = modifierMask(*usage);
    const bool wasHeld = (heldModifiers & mask) != 0;
    heldModifiers &= static_cast<std::uint8_t>(~mask);
    const bool isOver = chord.p2 != 0 ? chord.p2 == *usage : wasHeld;
    if (isOver && *usage == escapeUsage)
        escapeLetGo->start();
    else if (isOver)
        finish();
}

void ChordDialog::showChord()
{
    words->setText(chord == KeyAction() ? tr("…") : keyActionWords(chord, {}));
    note->setStyleSheet(noteStyle);
    note->setText(tr("Modifiers alone count when you let them go.") + u'\n' + escapeWords());
}

void ChordDialog::finish()
{
    escapeHeld->stop();
    emit chordTaken(chord);
    accept();
}

} // namespace tavik
