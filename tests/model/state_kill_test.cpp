#include "model/app_state.h"
#include "tests/model/sample_state.h"

#include <QJsonDocument>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <optional>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

// Kills the program at every system call of a start and of a save, and inside the write itself, and
// then looks at what is left on disk.

namespace {

// What a run does between its two marks, and so where it can be stopped.
enum class Moment { Start, Save };

enum class RunEnd { Killed, Completed, NotPermitted, Failed };

constexpr int notPermittedCode = 77;
constexpr int wrongStateCode = 78;

SavedState stateOf(quint32 seed)
{
    QRandomGenerator random(seed);
    return randomState(random);
}

const SavedState& lastGoodState()
{
    static const SavedState state = stateOf(1);
    return state;
}

const SavedState& editedState()
{
    static const SavedState state = stateOf(2);
    return state;
}

QByteArray fileContent(const SavedState& state)
{
    return stateToJson(state);
}

void edit()
{
    static_cast<SavedState&>(AppState::instance()) = editedState();
}

// The mark at which the parent begins and ends to count.
void mark()
{
    raise(SIGSTOP);
}

[[noreturn]] void runTraced(Moment moment)
{
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        _exit(notPermittedCode);
    if (moment == Moment::Start) {
        mark();
        AppState::instance();
        mark();
        _exit(0);
    }
    AppState::instance();
    edit();
    mark();
    AppState::instance().save();
    mark();
    _exit(0);
}

// Waits for the child's next stop or end. Its status, or an empty optional when there is no child.
std::optional<int> nextStatus(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) != child) {
        if (errno != EINTR)
            return std::nullopt;
    }
    return status;
}

RunEnd reap(pid_t child, RunEnd end)
{
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    return end;
}

// With this option a stop at a system call differs from a stop by a signal.
constexpr int systemCallStop = SIGTRAP | 0x80;
constexpr long traceOptions = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL;

// Lets a run go on from its first mark and kills it at the given stop, counted from 1. Each system
// call stops twice: before it has done anything, and after it has done all.
RunEnd killAtStop(pid_t child, int stop)
{
    const auto atMark = nextStatus(child);
    if (atMark && WIFEXITED(*atMark))
        return WEXITSTATUS(*atMark) == notPermittedCode ? RunEnd::NotPermitted : RunEnd::Failed;
    if (!atMark || !WIFSTOPPED(*atMark) || WSTOPSIG(*atMark) != SIGSTOP)
        return reap(child, RunEnd::Failed);
    if (ptrace(PTRACE_SETOPTIONS, child, nullptr, traceOptions) != 0)
        return reap(child, RunEnd::NotPermitted);
    for (int count = 1;; ++count) {
        if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0)
            return reap(child, RunEnd::Failed);
        const auto status = nextStatus(child);
        if (!status || !WIFSTOPPED(*status))
            return RunEnd::Failed;
        if (WSTOPSIG(*status) == SIGSTOP)
            return reap(child, RunEnd::Completed);
        if (WSTOPSIG(*status) != systemCallStop)
            return reap(child, RunEnd::Failed);
        if (count == stop)
            return reap(child, RunEnd::Killed);
    }
}

RunEnd runAndKill(Moment moment, int stop)
{
    const pid_t child = fork();
    if (child == 0)
        runTraced(moment);
    return child > 0 ? killAtStop(child, stop) : RunEnd::Failed;
}

enum class FileLimit { Kills, FailsTheWrite };

// Edits and saves while no file may grow beyond the limit. The kernel writes up to the limit; the
// rest kills the program, or fails as it does on a full disk. Returns the child's wait status.
std::optional<int> saveWithin(rlim_t limit, FileLimit effect)
{
    const pid_t child = fork();
    if (child < 0)
        return std::nullopt;
    if (child > 0)
        return nextStatus(child);
    AppState::instance();
    edit();
    const rlimit noCore = {0, 0};
    const rlimit fileSize = {limit, limit};
    signal(SIGXFSZ, effect == FileLimit::Kills ? SIG_DFL : SIG_IGN);
    if (setrlimit(RLIMIT_CORE, &noCore) != 0 || setrlimit(RLIMIT_FSIZE, &fileSize) != 0)
        _exit(notPermittedCode);
    AppState::instance().save();
    _exit(0);
}

// Starts the program once more, in a process of its own, and tells whether it found this state.
bool nextStartFinds(const SavedState& expected)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(AppState::instance() == expected ? 0 : wrongStateCode);
    const auto status = child > 0 ? nextStatus(child) : std::nullopt;
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

} // namespace

class StateKillTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { prepare("an earlier copy"); }

    void killedAtEverySystemCallOfASave()
    {
        int leftOld = 0;
        int leftDamaged = 0;
        int leftNew = 0;
        RunEnd end = RunEnd::Killed;
        for (int stop = 1; end == RunEnd::Killed; ++stop) {
            prepare("an earlier copy");
            end = runAndKill(Moment::Save, stop);
            if (end == RunEnd::NotPermitted)
                QSKIP("Tracing a process is not permitted here.");
            QVERIFY2(end != RunEnd::Failed, qPrintable(QString::number(stop)));

            const QByteArray left = readFile(stateFile());
            QCOMPARE(readFile(backup()), fileContent(lastGoodState()));
            if (left == fileContent(lastGoodState())) {
                ++leftOld;
            } else if (left == fileContent(editedState())) {
                ++leftNew;
            } else {
                ++leftDamaged;
                QVERIFY(!QJsonDocument::fromJson(left).isObject());
                verifyDamageIsMended(left);
            }
            if (QTest::currentTestFailed())
                return;
        }
        QCOMPARE(readFile(stateFile()), fileContent(editedState()));
        // All three were seen: the stops reached from before the file was opened to after the
        // write.
        QVERIFY(leftOld > 0);
        QVERIFY(leftDamaged > 0);
        QVERIFY(leftNew > 1);
    }

    void killedAtEverySystemCallOfAStart()
    {
        const QByteArray earlier = fileContent(stateOf(3));
        const QByteArray current = fileContent(lastGoodState());
        int leftEarlier = 0;
        int leftCurrent = 0;
        RunEnd end = RunEnd::Killed;
        for (int stop = 1; end == RunEnd::Killed; ++stop) {
            prepare(earlier);
            end = runAndKill(Moment::Start, stop);
            if (end == RunEnd::NotPermitted)
                QSKIP("Tracing a process is not permitted here.");
            QVERIFY2(end != RunEnd::Failed, qPrintable(QString::number(stop)));

            QCOMPARE(readFile(stateFile()), current);
            QVERIFY(!QFile::exists(damaged()));
            const QByteArray left = readFile(backup());
            QVERIFY2(left == earlier || left == current, qPrintable(QString::number(stop)));
            ++(left == current ? leftCurrent : leftEarlier);
        }
        QCOMPARE(readFile(backup()), current);
        QVERIFY(leftEarlier > 0);
        QVERIFY(leftCurrent > 1);
        QVERIFY(nextStartFinds(lastGoodState()));
    }

    void cutShortInTheMiddleOfTheWrite_data()
    {
        QTest::addColumn<int>("limit");
        QTest::addColumn<bool>("kills");

        const int size = static_cast<int>(fileContent(editedState()).size());
        for (const bool kills : {true, false}) {
            const char* effect = kills ? "killed" : "disk full";
            for (const int limit :
                 {0, 1, 2, 100, 4095, 4096, 16384, 20000, size / 2, size - 3, size - 2, size - 1})
                QTest::addRow("%s after %d of %d", effect, limit, size) << limit << kills;
        }
    }
    void cutShortInTheMiddleOfTheWrite()
    {
        QFETCH(int, limit);
        QFETCH(bool, kills);
        const auto status = saveWithin(static_cast<rlim_t>(limit),
                                       kills ? FileLimit::Kills : FileLimit::FailsTheWrite);
        QVERIFY(status.has_value());
        if (kills)
            QVERIFY(WIFSIGNALED(*status) && WTERMSIG(*status) == SIGXFSZ);
        else
            QVERIFY(WIFEXITED(*status) && WEXITSTATUS(*status) == 0);

        const QByteArray whole = fileContent(editedState());
        const QByteArray left = readFile(stateFile());
        QCOMPARE(left, whole.left(limit));
        if (limit == whole.size() - 1) {
            // Only the line end behind the last brace is missing.
            QVERIFY(nextStartFinds(editedState()));
            return;
        }
        verifyDamageIsMended(left);
    }

private:
    OwnConfiguration configuration;

    QString stateFile() const { return configuration.programPath() + "/state.json"; }
    QString backup() const { return stateFile() + ".bak"; }
    QString damaged() const { return stateFile() + ".damaged"; }

    void prepare(const QByteArray& earlierBackup) const
    {
        configuration.clear();
        configuration.makeProgramDirectory();
        writeFile(stateFile(), fileContent(lastGoodState()));
        writeFile(backup(), earlierBackup);
    }

    // A damaged file costs the user no more than this run: the next start puts it aside, and the
    // copy of the last one still holds what was good.
    void verifyDamageIsMended(const QByteArray& left) const
    {
        QCOMPARE(readFile(backup()), fileContent(lastGoodState()));
        QVERIFY(nextStartFinds(SavedState{}));
        QCOMPARE(readFile(damaged()), left);
        QCOMPARE(readFile(stateFile()), left);
        QCOMPARE(readFile(backup()), fileContent(lastGoodState()));
    }
};

QTEST_GUILESS_MAIN(StateKillTest)
#include "state_kill_test.moc"
