#include "doctor/node_holders.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace tavik::doctor {

namespace {

namespace fs = std::filesystem;

bool holds(const fs::path& process, dev_t device)
{
    std::error_code error; // the process may end while it is looked at
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end;
         entry.increment(error)) {
        struct stat status
        {
        };
        if (stat(entry->path().c_str(), &status) == 0 && S_ISCHR(status.st_mode) &&
            status.st_rdev == device)
            return true;
    }
    return false;
}

std::string nameOf(const fs::path& process)
{
    std::ifstream file(process / "comm");
    std::string name;
    std::getline(file, name);
    return name.empty() ? "a program" : name;
}

} // namespace

std::vector<Holder> holdersOf(dev_t device)
{
    std::vector<Holder> holders;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        int processId = 0;
        const auto parsed = std::from_chars(name.data(), name.data() + name.size(), processId);
        if (parsed.ec != std::errc() || processId == getpid())
            continue;
        if (holds(entry->path(), device))
            holders.push_back({processId, nameOf(entry->path())});
    }
    std::ranges::sort(holders, {}, &Holder::processId);
    return holders;
}

} // namespace tavik::doctor
