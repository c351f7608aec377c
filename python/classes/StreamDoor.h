#pragma once
// The classes Stream and Counts of the package, and what streams of groups have in common with them.

#include "python/Direct.h"
#include "python/stream/Feed.h"
#include "python/stream/Running.h"
#include "python/threads/Fork.h"
#include "python/values/Options.h"

#include <tavix/camera/Camera.h>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <string_view>

namespace tavixpython {

/// Starts the camera, with the options by name.
Started<Tavix::ImageStream> Start(const std::shared_ptr<Tavix::Camera>& camera, const Asked& asked);
/// One image, triggered by software where the camera waits for that; Timeout when none came.
Tavix::Image GrabOne(const std::shared_ptr<Tavix::Camera>& camera, const pybind11::object& timeout);

/// Images and sets as the interpreter has them.
pybind11::object Present(Tavix::Image image);
pybind11::object Present(Tavix::ImageSet set);

/// The next item; null at the end.
template<class Source>
pybind11::object Advance(Running<Source>& stream) {
    auto item = stream.Next();
    return item ? Present(std::move(*item)) : pybind11::object();
}

template<class Source>
pybind11::class_<Running<Source>, Owned<Running<Source>>> BindRunning(pybind11::module_& module, const char* name,
                                                                      const char* doc) {
    namespace py = pybind11;
    using Stream = Running<Source>;
    py::class_<Stream, Owned<Stream>> type(module, name, doc);
    type.def("__iter__", [](const py::object& self) { return self; })
        .def("__next__",
             [](Stream& stream) {
                 py::object item = Advance(stream);
                 if (!item) throw py::stop_iteration();
                 return item;
             })
        .def("__enter__",
             [](const py::object& self) {
                 self.cast<const Stream&>().RequireOpen();
                 return self;
             })
        .def("__exit__", [](Stream& stream, const py::args&) { stream.Close(); })
        .def("cancel", &Stream::Cancel, "Ends the stream from any thread; a wait that is going on ends.")
        .def("close", &Stream::Close, "Stops the camera. Closing twice is harmless; images live on.")
        .def(
            "wait",
            [](Stream& stream, const py::object& timeout) {
                auto item = stream.WaitFor(ToMilliseconds(timeout, std::chrono::milliseconds(-1)));
                return item ? Present(std::move(*item)) : py::object(py::none());
            },
            py::arg("timeout") = py::none(),
            "The next one; None when none comes within so many seconds, or the stream has ended.")
        .def_property_readonly(
            "has_ended", [](const Stream& stream) { return stream.Standing() != std::string_view("running"); },
            "Whether no further one will come.")
        .def_property_readonly("counts", &Stream::Counts, "Counts of delivered, lost and damaged images.");
    type.def("__repr__", [full = "<tavix." + std::string(name) + ", "](const Stream& stream) {
        return full + stream.Standing() + ">";
    });
    DefineStep<Stream, &Advance<Source>>(type);
    return type;
}

/// For the package's own AsyncStream.
template<class Source>
void BindFeed(pybind11::module_& module, const char* name) {
    namespace py = pybind11;
    using Fed = Feed<Source>;
    py::class_<Fed, Owned<Fed>>(module, name)
        .def("fileno", &Fed::Descriptor)
        .def("take",
             [](Fed& feed) {
                 auto item = feed.Take();
                 return item ? Present(std::move(*item)) : py::object(py::none());
             })
        .def("close", &Fed::Close)
        .def_property_readonly("has_ended", &Fed::HasEnded)
        .def_property_readonly("silence",
                               [](const Fed& feed) {
                                   const double seconds = static_cast<double>(feed.Silence().count()) / 1000;
                                   return seconds < 0 ? py::object(py::none()) : py::object(py::float_(seconds));
                               })
        .def_property_readonly("standing", &Fed::Standing)
        .def_property_readonly("first_defect", &Fed::FirstDefect)
        .def_property_readonly("why_silent", &Fed::Why)
        .def_property_readonly("counts", &Fed::Counts);
}

void BindStream(pybind11::module_& module);

} // namespace tavixpython
