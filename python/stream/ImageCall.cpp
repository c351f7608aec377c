#include "python/stream/ImageCall.h"

#include "python/threads/Callbacks.h"
#include "python/threads/Ending.h"
#include "python/threads/Lock.h"

#include <utility>

namespace py = pybind11;

namespace tavixpython {
namespace {

/// Which thread is inside, while it is.
struct Calling {
    explicit Calling(std::atomic<std::thread::id>& place) : caller(place) { caller = std::this_thread::get_id(); }
    ~Calling() { caller = std::thread::id(); }
    Calling(const Calling&) = delete;
    Calling& operator=(const Calling&) = delete;

    std::atomic<std::thread::id>& caller;
};

} // namespace

ImageCall::ImageCall(py::function function) : m_Function(Keep(std::move(function))) {}

void ImageCall::operator()(Tavix::Image image) {
    const InCallback counted;
    if (MayNotCallPython()) return;
    const py::gil_scoped_acquire locked;
    const Calling calling(m_Caller);
    try {
        (*m_Function)(py::cast(std::move(image)));
    } catch (py::error_already_set& raised) {
        Catch(raised);
    }
}

void ImageCall::Catch(py::error_already_set& raised) {
    if (IsEnding() && raised.matches(PyExc_SystemExit)) return;
    if (m_IsAbandoned) return raised.discard_as_unraisable("a callback of tavix");
    if (raised.trace()) PyException_SetTraceback(raised.value().ptr(), raised.trace().ptr());
    m_Raised = Keep(raised.value());
    throw Raised();
}

void ImageCall::Raise() {
    const auto raised = std::exchange(m_Raised, nullptr);
    PyErr_SetObject(py::type::handle_of(*raised).ptr(), raised->ptr());
    throw py::error_already_set();
}

void ImageCall::Tell() noexcept {
    const auto raised = std::exchange(m_Raised, nullptr);
    PyErr_SetObject(py::type::handle_of(*raised).ptr(), raised->ptr());
    PyErr_WriteUnraisable(m_Function->ptr());
}

} // namespace tavixpython
