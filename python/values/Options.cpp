#include "python/values/Options.h"

#include "python/Lock.h"
#include "python/values/Pixels.h"

#include <algorithm>
#include <initializer_list>
#include <string>

namespace py = pybind11;

namespace tavixpython {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kForEver{-1};
constexpr auto kOfCameras = {"buffers", "memory_limit", "keep_budget",   "newest_only",    "incomplete",
                             "timeout", "reconnect",    "transfer_size", "thread_priority"};
constexpr auto kOfGroups = {"by", "tolerance", "set_timeout"};

using Names = std::initializer_list<const char*>;

bool Holds(Names names, const std::string& name) {
    return std::any_of(names.begin(), names.end(), [&](const char* known) { return name == known; });
}

void RefuseOthers(const py::kwargs& options, Names further) {
    for (const auto& option : options) {
        const auto name = option.first.cast<std::string>();
        if (!Holds(kOfCameras, name) && !Holds(further, name))
            throw py::type_error("grab() has no option '" + name + "'");
    }
}

template<class T>
constexpr const char* kWanted = "a whole number, 0 or more";
template<>
constexpr const char* kWanted<bool> = "True or False";
template<>
constexpr const char* kWanted<double> = "a number of seconds";
template<>
constexpr const char* kWanted<std::string> = "a text";

template<class T>
T ValueOf(const py::kwargs& options, const char* name) {
    try {
        return options[name].cast<T>();
    } catch (const py::cast_error&) {
        throw py::type_error("grab() takes " + std::string(kWanted<T>) + " for " + name + ", not " +
                             std::string(py::repr(options[name])));
    }
}

template<class T>
void Take(const py::kwargs& options, const char* name, T& value) {
    if (options.contains(name)) value = ValueOf<T>(options, name);
}

milliseconds TimeOf(const py::kwargs& options, const char* name, milliseconds none) {
    if (!options[name].is_none()) ValueOf<double>(options, name);
    return ToMilliseconds(options[name], none);
}

Tavix::GrabOptions Known(std::int64_t count, const py::kwargs& options) {
    PrepareArrays();
    if (count < 0) throw Tavix::ValueError("a number of images is 0, which is without end, or more");
    Tavix::GrabOptions made;
    made.count = static_cast<std::uint64_t>(count);
    Take(options, "buffers", made.buffers);
    Take(options, "memory_limit", made.memoryLimit);
    Take(options, "keep_budget", made.keepBudget);
    Take(options, "newest_only", made.newestOnly);
    Take(options, "incomplete", made.incomplete);
    Take(options, "transfer_size", made.transferSize);
    Take(options, "thread_priority", made.threadPriority);
    if (options.contains("timeout")) made.timeout = TimeOf(options, "timeout", milliseconds(0));
    if (options.contains("reconnect")) made.reconnect = TimeOf(options, "reconnect", kForEver);
    return made;
}

Tavix::GroupBy ByOf(const std::string& name) {
    if (name == "host_time") return Tavix::GroupBy::HostTime;
    if (name == "block_id") return Tavix::GroupBy::BlockId;
    throw Tavix::ValueError("images are grouped by 'host_time' or 'block_id', not by '" + name + "'");
}

} // namespace

Tavix::GrabOptions OptionsOf(std::int64_t count, const py::kwargs& options) {
    RefuseOthers(options, {});
    return Known(count, options);
}

Tavix::GroupOptions GroupOptionsOf(std::int64_t count, const py::kwargs& options) {
    RefuseOthers(options, kOfGroups);
    Tavix::GroupOptions made;
    made.grab = Known(count, options);
    if (options.contains("by")) made.by = ByOf(ValueOf<std::string>(options, "by"));
    if (options.contains("tolerance")) made.tolerance = ToNanoseconds(ValueOf<double>(options, "tolerance"));
    if (options.contains("set_timeout")) made.setTimeout = TimeOf(options, "set_timeout", made.setTimeout);
    return made;
}

// A camera that is waited for may be silent for as long, besides.
milliseconds SilenceOf(const Tavix::GrabOptions& options) {
    if (options.timeout.count() == 0 || options.reconnect.count() < 0) return kForEver;
    return options.timeout + options.reconnect;
}

} // namespace tavixpython
