#include "ThreadTimes.h"

#include <filesystem>
#include <fstream>
#include <string>

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

std::string Name(const std::filesystem::path& task) {
    std::ifstream file(task / "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

} // namespace

Cost MeasureThreads() {
    Cost cost;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (Name(task.path()).rfind("vcam", 0) == 0) {
            cost.cameraSeconds += Seconds(task.path());
            continue;
        }
        cost.hostSeconds += Seconds(task.path());
        cost.hostSwitches += Switches(task.path());
    }
    return cost;
}

Cost operator-(const Cost& after, const Cost& before) {
    return {after.cameraSeconds - before.cameraSeconds, after.hostSeconds - before.hostSeconds,
            after.hostSwitches - before.hostSwitches};
}

} // namespace bench
