#include "camera/event/EventHub.h"

namespace Tavix::detail {
namespace {

constexpr char kAllEvents[] = "";

} // namespace

std::shared_ptr<EventHub::List> EventHub::Directory::ListOf(const std::string& event) {
    const MutexLock guard(m_Mutex);
    std::shared_ptr<List>& list = m_Lists[event];
    if (!list) list = std::make_shared<List>();
    return list;
}

std::vector<std::string> EventHub::Directory::Events() const {
    std::vector<std::string> events;
    const MutexLock guard(m_Mutex);
    for (const auto& [name, list] : m_Lists)
        events.push_back(name);
    return events;
}

void EventHub::Directory::CallOf(const std::string& list, const CameraEvent& event) {
    std::shared_ptr<List> callbacks;
    {
        const MutexLock guard(m_Mutex);
        const auto found = m_Lists.find(list);
        if (found != m_Lists.end()) callbacks = found->second;
    }
    if (callbacks) callbacks->Call(event);
}

void EventHub::Directory::Tell(const CameraEvent& event) {
    if (!event.name.empty()) CallOf(event.name, event);
    CallOf(kAllEvents, event);
}

EventPump& EventHub::PumpOf(const std::shared_ptr<OpenDevice>& device) {
    if (!m_Pump)
        m_Pump = EventPump::Start(device, [told = m_Directory](const CameraEvent& event) { told->Tell(event); });
    return *m_Pump;
}

Subscription EventHub::Add(const std::shared_ptr<OpenDevice>& device, const std::string& event,
                           std::function<void(const CameraEvent&)> callback) {
    const MutexLock guard(m_Starting);
    try {
        EventPump& pump = PumpOf(device);
        pump.SwitchOn(event); // NotFound before the callback is known
        return m_Directory->ListOf(event)->Add(std::move(callback));
    } catch (const GenICam::GenericException&) {
        RethrowAsError("cannot receive events of " + device->Name() + ": ");
    }
}

void EventHub::Stop() {
    std::shared_ptr<EventPump> pump, leaving;
    {
        const MutexLock guard(m_Starting);
        pump.swap(m_Pump);
        if (pump) pump->End();
        if (pump && pump->IsOnItsThread()) m_Leaving.swap(pump);
        if (m_Leaving && !m_Leaving->IsOnItsThread()) leaving.swap(m_Leaving);
    }
    for (const auto& ending : {pump, leaving}) // unlocked, since a callback that runs may want to add another
        if (ending) ending->Join();
}

void EventHub::Restart(const std::shared_ptr<OpenDevice>& device) {
    const std::vector<std::string> events = m_Directory->Events();
    if (events.empty()) return;
    const MutexLock guard(m_Starting);
    for (const std::string& event : events) {
        const auto switchOn = [&]() TAVIX_NO_THREAD_SAFETY_ANALYSIS { PumpOf(device).SwitchOn(event); };
        Attempt("Switching an event on again",
                switchOn); // under the lock of this function, which a lambda does not see
    }
}

} // namespace Tavix::detail
