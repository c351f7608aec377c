// Starting, stopping and flushing a stream.

#include "gentl/module/Device.h"
#include "gentl/stream/Stream.h"

#include <algorithm>
#include <limits>

namespace gentl {
namespace {

using Guard = Tavix::MutexLock;

/// More buffers than anybody announces; they cost nothing before they are there.
constexpr unsigned long kMostBuffers = 65536;
constexpr unsigned long kLargestBuffer = std::numeric_limits<long>::max();

} // namespace

void Stream::Start(std::uint64_t count) {
    if (count == 0) Fail(GC_ERR_INVALID_PARAMETER, "no buffers are to be acquired");
    {
        const Guard guard(m_Mutex);
        if (m_IsRunning) Fail(GC_ERR_RESOURCE_IN_USE, "the stream is running already");
        Check(m_Vx->PrepareGrab(kMostBuffers, kLargestBuffer), "The stream cannot be prepared");
        m_Left = count;
        m_Started = m_Delivered = m_Overwritten = 0;
        try {
            for (const auto& buffer : m_Buffers)
                RegisterOnBus(*buffer);
            Check(m_Vx->StartStreaming(), "The stream cannot be started");
            m_IsRunning = true;
            for (const auto& buffer : m_Input)
                QueueOnBus(buffer);
        } catch (...) {
            StopLocked();
            throw;
        }
    }
    StartPump();
    Invalidate("StreamIsGrabbing");
}

void Stream::Stop(ACQ_STOP_FLAGS) {
    StopPump();
    {
        const Guard guard(m_Mutex);
        if (!m_IsRunning) Fail(GC_ERR_RESOURCE_IN_USE, "the stream is not running");
        StopLocked();
    }
    Invalidate("StreamIsGrabbing");
}

/// What was not filled stays in the input pool; what was stays in the output queue.
void Stream::StopLocked() {
    m_IsRunning = false;
    (void)m_Vx->FinishGrab(); // a camera that is gone does not keep its buffers
    Drain();
    for (const auto& buffer : m_Buffers) {
        if (!buffer->handle) continue;
        void* unused = nullptr;
        (void)m_Vx->DeregisterBuffer(buffer->handle, &unused);
        buffer->handle = nullptr;
        buffer->isOnBus = false;
    }
}

/// Enough were acquired: nothing more is taken off the bus.
void Stream::Recall() {
    (void)m_Vx->CancelGrab();
}

void Stream::FlushInputToOutput() {
    if (m_IsRunning) {
        (void)m_Vx->CancelGrab();
        Drain();
    }
    for (std::size_t i = m_Input.size(); i > 0; --i) {
        const std::shared_ptr<Buffer> buffer = m_Input.front();
        m_Input.pop_front();
        m_Output.push_back(buffer);
        buffer->place = Place::Output;
        buffer->Update([](Buffer::Record& record) { record.isQueued = false; });
    }
    if (const auto event = m_Event.lock()) event->Wait().Signal();
}

void Stream::Flush(ACQ_QUEUE_TYPE operation) {
    const Guard guard(m_Mutex);
    Drain();
    const auto putAside = [this](List list) {
        for (const auto& buffer : list)
            PutAside(buffer);
    };
    const auto queue = [this](auto&& isWanted) {
        for (const auto& buffer : std::vector<std::shared_ptr<Buffer>>(m_Buffers)) {
            if (buffer->place == Place::Input || !isWanted(*buffer)) continue;
            TakeOut(buffer);
            PutIntoInput(buffer);
        }
    };
    switch (operation) {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        return FlushInputToOutput();
    case ACQ_QUEUE_OUTPUT_DISCARD:
        return putAside(m_Output);
    case ACQ_QUEUE_ALL_TO_INPUT:
        return queue([](const Buffer&) { return true; });
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        return queue([](const Buffer& each) { return each.place != Place::Output; });
    case ACQ_QUEUE_ALL_DISCARD:
        if (m_IsRunning) {
            (void)m_Vx->CancelGrab();
            Drain();
        }
        putAside(m_Input);
        return putAside(m_Output);
    default:
        Fail(GC_ERR_INVALID_PARAMETER, "unknown flush operation");
    }
}

/// Whom the USB access library wakes: the consumer himself, or the pump, which then wakes the consumer.
void Stream::BindWaitObject() noexcept {
    if (!m_Vx) return;
    if (m_Pump.joinable()) {
        (void)m_Vx->RegisterWaitObject(m_PumpWait);
    } else if (const auto event = m_Event.lock()) {
        (void)m_Vx->RegisterWaitObject(event->Wait());
    } else {
        (void)m_Vx->RegisterWaitObject(nullptr);
    }
}

void Stream::StartPump() {
    const Guard pump(m_PumpMutex);
    const Guard guard(m_Mutex);
    const bool overwrites = m_Handling == Handling::OldestFirstOverwrite || m_Handling == Handling::NewestOnly;
    if (!m_IsRunning || !overwrites || m_Pump.joinable()) return;
    m_PumpEnds = false;
    try {
        m_Pump = std::thread(&Stream::Pump, this);
    } catch (const std::exception&) {
        StopLocked();
        Fail(GC_ERR_RESOURCE_EXHAUSTED, "a thread for the stream cannot be had");
    }
    BindWaitObject();
}

void Stream::StopPump() noexcept {
    const Guard pump(m_PumpMutex);
    if (!m_Pump.joinable()) return;
    m_PumpEnds = true;
    m_PumpWait.Signal();
    m_Pump.join();
    m_Pump = std::thread();
    const Guard guard(m_Mutex);
    BindWaitObject();
}

void Stream::Pump() noexcept {
    while (!m_PumpEnds) {
        (void)m_PumpWait.Wait(Tavix::WaitObject::waitForever);
        const Guard guard(m_Mutex);
        try {
            Drain();
        } catch (const Failure&) {
            continue; // the buffer that could not be queued again is put aside; the stream goes on with the others
        } catch (const std::exception&) {
            continue; // memory is short for now
        }
        if (m_Output.empty()) continue;
        if (const auto event = m_Event.lock()) event->Wait().Signal();
    }
}

} // namespace gentl
