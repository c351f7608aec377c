#include "python/classes/GroupDoor.h"

#include "python/classes/Door.h"
#include "python/classes/StreamDoor.h"
#include "python/threads/Errand.h"
#include "python/values/Values.h"

#include <tavix/camera/Group.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;

namespace tavixpython {
namespace {

using std::chrono::milliseconds;

struct SetDoor {
    py::list images; // None for those that are missing
    std::vector<std::string> gaps;
    bool isComplete;
};

/// The cameras of a group, each of which complains for itself when the group was forgotten.
struct GroupDoor {
    std::shared_ptr<Tavix::Group> group;
    py::list cameras;
};

using GroupClass = py::class_<GroupDoor, Owned<GroupDoor>>;

Owned<GroupDoor> Open(const std::vector<std::string>& names) {
    auto door = Owned<GroupDoor>(new GroupDoor);
    door->group = Errand([names] { return std::make_shared<Tavix::Group>(Tavix::Group::Open(names)); });
    for (Tavix::Camera& camera : *door->group)
        door->cameras.append(py::cast(Owned<Door>(new Door({door->group, &camera}))));
    return door;
}

Started<Tavix::GroupStream> StartGroup(GroupDoor& door, const Asked& asked) {
    const Tavix::GroupOptions made = GroupOptionsOf(asked);
    return {Errand([group = door.group, made] { return group->Grab(made); }), SilenceOf(asked, made.grab),
            AtEnd(made.grab), made.grab.newestOnly};
}

void CloseAll(GroupDoor& door) {
    if (IsLeftToParent()) return;
    const WithoutLock unlocked;
    for (Tavix::Camera& camera : *door.group)
        camera.Close();
}

void Set(GroupDoor& door, const std::string& name, const py::object& value) {
    for (Tavix::Camera& camera : *door.group)
        Write(Unlocked([&] { return camera[name]; }), value);
}

bool IsOpen(const GroupDoor& door) {
    const WithoutLock unlocked;
    return std::all_of(door.group->begin(), door.group->end(), [](Tavix::Camera& camera) { return camera.IsOpen(); });
}

py::object EnterGroup(const py::object& self) {
    if (!IsOpen(self.cast<GroupDoor&>()))
        throw Tavix::StateError("a camera of the group is closed; tavix.group() opens them anew");
    return self;
}

void BindSet(py::module_& module) {
    py::class_<SetDoor>(module, "ImageSet", "Images of one moment, one place for each camera of the group.")
        .def_readonly("images", &SetDoor::images, "In the order of the cameras, None where one is missing: a list.")
        .def_readonly("gaps", &SetDoor::gaps, "Why an image is missing, for each camera; '' where none is.")
        .def_readonly("is_complete", &SetDoor::isComplete, "Whether no image is missing.")
        .def("__len__", [](const SetDoor& set) { return set.images.size(); })
        .def("__iter__", [](const SetDoor& set) { return py::iter(set.images); })
        .def("__getitem__",
             [](const SetDoor& set, const py::object& place) -> py::object {
                 return set.images.attr("__getitem__")(place);
             })
        .def("__repr__", [](const SetDoor& set) {
            const auto missing = std::count_if(set.images.begin(), set.images.end(),
                                               [](const py::handle& image) { return image.is_none(); });
            return "<tavix.ImageSet of " + std::to_string(set.images.size()) + ", " +
                   (missing == 0 ? "complete" : std::to_string(missing) + " missing") + ">";
        });
}

void BindCameras(GroupClass& type) {
    type.def_readonly("cameras", &GroupDoor::cameras, "The cameras: a list.")
        .def("__len__", [](const GroupDoor& door) { return door.cameras.size(); })
        .def("__iter__", [](const GroupDoor& door) { return py::iter(door.cameras); })
        .def("__getitem__",
             [](const GroupDoor& door, const py::object& place) -> py::object {
                 return door.cameras.attr("__getitem__")(place);
             })
        .def("set", &Set, py::arg("name"), py::arg("value"),
             "Writes a feature of every camera. Raises what the first one raises that refuses; those before it are "
             "set.");
}

void BindGrab(GroupClass& type) {
    type.def(
            "grab",
            [](GroupDoor& door, const py::object& count, const py::kwargs& options) {
                return Owned<Running<Tavix::GroupStream>>(
                    new Running<Tavix::GroupStream>(StartGroup(door, {"grab", count, options})));
            },
            py::arg("count") = 0, py::keep_alive<0, 1>(),
            "Starts all cameras: an iterator over `count` sets, or without end for 0. Options: those of Camera.grab, "
            "by ('host_time' or 'block_id'), tolerance (seconds between images of a set, 0.005), set_timeout (seconds "
            "that a set waits for those missing, 0.5). Its steps raise Timeout when no camera sends anything.")
        .def(
            "_feed",
            [](GroupDoor& door, const py::object& count, const py::kwargs& options) {
                return Owned<Feed<Tavix::GroupStream>>(
                    new Feed<Tavix::GroupStream>(StartGroup(door, {"stream", count, options})));
            },
            py::arg("count") = 0, py::keep_alive<0, 1>());
}

void BindTrigger(GroupClass& type) {
    type.def(
            "await_trigger",
            [](GroupDoor& door, const py::object& timeout) { return AwaitTriggerInSteps(*door.group, timeout); },
            py::arg("timeout") = py::none(), kAwaitTriggerDoc)
        .def(
            "fire_trigger", [](GroupDoor& door) { Unlocked([&] { door.group->FireTrigger(); }); }, kFireTriggerDoc)
        .def(
            "trigger",
            [](GroupDoor& door, const py::object& timeout) {
                std::vector<Tavix::Camera*> cameras;
                for (Tavix::Camera& camera : *door.group)
                    cameras.push_back(&camera);
                TriggerInSteps(*door.group, timeout, cameras);
            },
            py::arg("timeout") = py::none(),
            "Triggers all by software once all are ready; waits 5 s for that unless told otherwise. Timeout.");
}

} // namespace

py::object Present(Tavix::ImageSet set) {
    SetDoor made{py::list(), std::move(set.gaps), set.IsComplete()};
    for (Tavix::Image& image : set.images)
        made.images.append(image ? py::cast(std::move(image)) : py::object(py::none()));
    return py::cast(std::move(made));
}

void BindGroup(py::module_& module) {
    BindSet(module);
    BindRunning<Tavix::GroupStream>(module, "GroupStream", "An iterator over sets of images, and a context manager.");
    BindFeed<Tavix::GroupStream>(module, "_GroupFeed");
    GroupClass type(module, "Group", "Several open cameras, in order, and a context manager.");
    BindCameras(type);
    BindGrab(type);
    BindTrigger(type);
    type.def("close", &CloseAll, "Closes all cameras. Images live on; closing twice is harmless.")
        .def_property_readonly(
            "is_open", [](const GroupDoor& door) { return !IsLeftToParent() && IsOpen(door); },
            "Whether all of them are.")
        .def("__enter__", &EnterGroup)
        .def("__exit__", [](GroupDoor& door, const py::args&) { CloseAll(door); })
        .def("__repr__",
             [](const GroupDoor& door) { return "<tavix.Group of " + std::to_string(door.cameras.size()) + ">"; });
    module.def("_group", &Open, py::arg("names"));
}

} // namespace tavixpython
