#pragma once
// Host transfers that wait at one endpoint of a virtual device, and the completions that wait for their host.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>

#include "core/Mutex.h"
#include "usb/Backend.h"
#include "virtualcam/device/Device.h"
#include "virtualcam/device/RequestList.h"

namespace virtualcam {

/// Completed transfers of one handle, until its event thread runs them. Thread-safe.
class CompletionQueue {
public:
    /// Takes a request out of another queue. Does not wake: the pump wakes once for several.
    void Add(RequestList& from, Request& request);
    void Wake();
    /// Ends a Wait early.
    void Interrupt();
    /// How many there are, after a wait if there were none.
    std::size_t Wait(unsigned int timeoutMs);
    /// The oldest one's transfer; null when there is none.
    usb::Transfer* Take();
    /// Takes a request out if it is there.
    void Remove(Request& request);

private:
    Tavix::Mutex m_Lock;
    std::condition_variable m_Changed;
    RequestList m_Done TAVIX_GUARDED_BY(m_Lock);
    bool m_Interrupted TAVIX_GUARDED_BY(m_Lock) = false;
};

/// The queue of one endpoint. Whoever pumps holds no lock while the device works on the buffer of the oldest request,
/// and one thread pumps at a time. Thread-safe.
class EndpointQueue {
public:
    EndpointQueue(Device& device, std::uint64_t generation, std::uint8_t endpoint)
        : m_Device(device), m_Generation(generation), m_Endpoint(endpoint) {}

    /// Queues an asynchronous request. The device's thread serves it.
    void Submit(Request& request);
    /// Queues a request, serves it on this thread and waits for its end; after the time it is taken back.
    void Transfer(Request& request, unsigned int timeoutMs);
    /// False when the request is not queued any more.
    bool Cancel(Request& request);
    /// Takes a request back, if it is queued, without a completion; its buffer is not used any more afterwards.
    void Withdraw(Request& request);
    /// Serves the queue as far as the device goes; of many requests some, and the device's thread soon the others.
    void Pump();
    bool IsIdle();

private:
    using Completed = std::shared_ptr<CompletionQueue>;

    Device& m_Device;
    const std::uint64_t m_Generation;
    const std::uint8_t m_Endpoint;
    Tavix::Mutex m_Lock;
    std::condition_variable m_Finished;
    RequestList m_Queue TAVIX_GUARDED_BY(m_Lock);
    bool m_Pumping TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_Again TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_Starved TAVIX_GUARDED_BY(m_Lock) = false; // the device has nothing for the oldest request and will tell
    Completed m_Unwoken TAVIX_GUARDED_BY(m_Lock);    // has completions that it was not woken for
    TimePoint m_UnwokenSince TAVIX_GUARDED_BY(m_Lock);

    void PumpLocked() TAVIX_REQUIRES(m_Lock);
    bool IsTurnOver(unsigned served) const;
    void ReapCancelled() TAVIX_REQUIRES(m_Lock);
    bool ServeOldest() TAVIX_REQUIRES(m_Lock);
    PipeAnswer Move(const Request& request) const TAVIX_EXCLUDES(m_Lock);
    void Enqueue(Request& request) TAVIX_REQUIRES(m_Lock);
    void Finish(Request& request, usb::TransferStatus status) TAVIX_REQUIRES(m_Lock);
    void WakeHost() TAVIX_REQUIRES(m_Lock);
};

} // namespace virtualcam
