#include "python/CameraDoor.h"

#include "python/Callbacks.h"
#include "python/StreamDoor.h"
#include "python/Values.h"

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <filesystem>
#include <tuple>

namespace py = pybind11;

namespace tavixpython {
namespace {

using Tavix::CameraInfo;
using LockFree = py::call_guard<WithoutLock>;

/// A camera that complains when it was forgotten. Destroyed with the interpreter's lock held.
struct Door {
    explicit Door(Tavix::Camera opened) : camera(std::move(opened)) {}
    ~Door() {
        if (Unlocked([&] { return camera.IsOpen(); })) {
            const py::error_scope kept;
            if (PyErr_ResourceWarning(nullptr, 1, "a camera of tavix was not closed") != 0)
                PyErr_WriteUnraisable(nullptr);
        }
        const WithoutLock unlocked;
        camera.Close();
    }
    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;

    Tavix::Camera camera;
};

Tavix::Feature Find(Door& door, const std::string& name) {
    return Unlocked([&] { return door.camera[name]; });
}

py::object GetFeature(Door& door, const std::string& name) {
    return Read(Find(door, name));
}

void SetFeature(Door& door, const std::string& name, const py::object& value) {
    Write(Find(door, name), value);
}

// What Python asks for when there is no such attribute; it probes for many that no camera has.
void RequireFeature(Door& door, const std::string& name) {
    if (!Unlocked([&] { return door.camera.IsOpen() && door.camera.HasFeature(name); }))
        throw py::attribute_error("the camera has no feature and no method '" + name + "'");
}

py::list Directory(const py::object& self) {
    py::list names = py::module_::import("builtins").attr("object").attr("__dir__")(self);
    const Tavix::Camera& camera = self.cast<Door&>().camera;
    for (const Tavix::Feature& feature :
         Unlocked([&] { return camera.IsOpen() ? camera.Features() : std::vector<Tavix::Feature>(); }))
        names.append(feature.Name());
    return names;
}

Tavix::Subscription OnEvent(Door& door, const std::string& name, py::function callback) {
    auto call = CallbackOf<const Tavix::CameraEvent&>(std::move(callback));
    const WithoutLock unlocked;
    return door.camera.OnEvent(name, std::move(call));
}

Tavix::Subscription OnRemoval(Door& door, py::function callback) {
    auto call = CallbackOf<bool>(std::move(callback));
    const WithoutLock unlocked;
    return door.camera.OnRemoval(std::move(call));
}

void Trigger(Door& door, const py::object& timeout) {
    const auto time = ToMilliseconds(timeout, std::chrono::milliseconds(5000));
    const WithoutLock unlocked;
    door.camera.Trigger(time);
}

std::vector<std::tuple<std::string, std::string, std::string>> LoadSettings(Door& door,
                                                                            const std::filesystem::path& path) {
    std::vector<std::tuple<std::string, std::string, std::string>> refused;
    for (const Tavix::RefusedSetting& one : door.camera.Apply(Tavix::Settings::FromFile(path.string())))
        refused.emplace_back(one.name, one.value, one.reason);
    return refused;
}

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
        .def("__repr__", [](const CameraInfo& info) { return "<tavix.CameraInfo " + info.friendlyName + ">"; });
}

void BindEvent(py::module_& module) {
    using Tavix::CameraEvent;
    py::class_<CameraEvent>(module, "Event", "A message of the camera, with the values that came with it.")
        .def_readonly("name", &CameraEvent::name, "As the camera's EventSelector calls it.")
        .def_property_readonly(
            "values",
            [](const CameraEvent& event) {
                py::dict values;
                for (const auto& [name, value] : event.values)
                    values[py::str(name)] = ToPython(value);
                return values;
            },
            "By the features' names: a dict.")
        .def(
            "__getitem__", [](const CameraEvent& event, const std::string& name) { return ToPython(event[name]); },
            "By the feature's name, or what follows 'Event' and the event's name. NotFound for others.");
}

void BindFeatures(py::class_<Door>& camera) {
    camera.def("__getitem__", &GetFeature, "The value of a feature. NotFound, AccessError.")
        .def("__setitem__", &SetFeature, "Writes a feature. NotFound, AccessError, ValueError.")
        .def(
            "__contains__", [](Door& door, const std::string& name) { return door.camera.HasFeature(name); },
            LockFree())
        .def("__getattr__",
             [](Door& door, const std::string& name) {
                 RequireFeature(door, name);
                 return GetFeature(door, name);
             })
        .def("__setattr__",
             [](Door& door, const std::string& name, const py::object& value) {
                 RequireFeature(door, name);
                 SetFeature(door, name, value);
             })
        .def("__dir__", &Directory)
        .def("feature", &Find, py::arg("name"),
             "The feature itself, with limits, unit and entries. NotFound with the nearest names.")
        .def(
            "features", [](Door& door) { return door.camera.Features(); }, LockFree(),
            "All features that the camera implements, in the order of its description.")
        .def(
            "save_settings",
            [](Door& door, const std::filesystem::path& path) { door.camera.ReadSettings().Save(path.string()); },
            py::arg("path"), LockFree(), "Writes all settings to a file. Error when it cannot be written.")
        .def("load_settings", &LoadSettings, py::arg("path"), LockFree(),
             "Applies a file of settings; returns (name, value, reason) of each that was refused.");
}

void BindImages(py::class_<Door>& camera) {
    camera
        .def(
            "grab",
            [](Door& door, std::uint64_t count, const py::kwargs& options) {
                return Grab(door.camera, count, options);
            },
            py::arg("count") = 0, py::keep_alive<0, 1>(),
            "Starts the camera: an iterator over `count` images, or without end for 0. Options: buffers, keep_budget "
            "(bytes), newest_only, incomplete, timeout (seconds, 5; None for ever), reconnect (seconds; None for "
            "ever). "
            "Its steps raise Timeout or Removed. StateError when the camera streams already.")
        .def(
            "grab_one", [](Door& door, const py::object& timeout) { return GrabOne(door.camera, timeout); },
            py::arg("timeout") = 5.0,
            "One image within so many seconds, after a software trigger if the camera waits for one.")
        .def("trigger", &Trigger, py::arg("timeout") = py::none(),
             "Triggers by software as soon as the camera is ready; waits 5 s for that unless told otherwise.");
}

} // namespace

void BindCamera(py::module_& module) {
    BindInfo(module);
    BindEvent(module);
    py::class_<Door> camera(module, "Camera",
                            "An open camera and a context manager; features are its items and attributes.");
    BindFeatures(camera);
    BindImages(camera);
    camera.def("__enter__", [](const py::object& self) { return self; })
        .def("__exit__",
             [](Door& door, const py::args&) {
                 const WithoutLock unlocked;
                 door.camera.Close();
             })
        .def(
            "close", [](Door& door) { door.camera.Close(); }, LockFree(),
            "Ends streams and callbacks and gives the camera back. Images live on; closing twice is harmless.")
        .def_property_readonly(
            "is_open", [](Door& door) { return door.camera.IsOpen(); }, LockFree(), "Whether it is open.")
        .def_property_readonly(
            "info", [](Door& door) { return door.camera.Info(); }, LockFree(), "Names and link speed.")
        .def("on_event", &OnEvent, py::arg("name"), py::arg("callback"),
             "Switches the event on and calls `callback(event)` for each message on a thread of the camera.")
        .def("on_removal", &OnRemoval, py::arg("callback"),
             "Calls `callback(is_back)` when the camera is unplugged, and when it is back.")
        .def(
            "__repr__",
            [](Door& door) {
                return door.camera.IsOpen() ? "<tavix.Camera " + door.camera.Info().friendlyName + ">"
                                            : std::string("<tavix.Camera, closed>");
            },
            LockFree());
    module.def(
        "_open", [](const std::string& name) { return std::make_unique<Door>(Tavix::Camera::Open(name)); },
        py::arg("name"), LockFree());
    module.def(
        "_cameras", [] { return Tavix::Cameras(); }, LockFree());
}

} // namespace tavixpython
