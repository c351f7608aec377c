#pragma once
// The inside of CVxStream.

#include "vexlo/Mutex.h"
#include "vexlo/VxStream.h"
#include "vexlo/stream/BufferPool.h"
#include "vexlo/stream/SessionHost.h"
#include "vexlo/stream/StreamMemory.h"
#include "vexlo/stream/StreamRegisters.h"
#include "vexlo/stream/StreamSettings.h"
#include "vexlo/stream/StreamStatistics.h"
#include "vexlo/stream/engine/StreamEngine.h"

#include <atomic>
#include <memory>
#include <optional>

namespace vexlo {

/// Lock order: state, then memory, then engine pointer, then the pool's own. The pool's operations need none of the
/// first two, so that queuing and retrieving never wait for a stream that starts or stops. Thread-safe.
struct TAVIX_HIDDEN CVxStream::Impl {
    explicit Impl(std::unique_ptr<StreamHost> streamHost) : m_Host(std::move(streamHost)), host(*m_Host) {}
    /// On the camera that is open at the moment; the source outlives the stream.
    explicit Impl(SessionSource& sessions) : Impl(std::make_unique<SessionHost>(sessions)) {}

private:
    std::unique_ptr<StreamHost> m_Host; // constant after construction

public:
    enum class State { Closed, Open, Prepared, Streaming };

    VxStatus Open();
    VxStatus Close();
    VxStatus Prepare(unsigned long maxBuffers, unsigned long maxBufferSize);
    VxStatus Start();
    VxStatus Finish();
    VxStatus Cancel();
    VxStatus AskCancel();
    VxStatus AllocateMemory(unsigned long size, void** memory);
    std::shared_ptr<void> ShareMemory(unsigned long size);
    VxStatus FreeMemory(void* memory);
    VxStatus Register(void* buffer, unsigned long size, BufferHandle_s** handle);
    VxStatus GetProperty(EPropertyValue id, void* buffer, unsigned long size);
    VxStatus SetProperty(EPropertyValue id, const void* buffer, unsigned long size);

    StreamHost& host; // constant after construction
    BufferPool pool;
    StreamStatistics statistics;
    std::atomic<State> state{State::Closed}; // changed under stateMutex

private:
    VxStatus OpenHandle() TAVIX_REQUIRES(m_StateMutex);
    void CloseHandle() TAVIX_REQUIRES(m_StateMutex);
    StreamRegisters::PlanWishes Wishes();
    VxStatus MakePlan() TAVIX_REQUIRES(m_StateMutex);
    StreamMemory::Request MemoryRequest(std::size_t size) TAVIX_REQUIRES(m_StateMutex);
    VxStatus SwitchOn() TAVIX_REQUIRES(m_StateMutex);
    VxStatus TryEngine(StreamRegisters& registers) TAVIX_REQUIRES(m_StateMutex);
    VxStatus StartOver() TAVIX_REQUIRES(m_StateMutex);
    VxStatus ResetAndStartOver(VxStatus refusal) TAVIX_REQUIRES(m_StateMutex);
    VxStatus FinishLocked() TAVIX_REQUIRES(m_StateMutex);
    std::shared_ptr<StreamEngine> Engine();
    void SetEngine(std::shared_ptr<StreamEngine> engine);

    Mutex m_StateMutex;
    /// With the interface claimed. Null while closed, and after the camera was lost in a reset.
    std::shared_ptr<usb::Handle> m_Handle TAVIX_GUARDED_BY(m_StateMutex);
    std::optional<StreamCount> m_Counted TAVIX_GUARDED_BY(m_StateMutex); // while open on a bus with limited memory
    StreamChannel m_Channel TAVIX_GUARDED_BY(m_StateMutex);
    u3v::TransferPlan m_Plan TAVIX_GUARDED_BY(m_StateMutex);
    std::size_t m_MaxBuffers TAVIX_GUARDED_BY(m_StateMutex) = 0;
    Mutex m_MemoryMutex;
    StreamMemory m_Memory TAVIX_GUARDED_BY(m_MemoryMutex);
    Mutex m_EngineMutex;
    std::shared_ptr<StreamEngine> m_Engine TAVIX_GUARDED_BY(m_EngineMutex);
    Mutex m_SettingsMutex;
    StreamSettings m_Settings TAVIX_GUARDED_BY(m_SettingsMutex);
};

} // namespace vexlo
