// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>

#include <memory>
#include <set>
#include <utility>
#include <vector>

class QWidget;

namespace tavik {

class StatusLabel;

// Stands around an operation that blocks the GUI thread, as long as it is in scope. The status is
// cleared and everything is painted before the operation begins. The pointer shows that the user
// has to wait. What the user clicks and types in the page's window meanwhile never happens; only
// the title bar deals with it when the operation is over.
//
// Events are processed at the beginning and at the end. An operation that is asked for meanwhile
// must not run: it finds that it has not begun.
class BusyWait : public QObject
{
    Q_OBJECT

public:
    // The page and its status must outlive the wait; without a status none is cleared.
    explicit BusyWait(QWidget* page, StatusLabel* status = nullptr);
    ~BusyWait() override;

    // Whether a wait is in scope anywhere.
    [[nodiscard]] static bool isRunning();

    // False while another wait is in scope; the operation is then to be left out.
    [[nodiscard]] bool hasBegun() const { return begun; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Whether the event is of the user's making and belongs to what is not to hear of it.
    [[nodiscard]] bool isInput(const QObject* watched, const QEvent* event) const;

    QWidget* const window;
    const bool begun;
    bool hasSwallowed = false;
    // Keys and buttons that were pressed in the wait: their releases mean nothing.
    std::set<int> swallowedPresses;
    // A release whose press came before the wait is late, but not lost: else a slider would go on
    // believing that it is held.
    std::vector<std::pair<QPointer<QObject>, std::unique_ptr<QEvent>>> lateReleases;
};

} // namespace tavik
