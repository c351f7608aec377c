#pragma once
// One USB camera.

#include "GenericUsbPort.h"
#include "ParamsPtr.h"
#include "TransportLock.h"
#include "device/PortSuccession.h"
#include "device/VxDevicePtr.h"
#include "params/UsbTLParams.h"

#include "tavix/Device.h"
#include "tavix/DevicePresence.h"
#include "tavix/internal/TavixDevicePrivateImpl.h"
#include "tavix/usb/VandrelUsbDeviceInfo.h"

#include <GenApi/PortImpl.h>
#include <boost/shared_ptr.hpp>

#include <atomic>
#include <set>

namespace Tavix {

class CNodeCompatibilityLayer;
class CTavixUsbEventAdapter;
class CTavixUsbEventGrabber;
class CTavixUsbStream;
class CUsbChunkParser;

/// The addresses of its registers are CVxDevice::EPropertyValue.
using CVexloDevicePort = CGenericUsbPort<vexlo::CVxDevice>;

/// A base of the device, whose own slots would otherwise be more. Thread-safe.
class CUsbDevicePresence : public IDevicePresence {
public:
    DevicePresence Presence() const override;
    DevicePresence PresenceBy(unsigned int status) const override;

protected:
    ~CUsbDevicePresence() = default;
    vexlo::CVxDevice* m_pWatched = nullptr; // borrowed from the device; constant after construction
};

///   closed --Open--> open --Close--> closed
///
/// Also the port of its camera node map. An unplugged camera stays open until the application closes it.
///
/// Locks, in the order in which they are taken: stream grabber, event grabber, camera node map, device, removal
/// controller; see docs/threads.md. Thread-safe.
class CTavixUsbDevice final : public CTavixDevicePrivateImpl<ITavixDevice>,
                              public CUsbDevicePresence,
                              public GenApi::CPortImpl {
public:
    explicit CTavixUsbDevice(const CDeviceInfo& info);
    ~CTavixUsbDevice() override;

    bool GetChunkDataNodeMapSupported() const override { return true; }

    void Open(AccessModeSet accessMode) override;
    void Close() override;
    bool IsOpen() const override;
    const CDeviceInfo& GetDeviceInfo() const override { return m_DeviceInfo; }
    std::uint32_t GetNumStreamGrabberChannels() const override { return 1; }
    IStreamGrabber* GetStreamGrabber(std::uint32_t index) override;
    IEventGrabber* GetEventGrabber() override;
    GenApi::INodeMap* GetNodeMap() override;
    GenApi::INodeMap* GetTLNodeMap() override;
    IChunkParser* CreateChunkParser() override;
    void DestroyChunkParser(IChunkParser* pParser) override;
    ISelfReliantChunkParser* CreateSelfReliantChunkParser() override;
    void DestroySelfReliantChunkParser(ISelfReliantChunkParser* pParser) override;
    IEventAdapter* CreateEventAdapter() override;
    /// The caller keeps it apart from Close and CreateEventAdapter: unlike its siblings it takes no lock, so that it
    /// may be called by who delivers events and holds other locks.
    void DestroyEventAdapter(IEventAdapter* pAdapter) override TAVIX_NO_THREAD_SAFETY_ANALYSIS;
    DeviceCallbackHandle RegisterRemovalCallback(Callback1<ITavixDevice*>& callback) override;
    bool DeregisterRemovalCallback(DeviceCallbackHandle handle) override;
    AccessModeSet AccessMode() const override;

    /// As Close, but a device that is not open only leaves a warning.
    void InternalClose();

    // The port of the camera node map.
    GenApi::EAccessMode GetAccessMode() const override;
    void Read(void* pBuffer, int64_t address, int64_t length) override;
    void Write(const void* pBuffer, int64_t address, int64_t length) override;

private:
    class CSurpriseRemovalController;
    class NodeMapAndDeviceGuard;
    class AllGuard;

    /// After a write of which nobody knows whether it was executed: plain registers are settled, commands never sent
    /// again. The caller holds the device's lock only if it holds the node map's as well.
    unsigned int SettleWrite(const void* pBuffer, int64_t address, int64_t length, unsigned int status);
    /// Follows the transport-layer parameter "MigrationModeEnable".
    void OnMigrationModeEnable(GenApi::INode* pNode);
    void CloseOnDestruction() noexcept;
    void DestroyHandedOut() TAVIX_REQUIRES(m_Lock);

    CVandrelUsbDeviceInfo m_DeviceInfo;                  // constant once the device is handed out
    AccessModeSet m_AccessMode TAVIX_GUARDED_BY(m_Lock); // of the last successful Open
    bool m_IsOpen TAVIX_GUARDED_BY(m_Lock) = false;
    VxDevicePtr m_pVxDevice; // constant after construction
    boost::shared_ptr<CSurpriseRemovalController> m_pRemovalController TAVIX_GUARDED_BY(m_Lock); // null while closed
    std::unique_ptr<CTavixUsbStream> m_pStream;                   // constant after construction
    std::unique_ptr<CTavixUsbEventGrabber> m_pEventGrabber;       // constant after construction
    ParamsPtr<Vandrel_UsbTLParams::CUsbTLParamsImpl> m_pTlParams; // constant after construction
    std::unique_ptr<CVexloDevicePort> m_pTlPort;                  // constant after construction
    mutable TransportLock m_Lock;
    // Owned, and who of them has the ports. For the adapters see also DestroyEventAdapter.
    std::set<IChunkParser*> m_ChunkParsers TAVIX_GUARDED_BY(m_Lock);
    std::set<IEventAdapter*> m_EventAdapters TAVIX_GUARDED_BY(m_Lock);
    PortSuccession<CUsbChunkParser> m_ParserSuccession TAVIX_GUARDED_BY(m_Lock);
    PortSuccession<CTavixUsbEventAdapter> m_AdapterSuccession TAVIX_GUARDED_BY(m_Lock);
    // Owned; set once, under the lock of m_pTlParams. The store releases the layer that was made, and the load acquires
    // it.
    std::atomic<CNodeCompatibilityLayer*> m_pCompatibilityLayer{nullptr};
    std::atomic<bool> m_MigrationMode{false};
    const gcstring m_FullName;
};

} // namespace Tavix
