#pragma once
// Finds and loads transport layers and creates devices from them.

#include "tavix/TransportLayer.h"

#include <memory>

namespace Tavix {

/// The one factory of the process. It looks for files libtavix*-4.0.0.so... in the folders of TAVIX_TL_PATH (colon
/// separated), then beside its own library. A library that is missing or lacks a symbol gives a RuntimeException that
/// names file and reason when it is asked for, and a log line when it was merely found. Thread-safe.
class CTlFactory {
public:
    static CTlFactory& GetInstance();

    /// Infos of all transport layers found; returns their number.
    int EnumerateTls(TlInfoList& list);
    /// By device class ("VandrelUsb"), full name or info. Null when no such transport layer was found. Counted: each
    /// needs a ReleaseTl.
    ITransportLayer* CreateTl(const gcstring& deviceClass);
    ITransportLayer* CreateTl(const CTlInfo& info);
    /// As CreateTl.
    ITransportLayer* GetTl(const gcstring& deviceClass) { return CreateTl(deviceClass); }
    ITransportLayer* GetTl(const CTlInfo& info) { return CreateTl(info); }
    /// Gives one reference back; with the last one the transport layer is destroyed. Null is ignored.
    void ReleaseTl(const ITransportLayer* pTl);

    /// Devices of all transport layers, sorted by transport layer, then as each lists them.
    int EnumerateDevices(DeviceInfoList& list, bool addToList = false);
    int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList = false);
    /// Creates by device class or device factory when named, otherwise asks all transport layers. RuntimeException when
    /// nothing fits or more than one device does.
    ITavixDevice* CreateDevice(const CDeviceInfo& info);
    ITavixDevice* CreateDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings);
    ITavixDevice* CreateFirstDevice(const CDeviceInfo& info = CDeviceInfo());
    ITavixDevice* CreateFirstDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings);
    ITavixDevice* CreateDevice(const gcstring& fullName);
    /// Null is ignored.
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
const DeviceInfoList* GetGlobalDeviceFilterInstance();
/// Returns the previous one. The list must live until it is replaced.
const DeviceInfoList* SetGlobalDeviceFilterInstance(const DeviceInfoList* pFilter);

} // namespace Tavix
