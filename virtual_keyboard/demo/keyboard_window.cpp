#include "virtual_keyboard/demo/keyboard_window.h"

#include "model/key_names.h"
#include "model/keyboard_layout.h"
#include "model/macro_record.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QImage>
#include <QPainter>
#include <QPushButton>

#include <algorithm>
#include <numeric>

namespace tavik::virtual_keyboard {

namespace {

constexpr QRect keyboardArea(20, 56, 800, 300);
constexpr int factsTop = 376;
constexpr int lineHeight = 20;
constexpr QPoint screenOrigin(440, 396);
constexpr int screenPitch = 132;
constexpr int screenSize = 116;
constexpr int reportsShown = 5;
constexpr int repaintEveryMs = 40;

constexpr QColor groundColor(0x16, 0x17, 0x19);
constexpr QColor capColor(0x2b, 0x2d, 0x31);
constexpr QColor textColor(0xf1, 0xf1, 0xf1);
constexpr QColor quietColor(0xa2, 0xa2, 0xa6);
constexpr QColor accentColor(0xe7, 0x7a, 0x19);

// What a key shows: its own color in custom mode, the effect's color otherwise.
QColor keyLight(const KeyboardModel& keyboard, std::size_t index)
{
    if (keyboard.customMode()) {
        const KeyColor color = keyboard.keyColor(index);
        return {color[0], color[1], color[2]};
    }
    const Report& lighting = keyboard.state().lighting;
    const bool isDark = lighting[0] == 0 || lighting[9] == 0;
    if (isDark)
        return {};
    if (lighting[8] == 1)
        return QColor::fromHsv(static_cast<int>(index * 37 % 360), 200, 255);
    return {lighting[1], lighting[2], lighting[3]};
}

// The program's own captions; macros are numbered, because a keyboard knows no names.
QString actionText(const KeyActionBytes& bytes)
{
    return keyActionLabel(KeyAction{bytes[0], bytes[1], bytes[2], bytes[3]}, {});
}

QStringList keyTexts(const KeyboardModel& keyboard, const KeyRecord& key)
{
    QStringList texts{key.desc};
    const auto index = static_cast<std::size_t>(key.lightIndex);
    const QString base = actionText(keyboard.keyAction(LayerId::Base, index));
    const QString fn = actionText(keyboard.keyAction(LayerId::Fn, index));
    if (!base.isEmpty())
        texts += base;
    if (!fn.isEmpty())
        texts += QStringLiteral("Fn: ") + fn;
    return texts;
}

void paintKey(QPainter& painter, const KeyboardModel& keyboard, const KeyRecord& key)
{
    const QRectF cap = QRectF(key.rect).adjusted(1.5, 1.5, -1.5, -1.5);
    const QColor light = keyLight(keyboard, static_cast<std::size_t>(key.lightIndex));
    painter.setPen(QPen(light.isValid() ? light : QColor(0x44, 0x46, 0x4a), 1.5));
    painter.setBrush(capColor);
    painter.drawRoundedRect(cap, 4, 4);

    const QStringList texts = keyTexts(keyboard, key);
    painter.setPen(texts.size() > 1 ? accentColor : textColor);
    painter.drawText(cap.adjusted(2, 1, -2, -1), Qt::AlignCenter | Qt::TextWordWrap,
                     texts.join(u'\n'));
}

void paintKeys(QPainter& painter, const KeyboardModel& keyboard)
{
    const KeyboardLayout& layout = KeyboardLayout::instance();
    if (layout.width <= 0 || layout.height <= 0)
        return;
    painter.save();
    const QSizeF board(layout.width, layout.height);
    const double scale =
        board.scaled(keyboardArea.size(), Qt::KeepAspectRatio).width() / board.width();
    painter.translate(QRectF(keyboardArea).center());
    painter.scale(scale, scale);
    painter.translate(-board.width() / 2, -board.height() / 2);
    QFont font = painter.font();
    font.setPixelSize(8);
    painter.setFont(font);
    for (const KeyRecord& key : layout.keys) {
        if (key.lightIndex >= 0 && key.lightIndex < static_cast<int>(keyCount))
            paintKey(painter, keyboard, key);
    }
    painter.restore();
}

// The frame that a slot's animation shows after this time; slots repeat for ever.
const ScreenFrame* currentFrame(const std::vector<ScreenFrame>& frames, qint64 elapsedMs)
{
    const auto total = std::accumulate(
        frames.begin(), frames.end(), qint64{0},
        [](qint64 sum, const ScreenFrame& frame) { return sum + frame.time.count(); });
    if (total == 0)
        return nullptr;
    qint64 left = elapsedMs % total;
    for (const ScreenFrame& frame : frames) {
        left -= frame.time.count();
        if (left < 0)
            return &frame;
    }
    return nullptr;
}

void paintScreenSlots(QPainter& painter, const KeyboardModel& keyboard, qint64 elapsedMs)
{
    for (int slot = 1; slot <= screenSlotCount; ++slot) {
        const QRect area(screenOrigin + QPoint((slot - 1) * screenPitch, 0),
                         QSize(screenSize, screenSize));
        painter.fillRect(area, Qt::black);
        const std::vector<ScreenFrame>& frames = keyboard.screenSlot(slot);
        if (const ScreenFrame* frame = currentFrame(frames, elapsedMs)) {
            const QImage image(reinterpret_cast<const uchar*>(frame->pixels.data()),
                               static_cast<int>(screenWidth), static_cast<int>(screenHeight),
                               QImage::Format_RGB16);
            painter.drawImage(area, image);
        }
        painter.setPen(QColor(0x58, 0x58, 0x5c));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(area);
        painter.setPen(quietColor);
        painter.drawText(
            area.adjusted(0, -20, 0, -screenSize - 2), Qt::AlignLeft | Qt::AlignVCenter,
            frames.empty() ? QStringLiteral("Slot %1: empty").arg(slot)
                           : QStringLiteral("Slot %1: %2 frames").arg(slot).arg(frames.size()));
    }
}

QString macroText(const KeyboardModel& keyboard)
{
    QStringList texts;
    for (int index = 0; index < static_cast<int>(macroCount); ++index) {
        const auto events = keyboard.playMacro(index);
        if (!events.empty())
            texts += QStringLiteral("%1 (%2 events)").arg(index).arg(events.size());
    }
    return texts.isEmpty() ? QStringLiteral("none") : texts.join(QStringLiteral(", "));
}

QList<QPair<QString, QString>> facts(const KeyboardModel& keyboard)
{
    static const QStringList sleepTexts{QStringLiteral("never"), QStringLiteral("after 1 minute"),
                                        QStringLiteral("after 5 minutes"),
                                        QStringLiteral("after 30 minutes")};
    const std::size_t received = keyboard.screenBlocksReceived();
    QString session = keyboard.sessionOpen() ? QStringLiteral("open") : QStringLiteral("closed");
    if (keyboard.screenBlocksAnnounced() > 0)
        session +=
            QStringLiteral(", block %1 of %2").arg(received).arg(keyboard.screenBlocksAnnounced());
    return {
        {QStringLiteral("Lighting"), QString::fromStdString(keyboard.lightingSummary())},
        {QStringLiteral("Sleeps"), sleepTexts.value(keyboard.state().sleepCode)},
        {QStringLiteral("Macros"), macroText(keyboard)},
        {QStringLiteral("Session"), session},
    };
}

void paintFacts(QPainter& painter, const VirtualBus& bus, const KeyboardModel& keyboard)
{
    int top = factsTop;
    for (const auto& [name, value] : facts(keyboard)) {
        painter.setPen(quietColor);
        painter.drawText(QRect(20, top, 80, lineHeight), Qt::AlignLeft | Qt::AlignVCenter, name);
        painter.setPen(textColor);
        painter.drawText(QRect(100, top, 330, lineHeight), Qt::AlignLeft | Qt::AlignVCenter,
                         painter.fontMetrics().elidedText(value, Qt::ElideRight, 330));
        top += lineHeight;
    }
    painter.setPen(quietColor);
    const std::vector<std::string>& trace = bus.trace();
    const std::size_t first = trace.size() > reportsShown ? trace.size() - reportsShown : 0;
    for (std::size_t line = first; line < trace.size(); ++line) {
        painter.drawText(QRect(20, top, 410, lineHeight), Qt::AlignLeft | Qt::AlignVCenter,
                         painter.fontMetrics().elidedText(QString::fromStdString(trace.at(line)),
                                                          Qt::ElideRight, 410));
        top += lineHeight;
    }
}

} // namespace

KeyboardWindow::KeyboardWindow(QWidget* parent)
    : QWidget(parent), plugButton(new QPushButton(tr("Unplug"), this))
{
    setWindowTitle(tr("Virtual keyboard"));
    setFixedSize(840, 572);
    plugButton->setGeometry(720, 14, 100, 30);
    connect(plugButton, &QPushButton::clicked, this, &KeyboardWindow::togglePlug);
    connect(&animation, &QTimer::timeout, this, qOverload<>(&QWidget::update));
    sinceStart.start();
    sinceRepaint.start();
    animation.start(repaintEveryMs);
}

void KeyboardWindow::showProgress()
{
    if (sinceRepaint.elapsed() < repaintEveryMs)
        return;
    sinceRepaint.start();
    repaint();
}

void KeyboardWindow::togglePlug()
{
    VirtualBus& bus = VirtualBus::instance();
    if (bus.plugged())
        bus.unplug();
    else
        bus.plug();
    plugButton->setText(bus.plugged() ? tr("Unplug") : tr("Plug in"));
}

void KeyboardWindow::paintEvent(QPaintEvent*)
{
    VirtualBus& bus = VirtualBus::instance();
    const KeyboardModel& keyboard = bus.keyboard();
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.fillRect(rect(), groundColor);

    QFont font = painter.font();
    font.setPixelSize(16);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(textColor);
    painter.drawText(QRect(20, 14, 600, 30), Qt::AlignLeft | Qt::AlignVCenter,
                     bus.plugged() ? tr("Virtual keyboard") : tr("Virtual keyboard, unplugged"));
    font.setPixelSize(12);
    font.setWeight(QFont::Normal);
    painter.setFont(font);
    paintKeys(painter, keyboard);
    paintFacts(painter, bus, keyboard);
    paintScreenSlots(painter, keyboard, sinceStart.elapsed());
}

} // namespace tavik::virtual_keyboard
