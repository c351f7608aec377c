#pragma once
// An open camera with all that browsers do with it.

#include "core/Mutex.h"
#include "viewer/Worker.h"
#include "viewer/image/Figures.h"
#include "viewer/image/LiveImage.h"
#include "viewer/image/Recorder.h"
#include "viewer/room/FeatureStates.h"
#include "viewer/room/Watches.h"
#include "viewer/server/Client.h"

#include <tavix/camera/Camera.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace viewer {

/// What is done with the camera is done by the room's thread, one thing after the other: the members marked so are to
/// be called from a task of Post() only. The rest is thread-safe.
class Room {
public:
    Room(std::string key, std::string name, Outlet& outlet);
    ~Room();

    /// False when too much is waiting.
    bool Post(std::function<void(Room&)> task);
    LiveImage& Live() { return m_Live; }
    const std::string& Key() const { return m_Key; }
    const std::string& Name() const { return m_Name; }
    /// What a browser whose window shows these features wants to follow; none for a browser that left.
    void Watch(std::uint64_t client, const std::vector<std::string>& names) { m_Watches.Set(client, names); }
    /// Looks at everything that changes by itself, and tells of it. Once every half second.
    void Tick();

    // --- of the room's thread
    void Open(const Tavix::CameraInfo& info);
    /// The camera was away and is here again, maybe at another port.
    void Reopen(const Tavix::CameraInfo& info);
    Json Features();
    /// {"changed": [{"name", "from", "to"}]}: what else became of it.
    Json Set(const std::string& name, const std::string& value, bool nearest);
    Json Execute(const std::string& name);
    /// Width, Height and offsets of the pixels that a person has drawn a frame around, as near as their steps allow.
    Json SetRegion(const Tavix::imaging::Region& region);
    void Start();
    void Stop();
    void Single();
    void Trigger();
    void Record(const RecordOptions& options);
    void EndRecord();
    void ListenToEvents(bool on);
    Json Settings();
    Json Apply(const std::string& text);
    Json Compare(const std::string& text);

private:
    Tavix::Camera& Camera();
    void Replace(std::shared_ptr<Tavix::Camera> camera);
    void OnImage(Tavix::Image image);
    void OnEvent(const Tavix::CameraEvent& event);
    void TellState();
    /// Reads all features again and tells what has changed.
    Json TellChanges(Occasion occasion = Occasion::Setting);
    Json Changing(const std::function<void()>& change, const std::string& asked);
    void TellFigures();
    void TellRecording();
    void NoticeEnd();
    void Look();

    const std::string m_Key, m_Name;
    Outlet& m_Outlet;
    LiveImage m_Live;
    std::atomic<bool> m_IsAway{false}, m_IsLooking{false};
    std::atomic<int> m_EventCredit{0};

    Watches m_Watches;
    Figures m_Figures;

    mutable Tavix::Mutex m_Lock;
    std::shared_ptr<Recorder> m_Recorder TAVIX_GUARDED_BY(m_Lock);

    // of the room's thread
    std::vector<std::string> m_Names; // of all features
    FeatureStates m_States;
    std::string m_Trouble;
    std::shared_ptr<Tavix::Camera> m_Camera; // replaced under m_Lock
    std::vector<Tavix::Subscription> m_Events;
    std::unique_ptr<Tavix::ImageStream> m_Stream;

    Worker m_Worker; // last, since its tasks use all of it
};

} // namespace viewer
