// SPDX-License-Identifier: MIT
#include "tests/support/dialog_driver.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include <deque>

namespace tavik::tests {

namespace {

using Action = std::function<void(QWidget&)>;

class DialogDriver : public QObject
{
public:
    static DialogDriver& instance()
    {
        static DialogDriver driver;
        return driver;
    }

    void expect(Action action)
    {
        actions.push_back(std::move(action));
        if (!poll.isActive())
            poll.start();
    }

    int expected() const { return static_cast<int>(actions.size()); }

private:
    DialogDriver() { connect(&poll, &QTimer::timeout, this, &DialogDriver::look); }

    void look()
    {
        if (actions.empty()) {
            poll.stop();
            return;
        }
        QWidget* dialog = QApplication::activePopupWidget();
        if (dialog == nullptr)
            dialog = QApplication::activeModalWidget();
        // A dialog is handled once; the next action waits for another one.
        if (dialog == nullptr || !dialog->isVisible() || dialog == handled)
            return;
        handled = dialog;
        const Action action = std::move(actions.front());
        actions.pop_front();
        action(*dialog);
    }

    QTimer poll;
    std::deque<Action> actions;
    QPointer<QWidget> handled;
};

} // namespace

void onNextDialog(std::function<void(QWidget& dialog)> action)
{
    DialogDriver::instance().expect(std::move(action));
}

int dialogsStillExpected()
{
    return DialogDriver::instance().expected();
}

void clickButton(QWidget& dialog, const QString& text)
{
    for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>()) {
        if (button->text().remove(u'&') == text) {
            QTest::mouseClick(button, Qt::LeftButton);
            return;
        }
    }
    QFAIL(qPrintable(QStringLiteral("no button \"%1\" in the dialog").arg(text)));
}

} // namespace tavik::tests
