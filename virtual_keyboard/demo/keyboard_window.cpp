// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/keyboard_window.h"

#include "pages/parts/shown_text.h"
#include "virtual_keyboard/demo/lit_board.h"
#include "virtual_keyboard/demo/window_placement.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTime>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace tavik::virtual_keyboard {

namespace {

constexpr int repaintEveryMs = 40;
constexpr int leastWidth = 450;
constexpr int mostWidth = 1200;
// A narrower program does not show all of its controls.
constexpr int leastProgramWidth = 1120;
constexpr int wireHeight = 150;

// What the window system puts round a window is known a moment after it has appeared only, which
// nobody tells; on a busy computer that is a long one.
constexpr int frameKnownAfterMs = 250;
constexpr int frameAskedFor = 20; // times

constexpr int busyAnswers = 1000; // more than anybody waits for
constexpr std::uint8_t refusedStatus = 0x05;
// Those that carry something; refused ones end their sequence.
constexpr std::array carryingCodes{
    CommandCode::WriteBaseLayer, CommandCode::WriteFnLayer,   CommandCode::LightingMode,
    CommandCode::LightingSleep,  CommandCode::WriteColorBank, CommandCode::MacroSession,
    CommandCode::ScreenUpload,
};

const char* const windowSheet = R"(
QWidget#keyboardWindow { background: #191a1c; }
QLabel { color: #a2a2a6; font-size: 12px; }
QLabel#sent { color: #f1f1f1; font-size: 15px; }
QLabel#note { color: #8d8d92; font-size: 11px; }
QPushButton, QToolButton { font-size: 12px; padding: 3px 10px; color: #f1f1f1; background: #2b2c30;
    border: 1px solid #55565c; }
QPushButton:hover, QToolButton:hover { background: #38393e; }
QPushButton:checked { color: #ffffff; background: #9c3d05; border-color: #e77a19; }
QToolButton { border: 0; background: transparent; }
QListWidget { font-family: monospace; font-size: 11px; background: #101113; border: 1px solid #303136; }
QScrollBar:vertical { width: 8px; background: #202124; border: 0; }
QScrollBar::handle { background: #66676d; min-height: 24px; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
QToolTip { color: #f1f1f1; background: #2b2c30; border: 1px solid #55565c; padding: 2px 5px;
    font-size: 12px; }
)";

const QColor wireColor(0xc9, 0xc9, 0xcd);
const QColor wrongColor(0xff, 0x6b, 0x5e);

QPushButton* createButton(const QString& text, const QString& toolTip, bool isCheckable)
{
    auto* button = new QPushButton(text);
    button->setToolTip(toolTip);
    button->setCheckable(isCheckable);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

QLabel* createLabel(const QString& name, const QString& text = {})
{
    auto* label = new QLabel(text);
    label->setObjectName(name);
    // Long texts must not make the window wider.
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

} // namespace

KeyboardWindow::KeyboardWindow(QWidget* parent)
    : QWidget(parent),
      bus(VirtualBus::instance()),
      keyboard(bus.keyboard(), KeyboardLayout::instance()),
      board(new LitBoard(KeyboardLayout::instance())),
      sentLabel(createLabel("sent")),
      stateLabel(createLabel("state")),
      wireList(new QListWidget)
{
    setWindowTitle(tr("Virtual keyboard"));
    setObjectName(QStringLiteral("keyboardWindow"));
    setAttribute(Qt::WA_StyledBackground);
    setAttribute(Qt::WA_AlwaysShowToolTips); // the program beside it is the active one
    setStyleSheet(windowSheet);
    say(tr("Click a key to see what it sends."));
    stateLabel->setWordWrap(true);
    auto* note = createLabel(
        "note", tr("What the real keyboard does with its light and with sleep is not known; this "
                   "is our reading. A minute of sleep time lasts a second here."));
    note->setWordWrap(true);
    wireList->setAccessibleName(tr("Wire"));
    wireList->setFixedHeight(wireHeight);
    wireList->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // long lines are elided
    wireList->setFocusPolicy(Qt::TabFocus);
    wireList->hide();

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(board, 1);
    auto* lines = new QVBoxLayout;
    lines->setContentsMargins(14, 8, 14, 8);
    lines->setSpacing(5);
    lines->addWidget(sentLabel);
    lines->addWidget(stateLabel);
    lines->addWidget(createButtons());
    lines->addWidget(wireList);
    lines->addWidget(note);
    column->addLayout(lines);

    connect(board, &LitBoard::keyPressed, this, &KeyboardWindow::pressKey);
    connect(board, &LitBoard::keyReleased, this, [this] {
        keyboard.release();
        showState();
    });
    connect(board, &LitBoard::aboutToPaint, this, &KeyboardWindow::preparePainting);
    nextPicture.setParent(this);
    nextPicture.setObjectName("nextPicture");
    nextPicture.setSingleShot(true);
    nextPicture.setTimerType(Qt::PreciseTimer);
    connect(&nextPicture, &QTimer::timeout, this, [this] {
        if (stateIsOld)
            showState();
        else
            board->update();
    });

    resize(leastWidth * 3 / 2, heightForWidth(leastWidth * 3 / 2));
    keyboard.spokenTo(bus.now());
    sinceRepaint.start();
    bus.setListener([this] { followBus(); });
    followBus();
    showState();
}

KeyboardWindow::~KeyboardWindow()
{
    bus.setListener({});
}

QWidget* KeyboardWindow::createButtons()
{
    auto* row = new QWidget;
    plugButton = createButton(tr("Unplug"), tr("Pull the cable out of the keyboard"), false);
    busyButton = createButton(tr("Busy"), tr("No session can be opened while this is on"), true);
    refuseButton = createButton(tr("Refuse the next command"),
                                tr("The next command that carries something is refused"), true);
    wireButton = new QToolButton;
    wireButton->setText(tr("Wire"));
    wireButton->setCheckable(true);
    wireButton->setArrowType(Qt::RightArrow);
    wireButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    wireButton->setToolTip(tr("What the program and the keyboard say to each other"));
    connect(plugButton, &QPushButton::clicked, this, &KeyboardWindow::togglePlug);
    connect(busyButton, &QPushButton::toggled, this, &KeyboardWindow::plantFaults);
    connect(refuseButton, &QPushButton::toggled, this, &KeyboardWindow::plantFaults);
    connect(wireButton, &QToolButton::toggled, this, &KeyboardWindow::showWire);

    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(0, 2, 0, 2);
    for (QWidget* button : {plugButton, busyButton, refuseButton})
        line->addWidget(button);
    line->addStretch();
    line->addWidget(wireButton);
    return row;
}

void KeyboardWindow::showBeside(QWidget& program)
{
    place(program);
    setAttribute(Qt::WA_ShowWithoutActivating);
    show();
    placeAgain(program, frameAskedFor);
}

void KeyboardWindow::placeAgain(QWidget& program, int times)
{
    QTimer::singleShot(frameKnownAfterMs, this, [this, &program, times] {
        if (times == frameAskedFor || frameGeometry().size() - size() != placedFrame) {
            place(program);
            program.raise();
            program.activateWindow(); // not every window system minds the attribute
        }
        if (times > 1)
            placeAgain(program, times - 1);
    });
}

void KeyboardWindow::place(QWidget& program)
{
    const QSize frame = frameGeometry().size() - size();
    placedFrame = frame;
    const int lines = heightForWidth(leastWidth) - board->heightForWidth(leastWidth);
    const WantedSize wanted{.heightByWidth = 1.0 * board->heightForWidth(mostWidth) / mostWidth,
                            .fixedHeight = lines + frame.height(),
                            .leastWidth = leastWidth,
                            .mostWidth = mostWidth};
    const QRect room = program.screen()->availableGeometry();
    QRect programFrame = program.frameGeometry();
    Placement placement = placeKeyboard(room, programFrame, wanted);
    if (!placement.isApart) {
        // A narrower program leaves more room.
        programFrame.setWidth(
            std::max(leastProgramWidth, room.width() - windowGap - wanted.leastWidth));
        placement = placeKeyboard(room, programFrame, wanted);
        if (placement.isApart)
            program.resize(programFrame.size());
    }
    if (placement.program != program.frameGeometry().topLeft())
        program.move(placement.program);
    resize(placement.keyboard.size() - frame);
    move(placement.keyboard.topLeft());
}

// Called for every event on the bus, also in the middle of a transfer, when the event loop rests.
void KeyboardWindow::followBus()
{
    const std::size_t talk = bus.sentReports().size() + bus.keyboard().screenBlocksReceived();
    if (talk != talkSeen)
        keyboard.spokenTo(bus.now());
    talkSeen = talk;
    if (wire.update(bus) && wireList->isVisible())
        renewWireList();
    if (wire.refusals() != refusalsSeen) {
        refusalsSeen = wire.refusals();
        refuseButton->setChecked(false);
    }
    if (!isVisible() || sinceRepaint.elapsed() >= repaintEveryMs) {
        sinceRepaint.start();
        showState();
        repaint();
        return;
    }
    stateIsOld = true;
    nextPicture.start(repaintEveryMs);
}

int KeyboardWindow::heightForWidth(int width) const
{
    return board->heightForWidth(width) + layout()->itemAt(1)->heightForWidth(width);
}

// The board gives way where the window is low.
void KeyboardWindow::keepLinesWhole()
{
    setMinimumHeight(board->minimumHeight() + layout()->itemAt(1)->heightForWidth(width()));
}

// Also when the window comes back from the task bar, which paints nothing by itself.
void KeyboardWindow::showEvent(QShowEvent*)
{
    showState();
}

void KeyboardWindow::hideEvent(QHideEvent*)
{
    nextPicture.stop();
}

QString KeyboardWindow::stateText() const
{
    if (!bus.plugged())
        return tr("unplugged");
    static const QStringList sleepTexts{tr("no sleep time"), tr("sleeps after 1 min"),
                                        tr("sleeps after 5 min"), tr("sleeps after 30 min")};
    const KeyboardModel& model = bus.keyboard();
    QStringList texts;
    if (keyboard.layer() == LayerId::Fn)
        texts += tr("Fn is held");
    texts +=
        {QString::fromStdString(model.lightingSummary()),
         keyboard.isAsleep(bus.now()) ? tr("asleep") : sleepTexts.value(model.state().sleepCode)};
    int macros = 0;
    for (int index = 0; index < static_cast<int>(macroCount); ++index)
        macros += model.playMacro(index).empty() ? 0 : 1;
    if (macros > 0)
        texts += macros == 1 ? tr("1 macro") : tr("%1 macros").arg(macros);
    for (int slot = 1; slot <= screenSlotCount; ++slot) {
        if (const std::size_t frames = model.screenSlot(slot).size(); frames > 0)
            texts += tr("slot %1: %2")
                         .arg(slot)
                         .arg(frames == 1 ? tr("1 picture") : tr("%1 pictures").arg(frames));
    }
    if (const std::size_t blocks = model.screenBlocksAnnounced(); blocks > 0)
        texts += tr("block %1 of %2").arg(model.screenBlocksReceived()).arg(blocks);
    return texts.join(QStringLiteral("  ·  "));
}

void KeyboardWindow::showState()
{
    stateIsOld = false;
    stateLabel->setText(stateText());
    keepLinesWhole();
    plugButton->setText(bus.plugged() ? tr("Unplug") : tr("Plug in"));
    plugButton->setToolTip(bus.plugged() ? tr("Pull the cable out of the keyboard")
                                         : tr("Put the cable back into the keyboard"));
    BoardContent content{
        .captions = keyboard.captions(), .pressed = {}, .isPlugged = bus.plugged()};
    for (const KeyRecord& key : KeyboardLayout::instance().keys) {
        if (keyboard.isDown(key))
            content.pressed.insert(key.lightIndex);
    }
    board->setContent(content);
    board->update();
}

void KeyboardWindow::preparePainting()
{
    const VirtualBus::Milliseconds now = bus.now();
    const bool isLit = bus.plugged() && !keyboard.isAsleep(now);
    board->setLights(isLit ? keyboard.lights(now) : std::vector<KeyColor>(keyCount));
    const ScreenFrame* picture = keyboard.screenPicture(now);
    board->setScreen(!isLit               ? LitBoard::Screen::Dark
                     : picture == nullptr ? LitBoard::Screen::Clock
                                          : LitBoard::Screen::Picture,
                     picture);
    nextPicture.stop();
    if (stateIsOld) {
        nextPicture.start(repaintEveryMs);
    } else if (isLit) {
        const QTime time = QTime::currentTime();
        const VirtualBus::Milliseconds minute(60000 - time.second() * 1000 - time.msec());
        nextPicture.start(std::min(keyboard.nextChange(now).value_or(minute), minute));
    } else {
        stateLabel->setText(stateText());
    }
}

// A long macro does not fit; the tool tip has all of it.
void KeyboardWindow::say(const QString& text)
{
    said = text;
    const QString shown =
        sentLabel->fontMetrics().elidedText(said, Qt::ElideRight, sentLabel->width());
    sentLabel->setText(shown);
    sentLabel->setToolTip(shown == said ? QString() : wrappedToolTip(said));
}

void KeyboardWindow::resizeEvent(QResizeEvent*)
{
    say(said);
    keepLinesWhole();
}

void KeyboardWindow::pressKey(int lightIndex)
{
    say(bus.plugged() ? tr("The computer gets: %1").arg(keyboard.press(lightIndex, bus.now()))
                      : tr("The computer gets nothing: the cable is out."));
    showState();
}

void KeyboardWindow::togglePlug()
{
    if (bus.plugged()) {
        bus.unplug();
        keyboard.losePower();
        say(tr("The cable is out."));
    } else {
        bus.plug();
        say(bus.openHandles() > 0
                ? tr("The program has lost it, and finds it when it is started again.")
                : tr("Click a key to see what it sends."));
    }
    keyboard.spokenTo(bus.now());
    showState();
}

void KeyboardWindow::plantFaults()
{
    bus.clearFaults();
    if (busyButton->isChecked()) {
        for (int attempt = 1; attempt <= busyAnswers; ++attempt)
            bus.failCommand(static_cast<std::uint8_t>(CommandCode::OpenSession), busy(), attempt);
    }
    if (refuseButton->isChecked()) {
        for (const CommandCode code : carryingCodes)
            bus.failCommand(static_cast<std::uint8_t>(code), answerStatus(refusedStatus));
    }
}

// The window grows and shrinks by the list, as far as the screen allows.
void KeyboardWindow::showWire(bool shown)
{
    const int before = height(); // the least height of the window changes with the list
    wireButton->setArrowType(shown ? Qt::DownArrow : Qt::RightArrow);
    wireList->setVisible(shown);
    layout()->activate();
    keepLinesWhole();
    if (shown)
        renewWireList();
    if (!isVisible() || isMaximized()) {
        grownByWire = raisedByWire = 0;
        return;
    }
    const QRect available = screen()->availableGeometry();
    const int frame = frameGeometry().height() - height();
    if (!shown) { // back to where it stood
        resize(width(), before - grownByWire);
        move(frameGeometry().topLeft() + QPoint(0, raisedByWire));
        return;
    }
    resize(width(), std::min(before + wireHeight + 5, available.height() - frame));
    grownByWire = height() - before;
    raisedByWire = std::max(frameGeometry().top() + height() + frame - available.bottom() - 1, 0);
    move(frameGeometry().topLeft() - QPoint(0, raisedByWire));
}

void KeyboardWindow::renewWireList()
{
    // Whoever has scrolled back to read stays there.
    QScrollBar* bar = wireList->verticalScrollBar();
    const int readFrom = bar->value() == bar->maximum() ? -1 : bar->value();
    wireList->clear();
    for (const WireLine& line : wire.lines()) {
        auto* item = new QListWidgetItem(line.text, wireList);
        item->setForeground(line.isWrong ? wrongColor : wireColor);
    }
    wireList->scrollToBottom();
    if (readFrom >= 0)
        bar->setValue(readFrom);
}

} // namespace tavik::virtual_keyboard
