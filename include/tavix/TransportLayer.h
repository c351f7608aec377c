#pragma once
// A transport layer as the factory and applications see it.

#include "tavix/Container.h"
#include "tavix/Device.h"
#include "tavix/Export.h"

namespace Tavix {

/// Gives camera description files. Thread-safe.
class TAVIX_BASE_API IXmlFileProvider {
public:
    virtual bool CanProvideXmlFile(const CDeviceInfo& info) = 0;
    /// Both strings are empty after a failure, which is a RuntimeException.
    virtual void ProvideXmlFile(const CDeviceInfo& info, gcstring& fileName, gcstring& xml) = 0;

protected:
    ~IXmlFileProvider() = default;
};

/// Sees every device that is about to be created. It may append description fragments to `xmlStrings`, but must leave
/// `info` as it is. Called on the thread that creates the device: thread-safe when several do.
class TAVIX_BASE_API IDeviceCreationObserver {
public:
    virtual void OnCreateDevice(CDeviceInfo& info, gcstring_vector& xmlStrings) = 0;

protected:
    ~IDeviceCreationObserver() = default;
};

/// Failures are GenICam exceptions. Got from CTlFactory and given back with CTlFactory::ReleaseTl. The order of the
/// operations is part of the binary interface. Thread-safe.
class TAVIX_BASE_API ITransportLayer {
public:
    /// Number of devices; without `addToList` the list is emptied first.
    virtual int EnumerateDevices(DeviceInfoList& list, bool addToList = false) = 0;
    /// Only devices that at least one entry of `filter` is a subset of.
    virtual int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList = false) = 0;
    /// `info` may be partial but must fit exactly one device.
    virtual ITavixDevice* CreateDevice(const CDeviceInfo& info) = 0;
    /// As CreateDevice; of several that fit, the first one found.
    virtual ITavixDevice* CreateFirstDevice(const CDeviceInfo& info) = 0;
    virtual ITavixDevice* CreateDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings) = 0;
    virtual ITavixDevice* CreateFirstDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings) = 0;
    /// Null when no device has that full name.
    virtual ITavixDevice* CreateDevice(const gcstring& fullName) = 0;
    /// Closes the device, if it is open, and deletes it. LogicalErrorException for a device of someone else.
    virtual void DestroyDevice(ITavixDevice* pDevice) = 0;
    /// `pAccessInfo` may be null.
    virtual bool IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes = DefaultAccessMode(),
                                    EDeviceAccessiblityInfo* pAccessInfo = nullptr) = 0;
    virtual CTlInfo GetTlInfo() const = 0;
    /// An info with nothing but the device class, to be filled by the caller.
    virtual CDeviceInfo CreateDeviceInfo() = 0;
    virtual GenApi::INodeMap* GetNodeMap() = 0;
    virtual int EnumerateInterfaces(InterfaceInfoList& list, bool addToList = false) = 0;
    virtual ~ITransportLayer() = default;
    /// For the factory: gives back one reference and returns how many are left.
    virtual std::uint64_t Release() = 0;
    /// For the factory: deletes it; nothing may use it any more.
    virtual void Delete() = 0;
    virtual IXmlFileProvider* GetXmlFileProvider() = 0;
    /// False when TAVIX_USE_TL names another device class.
    virtual bool IsTLEnabled() const = 0;
    virtual ITavixDevice* CreateDeviceImpl(const CDeviceInfo& info, const gcstring_vector& xmlStrings) = 0;
    /// Returns the previous observer; null for none.
    virtual IDeviceCreationObserver* SetDeviceCreationObserver(IDeviceCreationObserver* pObserver) = 0;
    /// For the factory: destroys what applications have not given back.
    virtual void DestroyAllDevices() = 0;
};

} // namespace Tavix
