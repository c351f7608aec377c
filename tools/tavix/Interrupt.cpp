#include "Interrupt.h"

#include "Status.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <poll.h>
#include <unistd.h>

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

void EndWithoutReader() {
    pollfd output{STDOUT_FILENO, 0, 0};
    if (poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0) std::raise(SIGPIPE);
}

int InterruptedStatus() {
    std::fflush(stdout);
    std::fprintf(stderr, "tavix: interrupted\n");
    return kInterrupted;
}

} // namespace tool
