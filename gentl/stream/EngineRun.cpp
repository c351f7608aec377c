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

bool AcquisitionEngine::IsGrabbing() const {
    return m_Phase == Phase::Running && m_Left != 0 && m_EndReason == vexlo::VX_OK;
}

void AcquisitionEngine::Start(std::uint64_t count) {
    if (count == 0) Fail(GC_ERR_INVALID_PARAMETER, "no buffers are to be acquired");
    const Guard pump(m_PumpMutex);
    {
        const Guard guard(m_Mutex);
        CheckOpen();
        if (IsGrabbing()) Fail(GC_ERR_RESOURCE_IN_USE, "the stream is running already");
    }
    End(); // a run that is over
    Begin(count);
    StartPump();
    m_Observer.NoteGrabbing();
}

void AcquisitionEngine::Begin(std::uint64_t count) {
    m_EndReason = vexlo::VX_OK;
    m_Vx.SetEndListener([this](vexlo::VxStatus reason) { OnEnd(reason); });
    try {
        Check(m_Vx.PrepareGrab(kMostBuffers, kLargestBuffer), "The stream cannot be prepared");
        PrepareBuffers(count);
        Check(m_Vx.StartStreaming(), "The stream cannot be started");
        QueueInput();
    } catch (...) {
        End();
        throw;
    }
}

void AcquisitionEngine::PrepareBuffers(std::uint64_t count) {
    const Guard guard(m_Mutex);
    m_Phase = Phase::Starting;
    m_IsPrepared = true;
    m_Left = count;
    m_Queues.BeginCounting();
    for (const SharedBuffer& buffer : m_Queues.Announced())
        RegisterOnBus(*buffer);
}

void AcquisitionEngine::QueueInput() {
    const Guard guard(m_Mutex);
    m_Phase = Phase::Running;
    for (Buffer* const buffer : m_Queues.Input())
        Check(QueueOnBus(*buffer), "The buffer cannot be queued");
}

void AcquisitionEngine::Stop() {
    const Guard pump(m_PumpMutex);
    bool wasGrabbing = false;
    {
        const Guard guard(m_Mutex);
        CheckOpen();
        if (m_Phase != Phase::Running) Fail(GC_ERR_RESOURCE_IN_USE, "the stream is not running");
        wasGrabbing = IsGrabbing();
    }
    End();
    if (wasGrabbing) m_Observer.NoteGrabbing();
}

/// What was not filled stays in the input pool; what was stays in the output queue. Harmless when nothing runs.
void AcquisitionEngine::End() noexcept {
    StopPump();
    EnterStopping();
    (void)m_Vx.FinishGrab(); // a camera that is gone does not keep its buffers
    TakeBuffersBack();
}

void AcquisitionEngine::EnterStopping() noexcept {
    const Guard guard(m_Mutex);
    m_Phase = Phase::Stopping;
    m_IsPrepared = false;
}

void AcquisitionEngine::TakeBuffersBack() noexcept {
    Guard guard(m_Mutex);
    m_Phase = Phase::Idle; // nothing is on the bus, so that nobody begins to call off
    while (m_CallsOff != 0)
        guard.Wait(m_HaveCalledOff);
    DrainForOthers();
    for (const SharedBuffer& buffer : m_Queues.Announced()) {
        vexlo::BufferHandle_s*& handle = m_Queues.WayOf(*buffer).handle;
        if (!handle) continue;
        void* unused = nullptr;
        (void)m_Vx.DeregisterBuffer(handle, &unused);
        handle = nullptr;
        m_Queues.NoteOnBus(*buffer, false);
    }
    TellListener();
}

/// On the stream's thread, which others may be waiting for with the queues' lock.
void AcquisitionEngine::OnEnd(vexlo::VxStatus reason) noexcept {
    m_EndReason = reason;
    TellListener();
    m_Observer.NoteEnd(reason);
    m_Observer.NoteGrabbing();
}

std::vector<SharedBuffer> AcquisitionEngine::Close() noexcept {
    const Guard pump(m_PumpMutex);
    End();
    m_Vx.SetEndListener(nullptr);
    Wake(Woken::Nobody);
    const Guard guard(m_Mutex);
    m_Phase = Phase::Closed;
    for (const SharedBuffer& buffer : m_Queues.Announced())
        buffer->Unregister();
    return m_Queues.RevokeAll();
}

void AcquisitionEngine::CheckIdle() const {
    CheckOpen();
    if (m_Phase != Phase::Idle) Fail(GC_ERR_BUSY, "the stream is running");
}

void AcquisitionEngine::RequireIdle() {
    const Guard guard(m_Mutex);
    CheckIdle();
}

void AcquisitionEngine::SetHandling(Handling handling) {
    const Guard guard(m_Mutex);
    CheckIdle();
    m_Handling = handling;
}

void AcquisitionEngine::SetListener(const Tavix::WaitObjectEx& listener) noexcept {
    const Guard guard(m_ListenerMutex);
    m_Listener = listener;
    BindWaitObject();
}

void AcquisitionEngine::TellListener() noexcept {
    const Guard guard(m_ListenerMutex);
    m_Listener.Signal();
}

void AcquisitionEngine::BindWaitObject() noexcept {
    if (m_Woken == Woken::Nobody) return;
    (void)m_Vx.RegisterWaitObject(m_Woken == Woken::Pump ? m_PumpBell : m_Listener);
}

void AcquisitionEngine::Wake(Woken whom) noexcept {
    const Guard guard(m_ListenerMutex);
    if (m_Woken == Woken::Nobody) return;
    if (whom == Woken::Nobody) (void)m_Vx.RegisterWaitObject(nullptr);
    m_Woken = whom;
    BindWaitObject();
}

void AcquisitionEngine::StartPump() {
    try {
        const Guard guard(m_Mutex);
        if (!Overwrites(m_Handling)) return;
        m_Pump.Start();
        Wake(Woken::Pump);
    } catch (const std::exception&) {
        End();
        Fail(GC_ERR_RESOURCE_EXHAUSTED, "a thread for the stream cannot be had");
    }
}

void AcquisitionEngine::StopPump() noexcept {
    if (!m_Pump.IsRunning()) return;
    m_Pump.Stop();
    Wake(Woken::Listener);
}

void AcquisitionEngine::DrainForPump() noexcept {
    const Guard guard(m_Mutex);
    if (Drain() || !m_Queues.Output().empty()) TellListener();
}

} // namespace gentl
