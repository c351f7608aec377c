#pragma once
// Who wants to be told of which events.

#include "camera/CallbackList.h"
#include "camera/event/EventPump.h"
#include "core/Mutex.h"

#include <map>
#include <memory>
#include <string>

namespace Tavix::detail {

/// Starts the pump with the first callback and again when the camera comes back. Thread-safe.
class EventHub {
public:
    Subscription Add(const std::shared_ptr<OpenDevice>& device, const std::string& event,
                     std::function<void(const CameraEvent&)> callback);
    /// Stops the pump; waits for a callback that runs.
    void Stop();
    /// Switches on for the camera that is back what was on before.
    void Restart(const std::shared_ptr<OpenDevice>& device);

private:
    using List = CallbackList<const CameraEvent&>;

    std::shared_ptr<List> ListOf(const std::string& event);
    void CallOf(const std::string& list, const CameraEvent& event);
    void Tell(const CameraEvent& event);
    EventPump& PumpOf(const std::shared_ptr<OpenDevice>& device) TAVIX_REQUIRES(m_Starting);

    Mutex m_Starting; // held while the pump is started or taken away; never by the pump's thread
    std::unique_ptr<EventPump> m_Pump TAVIX_GUARDED_BY(m_Starting);
    Mutex m_Mutex;
    std::map<std::string, std::shared_ptr<List>> m_Lists TAVIX_GUARDED_BY(m_Mutex);
};

} // namespace Tavix::detail
