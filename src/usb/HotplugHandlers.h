#pragma once
// The hotplug handlers of a backend and the rules for calling them.

#include "usb/Backend.h"

#include "core/Mutex.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace usb {

/// Keeps handlers and calls them without holding a lock. A handler that has been removed is not called any more, and
/// Remove waits for a call that is running, unless it is made from within that call. Only Add needs memory.
/// Thread-safe.
class HotplugHandlers {
public:
    HotplugHandlers();
    ~HotplugHandlers();
    HotplugHandlers(const HotplugHandlers&) = delete;
    HotplugHandlers& operator=(const HotplugHandlers&) = delete;

    /// Returns the registration, never 0.
    std::uint64_t Add(HotplugHandler handler);
    /// Does nothing for an unknown registration.
    void Remove(std::uint64_t registration);
    /// Calls the handlers that are registered now, in the order of their registration.
    void Notify(HotplugEvent event, const std::string& id);

private:
    struct Entry;
    struct RunningCall;

    /// The first handler after `registration`, up to `last`; null when there is none.
    std::shared_ptr<Entry> Next(std::uint64_t& registration, std::uint64_t last);
    void Call(Entry& entry, HotplugEvent event, const std::string& id);

    Tavix::Mutex m_Lock;
    std::condition_variable m_CallEnded;
    std::map<std::uint64_t, std::shared_ptr<Entry>> m_Entries TAVIX_GUARDED_BY(m_Lock);
    std::uint64_t m_LastRegistration TAVIX_GUARDED_BY(m_Lock) = 0;
};

} // namespace usb
