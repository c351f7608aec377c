#include "python/classes/Door.h"

#include <tavix/camera/Error.h>

#include <thread>

namespace py = pybind11;

namespace tavixpython {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kReadiness{5000};

// True when the trigger was given. Not ready in this time is the one failure that another time may mend: the command
// itself gets longer to be done.
bool TryTrigger(milliseconds time, const std::function<void(milliseconds)>& trigger) {
    const auto start = std::chrono::steady_clock::now();
    try {
        trigger(time);
        return true;
    } catch (const Tavix::Timeout&) {
        if (std::chrono::steady_clock::now() - start >= Tavix::kCommandTimeout) throw;
    }
    std::this_thread::sleep_until(start + time); // it is refused at once where the camera's rate tells so
    return false;
}

} // namespace

Door::~Door() {
    if (Unlocked([&] { return camera.IsOpen(); })) {
        const py::error_scope kept;
        if (PyErr_ResourceWarning(nullptr, 1, "a camera of tavix was not closed") != 0) PyErr_WriteUnraisable(nullptr);
    }
    const WithoutLock unlocked;
    camera.Close();
}

void TriggerInSteps(const py::object& timeout, const std::function<void(milliseconds)>& trigger) {
    const milliseconds longest = ToMilliseconds(timeout, kReadiness);
    const bool isDone = WaitInSteps(longest, [&](milliseconds time) { return TryTrigger(time, trigger); });
    if (isDone) return;
    throw Tavix::Timeout("the camera was not ready for a trigger within " + std::to_string(longest.count()) + " ms",
                         "TriggerSoftware");
}

} // namespace tavixpython
