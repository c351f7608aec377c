#include "ThreadTimes.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <ctime>
#include <sys/resource.h>

/// Of the emulated bus, linked or preloaded; null without one.
extern "C" [[gnu::weak]] std::uint64_t usbfs_ioctl_nanoseconds();

namespace bench {
namespace {

std::uint64_t Switches(const std::filesystem::path& task) {
    std::ifstream status(task / "status");
    std::uint64_t sum = 0;
    for (std::string line; std::getline(status, line);) {
        const auto at = line.find("ctxt_switches:");
        if (at != std::string::npos) sum += std::stoull(line.substr(at + 14));
    }
    return sum;
}

double Seconds(const std::filesystem::path& task) {
    std::ifstream file(task / "schedstat");
    std::uint64_t nanoseconds = 0;
    if (file >> nanoseconds) return static_cast<double>(nanoseconds) * 1e-9;
    return 0;
}

// Reads and writes; neither polls nor waits nor ioctls.
std::uint64_t Transfers(const std::filesystem::path& task) {
    std::ifstream io(task / "io");
    std::uint64_t sum = 0;
    for (std::string line; std::getline(io, line);)
        if (line.rfind("syscr:", 0) == 0 || line.rfind("syscw:", 0) == 0) sum += std::stoull(line.substr(6));
    return sum;
}

std::string Name(const std::filesystem::path& task) {
    std::ifstream file(task / "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

double IoctlSeconds() {
    return usbfs_ioctl_nanoseconds != nullptr ? static_cast<double>(usbfs_ioctl_nanoseconds()) * 1e-9 : 0;
}

/// Processor time and switches of all threads, also of those that have ended.
double ProcessSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::uint64_t ProcessSwitches() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_nvcsw + usage.ru_nivcsw);
}

} // namespace

Cost MeasureThreads() {
    Cost cost;
    cost.ioctlSeconds = IoctlSeconds();
    cost.hostSeconds = ProcessSeconds();
    cost.hostSwitches = ProcessSwitches();
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        const std::string name = Name(task.path());
        if (name.rfind("vcam", 0) == 0 || name.rfind("usbfs", 0) == 0) {
            cost.cameraSeconds += Seconds(task.path());
            cost.hostSwitches -= Switches(task.path());
            continue;
        }
        cost.hostTransfers += Transfers(task.path());
    }
    cost.ownSeconds = ProcessSeconds() - cost.hostSeconds;
    cost.hostSeconds -= cost.cameraSeconds;
    return cost;
}

Cost operator-(const Cost& after, const Cost& before) {
    Cost between;
    between.cameraSeconds = after.cameraSeconds - before.cameraSeconds;
    between.hostSeconds = after.hostSeconds - before.hostSeconds - before.ownSeconds;
    between.ioctlSeconds = after.ioctlSeconds - before.ioctlSeconds;
    between.hostSwitches = after.hostSwitches - before.hostSwitches;
    between.hostTransfers = after.hostTransfers - before.hostTransfers;
    return between;
}

void Print(const Cost& cost, unsigned int frames, std::chrono::steady_clock::duration time, unsigned int lost) {
    std::printf("%8.1f %9.1f %9.2f %9.1f %8.1f %6u\n", (cost.hostSeconds - cost.ioctlSeconds) / frames * 1e6,
                cost.ioctlSeconds / frames * 1e6, static_cast<double>(cost.hostSwitches) / frames,
                cost.cameraSeconds / frames * 1e6, frames / std::chrono::duration<double>(time).count(), lost);
}

} // namespace bench
