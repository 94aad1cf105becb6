#include "platform/process_memory.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

namespace tessera {
namespace {

// The limit that a file holds; a word in place of a number is no limit.
std::uint64_t LimitIn(const std::string& path) {
    std::ifstream file(path);
    std::uint64_t limit = 0;
    return file >> limit && limit > 0 ? limit : UINT64_MAX;
}

// The least limit of a control group and those around it.
std::uint64_t LimitAlong(const std::string& mount, std::string group, const char* file) {
    std::uint64_t least = UINT64_MAX;
    for (;;) {
        least = std::min(least, LimitIn(mount + group + "/" + file));
        const std::size_t slash = group.rfind('/');
        if (slash == std::string::npos) return least;
        group.resize(slash);
    }
}

std::uint64_t ControlGroupLimit() {
    std::uint64_t least = UINT64_MAX;
    std::ifstream groups("/proc/self/cgroup");
    // Lines read "number:controllers:path"; the unified hierarchy has number 0 and names no controllers.
    for (std::string line; std::getline(groups, line);) {
        const std::size_t first = line.find(':'), second = line.find(':', first + 1);
        if (second == std::string::npos) continue;
        const std::string controllers = line.substr(first + 1, second - first - 1), path = line.substr(second + 1);
        if (controllers.empty()) least = std::min(least, LimitAlong("/sys/fs/cgroup", path, "memory.max"));
        if (("," + controllers + ",").find(",memory,") != std::string::npos)
            least = std::min(least, LimitAlong("/sys/fs/cgroup/memory", path, "memory.limit_in_bytes"));
    }
    return least;
}

}  // namespace

std::uint64_t ProcessMemory::Physical() const {
    const long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGESIZE);
    const std::uint64_t machine =
        pages > 0 && size > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(size) : UINT64_MAX;
    return std::min(machine, ControlGroupLimit());
}

// Resident memory beside what is the process's own, in memory or swapped out.
bool ProcessMemory::ReadUsed(std::uint64_t& used) const {
    std::ifstream status("/proc/self/status");
    std::uint64_t sum = 0;
    int found = 0;
    for (std::string line; std::getline(status, line);) {
        std::istringstream words(line);
        std::string name;
        std::uint64_t kilobytes = 0;
        words >> name;
        if ((name != "VmRSS:" && name != "RssAnon:" && name != "VmSwap:") || !(words >> kilobytes)) continue;
        sum += kilobytes * 1024;
        ++found;
    }
    if (found < 2) return false;
    used = sum;
    return true;
}

void ReturnFreedMemory() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

}  // namespace tessera
