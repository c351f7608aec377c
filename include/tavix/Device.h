#pragma once
// A camera as applications see it.

#include "tavix/Callback.h"
#include "tavix/ChunkParser.h"
#include "tavix/EventGrabber.h"
#include "tavix/Export.h"
#include "tavix/Info.h"
#include "tavix/StreamGrabber.h"

namespace Tavix {

using DeviceCallbackHandle = void*;

/// Failures are GenICam exceptions. Owned by its transport layer: give it back with ITransportLayer::DestroyDevice.
/// Thread-safe. A callback of a camera feature that runs inside the node map's lock (GenApi::cbPostInsideLock) may ask
/// (IsOpen, AccessMode, GetDeviceInfo, the node maps and grabbers themselves) and use features; it neither opens,
/// closes or destroys a device nor calls a grabber. Outside that lock (GenApi::cbPostOutsideLock) it may call anything.
class TAVIX_BASE_API ITavixDevice {
public:
    /// Claims the camera for this process and makes its features accessible; what was read of them before is forgotten.
    /// RuntimeException when it is in use,
    /// may not be opened or does not answer; its text says which. LogicalErrorException when it is open.
    virtual void Open(AccessModeSet modes = DefaultAccessMode()) = 0;
    /// Finishes grabs, destroys parsers and adapters, and gives the camera back. Works after an unplug as well, where
    /// the first call throws RuntimeException if a grab was prepared, and the next one closes. LogicalErrorException
    /// when it is not open.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
    /// What is known of the camera. Valid as long as the device.
    virtual const CDeviceInfo& GetDeviceInfo() const = 0;
    virtual std::uint32_t GetNumStreamGrabberChannels() const = 0;
    /// Null for an index that does not exist. Owned by the device.
    virtual IStreamGrabber* GetStreamGrabber(std::uint32_t index) = 0;
    /// Null while the device is closed. Owned by the device.
    virtual IEventGrabber* GetEventGrabber() = 0;
    /// The camera's features. Owned by the device; ask again after a change of migration mode.
    virtual GenApi::INodeMap* GetNodeMap() = 0;
    /// The transport layer's parameters of this device: migration mode, statistics. Owned by the device.
    virtual GenApi::INodeMap* GetTLNodeMap() = 0;
    /// Owned by the device, which destroys it on Close at the latest. Takes the chunk features from the parser before,
    /// until it is destroyed.
    virtual IChunkParser* CreateChunkParser() = 0;
    virtual void DestroyChunkParser(IChunkParser* pParser) = 0;
    /// Null when the camera describes no chunk data. Owned by the caller until DestroySelfReliantChunkParser.
    virtual ISelfReliantChunkParser* CreateSelfReliantChunkParser() = 0;
    virtual void DestroySelfReliantChunkParser(ISelfReliantChunkParser* pParser) = 0;
    /// Owned by the device, which destroys it on Close at the latest. Takes the event features from the adapter before,
    /// until it is destroyed.
    virtual IEventAdapter* CreateEventAdapter() = 0;
    virtual void DestroyEventAdapter(IEventAdapter* pAdapter) = 0;
    /// The callback is cloned; it runs on a thread of the library when the camera is unplugged, with no lock held, and
    /// nobody waits for it: it may call anything, and may still run when the device has been destroyed.
    /// LogicalErrorException while the device is closed, as for the next one.
    virtual DeviceCallbackHandle RegisterRemovalCallback(Callback1<ITavixDevice*>& callback) = 0;
    /// False when the handle is not registered.
    virtual bool DeregisterRemovalCallback(DeviceCallbackHandle handle) = 0;
    /// As given to Open.
    virtual AccessModeSet AccessMode() const = 0;

protected:
    virtual ~ITavixDevice() = default;
};

} // namespace Tavix
