#include "virtualcam/device/DeviceThread.h"
#include "core/Threads.h"

#include <new>
#include <utility>

#include <pthread.h>

namespace virtualcam {
namespace {

constexpr milliseconds kRetryDelay{10};

} // namespace

void DeviceThread::Stop() {
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Stop = true;
        m_Posted.notify_all();
    }
    if (m_Thread.joinable()) m_Thread.join();
}

void DeviceThread::SetListener(DeviceListener* listener) {
    const Tavix::MutexLock lock(m_ListenerLock);
    const Tavix::SignalsBlocked guard;
    if (listener && !m_Thread.joinable()) m_Thread = Tavix::NewThread([this] { Run(); });
    m_Listener = listener;
}

void DeviceThread::Ready(std::uint8_t endpoint) {
    const Tavix::MutexLock lock(m_Lock);
    m_Ready.Add(endpoint);
    if (m_Waiting) m_Posted.notify_one();
}

void DeviceThread::Tell(bool plugged) {
    const Tavix::MutexLock lock(m_Lock);
    ++m_Notices;
    m_LastPlugged = plugged;
    if (m_Waiting) m_Posted.notify_one();
}

void DeviceThread::Reschedule(std::optional<TimePoint> deadline) {
    if (!deadline) return;
    const Tavix::MutexLock lock(m_Lock);
    if (m_WakeAt && *m_WakeAt <= *deadline) return;
    m_Rethink = true;
    if (m_Waiting) m_Posted.notify_one();
}

void DeviceThread::Run() {
    pthread_setname_np(pthread_self(), "vcam");
    Tavix::MutexLock lock(m_Lock);
    while (!m_Stop) {
        m_Rethink = false;
        lock.Unlock();
        const std::optional<TimePoint> deadline = RunDueTimers();
        lock.Lock();
        if (m_Ready.IsEmpty() && m_Notices == 0)
            Wait(lock, deadline);
        else if (!Deliver())
            WaitForRetry(lock);
    }
}

std::optional<TimePoint> DeviceThread::RunDueTimers() {
    try {
        return m_RunTimers();
    } catch (const std::bad_alloc&) {
        return Clock::Now() + kRetryDelay;
    }
}

void DeviceThread::Wait(Tavix::MutexLock& lock, std::optional<TimePoint> deadline) {
    m_WakeAt = deadline;
    m_Waiting = true;
    while (!IsDue()) {
        if (!deadline)
            lock.Wait(m_Posted);
        else if (!lock.WaitUntil(m_Posted, *deadline))
            break;
    }
    m_Waiting = false;
    m_WakeAt.reset();
}

bool DeviceThread::IsDue() const {
    return m_Stop || m_Rethink || !m_Ready.IsEmpty() || m_Notices != 0;
}

void DeviceThread::WaitForRetry(Tavix::MutexLock& lock) {
    const TimePoint end = Clock::Now() + kRetryDelay;
    while (!m_Stop)
        if (!lock.WaitUntil(m_Posted, end)) return;
}

// --- telling the listener

// False when something has to be told again.
bool DeviceThread::Deliver() {
    while (m_Notices != 0) {
        const bool oldest = m_LastPlugged == (m_Notices % 2 == 1);
        m_Lock.unlock();
        const bool told = DeliverNotice(oldest);
        m_Lock.lock();
        if (!told) return false;
        --m_Notices;
    }
    const EndpointSet ready = std::exchange(m_Ready, EndpointSet());
    m_Lock.unlock();
    const EndpointSet left = DeliverReady(ready);
    m_Lock.lock();
    m_Ready.Add(left);
    return left.IsEmpty();
}

bool DeviceThread::DeliverNotice(bool plugged) {
    const Tavix::MutexLock lock(m_ListenerLock);
    if (!m_Listener) return true;
    try {
        if (plugged)
            m_Listener->Plugged();
        else
            m_Listener->Unplugged();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// What is left to be told.
EndpointSet DeviceThread::DeliverReady(EndpointSet ready) {
    const Tavix::MutexLock lock(m_ListenerLock);
    if (!m_Listener) return {};
    while (!ready.IsEmpty()) {
        const std::uint8_t endpoint = ready.TakeFirst();
        try {
            m_Listener->EndpointReady(endpoint);
        } catch (const std::bad_alloc&) {
            ready.Add(endpoint);
            break;
        }
    }
    return ready;
}

} // namespace virtualcam
