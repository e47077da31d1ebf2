// SPDX-License-Identifier: MIT
#include "pages/parts/accessible_controls.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QComboBox>
#include <QEvent>
#include <QSpinBox>

#include <functional>
#include <utility>

namespace tavik {

namespace {

// Calls back when a widget has been hidden.
class HideWatcher : public QObject
{
public:
    HideWatcher(QWidget* watched, std::function<void()> callback)
        : QObject(watched), hidden(std::move(callback))
    {
        watched->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Hide)
            hidden();
        return QObject::eventFilter(watched, event);
    }

private:
    const std::function<void()> hidden;
};

void followSelection(QComboBox* box)
{
    QAbstractItemView* list = box->view();
    // Behind its own label may stand that of its group.
    const auto labels = QAccessible::queryAccessibleInterface(box)->relations(QAccessible::Label);
    if (!labels.isEmpty())
        list->setAccessibleName(labels.constFirst().first->text(QAccessible::Name));
    const auto placeOf = [box, list](int row) {
        return list->model()->index(row, box->modelColumn(), list->rootIndex());
    };
    // Not as the current item: that would be told of as if the focus was there.
    const auto mark = [list, placeOf](int row) {
        if (!list->isVisible())
            list->selectionModel()->select(placeOf(row), QItemSelectionModel::ClearAndSelect);
    };
    mark(box->currentIndex());
    QObject::connect(box, &QComboBox::currentIndexChanged, list, mark);
    // Left without a choice, it would go on showing where the walk through it has ended.
    new HideWatcher(list, [box, mark] { mark(box->currentIndex()); });
    // Later: who walks through the open list has moved the current item along by then.
    QObject::connect(
        list->selectionModel(), &QItemSelectionModel::selectionChanged, box,
        [box, list, placeOf, mark] {
            const QModelIndexList selected = list->selectionModel()->selectedIndexes();
            const QModelIndex marked =
                list->isVisible() ? list->currentIndex() : placeOf(box->currentIndex());
            const QModelIndex chosen = selected.isEmpty() ? marked : selected.constFirst();
            if (selected.contains(marked) || !chosen.isValid())
                return;
            const int row = chosen.row();
            box->setCurrentIndex(row);
            box->hidePopup();
            mark(row);
            emit box->activated(row);
            emit box->textActivated(box->currentText());
        },
        Qt::QueuedConnection);
}

// Makes no interface, but learns of the controls that somebody asks for.
QAccessibleInterface* noInterface(const QString& className, QObject* object)
{
    if (className == QLatin1String("QComboBox")) {
        auto* box = static_cast<QComboBox*>(object);
        QMetaObject::invokeMethod(
            box, [box] { followSelection(box); }, Qt::QueuedConnection);
    } else if (className == QLatin1String("QSpinBox")) {
        // The name under which the step is looked for; the box calls it otherwise.
        object->setProperty("stepSize", static_cast<QSpinBox*>(object)->singleStep());
    }
    return nullptr;
}

} // namespace

void letToolsUseControls()
{
    QAccessible::installFactory(noInterface);
}

} // namespace tavik
