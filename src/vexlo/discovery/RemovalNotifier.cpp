// Tells who wants to know that a camera is gone.
#include "vexlo/discovery/RemovalNotifier.h"

#include "core/Threads.h"
#include "vexlo/Logging.h"

#include <exception>
#include <utility>

namespace vexlo {
namespace {

/// What an application throws must not end the thread, and so the process.
void Call(const VxCallbackParams& params) {
    const VxCallbackData data{params.Kind, params.Context, params.Device};
    try {
        params.Handler(&data);
    } catch (const std::exception& error) {
        Log(Tavix::kLogError, "A removal handler has thrown: %s", error.what());
    } catch (...) {
        Log(Tavix::kLogError, "A removal handler has thrown something unknown");
    }
}

} // namespace

RemovalNotifier::~RemovalNotifier() {
    Stop();
}

void RemovalNotifier::Stop() {
    std::thread thread;
    bool isCalling = false;
    {
        const MutexLock lock(m_Lock);
        m_Stopped = true;
        thread.swap(m_Thread);
        isCalling = m_Running != 0;
    }
    m_Wake.notify_all();
    if (!thread.joinable()) return;
    // The thread holds a share of this object until its end. It may also be the caller: a handler may end the library.
    if (isCalling || thread.get_id() == std::this_thread::get_id()) {
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
    MutexLock lock(m_Lock);
    m_Watched.erase(token);
    if (std::this_thread::get_id() == m_ThreadId) return;
    while (m_Told == token)
        lock.Wait(m_Returned);
}

void RemovalNotifier::BusReportsRemoval(const usb::Backend* bus, const std::string& id) {
    const MutexLock lock(m_Lock);
    for (auto& [token, watched] : m_Watched) {
        if (watched.bus != bus || watched.id != id) continue;
        watched.isRemovedAgain = watched.removed.isMade;
        if (!watched.removed.isMade) Post(watched.removed);
    }
}

void RemovalNotifier::TransferReportsRemoval(Token token) {
    const MutexLock lock(m_Lock);
    const auto found = m_Watched.find(token);
    if (found != m_Watched.end() && !found->second.lost.isMade) Post(found->second.lost);
}

VxStatus RemovalNotifier::Register(const VxCallbackParams& params, unsigned long& handle) {
    const MutexLock lock(m_Lock);
    for (auto& [token, watched] : m_Watched) {
        if (watched.device != params.Device) continue;
        m_Registrations[m_LastHandle + 1] = {params, token, /*delivered=*/false};
        handle = ++m_LastHandle;
        // What was reported before the registration is news to the handler all the same.
        Report& report = watched.Of(params.Kind);
        if (report.isMade) Post(report);
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

void RemovalNotifier::Post(Report& report) {
    report.isMade = true;
    report.pending = ++m_LastTurn;
    StartThread(); // perhaps there was none to be had before
    m_Wake.notify_all();
}

void RemovalNotifier::StartThread() {
    if (m_Thread.joinable() || m_Stopped) return;
    try {
        m_Thread = Tavix::StartThread([self = shared_from_this()] { self->Run(); });
    } catch (const std::exception& error) {
        Log(Tavix::kLogError, "Removals cannot be reported now: %s", error.what());
    }
}

void RemovalNotifier::Run() {
    MutexLock lock(m_Lock);
    m_ThreadId = std::this_thread::get_id();
    Notice notice;
    while (!m_Stopped) {
        if (TakeNext(notice)) {
            Deliver(notice);
        } else {
            lock.Wait(m_Wake);
        }
    }
}

/// The notice that waits longest; false when none does.
bool RemovalNotifier::TakeNext(Notice& notice) {
    Report* next = nullptr;
    for (auto& [token, watched] : m_Watched) {
        for (const unsigned int kind : {VxCallback_DeviceRemoved, VxCallback_DeviceLost}) {
            Report& report = watched.Of(kind);
            if (report.pending == 0 || (next != nullptr && next->pending < report.pending)) continue;
            next = &report;
            notice = {kind, token};
        }
    }
    if (next == nullptr) return false;
    next->pending = 0;
    return true;
}

void RemovalNotifier::Deliver(const Notice& notice) {
    if (IsMistaken(notice)) return Withdraw(notice);
    while (!m_Stopped && CallNext(notice)) {
    }
}

/// Asks the listener, or tells it. Leaves the lock for that, and holds it again afterwards.
bool RemovalNotifier::IsMistaken(const Notice& notice) {
    auto listener = m_Watched.at(notice.token).listener.lock();
    m_Told = notice.token;
    m_Lock.unlock();
    const bool isMistaken = listener && notice.kind == VxCallback_DeviceRemoved && listener->IsCameraThere();
    if (listener && !isMistaken) listener->CameraGone();
    listener.reset(); // may be the last share: its end must not need our lock
    m_Lock.lock();
    m_Told = 0;
    m_Returned.notify_all();
    return isMistaken;
}

/// The camera's own removal is still to be reported.
void RemovalNotifier::Withdraw(const Notice& notice) {
    const auto found = m_Watched.find(notice.token);
    if (found == m_Watched.end()) return;
    if (found->second.isRemovedAgain) return Post(found->second.removed); // perhaps that was it
    found->second.removed.isMade = false;
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
        Call(params);
        m_Lock.lock();
        m_Running = 0;
        m_Returned.notify_all();
        return true;
    }
    return false;
}

} // namespace vexlo
