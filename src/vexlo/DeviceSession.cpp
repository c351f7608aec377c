// An opened camera.
#include "vexlo/DeviceSession.h"

#include "u3v/Constants.h"
#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

namespace vexlo {
namespace {

void WarnOfSlowLink(const FoundCamera& camera) {
    const bool couldBeFast = camera.function.info.speedSupport >= u3v::descriptor::kSpeedSuper;
    if (!couldBeFast || camera.speed == usb::Speed::Unknown || camera.speed >= usb::Speed::Super) return;
    Log(Tavix::kLogWarning, "Camera '%s' is a SuperSpeed camera on a slower link: check port and cable",
        camera.path.c_str());
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
    VxStatus status = opened->m_Claim.Claim(*opened->m_Handle, camera.function.controlInterface);
    if (status == VX_OK) status = opened->m_Control.Connect();
    if (status == VX_OK) status = ReadBootstrap(opened->m_Control, opened->m_Bootstrap);
    if (status != VX_OK) return status;
    StopLeftOvers(opened->m_Memory, opened->m_Bootstrap);
    WarnOfSlowLink(camera);
    opened->m_Token = opened->m_Notifier->Watch(camera.backend.get(), camera.id, options.device, opened);
    session = std::move(opened);
    return VX_OK;
}

DeviceSession::DeviceSession(const FoundCamera& camera, std::unique_ptr<usb::Handle> handle,
                             std::shared_ptr<RemovalNotifier> notifier, const Options& options)
    : m_Camera(camera), m_Notifier(std::move(notifier)), m_Handle(std::move(handle)),
      m_Control(*m_Handle, camera.function.controlOut, camera.function.controlIn, *options.counters, options.timing) {}

DeviceSession::~DeviceSession() {
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
