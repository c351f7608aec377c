#include "viewer/room/Room.h"

#include "core/Printable.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace viewer {
namespace {

using namespace Tavix;

constexpr std::int64_t kFewestBuffers = 16, kMostBuffers = 64;
constexpr std::int64_t kMemory = 64 << 20;
// The browser, often on the same computer, takes all the processor time that it gets; the camera's transfers wait for
// nobody. The thread works for microseconds at a time.
constexpr unsigned int kStreamPriority = 10;

/// As many images as fit into a memory that a bench can spare: on a busy computer nobody may come for them for a while.
std::size_t CountBuffers(Tavix::Camera& camera) {
    const std::int64_t payload = camera.HasFeature("PayloadSize") ? camera["PayloadSize"].Int() : kMemory;
    return static_cast<std::size_t>(
        std::clamp(kMemory / std::max<std::int64_t>(1, payload), kFewestBuffers, kMostBuffers));
}

} // namespace

Room::Room(std::string key, std::string name, Outlet& outlet)
    : m_Key(std::move(key)), m_Name(std::move(name)), m_Outlet(outlet), m_Live(m_Key, outlet), m_Worker("view-camera") {
}

Room::~Room() {
    std::shared_ptr<Tavix::Camera> camera;
    {
        const Tavix::MutexLock lock(m_Lock);
        camera = m_Camera;
    }
    if (camera) camera->Close(); // which ends what the last task waits for: an image, a trigger, a command
    m_Worker.Stop();             // before anything that its tasks use goes; callbacks of the camera find it there still
    m_Stream.reset();
    m_Events.clear();
    m_Camera.reset();
}

bool Room::Post(std::function<void(Room&)> task) {
    return m_Worker.Post([this, task = std::move(task)] { task(*this); });
}

void Room::Tick() {
    if (m_IsLooking.exchange(true)) return; // the last look is still going on
    if (!Post([](Room& room) { room.Look(); })) m_IsLooking = false;
}

void Room::Look() {
    m_IsLooking = false;
    m_EventCredit = 25;
    if (!m_Camera) return;
    NoticeEnd();
    if (!m_IsAway) {
        const Json changed = m_States.Update(*m_Camera, m_Watches.Names(), Occasion::Look);
        if (!changed.empty()) m_Outlet.Tell({{"event", "values"}, {"camera", m_Key}, {"values", changed}});
    }
    TellFigures();
    TellRecording();
}

Camera& Room::Camera() {
    if (!m_Camera) throw StateError(m_Name + " is not open");
    if (m_IsAway) throw Removed(m_Name + " is unplugged; plug it in again and it goes on");
    return *m_Camera;
}

void Room::Replace(std::shared_ptr<Tavix::Camera> camera) {
    const Tavix::MutexLock lock(m_Lock);
    m_Camera.swap(camera); // the old one closes without the lock
}

void Room::Open(const CameraInfo& info) {
    Replace(std::make_shared<Tavix::Camera>(Camera::Open(info)));
    m_IsAway = false;
    m_Camera->OnRemoval([this](bool isBack) {
        m_IsAway = !isBack;
        Post([](Room& room) {
            room.m_States.Forget();
            room.TellState();
            if (!room.m_IsAway) room.TellChanges();
        });
    });
    m_Names.clear();
    for (const Feature& feature : m_Camera->Features())
        m_Names.push_back(feature.Name());
    TellState();
}

void Room::Reopen(const CameraInfo& info) {
    if (!m_IsAway || m_Stream) return; // a stream has its camera back by itself
    const bool hadEvents = !m_Events.empty();
    m_Events.clear();
    Replace(nullptr);
    m_States.Forget();
    Open(info);
    if (hadEvents) ListenToEvents(true);
    TellChanges();
}

Json Room::Features() {
    Json json = DescribeFeatures(Camera());
    m_States.Update(Camera(), m_Names, Occasion::Look);
    json["values"] = m_States.Known();
    return json;
}

Json Room::TellChanges(Occasion occasion) {
    Json changed = m_States.Update(Camera(), m_Names, occasion);
    if (!changed.empty()) m_Outlet.Tell({{"event", "values"}, {"camera", m_Key}, {"values", changed}});
    return changed;
}

/// Whatever happens, what has changed is told: a change that failed half-way has changed something.
Json Room::Changing(const std::function<void()>& change, const std::string& asked) {
    TellChanges(Occasion::Look); // what has changed by itself until now, or as a late effect of the setting before
    const Json before = m_States.Known();
    try {
        change();
    } catch (...) {
        m_States.Update(Camera(), {asked}, Occasion::Setting);
        m_Outlet.Tell({{"event", "values"}, {"camera", m_Key}, {"values", {{asked, StateOf(Camera()[asked])}}}});
        throw;
    }
    Json others = Json::array();
    const Json changes = TellChanges();
    for (const auto& [name, state] : changes.items()) {
        const std::string to = state.value("value", ""), from = before.value(name, Json::object()).value("value", "");
        if (name != asked && from != to && before.contains(name) && !m_States.IsRestless(name))
            others.push_back({{"name", name}, {"from", from}, {"to", to}});
    }
    return {{"changed", others}};
}

Json Room::Set(const std::string& name, const std::string& value, bool nearest) {
    Feature feature = Camera()[name];
    return Changing(
        [&] {
            if (nearest)
                feature.SetNearest(std::stod(value));
            else
                feature.SetText(value);
        },
        name);
}

Json Room::Execute(const std::string& name) {
    const Feature feature = Camera()[name];
    return Changing([&] { feature.Execute(); }, name);
}

Json Room::SetRegion(const imaging::Region& region) {
    Tavix::Camera& camera = Camera();
    const bool wasStreaming = m_Stream != nullptr;
    if (wasStreaming) Stop(); // the size is locked meanwhile
    const auto change = [&] {
        for (const char* name : {"OffsetX", "OffsetY"})
            if (camera.HasFeature(name) && camera[name].IsWritable()) camera[name].SetNearest(camera[name].Min());
        camera["Width"].SetNearest(region.width);
        camera["Height"].SetNearest(region.height);
        if (camera.HasFeature("OffsetX")) camera["OffsetX"].SetNearest(region.x);
        if (camera.HasFeature("OffsetY")) camera["OffsetY"].SetNearest(region.y);
    };
    Json answer = Changing(change, "Width");
    if (wasStreaming) Start();
    return answer;
}

void Room::Start() {
    if (m_Stream) return;
    GrabOptions options;
    options.buffers = CountBuffers(Camera());
    options.threadPriority = kStreamPriority;
    options.timeout = std::chrono::milliseconds(0);
    options.reconnect = std::chrono::milliseconds(-1);
    m_Trouble.clear();
    m_Stream =
        std::make_unique<ImageStream>(Camera().Grab(options, [this](Image image) { OnImage(std::move(image)); }));
    TellState();
    TellChanges();
}

void Room::Stop() {
    if (!m_Stream) return;
    m_Stream.reset();
    EndRecord();
    TellState();
    if (!m_IsAway) TellChanges();
}

void Room::Single() {
    if (m_Stream) throw StateError("stop the live image first");
    OnImage(Camera().GrabOne());
    TellChanges();
}

void Room::Trigger() {
    if (!m_Stream) throw StateError("start the live image first; the camera waits for triggers then");
    Camera().Trigger();
}

void Room::OnImage(Image image) {
    m_Figures.CountArrival(image);
    std::shared_ptr<Recorder> recorder;
    {
        const Tavix::MutexLock lock(m_Lock);
        recorder = m_Recorder;
    }
    if (recorder) recorder->Put(image);
    m_Live.Put(std::move(image));
}

void Room::Record(const RecordOptions& options) {
    if (!m_Stream) throw StateError("start the live image first; its images are recorded");
    {
        const Tavix::MutexLock lock(m_Lock);
        if (m_Recorder && !m_Recorder->IsDone()) throw StateError("a series is being recorded already; end it first");
    }
    const auto recorder = std::make_shared<Recorder>(options);
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Recorder = recorder;
    }
    TellRecording();
}

void Room::EndRecord() {
    const Tavix::MutexLock lock(m_Lock);
    if (m_Recorder) m_Recorder->End();
}

void Room::ListenToEvents(bool on) {
    m_Events.clear();
    if (!on || !Camera().HasFeature("EventSelector")) return;
    for (const std::string& name : Camera()["EventSelector"].Entries()) {
        try {
            m_Events.push_back(Camera().OnEvent(name, [this](const CameraEvent& event) { OnEvent(event); }));
        } catch (const Error&) {
            continue; // the camera names it and does not send it
        }
    }
    TellState();
}

void Room::OnEvent(const CameraEvent& event) {
    if (m_EventCredit.fetch_sub(1) <= 0) return; // more than a person can read
    Json values = Json::object();
    for (const auto& [name, value] : event.values)
        values[name] = Printable(value.Text());
    m_Outlet.Tell({{"event", "happened"}, {"camera", m_Key}, {"name", event.name}, {"values", values}});
}

Json Room::Settings() {
    return {{"text", Camera().ReadSettings().Text()}};
}

Json Room::Apply(const std::string& text) {
    Json refused = Json::array();
    for (const RefusedSetting& one : Camera().Apply(Settings::FromText(text)))
        refused.push_back({{"name", one.name}, {"value", Printable(one.value)}, {"why", Printable(one.reason)}});
    TellChanges();
    return {{"refused", refused}};
}

Json Room::Compare(const std::string& text) {
    Json differences = Json::array();
    for (const SettingDifference& one : Settings::FromText(text).Compare(Camera().ReadSettings()))
        differences.push_back({{"name", one.name}, {"file", Printable(one.left)}, {"camera", Printable(one.right)}});
    return {{"differences", differences}};
}

void Room::TellState() {
    m_Outlet.Tell({{"event", "room"},
                   {"camera", m_Key},
                   {"name", m_Name},
                   {"isStreaming", m_Stream != nullptr},
                   {"isAway", m_IsAway.load()},
                   {"hasEvents", !m_Events.empty()},
                   {"trouble", m_Trouble}});
}

/// A stream that ended by itself did so because of something.
void Room::NoticeEnd() {
    if (!m_Stream || !m_Stream->HasEnded()) return;
    try {
        m_Stream->Join();
    } catch (const std::exception& e) {
        m_Trouble = Printable(e.what());
    }
    Stop();
}

void Room::TellFigures() {
    Json report = m_Figures.Report(m_Stream ? m_Stream->Counts() : GrabCounts(), m_Live.Figures());
    report.update({{"event", "figures"},
                   {"camera", m_Key},
                   {"defect", m_Stream ? Printable(m_Stream->FirstDefect()) : std::string()}});
    m_Outlet.Tell(std::move(report));
}

void Room::TellRecording() {
    std::shared_ptr<Recorder> recorder;
    {
        const Tavix::MutexLock lock(m_Lock);
        recorder = m_Recorder;
        if (m_Recorder && m_Recorder->IsDone()) m_Recorder.reset(); // told once more
    }
    if (recorder) m_Outlet.Tell({{"event", "recording"}, {"camera", m_Key}, {"state", recorder->State()}});
}

} // namespace viewer
