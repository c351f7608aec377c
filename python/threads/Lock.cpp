#include "python/threads/Lock.h"

#include "python/threads/Fork.h"

#include <tavix/camera/Error.h>

#include <cmath>
#include <string>
#include <unistd.h>

namespace tavixpython {
namespace {

constexpr double kLongest = 1e9; // seconds

PyThreadState* GiveUp() {
    if (IsLeftToParent())
        throw Tavix::StateError("this process was forked off one that uses tavix; open cameras in one of them only");
    return PyEval_SaveThread();
}

} // namespace

WithoutLock::WithoutLock() : m_GoesDown(_Py_IsFinalizing() != 0), m_State(GiveUp()) {}

WithoutLock::~WithoutLock() {
    while (!m_GoesDown && _Py_IsFinalizing())
        pause();
    PyEval_RestoreThread(m_State);
}

std::chrono::nanoseconds ToNanoseconds(double seconds) {
    if (!(seconds >= 0 && seconds <= kLongest))
        throw Tavix::ValueError("a time is a number of seconds from 0 to 1e9, or None");
    return std::chrono::nanoseconds(static_cast<std::int64_t>(std::ceil(seconds * 1e9)));
}

std::chrono::milliseconds ToMilliseconds(const pybind11::object& seconds, std::chrono::milliseconds none) {
    if (seconds.is_none()) return none;
    try {
        return std::chrono::ceil<std::chrono::milliseconds>(ToNanoseconds(seconds.cast<double>()));
    } catch (const pybind11::cast_error&) {
        throw pybind11::type_error("a time is a number of seconds, or None, and not " +
                                   std::string(pybind11::repr(seconds)));
    }
}

} // namespace tavixpython
