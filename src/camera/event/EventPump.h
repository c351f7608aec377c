#pragma once
// The event channel of a camera, on a thread of its own.

#include "camera/device/OpenDevice.h"

#include <tavix/camera/CameraEvent.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace GenApi {
struct INode;
}

namespace Tavix {
class EventResult;
class IEventAdapter;
class IEventGrabber;
} // namespace Tavix

namespace Tavix::detail {

/// Runs from Start() to its end, which switches the notifications back and lets the device go. Thread-safe.
class EventPump {
public:
    /// `listener` is called on the pump's thread, no lock held. Throws the SDK's exceptions, or Error when the camera
    /// has no event channel.
    static std::shared_ptr<EventPump> Start(std::shared_ptr<OpenDevice> device,
                                            std::function<void(const CameraEvent&)> listener);
    ~EventPump();
    EventPump(const EventPump&) = delete;
    EventPump& operator=(const EventPump&) = delete;

    /// Switches the notification on, for an empty name those of all events. NotFound when the camera does not have the
    /// event.
    void SwitchOn(const std::string& event);

    /// Whether the caller is one of its callbacks.
    bool IsOnItsThread() const { return m_Thread.get_id() == std::this_thread::get_id(); }
    /// It ends as soon as the callback that runs now has returned, and must not be asked for anything more.
    void End() { m_Stop.Signal(); }
    /// Waits for its end. Once, and not on its own thread.
    void Join() { m_Thread.join(); }

private:
    struct Notification {
        std::string event;
        std::string before; ///< what it was
    };

    EventPump(std::shared_ptr<OpenDevice> device, std::function<void(const CameraEvent&)> listener);
    void RequireEvent(const std::string& event) const;
    void RegisterCallbacks();
    void Retreat() noexcept;
    void Run() noexcept;
    void Drain();
    void Deliver(const EventResult& message);
    void Collect(GenApi::INode& node);
    std::string EventOf(const std::string& feature) const;

    std::shared_ptr<OpenDevice> m_Device; // of the thread alone once it ends
    const std::function<void(const CameraEvent&)> m_Listener;
    std::vector<std::string> m_EventNames; // constant after construction
    IEventGrabber* m_Grabber = nullptr;    // borrowed from the device
    IEventAdapter* m_Adapter = nullptr;    // owned
    std::vector<std::intptr_t> m_Callbacks;
    std::vector<Notification> m_SwitchedOn;
    const WaitObjectEx m_Stop = WaitObjectEx::Create(/*manualReset=*/true);
    // The pump's thread while it delivers a message; a thread compares it with itself.
    std::atomic<std::thread::id> m_Delivering{};
    std::vector<CameraEvent> m_Events; // of the pump's thread: those of the message that is being delivered
    std::thread m_Thread;
};

} // namespace Tavix::detail
