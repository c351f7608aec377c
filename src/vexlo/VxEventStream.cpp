// The event channel of a camera.
#include "vexlo/VxEventStream.h"

#include "vexlo/VxEventStreamImpl.h"

namespace vexlo {

CVxEventStream::CVxEventStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxEventStream::~CVxEventStream() = default;
VxStatus CVxEventStream::Open() {
    return VX_E_NOT_SUPPORTED;
}
VxStatus CVxEventStream::Close() {
    return VX_E_NOT_OPEN;
}
bool CVxEventStream::IsOpen() const {
    return false;
}
VxStatus CVxEventStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t*) {
    return VX_E_NOT_SUPPORTED;
}
VxStatus CVxEventStream::RetrieveEvent(void*, unsigned long*, unsigned long*) {
    return VX_E_NO_DATA;
}
VxStatus CVxEventStream::GetProperty(EPropertyValue, void*, unsigned long) {
    return VX_E_INVALID_PROPERTY;
}
VxStatus CVxEventStream::SetProperty(EPropertyValue, const void*, unsigned long) {
    return VX_E_INVALID_PROPERTY;
}

} // namespace vexlo
