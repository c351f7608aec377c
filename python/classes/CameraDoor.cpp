#include "python/classes/CameraDoor.h"

#include "python/classes/Door.h"
#include "python/classes/SettingsDoor.h"
#include "python/classes/StreamDoor.h"
#include "python/threads/Callbacks.h"
#include "python/threads/Errand.h"
#include "python/threads/Fork.h"
#include "python/values/Values.h"

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <filesystem>

namespace py = pybind11;

namespace tavixpython {
namespace {

using CameraClass = py::class_<Door, Owned<Door>>;
using LockFree = py::call_guard<WithoutLock>;

bool IsOpen(Door& door) {
    return !IsLeftToParent() && Unlocked([&] { return door.camera.IsOpen(); });
}

Tavix::Feature Find(Door& door, const std::string& name) {
    return Unlocked([&] { return door.camera[name]; });
}

py::object GetFeature(Door& door, const std::string& name) {
    return Read(Find(door, name));
}

void SetFeature(Door& door, const std::string& name, const py::object& value) {
    Write(Find(door, name), value);
}

std::string Suggestion(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "; did you mean " : i + 1 < names.size() ? ", " : " or ") + names[i];
    return text.empty() ? text : text + "?";
}

// What Python asks for when there is no such attribute. It probes for many that begin with an underscore.
void RequireFeature(Door& door, const std::string& name) {
    if (!IsOpen(door)) throw py::attribute_error("the camera is closed, and has no method '" + name + "'");
    if (Unlocked([&] { return door.camera.HasFeature(name); })) return;
    const std::string text = "the camera has no feature and no method '" + name + "'";
    if (name.empty() || name.front() == '_') throw py::attribute_error(text);
    try {
        Find(door, name);
    } catch (const Tavix::NotFound& e) {
        throw py::attribute_error(text + Suggestion(e.Suggestions()));
    }
}

std::vector<Tavix::Feature> Features(Door& door) {
    return Errand([camera = door.shared] { return camera->Features(); });
}

// Of a camera that has gone, what all cameras have: whoever completes a name wants no exception, and no wait.
py::list Directory(const py::object& self) {
    py::list names = py::module_::import("builtins").attr("object").attr("__dir__")(self);
    Door& door = self.cast<Door&>();
    if (!IsOpen(door)) return names;
    try {
        for (const std::string& name : Unlocked([&] { return door.camera.FeatureNames(); }))
            names.append(name);
    } catch (const Tavix::Error&) {
        return names;
    }
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

py::object Enter(const py::object& self) {
    Door& door = self.cast<Door&>();
    if (!Unlocked([&] { return door.camera.IsOpen(); }))
        throw Tavix::StateError("the camera is closed; tavix.open() opens it anew");
    return self;
}

void Close(Door& door) {
    if (IsLeftToParent()) return;
    const WithoutLock unlocked;
    door.camera.Close();
}

Tavix::HostTime ToHostTime(Door& door, std::uint64_t cameraTime) {
    return Errand([camera = door.shared, cameraTime] { return camera->ToHostTime(cameraTime); });
}

py::list SaveSettings(Door& door, const std::filesystem::path& path) {
    return UnreadOf(Errand([camera = door.shared, path] {
        std::vector<Tavix::RefusedSetting> unread;
        camera->ReadSettings(&unread).Save(path.string());
        return unread;
    }));
}

py::list LoadSettings(Door& door, const std::filesystem::path& path) {
    return ApplySettings(door.shared, Unlocked([&] { return Tavix::Settings::FromFile(path.string()); }));
}

py::list CompareSettings(Door& door, const std::filesystem::path& path) {
    return DifferencesOf(Errand([camera = door.shared, path] {
        const Tavix::Settings file = Tavix::Settings::FromFile(path.string());
        return camera->ReadSettings().Compare(file);
    }));
}

void BindFeatures(CameraClass& camera) {
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
            "feature_names",
            [](Door& door) {
                py::list names;
                for (const std::string& name : Unlocked([&] { return door.camera.FeatureNames(); }))
                    names.append(ToText(name));
                return names;
            },
            "Names of the features, also of those that its description knows and the camera does not implement; asks "
            "nothing of it.")
        .def("features", &Features, "All features that the camera implements, in the order of its description.");
}

void BindKeptSettings(CameraClass& camera) {
    camera
        .def(
            "read_settings", [](Door& door) { return ReadSettings(door.shared); },
            "All that is worth keeping of the camera's present state: Settings. What could not be read is in its "
            "`unread`. Removed when the camera goes meanwhile.")
        .def(
            "apply", [](Door& door, const SettingsDoor& given) { return ApplySettings(door.shared, given.settings); },
            py::arg("settings"),
            "Applies the lines in order, again as long as more of them succeed; returns (name, value, reason) of each "
            "that did not.")
        .def("save_settings", &SaveSettings, py::arg("path"),
             "Writes all settings to a file; returns (name, reason) of each that could not be read. Error when it "
             "cannot be "
             "written.")
        .def("load_settings", &LoadSettings, py::arg("path"),
             "Applies a file of settings; returns (name, value, reason) of each that was refused.")
        .def("compare_settings", &CompareSettings, py::arg("path"),
             "Compares the present settings with a file; returns (name, present value, value in the file) of each that "
             "differs, '' where one side does not have it.");
}

void BindImages(CameraClass& camera) {
    camera
        .def(
            "grab",
            [](Door& door, const py::object& count, const py::kwargs& options) {
                return Owned<Running<Tavix::ImageStream>>(
                    new Running<Tavix::ImageStream>(Start(door.shared, {"grab", count, options})));
            },
            py::arg("count") = 0, py::keep_alive<0, 1>(),
            "Starts the camera: an iterator over `count` images, or without end for 0. Options: buffers, keep_budget "
            "(bytes), newest_only, incomplete, timeout (seconds, 5; None for ever), reconnect (seconds; None for "
            "ever), memory_limit and transfer_size (bytes), thread_priority (1 to 99), allocator. "
            "`allocator(bytes)` gives memory for one image: an object with a writable buffer of at least so many "
            "bytes, "
            "such as a NumPy array, which image.memory then is; without one the library takes its own. "
            "Its steps raise Timeout or Removed. With `callback` the stream calls `callback(image)` for each image, "
            "one after the other, on the thread that took it off the bus, or with newest_only on one of the stream; "
            "what that raises ends the stream, see Stream.join(). StateError when the camera streams already.")
        .def(
            "_feed",
            [](Door& door, const py::object& count, const py::kwargs& options) {
                return Owned<Feed<Tavix::ImageStream>>(
                    new Feed<Tavix::ImageStream>(Start(door.shared, {"stream", count, options})));
            },
            py::arg("count") = 0, py::keep_alive<0, 1>())
        .def(
            "grab_one", [](Door& door, const py::object& timeout) { return GrabOne(door.shared, timeout); },
            py::arg("timeout") = 5.0,
            "One image within so many seconds, after a software trigger if the camera waits for one.")
        .def(
            "await_trigger",
            [](Door& door, const py::object& timeout) { return AwaitTriggerInSteps(door.camera, timeout); },
            py::arg("timeout") = py::none(), kAwaitTriggerDoc)
        .def(
            "fire_trigger", [](Door& door) { door.camera.FireTrigger(); }, LockFree(), kFireTriggerDoc)
        .def(
            "trigger",
            [](Door& door, const py::object& timeout) { TriggerInSteps(door.camera, timeout, {&door.camera}); },
            py::arg("timeout") = py::none(),
            "Triggers by software as soon as the camera is ready; waits 5 s for that unless told otherwise.");
}

} // namespace

void BindCamera(py::module_& module) {
    CameraClass camera(module, "Camera",
                       "An open camera and a context manager; features are its items and attributes.");
    BindFeatures(camera);
    BindKeptSettings(camera);
    BindImages(camera);
    camera.def("__enter__", &Enter)
        .def("__exit__", [](Door& door, const py::args&) { Close(door); })
        .def("close", &Close,
             "Ends streams and callbacks and gives the camera back. Images live on; closing twice is harmless.")
        .def_property_readonly("is_open", &IsOpen, "Whether it is open.")
        .def_property_readonly(
            "info", [](Door& door) { return door.camera.Info(); }, LockFree(), "Names and link speed.")
        .def("on_event", &OnEvent, py::arg("name"), py::arg("callback"),
             "Switches the event on and calls `callback(event)` for each message on a thread of the camera.")
        .def("on_removal", &OnRemoval, py::arg("callback"),
             "Calls `callback(is_back)` when the camera is unplugged, and when it is back.")
        .def("to_host_time", &ToHostTime, py::arg("camera_time"),
             "A moment of the camera's clock, in nanoseconds, on the host's clocks.")
        .def("__repr__", [](Door& door) {
            return IsOpen(door) ? "<tavix.Camera " + Unlocked([&] { return door.camera.Info().friendlyName; }) + ">"
                                : std::string("<tavix.Camera, closed>");
        });
    module.def(
        "_open",
        [](const std::string& name) {
            return Owned<Door>(
                new Door(Errand([name] { return std::make_shared<Tavix::Camera>(Tavix::Camera::Open(name)); })));
        },
        py::arg("name"));
}

} // namespace tavixpython
