// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "model/state_copies.h"
#include "tests/model/sample_state.h"

#include <QJsonDocument>
#include <QTest>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace tavik;
using namespace tavik::tests;

// Starts the program, edits, and starts it again on a real file system with room for so many pages
// more and no other. The file system is mounted where no other process sees it.

namespace {

constexpr int saves = 3;

// The state found at the start, and those of the saves after it: smaller ones and a larger one.
SavedState stateNumber(int number)
{
    constexpr std::array pages{4, 2, 3, 5};
    const auto letter = static_cast<char16_t>(u'a' + number);
    SavedState state;
    state.macros.fill({QString(4096, QChar(letter)), {}},
                      pages.at(static_cast<std::size_t>(number)));
    return state;
}

QByteArray contentNumber(int number)
{
    return stateToJson(stateNumber(number));
}

void writeText(const char* path, const std::string& text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    // What was not written shows when the file system is mounted.
    if (write(file, text.data(), text.size()) < 0)
        errno = 0;
    close(file);
}

// Moves this process where it may mount file systems that nobody else sees. An ordinary user may do
// that as the root of a world of his own. Has to be done before there is a second thread.
bool enterOwnMounts()
{
    const auto user = std::to_string(geteuid());
    const auto group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
        writeText("/proc/self/setgroups", "deny");
        writeText("/proc/self/uid_map", "0 " + user + " 1");
        writeText("/proc/self/gid_map", "0 " + group + " 1");
    } else if (unshare(CLONE_NEWNS) != 0) {
        return false;
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

// Whether the action was done, and said so.
template <typename Action>
bool runInItsOwnProcess(const Action& action)
{
    const pid_t child = fork();
    if (child == 0) {
        _exit(action() ? 0 : 1);
    }
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

// The number of the newest state that is whole in the file or in its copy; −1 for none.
int newestLeft()
{
    const QByteArray file = readFile(stateFilePath());
    const QByteArray copy = readFile(stateFilePath() + ".bak");
    int number = saves;
    while (number >= 0 && file != contentNumber(number) && copy != contentNumber(number))
        --number;
    return number;
}

// False when a save has left an older state than it found.
bool startAndEdit(int firstEdit)
{
    AppState& state = AppState::instance();
    int newest = newestLeft();
    for (int number = firstEdit; number <= saves; ++number) {
        static_cast<SavedState&>(state) = stateNumber(number);
        state.save();
        if (newestLeft() < std::exchange(newest, newestLeft()))
            return false;
    }
    return true;
}

bool hasOwnMounts = false;

} // namespace

class FullDiskTest : public QObject
{
    Q_OBJECT

private slots:
    void everyNumberOfFreePages_data()
    {
        QTest::addColumn<bool>("isSound");
        QTest::newRow("a sound file") << true;
        QTest::newRow("a damaged file") << false;
    }
    void everyNumberOfFreePages()
    {
        QFETCH(bool, isSound);
        if (!hasOwnMounts)
            QSKIP("Mounting is not permitted here.");
        const qint64 page = sysconf(_SC_PAGESIZE);
        const auto pages = static_cast<int>(contentNumber(saves).size() / page + 1);
        // Room for the copy, two earlier states, and what is put aside.
        const int enough = 5 * pages;
        int lastEdits = 0;
        for (int free = 0; free <= enough; ++free) {
            const std::string where = std::to_string(free) + " pages free";
            QVERIFY(mountEmpty());
            const QByteArray found = contentNumber(0);
            writeFile(stateFile(), isSound ? found : found.left(100));
            writeFile(backup(), found);
            QVERIFY2(leaveFree(free, page), where.c_str());

            QVERIFY2(runInItsOwnProcess([] { return startAndEdit(1); }), where.c_str());
            const int newest = newestLeft();
            QVERIFY2(newest >= 0, where.c_str());
            QVERIFY2(copiesAreWhole(), where.c_str());
            QVERIFY2(isSound || isLeft(0), where.c_str());

            // The next start finds it, or leaves it where it stands; so does an edit after that.
            QVERIFY2(runInItsOwnProcess([] { return startAndEdit(saves + 1); }), where.c_str());
            QVERIFY2(isLeft(newest), where.c_str());
            QVERIFY2(runInItsOwnProcess([] { return startAndEdit(saves); }), where.c_str());
            QVERIFY2(copiesAreWhole(), where.c_str());
            QVERIFY2(isSound || isLeft(0), where.c_str());
            lastEdits += newest == saves ? 1 : 0;
            QVERIFY2(free < enough || newest == saves, where.c_str());
            QCOMPARE(umount(mountPoint().constData()), 0);
        }
        qInfo("%d sizes tried; the last edit could be saved in %d of them", enough + 1, lastEdits);
        QVERIFY(lastEdits <= enough);
    }

    void cleanup()
    {
        if (hasOwnMounts)
            umount2(mountPoint().constData(), MNT_DETACH);
    }

private:
    OwnConfiguration configuration;

    QString stateFile() const { return configuration.programPath() + "/state.json"; }
    QString backup() const { return stateFile() + ".bak"; }
    QByteArray mountPoint() const
    {
        return QFile::encodeName(configuration.path() + "/zerolt-linux");
    }

    bool mountEmpty() const
    {
        return QDir().mkpath(configuration.path() + "/zerolt-linux") &&
               mount("tmpfs", mountPoint().constData(), "tmpfs", 0, "mode=700") == 0 &&
               QDir().mkpath(configuration.programPath());
    }

    bool leaveFree(int pages, qint64 page) const
    {
        struct statvfs status = {};
        if (statvfs(mountPoint().constData(), &status) != 0)
            return false;
        const auto used = static_cast<qint64>((status.f_blocks - status.f_bfree) * status.f_frsize);
        const QByteArray size = "size=" + QByteArray::number(used + pages * page);
        return mount(nullptr, mountPoint().constData(), nullptr, MS_REMOUNT, size.constData()) ==
                   0 &&
               statvfs(mountPoint().constData(), &status) == 0 &&
               static_cast<qint64>(status.f_bfree * status.f_frsize) == pages * page;
    }

    bool isLeft(int number) const
    {
        const QList<EarlierState> states = earlierStates();
        return readFile(stateFile()) == contentNumber(number) ||
               readFile(backup()) == contentNumber(number) ||
               std::any_of(states.begin(), states.end(), [number](const EarlierState& state) {
                   return readFile(state.path) == contentNumber(number);
               });
    }

    bool copiesAreWhole() const
    {
        const QList<EarlierState> states = earlierStates();
        return QJsonDocument::fromJson(readFile(backup())).isObject() &&
               std::all_of(states.begin(), states.end(), [](const EarlierState& state) {
                   return QJsonDocument::fromJson(readFile(state.path)).isObject();
               });
    }
};

int main(int argc, char* argv[])
{
    hasOwnMounts = enterOwnMounts();
    const QCoreApplication application(argc, argv);
    FullDiskTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "full_disk_test.moc"
