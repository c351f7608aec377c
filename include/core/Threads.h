#pragma once
// Threads of the libraries: a program's signals are for the program's own threads.

#include "core/Export.h"

#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>
#include <signal.h>

namespace Tavix {

/// No thread could be started. Says what to do.
class NoThread final : public std::system_error {
public:
    static constexpr const char* kText =
        "No thread can be started: this user or container has as many as it may have, or memory is short. End other "
        "programs, or raise the limit (ulimit -u).";

    explicit NoThread(const std::error_code& code) : std::system_error(code) {}
    const char* what() const noexcept override { return kText; }
};

/// A thread as std::thread makes it. Throws NoThread or std::bad_alloc.
template<class Run>
std::thread NewThread(Run run) {
    try {
        return std::thread(std::move(run));
    } catch (const std::system_error& error) {
        throw NoThread(error.code());
    }
}

/// Until the end of the scope the calling thread gets no signals but those that its own faults raise. What is started
/// meanwhile inherits that. Bound to a thread.
class SignalsBlocked {
public:
    SignalsBlocked() : m_Before() {
        sigset_t refused;
        sigfillset(&refused);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
            sigdelset(&refused, fault);
        pthread_sigmask(SIG_BLOCK, &refused, &m_Before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_Before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

    const sigset_t& Before() const { return m_Before; }

private:
    sigset_t m_Before;
};

/// Around calls of the application from threads that StartThread has started: it gets the signals that the starting
/// thread got, and so do the programs that it starts. Does nothing on other threads. Bound to a thread.
class TAVIX_CORE_API SignalsAsStarted {
public:
    SignalsAsStarted();
    ~SignalsAsStarted();
    SignalsAsStarted(const SignalsAsStarted&) = delete;
    SignalsAsStarted& operator=(const SignalsAsStarted&) = delete;

private:
    sigset_t m_Before;
    bool m_IsOurs;
};

/// For StartThread: what SignalsAsStarted gives back on the calling thread.
TAVIX_CORE_API void NoteSignals(const sigset_t& signals) noexcept;

/// A thread that takes no signals from the program. Throws as NewThread does.
template<class Run>
std::thread StartThread(Run run) {
    const SignalsBlocked guard;
    return NewThread([run = std::move(run), signals = guard.Before()]() mutable {
        NoteSignals(signals);
        run();
    });
}

/// Gives a thread a real-time priority by SCHED_FIFO or SCHED_RR; 0 gives it ordinary scheduling, whatever the policy.
/// Returns 0, or the number of the error that left the thread as it was: most users may not have such a priority.
[[nodiscard]] TAVIX_CORE_API int SetThreadPriority(pthread_t thread, int policy, int priority) noexcept;

} // namespace Tavix
