#pragma once
// The generic half of a transport layer.

#include "core/Log.h"
#include "tavix/ConfigFileRegistry.h"
#include "tavix/TlFactory.h"
#include "tavix/TransportLayer.h"
#include "tavix/TransportLayerParams.h"
#include "tavix/internal/CreatedDevices.h"

#include <GenApi/Pointer.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <memory>
#include <utility>

namespace Tavix {

/// Implements ITransportLayer on top of a few hooks: enumeration with filters, finding a device by a partial
/// description, creating and destroying devices, counting references. Enumeration and creation run on the caller's
/// thread without a lock; the set of created devices has its own, and the reference count is atomic. Thread-safe as far
/// as the hooks are, except for the observer, which is set before devices are created.
///
/// References: the object is born with one, which belongs to whoever made it; each live device holds one more and gives
/// it back through CTlFactory::ReleaseTl. The environment variable TAVIX_USE_TL, read at construction, switches every
/// transport layer off whose device class it does not name.
class CTransportLayerBase : public ITransportLayer, public IXmlFileProvider {
public:
    CTransportLayerBase(const CTransportLayerBase&) = delete;
    CTransportLayerBase& operator=(const CTransportLayerBase&) = delete;

    int EnumerateDevices(DeviceInfoList& list, bool addToList = false) override;
    int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList = false) override;
    ITavixDevice* CreateDevice(const CDeviceInfo& info) override;
    ITavixDevice* CreateFirstDevice(const CDeviceInfo& info) override;
    ITavixDevice* CreateDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings) override;
    ITavixDevice* CreateFirstDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings) override;
    ITavixDevice* CreateDevice(const gcstring& fullName) override;
    void DestroyDevice(ITavixDevice* pDevice) override;
    bool IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes = DefaultAccessMode(),
                            EDeviceAccessiblityInfo* pAccessInfo = nullptr) override;
    CDeviceInfo CreateDeviceInfo() override;
    GenApi::INodeMap* GetNodeMap() override;
    int EnumerateInterfaces(InterfaceInfoList& list, bool addToList = false) override;
    ~CTransportLayerBase() override;
    std::uint64_t Release() override;
    /// Nothing happens here: the library that made the object deletes it.
    void Delete() override {}
    IXmlFileProvider* GetXmlFileProvider() override { return dynamic_cast<IXmlFileProvider*>(this); }
    bool IsTLEnabled() const override;
    ITavixDevice* CreateDeviceImpl(const CDeviceInfo& info, const gcstring_vector& xmlStrings) override;
    IDeviceCreationObserver* SetDeviceCreationObserver(IDeviceCreationObserver* pObserver) override;
    /// Gives no references back.
    void DestroyAllDevices() override;

protected:
    CTransportLayerBase();

    // The hooks, in the order of their slots.

    /// Appends all devices to `list`, which may hold others already; returns the size of `list` afterwards.
    virtual int InternalEnumerateDevices(DeviceInfoList& list) = 0;
    /// A new device, closed and without node map, that also offers ITavixDevicePrivate. Owned by the caller.
    virtual ITavixDevice* InternalCreateDevice(const CDeviceInfo& info) = 0;
    /// An info with no more than the device class.
    virtual CDeviceInfo InternalCreateDeviceInfo() = 0;
    /// Whether `pattern` fits `device`.
    virtual bool InternalIsSubset(const CDeviceInfo& device, const CDeviceInfo& pattern) = 0;
    virtual gcstring InternalGetDeviceClass() const = 0;
    /// True when a device of this pattern is not found by enumeration but by InternalDoTlSpecificDeviceDiscovery.
    virtual bool InternalNeedsTlSpecificDeviceDiscovery(const CDeviceInfo& pattern);
    /// Replaces `list` by the devices that fit `pattern`; returns their number.
    virtual int InternalDoTlSpecificDeviceDiscovery(const CDeviceInfo& pattern, DeviceInfoList& list);
    /// Null for the default parameters.
    virtual GenApi::INodeMap* InternalGetNodeMap();
    virtual int InternalEnumerateInterfaces(InterfaceInfoList& list, bool addToList);
    virtual bool InternalIsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                                            EDeviceAccessiblityInfo* pAccessInfo) = 0;

public:
    bool CanProvideXmlFile(const CDeviceInfo& info) override = 0;
    void ProvideXmlFile(const CDeviceInfo& info, gcstring& fileName, gcstring& xml) override = 0;

protected:
    /// Appends to `out` the devices that at least one entry of `filter` fits, in their order; returns their number.
    int InternalApplyFilter(const DeviceInfoList& devices, const DeviceInfoList& filter, DeviceInfoList& out);
    /// RuntimeException unless one device fits `pattern`; with `takeFirst` several may.
    void FindDevice(const CDeviceInfo& pattern, CDeviceInfo& found, bool takeFirst);

private:
    struct DeviceDeleter {
        void operator()(ITavixDevice* pDevice) const { CreatedDevices::DestroyThroughPrivateInterface(pDevice); }
    };
    using DeviceGuard = std::unique_ptr<ITavixDevice, DeviceDeleter>;

    // The steps of CreateDeviceImpl.
    static void AppendMergeFile(const XmlFileBinding& binding, gcstring_vector& xmlStrings);
    void CallObserver(CDeviceInfo& info, gcstring_vector& xmlStrings);
    DeviceGuard MakeDevice(const CDeviceInfo& info, ITavixDevicePrivate*& pPrivate);
    gcstring LoadDescription(const CDeviceInfo& info, ITavixDevice& device, ITavixDevicePrivate& devicePrivate,
                             const XmlFileBinding& binding, const gcstring_vector& xmlStrings);
    gcstring LoadDescriptionFromDevice(const CDeviceInfo& info, ITavixDevice& device,
                                       ITavixDevicePrivate& devicePrivate, const gcstring_vector& xmlStrings);
    gcstring LoadDescriptionFromFile(const gcstring& path, ITavixDevice& device, ITavixDevicePrivate& devicePrivate,
                                     const gcstring_vector& xmlStrings);
    void DownloadXml(const CDeviceInfo& info, const gcstring& fullName, gcstring& fileName, gcstring& xml);
    void KeepDevice(ITavixDevice* pDevice);

    ITavixDevice* FindAndCreate(const CDeviceInfo& info, const gcstring_vector& xmlStrings, bool takeFirst);
    bool FilterMayFit(const DeviceInfoList& filter) const;
    void RequireOwnDeviceClass(const CDeviceInfo& info) const;
    bool IsChunkNodeMapSupportEnabled();
    static void CarryOver(const char* name, const CDeviceInfo& from, CDeviceInfo& to);
    static void SetXmlSource(ITavixDevice& device, const gcstring& source);
    static unsigned int LogCategory();

    std::atomic<std::uint64_t> m_RefCount{1};
    std::unique_ptr<CreatedDevices> m_pCreatedDevices;
    gcstring m_EnabledTl;                           // constant after construction; empty when nothing is restricted
    GenApi::INodeMap* m_pParameters;                // constant after construction; owned
    IDeviceCreationObserver* m_pObserver = nullptr; // borrowed
};

} // namespace Tavix

#include "tavix/internal/TransportLayerPrivateImpl.inl"
