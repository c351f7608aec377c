#include "python/classes/InfoDoor.h"

#include "python/Errors.h"
#include "python/threads/Callbacks.h"
#include "python/threads/Errand.h"
#include "python/threads/Fork.h"
#include "python/values/Values.h"

#include <tavix/camera/CameraEvent.h>
#include <tavix/camera/CameraInfo.h>

#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <vector>

namespace py = pybind11;

namespace tavixpython {
namespace {

using Tavix::CameraInfo;

constexpr const char* kAccess[] = {"free", "in use", "not permitted", "not reachable", "unknown"};

/// Complains when it was forgotten. Ended without the interpreter's lock, since its callback may be waiting for that.
struct Watch {
    Watch(py::function callback, const std::vector<CameraInfo>& known) {
        auto call = CallbackOf<const CameraInfo&, bool>(std::move(callback));
        const WithoutLock unlocked;
        watch = std::make_unique<Tavix::CameraWatch>(std::move(call), known);
    }
    ~Watch() {
        if (watch) WarnOfForgotten("a watch of tavix was not kept: it ends with its last reference, or by end()");
        End();
    }
    void End() {
        if (IsLeftToParent()) return;
        std::unique_ptr<Tavix::CameraWatch> ended = std::move(watch); // by one of several threads
        const WithoutLock unlocked;
        ended.reset();
    }

    std::unique_ptr<Tavix::CameraWatch> watch;
};

void BindEvent(py::module_& module) {
    using Tavix::CameraEvent;
    py::class_<CameraEvent>(module, "Event", "A message of the camera, with the values that came with it.")
        .def_readonly("name", &CameraEvent::name, "As the camera's EventSelector calls it.")
        .def_property_readonly(
            "arrival_ns",
            [](const CameraEvent& event) { return std::chrono::nanoseconds(event.arrival.time_since_epoch()).count(); },
            "When the message came: nanoseconds of CLOCK_MONOTONIC, as time.monotonic_ns().")
        .def_property_readonly(
            "values",
            [](const CameraEvent& event) {
                py::dict values;
                for (const auto& [name, value] : event.values)
                    values[py::str(name)] = ToPython(value);
                return values;
            },
            "By the features' names: a dict.")
        .def_property_readonly(
            "message",
            [](const CameraEvent& event) {
                return py::bytes(reinterpret_cast<const char*>(event.message.data()), event.message.size());
            },
            "The bytes that it came in.")
        .def(
            "__getitem__", [](const CameraEvent& event, const std::string& name) { return ToPython(event[name]); },
            "By the feature's name, or what follows 'Event' and the event's name. NotFound for others.")
        .def("__repr__", [](const CameraEvent& event) { return "<tavix.Event " + event.name + ">"; });
}

void BindWatch(py::module_& module) {
    py::class_<Watch, Owned<Watch>>(module, "Watch",
                                    "Tells of cameras that come and go, for as long as it is kept and until end().")
        .def("end", &Watch::End, "The callback is not called any more once this returns. Ending twice is harmless.")
        .def("__repr__", [](const Watch& watch) { return watch.watch ? "<tavix.Watch>" : "<tavix.Watch, ended>"; });
    module.def("_watch", [](py::function callback, const std::vector<CameraInfo>& known) {
        return Owned<Watch>(new Watch(std::move(callback), known));
    });
}

} // namespace

void BindInfo(py::module_& module) {
    py::class_<CameraInfo>(module, "CameraInfo", "What is known of a camera without opening it.")
        .def_readonly("number", &CameraInfo::number, "Place in the list, from 0.")
        .def_readonly("vendor", &CameraInfo::vendor, "Who made it.")
        .def_readonly("model", &CameraInfo::model, "As its maker calls it.")
        .def_readonly("serial", &CameraInfo::serial, "Alone not always unique.")
        .def_readonly("guid", &CameraInfo::guid, "Twelve hexadecimal digits, unique in the world.")
        .def_readonly("user_name", &CameraInfo::userName, "As the user calls it.")
        .def_readonly("friendly_name", &CameraInfo::friendlyName, "For titles.")
        .def_readonly("path", &CameraInfo::path, "The full name, which tells the port.")
        .def_readonly("speed", &CameraInfo::speed, "Of the link: 'Super', 'High', ...; '' when unknown.")
        .def(
            "access",
            [](const CameraInfo& info) { return kAccess[static_cast<int>(Errand([info] { return info.Access(); }))]; },
            "Asks whether it could be opened now: 'free', 'in use', 'not permitted', 'not reachable' or 'unknown'.")
        .def(
            "is_called", &CameraInfo::IsCalled, py::arg("name"),
            "Whether it is called so: by number, serial number, GUID, user-defined name, friendly name, model or path.")
        .def(
            "__eq__",
            [](const CameraInfo& left, const CameraInfo& right) {
                return left.path == right.path && left.guid == right.guid && left.serial == right.serial &&
                       left.userName == right.userName;
            },
            py::is_operator())
        .def("__hash__", [](const CameraInfo& info) { return std::hash<std::string>()(info.path); })
        .def("__repr__", [](const CameraInfo& info) { return "<tavix.CameraInfo " + info.friendlyName + ">"; });
    BindEvent(module);
    BindWatch(module);
    module.def("_find", [](const std::string& name) { return Errand([name] { return Tavix::FindCamera(name); }); });
    module.def("_cameras", [] { return Errand([] { return Tavix::Cameras(); }); });
}

} // namespace tavixpython
