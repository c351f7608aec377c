#include "virtualcam/device/endpoint/EndpointQueue.h"

#include <new>
#include <utility>

namespace virtualcam {
namespace {

// Like a host controller, the pump gathers completions for a moment before it disturbs the host.
constexpr std::chrono::microseconds kModeration{100};

// After so many requests the other endpoints have their turn: a host that queues as fast as it is served would keep the
// device's only thread for one of them.
constexpr unsigned kTurn = 32;

usb::TransferStatus StatusOf(PipeStatus status) {
    switch (status) {
    case PipeStatus::Stall:
        return usb::TransferStatus::Stall;
    case PipeStatus::Overflow:
        return usb::TransferStatus::Overflow;
    case PipeStatus::Error:
    case PipeStatus::NoMemory:
        return usb::TransferStatus::Error;
    case PipeStatus::Gone:
        return usb::TransferStatus::NoDevice;
    default:
        return usb::TransferStatus::Completed;
    }
}

} // namespace

// --- completions

void CompletionQueue::Add(RequestList& from, Request& request) {
    const Tavix::MutexLock lock(m_Lock);
    from.Remove(request);
    m_Done.Append(request);
}

usb::Transfer* CompletionQueue::Take() {
    const Tavix::MutexLock lock(m_Lock);
    Request* const oldest = m_Done.First();
    if (!oldest) return nullptr;
    m_Done.Remove(*oldest);
    return oldest->transfer;
}

void CompletionQueue::Remove(Request& request) {
    const Tavix::MutexLock lock(m_Lock);
    m_Done.Remove(request);
}

void CompletionQueue::Wake() {
    const Tavix::MutexLock lock(m_Lock);
    m_Changed.notify_all();
}

void CompletionQueue::Interrupt() {
    const Tavix::MutexLock lock(m_Lock);
    m_Interrupted = true;
    m_Changed.notify_all();
}

std::size_t CompletionQueue::Wait(unsigned int timeoutMs) {
    Tavix::MutexLock lock(m_Lock);
    const auto end = std::chrono::steady_clock::now() + milliseconds(timeoutMs);
    while (!m_Interrupted && m_Done.IsEmpty())
        if (!lock.WaitUntil(m_Changed, end)) break;
    m_Interrupted = false;
    return m_Done.Size();
}

// --- host side

void EndpointQueue::Enqueue(Request& request) {
    request.endpoint = this;
    request.queued = true;
    m_Queue.Append(request);
}

void EndpointQueue::Submit(Request& request) {
    bool kick = false;
    {
        const Tavix::MutexLock lock(m_Lock);
        kick = m_Queue.IsEmpty() || !m_Starved;
        Enqueue(request);
        if (m_Pumping) {
            m_Again = true;
            kick = false;
        }
    }
    if (m_Device.Generation() != m_Generation)
        Pump(); // the queue was emptied when the device left, and will not be again
    else if (kick)
        m_Device.RequestService(m_Endpoint);
}

void EndpointQueue::Transfer(Request& request, unsigned int timeoutMs) {
    const TimePoint deadline = Clock::Now() + milliseconds(timeoutMs);
    Tavix::MutexLock lock(m_Lock);
    Enqueue(request);
    PumpLocked();
    while (request.queued) {
        if (timeoutMs == 0)
            lock.Wait(m_Finished);
        else if (!lock.WaitUntil(m_Finished, deadline))
            break;
    }
    if (!request.queued) return;
    request.cancelled = true;
    if (m_Pumping) { // it may just be served: the pump decides
        m_Again = true;
        while (request.queued)
            lock.Wait(m_Finished);
    } else {
        Finish(request, usb::TransferStatus::Cancelled);
    }
    if (request.status == usb::TransferStatus::Cancelled) request.status = usb::TransferStatus::TimedOut;
}

bool EndpointQueue::Cancel(Request& request) {
    Tavix::MutexLock lock(m_Lock);
    if (!request.queued) return false;
    request.cancelled = true;
    if (m_Pumping) {
        m_Again = true;
        return true;
    }
    Finish(request, usb::TransferStatus::Cancelled);
    WakeHost();
    return true;
}

void EndpointQueue::Withdraw(Request& request) {
    Tavix::MutexLock lock(m_Lock);
    if (!request.queued) return;
    request.transfer = nullptr; // like a synchronous one: its end concerns nobody else
    request.cancelled = true;
    if (m_Pumping) {
        m_Again = true;
        while (request.queued)
            lock.Wait(m_Finished);
    } else {
        Finish(request, usb::TransferStatus::Cancelled);
    }
}

bool EndpointQueue::IsIdle() {
    const Tavix::MutexLock lock(m_Lock);
    return m_Queue.IsEmpty();
}

// --- device side

void EndpointQueue::Pump() {
    Tavix::MutexLock lock(m_Lock);
    PumpLocked();
}

void EndpointQueue::PumpLocked() {
    if (m_Pumping) {
        m_Again = true;
        return;
    }
    m_Pumping = true;
    unsigned served = 0;
    do {
        m_Again = false;
        m_Starved = false;
        do
            ReapCancelled();
        while (!m_Queue.IsEmpty() && !IsTurnOver(served++) && ServeOldest());
    } while (m_Again && !IsTurnOver(served));
    m_Pumping = false;
    WakeHost();
    if (IsTurnOver(served)) m_Device.RequestService(m_Endpoint);
}

// What is queued when the device leaves ends at once.
bool EndpointQueue::IsTurnOver(unsigned served) const {
    return served >= kTurn && m_Device.Generation() == m_Generation;
}

// Ends what was cancelled while the pump was at work, wherever it stands in the queue.
void EndpointQueue::ReapCancelled() {
    for (Request* request = m_Queue.First(); request;) {
        Request& queued = *request;
        request = queued.next;
        if (queued.cancelled) Finish(queued, usb::TransferStatus::Cancelled);
    }
}

// Serves the oldest request as far as it goes; false when it has to wait.
bool EndpointQueue::ServeOldest() {
    Request& request = *m_Queue.First();
    m_Lock.unlock();
    const PipeAnswer answer = Move(request);
    m_Lock.lock();
    request.actual += answer.bytes;
    if (answer.status == PipeStatus::NotYet && !request.cancelled) {
        m_Starved = true;
        return false;
    }
    Finish(request, answer.status == PipeStatus::NotYet ? usb::TransferStatus::Cancelled : StatusOf(answer.status));
    if (m_Unwoken && Clock::Now() - m_UnwokenSince > kModeration) WakeHost();
    return true;
}

PipeAnswer EndpointQueue::Move(const Request& request) const {
    if (m_Device.Generation() != m_Generation) return {PipeStatus::Gone, 0};
    try {
        if ((m_Endpoint & 0x80) == 0) return m_Device.Out(m_Endpoint, request.buffer, request.length);
        return m_Device.In(m_Endpoint, request.buffer + request.actual, request.length - request.actual);
    } catch (const std::bad_alloc&) {
        return {PipeStatus::NoMemory, 0}; // the host's thread works for the camera; its call must not end half-way
    }
}

// The request may be gone as soon as whoever waits for it can know.
void EndpointQueue::Finish(Request& request, usb::TransferStatus status) {
    request.queued = false;
    request.status = status;
    if (request.memory) *request.memory -= request.length;
    if (!request.transfer) {
        m_Queue.Remove(request);
        m_Finished.notify_all();
        return;
    }
    request.transfer->status = status;
    request.transfer->actualLength = request.actual;
    const Completed completions = request.completions;
    if (m_Unwoken != completions) {
        WakeHost();
        m_Unwoken = completions;
        m_UnwokenSince = Clock::Now();
    }
    completions->Add(m_Queue, request);
}

void EndpointQueue::WakeHost() {
    if (m_Unwoken) m_Unwoken->Wake();
    m_Unwoken.reset();
}

} // namespace virtualcam
