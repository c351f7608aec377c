#pragma once
// Hears that an open camera was unplugged and tells the application.

#include "device/TavixUsbDevice.h"

#include "core/Lock.h"
#include "vexlo/VxCallback.h"

#include <boost/smart_ptr/enable_shared_from_this.hpp>

#include <map>

namespace Tavix {

/// Lives from a successful Open of its device to the next Close. The handler runs on a thread of the USB access library
/// and holds a share, so that a Close at the same time does not free the controller under it. Handler and Close agree
/// under the controller's lock who came first; the first one ends the notifications, the other one leaves at once.
/// Thread-safe.
class CTavixUsbDevice::CSurpriseRemovalController final
    : public boost::enable_shared_from_this<CTavixUsbDevice::CSurpriseRemovalController> {
public:
    /// Both are borrowed. A registration that fails is logged; the application will not hear of a removal then.
    static boost::shared_ptr<CSurpriseRemovalController> Create(ITavixDevice* pDevice, vexlo::CVxDevice* pVxDevice);
    CSurpriseRemovalController(const CSurpriseRemovalController&) = delete;
    CSurpriseRemovalController& operator=(const CSurpriseRemovalController&) = delete;

    /// Clones the callback. The cookie is never 0 and never used twice.
    std::uint64_t Register(Callback1<ITavixDevice*>& callback);
    /// False for an unknown cookie.
    bool Deregister(std::uint64_t cookie);

    /// Ends the notifications for good. Afterwards no handler looks at the device any more, though callbacks of a
    /// handler that had begun before may still run. Only the first call does something.
    void Release();

private:
    using Callbacks = std::map<std::uint64_t, boost::shared_ptr<Callback1<ITavixDevice*>>>;

    CSurpriseRemovalController(ITavixDevice* pDevice, vexlo::CVxDevice* pVxDevice)
        : m_pDevice(pDevice), m_pVxDevice(pVxDevice) {}
    ~CSurpriseRemovalController() = default;
    static void Destroy(CSurpriseRemovalController* pController);

    static void StaticOnSurpriseRemovalCallbackHandler(const vexlo::VxCallbackData* pData);
    void OnSurpriseRemoval();
    void RegisterAtVexlo();
    void DeregisterFromVexloCallbacks();
    void DeregisterFromVexlo(unsigned long CSurpriseRemovalController::*handle, const char* failure);
    gcstring DeviceName() const;
    static void Call(const Callbacks::value_type& entry, ITavixDevice* pDevice, const gcstring& deviceName);

    ITavixDevice* const m_pDevice;       // borrowed
    vexlo::CVxDevice* const m_pVxDevice; // borrowed

    RecursiveLock m_Lock;
    std::uint64_t m_LastCookie TAVIX_GUARDED_BY(m_Lock) = 0;
    Callbacks m_Callbacks TAVIX_GUARDED_BY(m_Lock);
    unsigned long m_RemovedHandle TAVIX_GUARDED_BY(m_Lock) = 0; // 0 when not registered
    unsigned long m_LostHandle TAVIX_GUARDED_BY(m_Lock) = 0;    // 0 when not registered
    bool m_IsDelivered TAVIX_GUARDED_BY(m_Lock) = false;        // a handler has begun
    bool m_IsDelivering TAVIX_GUARDED_BY(m_Lock) = false;       // and has not ended the notifications yet
    bool m_IsReleased TAVIX_GUARDED_BY(m_Lock) = false;
};

} // namespace Tavix
