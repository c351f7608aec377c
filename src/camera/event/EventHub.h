#pragma once
// Who wants to be told of which events.

#include "camera/CallbackList.h"
#include "camera/event/EventPump.h"
#include "core/Mutex.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Tavix::detail {

/// Starts the pump with the first callback and again when the camera comes back. Thread-safe.
class EventHub {
public:
    EventHub() = default;
    ~EventHub() { Stop(); }
    EventHub(const EventHub&) = delete;
    EventHub& operator=(const EventHub&) = delete;

    Subscription Add(const std::shared_ptr<OpenDevice>& device, const std::string& event,
                     std::function<void(const CameraEvent&)> callback);
    /// Stops the pump; waits for a callback that runs. Called by that callback, it stops when the callback returns, and
    /// the next call waits for that.
    void Stop();
    /// Switches on for the camera that is back what was on before.
    void Restart(const std::shared_ptr<OpenDevice>& device);

private:
    using List = CallbackList<const CameraEvent&>;

    /// Belongs to the pump too, whose callbacks may destroy the hub. Thread-safe.
    class Directory {
    public:
        std::shared_ptr<List> ListOf(const std::string& event);
        std::vector<std::string> Events() const;
        void Tell(const CameraEvent& event);

    private:
        void CallOf(const std::string& list, const CameraEvent& event);

        mutable Mutex m_Mutex;
        std::map<std::string, std::shared_ptr<List>> m_Lists TAVIX_GUARDED_BY(m_Mutex);
    };

    EventPump& PumpOf(const std::shared_ptr<OpenDevice>& device) TAVIX_REQUIRES(m_Starting);

    const std::shared_ptr<Directory> m_Directory = std::make_shared<Directory>();
    Mutex m_Starting; // held while the pump is started or taken away; nobody waits for a callback meanwhile
    std::shared_ptr<EventPump> m_Pump TAVIX_GUARDED_BY(m_Starting);
    std::shared_ptr<EventPump> m_Leaving TAVIX_GUARDED_BY(m_Starting); // told to end by its own callback, not joined
};

} // namespace Tavix::detail
