// The hotplug handlers of a backend.
#include "usb/HotplugHandlers.h"

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

namespace usb {

struct HotplugHandlers::Entry {
    explicit Entry(HotplugHandler function) : handler(std::move(function)) {}

    const HotplugHandler handler;
    // guarded by m_Lock of the owner
    bool removed = false;
    std::vector<std::thread::id> callers; ///< threads inside the handler
};

HotplugHandlers::HotplugHandlers() = default;
HotplugHandlers::~HotplugHandlers() = default;

std::uint64_t HotplugHandlers::Add(HotplugHandler handler) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Entries.emplace(++m_LastRegistration, std::make_shared<Entry>(std::move(handler)));
    return m_LastRegistration;
}

void HotplugHandlers::Remove(std::uint64_t registration) {
    std::unique_lock<std::mutex> lock(m_Lock);
    const auto found = m_Entries.find(registration);
    if (found == m_Entries.end()) return;
    const std::shared_ptr<Entry> entry = found->second;
    m_Entries.erase(found);
    entry->removed = true;
    const auto self = std::this_thread::get_id();
    m_CallEnded.wait(lock, [&] {
        return std::all_of(entry->callers.begin(), entry->callers.end(), [&](auto caller) { return caller == self; });
    });
}

void HotplugHandlers::Notify(HotplugEvent event, const std::string& id) {
    std::vector<std::shared_ptr<Entry>> entries;
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        for (const auto& item : m_Entries)
            entries.push_back(item.second);
    }
    for (const auto& entry : entries)
        Call(entry, event, id);
}

void HotplugHandlers::Call(const std::shared_ptr<Entry>& entry, HotplugEvent event, const std::string& id) {
    const auto self = std::this_thread::get_id();
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        if (entry->removed) return;
        entry->callers.push_back(self);
    }
    entry->handler(event, id);
    const std::lock_guard<std::mutex> lock(m_Lock);
    entry->callers.erase(std::find(entry->callers.begin(), entry->callers.end(), self));
    m_CallEnded.notify_all();
}

} // namespace usb
