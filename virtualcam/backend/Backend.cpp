#include "virtualcam/backend/Backend.h"
#include "core/Threads.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

#include <pthread.h>

namespace virtualcam {
namespace {

constexpr std::uint8_t kBus = 200; // no real host has so many

} // namespace

// --- a port of the bus

Backend::Slot::Slot(Backend& backend, std::uint8_t port, const CameraSettings& settings)
    : device(std::make_unique<Device>(settings)), m_Backend(backend), m_Port(port) {
    if (device->IsPlugged())
        m_Attachment = std::make_shared<Attachment>(*device, kBus, m_Backend.NextAddress(), m_Port);
    device->SetListener(this);
}

Backend::Slot::~Slot() {
    device->SetListener(nullptr);
}

std::shared_ptr<Attachment> Backend::Slot::Current() {
    const Tavix::MutexLock lock(m_Lock);
    return m_Attachment;
}

void Backend::Slot::Await(bool plugged) {
    Tavix::MutexLock lock(m_Lock);
    while ((m_Attachment && m_Attachment->IsPresent()) != plugged)
        lock.Wait(m_Changed);
}

void Backend::Slot::EndpointReady(std::uint8_t endpoint) {
    const std::shared_ptr<Attachment> attachment = Current();
    EndpointQueue* const queue = attachment ? attachment->FindEndpoint(endpoint) : nullptr;
    if (queue) queue->Pump();
}

// Both are called again when memory was short, so that is used up before anything changes.
void Backend::Slot::Unplugged() {
    const std::shared_ptr<Attachment> attachment = Current();
    if (!attachment) return;
    std::list<News> news{{usb::HotplugEvent::Left, attachment->Id()}};
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Attachment.reset();
        m_Changed.notify_all();
    }
    attachment->PumpAll();
    m_Backend.Announce(std::move(news));
}

void Backend::Slot::Plugged() {
    const auto attachment = std::make_shared<Attachment>(*device, kBus, m_Backend.NextAddress(), m_Port);
    std::list<News> news{{usb::HotplugEvent::Arrived, attachment->Id()}};
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Attachment = attachment;
        m_Changed.notify_all();
    }
    m_Backend.Announce(std::move(news));
}

// --- the bus

Backend::Backend(const BackendSettings& settings) {
    m_Memory->limit = settings.transferMemoryLimit;
    for (const CameraSettings& camera : settings.cameras)
        m_Slots.push_back(std::make_unique<Slot>(*this, static_cast<std::uint8_t>(m_Slots.size() + 1), camera));
    const Tavix::SignalsBlocked guard;
    m_Thread = Tavix::NewThread([this] { Run(); });
}

Backend::~Backend() {
    m_Slots.clear(); // nobody calls any more
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Stop = true;
        m_Changed.notify_all();
    }
    m_Thread.join();
}

std::vector<Backend::Slot*> Backend::Slots() const {
    const Tavix::MutexLock lock(m_SlotsLock);
    std::vector<Slot*> slots;
    for (const auto& slot : m_Slots)
        slots.push_back(slot.get());
    return slots;
}

void Backend::Add(const CameraSettings& settings) {
    Slot* added = nullptr;
    {
        const Tavix::MutexLock lock(m_SlotsLock);
        m_Slots.push_back(std::make_unique<Slot>(*this, static_cast<std::uint8_t>(m_Slots.size() + 1), settings));
        added = m_Slots.back().get();
    }
    const std::shared_ptr<Attachment> attachment = added->Current();
    if (attachment) Announce({{usb::HotplugEvent::Arrived, attachment->Id()}});
}

usb::Result Backend::Enumerate(std::vector<usb::DeviceEntry>& devices) try {
    for (Slot* const slot : Slots()) {
        const std::shared_ptr<Attachment> attachment = slot->Current();
        if (attachment && attachment->IsPresent()) devices.push_back(attachment->Entry());
    }
    return usb::Result::Ok;
} catch (const std::bad_alloc&) {
    return usb::Result::NoMemory;
}

usb::Result Backend::Open(const std::string& id, std::unique_ptr<usb::Handle>& handle) try {
    for (Slot* const slot : Slots()) {
        const std::shared_ptr<Attachment> attachment = slot->Current();
        if (!attachment || attachment->Id() != id || !attachment->IsPresent()) continue;
        if (slot->device->RefusesOpen()) return usb::Result::Access;
        handle = std::make_unique<Handle>(attachment, m_Memory);
        return usb::Result::Ok;
    }
    return usb::Result::NotFound;
} catch (const std::bad_alloc&) {
    return usb::Result::NoMemory;
}

void Backend::Plug(std::size_t index) {
    Slot* const slot = Slots()[index];
    slot->device->Plug();
    slot->Await(/*plugged=*/true);
}

void Backend::Unplug(std::size_t index) {
    Slot* const slot = Slots()[index];
    slot->device->Unplug();
    slot->Await(/*plugged=*/false);
}

std::string Backend::IdOf(std::size_t index) {
    const std::shared_ptr<Attachment> attachment = Slots()[index]->Current();
    return attachment && attachment->IsPresent() ? attachment->Id() : std::string();
}

// --- hotplug

std::uint64_t Backend::RegisterHotplug(usb::HotplugHandler handler) try {
    const Tavix::MutexLock lock(m_Lock);
    m_Handlers[m_LastRegistration + 1] = std::make_shared<usb::HotplugHandler>(std::move(handler));
    return ++m_LastRegistration;
} catch (const std::bad_alloc&) {
    return 0;
}

void Backend::DeregisterHotplug(std::uint64_t registration) {
    if (registration == 0) return; // there was no memory for it
    Tavix::MutexLock lock(m_Lock);
    m_Handlers.erase(registration);
    if (std::this_thread::get_id() == m_Thread.get_id()) return;
    while (m_Calling == registration)
        lock.Wait(m_Changed);
}

void Backend::Announce(std::list<News> news) {
    const Tavix::MutexLock lock(m_Lock);
    m_News.splice(m_News.end(), news);
    m_Changed.notify_all();
}

void Backend::Run() {
    pthread_setname_np(pthread_self(), "vcam-bus");
    Tavix::MutexLock lock(m_Lock);
    while (true) {
        while (!m_Stop && m_News.empty())
            lock.Wait(m_Changed);
        if (m_Stop) return;
        std::list<News> news;
        news.splice(news.end(), m_News, m_News.begin());
        lock.Unlock();
        Call(news.front());
        lock.Lock();
    }
}

void Backend::Call(const News& news) {
    std::uint64_t last = 0;
    while (true) {
        std::shared_ptr<usb::HotplugHandler> handler;
        {
            const Tavix::MutexLock lock(m_Lock);
            const auto next = m_Handlers.upper_bound(last);
            m_Calling = next == m_Handlers.end() ? 0 : next->first;
            m_Changed.notify_all();
            if (m_Calling == 0) return;
            last = m_Calling;
            handler = next->second;
        }
        try {
            (*handler)(news.event, news.id);
        } catch (const std::bad_alloc&) {
            continue; // the host's own loss; the next handler shall not share it
        }
    }
}

// --- making

std::unique_ptr<Backend> CreateBackend(const BackendSettings& settings) {
    return std::make_unique<Backend>(settings);
}

std::unique_ptr<Backend> CreateBackend(const std::string& settings, std::string& error) {
    BackendSettings parsed;
    if (!ReadSettings(settings, parsed, error)) return nullptr;
    try {
        return CreateBackend(parsed);
    } catch (const Tavix::NoThread&) {
        throw;
    } catch (const std::exception& problem) {
        error = problem.what();
        return nullptr;
    }
}

} // namespace virtualcam
