#include "python/classes/StreamDoor.h"

#include "python/classes/Door.h"
#include "python/threads/Errand.h"

#include <memory>
#include <string>
#include <utility>

namespace py = pybind11;

namespace tavixpython {
namespace {

using std::chrono::milliseconds;

bool Is(Tavix::Camera& camera, const char* feature, const char* value) {
    return camera.HasFeature(feature) && camera[feature].IsReadable() && camera[feature].Text() == value;
}

using SharedCamera = std::shared_ptr<Tavix::Camera>;

bool WaitsForSoftware(const SharedCamera& camera) {
    return Errand([camera] { return Is(*camera, "TriggerMode", "On") && Is(*camera, "TriggerSource", "Software"); });
}

std::string CountsText(const Tavix::GrabCounts& counts) {
    const std::pair<const char*, std::uint64_t> lost[] = {{"dropped", counts.dropped},
                                                          {"failed", counts.failed},
                                                          {"missed", counts.missed},
                                                          {"starved", counts.starved},
                                                          {"reconnects", counts.reconnects}};
    std::string text = "<tavix.Counts delivered=" + std::to_string(counts.delivered);
    for (const auto& [name, count] : lost)
        if (count > 0) text += " " + std::string(name) + "=" + std::to_string(count);
    return text + ">";
}

Started<Tavix::ImageStream> StartWith(const SharedCamera& camera, const Tavix::GrabOptions& options,
                                      milliseconds silence) {
    return {Errand([camera, options] { return camera->Grab(options); }), silence};
}

Started<Tavix::ImageStream> StartCalls(const SharedCamera& camera, const Tavix::GrabOptions& options,
                                       const py::object& callback) {
    const auto call = std::make_shared<ImageCall>(py::reinterpret_borrow<py::function>(callback));
    const auto receive = [call](Tavix::Image image) { (*call)(std::move(image)); };
    return {Errand([camera, options, receive] { return camera->Grab(options, receive); }), milliseconds(-1),
            AtEnd(options), options.newestOnly, call};
}

} // namespace

Tavix::Timeout NothingCame(milliseconds time, const std::string& why) {
    if (time.count() == 0) return Tavix::Timeout("there is no image yet; " + why);
    return Tavix::Timeout("no image came for " + std::to_string(time.count()) + " ms; " + why);
}

Started<Tavix::ImageStream> Start(const SharedCamera& camera, const Asked& asked) {
    const Tavix::GrabOptions made = OptionsOf(asked);
    if (const py::object callback = CallbackOption(asked)) return StartCalls(camera, made, callback);
    Started<Tavix::ImageStream> started = StartWith(camera, made, SilenceOf(asked, made));
    started.atEnd = AtEnd(made);
    started.newestOnly = made.newestOnly;
    return started;
}

Tavix::Image GrabOne(const SharedCamera& camera, const py::object& timeout) {
    Tavix::GrabOptions options;
    options.count = 1;
    options.buffers = 2;
    const milliseconds time = ToMilliseconds(timeout, milliseconds(-1));
    const bool isTriggered = WaitsForSoftware(camera);
    Running<Tavix::ImageStream> stream(StartWith(camera, options, time));
    if (isTriggered) TriggerInSteps(*camera, timeout, {camera.get()});
    auto image = stream.Next();
    if (!image) throw Tavix::StateError("the camera was closed");
    return std::move(*image);
}

py::object Present(Tavix::Image image) {
    return py::cast(std::move(image));
}

void BindStream(py::module_& module) {
    using Tavix::GrabCounts;
    py::class_<GrabCounts>(module, "Counts", "What became of the images so far.")
        .def_readonly("delivered", &GrabCounts::delivered, "Handed out.")
        .def_readonly("dropped", &GrabCounts::dropped, "Came whole and were replaced by a newer one.")
        .def_readonly("failed", &GrabCounts::failed, "Came damaged.")
        .def_readonly("missed", &GrabCounts::missed, "Never came.")
        .def_readonly("starved", &GrabCounts::starved, "Times that all memory was kept by the application.")
        .def_readonly("reconnects", &GrabCounts::reconnects, "Times that the camera was lost and came back.")
        .def_readonly("buffers", &GrabCounts::buffers, "In use now.")
        .def_readonly("memory", &GrabCounts::memory, "Bytes of these.")
        .def_readonly("mapped", &GrabCounts::mapped, "Of these bytes, those that the controller writes to itself.")
        .def("__repr__", &CountsText);
    using Stream = Running<Tavix::ImageStream>;
    auto type = BindRunning<Tavix::ImageStream>(module, "Stream",
                                                "A running stream: an iterator over images, and a context manager.");
    type.def(
            "join",
            [](Stream& stream, const py::object& timeout) {
                return stream.Join(ToMilliseconds(timeout, milliseconds(-1)));
            },
            py::arg("timeout") = py::none(),
            "Of a stream with a callback: waits until it has ended, False when that takes more than so many seconds. "
            "Raises, once, what ended it unless that was the count, cancel() or close(): what the callback raised, "
            "Timeout, Removed. StateError in the callback, and for other streams.")
        .def_property_readonly("first_defect", &Stream::FirstDefect,
                               "What was wrong with the first image that came damaged, in words; '' when none did.")
        .def_property_readonly("why_silent", &Stream::Why,
                               "What to do when no image comes, in words; '' once the stream is closed.");
    BindFeed<Tavix::ImageStream>(module, "_Feed");
}

} // namespace tavixpython
