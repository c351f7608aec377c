// The image stream of a camera.
#include "vexlo/VxStream.h"

#include "vexlo/VxStreamImpl.h"

namespace vexlo {

CVxStream::CVxStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxStream::~CVxStream() = default;
VxStatus CVxStream::Open() {
    return VX_E_NOT_SUPPORTED;
}
VxStatus CVxStream::Close() {
    return VX_E_NOT_OPEN;
}
bool CVxStream::IsOpen() const {
    return false;
}
VxStatus CVxStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t*) {
    return VX_E_NOT_SUPPORTED;
}
VxStatus CVxStream::PrepareGrab(unsigned long, unsigned long) {
    return VX_E_NOT_OPEN;
}
bool CVxStream::IsPrepared() const {
    return false;
}
VxStatus CVxStream::StartStreaming() {
    return VX_E_NOT_OPEN;
}
VxStatus CVxStream::FinishGrab() {
    return VX_E_NOT_OPEN;
}
VxStatus CVxStream::CancelGrab() {
    return VX_E_NOT_OPEN;
}
VxStatus CVxStream::RegisterBuffer(void*, unsigned long, BufferHandle_s**) {
    return VX_E_NOT_OPEN;
}
VxStatus CVxStream::DeregisterBuffer(BufferHandle_s*, void**) {
    return VX_E_NOT_OPEN;
}
VxStatus CVxStream::QueueBuffer(BufferHandle_s*, const void*) {
    return VX_E_NOT_OPEN;
}
VxStatus CVxStream::RetrieveBuffer(GrabResult*, unsigned long*) {
    return VX_E_NO_DATA;
}
VxStatus CVxStream::GetProperty(EPropertyValue, void*, unsigned long) {
    return VX_E_INVALID_PROPERTY;
}
VxStatus CVxStream::SetProperty(EPropertyValue, const void*, unsigned long) {
    return VX_E_INVALID_PROPERTY;
}

} // namespace vexlo
