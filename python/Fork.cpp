#include "python/Fork.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace tavixpython {
namespace {

bool g_IsLeft = false; // set in a process of one thread

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
