#include "python/threads/Ending.h"

#include "python/stream/Wake.h"
#include "python/threads/Fork.h"

#include <tavix/camera/Error.h>

#include <pybind11/pybind11.h>

#include <atomic>
#include <utility>

namespace py = pybind11;

namespace tavixpython {
namespace {

std::atomic<bool> g_IsEnding{false}, g_HasEnded{false};
std::atomic<unsigned long> g_MainThread{0};
thread_local bool t_IsTold = false;

/// Threads of the library count as such, too.
bool IsDaemon() {
    return py::module_::import("threading").attr("current_thread")().attr("daemon").cast<bool>();
}

[[noreturn]] void Leave(bool isSilent) {
    if (isSilent) {
        PyErr_SetNone(PyExc_SystemExit);
        throw py::error_already_set();
    }
    throw Tavix::StateError("the program is ending, as its main thread has ended, and waits for no camera any more; "
                            "join() this thread in the main thread to go on");
}

} // namespace

void EndWaits(Ended whose, unsigned long mainThread) {
    g_MainThread = mainThread;
    g_HasEnded = whose == Ended::AllThreads;
    g_IsEnding = true;
    if (!IsLeftToParent()) Wake::SetAll();
}

bool IsEnding() {
    return g_IsEnding.load(std::memory_order_relaxed);
}

bool MayNotCallPython() {
    return _Py_IsFinalizing() || (g_HasEnded && PyThread_get_thread_ident() != g_MainThread);
}

bool EndsSilently() {
    return g_HasEnded && PyThread_get_thread_ident() != g_MainThread && IsDaemon();
}

void LeaveAtEnd() {
    if (!IsEnding() || PyThread_get_thread_ident() == g_MainThread) return;
    const bool isDaemon = IsDaemon();
    if (isDaemon && !g_HasEnded) return;
    Leave(/*isSilent=*/isDaemon || std::exchange(t_IsTold, true));
}

void LeaveAtClosing() {
    if (g_HasEnded) LeaveAtEnd();
}

} // namespace tavixpython
