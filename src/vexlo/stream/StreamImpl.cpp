#include "StreamImpl.h"

#include "vexlo/UsbStatus.h"

#include <exception>
#include <utility>

namespace vexlo {

using Guard = std::lock_guard<std::mutex>;

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
    std::unique_ptr<usb::Handle> handle;
    if (const VxStatus status = host.OpenHandle(handle)) return status;
    const usb::Result claimed = handle->Claim(m_Channel.interfaceNumber);
    if (claimed != usb::Result::Ok) return ToStatus(claimed);
    m_Handle = std::move(handle);
    state = State::Open;
    return VX_OK;
}

VxStatus CVxStream::Impl::Close() {
    Guard guard(m_StateMutex);
    if (state == State::Closed) return VX_OK;
    // A camera that does not answer any more must not keep its stream open.
    if (state != State::Open) (void)FinishLocked();
    m_Handle->Release(m_Channel.interfaceNumber);
    m_Handle.reset();
    pool.Clear();
    state = State::Closed;
    return VX_OK;
}

VxStatus CVxStream::Impl::Prepare(unsigned long maxBuffers, unsigned long maxBufferSize) {
    Guard guard(m_StateMutex);
    if (state == State::Closed) return VX_E_NOT_OPEN;
    if (state != State::Open) return VX_E_INVALID_STATE;
    if (maxBuffers == 0 || maxBufferSize == 0) return VX_E_INVALID_PARAMETER;
    std::uint32_t maxTransferSize = 0;
    {
        Guard settings(m_SettingsMutex);
        maxTransferSize = m_Settings.maxTransferSize;
    }
    if (const VxStatus status = StreamRegisters(host, *m_Handle, m_Channel).MakePlan(maxTransferSize, m_Plan))
        return status;
    m_MaxBuffers = maxBuffers;
    pool.Prepare(maxBuffers, maxBufferSize);
    statistics.Reset();
    state = State::Prepared;
    return VX_OK;
}

VxStatus CVxStream::Impl::Start() {
    Guard guard(m_StateMutex);
    if (state != State::Prepared) return VX_E_INVALID_STATE;
    StreamRegisters registers(host, *m_Handle, m_Channel);
    if (const VxStatus status = registers.Program(m_Plan)) return status;
    // Data of an earlier run or a stale sequence number would keep some cameras silent.
    if (const VxStatus status = registers.ClearHalt()) return status;
    return Enable(registers);
}

VxStatus CVxStream::Impl::Enable(StreamRegisters& registers) {
    EngineSettings settings;
    settings.channel = m_Channel;
    settings.plan = m_Plan;
    settings.maxBuffers = m_MaxBuffers;
    settings.memoryLimit = host.TransferMemoryLimit();
    {
        Guard guard(m_SettingsMutex);
        settings.maxQueuedTransfers = m_Settings.maxQueuedUrbs;
        settings.threadPriority = m_Settings.threadPriority;
    }
    // No buffer can be queued before the engine runs, so nothing is on the endpoint while the halt may have to be
    // cleared.
    if (const VxStatus status = registers.Enable(m_Plan)) {
        (void)registers.Disable();
        return status;
    }
    try {
        auto engine = std::make_shared<StreamEngine>(StreamEngine::Parts{host, *m_Handle, pool, statistics}, settings);
        engine->Start();
        SetEngine(std::move(engine));
    } catch (const std::exception&) { // neither memory nor a thread can be had for ever
        pool.Stop(VX_E_CANCELLED);
        (void)registers.Disable();
        return VX_E_NO_MEMORY;
    }
    state = State::Streaming;
    return VX_OK;
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
    // While transfers are still queued the camera can flush what it holds.
    const VxStatus status = registers.Disable();
    engine->Stop();
    SetEngine(nullptr);
    // The engine may have been about to switch the stream on again.
    return status == VX_OK && engine->WasRestarted() ? registers.Disable() : status;
}

VxStatus CVxStream::Impl::Cancel() {
    const std::shared_ptr<StreamEngine> engine = Engine();
    if (!engine) return VX_E_INVALID_STATE;
    engine->Cancel();
    return VX_OK;
}

} // namespace vexlo
