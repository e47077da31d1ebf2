// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "model/app_state.h"
#include "pages/settings/settings_widget.h"
#include "tests/app/window_pages.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr QSize startSize(1200, 720);
constexpr QSize smallestSize(900, 620);
constexpr QSize largeSize(2560, 1440);

// The Lighting and the Settings page ask for ten more than the start size leaves them; what is then
// cut is the empty lower end of their panels.
constexpr int cutMargin = 10;

QString describe(const QWidget& widget)
{
    QString text = QLatin1String(widget.metaObject()->className());
    if (!widget.objectName().isEmpty())
        text += u' ' + widget.objectName();
    const QString caption = widget.property("text").toString();
    return caption.isEmpty() ? text : text + QStringLiteral(" \"%1\"").arg(caption);
}

// The parts of these arrange themselves.
bool isCompound(const QWidget& widget)
{
    return qobject_cast<const QAbstractItemView*>(&widget) != nullptr ||
           qobject_cast<const QComboBox*>(&widget) != nullptr ||
           qobject_cast<const QAbstractSpinBox*>(&widget) != nullptr;
}

QList<QWidget*> visibleChildren(const QWidget& parent)
{
    QList<QWidget*> children;
    if (isCompound(parent))
        return children;
    for (QWidget* child : parent.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (child->isVisible() && !child->isWindow())
            children.append(child);
    }
    return children;
}

// The widget and everything in it.
QList<QWidget*> visibleTree(QWidget& root)
{
    QList<QWidget*> all{&root};
    for (QWidget* child : visibleChildren(root))
        all.append(visibleTree(*child));
    return all;
}

// A list that is not full has an empty lower end, as a panel has.
bool isControl(const QWidget& widget)
{
    return visibleChildren(widget).isEmpty() &&
           qobject_cast<const QAbstractItemView*>(&widget) == nullptr;
}

QStringList overlaps(QWidget& root)
{
    QStringList found;
    for (const QWidget* parent : visibleTree(root)) {
        const QList<QWidget*> children = visibleChildren(*parent);
        for (int first = 0; first < children.size(); ++first) {
            for (int second = first + 1; second < children.size(); ++second) {
                const QWidget& a = *children.at(first);
                const QWidget& b = *children.at(second);
                if (a.geometry().intersects(b.geometry()))
                    found.append(describe(a) + QStringLiteral(" and ") + describe(b));
            }
        }
    }
    return found;
}

// What reaches out of its parent or of the part of the page that is shown.
QStringList cutParts(QWidget& page, const QRect& shownPart)
{
    QStringList found;
    for (QWidget* widget : visibleTree(page)) {
        if (widget == &page)
            continue;
        const QRect inPage(widget->mapTo(&page, QPoint()), widget->size());
        const QRect shown = shownPart.adjusted(0, 0, 0, isControl(*widget) ? 0 : cutMargin);
        if (!shown.contains(inPage))
            found.append(describe(*widget) + QStringLiteral(" leaves the page"));
        if (!widget->parentWidget()->rect().contains(widget->geometry()))
            found.append(describe(*widget) + QStringLiteral(" leaves its parent"));
    }
    return found;
}

// What begins left of its parent or above it.
QStringList displacedParts(QWidget& page)
{
    QStringList found;
    for (const QWidget* widget : visibleTree(page)) {
        if (widget->x() < 0 || widget->y() < 0)
            found.append(describe(*widget));
    }
    return found;
}

QStringList shortenedTexts(QWidget& page)
{
    QStringList found;
    for (const QWidget* widget : visibleTree(page)) {
        const auto* label = qobject_cast<const QLabel*>(widget);
        const auto* button = qobject_cast<const QAbstractButton*>(widget);
        const auto* combo = qobject_cast<const QComboBox*>(widget);
        const auto* number = qobject_cast<const QAbstractSpinBox*>(widget);
        QSize needed;
        if (label != nullptr && !label->text().isEmpty())
            needed = label->wordWrap()
                         ? QSize(0, label->heightForWidth(label->width()))
                         : label->fontMetrics().size(Qt::TextSingleLine, label->text());
        else if (button != nullptr && !button->text().isEmpty())
            needed = {button->sizeHint().width(), button->fontMetrics().height()};
        else if (combo != nullptr)
            needed = {combo->fontMetrics().horizontalAdvance(combo->currentText()) + 40, 24};
        else if (number != nullptr)
            needed = {number->fontMetrics().horizontalAdvance(QStringLiteral("255")) + 12, 24};
        if (needed.width() > widget->width() || needed.height() > widget->height())
            found.append(QStringLiteral("%1 has %2 x %3, needs %4 x %5")
                             .arg(describe(*widget))
                             .arg(widget->width())
                             .arg(widget->height())
                             .arg(needed.width())
                             .arg(needed.height()));
    }
    return found;
}

} // namespace

class PageGeometryTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        applyApplicationStyle(*qApp);
        AppState::instance().macros = {{QString(80, u'm'), {{65535, 4, 0xB0}}}};
        window = std::make_unique<MainWindow>();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }

    void cleanupTestCase() { window.reset(); }

    void nothingIsCutAtTheStartSize_data() { addPageRows(); }
    void nothingIsCutAtTheStartSize()
    {
        QFETCH(int, page);
        QWidget& shown = showPage(page, startSize);
        QCOMPARE(cutParts(shown, shown.visibleRegion().boundingRect()).join(u'\n'), QString());
    }

    void nothingIsCutInALargeWindow_data() { addPageRows(); }
    void nothingIsCutInALargeWindow()
    {
        QFETCH(int, page);
        QWidget& shown = showPage(page, largeSize);
        QCOMPARE(cutParts(shown, shown.rect()).join(u'\n'), QString());
        QCOMPARE(shown.visibleRegion().boundingRect(), shown.rect());
    }

    void textsAreWholeAtTheStartSize_data() { addPageRows(); }
    void textsAreWholeAtTheStartSize()
    {
        QFETCH(int, page);
        QCOMPARE(shortenedTexts(showPage(page, startSize)).join(u'\n'), QString());
    }

    void nothingOverlaps_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QSize>("size");
        for (const QSize size : {smallestSize, startSize, largeSize}) {
            for (int page = 0; page < stackOf(*window)->count(); ++page)
                QTest::addRow("page %d in %d x %d", page, size.width(), size.height())
                    << page << size;
        }
    }
    void nothingOverlaps()
    {
        QFETCH(int, page);
        QFETCH(QSize, size);
        QCOMPARE(overlaps(showPage(page, size)).join(u'\n'), QString());
    }

    // A page that does not fit keeps its parts where they are and loses its right and lower end.
    void smallestWindowCutsRightAndBelowOnly_data() { addPageRows(); }
    void smallestWindowCutsRightAndBelowOnly()
    {
        QFETCH(int, page);
        QWidget& shown = showPage(page, smallestSize);
        QCOMPARE(displacedParts(shown).join(u'\n'), QString());
        QCOMPARE(shortenedTexts(shown).join(u'\n'), QString());
    }

    // The style sheet asks for heights of its own, and must not win over these.
    void fixedSizesHold()
    {
        showPage(3, startSize);
        for (const auto* input : window->findChildren<QSpinBox*>(QStringLiteral("rgbInput")))
            QCOMPARE(input->size(), QSize(63, 32));
        QCOMPARE(window->findChild<QWidget*>(QStringLiteral("lightingPanel"))->height(), 290);
        showPage(stackOf(*window)->indexOf(window->findChild<SettingsWidget*>()), startSize);
        QCOMPARE(window->findChild<QWidget*>(QStringLiteral("languageSelect"))->height(), 31);
        QCOMPARE(window->findChild<QWidget*>(QStringLiteral("gameModePanel"))->height(), 290);
        for (const auto* button : window->findChildren<QPushButton*>("settingsAction"))
            QCOMPARE(button->height(), 29);
    }

private:
    QWidget& showPage(int index, QSize size)
    {
        window->resize(size);
        auto* stack = stackOf(*window);
        stack->setCurrentIndex(index);
        QCoreApplication::processEvents();
        return *stack->currentWidget();
    }

    std::unique_ptr<MainWindow> window;
};

QTEST_MAIN(PageGeometryTest)
#include "page_geometry_test.moc"
