#include "gentl/module/Module.h"

namespace gentl {

void Port::ReadStacked(PORT_REGISTER_STACK_ENTRY* entries, size_t count, size_t& done) {
    for (done = 0; done < count; ++done) {
        size_t size = entries[done].Size;
        Read(entries[done].Address, entries[done].pBuffer, size);
        entries[done].Size = size;
    }
}

void Port::WriteStacked(PORT_REGISTER_STACK_ENTRY* entries, size_t count, size_t& done) {
    for (done = 0; done < count; ++done) {
        size_t size = entries[done].Size;
        Write(entries[done].Address, entries[done].pBuffer, size);
    }
}

std::shared_ptr<EventQueue> Module::MakeEvent(EVENT_TYPE type) {
    switch (type) {
    case EVENT_ERROR:
    case EVENT_FEATURE_INVALIDATE:
    case EVENT_MODULE:
        return std::make_shared<EventQueue>(type);
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "this module has no such event");
    }
}

void Module::RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* handle) {
    if (Event(type)) Fail(GC_ERR_RESOURCE_IN_USE, "the event is registered already");
    auto event = MakeEvent(type);
    event->Register();
    const Tavix::MutexLock guard(m_EventMutex);
    m_Events[type] = event;
    *handle = event->Handle();
}

void Module::UnregisterEvent(EVENT_TYPE type) {
    const auto event = Event(type);
    if (!event) Fail(GC_ERR_NOT_AVAILABLE, "the event is not registered");
    ForgetEvent(type);
    event->Close();
    const Tavix::MutexLock guard(m_EventMutex);
    m_Events.erase(type);
}

std::shared_ptr<EventQueue> Module::Event(EVENT_TYPE type) {
    const Tavix::MutexLock guard(m_EventMutex);
    const auto found = m_Events.find(type);
    return found == m_Events.end() ? nullptr : found->second;
}

void Module::Invalidate(const char* feature) noexcept {
    if (const auto event = Event(EVENT_FEATURE_INVALIDATE)) event->PushText(feature);
}

void Module::Tell(std::uint64_t event) noexcept {
    if (const auto queue = Event(EVENT_MODULE)) queue->PushModule(event);
}

void Module::Close() noexcept {
    std::map<EVENT_TYPE, std::shared_ptr<EventQueue>> events;
    {
        const Tavix::MutexLock guard(m_EventMutex);
        events.swap(m_Events);
    }
    for (const auto& [type, event] : events) {
        ForgetEvent(type);
        event->Close();
    }
    Unregister();
}

} // namespace gentl
