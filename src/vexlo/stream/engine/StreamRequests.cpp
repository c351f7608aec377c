#include "vexlo/stream/engine/StreamRequests.h"

namespace vexlo {

void StreamRequests::Begin() {
    const MutexLock lock(m_Mutex);
    m_Begun = true;
    m_Asked.notify_all();
}

void StreamRequests::AwaitBegin() {
    MutexLock lock(m_Mutex);
    while (!m_Begun)
        lock.Wait(m_Asked);
}

unsigned int StreamRequests::AskCancelLocked() {
    if (m_Ended) return 0; // what the waker wakes may be gone
    ++m_CancelsAsked;
    m_IsNew = true;
    m_Asked.notify_all();
    m_Waker();
    return m_CancelsAsked;
}

void StreamRequests::AskCancel() {
    const MutexLock lock(m_Mutex);
    (void)AskCancelLocked();
}

void StreamRequests::Cancel() {
    MutexLock lock(m_Mutex);
    const unsigned int mine = AskCancelLocked();
    while (!m_Ended && m_CancelsServed < mine)
        lock.Wait(m_Served);
}

void StreamRequests::Stop() {
    const MutexLock lock(m_Mutex);
    if (m_Ended) return;
    m_StopAsked = true;
    m_IsNew = HasNew();
    m_Asked.notify_all();
    m_Waker();
}

bool StreamRequests::HasNew() const {
    return (m_StopAsked && !m_Stopping) || m_CancelsAsked != m_CancelsTaken;
}

void StreamRequests::Take() {
    const MutexLock lock(m_Mutex);
    m_CancelsTaken = m_CancelsAsked;
    m_Stopping = m_StopAsked;
    m_IsNew = false;
}

void StreamRequests::Serve() {
    const MutexLock lock(m_Mutex);
    m_CancelsServed = m_CancelsTaken;
    m_Served.notify_all();
}

void StreamRequests::Wait() {
    MutexLock lock(m_Mutex);
    while (!HasNew())
        lock.Wait(m_Asked);
}

void StreamRequests::WaitUntil(std::chrono::steady_clock::time_point end) {
    MutexLock lock(m_Mutex);
    while (!HasNew() && lock.WaitUntil(m_Asked, end)) {
    }
}

void StreamRequests::End() {
    const MutexLock lock(m_Mutex);
    m_Ended = true;
    m_Served.notify_all();
}

} // namespace vexlo
