#include "python/values/Options.h"

#include "python/threads/Lock.h"
#include "python/values/OwnMemory.h"
#include "python/values/Pixels.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>

namespace py = pybind11;

namespace tavixpython {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kForEver{-1};
constexpr auto kOfCameras = {"buffers", "memory_limit", "keep_budget",   "newest_only",     "incomplete",
                             "timeout", "reconnect",    "transfer_size", "thread_priority", "allocator"};
constexpr auto kOfGrab = {"callback"};
constexpr auto kOfGroups = {"by", "tolerance", "set_timeout"};

using Names = std::initializer_list<const char*>;

bool Holds(Names names, const std::string& name) {
    return std::any_of(names.begin(), names.end(), [&](const char* known) { return name == known; });
}

void RefuseOthers(const Asked& asked, Names further) {
    for (const auto& option : asked.options) {
        const auto name = option.first.cast<std::string>();
        if (!Holds(kOfCameras, name) && !Holds(further, name))
            throw py::type_error(asked.function + std::string("() has no option '") + name + "'");
    }
}

template<class T>
constexpr const char* kWanted = "a whole number, 0 or more,";
template<>
constexpr const char* kWanted<bool> = "True or False";
template<>
constexpr const char* kWanted<double> = "a number of seconds";
template<>
constexpr const char* kWanted<std::string> = "a text";

[[noreturn]] void RefuseValue(const Asked& asked, const char* wanted, const char* name, const py::object& value) {
    throw py::type_error(asked.function + std::string("() takes ") + wanted + " for " + name + ", not " +
                         std::string(py::repr(value)));
}

template<class T>
T ValueOf(const Asked& asked, const char* name) {
    try {
        return asked.options[name].cast<T>();
    } catch (const py::cast_error&) {
        RefuseValue(asked, kWanted<T>, name, asked.options[name]);
    }
}

template<class T>
void Take(const Asked& asked, const char* name, T& value) {
    if (asked.options.contains(name)) value = ValueOf<T>(asked, name);
}

milliseconds TimeOf(const Asked& asked, const char* name, milliseconds none) {
    if (!asked.options[name].is_none()) ValueOf<double>(asked, name);
    return ToMilliseconds(asked.options[name], none);
}

/// Null for None.
py::object FunctionOf(const Asked& asked, const char* name) {
    if (!asked.options.contains(name) || asked.options[name].is_none()) return {};
    py::object function = asked.options[name];
    if (!PyCallable_Check(function.ptr())) RefuseValue(asked, "a function to call", name, function);
    return function;
}

/// One that is larger than any is as good as without end.
std::uint64_t CountOf(const Asked& asked) {
    const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(asked.count.ptr()));
    if (!number) {
        PyErr_Clear();
        RefuseValue(asked, kWanted<std::uint64_t>, "count", asked.count);
    }
    int isBeyond = 0;
    const long long count = PyLong_AsLongLongAndOverflow(number.ptr(), &isBeyond);
    if (isBeyond > 0) return std::numeric_limits<std::int64_t>::max();
    if (isBeyond < 0 || count < 0)
        throw Tavix::ValueError("a number of images is 0, which is without end, or more; it cannot be " +
                                std::string(py::str(number)));
    return static_cast<std::uint64_t>(count);
}

Tavix::GrabOptions Known(const Asked& asked) {
    PrepareArrays();
    Tavix::GrabOptions made;
    made.count = CountOf(asked);
    Take(asked, "buffers", made.buffers);
    Take(asked, "memory_limit", made.memoryLimit);
    Take(asked, "keep_budget", made.keepBudget);
    Take(asked, "newest_only", made.newestOnly);
    Take(asked, "incomplete", made.incomplete);
    Take(asked, "transfer_size", made.transferSize);
    Take(asked, "thread_priority", made.threadPriority);
    if (const py::object allocator = FunctionOf(asked, "allocator"))
        made.allocator = AllocatorOf(py::reinterpret_borrow<py::function>(allocator));
    if (asked.options.contains("timeout")) made.timeout = TimeOf(asked, "timeout", milliseconds(0));
    if (asked.options.contains("reconnect")) made.reconnect = TimeOf(asked, "reconnect", kForEver);
    return made;
}

Tavix::GroupBy ByOf(const std::string& name) {
    if (name == "host_time") return Tavix::GroupBy::HostTime;
    if (name == "block_id") return Tavix::GroupBy::BlockId;
    throw Tavix::ValueError("images are grouped by 'host_time' or 'block_id', not by '" + name + "'");
}

template<class Time>
std::string Seconds(Time time) {
    return py::repr(py::float_(std::chrono::duration<double>(time).count()));
}

std::string Truth(bool value) {
    return value ? "True" : "False";
}

} // namespace

std::string OptionsText() {
    const Tavix::GrabOptions made;
    return "buffers=" + std::to_string(made.buffers) + ", memory_limit=" + std::to_string(made.memoryLimit) +
           ", keep_budget=" + std::to_string(made.keepBudget) + ", newest_only=" + Truth(made.newestOnly) +
           ", incomplete=" + Truth(made.incomplete) + ", timeout=" + Seconds(made.timeout) +
           ", reconnect=" + Seconds(made.reconnect) + ", transfer_size=" + std::to_string(made.transferSize) +
           ", thread_priority=" + std::to_string(made.threadPriority) + ", allocator=None";
}

std::string GroupOptionsText() {
    const Tavix::GroupOptions made;
    return OptionsText() + ", by='host_time', tolerance=" + Seconds(made.tolerance) +
           ", set_timeout=" + Seconds(made.setTimeout);
}

std::string GrabOptionsText() {
    return OptionsText() + ", callback=None";
}

Tavix::GrabOptions OptionsOf(const Asked& asked) {
    const bool isGrab = asked.function == std::string_view("grab");
    RefuseOthers(asked, isGrab ? Names(kOfGrab) : Names());
    return Known(asked);
}

py::object CallbackOption(const Asked& asked) {
    return FunctionOf(asked, "callback");
}

Tavix::GroupOptions GroupOptionsOf(const Asked& asked) {
    RefuseOthers(asked, kOfGroups);
    Tavix::GroupOptions made;
    made.grab = Known(asked);
    if (asked.options.contains("by")) made.by = ByOf(ValueOf<std::string>(asked, "by"));
    if (asked.options.contains("tolerance")) made.tolerance = ToNanoseconds(ValueOf<double>(asked, "tolerance"));
    if (asked.options.contains("set_timeout")) made.setTimeout = TimeOf(asked, "set_timeout", made.setTimeout);
    return made;
}

// A camera that is waited for may be silent for as long, besides.
milliseconds SilenceOf(const Asked& asked, const Tavix::GrabOptions& options) {
    const bool isAny = asked.options.contains("timeout") && asked.options["timeout"].is_none();
    if (isAny || options.reconnect.count() < 0) return kForEver;
    return options.timeout + options.reconnect;
}

} // namespace tavixpython
