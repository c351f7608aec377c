// An opened camera.
#include "vexlo/device/DeviceSession.h"

#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

namespace vexlo {
namespace {

void WarnOfSpeed(const FoundCamera& camera) {
    const std::string warning = SpeedWarning(camera.speed, camera.function.info.speedSupport);
    if (!warning.empty()) Log(Tavix::kLogWarning, "Camera '%s' %s", camera.path.c_str(), warning.c_str());
}

/// A device of several configurations may have its camera in another one than the system chose.
VxStatus SelectConfiguration(usb::Handle& handle, const FoundCamera& camera) {
    if (camera.isActive) return VX_OK;
    const usb::Result result = handle.SelectConfiguration(camera.function.configurationValue);
    return result == usb::Result::NotSupported ? VX_OK : ToStatus(result);
}

} // namespace

VxStatus InterfaceClaim::Claim(usb::Handle& handle, std::uint8_t number) {
    Release();
    const usb::Result result = handle.Claim(number);
    if (result != usb::Result::Ok) return ToStatus(result);
    m_Handle = &handle;
    m_Number = number;
    return VX_OK;
}

void InterfaceClaim::Release() {
    if (m_Handle != nullptr) m_Handle->Release(m_Number);
    m_Handle = nullptr;
}

VxStatus DeviceSession::Open(const FoundCamera& camera, std::shared_ptr<RemovalNotifier> notifier,
                             const Options& options, std::shared_ptr<DeviceSession>& session) {
    std::unique_ptr<usb::Handle> handle;
    const usb::Result result = camera.backend->Open(camera.id, handle);
    if (result != usb::Result::Ok) return ToStatus(result);
    auto opened = std::make_shared<DeviceSession>(camera, std::move(handle), std::move(notifier), options);
    VxStatus status = SelectConfiguration(*opened->m_Handle, camera);
    if (status == VX_OK) status = opened->m_Claim.Claim(*opened->m_Handle, camera.function.controlInterface);
    if (status == VX_OK) status = opened->m_Control.Connect(options.whole);
    if (status == VX_OK) status = ReadBootstrap(opened->m_Control, options.whole, opened->m_Bootstrap);
    if (status != VX_OK) return status;
    RegisterAccess registers(opened->m_Control, options.whole);
    if (!options.isForReading) StopLeftOvers(registers, opened->m_Bootstrap);
    opened->m_Control.Trust();
    WarnOfSpeed(camera);
    opened->m_Token = opened->m_Notifier->Watch(camera.backend.get(), camera.id, options.device, opened);
    session = std::move(opened);
    return VX_OK;
}

VxStatus DeviceSession::CheckAccess(const FoundCamera& camera) {
    std::unique_ptr<usb::Handle> handle;
    const usb::Result result = camera.backend->Open(camera.id, handle);
    if (result != usb::Result::Ok) return ToStatus(result);
    if (!camera.isActive) return VX_OK; // its interfaces come with its configuration, which only Open selects
    InterfaceClaim claim;
    return claim.Claim(*handle, camera.function.controlInterface);
}

DeviceSession::DeviceSession(const FoundCamera& camera, std::unique_ptr<usb::Handle> handle,
                             std::shared_ptr<RemovalNotifier> notifier, const Options& options)
    : m_Camera(camera), m_Notifier(std::move(notifier)), m_Handle(std::move(handle)),
      m_Control(*m_Handle, camera.function.controlOut, camera.function.controlIn, *options.counters, options.timing) {}

DeviceSession::~DeviceSession() {
    Leave();
}

void DeviceSession::Leave() {
    if (m_Token != 0) m_Notifier->Unwatch(m_Token);
}

VxStatus DeviceSession::OpenHandle(std::unique_ptr<usb::Handle>& handle) {
    return Note(ToStatus(m_Camera.backend->Open(m_Camera.id, handle)));
}

VxStatus DeviceSession::Note(VxStatus status) {
    if (status == VX_E_USB_NO_DEVICE && m_Token != 0) m_Notifier->TransferReportsRemoval(m_Token);
    return status;
}

} // namespace vexlo
