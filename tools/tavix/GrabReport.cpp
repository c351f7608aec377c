#include "GrabReport.h"

#include <cstdio>

#include <sys/resource.h>

namespace tool {
namespace {

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

/// Frames a second between the first and the last frame.
double Rate(const GrabFigures& figures) {
    return figures.good > 1 && figures.seconds > 0 ? static_cast<double>(figures.good - 1) / figures.seconds : 0;
}

double MegabytesPerSecond(const GrabFigures& figures) {
    return figures.good > 1 ? Rate(figures) * static_cast<double>(figures.bytes / figures.good) * 1e-6 : 0;
}

std::uint64_t AllFrames(const Sessions& sessions) {
    std::uint64_t frames = 0;
    for (const auto& session : sessions)
        frames += session->Figures().good;
    return frames;
}

} // namespace

ProcessCost MeasureProcess() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return {Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
            static_cast<std::uint64_t>(usage.ru_nvcsw + usage.ru_nivcsw)};
}

nlohmann::json ReportJson(const Sessions& sessions, const ProcessCost& cost) {
    nlohmann::json cameras = nlohmann::json::array();
    for (const auto& session : sessions) {
        const GrabFigures& f = session->Figures();
        cameras.push_back({{"camera", session->Name()},
                           {"frames", f.good.load()},
                           {"failed", f.failed.load()},
                           {"missed", f.missed.load()},
                           {"bytes", f.bytes.load()},
                           {"seconds", f.seconds},
                           {"framesPerSecond", Rate(f)},
                           {"megabytesPerSecond", MegabytesPerSecond(f)},
                           {"checksumRight", f.checked.load()},
                           {"checksumWrong", f.checkFailed.load()},
                           {"firstError", f.firstError}});
    }
    return {{"cameras", cameras}, {"cpuSeconds", cost.cpuSeconds}, {"contextSwitches", cost.contextSwitches}};
}

void PrintReport(const Sessions& sessions, const ProcessCost& cost) {
    std::printf("%-36s %8s %8s %8s %10s %10s\n", "camera", "frames", "failed", "missed", "frames/s", "MB/s");
    for (const auto& session : sessions) {
        const GrabFigures& f = session->Figures();
        std::printf("%-36s %8llu %8llu %8llu %10.1f %10.1f\n", session->Name().c_str(),
                    static_cast<unsigned long long>(f.good), static_cast<unsigned long long>(f.failed),
                    static_cast<unsigned long long>(f.missed), Rate(f), MegabytesPerSecond(f));
        if (f.checked + f.checkFailed > 0) {
            std::printf("  chunk data: checksum right in %llu frames, wrong or missing in %llu\n",
                        static_cast<unsigned long long>(f.checked), static_cast<unsigned long long>(f.checkFailed));
        }
        if (!f.firstError.empty()) std::printf("  first failure: %s\n", f.firstError.c_str());
    }
    const std::uint64_t frames = AllFrames(sessions);
    std::printf("processor time %.2f s, %.3f ms and %.1f context switches a frame (virtual cameras included)\n",
                cost.cpuSeconds, frames ? 1e3 * cost.cpuSeconds / static_cast<double>(frames) : 0,
                frames ? static_cast<double>(cost.contextSwitches) / static_cast<double>(frames) : 0);
}

} // namespace tool
