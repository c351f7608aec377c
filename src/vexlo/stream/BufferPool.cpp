#include "vexlo/stream/BufferPool.h"

#include <new>
#include <utility>

namespace vexlo {

using Guard = MutexLock;
using State = BufferHandle_s::State;

[[gnu::hot]] CVxStream::GrabResult EmptyResult(VxStatus status) {
    CVxStream::GrabResult result{};
    result.Status = status;
    result.BlockId = ~std::uint64_t(0);
    return result;
}

void BufferPool::SetWaitObject(std::shared_ptr<Tavix::_WaitObjectPosix_t> waitObject) {
    Alarm alarm;
    Guard guard(m_Mutex);
    if (m_WaitObject && m_WaitObject != waitObject) Tavix::LowerWaitObject(*m_WaitObject);
    m_WaitObject = std::move(waitObject);
    m_IsRaised = !IsReadyLocked(); // its owner may have raised or lowered it meanwhile
    UpdateWaitObjectLocked(alarm);
}

/// What a listener takes is nothing to wait for, and telling of it would cost system calls.
bool BufferPool::IsReadyLocked() const {
    return !m_Completed.IsEmpty() && !m_Listener;
}

[[gnu::hot]] void BufferPool::UpdateWaitObjectLocked(Alarm& alarm) {
    const bool isReady = IsReadyLocked();
    if (!m_WaitObject || isReady == m_IsRaised) return;
    m_IsRaised = isReady;
    isReady ? alarm.Raise(m_WaitObject) : Tavix::LowerWaitObject(*m_WaitObject);
}

void BufferPool::SetListener(std::function<void()> listener) {
    Alarm alarm;
    Guard guard(m_Mutex);
    m_Listener = std::move(listener);
    m_HasNews = m_Listener && !m_Completed.IsEmpty();
    UpdateWaitObjectLocked(alarm);
}

void BufferPool::SetEndListener(std::function<void(VxStatus)> listener) {
    Guard guard(m_Mutex);
    m_EndListener = std::move(listener);
}

[[gnu::hot]] void BufferPool::TellListener() {
    if (!m_HasNews) return; // as after most of a block's transfers, which need no lock to know it
    std::function<void()> listener;
    std::function<void(VxStatus)> endListener;
    VxStatus end = VX_OK;
    {
        Guard guard(m_Mutex);
        m_HasNews = false;
        if (!m_Completed.IsEmpty() && m_Listener) {
            listener = m_Listener;
            m_Teller = std::this_thread::get_id();
        }
        if (m_IsEndNews) endListener = m_EndListener;
        m_IsEndNews = false;
        end = m_Refusal;
    }
    if (listener) listener();
    if (endListener) endListener(end);
}

void BufferPool::Prepare(std::size_t maxBuffers, std::size_t maxBufferSize) {
    Guard guard(m_Mutex);
    m_MaxBuffers = maxBuffers;
    m_MaxBufferSize = maxBufferSize;
    m_Refusal = VX_OK;
    m_IsEndNews = false;
}

void BufferPool::Start(Waker waker) {
    Guard guard(m_Mutex);
    m_Waker = std::move(waker);
    m_Wanted = false;
    m_Teller = {};
}

void BufferPool::Stop(VxStatus status) {
    Alarm alarm;
    Guard guard(m_Mutex);
    m_Waker = nullptr;
    CompleteQueuedLocked(status, alarm);
}

BufferList BufferPool::Refuse(VxStatus status) {
    Guard guard(m_Mutex);
    m_Refusal = status;
    m_HasNews = m_IsEndNews = true;
    for (BufferHandle_s* buffer = m_Queued.First(); buffer; buffer = buffer->next)
        buffer->state = State::Bound;
    return std::move(m_Queued);
}

void BufferPool::Clear() {
    Alarm alarm;
    Guard guard(m_Mutex);
    m_Queued.Forget();
    m_Completed.Forget();
    m_Buffers.clear();
    UpdateWaitObjectLocked(alarm);
}

BufferHandle_s* BufferPool::Find(BufferHandle_s* handle) const {
    const auto found = m_Buffers.find(handle);
    return found == m_Buffers.end() ? nullptr : found->second.get();
}

VxStatus BufferPool::Register(void* data, std::size_t size, BufferHandle_s** handle, BufferMemory memory) {
    if (!data || !handle || size == 0) return VX_E_INVALID_PARAMETER;
    Guard guard(m_Mutex);
    if (m_Buffers.size() >= m_MaxBuffers) return VX_E_TOO_MANY_BUFFERS;
    if (size > m_MaxBufferSize) return VX_E_INVALID_SIZE;
    try {
        auto buffer = std::make_unique<BufferHandle_s>();
        BufferHandle_s* const made = buffer.get();
        made->data = static_cast<std::uint8_t*>(data);
        made->size = size;
        made->memory = memory;
        m_Buffers.emplace(made, std::move(buffer));
        *handle = made;
        return VX_OK;
    } catch (const std::bad_alloc&) {
        return VX_E_NO_MEMORY;
    }
}

bool BufferPool::Uses(const void* data, std::size_t size) const {
    Guard guard(m_Mutex);
    const auto* first = static_cast<const std::uint8_t*>(data);
    for (const auto& [handle, buffer] : m_Buffers)
        if (buffer->data < first + size && first < buffer->data + buffer->size) return true;
    return false;
}

VxStatus BufferPool::Deregister(BufferHandle_s* handle, void** data) {
    Alarm alarm;
    Guard guard(m_Mutex);
    BufferHandle_s* buffer = Find(handle);
    if (!buffer) return VX_E_INVALID_HANDLE;
    if (buffer->state == State::Queued || buffer->state == State::Bound) return VX_E_BUFFER_QUEUED;
    // A result that nobody took goes with its buffer: its handle would mean nothing any more.
    if (buffer->state == State::Completed) m_Completed.Remove(*buffer);
    UpdateWaitObjectLocked(alarm);
    if (data) *data = buffer->data;
    m_Buffers.erase(handle);
    return VX_OK;
}

[[gnu::hot]] VxStatus BufferPool::Queue(BufferHandle_s* handle, const void* context) {
    Guard guard(m_Mutex);
    if (m_Refusal != VX_OK) return m_Refusal;
    if (!m_Waker) return VX_E_INVALID_STATE;
    BufferHandle_s* buffer = Find(handle);
    if (!buffer) return VX_E_INVALID_HANDLE;
    if (buffer->state == State::Completed) return VX_E_BUFFER_COMPLETED;
    if (buffer->state != State::Idle) return VX_E_BUFFER_QUEUED;
    buffer->context = context;
    buffer->state = State::Queued;
    m_Queued.Append(*buffer);
    if (m_Wanted) {
        m_Wanted = false;
        if (m_Teller != std::this_thread::get_id()) m_Waker();
    }
    return VX_OK;
}

VxStatus BufferPool::TakeBack(BufferHandle_s* handle) {
    Guard guard(m_Mutex);
    BufferHandle_s* const buffer = Find(handle);
    if (!buffer) return VX_E_INVALID_HANDLE;
    if (buffer->state == State::Completed) return VX_E_BUFFER_COMPLETED;
    if (buffer->state == State::Bound) return VX_E_BUFFER_QUEUED;
    m_Queued.Remove(*buffer);
    buffer->state = State::Idle;
    return VX_OK;
}

[[gnu::hot]] VxStatus BufferPool::Retrieve(CVxStream::GrabResult* result, unsigned long* left) {
    if (!result) return VX_E_INVALID_PARAMETER;
    Alarm alarm;
    Guard guard(m_Mutex);
    BufferHandle_s* const buffer = m_Completed.TakeFirst();
    if (!buffer) {
        if (left) *left = 0;
        return VX_E_NO_DATA;
    }
    *result = buffer->result;
    buffer->state = State::Idle;
    if (left) *left = m_Completed.Size();
    UpdateWaitObjectLocked(alarm);
    return VX_OK;
}

[[gnu::hot]] BufferHandle_s* BufferPool::Take() {
    Guard guard(m_Mutex);
    BufferHandle_s* const buffer = m_Waker ? m_Queued.TakeFirst() : nullptr;
    if (!buffer) {
        m_Wanted = true;
        return nullptr;
    }
    buffer->state = State::Bound;
    return buffer;
}

void BufferPool::PutBack(BufferList buffers) {
    Guard guard(m_Mutex);
    for (BufferHandle_s* buffer = buffers.First(); buffer; buffer = buffer->next)
        buffer->state = State::Queued;
    m_Queued.Prepend(std::move(buffers));
}

[[gnu::hot]] void BufferPool::Complete(BufferHandle_s* buffer, const CVxStream::GrabResult& result) {
    Alarm alarm;
    Guard guard(m_Mutex);
    CompleteLocked(buffer, result, alarm);
}

void BufferPool::CompleteLocked(BufferHandle_s* buffer, const CVxStream::GrabResult& result, Alarm& alarm) {
    buffer->state = State::Completed;
    buffer->result = result;
    buffer->result.Handle = buffer;
    buffer->result.Buffer = buffer->data;
    buffer->result.Context = buffer->context;
    m_Completed.Append(*buffer);
    if (m_Listener) m_HasNews = true;
    UpdateWaitObjectLocked(alarm);
}

void BufferPool::CompleteQueued(VxStatus status) {
    Alarm alarm;
    Guard guard(m_Mutex);
    CompleteQueuedLocked(status, alarm);
}

void BufferPool::CompleteQueuedLocked(VxStatus status, Alarm& alarm) {
    while (BufferHandle_s* buffer = m_Queued.TakeFirst())
        CompleteLocked(buffer, EmptyResult(status), alarm);
}

} // namespace vexlo
