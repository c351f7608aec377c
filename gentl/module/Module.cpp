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
    const auto event = MakeEvent(type);
    try {
        event->Open([&]() TAVIX_REQUIRES(TreeMutex()) {
            CheckOpen();
            const Tavix::MutexLock guard(m_EventMutex);
            if (!m_Events.try_emplace(type, event).second)
                Fail(GC_ERR_RESOURCE_IN_USE, "the event is registered already");
        });
    } catch (...) {
        Forget(type, *event);
        throw;
    }
    *handle = event->Handle();
}

void Module::UnregisterEvent(EVENT_TYPE type) {
    std::shared_ptr<EventQueue> event;
    {
        const Tavix::MutexLock tree(TreeMutex());
        CheckOpen();
        event = Event(type);
        if (!event || !event->IsOpen()) Fail(GC_ERR_NOT_AVAILABLE, "the event is not registered");
        event->Leave();
    }
    event->End();
    Forget(type, *event);
}

void Module::Forget(EVENT_TYPE type, const EventQueue& event) noexcept {
    const Tavix::MutexLock guard(m_EventMutex);
    const auto found = m_Events.find(type);
    if (found != m_Events.end() && found->second.get() == &event) m_Events.erase(found);
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

void Module::DoLeave() noexcept {
    for (EVENT_TYPE type = EVENT_ERROR; type <= EVENT_MODULE; ++type)
        if (const auto event = Event(type)) event->Leave();
}

void Module::DoEnd() noexcept {
    for (EVENT_TYPE type = EVENT_ERROR; type <= EVENT_MODULE; ++type) {
        const auto event = Event(type);
        if (!event) continue;
        event->End();
        Forget(type, *event);
    }
}

} // namespace gentl
