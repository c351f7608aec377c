#include "Interrupt.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tool {
namespace {

constexpr int kEndTimeoutMs = 700; // for the end in good order
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

/// The first signal that came; 0 for none. The system gives it to any thread.
std::atomic<int> g_Signal{0};
static_assert(std::atomic<int>::is_always_lock_free, "only then may a signal handler touch it");

// Constant while handlers are in place.
int g_Came = -1;  // rings when the signal has come
int g_Ended = -1; // rings when the command has ended

void Ring(int bell) {
    const std::uint64_t one = 1;
    (void)!write(bell, &one, sizeof one);
}

/// False when it does not ring in time; a negative time is none.
bool Await(int bell, int timeMs) {
    pollfd waited{bell, POLLIN, 0};
    int count = 0;
    do {
        count = poll(&waited, 1, timeMs);
    } while (count < 0 && errno == EINTR);
    return count == 1;
}

void OnSignal(int signal) {
    const int error = errno;
    int none = 0;
    g_Signal.compare_exchange_strong(none, signal);
    if (signal != SIGPIPE) std::signal(signal, SIG_DFL); // that one comes with each line that nobody reads
    Ring(g_Came);
    errno = error; // that of whatever was interrupted
}

/// Does without the standard library's streams: what holds the command up may hold their locks.
void EndWhatIsStuck() {
    if (!Await(g_Came, -1) || g_Signal == 0) return; // the command has ended by itself
    if (Await(g_Ended, kEndTimeoutMs)) return;
    if (HasReader()) (void)!write(STDERR_FILENO, kInterruptedLine, sizeof kInterruptedLine - 1);
    _exit(InterruptedStatus());
}

/// Of this thread and those that it starts.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_Before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_Before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_Before;
};

} // namespace

InterruptWatch::InterruptWatch() {
    g_Came = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    g_Ended = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (g_Came < 0 || g_Ended < 0) return;
    try {
        const SignalsBlocked blocked;
        m_Thread = std::thread(EndWhatIsStuck);
    } catch (const std::system_error&) {
        return;
    }
    for (const int signal : kSignals) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) std::signal(signal, OnSignal);
    }
}

InterruptWatch::~InterruptWatch() {
    if (!m_Thread.joinable()) return;
    Ring(g_Ended);
    Ring(g_Came);
    m_Thread.join();
}

bool IsInterrupted() {
    return g_Signal != 0;
}

int InterruptedStatus() {
    return 128 + g_Signal;
}

int InterruptDescriptor() {
    return g_Came;
}

bool HasReader() {
    return g_Signal != SIGPIPE;
}

void EndWithoutReader() {
    pollfd output{STDOUT_FILENO, 0, 0};
    if (poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0) std::raise(SIGPIPE);
}

} // namespace tool
