#include "vexlo/VxStream.h"

#include "vexlo/stream/StreamImpl.h"

namespace vexlo {

CVxStream::CVxStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}

CVxStream::~CVxStream() {
    (void)m_Impl->Close();
}

VxStatus CVxStream::Open() {
    return m_Impl->Open();
}

VxStatus CVxStream::Close() {
    return m_Impl->Close();
}

bool CVxStream::IsOpen() const {
    return m_Impl->state != Impl::State::Closed;
}

VxStatus CVxStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t* waitObject) {
    m_Impl->pool.SetWaitObject(Tavix::ShareWaitObject(waitObject));
    return VX_OK;
}

void CVxStream::SetCompletionListener(std::function<void()> listener) {
    m_Impl->pool.SetListener(std::move(listener));
}

void CVxStream::SetEndListener(std::function<void(VxStatus)> listener) {
    m_Impl->pool.SetEndListener(std::move(listener));
}

VxStatus CVxStream::PrepareGrab(unsigned long maxBuffers, unsigned long maxBufferSize) {
    return m_Impl->Prepare(maxBuffers, maxBufferSize);
}

bool CVxStream::IsPrepared() const {
    const Impl::State state = m_Impl->state;
    return state == Impl::State::Prepared || state == Impl::State::Streaming;
}

VxStatus CVxStream::StartStreaming() {
    return m_Impl->Start();
}

VxStatus CVxStream::FinishGrab() {
    return m_Impl->Finish();
}

VxStatus CVxStream::CancelGrab() {
    return m_Impl->Cancel();
}

VxStatus CVxStream::BeginCancelGrab() {
    return m_Impl->AskCancel();
}

VxStatus CVxStream::AllocateMemory(unsigned long size, void** ppMemory) {
    return m_Impl->AllocateMemory(size, ppMemory);
}

std::shared_ptr<void> CVxStream::ShareMemory(unsigned long size) {
    return m_Impl->ShareMemory(size);
}

VxStatus CVxStream::FreeMemory(void* memory) {
    return m_Impl->FreeMemory(memory);
}

VxStatus CVxStream::RegisterBuffer(void* buffer, unsigned long size, BufferHandle_s** ppHandle) {
    return IsPrepared() ? m_Impl->Register(buffer, size, ppHandle) : VX_E_INVALID_STATE;
}

VxStatus CVxStream::DeregisterBuffer(BufferHandle_s* handle, void** ppBuffer) {
    return m_Impl->pool.Deregister(handle, ppBuffer);
}

[[gnu::hot]] VxStatus CVxStream::QueueBuffer(BufferHandle_s* handle, const void* context) {
    return m_Impl->pool.Queue(handle, context);
}

VxStatus CVxStream::TakeBackBuffer(BufferHandle_s* handle) {
    return m_Impl->pool.TakeBack(handle);
}

[[gnu::hot]] VxStatus CVxStream::RetrieveBuffer(GrabResult* result, unsigned long* pCount) {
    return m_Impl->pool.Retrieve(result, pCount);
}

VxStatus CVxStream::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    return m_Impl->GetProperty(id, buffer, size);
}

VxStatus CVxStream::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    return m_Impl->SetProperty(id, buffer, size);
}

} // namespace vexlo
