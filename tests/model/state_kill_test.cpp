// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "model/state_copies.h"
#include "tests/model/sample_state.h"

#include <QJsonDocument>
#include <QTest>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <optional>
#include <set>
#include <string>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

// Kills the program at every system call of a start and two saves, lets every call on a file fail,
// and cuts the writes short. Then it looks at what is left on disk.

namespace {

// What the start finds. Nothing counts as the state number 0 of a first start.
enum class Found { Sound, Damaged, Nothing };

enum class RunEnd { Killed, Completed, NotPermitted, Failed };

// What happens at one stop of a run, or from it on.
enum class Fault {
    None,
    Kill,
    NoSpace,    // this call finds the disk full
    Error,      // this call fails to reach the disk
    FullDisk,   // the disk is full from here on; the first write still stores half of its bytes
    BrokenDisk, // no call on a file succeeds from here on
};

// Whether every run makes the same calls, and no others than the program's.
#ifdef __SANITIZE_ADDRESS__
constexpr bool runsAreAlike = false;
#else
constexpr bool runsAreAlike = true;
#endif

constexpr int saves = 2;
constexpr int notPermittedCode = 77;
constexpr int wrongStateCode = 78;

// The state found at the start, and those of the saves after it.
SavedState stateNumber(int number)
{
    QRandomGenerator random(static_cast<quint32>(number + 1));
    return randomState(random);
}

QByteArray contentNumber(int number)
{
    return stateToJson(stateNumber(number));
}

void editAndSave(int number)
{
    static_cast<SavedState&>(AppState::instance()) = stateNumber(number);
    AppState::instance().save();
}

// Stops the process for its parent, which so learns how far the run has come.
void mark()
{
    raise(SIGSTOP);
}

[[noreturn]] void runTraced()
{
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        _exit(notPermittedCode);
    mark();
    AppState::instance();
    for (int number = 1; number <= saves; ++number) {
        mark();
        editAndSave(number);
    }
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

#ifdef __x86_64__
constexpr bool callsCanFail = true;

struct FileCall
{
    unsigned long long number;
    const char* name;
    bool takesSpace;
};

constexpr std::array fileCalls{
    FileCall{SYS_openat, "openat", true},       FileCall{SYS_write, "write", true},
    FileCall{SYS_fsync, "fsync", true},         FileCall{SYS_rename, "rename", true},
    FileCall{SYS_mkdir, "mkdir", true},         FileCall{SYS_mkdirat, "mkdir", true},
    FileCall{SYS_fdatasync, "fdatasync", true}, FileCall{SYS_renameat, "rename", true},
    FileCall{SYS_renameat2, "rename", true},    FileCall{SYS_ftruncate, "ftruncate", true},
    FileCall{SYS_linkat, "link", true},         FileCall{SYS_link, "link", true},
    FileCall{SYS_close, "close", false},        FileCall{SYS_fchmod, "chmod", false},
    FileCall{SYS_chmod, "chmod", false},        FileCall{SYS_unlink, "unlink", false},
    FileCall{SYS_unlinkat, "unlink", false},    FileCall{SYS_read, "read", false},
    FileCall{SYS_lseek, "lseek", false},        FileCall{SYS_fstat, "stat", false},
    FileCall{SYS_stat, "stat", false},          FileCall{SYS_lstat, "stat", false},
    FileCall{SYS_newfstatat, "stat", false},    FileCall{SYS_statx, "stat", false},
    FileCall{SYS_access, "access", false},      FileCall{SYS_faccessat, "access", false},
    FileCall{SYS_readlink, "readlink", false},  FileCall{SYS_getdents64, "getdents", false},
};

// The call at which a traced child stands, so that it can be made to fail.
class StoppedCall
{
public:
    explicit StoppedCall(pid_t stoppedChild) : child(stoppedChild)
    {
        ptrace(PTRACE_GETREGS, child, nullptr, &registers);
        const auto* found =
            std::find_if(fileCalls.begin(), fileCalls.end(), [this](const FileCall& call) {
                return call.number == registers.orig_rax;
            });
        if (found != fileCalls.end())
            fileCall = found;
    }

    [[nodiscard]] std::string name() const { return fileCall != nullptr ? fileCall->name : ""; }

    // Opening a file that exists takes no space.
    [[nodiscard]] bool canFailFor(Fault fault) const
    {
        if (fileCall == nullptr || fault == Fault::Error || fault == Fault::BrokenDisk)
            return fileCall != nullptr;
        return fileCall->takesSpace &&
               (fileCall->number != SYS_openat || (registers.rdx & newFile) != 0);
    }

    [[nodiscard]] bool isWrite() const
    {
        return fileCall != nullptr && fileCall->number == SYS_write;
    }

    void writeHalf()
    {
        registers.rdx /= 2;
        store();
    }

    // Before the call: lets the kernel do nothing.
    void skip()
    {
        registers.orig_rax = ~0ULL;
        store();
    }

    // After it.
    void failWith(int error)
    {
        registers.rax = static_cast<unsigned long long>(-static_cast<long long>(error));
        store();
    }

private:
    // The part of O_TMPFILE that is not O_DIRECTORY, and what a new file of a name is opened with.
    static constexpr unsigned long long newFile = (O_TMPFILE & ~O_DIRECTORY) | O_EXCL;

    void store() { ptrace(PTRACE_SETREGS, child, nullptr, &registers); }

    pid_t child;
    const FileCall* fileCall = nullptr;
    user_regs_struct registers = {};
};
#else
constexpr bool callsCanFail = false;

class StoppedCall
{
public:
    explicit StoppedCall(pid_t) {}
    [[nodiscard]] std::string name() const { return {}; }
    [[nodiscard]] bool canFailFor(Fault) const { return false; }
    [[nodiscard]] bool isWrite() const { return false; }
    void writeHalf() {}
    void skip() {}
    void failWith(int) {}
};
#endif

// With this option a stop at a system call differs from a stop by a signal.
constexpr int systemCallStop = SIGTRAP | 0x80;
constexpr long traceOptions = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL;

struct Run
{
    RunEnd end = RunEnd::Failed;
    int savesBegun = 0;     // when the fault came
    std::string failedCall; // empty when no call failed
};

// Lets a run go on from its first mark, up to the fault at the given stop, counted from 1. Each
// system call stops twice: before it has done anything, and after it has done all.
Run follow(pid_t child, Fault fault, int stop)
{
    Run run;
    const auto atMark = nextStatus(child);
    if (atMark && WIFEXITED(*atMark)) {
        run.end = WEXITSTATUS(*atMark) == notPermittedCode ? RunEnd::NotPermitted : RunEnd::Failed;
        return run;
    }
    if (!atMark || !WIFSTOPPED(*atMark) || WSTOPSIG(*atMark) != SIGSTOP) {
        run.end = reap(child, RunEnd::Failed);
        return run;
    }
    if (ptrace(PTRACE_SETOPTIONS, child, nullptr, traceOptions) != 0) {
        run.end = reap(child, RunEnd::NotPermitted);
        return run;
    }
    const bool lasts = fault == Fault::FullDisk || fault == Fault::BrokenDisk;
    const int error = fault == Fault::NoSpace || fault == Fault::FullDisk ? ENOSPC : EIO;
    int marks = 0;
    bool isBefore = true;
    bool isSkipped = false;
    for (int count = 1;;) {
        if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0) {
            run.end = reap(child, RunEnd::Failed);
            return run;
        }
        const auto status = nextStatus(child);
        if (!status || !WIFSTOPPED(*status))
            return run;
        if (WSTOPSIG(*status) == SIGSTOP) {
            if (++marks <= saves)
                continue;
            run.end = reap(child, RunEnd::Completed);
            return run;
        }
        if (WSTOPSIG(*status) != systemCallStop) {
            run.end = reap(child, RunEnd::Failed);
            return run;
        }
        if (count <= stop)
            run.savesBegun = marks;
        if (fault == Fault::Kill && count == stop) {
            run.end = reap(child, RunEnd::Killed);
            return run;
        }
        if (fault > Fault::Kill) {
            StoppedCall call(child);
            const bool isStruck = isBefore && (count == stop || (lasts && count > stop));
            if (isStruck && call.canFailFor(fault)) {
                if (run.failedCall.empty() && fault == Fault::FullDisk && call.isWrite()) {
                    call.writeHalf();
                } else {
                    call.skip();
                    isSkipped = true;
                }
                if (count == stop)
                    run.failedCall = call.name();
            } else if (!isBefore && std::exchange(isSkipped, false)) {
                call.failWith(error);
            }
            // Nothing to see here for a fault that strikes no call on a file.
            if (count == stop && run.failedCall.empty()) {
                run.end = reap(child, RunEnd::Killed);
                return run;
            }
        }
        isBefore = !isBefore;
        ++count;
    }
}

Run runWith(Fault fault, int stop)
{
    const pid_t child = fork();
    if (child == 0)
        runTraced();
    return child > 0 ? follow(child, fault, stop) : Run();
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
    const rlimit noCore = {0, 0};
    const rlimit fileSize = {limit, limit};
    signal(SIGXFSZ, effect == FileLimit::Kills ? SIG_DFL : SIG_IGN);
    if (setrlimit(RLIMIT_CORE, &noCore) != 0 || setrlimit(RLIMIT_FSIZE, &fileSize) != 0)
        _exit(notPermittedCode);
    editAndSave(1);
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
    void init() { prepare(Found::Sound); }

    void killedAtEverySystemCall_data() { foundRows(); }
    void killedAtEverySystemCall()
    {
        QFETCH(Found, found);
        if (!runsAreAlike)
            QSKIP("The sanitizers make calls of their own.");
        int stop = 0;
        int leftDamaged = 0;
        std::array<int, saves + 1> leftNewest{};
        for (RunEnd end = RunEnd::Killed; end == RunEnd::Killed;) {
            prepare(found);
            const Run run = runWith(Fault::Kill, ++stop);
            end = run.end;
            if (end == RunEnd::NotPermitted)
                QSKIP("Tracing a process is not permitted here.");
            const std::string where = "killed at stop " + std::to_string(stop);
            QVERIFY2(end != RunEnd::Failed, where.c_str());
            const int newest = newestLeft();
            const bool isLatest =
                end == RunEnd::Completed
                    ? newest == saves
                    : newest == run.savesBegun || newest == std::max(run.savesBegun - 1, 0);
            QVERIFY2(isLatest, where.c_str());
            QVERIFY2(nothingFoundIsLost(found), where.c_str());
            ++leftNewest.at(static_cast<std::size_t>(newest));
            if (run.savesBegun > 0 && stateFileIsCut()) {
                ++leftDamaged;
                verifyDamageIsMended();
                if (QTest::currentTestFailed())
                    return;
            }
        }
        qInfo("killed at %d stops; the state file was cut after %d of them", stop - 1, leftDamaged);
        QVERIFY(stop > 100);
        QVERIFY(leftDamaged > 0);
        QVERIFY(
            std::all_of(leftNewest.begin(), leftNewest.end(), [](int count) { return count > 2; }));
    }

    void callsThatFail_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<Found>("found");
        for (const Found found : {Found::Sound, Found::Damaged, Found::Nothing}) {
            const char* name = foundName(found);
            QTest::addRow("no space once, %s", name) << Fault::NoSpace << found;
            QTest::addRow("error once, %s", name) << Fault::Error << found;
            QTest::addRow("full disk, %s", name) << Fault::FullDisk << found;
            QTest::addRow("broken disk, %s", name) << Fault::BrokenDisk << found;
        }
    }
    void callsThatFail()
    {
        QFETCH(Fault, fault);
        QFETCH(Found, found);
        if (!callsCanFail)
            QSKIP("The registers of this processor are not known here.");
        if (!runsAreAlike)
            QSKIP("The sanitizers make calls of their own, and end where one fails.");
        const bool isOnce = fault == Fault::NoSpace || fault == Fault::Error;
        std::set<std::string> kinds;
        int tried = 0;
        for (int stop = 1;; stop += 2) {
            prepare(found);
            const Run run = runWith(fault, stop);
            if (run.end == RunEnd::NotPermitted)
                QSKIP("Tracing a process is not permitted here.");
            const std::string where = run.failedCall + " at stop " + std::to_string(stop);
            QVERIFY2(run.end != RunEnd::Failed, where.c_str());
            if (run.failedCall.empty()) {
                if (run.end == RunEnd::Completed)
                    break;
                continue;
            }
            ++tried;
            kinds.insert(run.failedCall);
            // After one failure, each edit still finds a place; after the last, none later does.
            const int least = isOnce ? saves : std::max(run.savesBegun - 1, 0);
            QVERIFY2(newestLeft() >= least, where.c_str());
            QVERIFY2(nothingFoundIsLost(found), where.c_str());
            // What may not be on the disk is no copy.
            QVERIFY2(run.failedCall != "fsync" || run.savesBegun < saves ||
                         readFile(backup()) != contentNumber(saves),
                     where.c_str());
        }
        QString seen;
        for (const std::string& kind : kinds)
            seen += ' ' + QString::fromStdString(kind);
        qInfo("%d calls failed:%s", tried, qPrintable(seen));
        std::set<std::string> expected = {"fsync", "link", "openat", "write"};
        // A disk that fails for good never gets as far as putting a new file in place of another.
        if (isOnce)
            expected.insert({"mkdir", "rename"});
        if (fault == Fault::Error || fault == Fault::BrokenDisk)
            expected.insert({"chmod", "close", "stat"});
        QVERIFY(std::includes(kinds.begin(), kinds.end(), expected.begin(), expected.end()));
        QVERIFY(tried >= 10);
    }

    void cutShortInTheMiddleOfTheWrite_data()
    {
        QTest::addColumn<int>("limit");
        QTest::addColumn<bool>("kills");

        const int size = static_cast<int>(contentNumber(1).size());
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
        QCOMPARE(readFile(backup()), contentNumber(0));
        if (kills) {
            // It died over the copy, before it touched the file.
            QVERIFY(WIFSIGNALED(*status) && WTERMSIG(*status) == SIGXFSZ);
            QCOMPARE(readFile(stateFile()), contentNumber(0));
            QVERIFY(nextStartFinds(stateNumber(0)));
            return;
        }
        QVERIFY(WIFEXITED(*status) && WEXITSTATUS(*status) == 0);
        const QByteArray whole = contentNumber(1);
        QCOMPARE(readFile(stateFile()), whole.left(limit));
        if (limit == whole.size() - 1) {
            // Only the line end behind the last brace is missing.
            QVERIFY(nextStartFinds(stateNumber(1)));
            return;
        }
        verifyDamageIsMended();
    }

private:
    OwnConfiguration configuration;

    QString stateFile() const { return configuration.programPath() + "/state.json"; }
    QString backup() const { return stateFile() + ".bak"; }
    QString damaged() const { return stateFile() + ".damaged"; }

    static const char* foundName(Found found)
    {
        switch (found) {
        case Found::Sound:
            return "a sound file";
        case Found::Damaged:
            return "a damaged file";
        case Found::Nothing:
            break;
        }
        return "no file";
    }

    static void foundRows()
    {
        QTest::addColumn<Found>("found");
        for (const Found found : {Found::Sound, Found::Damaged, Found::Nothing})
            QTest::newRow(foundName(found)) << found;
    }

    void prepare(Found found) const
    {
        configuration.clear();
        configuration.makeProgramDirectory();
        if (found == Found::Nothing)
            return;
        const QByteArray whole = contentNumber(0);
        writeFile(stateFile(), found == Found::Sound ? whole : whole.left(whole.size() / 2));
        writeFile(backup(), whole);
    }

    // The number of the newest state that is whole in the file or in its copy; −1 for none.
    int newestLeft() const
    {
        const QByteArray file = readFile(stateFile());
        const QByteArray copy = readFile(backup());
        for (int number = saves; number >= 0; --number) {
            const QByteArray whole = contentNumber(number);
            if (file == whole || copy == whole)
                return number;
        }
        return QFile::exists(backup()) || !file.isEmpty() ? -1 : 0;
    }

    bool stateFileIsCut() const
    {
        return !QJsonDocument::fromJson(readFile(stateFile())).isObject();
    }

    static bool isKeptEarlier(const QByteArray& content)
    {
        const QList<EarlierState> states = earlierStates();
        return std::any_of(states.begin(), states.end(), [&](const EarlierState& state) {
            return readFile(state.path) == content;
        });
    }

    // A state that the program could not load must outlive the edits made without it. No copy and
    // no earlier state is ever cut.
    bool nothingFoundIsLost(Found found) const
    {
        const QList<EarlierState> states = earlierStates();
        const bool areWhole =
            std::all_of(states.begin(), states.end(), [](const EarlierState& state) {
                return readFile(state.path) == contentNumber(0);
            });
        const bool isFoundLeft = found != Found::Damaged ||
                                 readFile(backup()) == contentNumber(0) ||
                                 isKeptEarlier(contentNumber(0));
        const bool copyIsWhole =
            !QFile::exists(backup()) || QJsonDocument::fromJson(readFile(backup())).isObject();
        return areWhole && isFoundLeft && copyIsWhole;
    }

    // The next start finds a cut file: it puts that aside, and the copy where no save reaches it.
    void verifyDamageIsMended() const
    {
        const QByteArray left = readFile(stateFile());
        const QByteArray copy = readFile(backup());
        QVERIFY(nextStartFinds(SavedState{}));
        QCOMPARE(QFile::exists(damaged()), QFile::exists(stateFile()));
        QCOMPARE(readFile(damaged()), left);
        QCOMPARE(readFile(stateFile()), left);
        QCOMPARE(readFile(backup()), copy);
        QVERIFY(copy.isNull() || isKeptEarlier(copy));
    }
};

QTEST_GUILESS_MAIN(StateKillTest)
#include "state_kill_test.moc"
