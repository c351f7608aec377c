#include "Interrupt.h"

#include "Status.h"

#include <csignal>
#include <cstdio>

namespace tool {
namespace {

volatile std::sig_atomic_t g_Interrupted = 0;

void OnInterrupt(int signal) {
    g_Interrupted = 1;
    std::signal(signal, SIG_DFL);
}

} // namespace

void CatchInterrupts() {
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
}

bool IsInterrupted() {
    return g_Interrupted != 0;
}

int InterruptedStatus() {
    std::fflush(stdout);
    std::fprintf(stderr, "tavix: interrupted\n");
    return kInterrupted;
}

} // namespace tool
