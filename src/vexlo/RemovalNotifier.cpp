// Tells who wants to know that a camera is gone.
#include "vexlo/RemovalNotifier.h"

#include "vexlo/Logging.h"

#include <system_error>
#include <utility>

namespace vexlo {

RemovalNotifier::~RemovalNotifier() {
    Stop();
}

void RemovalNotifier::Stop() {
    std::thread thread;
    {
        const MutexLock lock(m_Lock);
        m_Stopped = true;
        thread.swap(m_Thread);
    }
    m_Wake.notify_all();
    if (!thread.joinable()) return;
    // A handler that ends the library runs on the thread itself, which holds a share of this object until its end.
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();
    } else {
        thread.join();
    }
}

RemovalNotifier::Token RemovalNotifier::Watch(const usb::Backend* bus, const std::string& id, CVxDevice* device,
                                              std::weak_ptr<RemovalListener> listener) {
    const MutexLock lock(m_Lock);
    StartThread();
    Watched watched;
    watched.bus = bus;
    watched.id = id;
    watched.device = device;
    watched.listener = std::move(listener);
    m_Watched.emplace(++m_LastToken, std::move(watched));
    return m_LastToken;
}

void RemovalNotifier::Unwatch(Token token) {
    const MutexLock lock(m_Lock);
    m_Watched.erase(token);
}

void RemovalNotifier::BusReportsRemoval(const usb::Backend* bus, const std::string& id) {
    const MutexLock lock(m_Lock);
    for (auto& [token, watched] : m_Watched) {
        if (watched.bus != bus || watched.id != id) continue;
        watched.repeated = watched.removed;
        if (watched.removed) continue;
        watched.removed = true;
        Post({VxCallback_DeviceRemoved, token});
    }
}

void RemovalNotifier::TransferReportsRemoval(Token token) {
    const MutexLock lock(m_Lock);
    const auto found = m_Watched.find(token);
    if (found == m_Watched.end() || found->second.lost) return;
    found->second.lost = true;
    Post({VxCallback_DeviceLost, token});
}

VxStatus RemovalNotifier::Register(const VxCallbackParams& params, unsigned long& handle) {
    const MutexLock lock(m_Lock);
    for (const auto& [token, watched] : m_Watched) {
        if (watched.device != params.Device) continue;
        handle = ++m_LastHandle;
        m_Registrations[handle] = {params, token, /*delivered=*/false};
        // What was reported before the registration is news to the handler all the same.
        if (params.Kind == VxCallback_DeviceRemoved ? watched.removed : watched.lost) Post({params.Kind, token});
        return VX_OK;
    }
    return VX_E_NOT_OPEN;
}

VxStatus RemovalNotifier::Deregister(unsigned long handle) {
    MutexLock lock(m_Lock);
    if (m_Registrations.erase(handle) == 0) return VX_E_NOT_FOUND;
    if (std::this_thread::get_id() == m_ThreadId) return VX_OK;
    while (m_Running == handle)
        lock.Wait(m_Returned);
    return VX_OK;
}

void RemovalNotifier::Post(Notice notice) {
    m_Notices.push_back(notice);
    m_Wake.notify_all();
}

void RemovalNotifier::StartThread() {
    if (m_Thread.joinable() || m_Stopped) return;
    try {
        m_Thread = std::thread([self = shared_from_this()] { self->Run(); });
    } catch (const std::system_error& error) {
        Log(Tavix::kLogError, "Removals will not be reported: %s", error.what());
    }
}

void RemovalNotifier::Run() {
    MutexLock lock(m_Lock);
    m_ThreadId = std::this_thread::get_id();
    while (!m_Stopped) {
        if (m_Notices.empty()) {
            lock.Wait(m_Wake);
            continue;
        }
        const Notice notice = m_Notices.front();
        m_Notices.pop_front();
        Deliver(notice);
    }
}

/// Leaves the lock for what it calls, and holds it again afterwards.
void RemovalNotifier::Deliver(const Notice& notice) {
    const auto found = m_Watched.find(notice.token);
    if (found == m_Watched.end()) return; // closed in the meantime
    auto listener = found->second.listener.lock();
    m_Lock.unlock();
    const bool isMistaken = listener && notice.kind == VxCallback_DeviceRemoved && listener->IsCameraThere();
    if (listener && !isMistaken) listener->CameraGone();
    listener.reset(); // may be the last share: its end must not need our lock
    m_Lock.lock();
    if (isMistaken) return Withdraw(notice);
    while (!m_Stopped && CallNext(notice)) {
    }
}

/// The camera's own removal is still to be reported.
void RemovalNotifier::Withdraw(const Notice& notice) {
    const auto found = m_Watched.find(notice.token);
    if (found == m_Watched.end()) return;
    if (found->second.repeated) return Post(notice); // perhaps that was it
    found->second.removed = false;
}

/// Calls one handler that the notice is for; false when there is none left.
bool RemovalNotifier::CallNext(const Notice& notice) {
    for (auto& [handle, registration] : m_Registrations) {
        if (registration.delivered || registration.token != notice.token) continue;
        if (registration.params.Kind != notice.kind) continue;
        registration.delivered = true;
        m_Running = handle;
        const VxCallbackParams params = registration.params;
        m_Lock.unlock();
        const VxCallbackData data{params.Kind, params.Context, params.Device};
        params.Handler(&data);
        m_Lock.lock();
        m_Running = 0;
        m_Returned.notify_all();
        return true;
    }
    return false;
}

} // namespace vexlo
