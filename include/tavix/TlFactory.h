#pragma once
// Finds and loads transport layers and creates devices from them.

#include "tavix/Export.h"
#include "tavix/TransportLayer.h"

#include <memory>

namespace Tavix {

/// The one factory of the process. It looks for files named `libtavix*-MAJOR.MINOR.PATCH.so` in the folders of
/// TAVIX_TL_PATH (colon separated; not looked at in a program that runs with more rights than its user), then beside
/// its own library. Of files with one name the first that can be used counts, and so does the first of transport layers
/// for one device class. A library that cannot be used gives a log line when it was merely found, and a
/// RuntimeException that names file and reason when it is asked for, be it by its file or by a device class that no
/// other library offers. Libraries stay loaded until the process ends, and the factory is never destroyed: what still
/// lives at process exit is left to the operating system.
///
/// Transport layers are counted: each CreateTl and GetTl needs a ReleaseTl, each live device holds one reference more.
/// The last one that is given back destroys the transport layer; asking for it again makes a new one. Thread-safe.
class TAVIX_BASE_API CTlFactory {
public:
    static CTlFactory& GetInstance();

    /// Replaces `list` by the infos of all transport layers found; returns their number.
    int EnumerateTls(TlInfoList& list);
    /// By device class ("VandrelUsb") or full name. Null when no library offers it, unless one that might failed.
    ITransportLayer* CreateTl(const gcstring& name);
    /// The first that has all properties of `info`. "FileName" names the library by path, or by bare name in the
    /// folders searched.
    ITransportLayer* CreateTl(const CTlInfo& info);
    /// As CreateTl.
    ITransportLayer* GetTl(const gcstring& name) { return CreateTl(name); }
    ITransportLayer* GetTl(const CTlInfo& info) { return CreateTl(info); }
    /// Gives one reference back; with the last one the transport layer is destroyed. Null is ignored, and so is, with a
    /// log line, one that has been destroyed already.
    void ReleaseTl(const ITransportLayer* pTl);

    /// Devices of all transport layers, sorted by transport layer, then as each lists them. Returns how many this call
    /// found; without `addToList` the list is emptied first. A transport layer that fails is logged and left out; its
    /// exception passes only when all fail.
    int EnumerateDevices(DeviceInfoList& list, bool addToList = false);
    int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList = false);
    /// By the transport layer that device class or device factory name, otherwise all are asked. RuntimeException when
    /// nothing fits or more than one device does. Give the device back with DestroyDevice.
    ITavixDevice* CreateDevice(const CDeviceInfo& info);
    ITavixDevice* CreateDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings);
    /// As CreateDevice; of several that fit, the first one found.
    ITavixDevice* CreateFirstDevice(const CDeviceInfo& info = CDeviceInfo());
    ITavixDevice* CreateFirstDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings);
    /// Null when no device has that full name.
    ITavixDevice* CreateDevice(const gcstring& fullName);
    /// Null is ignored. LogicalErrorException when no transport layer knows the device (any more).
    void DestroyDevice(ITavixDevice* pDevice);
    bool IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes = DefaultAccessMode(),
                            EDeviceAccessiblityInfo* pAccessInfo = nullptr);

    CTlFactory(const CTlFactory&) = delete;
    CTlFactory& operator=(const CTlFactory&) = delete;

private:
    CTlFactory();
    ~CTlFactory();
    struct Impl;
    std::unique_ptr<Impl> m_Impl;
};

/// The device filter that applies to every enumeration of the process; null for none. Borrowed.
TAVIX_BASE_API const DeviceInfoList* GetGlobalDeviceFilterInstance();
/// Returns the previous one. The list must live until it is replaced.
TAVIX_BASE_API const DeviceInfoList* SetGlobalDeviceFilterInstance(const DeviceInfoList* pFilter);

} // namespace Tavix
