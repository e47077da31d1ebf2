// SPDX-License-Identifier: MIT
#pragma once

#include "files/process_lock.h"

#include <QObject>

#include <optional>

class QWidget;

namespace tavik {

// Keeps the program to one window per state file: two would overwrite each other's edits. The first
// start holds a lock in the runtime directory for as long as it lives and listens on a socket
// beside it; a later one asks it to come to the front.
class SingleWindow : public QObject
{
    Q_OBJECT

public:
    explicit SingleWindow(const QString& stateFile);
    ~SingleWindow() override;

    // Nothing when this process may open the window, also where no lock can be made. Otherwise the
    // code to end with: 0 once the window that is open has come to the front, 1 after the user was
    // told that it has not answered for two seconds. Asked once, before the state is loaded.
    [[nodiscard]] std::optional<int> endsWith();

    // Brings this window to the front, with the dialog that is open in it, whenever another start
    // asks for it. The window is not owned and outlives this object's last event.
    void bringForward(QWidget* window);

private:
    void listen();
    void answer();

    const QString socketPath;
    ProcessLock lock;
    int socket = -1;

signals:
    void askedFor(const QByteArray& activationToken);
};

} // namespace tavik
