#include "vexlo/stream/StreamImpl.h"

#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vexlo {

using Guard = MutexLock;

namespace {

constexpr std::uint32_t kAlwaysSuitable = 64u << 10; // transfers for which mapped memory is always laid together

} // namespace

std::shared_ptr<StreamEngine> CVxStream::Impl::Engine() {
    Guard guard(m_EngineMutex);
    return m_Engine;
}

void CVxStream::Impl::SetEngine(std::shared_ptr<StreamEngine> engine) {
    Guard guard(m_EngineMutex);
    m_Engine = std::move(engine);
}

VxStatus CVxStream::Impl::Open() {
    Guard guard(m_StateMutex);
    if (state != State::Closed) return VX_E_ALREADY_OPEN;
    if (const VxStatus status = host.GetStreamChannel(m_Channel)) return status;
    if (const VxStatus status = OpenHandle()) return status;
    if (host.TransferMemoryLimit() != 0) m_Counted.emplace();
    state = State::Open;
    return VX_OK;
}

VxStatus CVxStream::Impl::OpenHandle() {
    std::unique_ptr<usb::Handle> handle;
    if (const VxStatus status = host.OpenHandle(handle)) return status;
    const usb::Result claimed = handle->Claim(m_Channel.interfaceNumber);
    if (claimed != usb::Result::Ok) return ToStatus(claimed);
    m_Handle = std::move(handle);
    return VX_OK;
}

void CVxStream::Impl::CloseHandle() {
    if (m_Handle) m_Handle->Release(m_Channel.interfaceNumber);
    m_Handle.reset();
}

VxStatus CVxStream::Impl::Close() {
    Guard guard(m_StateMutex);
    if (state == State::Closed) return VX_OK;
    // A camera that does not answer any more must not keep its stream open.
    if (state != State::Open) (void)FinishLocked();
    pool.Clear();
    {
        Guard memory(m_MemoryMutex);
        m_Memory.Clear();
    }
    CloseHandle();
    m_Counted.reset();
    state = State::Closed;
    return VX_OK;
}

VxStatus CVxStream::Impl::Prepare(unsigned long maxBuffers, unsigned long maxBufferSize) {
    Guard guard(m_StateMutex);
    if (state == State::Closed) return VX_E_NOT_OPEN;
    if (state != State::Open) return VX_E_INVALID_STATE;
    if (maxBuffers == 0 || maxBufferSize == 0) return VX_E_INVALID_PARAMETER;
    if (!m_Handle) return VX_E_USB_NO_DEVICE;
    if (const VxStatus status = MakePlan()) return status;
    m_MaxBuffers = maxBuffers;
    pool.Prepare(maxBuffers, maxBufferSize);
    statistics.Reset();
    state = State::Prepared;
    return VX_OK;
}

StreamRegisters::PlanWishes CVxStream::Impl::Wishes() {
    StreamRegisters::PlanWishes wishes;
    wishes.memory = {host.TransferMemoryLimit(), StreamCount::Open(), MappedCount::Bytes()};
    {
        Guard settings(m_SettingsMutex);
        wishes.maxTransferSize = m_Settings.maxTransferSize;
    }
    wishes.maxTransferSize = std::min(wishes.maxTransferSize, host.TransferLimit());
    return wishes;
}

VxStatus CVxStream::Impl::MakePlan() {
    StreamRegisters::PlanWishes wishes = Wishes();
    StreamRegisters registers(host, *m_Handle, m_Channel);
    if (const VxStatus status = registers.MakePlan(wishes, m_Plan)) return status;
    {
        Guard memory(m_MemoryMutex);
        if (m_Memory.Suits(m_Plan.LongestPayload())) return VX_OK;
    }
    wishes.maxTransferSize = kAlwaysSuitable; // memory was mapped for other transfers, before they were planned
    return registers.MakePlan(wishes, m_Plan);
}

/// A camera may refuse because of what a predecessor left behind; remedies come in the order of their harm.
VxStatus CVxStream::Impl::Start() {
    Guard guard(m_StateMutex);
    if (state != State::Prepared) return VX_E_INVALID_STATE;
    if (!m_Handle) return VX_E_USB_NO_DEVICE;
    VxStatus status = SwitchOn();
    if (IsRefusal(status)) status = StartOver();
    if (IsRefusal(status)) status = ResetAndStartOver(status);
    if (status != VX_OK) return status;
    host.NoteStreaming(true);
    state = State::Streaming;
    return VX_OK;
}

VxStatus CVxStream::Impl::SwitchOn() {
    StreamRegisters registers(host, *m_Handle, m_Channel);
    if (const VxStatus status = registers.Program(m_Plan)) return status;
    // Data of an earlier run or a stale sequence number would keep some cameras silent.
    if (const VxStatus status = registers.ClearHalt()) return status;
    const VxStatus status = TryEngine(registers);
    if (status != VX_OK) (void)registers.Disable();
    return status;
}

/// The engine queues before the camera is switched on, and ends when that fails.
VxStatus CVxStream::Impl::TryEngine(StreamRegisters& registers) {
    EngineSettings settings;
    settings.channel = m_Channel;
    settings.plan = m_Plan;
    settings.maxBuffers = m_MaxBuffers;
    settings.memoryLimit = host.TransferMemoryLimit();
    {
        Guard guard(m_SettingsMutex);
        settings.maxQueuedTransfers = m_Settings.maxQueuedUrbs;
        settings.threadPriority = m_Settings.threadPriority;
        settings.silence = std::chrono::milliseconds(m_Settings.firstDataTimeout);
    }
    std::shared_ptr<StreamEngine> engine;
    try {
        engine = std::make_shared<StreamEngine>(StreamEngine::Parts{host, *m_Handle, pool, statistics}, settings);
    } catch (const std::bad_alloc&) {
        return VX_E_NO_MEMORY;
    }
    if (const VxStatus status = engine->Start()) return status;
    const VxStatus status = registers.Enable();
    if (status == VX_OK) {
        SetEngine(std::move(engine));
    } else {
        engine->Stop();
    }
    return status;
}

/// With sizes that are asked for again, on an endpoint that was halted on both sides.
VxStatus CVxStream::Impl::StartOver() {
    StreamRegisters registers(host, *m_Handle, m_Channel);
    (void)registers.Disable(); // what matters is whether the next try succeeds
    registers.SetHalt();
    if (const VxStatus status = registers.ClearHalt()) return status;
    if (const VxStatus status = MakePlan()) return status;
    return SwitchOn();
}

/// A camera that came back with other sizes has lost its settings with the reset; to start it would bring images that
/// nobody asked for.
VxStatus CVxStream::Impl::ResetAndStartOver(VxStatus refusal) {
    const std::uint64_t wanted = m_Plan.requiredSize;
    {
        Guard memory(m_MemoryMutex);
        if (!m_Memory.IsEmpty()) return refusal; // it belongs to the handle that the reset would cost
    }
    Log(Tavix::kLogWarning, "The camera refuses to stream with status 0x%08X; it is reset now", refusal);
    CloseHandle();
    const VxStatus reset = host.ResetCamera();
    if (reset != VX_OK) Log(Tavix::kLogWarning, "The camera cannot be reset: 0x%08X", reset);
    if (const VxStatus status = OpenHandle()) return status;
    if (reset != VX_OK) return refusal;
    if (const VxStatus status = MakePlan()) return status;
    if (m_Plan.requiredSize == wanted) return SwitchOn();
    Log(Tavix::kLogError, "The camera has lost its settings with the reset: a block takes %llu bytes now, not %llu",
        static_cast<unsigned long long>(m_Plan.requiredSize), static_cast<unsigned long long>(wanted));
    return refusal;
}

VxStatus CVxStream::Impl::Finish() {
    Guard guard(m_StateMutex);
    if (state != State::Prepared && state != State::Streaming) return VX_E_INVALID_STATE;
    return FinishLocked();
}

VxStatus CVxStream::Impl::FinishLocked() {
    const std::shared_ptr<StreamEngine> engine = Engine();
    state = State::Open;
    if (!engine) return VX_OK;
    StreamRegisters registers(host, *m_Handle, m_Channel);
    // While transfers are still queued the camera can flush what it holds. One that is gone is not asked any more.
    const VxStatus status = engine->IsLost() ? VX_E_USB_NO_DEVICE : registers.Disable();
    engine->Stop();
    SetEngine(nullptr);
    host.NoteStreaming(false);
    // The engine may have been about to switch the stream on again.
    return status == VX_OK && engine->WasRestarted() ? registers.Disable() : status;
}

VxStatus CVxStream::Impl::AllocateMemory(unsigned long size, void** memory) {
    if (size == 0 || !memory) return VX_E_INVALID_PARAMETER;
    Guard guard(m_StateMutex);
    if (state == State::Closed) return VX_E_NOT_OPEN;
    if (!m_Handle) return VX_E_USB_NO_DEVICE;
    Guard memoryGuard(m_MemoryMutex);
    *memory = m_Memory.Allocate(m_Handle, MemoryRequest(size));
    return *memory ? VX_OK : VX_E_NO_MEMORY;
}

std::shared_ptr<void> CVxStream::Impl::ShareMemory(unsigned long size) {
    Guard guard(m_StateMutex);
    if (size == 0 || state == State::Closed || !m_Handle) return nullptr;
    Guard memoryGuard(m_MemoryMutex);
    return m_Memory.Share(m_Handle, MemoryRequest(size));
}

/// For the transfers that are planned; before that, for those that blocks of the buffer's size would take.
StreamMemory::Request CVxStream::Impl::MemoryRequest(std::size_t size) {
    const StreamRegisters::PlanWishes wishes = Wishes();
    StreamMemory::Request request;
    request.size = size;
    request.limit = wishes.memory.limit;
    request.transfer = state == State::Open ? SuitableTransferSize(wishes.maxTransferSize, size, wishes.memory)
                                            : m_Plan.LongestPayload();
    return request;
}

VxStatus CVxStream::Impl::FreeMemory(void* memory) {
    Guard guard(m_MemoryMutex);
    auto* bytes = static_cast<std::uint8_t*>(memory);
    const std::size_t size = m_Memory.SizeOf(bytes);
    if (size == 0) return VX_E_NOT_FOUND;
    if (pool.Uses(bytes, size)) return VX_E_BUFFER_QUEUED;
    m_Memory.Free(bytes);
    return VX_OK;
}

VxStatus CVxStream::Impl::Register(void* buffer, unsigned long size, BufferHandle_s** handle) {
    Guard guard(m_MemoryMutex);
    const bool isMapped = m_Memory.IsMapped(static_cast<const std::uint8_t*>(buffer), size);
    return pool.Register(buffer, size, handle, isMapped ? BufferMemory::Mapped : BufferMemory::Ordinary);
}

VxStatus CVxStream::Impl::Cancel() {
    const std::shared_ptr<StreamEngine> engine = Engine();
    if (!engine) return VX_E_INVALID_STATE;
    engine->Cancel();
    return VX_OK;
}

VxStatus CVxStream::Impl::AskCancel() {
    const std::shared_ptr<StreamEngine> engine = Engine();
    if (!engine) return VX_E_INVALID_STATE;
    engine->AskCancel();
    return VX_OK;
}

} // namespace vexlo
