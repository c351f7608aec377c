// The hotplug handlers of a backend.
#include "usb/HotplugHandlers.h"

#include <thread>
#include <utility>

namespace usb {

/// Lives on the stack of the thread that calls.
struct HotplugHandlers::RunningCall {
    const std::thread::id thread = std::this_thread::get_id();
    RunningCall* next = nullptr;
};

struct HotplugHandlers::Entry {
    explicit Entry(HotplugHandler function) : handler(std::move(function)) {}

    const HotplugHandler handler;
    // guarded by m_Lock of the owner
    bool removed = false;
    RunningCall* calls = nullptr; ///< borrowed

    bool IsOnlyCalledBy(std::thread::id thread) const {
        for (const RunningCall* call = calls; call != nullptr; call = call->next)
            if (call->thread != thread) return false;
        return true;
    }
    void End(const RunningCall& ended) {
        RunningCall** at = &calls;
        while (*at != &ended)
            at = &(*at)->next;
        *at = ended.next;
    }
};

HotplugHandlers::HotplugHandlers() = default;
HotplugHandlers::~HotplugHandlers() = default;

std::uint64_t HotplugHandlers::Add(HotplugHandler handler) {
    const Tavix::MutexLock lock(m_Lock);
    m_Entries.emplace(++m_LastRegistration, std::make_shared<Entry>(std::move(handler)));
    return m_LastRegistration;
}

void HotplugHandlers::Remove(std::uint64_t registration) {
    Tavix::MutexLock lock(m_Lock);
    const auto found = m_Entries.find(registration);
    if (found == m_Entries.end()) return;
    const std::shared_ptr<Entry> entry = found->second;
    m_Entries.erase(found);
    entry->removed = true;
    const auto self = std::this_thread::get_id();
    while (!entry->IsOnlyCalledBy(self))
        lock.Wait(m_CallEnded);
}

void HotplugHandlers::Notify(HotplugEvent event, const std::string& id) {
    std::uint64_t registration = 0, last = 0;
    {
        const Tavix::MutexLock lock(m_Lock);
        last = m_LastRegistration;
    }
    while (const auto entry = Next(registration, last))
        Call(*entry, event, id);
}

std::shared_ptr<HotplugHandlers::Entry> HotplugHandlers::Next(std::uint64_t& registration, std::uint64_t last) {
    const Tavix::MutexLock lock(m_Lock);
    const auto next = m_Entries.upper_bound(registration);
    if (next == m_Entries.end() || next->first > last) return nullptr;
    registration = next->first;
    return next->second;
}

void HotplugHandlers::Call(Entry& entry, HotplugEvent event, const std::string& id) {
    RunningCall call;
    {
        const Tavix::MutexLock lock(m_Lock);
        if (entry.removed) return;
        call.next = entry.calls;
        entry.calls = &call;
    }
    entry.handler(event, id);
    const Tavix::MutexLock lock(m_Lock);
    entry.End(call);
    m_CallEnded.notify_all();
}

} // namespace usb
