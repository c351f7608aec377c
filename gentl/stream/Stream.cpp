#include "gentl/stream/Stream.h"

#include "gentl/module/Device.h"

#include <algorithm>

namespace gentl {
namespace {

using Guard = Tavix::MutexLock;
using GrabResult = vexlo::CVxStream::GrabResult;

[[noreturn]] void NotOfThisStream() {
    Fail(GC_ERR_INVALID_HANDLE, "the buffer does not belong to the stream");
}

} // namespace

Stream::Stream(std::shared_ptr<Device> device)
    : Module(Kind::Stream), m_Device(std::move(device)), m_Port("TLDataStream", Device::kStreamId) {
    BuildPort();
}

Stream::~Stream() = default;

void Stream::Open() {
    m_PumpWait = Tavix::WaitObjectEx::Create();
    Check(m_Device->Vx().GetStream(&m_Vx), "The camera's stream is not available");
    Check(m_Vx->Open(), "The camera's stream cannot be opened");
}

void Stream::CheckOwn(const std::shared_ptr<Buffer>& buffer) const {
    if (buffer->stream != Handle()) NotOfThisStream();
}

std::shared_ptr<Buffer> Stream::Add(const std::shared_ptr<Buffer>& buffer) {
    m_Buffers.reserve(m_Buffers.size() + 1);
    buffer->Register();
    try {
        if (m_IsRunning) RegisterOnBus(*buffer);
    } catch (...) {
        buffer->Unregister();
        throw;
    }
    m_Buffers.push_back(buffer); // there is room
    return buffer;
}

std::shared_ptr<Buffer> Stream::Announce(void* memory, size_t size, void* user) {
    if (!memory || size == 0) Fail(GC_ERR_INVALID_PARAMETER, "the buffer has no memory");
    const Guard guard(m_Mutex);
    const bool isKnown =
        std::any_of(m_Buffers.begin(), m_Buffers.end(), [&](const auto& each) { return each->data == memory; });
    if (isKnown) Fail(GC_ERR_RESOURCE_IN_USE, "the memory is announced already");
    return Add(std::make_shared<Buffer>(Handle(), memory, size, user));
}

std::shared_ptr<Buffer> Stream::Allocate(size_t size, void* user) {
    if (size == 0) Fail(GC_ERR_INVALID_PARAMETER, "the buffer has no size");
    const Guard guard(m_Mutex);
    std::shared_ptr<void> memory = m_Vx->ShareMemory(size);
    if (!memory) memory.reset(new std::uint8_t[size], std::default_delete<std::uint8_t[]>());
    return Add(std::make_shared<Buffer>(Handle(), memory.get(), size, user, memory));
}

void Stream::RegisterOnBus(Buffer& buffer) {
    if (buffer.handle) return;
    Check(m_Vx->RegisterBuffer(buffer.data, buffer.size, &buffer.handle), "The buffer cannot be used");
}

void Stream::QueueOnBus(const std::shared_ptr<Buffer>& buffer) {
    Check(m_Vx->QueueBuffer(buffer->handle, buffer.get()), "The buffer cannot be queued");
    buffer->isOnBus = true;
    buffer->Update([](Buffer::Record& record) { record.isOnBus = true; });
}

void Stream::PutIntoInput(const std::shared_ptr<Buffer>& buffer) {
    m_Input.push_back(buffer);
    buffer->place = Place::Input;
    buffer->Update([](Buffer::Record& record) { record = {GrabResult{}, false, false, true, false}; });
    if (!m_IsRunning || m_Left == 0) return;
    try {
        QueueOnBus(buffer);
    } catch (...) {
        PutAside(buffer);
        throw;
    }
}

void Stream::TakeOut(const std::shared_ptr<Buffer>& buffer) {
    if (buffer->isOnBus) Fail(GC_ERR_BUSY, "the buffer is being filled");
    for (List* list : {&m_Input, &m_Output})
        list->erase(std::remove(list->begin(), list->end(), buffer), list->end());
}

void Stream::PutAside(const std::shared_ptr<Buffer>& buffer) {
    TakeOut(buffer);
    buffer->place = Place::Announced;
    buffer->Update([](Buffer::Record& record) { record.isQueued = false; });
}

void Stream::Revoke(const std::shared_ptr<Buffer>& buffer, void** memory, void** user) {
    const Guard guard(m_Mutex);
    CheckOwn(buffer);
    Drain();
    PutAside(buffer);
    if (buffer->handle) {
        void* unused = nullptr;
        Check(m_Vx->DeregisterBuffer(buffer->handle, &unused), "The buffer is in use");
        buffer->handle = nullptr;
    }
    m_Buffers.erase(std::remove(m_Buffers.begin(), m_Buffers.end(), buffer), m_Buffers.end());
    buffer->Unregister();
    if (memory) *memory = buffer->own ? nullptr : buffer->data;
    if (user) *user = buffer->userPointer;
}

BUFFER_HANDLE Stream::BufferAt(size_t index) {
    const Guard guard(m_Mutex);
    if (index >= m_Buffers.size()) Fail(GC_ERR_INVALID_INDEX, "there is no buffer of that number");
    return m_Buffers[index]->Handle();
}

void Stream::Queue(const std::shared_ptr<Buffer>& buffer) {
    const Guard guard(m_Mutex);
    CheckOwn(buffer);
    if (buffer->place == Place::Input) Fail(GC_ERR_RESOURCE_IN_USE, "the buffer is queued already");
    if (buffer->place == Place::Output) Fail(GC_ERR_BUSY, "the buffer was filled and waits to be delivered");
    PutIntoInput(buffer);
}

std::shared_ptr<Buffer> Stream::FindFilled(const GrabResult& result) const {
    auto object = const_cast<Buffer*>(static_cast<const Buffer*>(result.Context))->shared_from_this();
    return std::static_pointer_cast<Buffer>(std::move(object));
}

/// Brings what the USB access library has completed to where it belongs.
void Stream::Drain() {
    if (!m_Vx) return;
    GrabResult result{};
    for (unsigned long left = 1; left != 0 && m_Vx->RetrieveBuffer(&result, &left) == vexlo::VX_OK;) {
        Sort(result);
        if (m_Left == 0) left = 1; // what was recalled comes behind it
    }
}

void Stream::Sort(const GrabResult& result) {
    const std::shared_ptr<Buffer> buffer = FindFilled(result);
    buffer->isOnBus = false;
    // Recalled, or come after the last one that was wanted: it stays where it is, in the input pool.
    if (result.Status == vexlo::VX_E_CANCELLED || m_Left == 0)
        buffer->Update([](Buffer::Record& record) { record.isOnBus = false; });
    else
        Accept(buffer, result);
}

void Stream::Accept(const std::shared_ptr<Buffer>& buffer, const GrabResult& result) {
    m_Input.erase(std::remove(m_Input.begin(), m_Input.end(), buffer), m_Input.end());
    m_Output.push_back(buffer);
    buffer->place = Place::Output;
    buffer->Update([&](Buffer::Record& record) { record = {result, true, true, false, false}; });
    ++m_Started;
    if (m_Left != GENTL_INFINITE && --m_Left == 0) Recall();
    Overwrite();
}

/// Images that nobody took make room for newer ones, where that is wished.
void Stream::Overwrite() {
    const auto isFull = [this] {
        return m_Handling == Handling::NewestOnly ? m_Output.size() > 1
                                                  : m_Handling == Handling::OldestFirstOverwrite && m_Input.empty();
    };
    while (m_IsRunning && m_Left != 0 && isFull() && !m_Output.empty()) {
        const std::shared_ptr<Buffer> oldest = m_Output.front();
        if (m_Output.size() == 1) break; // the only one is the newest
        m_Output.pop_front();
        ++m_Overwritten;
        PutIntoInput(oldest);
    }
}

std::shared_ptr<Buffer> Stream::TakeOutput(size_t& left) {
    const Guard guard(m_Mutex);
    Drain();
    if (m_Output.empty()) return nullptr;
    std::shared_ptr<Buffer> buffer = std::move(m_Output.front());
    m_Output.pop_front();
    left = m_Output.size();
    buffer->place = Place::Delivered;
    ++m_Delivered;
    return buffer;
}

size_t Stream::CountOutput() {
    const Guard guard(m_Mutex);
    Drain();
    return m_Output.size();
}

void Stream::DiscardOutput() {
    Flush(ACQ_QUEUE_OUTPUT_DISCARD);
}

bool Stream::IsLost() const {
    return m_Device->IsLost();
}

void Stream::NoteLoss() noexcept {
    if (const auto event = Event(EVENT_ERROR)) event->PushError(GC_ERR_IO, "the camera was unplugged");
    if (const auto event = std::static_pointer_cast<NewBufferEvent>(Event(EVENT_NEW_BUFFER))) event->Wait().Signal();
}

std::shared_ptr<EventQueue> Stream::MakeEvent(EVENT_TYPE type) {
    if (type != EVENT_NEW_BUFFER) return Module::MakeEvent(type);
    auto event = std::make_shared<NewBufferEvent>(std::static_pointer_cast<Stream>(shared_from_this()));
    const Guard guard(m_Mutex);
    m_Event = event;
    BindWaitObject();
    return event;
}

void Stream::ForgetEvent(EVENT_TYPE type) noexcept {
    if (type != EVENT_NEW_BUFFER) return;
    const Guard guard(m_Mutex);
    m_Event.reset();
    BindWaitObject();
}

void Stream::Close() noexcept {
    StopPump();
    std::vector<std::shared_ptr<Buffer>> buffers; // their memory stays until the bus has let go of it
    {
        const Guard guard(m_Mutex);
        StopLocked();
        for (const auto& buffer : m_Buffers)
            buffer->Unregister();
        m_Input.clear();
        m_Output.clear();
        buffers.swap(m_Buffers);
    }
    Module::Close();
    (void)m_Vx->RegisterWaitObject(nullptr);
    (void)m_Vx->Close(); // a camera that is gone must not keep it open
    m_Device->Forget(*this);
}

} // namespace gentl
