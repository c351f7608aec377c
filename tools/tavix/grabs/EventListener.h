#pragma once
// Takes the events of a camera and prints them.

#include "grabs/FrameObserver.h"
#include "line/Options.h"
#include "output/Values.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace tool {

/// Works with a camera that is open: alone, or as the observer of a grab. Prints on a thread of its own. Start and Stop
/// are bound to a thread, the questions are thread-safe.
class EventListener final : public FrameObserver {
public:
    explicit EventListener(const EventsOptions& options) : m_Options(options) {}
    ~EventListener() override;

    /// Switches the notification of the events on and begins to print. Throws Error.
    void Start(Camera& camera);
    /// Puts everything back as it was. Does nothing when it was not started.
    void Stop(Camera& camera);

    /// Signalled when enough events have come, when none came in time, or when the events cannot be taken any more.
    const Tavix::WaitObject& Ended() const { return m_Ended; }
    bool HasEnded() const { return m_HasEnded; }
    /// Why it ended early; empty for no reason. Valid after Stop.
    const std::string& Failure() const { return m_Failure; }

private:
    struct Notification {
        std::string event;
        std::string before; ///< what EventNotification was
    };

    void OnReady(Camera& camera) override { Start(camera); }
    void OnFrame(const Tavix::GrabResult&, ChunkCheck) override {}
    void OnEnd(Camera& camera) override { Stop(camera); }

    void SwitchOn(GenApi::INodeMap& features);
    void RegisterCallbacks(GenApi::INodeMap& features);
    void Run();
    void Loop();
    bool IsEnough() const;
    void Deliver(const Tavix::EventResult& event);
    void Print(const Tavix::EventResult& event) const;

    const EventsOptions m_Options;
    const Tavix::WaitObjectEx m_Ended = Tavix::WaitObjectEx::Create(/*manualReset=*/true);
    const Tavix::WaitObjectEx m_Stop = Tavix::WaitObjectEx::Create(/*manualReset=*/true);
    std::atomic<bool> m_HasEnded{false};

    // Valid between Start and Stop.
    std::vector<Notification> m_Notifications;
    std::vector<GenApi::CallbackHandleType> m_Callbacks;
    Tavix::IEventGrabber* m_Grabber = nullptr; // borrowed from the camera
    Tavix::IEventAdapter* m_Adapter = nullptr; // owned
    std::thread m_Thread;

    // Touched by the printing thread only, once it runs.
    std::vector<NamedValue> m_Values; // of the event that is being delivered
    std::uint64_t m_Count = 0;
    std::string m_Failure;
};

} // namespace tool
