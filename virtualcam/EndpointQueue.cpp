#include "virtualcam/EndpointQueue.h"

#include <algorithm>
#include <new>
#include <utility>

namespace virtualcam {
namespace {

// Like a host controller, the pump gathers completions for a moment before it disturbs the host.
constexpr std::chrono::microseconds kModeration{100};

usb::TransferStatus StatusOf(PipeStatus status) {
    switch (status) {
    case PipeStatus::Stall:
        return usb::TransferStatus::Stall;
    case PipeStatus::Overflow:
        return usb::TransferStatus::Overflow;
    case PipeStatus::Error:
        return usb::TransferStatus::Error;
    case PipeStatus::Gone:
        return usb::TransferStatus::NoDevice;
    default:
        return usb::TransferStatus::Completed;
    }
}

} // namespace

// --- completions

void CompletionQueue::Add(usb::Transfer& transfer) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Done.push_back(&transfer);
}

void CompletionQueue::Wake() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Changed.notify_all();
}

void CompletionQueue::Interrupt() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    m_Interrupted = true;
    m_Changed.notify_all();
}

std::vector<usb::Transfer*> CompletionQueue::Wait(unsigned int timeoutMs) {
    std::unique_lock<std::mutex> lock(m_Lock);
    m_Changed.wait_for(lock, milliseconds(timeoutMs), [this] { return m_Interrupted || !m_Done.empty(); });
    m_Interrupted = false;
    return std::exchange(m_Done, {});
}

// --- host side

void EndpointQueue::Submit(Request& request) {
    bool kick = false;
    {
        const std::lock_guard<std::mutex> lock(m_Lock);
        kick = m_Queue.empty() || !m_Starved;
        request.queued = true;
        m_Queue.push_back(&request);
        if (m_Pumping) {
            m_Again = true;
            kick = false;
        }
    }
    if (kick) m_Device.RequestService(m_Endpoint);
}

void EndpointQueue::Transfer(Request& request, unsigned int timeoutMs) {
    const TimePoint deadline = Clock::Now() + milliseconds(timeoutMs);
    std::unique_lock<std::mutex> lock(m_Lock);
    request.queued = true;
    m_Queue.push_back(&request);
    PumpLocked(lock);
    const auto done = [&request] { return !request.queued; };
    if (done()) return;
    if (timeoutMs == 0) {
        m_Finished.wait(lock, done);
        return;
    }
    if (m_Finished.wait_until(lock, deadline, done)) return;
    request.cancelled = true;
    if (m_Pumping) { // it may just be served: the pump decides
        m_Again = true;
        m_Finished.wait(lock, done);
    } else {
        m_Queue.erase(std::find(m_Queue.begin(), m_Queue.end(), &request));
        Finish(request, usb::TransferStatus::Cancelled);
    }
    if (request.status == usb::TransferStatus::Cancelled) request.status = usb::TransferStatus::TimedOut;
}

bool EndpointQueue::Cancel(Request& request) {
    std::unique_lock<std::mutex> lock(m_Lock);
    if (!request.queued) return false;
    request.cancelled = true;
    if (m_Pumping) {
        m_Again = true;
        return true;
    }
    m_Queue.erase(std::find(m_Queue.begin(), m_Queue.end(), &request));
    Finish(request, usb::TransferStatus::Cancelled);
    WakeHost();
    return true;
}

bool EndpointQueue::IsIdle() {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return m_Queue.empty();
}

// --- device side

void EndpointQueue::Pump() {
    std::unique_lock<std::mutex> lock(m_Lock);
    PumpLocked(lock);
}

void EndpointQueue::PumpLocked(std::unique_lock<std::mutex>& lock) {
    if (m_Pumping) {
        m_Again = true;
        return;
    }
    m_Pumping = true;
    do {
        m_Again = false;
        m_Starved = false;
        do
            ReapCancelled();
        while (!m_Queue.empty() && ServeOldest(lock));
    } while (m_Again);
    m_Pumping = false;
    WakeHost();
}

// Ends what was cancelled while the pump was at work, wherever it stands in the queue.
void EndpointQueue::ReapCancelled() {
    for (auto request = m_Queue.begin(); request != m_Queue.end();) {
        if (!(*request)->cancelled) {
            ++request;
            continue;
        }
        Request& cancelled = **request;
        request = m_Queue.erase(request);
        Finish(cancelled, usb::TransferStatus::Cancelled);
    }
}

// Serves the oldest request as far as it goes; false when it has to wait.
bool EndpointQueue::ServeOldest(std::unique_lock<std::mutex>& lock) {
    Request& request = *m_Queue.front();
    lock.unlock();
    const PipeAnswer answer = Move(request);
    lock.lock();
    request.actual += answer.bytes;
    if (answer.status == PipeStatus::NotYet && !request.cancelled) {
        m_Starved = true;
        return false;
    }
    m_Queue.pop_front();
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
        return {PipeStatus::Error, 0}; // the host's thread works for the camera; its call must not end half-way
    }
}

void EndpointQueue::Finish(Request& request, usb::TransferStatus status) {
    request.queued = false;
    request.status = status;
    if (request.memory) *request.memory -= request.length;
    if (!request.transfer) {
        m_Finished.notify_all();
        return;
    }
    request.transfer->status = status;
    request.transfer->actualLength = request.actual;
    const Completed completions = request.completions; // the request may be gone as soon as it is added
    if (m_Unwoken != completions) {
        WakeHost();
        m_Unwoken = completions;
        m_UnwokenSince = Clock::Now();
    }
    completions->Add(*request.transfer);
}

void EndpointQueue::WakeHost() {
    if (m_Unwoken) m_Unwoken->Wake();
    m_Unwoken.reset();
}

} // namespace virtualcam
