#include "Error.h"
#include "Interrupt.h"
#include "cameras/CameraChoice.h"
#include "cameras/CameraWatch.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"

#include "core/WaitObject.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

std::string TimeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

void Print(const CameraChange& change, bool asJson) {
    const std::string time = TimeOfDay();
    const std::string &name = change.info.friendlyName, &path = change.info.path;
    if (asJson) {
        PrintJsonLine({{"time", time},
                       {"change", change.isArrival ? "arrived" : "left"},
                       {"camera", name},
                       {"serial", change.info.serial},
                       {"path", path}});
        return;
    }
    PrintLineNow(time + (change.isArrival ? "  arrived  " : "  left     ") + name + "  " + path);
}

/// Waits for the time, or until the interrupt.
void Pause(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds kTick{50};
    for (const auto end = Clock::now() + time; !IsInterrupted() && Clock::now() < end;)
        Tavix::WaitObject::Sleep(static_cast<unsigned int>(std::min(time, kTick).count()));
}

} // namespace

int Watch(const WatchOptions& options) {
    CameraWatch watch;
    std::uint64_t count = 0;
    auto quietSince = Clock::now();
    while (!IsInterrupted()) {
        for (const CameraChange& change : watch.Update(FindCameras())) {
            Print(change, options.json);
            quietSince = Clock::now();
            if (++count == options.count) return kDone;
        }
        if (options.timeoutMs > 0 && Clock::now() - quietSince > std::chrono::milliseconds(options.timeoutMs)) {
            throw Error("no camera came or went for " + std::to_string(options.timeoutMs) + " ms");
        }
        EndWithoutReader();
        Pause(std::chrono::milliseconds(options.intervalMs));
    }
    return kDone;
}

} // namespace tool
