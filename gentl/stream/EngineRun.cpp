// Starting and stopping, and whom the bus wakes.
#include "gentl/stream/AcquisitionEngine.h"

#include <limits>

namespace gentl {
namespace {

using Guard = Tavix::MutexLock;

/// More buffers than anybody announces; they cost nothing before they are there.
constexpr unsigned long kMostBuffers = 65536;
constexpr unsigned long kLargestBuffer = std::numeric_limits<long>::max();

} // namespace

void AcquisitionEngine::Start(std::uint64_t count) {
    if (count == 0) Fail(GC_ERR_INVALID_PARAMETER, "no buffers are to be acquired");
    const Guard pump(m_PumpMutex);
    {
        const Guard guard(m_Mutex);
        if (m_IsRunning) Fail(GC_ERR_RESOURCE_IN_USE, "the stream is running already");
        Begin(count);
    }
    StartPump();
}

void AcquisitionEngine::Begin(std::uint64_t count) {
    Check(m_Vx.PrepareGrab(kMostBuffers, kLargestBuffer), "The stream cannot be prepared");
    m_Left = count;
    m_Queues.BeginCounting();
    try {
        for (const SharedBuffer& buffer : m_Queues.Announced())
            RegisterOnBus(*buffer);
        Check(m_Vx.StartStreaming(), "The stream cannot be started");
        m_IsRunning = true;
        for (Buffer* const buffer : m_Queues.Input())
            Check(QueueOnBus(*buffer), "The buffer cannot be queued");
    } catch (...) {
        End();
        throw;
    }
}

void AcquisitionEngine::Stop() {
    const Guard pump(m_PumpMutex);
    StopPump();
    const Guard guard(m_Mutex);
    if (!m_IsRunning) Fail(GC_ERR_RESOURCE_IN_USE, "the stream is not running");
    End();
}

/// What was not filled stays in the input pool; what was stays in the output queue.
void AcquisitionEngine::End() {
    m_IsRunning = false;
    (void)m_Vx.FinishGrab(); // a camera that is gone does not keep its buffers
    DrainForOthers();
    for (const SharedBuffer& buffer : m_Queues.Announced()) {
        vexlo::BufferHandle_s*& handle = m_Queues.WayOf(*buffer).handle;
        if (!handle) continue;
        void* unused = nullptr;
        (void)m_Vx.DeregisterBuffer(handle, &unused);
        handle = nullptr;
        m_Queues.NoteOnBus(*buffer, false);
    }
}

std::vector<SharedBuffer> AcquisitionEngine::Close() noexcept {
    const Guard pump(m_PumpMutex);
    StopPump();
    const Guard guard(m_Mutex);
    End();
    for (const SharedBuffer& buffer : m_Queues.Announced())
        buffer->Unregister();
    return m_Queues.RevokeAll();
}

void AcquisitionEngine::SetHandling(Handling handling) {
    const Guard guard(m_Mutex);
    if (m_IsRunning) Fail(GC_ERR_BUSY, "the stream is running");
    m_Handling = handling;
}

void AcquisitionEngine::SetListener(const Tavix::WaitObjectEx& listener) noexcept {
    const Guard guard(m_Mutex);
    m_Listener = listener;
    BindWaitObject();
}

void AcquisitionEngine::BindWaitObject() noexcept {
    (void)m_Vx.RegisterWaitObject(m_IsPumped ? m_PumpBell : m_Listener);
}

void AcquisitionEngine::StartPump() {
    const Guard guard(m_Mutex);
    if (!Overwrites(m_Handling)) return;
    try {
        m_Pump.Start();
    } catch (const std::exception&) {
        End();
        Fail(GC_ERR_RESOURCE_EXHAUSTED, "a thread for the stream cannot be had");
    }
    m_IsPumped = true;
    BindWaitObject();
}

void AcquisitionEngine::StopPump() noexcept {
    if (!m_Pump.IsRunning()) return;
    m_Pump.Stop();
    const Guard guard(m_Mutex);
    m_IsPumped = false;
    BindWaitObject();
}

void AcquisitionEngine::DrainForPump() noexcept {
    const Guard guard(m_Mutex);
    Drain();
    if (!m_Queues.Output().empty()) m_Listener.Signal();
}

} // namespace gentl
