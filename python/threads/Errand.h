#pragma once
// Work that may take long, and that Ctrl-C lets somebody leave.

#include "python/threads/Lock.h"

#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace tavixpython {

/// Whether this is the thread that handles signals.
bool HandlesSignals();
/// Runs on a thread of its own, which knows nothing of the interpreter, and may be left.
std::thread SendOut(std::function<void()> work);
/// Returns when nothing that was left goes on any more, and when daemons have come back from the library or stay in it
/// for long; a signal ends the wait by its exception.
void AwaitErrands();
/// Once waits have ended: returns when no callback is at work any more, and then none will be. False when one stays at
/// it for long; then nothing of the library is touched any more, where it would be waited for.
bool AwaitCallbacks();

/// What `work` returns or throws, which runs without the interpreter's lock. A signal ends the wait for it: the work,
/// which cannot be broken off where a camera is asked, goes on to its end, and what it makes is given back there. So
/// it holds all that it needs.
template<class Work>
auto Errand(Work work) -> decltype(work()) {
    using Result = decltype(work());
    if (EndsSilently()) LeaveAtEnd();
    if (!HandlesSignals()) return Unlocked(std::move(work));
    auto task = std::make_shared<std::packaged_task<Result()>>(std::move(work));
    std::future<Result> result = task->get_future();
    std::thread thread = Unlocked([&] { return SendOut([task = std::move(task)] { (*task)(); }); });
    try {
        WaitInSteps(std::chrono::milliseconds(-1),
                    [&](std::chrono::milliseconds time) { return result.wait_for(time) == std::future_status::ready; });
    } catch (...) {
        thread.detach();
        throw;
    }
    Unlocked([&] { thread.join(); });
    return result.get();
}

} // namespace tavixpython
