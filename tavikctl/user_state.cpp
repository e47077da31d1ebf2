#include "tavikctl/user_state.h"

#include "device/pause.h"
#include "files/process_lock.h"
#include "files/regular_file.h"
#include "model/state_copies.h"
#include "tavikctl/failure.h"

#include <QFileInfo>

using namespace std::chrono_literals;

namespace tavik {

namespace {

constexpr int lockAttempts = 10;
constexpr auto pauseBetweenAttempts = 50ms; // another command takes no longer

// Keeps windows and other commands from editing the state meanwhile.
class EditLock
{
public:
    EditLock()
    {
        for (int attempt = 1; lock.attempt() == ProcessLock::Attempt::HeldByAnother; ++attempt) {
            if (attempt == lockAttempts)
                throw Failure{ExitCode::Failed,
                              QStringLiteral("The window of tavik-center is open and would not "
                                             "show the change. Make it there, or close the "
                                             "window first.")};
            pause(pauseBetweenAttempts);
        }
    }

private:
    ProcessLock lock{lockPathOf(stateFilePath())};
};

// Saving says nothing, so what it has left is looked at.
void requireSaved()
{
    const QByteArray wanted = stateToJson(AppState::instance());
    if (readRegularFile(stateFilePath(), wanted.size()) != wanted)
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
    const std::optional<SavedState> state = readStateFile(stateFilePath(), &reason);
    if (!state)
        throw Failure{ExitCode::Failed,
                      QStringLiteral("\"%1\" cannot be used. %2 Go back to an earlier state: "
                                     "tavikctl earlier.")
                          .arg(stateFilePath(), reason)};
    return *state;
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

void editState(const Output& output, StatePart part, const QString& name,
               const std::function<void(SavedState&)>& change)
{
    if (output.dryRun) {
        SavedState copy = presentState();
        change(copy);
        return;
    }
    const EditLock lock;
    SavedState wanted = presentState();
    change(wanted); // whatever is wrong with it is found before anything is changed
    EditHistory::instance().edit(part, name, [&](SavedState& state) { state = wanted; });
    requireSaved();
}

void takeOverState(const Output& output, const QString& name,
                   const std::function<SavedState()>& other)
{
    if (output.dryRun) {
        std::ignore = other();
        return;
    }
    const EditLock lock;
    const SavedState wanted = other();
    EditHistory::instance().takeOver(name, wanted);
    requireSaved();
}

} // namespace tavik
