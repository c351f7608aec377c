#pragma once
// Python's functions called by threads of the library.

#include "python/threads/Lock.h"

#include <tavix/camera/Subscription.h>

#include <pybind11/pybind11.h>

#include <functional>
#include <memory>
#include <utility>

namespace tavixpython {

/// Shared with threads of the library; the last share takes the interpreter's lock to let go.
template<class Object>
std::shared_ptr<Object> Keep(Object object) {
    return {new Object(std::move(object)), [](Object* kept) {
                const InLibrary counted;
                if (MayNotCallPython()) return; // the interpreter frees it with all the rest
                const pybind11::gil_scoped_acquire locked;
                delete kept;
            }};
}

/// Takes the lock for the call and no longer. What the function raises is told by sys.unraisablehook and ends nothing.
template<class... Args>
std::function<void(Args...)> CallbackOf(pybind11::function callback) {
    return [kept = Keep(std::move(callback))](Args... args) {
        const InCallback counted;
        if (MayNotCallPython()) return;
        const pybind11::gil_scoped_acquire locked;
        try {
            (*kept)(args...);
        } catch (pybind11::error_already_set& e) {
            if (IsEnding() && e.matches(PyExc_SystemExit)) return;
            e.discard_as_unraisable("a callback of tavix");
        }
    };
}

/// The class Subscription of the package.
void BindSubscription(pybind11::module_& module);

} // namespace tavixpython
