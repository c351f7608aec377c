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

struct CVxStream::Impl {};
struct CVxEventStream::Impl {};

CVxStream::CVxStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxStream::~CVxStream() = default;

VxStatus CVxStream::Open() {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Stream.Open");
    Bus().stream.open = status == VX_OK;
    return status;
}

VxStatus CVxStream::Close() {
    const Lock guard(Bus().lock);
    Bus().stream.open = false;
    return Bus().Note("Stream.Close");
}

bool CVxStream::IsOpen() const {
    const Lock guard(Bus().lock);
    return Bus().stream.open;
}

VxStatus CVxStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t* waitObject) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Stream.RegisterWaitObject");
    if (status == VX_OK) Bus().stream.waitObject = Tavix::ShareWaitObject(waitObject);
    return status;
}

VxStatus CVxStream::PrepareGrab(unsigned long maxBuffers, unsigned long maxBufferSize) {
    const Lock guard(Bus().lock);
    Bus().preparedBuffers = maxBuffers;
    Bus().preparedSize = maxBufferSize;
    const VxStatus status = Bus().Note("Stream.PrepareGrab");
    if (status == VX_OK) Bus().stream.prepared = true;
    return status;
}

bool CVxStream::IsPrepared() const {
    const Lock guard(Bus().lock);
    return Bus().stream.prepared;
}

VxStatus CVxStream::StartStreaming() {
    return Bus().Note("Stream.StartStreaming");
}

VxStatus CVxStream::FinishGrab() {
    const Lock guard(Bus().lock);
    Bus().stream.prepared = false;
    return Bus().Note("Stream.FinishGrab");
}

VxStatus CVxStream::CancelGrab() {
    return Bus().Note("Stream.CancelGrab");
}

VxStatus CVxStream::RegisterBuffer(void* buffer, unsigned long, BufferHandle_s** ppHandle) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Stream.RegisterBuffer");
    if (status != VX_OK) return status;
    Bus().userBuffer = buffer;
    *ppHandle = reinterpret_cast<BufferHandle_s*>(&Bus().userBuffer);
    return VX_OK;
}

VxStatus CVxStream::DeregisterBuffer(BufferHandle_s* handle, void** ppBuffer) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Stream.DeregisterBuffer");
    if (status == VX_OK) *ppBuffer = *reinterpret_cast<void**>(handle);
    return status;
}

VxStatus CVxStream::QueueBuffer(BufferHandle_s*, const void* context) {
    const Lock guard(Bus().lock);
    Bus().queuedContext = context;
    return Bus().Note("Stream.QueueBuffer");
}

VxStatus CVxStream::RetrieveBuffer(GrabResult* result, unsigned long* pCount) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Stream.RetrieveBuffer");
    if (status != VX_OK) return status;
    if (Bus().results.empty()) return VX_E_NO_DATA;
    *result = Bus().results.front();
    Bus().results.pop_front();
    if (!Bus().results.empty()) Bus().stream.Signal();
    if (pCount) *pCount = Bus().results.size();
    return VX_OK;
}

VxStatus CVxStream::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Stream.GetProperty");
    return status != VX_OK ? status : Bus().Read(Bus().streamProperties, id, buffer, size);
}

VxStatus CVxStream::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Stream.SetProperty");
    return status != VX_OK ? status : Bus().Write(Bus().streamProperties, id, buffer, size);
}

CVxEventStream::CVxEventStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxEventStream::~CVxEventStream() = default;

VxStatus CVxEventStream::Open() {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Events.Open");
    Bus().eventStream.open = status == VX_OK;
    return status;
}

VxStatus CVxEventStream::Close() {
    const Lock guard(Bus().lock);
    Bus().eventStream.open = false;
    return Bus().Note("Events.Close");
}

bool CVxEventStream::IsOpen() const {
    const Lock guard(Bus().lock);
    return Bus().eventStream.open;
}

VxStatus CVxEventStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t* waitObject) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Events.RegisterWaitObject");
    if (status == VX_OK) Bus().eventStream.waitObject = Tavix::ShareWaitObject(waitObject);
    return status;
}

VxStatus CVxEventStream::RetrieveEvent(void* buffer, unsigned long* pSize, unsigned long* pPending) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Events.RetrieveEvent");
    if (status != VX_OK) return status;
    if (Bus().events.empty()) return VX_E_NO_DATA;
    const FakeVexlo::Bytes event = Bus().events.front();
    if (*pSize < event.size()) return VX_E_INVALID_SIZE;
    Bus().events.pop_front();
    std::memcpy(buffer, event.data(), event.size());
    *pSize = event.size();
    if (!Bus().events.empty()) Bus().eventStream.Signal();
    if (pPending) *pPending = Bus().events.size();
    return VX_OK;
}

VxStatus CVxEventStream::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Events.GetProperty");
    return status != VX_OK ? status : Bus().Read(Bus().eventProperties, id, buffer, size);
}

VxStatus CVxEventStream::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Events.SetProperty");
    return status != VX_OK ? status : Bus().Write(Bus().eventProperties, id, buffer, size);
}

} // namespace vexlo
