#include "python/classes/FeatureDoor.h"

#include "python/classes/Door.h"
#include "python/threads/Callbacks.h"
#include "python/threads/Fork.h"
#include "python/threads/Lock.h"
#include "python/values/Values.h"

#include <tavix/camera/Error.h>

#include <pybind11/stl.h>

#include <string>

namespace py = pybind11;

namespace tavixpython {
namespace {

using std::chrono::milliseconds;
using Tavix::Feature;
using FeatureClass = py::class_<Feature, Owned<Feature>>;
using LockFree = py::call_guard<WithoutLock>;

constexpr const char* kTypes[] = {"integer", "float",   "boolean",  "enumeration",
                                  "text",    "command", "register", "category"};

constexpr const char* kLevels[] = {"beginner", "expert", "guru", "invisible"};

py::object Number(const Feature& feature, std::int64_t (Feature::*whole)() const, double (Feature::*real)() const) {
    if (Unlocked([&] { return feature.Type(); }) == Tavix::FeatureType::Integer) {
        const std::int64_t value = Unlocked([&] { return (feature.*whole)(); });
        return py::int_(value);
    }
    const double value = Unlocked([&] { return (feature.*real)(); });
    return py::float_(value);
}

py::object SetNearest(Feature& feature, double value) {
    const bool isWhole = Unlocked([&] { return feature.Type(); }) == Tavix::FeatureType::Integer;
    const double written = Unlocked([&] { return feature.SetNearest(value); });
    return isWhole ? py::object(py::int_(py::float_(written))) : py::object(py::float_(written));
}

void Execute(const Feature& feature, const py::object& timeout) {
    const milliseconds longest = ToMilliseconds(timeout, Tavix::kCommandTimeout);
    Unlocked([&] { feature.Start(); });
    AwaitDoneInSteps(feature, longest);
}

Tavix::Subscription OnChange(const Feature& feature, py::function callback) {
    auto call = CallbackOf<const Feature&>(std::move(callback));
    const WithoutLock unlocked;
    return feature.OnChange(std::move(call));
}

// Of a camera that is closed no two are the same.
const void* NodeOf(const Feature& feature) {
    try {
        return Unlocked([&] { return static_cast<const void*>(&feature.Node()); });
    } catch (const Tavix::Error&) {
        return nullptr;
    }
}

bool IsSame(const Feature& left, const Feature& right) {
    if (&left == &right) return true;
    if (left.Name() != right.Name()) return false;
    const void* const node = NodeOf(left);
    return node && node == NodeOf(right);
}

void BindDescription(FeatureClass& type) {
    type.def_property_readonly("name", &Feature::Name, "As the camera calls it.")
        .def_property_readonly(
            "type", [](const Feature& f) { return kTypes[static_cast<int>(f.Type())]; }, LockFree(),
            "'integer', 'float', 'boolean', 'enumeration', 'text', 'command', 'register' or 'category'.")
        .def_property_readonly("display_name", &Feature::DisplayName, LockFree(), "For people.")
        .def_property_readonly("description", &Feature::Description, LockFree(), "What the camera says of it.")
        .def_property_readonly(
            "level", [](const Feature& f) { return kLevels[static_cast<int>(f.Level())]; }, LockFree(),
            "For whom it is: 'beginner', 'expert', 'guru' or 'invisible'.")
        .def_property_readonly("is_setting", &Feature::IsSetting, LockFree(), "Whether save_settings() writes it.")
        .def_property_readonly("children", &Feature::Children, LockFree(),
                               "The features of a category. ValueError for others.");
}

void BindValue(FeatureClass& type) {
    type.def_property("value", &Read, &Write,
                      "int, float, bool, str or bytes. Raises AccessError when it cannot be read or written now, "
                      "ValueError beyond the limits.")
        .def_property(
            "text", [](const Feature& f) { return ToText(Unlocked([&] { return f.Text(); })); },
            [](Feature& f, const std::string& text) { Unlocked([&] { f.SetText(text); }); },
            "Its value as a text, whatever its type; set to any text that a value has, such as '5000' or 'true'. "
            "AccessError, ValueError.")
        .def("__int__", &Feature::Int, LockFree(),
             "Of an integer, a boolean, or an enumeration: the number of its entry. ValueError for others.")
        .def("__float__", &Feature::Float, LockFree(), "Of a number. ValueError for others.")
        .def("set_nearest", &SetNearest, py::arg("value"),
             "Writes the nearest value within the limits and on the increment; returns what was written, an int where "
             "the feature is an integer.");
}

void BindLimits(FeatureClass& type) {
    type.def_property_readonly(
            "min", [](const Feature& f) { return Number(f, &Feature::IntMin, &Feature::Min); },
            "Least value now, in `unit`. ValueError for what is no number.")
        .def_property_readonly(
            "max", [](const Feature& f) { return Number(f, &Feature::IntMax, &Feature::Max); },
            "Largest value now, in `unit`. ValueError for what is no number.")
        .def_property_readonly(
            "inc", [](const Feature& f) { return Number(f, &Feature::IntIncrement, &Feature::Increment); },
            "Increment, 0.0 for a float without one. ValueError for what is no number.")
        .def_property_readonly("unit", &Feature::Unit, LockFree(), "Such as 'us'; '' when there is none.")
        .def_property_readonly(
            "entries", [](const Feature& f) { return f.Entries(); }, LockFree(),
            "Entries of an enumeration that can be set now. ValueError for others.")
        .def_property_readonly(
            "all_entries", [](const Feature& f) { return f.Entries(/*all=*/true); }, LockFree(),
            "Also those that cannot be set now. ValueError for others.");
}

void BindAccess(FeatureClass& type) {
    type.def_property_readonly("available", &Feature::IsAvailable, LockFree(), "Whether the camera has it now.")
        .def_property_readonly("readable", &Feature::IsReadable, LockFree(), "Whether it can be read now.")
        .def_property_readonly("writable", &Feature::IsWritable, LockFree(),
                               "Whether it can be written, or a command executed, now.")
        .def_property_readonly("why_not", &Feature::WhyNot, LockFree(),
                               "Why it cannot be read or written now; '' when both can be done.");
}

void BindCommand(FeatureClass& type) {
    type.def("start", &Feature::Start, LockFree(),
             "Starts a command and does not wait for it, see is_done. AccessError.")
        .def("execute", &Execute, py::arg("timeout") = py::none(),
             "Executes a command and waits until it is done, 5 s unless told otherwise. Timeout when it is not.")
        .def("__call__", &Execute, py::arg("timeout") = py::none(), "As execute().")
        .def_property_readonly("is_done", &Feature::IsDone, LockFree(),
                               "Whether a command that was started is done; asks the camera.")
        .def(
            "await_done",
            [](const Feature& f, const py::object& timeout) {
                return WaitInSteps(ToMilliseconds(timeout, milliseconds(-1)),
                                   [&](milliseconds time) { return f.AwaitDone(time); });
            },
            py::arg("timeout") = py::none(),
            "Waits until a command that was started is done; False when that takes more than so many seconds.");
}

} // namespace

void BindFeature(py::module_& module) {
    FeatureClass type(module, "Feature", "A feature of one camera; every access asks the camera anew.");
    BindDescription(type);
    BindValue(type);
    BindLimits(type);
    BindAccess(type);
    BindCommand(type);
    type.def("on_change", &OnChange, py::arg("callback"),
             "Calls `callback(feature)` after each change, on the thread that caused it or one of the library.")
        .def("__eq__", &IsSame, py::is_operator())
        .def("__hash__", [](const Feature& f) { return std::hash<std::string>()(f.Name()); })
        .def("__repr__", [](const Feature& f) { return "<tavix.Feature " + f.Name() + ">"; });
}

} // namespace tavixpython
