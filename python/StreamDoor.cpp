#include "python/StreamDoor.h"

#include "python/Lock.h"

#include <utility>

namespace py = pybind11;

namespace tavixpython {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kForEver{-1};

// Of what is not known, so that a misspelt option does not pass for its default.
void RefuseOthers(const py::kwargs& options) {
    for (const auto& option : options) {
        const auto name = option.first.cast<std::string>();
        bool isKnown = false;
        for (const char* known :
             {"buffers", "memory_limit", "keep_budget", "newest_only", "incomplete", "timeout", "reconnect"})
            isKnown = isKnown || name == known;
        if (!isKnown) throw py::type_error("grab() has no option '" + name + "'");
    }
}

template<class T>
void Take(const py::kwargs& options, const char* name, T& value) {
    if (options.contains(name)) value = options[name].cast<T>();
}

Tavix::GrabOptions OptionsOf(std::uint64_t count, const py::kwargs& options) {
    RefuseOthers(options);
    Tavix::GrabOptions made;
    made.count = count;
    Take(options, "buffers", made.buffers);
    Take(options, "memory_limit", made.memoryLimit);
    Take(options, "keep_budget", made.keepBudget);
    Take(options, "newest_only", made.newestOnly);
    Take(options, "incomplete", made.incomplete);
    if (options.contains("timeout")) made.timeout = ToMilliseconds(options["timeout"], milliseconds(0));
    if (options.contains("reconnect")) made.reconnect = ToMilliseconds(options["reconnect"], kForEver);
    return made;
}

// A camera that is waited for may be silent for as long, besides.
milliseconds SilenceOf(const Tavix::GrabOptions& options) {
    if (options.timeout.count() == 0 || options.reconnect.count() < 0) return kForEver;
    return options.timeout + options.reconnect;
}

Tavix::Timeout NothingCame(milliseconds time) {
    return Tavix::Timeout("no image came for " + std::to_string(time.count()) +
                          " ms; check trigger, exposure time and cable");
}

bool Is(Tavix::Camera& camera, const char* feature, const char* value) {
    return camera.HasFeature(feature) && camera[feature].IsReadable() && camera[feature].Text() == value;
}

} // namespace

Stream::Stream(Tavix::ImageStream stream, milliseconds silence)
    : m_Silence(silence), m_Stream(std::make_shared<Tavix::ImageStream>(std::move(stream))) {}

Stream::~Stream() {
    Close();
}

std::shared_ptr<Tavix::ImageStream> Stream::Running() const {
    const std::lock_guard lock(m_Guard);
    return m_Stream;
}

Tavix::Image Stream::Next() {
    Tavix::Image image;
    const bool isDone = WaitInSteps(m_Silence, [&](milliseconds time) {
        const std::lock_guard turn(m_Turn);
        const auto stream = Running();
        if (!stream) return true;
        image = stream->Wait(time);
        return image || stream->HasEnded();
    });
    if (!isDone) throw NothingCame(m_Silence);
    return image;
}

void Stream::Cancel() {
    const WithoutLock unlocked;
    if (const auto stream = Running()) stream->Cancel();
}

void Stream::Close() {
    const WithoutLock unlocked;
    std::shared_ptr<Tavix::ImageStream> stream;
    {
        const std::lock_guard lock(m_Guard);
        stream.swap(m_Stream);
    }
    if (!stream) return;
    stream->Cancel();
    const std::lock_guard turn(m_Turn); // nobody waits in it any more
    stream.reset();
}

Tavix::GrabCounts Stream::Counts() const {
    const auto stream = Running();
    if (!stream) throw Tavix::StateError("the stream is closed");
    return stream->Counts();
}

std::unique_ptr<Stream> Grab(Tavix::Camera& camera, std::uint64_t count, const py::kwargs& options) {
    const Tavix::GrabOptions made = OptionsOf(count, options);
    const WithoutLock unlocked;
    return std::make_unique<Stream>(camera.Grab(made), SilenceOf(made));
}

Tavix::Image GrabOne(Tavix::Camera& camera, const py::object& timeout) {
    Tavix::GrabOptions options;
    options.count = 1;
    options.buffers = 2;
    const milliseconds time = ToMilliseconds(timeout, kForEver);
    std::unique_ptr<Stream> stream;
    {
        const WithoutLock unlocked;
        const bool isTriggered = Is(camera, "TriggerMode", "On") && Is(camera, "TriggerSource", "Software");
        stream = std::make_unique<Stream>(camera.Grab(options), time);
        if (isTriggered) camera.Trigger();
    }
    Tavix::Image image = stream->Next();
    if (!image) throw Tavix::StateError("the camera was closed");
    return image;
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
        .def_readonly("buffers", &GrabCounts::buffers, "In use now.");
    py::class_<Stream>(module, "Stream", "A running stream: an iterator over images, and a context manager.")
        .def("__iter__", [](const py::object& self) { return self; })
        .def("__next__",
             [](Stream& stream) {
                 Tavix::Image image = stream.Next();
                 if (!image) throw py::stop_iteration();
                 return image;
             })
        .def("__enter__", [](const py::object& self) { return self; })
        .def("__exit__", [](Stream& stream, const py::args&) { stream.Close(); })
        .def("cancel", &Stream::Cancel, "Ends the stream from any thread; a wait that is going on ends.")
        .def("close", &Stream::Close, "Stops the camera. Closing twice is harmless; images live on.")
        .def_property_readonly("counts", &Stream::Counts, "Counts of delivered, lost and damaged images.");
}

} // namespace tavixpython
