#include "python/threads/Errand.h"

#include "core/Mutex.h"
#include "python/threads/Fork.h"

#include <condition_variable>

#include <unistd.h>

namespace tavixpython {
namespace {

constexpr std::chrono::milliseconds kPatience{1000};

/// Those that go on. Never destroyed, since a thread may outlive the end of the program.
struct Count {
    Tavix::Mutex mutex;
    std::condition_variable changed;
    unsigned int out TAVIX_GUARDED_BY(mutex) = 0;
};

Count& TheCount() {
    static Count& count = *new Count;
    return count;
}

void Change(int by) {
    Count& count = TheCount();
    const Tavix::MutexLock lock(count.mutex);
    count.out += static_cast<unsigned int>(by);
    count.changed.notify_all();
}

} // namespace

bool AwaitCallbacks() {
    if (IsLeftToParent()) return false;
    try {
        const bool areDone = WaitInSteps(kPatienceAtEnd, [](std::chrono::milliseconds) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return InCallback::Living() == 0;
        });
        if (!areDone) LeaveToParent();
        return areDone;
    } catch (const pybind11::error_already_set&) { // a signal
        LeaveToParent();
        throw;
    }
}

bool HandlesSignals() {
    return gettid() == getpid();
}

std::thread SendOut(std::function<void()> work) {
    Change(1);
    try {
        return std::thread([work = std::move(work)]() mutable {
            work();
            work = nullptr; // what it held goes before it counts as done
            Change(-1);
        });
    } catch (...) {
        Change(-1);
        throw;
    }
}

void AwaitErrands() {
    if (IsLeftToParent()) return;
    WaitInSteps(std::chrono::milliseconds(-1), [](std::chrono::milliseconds time) {
        Count& count = TheCount();
        Tavix::MutexLock lock(count.mutex);
        const auto end = std::chrono::steady_clock::now() + time;
        while (count.out != 0)
            if (!lock.WaitUntil(count.changed, end)) return count.out == 0;
        return true;
    });
    WaitInSteps(kPatience, [](std::chrono::milliseconds) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return InLibrary::Living() <= 1; // this one
    });
}

} // namespace tavixpython
