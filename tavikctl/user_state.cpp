// SPDX-License-Identifier: MIT
#include "tavikctl/user_state.h"

#include "device/device.h"
#include "device/pause.h"
#include "files/process_lock.h"
#include "files/regular_file.h"
#include "files/whole_file.h"
#include "model/state_copies.h"
#include "tavikctl/failure.h"
#include "tavikctl/keyboard.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace std::chrono_literals;

namespace tavik {

namespace {

constexpr auto pauseBetweenAttempts = 50ms; // another command takes about as long
constexpr int attemptsBesideCommands = 200; // many may have been started at once
constexpr int attemptsBesideWindow = 10;    // it may just be closing

Failure windowIsOpen()
{
    return {ExitCode::Failed,
            QStringLiteral("The window of tavik-center is open and would not show the change. Make "
                           "it there, or close the window first.")};
}

Failure commandIsRunning()
{
    return {ExitCode::Failed,
            QStringLiteral("Another command edits the settings. Wait for it, then try again.")};
}

// Keeps windows and other commands from editing the state meanwhile.
class EditLock
{
public:
    EditLock()
    {
        int attempts = 0;
        while (lock.attempt() == ProcessLock::Attempt::HeldByAnother) {
            // A window listens for others that are started.
            const bool isWindow =
                QFileInfo::exists(runtimeFilePathOf(stateFilePath(), QStringLiteral(".socket")));
            if (++attempts >= (isWindow ? attemptsBesideWindow : attemptsBesideCommands))
                throw isWindow ? windowIsOpen() : commandIsRunning();
            if (Device::isInterrupted())
                throw keyboardFailure();
            pause(pauseBetweenAttempts);
        }
    }

private:
    ProcessLock lock{lockPathOf(stateFilePath())};
};

// Saving may leave the file cut short on a full disk, beside a copy that is whole. With nobody
// there to see that, it is found out before.
bool hasRoomFor(const QByteArray& content)
{
    const QString path = stateFilePath() + QStringLiteral(".room");
    QDir().mkpath(QFileInfo(path).path());
    return writeWholeFile(path, content) && QFile::remove(path);
}

// Saving says nothing, so what it has left is looked at.
bool isSaved(const QByteArray& content)
{
    AppState::instance().save();
    return readRegularFile(stateFilePath(), content.size()) == content;
}

void saveAsPresent(const SavedState& state)
{
    if (!canBeSaved(state))
        throw Failure{ExitCode::Failed,
                      QStringLiteral("These are more macros, or longer names, than can be saved. "
                                     "Nothing was changed.")};
    static_cast<SavedState&>(AppState::instance()) = state;
    const QByteArray content = stateToJson(state);
    if (!hasRoomFor(content) || !isSaved(content))
        throw Failure{ExitCode::Failed,
                      QStringLiteral("\"%1\" could not be written. Look for room on the disk, and "
                                     "whether you may write there; then do it again.")
                          .arg(stateFilePath())};
}

} // namespace

SavedState presentState()
{
    if (!QFileInfo::exists(stateFilePath()))
        return {};
    QString reason;
    std::optional<SavedState> state = readStateFile(stateFilePath(), &reason);
    if (!state) {
        // A window may be in the middle of saving; that takes no longer than another command.
        pause(pauseBetweenAttempts);
        state = readStateFile(stateFilePath(), &reason);
    }
    if (!state)
        throw Failure{ExitCode::Failed,
                      QStringLiteral("\"%1\" cannot be used. %2 Go back to an earlier state: "
                                     "tavikctl earlier.")
                          .arg(stateFilePath(), reason)};
    return *state;
}

SavedState whatIsLeftOfState()
{
    QString reason;
    return readStateFile(stateFilePath(), &reason).value_or(SavedState());
}

SavedState stateIn(const QString& path, const SavedState& otherwise)
{
    QString reason;
    const std::optional<SavedState> state = readStateFile(path, &reason, otherwise);
    if (!state)
        throw Failure{ExitCode::Failed,
                      QStringLiteral("\"%1\" cannot be used. %2").arg(path, reason)};
    return *state;
}

void requireEditable(const Output& output)
{
    if (!output.dryRun)
        const EditLock lock;
}

void editState(const Output& output, const std::function<void(SavedState&)>& change)
{
    if (output.dryRun) {
        SavedState copy = presentState();
        change(copy);
        return;
    }
    const EditLock lock;
    SavedState wanted = presentState();
    change(wanted); // whatever is wrong with it is found before anything is changed
    saveAsPresent(wanted);
}

void takeOverState(const Output& output, const std::function<SavedState()>& other)
{
    if (output.dryRun) {
        std::ignore = other();
        return;
    }
    const EditLock lock;
    const SavedState wanted = other();
    if (!keepEarlier(stateToJson(AppState::instance())))
        throw Failure{ExitCode::Failed,
                      QStringLiteral("The present settings could not be kept beside \"%1\", so "
                                     "they were left as they are. Look for room on the disk.")
                          .arg(stateFilePath())};
    saveAsPresent(wanted);
}

} // namespace tavik
