// A USB access library that does nothing at once, to measure what stands on it. A buffer is complete as soon as it is
// queued.

#include "vexlo/Enumerator.h"
#include "vexlo/Vexlo.h"
#include "vexlo/VxCallback.h"
#include "vexlo/VxDevice.h"
#include "vexlo/VxEventStream.h"
#include "vexlo/VxStream.h"
#include "vexlo/XmlFile.h"

#include <cstring>

namespace vexlo {

struct CVxStream::Impl {
    bool open = false;
    bool prepared = false;
    void* buffer = nullptr;
    const void* context = nullptr;
    bool queued = false;
};
struct CVxEventStream::Impl {};
struct CVxDevice::Impl {
    CVxStream stream{std::make_unique<CVxStream::Impl>()};
    CVxEventStream events{std::make_unique<CVxEventStream::Impl>()};
    bool open = false;
};

VxStatus Init() {
    return VX_OK;
}
void Exit() {}
VxStatus IsLibraryLoadable() {
    return VX_OK;
}
VxStatus GetStatusMessage(VxStatus, char*, unsigned long, unsigned long*) {
    return VX_OK;
}
VxStatus CEnumerator::Discover(Callee* callee) {
    DeviceDiscoveryInfo camera{};
    std::strcpy(camera.DeviceGUID, "000000000001");
    std::strcpy(camera.DevicePath, "1-1");
    (void)callee->EnumCallback(&camera);
    return VX_OK;
}
VxStatus CEnumerator::DeviceInfoFromPath(const char*, DeviceDiscoveryInfo&) {
    return VX_E_NOT_FOUND;
}
VxStatus CEnumerator::CheckAccess(const DeviceDiscoveryInfo&) {
    return VX_OK;
}
VxStatus CEnumerator::DeviceVersion(const DeviceDiscoveryInfo&, char*, unsigned long) {
    return VX_E_NOT_FOUND;
}
VxStatus VxRegisterCallback(const VxCallbackParams*, unsigned long* pHandle) {
    *pHandle = 1;
    return VX_OK;
}
VxStatus VxDeregisterCallback(unsigned long) {
    return VX_OK;
}

CVxDevice::CVxDevice() : m_Impl(std::make_unique<Impl>()) {}
CVxDevice::~CVxDevice() = default;
CVxDevice* CVxDevice::CreateDevice(EDeviceType) {
    return new CVxDevice;
}
void CVxDevice::DestroyDevice(CVxDevice* device) {
    delete device;
}
VxStatus CVxDevice::Open(const DeviceDiscoveryInfo&) {
    m_Impl->open = true;
    return VX_OK;
}
VxStatus CVxDevice::Open(const DeviceDiscoveryInfo* info) {
    return Open(*info);
}
VxStatus CVxDevice::Close() {
    m_Impl->open = false;
    return VX_OK;
}
bool CVxDevice::IsOpen() const {
    return m_Impl->open;
}
VxStatus CVxDevice::ReadMem(void* buffer, unsigned long, unsigned long* pCount) {
    std::memset(buffer, 0, *pCount);
    return VX_OK;
}
VxStatus CVxDevice::WriteMem(const void*, unsigned long, unsigned long) {
    return VX_OK;
}
bool CVxDevice::IsWriteInDoubt(VxStatus) {
    return false;
}
VxStatus CVxDevice::RewriteMem(const void*, unsigned long, unsigned long) {
    return VX_OK;
}
VxStatus CVxDevice::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    std::memset(buffer, id == Property_HasStream ? 1 : 0, size);
    return VX_OK;
}
VxStatus CVxDevice::SetProperty(EPropertyValue, const void*, unsigned long) {
    return VX_OK;
}
VxStatus CVxDevice::ProvideXmlFile(CXmlFile&) {
    return VX_OK;
}
VxStatus CVxDevice::GetStream(CVxStream** ppStream) {
    *ppStream = &m_Impl->stream;
    return VX_OK;
}
VxStatus CVxDevice::GetEventStream(CVxEventStream** ppStream) {
    *ppStream = &m_Impl->events;
    return VX_OK;
}

CVxStream::CVxStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxStream::~CVxStream() = default;
VxStatus CVxStream::Open() {
    m_Impl->open = true;
    return VX_OK;
}
VxStatus CVxStream::Close() {
    m_Impl->open = false;
    return VX_OK;
}
bool CVxStream::IsOpen() const {
    return m_Impl->open;
}
VxStatus CVxStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t*) {
    return VX_OK;
}
void CVxStream::SetCompletionListener(std::function<void()>) {}
void CVxStream::SetEndListener(std::function<void(VxStatus)>) {}
std::shared_ptr<void> CVxStream::ShareMemory(unsigned long) {
    return nullptr;
}
VxStatus CVxStream::PrepareGrab(unsigned long, unsigned long) {
    m_Impl->prepared = true;
    return VX_OK;
}
bool CVxStream::IsPrepared() const {
    return m_Impl->prepared;
}
VxStatus CVxStream::StartStreaming() {
    return VX_OK;
}
VxStatus CVxStream::FinishGrab() {
    m_Impl->prepared = false;
    return VX_OK;
}
VxStatus CVxStream::CancelGrab() {
    return VX_OK;
}
VxStatus CVxStream::BeginCancelGrab() {
    return VX_OK;
}
VxStatus CVxStream::AllocateMemory(unsigned long, void**) {
    return VX_E_NO_MEMORY;
}
VxStatus CVxStream::FreeMemory(void*) {
    return VX_E_NOT_FOUND;
}
VxStatus CVxStream::RegisterBuffer(void* buffer, unsigned long, BufferHandle_s** ppHandle) {
    m_Impl->buffer = buffer;
    *ppHandle = static_cast<BufferHandle_s*>(buffer);
    return VX_OK;
}
VxStatus CVxStream::DeregisterBuffer(BufferHandle_s*, void** ppBuffer) {
    *ppBuffer = m_Impl->buffer;
    return VX_OK;
}
VxStatus CVxStream::QueueBuffer(BufferHandle_s* handle, const void* context) {
    m_Impl->buffer = handle;
    m_Impl->context = context;
    m_Impl->queued = true;
    return VX_OK;
}
VxStatus CVxStream::TakeBackBuffer(BufferHandle_s*) {
    return VX_OK;
}
VxStatus CVxStream::RetrieveBuffer(GrabResult* result, unsigned long* pCount) {
    if (pCount != nullptr) *pCount = 0;
    if (!m_Impl->queued) return VX_E_NO_DATA;
    m_Impl->queued = false;
    *result = {};
    result->Context = m_Impl->context;
    result->Handle = static_cast<BufferHandle_s*>(m_Impl->buffer);
    result->Buffer = m_Impl->buffer;
    result->PayloadType = 1;
    result->PixelFormat = 0x01080001;
    return VX_OK;
}
VxStatus CVxStream::GetProperty(EPropertyValue, void* buffer, unsigned long size) {
    std::memset(buffer, 0, size);
    return VX_OK;
}
VxStatus CVxStream::SetProperty(EPropertyValue, const void*, unsigned long) {
    return VX_OK;
}

CVxEventStream::CVxEventStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
CVxEventStream::~CVxEventStream() = default;
VxStatus CVxEventStream::Open() {
    return VX_OK;
}
VxStatus CVxEventStream::Close() {
    return VX_OK;
}
bool CVxEventStream::IsOpen() const {
    return false;
}
VxStatus CVxEventStream::RegisterWaitObject(Tavix::_WaitObjectPosix_t*) {
    return VX_OK;
}
void CVxEventStream::SetEndListener(std::function<void(VxStatus)>) {}
VxStatus CVxEventStream::RetrieveEvent(void*, unsigned long*, unsigned long*) {
    return VX_E_NO_DATA;
}
VxStatus CVxEventStream::GetProperty(EPropertyValue, void* buffer, unsigned long size) {
    std::memset(buffer, 0, size);
    return VX_OK;
}
VxStatus CVxEventStream::SetProperty(EPropertyValue, const void*, unsigned long) {
    return VX_OK;
}

} // namespace vexlo
