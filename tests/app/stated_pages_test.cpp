// SPDX-License-Identifier: MIT
#include "app/main_window.h"
#include "app/shortcut_sheet.h"
#include "pages/keys/action_dialog.h"
#include "pages/keys/chord_dialog.h"
#include "pages/macros/record_dialog.h"
#include "pages/screen/frame_player.h"
#include "tests/app/window_pages.h"
#include "tests/support/files.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QMetaEnum>
#include <QMetaProperty>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSlider>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTest>
#include <QToolButton>

#include <array>

using namespace tavik;
using namespace tavik::tests;

namespace {

QString quoted(QString text)
{
    return u'"' + text.replace(u'\n', QLatin1String("\\n")) + u'"';
}

// "W" or "H" with what limits it, or nothing.
QString limitText(char dimension, int minimum, int maximum)
{
    const QChar letter = QLatin1Char(dimension);
    if (minimum == maximum)
        return QStringLiteral(" %1=%2").arg(letter).arg(minimum);
    QString text;
    if (minimum > 0)
        text += QStringLiteral(" %1>=%2").arg(letter).arg(minimum);
    if (maximum < QWIDGETSIZE_MAX)
        text += QStringLiteral(" %1<=%2").arg(letter).arg(maximum);
    return text;
}

QString sizeText(const QWidget& widget)
{
    return limitText('W', widget.minimumWidth(), widget.maximumWidth()) +
           limitText('H', widget.minimumHeight(), widget.maximumHeight());
}

constexpr Qt::Alignment usualInItem{};
constexpr Qt::Alignment usualOfText = Qt::AlignLeft | Qt::AlignVCenter;

// Nothing for the usual one, which is what there is where nothing is said.
QString alignmentText(Qt::Alignment alignment, Qt::Alignment usual)
{
    QString text;
    if (alignment == usual)
        return text;
    for (const auto& [flag, word] :
         {std::pair{Qt::AlignLeft, " left"}, std::pair{Qt::AlignRight, " right"},
          std::pair{Qt::AlignHCenter, " centered"}, std::pair{Qt::AlignJustify, " justified"},
          std::pair{Qt::AlignAbsolute, " absolute"}, std::pair{Qt::AlignTop, " top"},
          std::pair{Qt::AlignBottom, " bottom"}, std::pair{Qt::AlignVCenter, " middle"},
          std::pair{Qt::AlignBaseline, " baseline"}}) {
        if (alignment.testFlag(flag))
            text += QLatin1String(word);
    }
    return text.isEmpty() ? QStringLiteral(" unaligned") : text;
}

// What is not left to the content.
QString scrollBarsText(const QWidget& widget)
{
    QString text;
    const auto* area = qobject_cast<const QAbstractScrollArea*>(&widget);
    if (area == nullptr)
        return text;
    for (const auto& [policy, word] :
         {std::pair{area->horizontalScrollBarPolicy(), " horizontal bar"},
          std::pair{area->verticalScrollBarPolicy(), " vertical bar"}}) {
        if (policy != Qt::ScrollBarAsNeeded)
            text += QLatin1String(policy == Qt::ScrollBarAlwaysOff ? " no" : " always") +
                    QLatin1String(word);
    }
    return text;
}

QString cursorText(const QWidget& widget)
{
    if (!widget.testAttribute(Qt::WA_SetCursor))
        return {};
    const auto shapes = QMetaEnum::fromType<Qt::CursorShape>();
    return u' ' + QLatin1String(shapes.valueToKey(widget.cursor().shape()));
}

// What the control shows and offers.
QString contentText(const QWidget& widget)
{
    QString text;
    if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
        text = u' ' + quoted(label->text()) + alignmentText(label->alignment(), usualOfText);
        if (label->wordWrap())
            text += QLatin1String(" wrapped");
        if (label->textFormat() == Qt::PlainText)
            text += QLatin1String(" plain");
    } else if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) {
        if (!button->text().isEmpty())
            text = u' ' + quoted(button->text());
        else if (!button->icon().isNull())
            text = QStringLiteral(" %1x%2")
                       .arg(button->iconSize().width())
                       .arg(button->iconSize().height());
        if (button->isCheckable())
            text += button->isChecked() ? QLatin1String(" checked") : QLatin1String(" unchecked");
    } else if (const auto* number = qobject_cast<const QSpinBox*>(&widget)) {
        text = QStringLiteral(" %1..%2 %3")
                   .arg(number->minimum())
                   .arg(number->maximum())
                   .arg(quoted(number->text()));
        text += alignmentText(number->alignment(), usualOfText);
    } else if (const auto* slider = qobject_cast<const QSlider*>(&widget)) {
        text = QStringLiteral(" %1..%2 %3")
                   .arg(slider->minimum())
                   .arg(slider->maximum())
                   .arg(slider->value());
    } else if (const auto* combo = qobject_cast<const QComboBox*>(&widget)) {
        text = QStringLiteral(" of %1:").arg(combo->count());
        for (int index = 0; index < std::min(combo->count(), 6); ++index)
            text += u' ' + quoted(combo->itemText(index));
    } else if (const auto* group = qobject_cast<const QGroupBox*>(&widget)) {
        text = u' ' + quoted(group->title());
    }
    if (!widget.isEnabled())
        text += QLatin1String(" disabled");
    return text;
}

QWidget* kindOf(const QWidget& widget)
{
    static const std::array<QWidget*, 16> kinds{
        new QPushButton, new QToolButton,      new QRadioButton,   new QCheckBox,
        new QComboBox,   new QSpinBox,         new QSlider,        new QGroupBox,
        new QLabel,      new QListWidget,      new QTableWidget,   new QScrollArea,
        new QDialog,     new QDialogButtonBox, new QStackedWidget, new QWidget};
    return *std::ranges::find_if(kinds, [&](const QWidget* usual) {
        return widget.inherits(usual->metaObject()->className());
    });
}

QAccessibleInterface& toldOf(const QWidget& widget)
{
    return *QAccessible::queryAccessibleInterface(const_cast<QWidget*>(&widget));
}

// What a screen reader is told of it that it does not show and others of its kind do not tell.
QString toldText(const QWidget& widget, const QString& shown)
{
    const QAccessibleInterface& told = toldOf(widget);
    const QString own = widget.accessibleName();
    const QString name = own.isEmpty() ? told.text(QAccessible::Name) : own;
    QString text;
    if (!own.isEmpty() || (!name.isEmpty() && !shown.contains(quoted(name))))
        text += QLatin1String(" named ") + quoted(name);
    if (told.role() != toldOf(*kindOf(widget)).role())
        text +=
            u' ' + QLatin1String(QMetaEnum::fromType<QAccessible::Role>().valueToKey(told.role()));
    const QAccessibleInterface* group = told.parent();
    if (group != nullptr && qobject_cast<QButtonGroup*>(group->object()) != nullptr)
        text += QLatin1String(" in group ") + quoted(group->text(QAccessible::Name));
    return text;
}

// How it behaves, where that is not what every widget of its kind does.
QString behaviorText(const QWidget& widget)
{
    const QWidget* kind = kindOf(widget);
    QStringList words;
    for (const char* name : {"accessibleDescription", "focusPolicy",        "contextMenuPolicy",
                             "acceptDrops",           "autoDefault",        "default",
                             "buttonSymbols",         "singleStep",         "pageStep",
                             "orientation",           "selectionMode",      "selectionBehavior",
                             "editTriggers",          "tabKeyNavigation",   "showGrid",
                             "horizontalScrollMode",  "verticalScrollMode", "frameShape",
                             "widgetResizable",       "sizeAdjustPolicy"}) {
        const QMetaProperty property =
            kind->metaObject()->property(kind->metaObject()->indexOfProperty(name));
        const QVariant value = property.read(&widget);
        if (!property.isValid() || value == property.read(kind))
            continue;
        QString text = value.toString();
        if (property.isEnumType())
            text = QLatin1String(property.enumerator().valueToKeys(value.toInt()));
        else if (property.metaType() == QMetaType::fromType<QString>())
            text = quoted(text);
        words += QLatin1String(name) + u'=' + text;
    }
    return words.isEmpty() ? QString() : QStringLiteral(" [%1]").arg(words.join(u' '));
}

// What is the same as in a widget of that name before is not written again.
QString sheetText(const QWidget& widget, QHash<QString, QString>& sheetsBefore)
{
    QString sheet = widget.styleSheet();
    const QColor own = widget.property("swatchColor").value<QColor>();
    if (own.isValid())
        sheet.replace(own.name(), QLatin1String("%1"));
    if (sheet.isEmpty())
        return {};
    QString& before = sheetsBefore[QLatin1String(widget.metaObject()->className())];
    const bool isSame = sheet == std::exchange(before, sheet);
    return isSame ? QStringLiteral(" {as before}") : QStringLiteral(" {%1}").arg(sheet);
}

QString widgetText(const QWidget& widget)
{
    QString text = QLatin1String(widget.metaObject()->className());
    text.remove(QLatin1String("tavik::"));
    if (!widget.objectName().isEmpty() && !widget.objectName().startsWith(QLatin1String("qt_")))
        text += u'#' + widget.objectName();
    if (widget.isWindow() && !widget.windowTitle().isEmpty())
        text += QLatin1String(" titled ") + quoted(widget.windowTitle());
    text += contentText(widget) + sizeText(widget) + scrollBarsText(widget) + cursorText(widget);
    text += toldText(widget, text);
    if (!widget.toolTip().isEmpty())
        text += QLatin1String(" tip ") + quoted(widget.toolTip());
    return text + behaviorText(widget);
}

// Only what is not left to the style.
QString marginsText(const QLayout& layout)
{
    const QMargins margins = layout.contentsMargins();
    const auto metric = [&](QStyle::PixelMetric which) {
        return layout.parentWidget()->style()->pixelMetric(which, nullptr, layout.parentWidget());
    };
    if (margins == QMargins(metric(QStyle::PM_LayoutLeftMargin), metric(QStyle::PM_LayoutTopMargin),
                            metric(QStyle::PM_LayoutRightMargin),
                            metric(QStyle::PM_LayoutBottomMargin)))
        return {};
    return QStringLiteral(" %1 %2 %3 %4")
        .arg(margins.left())
        .arg(margins.top())
        .arg(margins.right())
        .arg(margins.bottom());
}

QString gapText(const QLayout& layout)
{
    const int usual = layout.parentWidget()->style()->pixelMetric(
        QStyle::PM_LayoutHorizontalSpacing, nullptr, layout.parentWidget());
    return layout.spacing() == usual ? QString() : QStringLiteral(" gap %1").arg(layout.spacing());
}

QString layoutText(const QLayout& layout)
{
    QString text = QLatin1String(layout.metaObject()->className()) + marginsText(layout);
    if (layout.sizeConstraint() == QLayout::SetMinimumSize)
        text += QLatin1String(" keeps the least size");
    if (const auto* grid = qobject_cast<const QGridLayout*>(&layout)) {
        text += QStringLiteral(" gaps %1 %2")
                    .arg(grid->horizontalSpacing())
                    .arg(grid->verticalSpacing());
        for (int column = 0; column < grid->columnCount(); ++column) {
            if (grid->columnMinimumWidth(column) > 0)
                text += QStringLiteral(" column %1>=%2")
                            .arg(column)
                            .arg(grid->columnMinimumWidth(column));
            if (grid->columnStretch(column) > 0)
                text += QStringLiteral(" column %1 stretches").arg(column);
        }
        for (int row = 0; row < grid->rowCount(); ++row) {
            if (grid->rowStretch(row) > 0)
                text += QStringLiteral(" row %1 stretches").arg(row);
        }
        return text;
    }
    if (const auto* form = qobject_cast<const QFormLayout*>(&layout))
        return text + QStringLiteral(" gaps %1 %2")
                          .arg(form->horizontalSpacing())
                          .arg(form->verticalSpacing());
    return text + gapText(layout);
}

QString spacerText(const QSpacerItem& spacer)
{
    const QSize gap = spacer.sizeHint();
    return spacer.expandingDirections() != 0
               ? QStringLiteral("stretch")
               : QStringLiteral("gap %1").arg(std::max(gap.width(), gap.height()));
}

// Where the item stands in its layout, as far as that says more than its turn.
QString placeText(const QLayout& layout, int index)
{
    QString text = alignmentText(layout.itemAt(index)->alignment(), usualInItem);
    if (const auto* box = qobject_cast<const QBoxLayout*>(&layout); box && box->stretch(index) > 0)
        text += QStringLiteral(" stretch %1").arg(box->stretch(index));
    if (const auto* grid = qobject_cast<const QGridLayout*>(&layout)) {
        int row = 0;
        int column = 0;
        int rows = 0;
        int columns = 0;
        grid->getItemPosition(index, &row, &column, &rows, &columns);
        text += QStringLiteral(" %1,%2").arg(row).arg(column);
    }
    return text.isEmpty() ? text : u'(' + text.trimmed() + QLatin1String(") ");
}

// The parts of these arrange themselves, and each page of the window stands by itself.
bool isCompound(const QWidget& widget)
{
    for (const char* name :
         {"QAbstractItemView", "QComboBox", "QAbstractSpinBox", "QDialogButtonBox"}) {
        if (widget.inherits(name))
            return true;
    }
    return widget.objectName() == QLatin1String("pageStack");
}

// The widget or layout and, further to the right, everything in it.
class Description
{
public:
    void add(const QWidget& widget, const QString& place = {})
    {
        addLine(place + widgetText(widget) + sheetText(widget, sheetsBefore));
        if (isCompound(widget))
            return;
        ++depth;
        if (widget.layout() != nullptr)
            add(*widget.layout());
        for (const QWidget* child :
             widget.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            const bool isWithFocus = child->objectName() == QLatin1String("focusRing");
            if (!laidOut.contains(child) && !child->isWindow() && !isWithFocus)
                add(*child, QStringLiteral("(in no layout) "));
        }
        --depth;
    }

    [[nodiscard]] QStringList lines() const { return allLines; }

private:
    void add(const QLayout& layout, const QString& place = {})
    {
        addLine(place + layoutText(layout));
        ++depth;
        for (int index = 0; index < layout.count(); ++index) {
            QLayoutItem* item = layout.itemAt(index);
            const QString itemPlace = placeText(layout, index);
            if (const QWidget* widget = item->widget()) {
                laidOut += widget;
                add(*widget, itemPlace);
            } else if (const QLayout* inner = item->layout()) {
                add(*inner, itemPlace);
            } else {
                addLine(itemPlace + spacerText(*item->spacerItem()));
            }
        }
        --depth;
    }

    void addLine(const QString& text) { allLines += QString(depth, u' ') + text; }

    int depth = 0;
    QStringList allLines;
    QList<const QWidget*> laidOut;
    QHash<QString, QString> sheetsBefore;
};

// With two groups of one action.
QWidget* openShortcutSheet(MainWindow& window)
{
    auto* action = new QAction(QStringLiteral("Act"), &window);
    action->setShortcuts({Qt::CTRL | Qt::Key_K, Qt::Key_F7});
    showShortcutSheet(
        {{QStringLiteral("Everywhere"), {action}}, {QStringLiteral("Page"), {action}}}, &window);
    auto* sheet = window.findChild<QDialog*>(QString(), Qt::FindDirectChildrenOnly);
    // Its least size depends on the font.
    sheet->layout()->setSizeConstraint(QLayout::SetNoConstraint);
    sheet->setMinimumSize(0, 0);
    return sheet;
}

QStringList descriptionOf(const QWidget& widget)
{
    Description description;
    description.add(widget);
    return description.lines();
}

} // namespace

// Margins, gaps, stretches, alignments, sizes, texts, cursors, names, tool tips and sheets of each
// page and dialog: what is built is compared, line by line, with what stated_pages.txt says it
// should be.
class StatedPagesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        window = std::make_unique<MainWindow>();
        dialogs = {openShortcutSheet(*window), new ActionDialog(KeyAction{}, 0, window.get()),
                   new ChordDialog(QStringLiteral("W"), window.get()),
                   new RecordDialog(QStringLiteral("Copy"), window.get()),
                   new FramePlayer({{QImage(screenSize, QImage::Format_RGB32), 50}}, window.get())};
    }

    void cleanupTestCase() { window.reset(); }

    void pageIsBuiltAsStated_data()
    {
        QTest::addColumn<QWidget*>("part");
        QTest::addColumn<QStringList>("stated");
        QList<QWidget*> parts{window->centralWidget()};
        for (int page = 0; page < stackOf(*window)->count(); ++page)
            parts += stackOf(*window)->widget(page);
        parts += dialogs;
        const QString table = QString::fromUtf8(
            readFile(qEnvironmentVariable("TAVIK_SOURCE_DIR") + "/tests/app/stated_pages.txt"));
        const QStringList sections = table.split(QStringLiteral("\n\n"));
        QCOMPARE(sections.size(), parts.size());
        for (qsizetype index = 0; index < parts.size(); ++index) {
            const QStringList lines = sections.at(index).trimmed().split(u'\n');
            QTest::newRow(qPrintable(lines.first())) << parts.at(index) << lines.sliced(1);
        }
    }
    void pageIsBuiltAsStated()
    {
        QFETCH(QWidget*, part);
        QFETCH(QStringList, stated);
        const QStringList built = descriptionOf(*part);
        for (qsizetype index = 0; index < std::max(built.size(), stated.size()); ++index)
            QCOMPARE(built.value(index), stated.value(index));
    }

private:
    std::unique_ptr<MainWindow> window;
    QWidgetList dialogs;
};

QTEST_MAIN(StatedPagesTest)
#include "stated_pages_test.moc"
