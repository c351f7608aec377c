#include "python/Lock.h"

#include "python/Fork.h"

#include <tavix/camera/Error.h>

#include <algorithm>
#include <cmath>
#include <unistd.h>

namespace tavixpython {
namespace {

constexpr std::chrono::milliseconds kStep{100};
constexpr double kLongest = 1e9; // seconds

PyThreadState* GiveUp() {
    if (IsLeftToParent())
        throw Tavix::StateError("this process was forked off one that uses tavix; open cameras in one of them only");
    return PyEval_SaveThread();
}

} // namespace

WithoutLock::WithoutLock() : m_GoesDown(_Py_IsFinalizing() != 0), m_State(GiveUp()) {}

WithoutLock::~WithoutLock() {
    while (!m_GoesDown && _Py_IsFinalizing())
        pause();
    PyEval_RestoreThread(m_State);
}

bool WaitInSteps(std::chrono::milliseconds time, const std::function<bool(std::chrono::milliseconds)>& step) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    for (;;) {
        std::chrono::milliseconds slice = kStep;
        const auto gone = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        if (time.count() >= 0) slice = std::clamp(time - gone, std::chrono::milliseconds(0), kStep);
        bool isDone = false;
        {
            const WithoutLock unlocked;
            isDone = step(slice);
        }
        if (isDone) return true;
        if (PyErr_CheckSignals() != 0) throw pybind11::error_already_set();
        if (time.count() >= 0 && Clock::now() - start >= time) return false;
    }
}

std::chrono::nanoseconds ToNanoseconds(double seconds) {
    if (!(seconds >= 0 && seconds <= kLongest))
        throw Tavix::ValueError("a time is a number of seconds from 0 to 1e9, or None");
    return std::chrono::nanoseconds(static_cast<std::int64_t>(std::ceil(seconds * 1e9)));
}

std::chrono::milliseconds ToMilliseconds(const pybind11::object& seconds, std::chrono::milliseconds none) {
    if (seconds.is_none()) return none;
    return std::chrono::ceil<std::chrono::milliseconds>(ToNanoseconds(seconds.cast<double>()));
}

} // namespace tavixpython
