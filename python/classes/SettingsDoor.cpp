#include "python/classes/SettingsDoor.h"

#include "python/threads/Errand.h"
#include "python/threads/Lock.h"
#include "python/values/Values.h"

#include <pybind11/stl/filesystem.h>

#include <filesystem>
#include <string>
#include <utility>

namespace py = pybind11;

namespace tavixpython {
namespace {

using Tavix::Settings;

SettingsDoor LoadFrom(const std::filesystem::path& path) {
    return {Unlocked([&] { return Settings::FromFile(path.string()); }), {}};
}

py::list LinesOf(const SettingsDoor& door) {
    py::list lines;
    for (const Settings::Line& line : door.settings.Lines())
        lines.append(py::make_tuple(ToText(line.name), ToText(line.value)));
    return lines;
}

void WriteTo(const SettingsDoor& door, const std::filesystem::path& path) {
    const Settings settings = door.settings; // others may add meanwhile
    Unlocked([&] { settings.Save(path.string()); });
}

std::string Describe(const SettingsDoor& door) {
    const std::size_t lines = door.settings.Lines().size();
    return "<tavix.Settings of " + std::to_string(lines) + (lines == 1 ? " line>" : " lines>");
}

} // namespace

SettingsDoor ReadSettings(const std::shared_ptr<Tavix::Camera>& camera) {
    return Errand([camera] {
        SettingsDoor door;
        door.settings = camera->ReadSettings(&door.unread);
        return door;
    });
}

py::list ApplySettings(const std::shared_ptr<Tavix::Camera>& camera, const Settings& settings) {
    py::list refused;
    for (const Tavix::RefusedSetting& one : Errand([camera, settings] { return camera->Apply(settings); }))
        refused.append(py::make_tuple(ToText(one.name), ToText(one.value), ToText(one.reason)));
    return refused;
}

py::list UnreadOf(const std::vector<Tavix::RefusedSetting>& unread) {
    py::list list;
    for (const Tavix::RefusedSetting& one : unread)
        list.append(py::make_tuple(ToText(one.name), ToText(one.reason)));
    return list;
}

py::list DifferencesOf(const std::vector<Tavix::SettingDifference>& differences) {
    py::list list;
    for (const Tavix::SettingDifference& one : differences)
        list.append(py::make_tuple(ToText(one.name), ToText(one.left), ToText(one.right)));
    return list;
}

void BindSettings(py::module_& module) {
    py::class_<SettingsDoor>(module, "Settings",
                             "Settings of a camera in the order in which they are applied: pairs of name and value. "
                             "Features below selectors appear once for each value of the selector, behind a line that "
                             "sets it.")
        .def(py::init<>(), "Without a line.")
        .def_static("load", &LoadFrom, py::arg("path"),
                    "Those of a file. Error when it cannot be read, or for a line that is none.")
        .def_static(
            "from_text",
            [](const std::string& text) {
                return SettingsDoor{Settings::FromText(text), {}};
            },
            py::arg("text"),
            "Those of lines 'Name<TAB>Value' and comments that begin with #. Error for a line that is none.")
        .def("save", &WriteTo, py::arg("path"),
             "Writes a file. Error when it cannot be written, and then an older file stands as it was.")
        .def_property_readonly(
            "text", [](const SettingsDoor& door) { return ToText(door.settings.Text()); }, "What a file of them holds.")
        .def_property_readonly("lines", &LinesOf, "(name, value) of each line: a list.")
        .def_property_readonly(
            "unread", [](const SettingsDoor& door) { return UnreadOf(door.unread); },
            "(name, reason) of each that the camera did not tell: a list, for those of camera.read_settings().")
        .def(
            "add",
            [](SettingsDoor& door, const std::string& name, const std::string& value) {
                door.settings.Add(name, value);
            },
            py::arg("name"), py::arg("value"), "Adds a line at the end; the value as a text.")
        .def(
            "compare",
            [](const SettingsDoor& door, const SettingsDoor& other) {
                return DifferencesOf(door.settings.Compare(other.settings));
            },
            py::arg("other"),
            "(name, value, value in the other) of each that differs, whatever the order of the lines, '' where one "
            "side "
            "does not have it. A feature below a selector is named with it: 'Gain[GainSelector=Red]'.")
        .def("__len__", [](const SettingsDoor& door) { return door.settings.Lines().size(); })
        .def("__iter__", [](const SettingsDoor& door) { return py::iter(LinesOf(door)); })
        .def("__repr__", &Describe);
}

} // namespace tavixpython
