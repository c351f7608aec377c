// The stand-in's image and event streams.

#include "support/FakeVexlo.h"

#include <cstring>

using vexlo::VX_OK;
using vexlo::VxStatus;
using Lock = std::lock_guard<std::recursive_mutex>;

namespace {

FakeVexlo& Bus() {
    return FakeVexlo::Get();
}

} // namespace

namespace vexlo {

using Call = FakeVexlo::Call;

struct CVxStream::Impl {};
struct CVxEventStream::Impl {};

CVxStream::CVxStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxStream::~CVxStream() = default;

VxStatus CVxStream::Open() {
    const Call call("Stream.Open");
    Bus().stream.open = bool(call);
    return call.status;
}

VxStatus CVxStream::Close() {
    const Call call("Stream.Close");
    Bus().stream.open = false;
    return call.status;
}

bool CVxStream::IsOpen() const {
    const Lock guard(Bus().lock);
    return Bus().streamSaysItIsOpen.value_or(Bus().stream.open);
}

VxStatus CVxStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t* waitObject) {
    const Call call("Stream.RegisterWaitObject");
    if (call) Bus().stream.waitObject = Tavix::ShareWaitObject(waitObject);
    return call.status;
}

std::shared_ptr<void> CVxStream::ShareMemory(unsigned long size) {
    const Lock guard(Bus().lock);
    if (size > Bus().stream.mappable) return nullptr;
    return {new std::uint8_t[size], [](void* memory) { delete[] static_cast<std::uint8_t*>(memory); }};
}

void CVxStream::SetCompletionListener(std::function<void()> listener) {
    const Lock guard(Bus().lock);
    Bus().stream.listener = std::move(listener);
}

VxStatus CVxStream::PrepareGrab(unsigned long maxBuffers, unsigned long maxBufferSize) {
    const Call call("Stream.PrepareGrab");
    Bus().preparedBuffers = maxBuffers;
    Bus().preparedSize = maxBufferSize;
    if (call) Bus().stream.prepared = true;
    return call.status;
}

bool CVxStream::IsPrepared() const {
    const Lock guard(Bus().lock);
    return Bus().stream.prepared;
}

VxStatus CVxStream::StartStreaming() {
    const Call call("Stream.StartStreaming");
    return call.status;
}

VxStatus CVxStream::FinishGrab() {
    const Call call("Stream.FinishGrab");
    Bus().stream.prepared = false;
    return call.status;
}

VxStatus CVxStream::CancelGrab() {
    const Call call("Stream.CancelGrab");
    return call.status;
}

VxStatus CVxStream::RegisterBuffer(void* buffer, unsigned long size, BufferHandle_s** ppHandle) {
    const Call call("Stream.RegisterBuffer");
    if (!call) return call.status;
    Bus().userBuffer = buffer;
    Bus().registeredSize = size;
    *ppHandle = reinterpret_cast<BufferHandle_s*>(&Bus().userBuffer);
    return VX_OK;
}

VxStatus CVxStream::DeregisterBuffer(BufferHandle_s* handle, void** ppBuffer) {
    const Call call("Stream.DeregisterBuffer");
    if (call) *ppBuffer = *reinterpret_cast<void**>(handle);
    return call.status;
}

VxStatus CVxStream::QueueBuffer(BufferHandle_s* handle, const void* context) {
    const Call call("Stream.QueueBuffer");
    Bus().queuedHandle = handle;
    Bus().queuedContext = context;
    return call.status;
}

VxStatus CVxStream::RetrieveBuffer(GrabResult* result, unsigned long* pCount) {
    const Call call("Stream.RetrieveBuffer");
    if (pCount) Bus().countPreset = *pCount;
    if (!call) return call.status;
    if (Bus().results.empty()) return VX_E_NO_DATA;
    *result = Bus().results.front();
    Bus().results.pop_front();
    Bus().stream.Announce(!Bus().results.empty());
    if (pCount) *pCount = Bus().results.size();
    return VX_OK;
}

VxStatus CVxStream::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    const Call call("Stream.GetProperty");
    return call ? Bus().Read(Bus().streamProperties, id, buffer, size) : call.status;
}

VxStatus CVxStream::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const Call call("Stream.SetProperty");
    return call ? Bus().Write(Bus().streamProperties, id, buffer, size) : call.status;
}

CVxEventStream::CVxEventStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxEventStream::~CVxEventStream() = default;

VxStatus CVxEventStream::Open() {
    const Call call("Events.Open");
    Bus().eventStream.open = bool(call);
    return call.status;
}

VxStatus CVxEventStream::Close() {
    const Call call("Events.Close");
    Bus().eventStream.open = false;
    return call.status;
}

bool CVxEventStream::IsOpen() const {
    const Lock guard(Bus().lock);
    return Bus().eventStream.open;
}

VxStatus CVxEventStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t* waitObject) {
    const Call call("Events.RegisterWaitObject");
    if (call) Bus().eventStream.waitObject = Tavix::ShareWaitObject(waitObject);
    Bus().eventStream.Announce(!Bus().events.empty());
    return call.status;
}

VxStatus CVxEventStream::RetrieveEvent(void* buffer, unsigned long* pSize, unsigned long* pPending) {
    const Call call("Events.RetrieveEvent");
    Bus().eventSizePreset = *pSize;
    Bus().askedForPendingEvents = pPending != nullptr;
    if (!call) return call.status;
    if (Bus().events.empty()) return VX_E_NO_DATA;
    const FakeVexlo::Bytes event = Bus().events.front();
    if (*pSize < event.size()) return VX_E_INVALID_SIZE;
    Bus().events.pop_front();
    std::memcpy(buffer, event.data(), event.size());
    *pSize = event.size();
    Bus().eventStream.Announce(!Bus().events.empty());
    if (pPending) *pPending = Bus().events.size();
    return VX_OK;
}

VxStatus CVxEventStream::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    const Call call("Events.GetProperty");
    return call ? Bus().Read(Bus().eventProperties, id, buffer, size) : call.status;
}

VxStatus CVxEventStream::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const Call call("Events.SetProperty");
    return call ? Bus().Write(Bus().eventProperties, id, buffer, size) : call.status;
}

} // namespace vexlo
