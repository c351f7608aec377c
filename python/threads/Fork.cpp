#include "python/threads/Fork.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace tavixpython {
namespace {

std::atomic<bool> g_IsLeft{false}; // set with the interpreter's lock held

// Instead of the ends of libraries that are registered before.
void Leave(int status, void*) {
    std::fflush(nullptr);
    _exit(status);
}

} // namespace

void LeaveToParent() {
    if (g_IsLeft) return;
    g_IsLeft = true;
    LeaveLibraries();
}

void LeaveLibraries() {
    on_exit(&Leave, nullptr);
}

bool IsLeftToParent() {
    return g_IsLeft;
}

} // namespace tavixpython
