#include "device/TavixUsbDevice.h"

#include "compatibility/NodeCompatibilityLayer.h"
#include "device/DeviceGuards.h"
#include "device/SurpriseRemovalController.h"
#include "discovery/DiscoveryRecord.h"
#include "event/TavixUsbEventGrabber.h"
#include "stream/TavixUsbStream.h"

#include <GenApi/NodeCallback.h>

#include <utility>

namespace Tavix {

using GenICam::LogicalErrorException;
using GenICam::RuntimeException;

namespace {

constexpr char kTlPortName[] = "VexloDevicePort";

vexlo::CVxDevice* CreateVxDevice(const CDeviceInfo& info) {
    vexlo::CVxDevice* const pVxDevice = vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb);
    if (pVxDevice) return pVxDevice;
    LogAndThrow<RuntimeException>(LogCategoryDevice(), Here(), "Failed to create USB device for device '%hs'.",
                                  info.GetFullName().c_str());
}

} // namespace

CTavixUsbDevice::CTavixUsbDevice(const CDeviceInfo& info)
    : m_DeviceInfo(info), m_pVxDevice(CreateVxDevice(info)), m_pStream(new CTavixUsbStream(m_pVxDevice.get(), this)),
      m_pEventGrabber(new CTavixUsbEventGrabber(m_pVxDevice.get())),
      m_pTlParams(Vandrel_UsbTLParams::CUsbTLParamsImpl::Create("")), m_pTlPort(new CVexloDevicePort),
      m_FullName(info.GetFullName()) {
    LogTrace(LogCategoryDevice(), kLogInfo, "Creating device '%hs' using '%hs'", m_FullName.c_str(),
             m_DeviceInfo.GetUsbDriverType().c_str());
    GenApi::INode* const pMigration = m_pTlParams->GetNode("MigrationModeEnable");
    GenApi::Register(pMigration, *this, &CTavixUsbDevice::OnMigrationModeEnable, GenApi::cbPostInsideLock);
    OnMigrationModeEnable(pMigration);
    m_pWatched = m_pVxDevice.get();
    m_pTlPort->SetObject(m_pVxDevice.get());
    m_pTlParams->Connect(m_pTlPort.get(), kTlPortName);
    LogTrace(LogCategoryDevice(), kLogInfo, "Created device '%hs' successfully.", m_FullName.c_str());
}

CTavixUsbDevice::~CTavixUsbDevice() {
    LogTrace(LogCategoryDevice(), kLogInfo, "Destroying device '%hs'", m_FullName.c_str());
    CloseOnDestruction();
    try {
        m_pStream.reset();
        m_pEventGrabber.reset();
        m_pTlPort->SetObject(nullptr);
        vexlo::CVxDevice::DestroyDevice(m_pVxDevice.release());
    } catch (...) {
        LogTrace(LogCategoryDevice(), kLogError, "Exception(2) in %s for Device '%hs'. Close() failed.",
                 "~CTavixUsbDevice", m_FullName.c_str());
    }
    delete m_pCompatibilityLayer.load();
    m_pTlPort.reset();
    m_pTlParams.reset();
    m_pRemovalController.reset();
    CNodeMapRefT::operator=(CNodeMapRefT("Device")); // while its port, which is this object, is still whole
    LogTrace(LogCategoryDevice(), kLogInfo, "Destroyed device '%s' successfully.", m_FullName.c_str());
}

/// Gives all locks back, because those of the grabbers die with the grabbers.
void CTavixUsbDevice::CloseOnDestruction() noexcept {
    const AllGuard guard(*this);
    try {
        if (m_IsOpen) {
            LogTrace(LogCategoryDevice(), kLogWarning,
                     "Device '%hs' still open on destruction. "
                     "Please call ITavixDevice::Close() before destroying the device.",
                     m_FullName.c_str());
            InternalClose();
        }
    } catch (...) {
        LogTrace(LogCategoryDevice(), kLogError, "Exception(1) in %s for Device '%s'. Close() failed.",
                 "~CTavixUsbDevice", m_FullName.c_str());
    }
    DestroyHandedOut(); // what was asked for while closed, and what a failed close has left
}

void CTavixUsbDevice::Open(AccessModeSet accessMode) {
    LogTrace(LogCategoryDevice(), kLogInfo, "Opening device '%s' accessMode: %#x", m_FullName.c_str(),
             static_cast<unsigned int>(accessMode.to_ullong()));
    std::optional<GenApi::AutoLock> nodeMapGuard; // nobody reads what is left from before
    if (_Ptr) nodeMapGuard.emplace(_Ptr->GetLock());
    TransportGuard guard(m_Lock);
    if (m_IsOpen) Throw<LogicalErrorException>(Here(), "Device is already open.");
    const unsigned int status = OpenWithRetry(*m_pVxDevice, MakeOpenRecord(m_DeviceInfo));
    if (status != 0) {
        const gcstring text = VxStatus2Msg(status);
        LogTrace(LogCategoryDevice(), kLogError, "%s: Failed to open device '%s'! Error: '%s'", "Open",
                 m_FullName.c_str(), text.c_str());
        ThrowStatus(Here(), status, "Failed to open device '%s'! Error: '%s'", m_FullName.c_str(), text.c_str());
    }
    const AccessModeSet previous = std::exchange(m_AccessMode, accessMode);
    try {
        m_pRemovalController = CSurpriseRemovalController::Create(this, m_pVxDevice.get());
    } catch (...) {
        static_cast<void>(m_pVxDevice->Close()); // the failure to report is the one in flight
        m_AccessMode = previous;
        throw;
    }
    m_IsOpen = true;
    LogTrace(LogCategoryDevice(), kLogInfo, "Opened device '%s' successfully", m_FullName.c_str());
    guard.Unlock();
    if (_Ptr) _Ptr->InvalidateNodes(); // the camera may have been unplugged and forgotten its settings
}

void CTavixUsbDevice::Close() {
    LogTrace(LogCategoryDevice(), kLogInfo, "Closing device '%s'", m_FullName.c_str());
    const AllGuard guard(*this);
    if (!m_IsOpen) Throw<LogicalErrorException>(Here(), "Device is already closed.");
    InternalClose();
    LogTrace(LogCategoryDevice(), kLogInfo, "Closed device '%s' successfully.", m_FullName.c_str());
}

void CTavixUsbDevice::InternalClose() {
    const AllGuard guard(*this);
    if (m_IsOpen) {
        m_pStream->Close();
        m_pEventGrabber->Close();
        if (m_pRemovalController) m_pRemovalController->Release();
        m_pRemovalController.reset();
        const unsigned int status = m_pVxDevice->Close();
        m_IsOpen = false;
        if (status != 0) {
            LogTrace(LogCategoryDevice(), kLogError, "%s: Failed to close device: '%s'. Error: '%s'", "InternalClose",
                     m_FullName.c_str(), VxStatus2Msg(status).c_str());
        }
    } else {
        LogTrace(LogCategoryDevice(), kLogWarning, "%s: Device '%s' is not open and cannot be closed.", "InternalClose",
                 m_FullName.c_str());
    }
    DestroyHandedOut();
}

bool CTavixUsbDevice::IsOpen() const {
    const TransportGuard guard(m_Lock);
    return m_IsOpen;
}

DevicePresence CUsbDevicePresence::PresenceBy(unsigned int status) const {
    return Tavix::PresenceBy(status);
}

/// A camera that was silent once may answer now; one that has gone stays away until it is opened anew.
DevicePresence CUsbDevicePresence::Presence() const {
    std::uint32_t last = vexlo::VX_OK;
    const unsigned int status = m_pWatched->GetProperty(vexlo::CVxDevice::Property_LastErrorStatus, &last, sizeof last);
    const bool isGone = status == vexlo::VX_OK && PresenceBy(last) == DevicePresence::Gone;
    return isGone ? DevicePresence::Gone : DevicePresence::There;
}

AccessModeSet CTavixUsbDevice::AccessMode() const {
    const TransportGuard guard(m_Lock);
    return m_AccessMode;
}

IStreamGrabber* CTavixUsbDevice::GetStreamGrabber(std::uint32_t index) {
    if (index == 0) return m_pStream.get();
    LogTrace(LogCategoryDevice(), kLogWarning, "Invalid StreamIndex %u. Only stream index zero is supported.", index);
    return nullptr;
}

IEventGrabber* CTavixUsbDevice::GetEventGrabber() {
    return IsOpen() ? m_pEventGrabber.get() : nullptr;
}

GenApi::INodeMap* CTavixUsbDevice::GetNodeMap() {
    CNodeCompatibilityLayer* const pLayer = m_pCompatibilityLayer;
    if (m_MigrationMode && pLayer && pLayer->GetNodeMap()) return pLayer;
    return _Ptr;
}

GenApi::INodeMap* CTavixUsbDevice::GetTLNodeMap() {
    return m_pTlParams.get();
}

void CTavixUsbDevice::OnMigrationModeEnable(GenApi::INode* pNode) {
    auto* const pEnable = dynamic_cast<GenApi::IBoolean*>(pNode);
    if (!pEnable || !GenApi::IsReadable(pEnable->GetAccessMode())) return;
    const bool enable = pEnable->GetValue();
    GenApi::INodeMap* const pCameraMap = GetNodeMap(); // as long as there is no layer
    if (enable && !m_pCompatibilityLayer && pCameraMap) m_pCompatibilityLayer = new CNodeCompatibilityLayer(pCameraMap);
    m_MigrationMode = enable;
    LogTrace(LogCategoryDevice(), kLogDetail, "Migration mode for device '%s' changed to %i", m_FullName.c_str(),
             enable ? 1 : 0);
}

DeviceCallbackHandle CTavixUsbDevice::RegisterRemovalCallback(Callback1<ITavixDevice*>& callback) {
    const TransportGuard guard(m_Lock);
    if (!m_IsOpen) {
        Throw<LogicalErrorException>(Here(), "Camera object must not be closed (RegisterRemovalCallback)");
    }
    return reinterpret_cast<DeviceCallbackHandle>(m_pRemovalController->Register(callback));
}

bool CTavixUsbDevice::DeregisterRemovalCallback(DeviceCallbackHandle handle) {
    const TransportGuard guard(m_Lock);
    if (!m_IsOpen) {
        Throw<LogicalErrorException>(Here(), "Camera object must not be closed (DeregisterRemovalCallback)");
    }
    return m_pRemovalController->Deregister(reinterpret_cast<std::uint64_t>(handle));
}

} // namespace Tavix
