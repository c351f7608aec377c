#pragma once
// The interpreter's lock: given back for what takes time, waits that a signal and the end of the program end.

#include "python/threads/Ending.h"

#include <pybind11/pybind11.h>

#include <algorithm>
#include <atomic>
#include <chrono>

namespace tavixpython {

/// Counts those who are at work without the interpreter's lock or will ask for it.
class InLibrary {
public:
    InLibrary() { ++s_Living; }
    ~InLibrary() { --s_Living; }
    InLibrary(const InLibrary&) = delete;
    InLibrary& operator=(const InLibrary&) = delete;
    /// In all threads.
    static unsigned int Living() { return s_Living; }

private:
    static inline std::atomic<unsigned int> s_Living{0};
};

/// Where a thread of the library calls Python: counted from before it looks whether it may.
class InCallback {
public:
    InCallback() { ++s_Living; }
    ~InCallback() { --s_Living; }
    InCallback(const InCallback&) = delete;
    InCallback& operator=(const InCallback&) = delete;
    /// In all threads.
    static unsigned int Living() { return s_Living; }

private:
    const InLibrary m_Counted;
    static inline std::atomic<unsigned int> s_Living{0};
};

/// Runs without the interpreter's lock for as long as it lives. A thread that comes back to an interpreter which is
/// going down sleeps until the process ends, instead of being torn out of C++ frames. StateError in a forked process,
/// as all that is called so needs what the parent has.
class WithoutLock {
public:
    WithoutLock();
    ~WithoutLock();
    WithoutLock(const WithoutLock&) = delete;
    WithoutLock& operator=(const WithoutLock&) = delete;

private:
    const InLibrary m_Counted;
    const bool m_GoesDown; // the interpreter does, and this is the thread that takes it down
    PyThreadState* const m_State;
};

/// What a call returns that was made without the lock: whoever holds one of the library's own may be waiting for it.
template<class Call>
auto Unlocked(Call call) {
    const WithoutLock unlocked;
    return call();
}

/// The longest time for which nobody looks for Ctrl-C.
inline constexpr std::chrono::milliseconds kStep{100};

/// Calls `step` without the lock, with a time of at most kStep each, until it returns true (then true) or the time is
/// over (false). Between the calls signals are handled, so that Ctrl-C leaves the wait by its exception, and so does
/// the end of the program, which a wait that is younger than `atEnd` outlasts. Negative: as long as it takes.
template<class Step>
bool WaitInSteps(std::chrono::milliseconds time, Step step, std::chrono::milliseconds atEnd = {}) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    std::chrono::milliseconds slice = time.count() >= 0 ? std::min(time, kStep) : kStep;
    if (atEnd.count() == 0) LeaveAtEnd();
    while (!Unlocked([&] { return step(slice); })) {
        if (PyErr_CheckSignals() != 0) throw pybind11::error_already_set();
        if (Clock::now() - start >= atEnd) LeaveAtEnd();
        if (time.count() < 0) continue;
        const auto gone = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        if (gone >= time) return false;
        slice = std::min(time - gone, kStep);
    }
    return true;
}

/// ValueError for what is no time.
std::chrono::nanoseconds ToNanoseconds(double seconds);
/// Seconds of Python as milliseconds; None is `none`. ValueError for what is no time.
std::chrono::milliseconds ToMilliseconds(const pybind11::object& seconds, std::chrono::milliseconds none);

} // namespace tavixpython
