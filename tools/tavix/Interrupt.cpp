#include "Interrupt.h"

#include "Status.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>

namespace tool {
namespace {

/// The system gives the signal to any thread.
std::atomic<bool> g_Interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "only then may a signal handler touch it");

void OnInterrupt(int signal) {
    const int error = errno;
    g_Interrupted = true;
    std::signal(signal, SIG_DFL);
    errno = error; // that of whatever was interrupted
}

} // namespace

void CatchInterrupts() {
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
}

bool IsInterrupted() {
    return g_Interrupted;
}

int InterruptedStatus() {
    std::fflush(stdout);
    std::fprintf(stderr, "tavix: interrupted\n");
    return kInterrupted;
}

} // namespace tool
