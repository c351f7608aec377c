#include "python/threads/Callbacks.h"

#include "python/threads/Fork.h"

namespace py = pybind11;

namespace tavixpython {

void BindSubscription(py::module_& module) {
    py::class_<Tavix::Subscription, Owned<Tavix::Subscription>>(
        module, "Subscription", "A registered callback; it lasts until end() is called.")
        .def("end", &Tavix::Subscription::End, py::call_guard<WithoutLock>(),
             "The callback is not called any more once this returns. Ending twice is harmless.")
        .def("__repr__", [](const Tavix::Subscription&) { return "<tavix.Subscription>"; });
}

} // namespace tavixpython
