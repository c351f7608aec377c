#pragma once
// Python's function that a stream calls for each image.

#include "core/Mutex.h"

#include <tavix/camera/Image.h>

#include <pybind11/pybind11.h>

#include <atomic>
#include <memory>
#include <thread>

namespace tavixpython {

/// Takes the interpreter's lock for each call and no longer. What the function raises ends the stream, and is kept for
/// who asks what has ended it. Thread-safe; made with the interpreter's lock held.
class ImageCall {
public:
    /// What the stream gets instead of an exception of the interpreter.
    struct Raised {};

    explicit ImageCall(pybind11::function function);
    ImageCall(const ImageCall&) = delete;
    ImageCall& operator=(const ImageCall&) = delete;

    /// For the stream. Throws Raised.
    void operator()(Tavix::Image image);
    /// Whether the function has called the caller.
    bool IsInside() const { return m_Caller.load() == std::this_thread::get_id(); }
    /// Nobody will ask: what is raised from now on is told by sys.unraisablehook.
    void Abandon() { m_IsAbandoned = true; }

    // With the interpreter's lock held, once the stream has got a Raised.
    [[noreturn]] void Raise();
    void Tell() noexcept;

private:
    void Catch(pybind11::error_already_set& raised);

    const std::shared_ptr<pybind11::function> m_Function;
    std::shared_ptr<pybind11::object> m_Raised; // guarded by the interpreter's lock
    std::atomic<bool> m_IsAbandoned{false};
    std::atomic<std::thread::id> m_Caller{}; // a thread compares it with itself
};

} // namespace tavixpython
