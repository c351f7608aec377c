#include "python/values/OwnMemory.h"

#include "python/threads/Callbacks.h"
#include "python/threads/Ending.h"
#include "python/threads/Lock.h"

#include <tavix/camera/Error.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace py = pybind11;

namespace tavixpython {
namespace {

/// Lets a buffer go that was taken of an object.
struct Release {
    std::shared_ptr<Py_buffer> view;

    void operator()(void*) {
        const InCallback counted;
        if (MayNotCallPython()) return; // the process ends with it
        const py::gil_scoped_acquire locked;
        PyBuffer_Release(view.get());
    }
};

std::string NameOfType(const py::object& given) {
    return py::str(py::type::of(given).attr("__name__"));
}

std::shared_ptr<void> MemoryOf(const py::object& given, std::size_t bytes) {
    if (given.is_none()) return nullptr;
    const auto view = std::make_shared<Py_buffer>();
    if (PyObject_GetBuffer(given.ptr(), view.get(), PyBUF_WRITABLE) != 0) throw py::error_already_set();
    std::shared_ptr<void> memory(view->buf, Release{view});
    const auto size = static_cast<std::size_t>(view->len);
    if (size < bytes)
        throw py::value_error("the allocator gave " + std::to_string(size) + " bytes where " + std::to_string(bytes) +
                              " are needed");
    if (reinterpret_cast<std::uintptr_t>(view->buf) % __STDCPP_DEFAULT_NEW_ALIGNMENT__ != 0)
        throw py::value_error("the allocator gave a " + NameOfType(given) +
                              " whose memory does not begin at a multiple of " +
                              std::to_string(__STDCPP_DEFAULT_NEW_ALIGNMENT__) + " bytes");
    return memory;
}

// One line, as it becomes part of one.
std::string TextOf(const py::error_already_set& raised) {
    return std::string(py::str(raised.type().attr("__name__"))) + ": " + std::string(py::str(raised.value()));
}

} // namespace

Tavix::BufferAllocator AllocatorOf(py::function function) {
    return [kept = Keep(std::move(function))](std::size_t bytes) -> std::shared_ptr<void> {
        const InCallback counted;
        if (MayNotCallPython()) return nullptr;
        const py::gil_scoped_acquire locked;
        try {
            return MemoryOf((*kept)(bytes), bytes);
        } catch (const py::error_already_set& raised) {
            throw Tavix::Error(TextOf(raised));
        }
    };
}

py::object OwnMemoryOf(const Tavix::Image& image) {
    const std::shared_ptr<void> memory = image.Memory();
    const auto* const release = std::get_deleter<Release>(memory);
    if (!release || !release->view->obj) return py::none();
    return py::reinterpret_borrow<py::object>(release->view->obj);
}

} // namespace tavixpython
