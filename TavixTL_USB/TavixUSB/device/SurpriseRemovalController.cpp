#include "device/SurpriseRemovalController.h"

#include "Failure.h"
#include "core/Threads.h"

namespace Tavix {

boost::shared_ptr<CTavixUsbDevice::CSurpriseRemovalController>
CTavixUsbDevice::CSurpriseRemovalController::Create(ITavixDevice* pDevice, vexlo::CVxDevice* pVxDevice) {
    boost::shared_ptr<CSurpriseRemovalController> pController(new CSurpriseRemovalController(pDevice, pVxDevice),
                                                              &CSurpriseRemovalController::Destroy);
    pController->RegisterAtVexlo();
    return pController;
}

void CTavixUsbDevice::CSurpriseRemovalController::Destroy(CSurpriseRemovalController* pController) {
    pController->Release();
    delete pController;
}

void CTavixUsbDevice::CSurpriseRemovalController::Release() {
    {
        ScopedLock guard(m_Lock);
        if (m_IsReleased) return;
        m_IsReleased = true;
        // A handler that has begun ends the notifications itself. To wait here for it would be to wait for callbacks
        // that may want the locks of our caller.
        if (m_IsDelivering) return;
    }
    DeregisterFromVexloCallbacks();
}

/// A handler that comes early waits at the lock until the handles are known, so that it can deregister itself.
void CTavixUsbDevice::CSurpriseRemovalController::RegisterAtVexlo() {
    ScopedLock guard(m_Lock);
    vexlo::VxCallbackParams params = {vexlo::VxCallback_DeviceRemoved, this, m_pVxDevice,
                                      &StaticOnSurpriseRemovalCallbackHandler};
    unsigned int status = vexlo::VxRegisterCallback(&params, &m_RemovedHandle);
    if (status != 0) {
        m_RemovedHandle = 0;
        LogTrace(LogCategoryDevice(), kLogError, "%s: Failed to register device notification: '%s'",
                 "CSurpriseRemovalController", VxStatus2Msg(status).c_str());
    }
    params.Kind = vexlo::VxCallback_DeviceLost;
    status = vexlo::VxRegisterCallback(&params, &m_LostHandle);
    if (status != 0) {
        m_LostHandle = 0;
        LogTrace(LogCategoryDevice(), kLogError, "%s: Failed to register device notification 2: '%s'",
                 "CSurpriseRemovalController", VxStatus2Msg(status).c_str());
    }
}

void CTavixUsbDevice::CSurpriseRemovalController::DeregisterFromVexloCallbacks() {
    DeregisterFromVexlo(&CSurpriseRemovalController::m_RemovedHandle,
                        "%s: Failed to unregister device notification: '%s'");
    DeregisterFromVexlo(&CSurpriseRemovalController::m_LostHandle,
                        "%s: Failed to unregister device notification 2: '%s'");
}

/// The call is made without the lock, because it may wait for a handler that wants the lock.
void CTavixUsbDevice::CSurpriseRemovalController::DeregisterFromVexlo(unsigned long CSurpriseRemovalController::*handle,
                                                                      const char* failure) {
    ScopedLock guard(m_Lock);
    const unsigned long present = this->*handle;
    if (present == 0) return;
    guard.Unlock();
    const unsigned int status = vexlo::VxDeregisterCallback(present);
    guard.Lock();
    if (status == vexlo::VX_OK || status == vexlo::VX_E_NOT_FOUND) {
        this->*handle = 0;
        return;
    }
    LogTrace(LogCategoryDevice(), kLogError, failure, "DeregisterFromVexloCallbacks", VxStatus2Msg(status).c_str());
}

std::uint64_t CTavixUsbDevice::CSurpriseRemovalController::Register(Callback1<ITavixDevice*>& callback) {
    ScopedLock guard(m_Lock);
    const std::uint64_t cookie = ++m_LastCookie;
    m_Callbacks.emplace(cookie, boost::shared_ptr<Callback1<ITavixDevice*>>(callback.clone()));
    return cookie;
}

bool CTavixUsbDevice::CSurpriseRemovalController::Deregister(std::uint64_t cookie) {
    ScopedLock guard(m_Lock);
    return m_Callbacks.erase(cookie) != 0;
}

void CTavixUsbDevice::CSurpriseRemovalController::StaticOnSurpriseRemovalCallbackHandler(
    const vexlo::VxCallbackData* pData) {
    auto* const pContext = static_cast<CSurpriseRemovalController*>(pData->Context);
    // Empty once the last share is gone; whoever gave it back is waiting for this handler to end.
    if (const auto pController = pContext->weak_from_this().lock()) pController->OnSurpriseRemoval();
}

void CTavixUsbDevice::CSurpriseRemovalController::OnSurpriseRemoval() {
    ScopedLock guard(m_Lock);
    if (m_IsReleased) return;  // closed in the same moment
    if (m_IsDelivered) return; // both kinds of notification may come at the same moment
    m_IsDelivered = m_IsDelivering = true;
    const gcstring deviceName = DeviceName();
    LogTrace(LogCategoryDevice(), kLogInfo, "Received surprise removal for '%s'. Callbacks: %u", deviceName.c_str(),
             static_cast<unsigned int>(m_Callbacks.size()));
    const Callbacks callbacks = m_Callbacks;
    guard.Unlock();

    DeregisterFromVexloCallbacks();
    guard.Lock();
    m_IsDelivering = false;
    guard.Unlock();
    const SignalsAsStarted signals;
    for (const auto& entry : callbacks)
        Call(entry, m_pDevice, deviceName);
}

gcstring CTavixUsbDevice::CSurpriseRemovalController::DeviceName() const {
    try {
        return m_pDevice->GetDeviceInfo().GetFullName();
    } catch (const std::exception&) {
        return gcstring(); // the removal must be told even for a device without a name
    }
}

void CTavixUsbDevice::CSurpriseRemovalController::Call(const Callbacks::value_type& entry, ITavixDevice* pDevice,
                                                       const gcstring& deviceName) {
    void* const handle = reinterpret_cast<void*>(entry.first);
    try {
        const std::unique_ptr<Callback1<ITavixDevice*>> pCallback(entry.second->clone());
        (*pCallback)(pDevice);
    } catch (const std::exception& e) {
        LogTrace(LogCategoryDevice(), kLogError,
                 "Error executing surprise removal callback for '%hs'. handle: %#p; Errormessage: '%hs'",
                 deviceName.c_str(), handle, e.what());
    } catch (...) {
        LogTrace(LogCategoryDevice(), kLogError,
                 "Unknown error executing surprise removal callback for '%hs'. handle: %#p", deviceName.c_str(),
                 handle);
    }
}

} // namespace Tavix
