#pragma once
// The definitions of CTransportLayerBase. They are compiled into each transport layer, so everything here is inline.

namespace Tavix {

inline unsigned int CTransportLayerBase::LogCategory() {
    static const unsigned int category = LogGetCatID("tavix.base.TL");
    return category;
}

inline CTransportLayerBase::CTransportLayerBase() : m_pCreatedDevices(std::make_unique<CreatedDevices>()) {
    if (const char* enabledTl = secure_getenv("TAVIX_USE_TL")) m_EnabledTl = enabledTl;
    m_pParameters = CreateDefaultTransportLayerParams();
}

inline CTransportLayerBase::~CTransportLayerBase() {
    m_RefCount = 0;
    while (!m_pCreatedDevices->devices.empty()) {
        try {
            m_pCreatedDevices->DestroyAll();
        } catch (const std::exception& e) {
            LogTrace(LogCategory(), kLogError, "Error destroying a device with its transport layer: %s", e.what());
        } catch (...) {
            LogTrace(LogCategory(), kLogError, "Unknown error destroying a device with its transport layer");
        }
    }
    m_pCreatedDevices.reset();
    DestroyDefaultTransportLayerParams(m_pParameters);
}

inline bool CTransportLayerBase::IsTLEnabled() const {
    return m_EnabledTl.empty() || m_EnabledTl == InternalGetDeviceClass();
}

inline std::uint64_t CTransportLayerBase::Release() {
    const std::uint64_t left = --m_RefCount;
    if (left == 0) Delete();
    return left;
}

inline IDeviceCreationObserver* CTransportLayerBase::SetDeviceCreationObserver(IDeviceCreationObserver* pObserver) {
    return std::exchange(m_pObserver, pObserver);
}

inline CDeviceInfo CTransportLayerBase::CreateDeviceInfo() {
    return InternalCreateDeviceInfo();
}

inline GenApi::INodeMap* CTransportLayerBase::GetNodeMap() {
    GenApi::INodeMap* const pOwn = InternalGetNodeMap();
    return pOwn ? pOwn : m_pParameters;
}

inline int CTransportLayerBase::EnumerateInterfaces(InterfaceInfoList& list, bool addToList) {
    return InternalEnumerateInterfaces(list, addToList);
}

// Hooks with a default.

inline bool CTransportLayerBase::InternalNeedsTlSpecificDeviceDiscovery(const CDeviceInfo&) {
    return false;
}

inline int CTransportLayerBase::InternalDoTlSpecificDeviceDiscovery(const CDeviceInfo&, DeviceInfoList&) {
    throw "Internal error. No device specific device discovery available."; // sic: a text, no exception object
}

inline GenApi::INodeMap* CTransportLayerBase::InternalGetNodeMap() {
    return nullptr;
}

inline int CTransportLayerBase::InternalEnumerateInterfaces(InterfaceInfoList& list, bool addToList) {
    if (!addToList) list.clear();
    return 0;
}

// Enumerating and finding.

inline int CTransportLayerBase::EnumerateDevices(DeviceInfoList& list, bool addToList) {
    return EnumerateDevices(list, DeviceInfoList(), addToList);
}

inline int CTransportLayerBase::EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter, bool addToList) {
    if (!addToList) list.clear();
    if (!IsTLEnabled()) return 0;
    const DeviceInfoList* const pGlobalFilter = GetGlobalDeviceFilterInstance();
    if (filter.empty() && !pGlobalFilter) return InternalEnumerateDevices(list);
    if (!filter.empty() && !FilterMayFit(filter)) return 0;

    DeviceInfoList discovered;
    InternalEnumerateDevices(discovered);
    if (!pGlobalFilter) return InternalApplyFilter(discovered, filter, list);
    if (filter.empty()) return InternalApplyFilter(discovered, *pGlobalFilter, list);
    DeviceInfoList allowed;
    InternalApplyFilter(discovered, *pGlobalFilter, allowed);
    return InternalApplyFilter(allowed, filter, list);
}

/// Whether it is worth asking the bus: at least one entry does not speak of another device class.
inline bool CTransportLayerBase::FilterMayFit(const DeviceInfoList& filter) const {
    const gcstring deviceClass = InternalGetDeviceClass();
    return std::any_of(filter.begin(), filter.end(), [&](const CDeviceInfo& entry) {
        return !entry.IsDeviceClassAvailable() || entry.GetDeviceClass() == deviceClass;
    });
}

inline int CTransportLayerBase::InternalApplyFilter(const DeviceInfoList& devices, const DeviceInfoList& filter,
                                                    DeviceInfoList& out) {
    int count = 0;
    for (const CDeviceInfo& device : devices) {
        const auto fits = [&](const CDeviceInfo& entry) { return InternalIsSubset(device, entry); };
        if (std::none_of(filter.begin(), filter.end(), fits)) continue;
        out.push_back(device);
        ++count;
    }
    if (!devices.empty()) {
        LogTrace(LogCategory(), kLogDetail,
                 "Filter applied to device list, count of devices before filter step = %d, after filter step = %d.",
                 static_cast<int>(devices.size()), count);
    }
    return count;
}

inline void CTransportLayerBase::RequireOwnDeviceClass(const CDeviceInfo& info) const {
    const gcstring own = InternalGetDeviceClass();
    if (!info.IsDeviceClassAvailable() || info.GetDeviceClass() == own) return;
    const gcstring text = "The device class " + info.GetDeviceClass() +
                          " is not supported by this transport layer. This transport layer supports " + own + ".";
    LogTrace(LogCategory(), kLogError, "%s", text.c_str());
    throw RUNTIME_EXCEPTION("%s", text.c_str());
}

inline void CTransportLayerBase::FindDevice(const CDeviceInfo& pattern, CDeviceInfo& found, bool takeFirst) {
    if (!IsTLEnabled()) {
        throw RUNTIME_EXCEPTION("Device not accessible. Transport layer is restricted by the environment");
    }
    RequireOwnDeviceClass(pattern);

    DeviceInfoList matches;
    if (InternalNeedsTlSpecificDeviceDiscovery(pattern)) {
        InternalDoTlSpecificDeviceDiscovery(pattern, matches);
    } else {
        DeviceInfoList filter;
        filter.push_back(pattern);
        EnumerateDevices(matches, filter, /*addToList=*/false);
    }
    if (matches.empty()) {
        LogTrace(LogCategory(), kLogError, "No device contains the provided device info properties.");
        throw RUNTIME_EXCEPTION("No device contains the provided device info properties.");
    }
    if (matches.size() > 1 && !takeFirst) {
        // The number is whether anything matches, not how much does: it always reads 1, and readers of logs know it so.
        const unsigned int matched = !matches.empty();
        constexpr const char* kTooMany =
            "Too many devices (%u) match the provided device info properties, don't know which device to use.";
        LogTrace(LogCategory(), kLogError, kTooMany, matched);
        throw RUNTIME_EXCEPTION(kTooMany, matched);
    }
    found = matches.front();
    CarryOver("_BornFree", pattern, found);
    CarryOver("_sap", pattern, found);
}

/// Copies a hidden property. The record stays what it was, the transport layer's or the user's.
inline void CTransportLayerBase::CarryOver(const char* name, const CDeviceInfo& from, CDeviceInfo& to) {
    gcstring value;
    if (!from.GetPropertyValue(name, value)) return;
    const bool wasUserProvided = to.IsUserProvided();
    to.SetPropertyValue(name, value);
    if (!wasUserProvided) to.ClearUserProvided();
}

inline bool CTransportLayerBase::IsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                                                    EDeviceAccessiblityInfo* pAccessInfo) {
    if (!info.IsUserProvided()) return InternalIsDeviceAccessible(info, modes, pAccessInfo);
    RequireOwnDeviceClass(info);
    CDeviceInfo found;
    FindDevice(info, found, /*takeFirst=*/false);
    return InternalIsDeviceAccessible(found, modes, pAccessInfo);
}

// Creating and destroying.

inline ITavixDevice* CTransportLayerBase::CreateDevice(const CDeviceInfo& info) {
    return CreateDevice(info, gcstring_vector());
}

inline ITavixDevice* CTransportLayerBase::CreateFirstDevice(const CDeviceInfo& info) {
    return CreateFirstDevice(info, gcstring_vector());
}

inline ITavixDevice* CTransportLayerBase::CreateDevice(const CDeviceInfo& info, const gcstring_vector& xmlStrings) {
    return FindAndCreate(info, xmlStrings, /*takeFirst=*/false);
}

inline ITavixDevice* CTransportLayerBase::CreateFirstDevice(const CDeviceInfo& info,
                                                            const gcstring_vector& xmlStrings) {
    return FindAndCreate(info, xmlStrings, /*takeFirst=*/true);
}

inline ITavixDevice* CTransportLayerBase::FindAndCreate(const CDeviceInfo& info, const gcstring_vector& xmlStrings,
                                                        bool takeFirst) {
    if (!info.IsUserProvided()) return CreateDeviceImpl(info, xmlStrings);
    CDeviceInfo found;
    FindDevice(info, found, takeFirst);
    return CreateDeviceImpl(found, xmlStrings);
}

inline ITavixDevice* CTransportLayerBase::CreateDevice(const gcstring& fullName) {
    if (!IsTLEnabled()) return nullptr;
    DeviceInfoList devices;
    if (EnumerateDevices(devices, /*addToList=*/false) == 0) return nullptr;
    for (const CDeviceInfo& device : devices) {
        if (device.IsFullNameAvailable() && device.GetFullName() == fullName) return CreateDevice(device);
    }
    return nullptr;
}

inline ITavixDevice* CTransportLayerBase::CreateDeviceImpl(const CDeviceInfo& info, const gcstring_vector& xmlStrings) {
    if (!IsTLEnabled()) {
        throw RUNTIME_EXCEPTION("Device creation failed. Transport layer is restricted by the environment");
    }
    CDeviceInfo deviceInfo(info);
    gcstring_vector strings(xmlStrings);
    const XmlFileBinding binding = CConfigFileRegistry::GetInstance().GetXmlFileBinding(info);
    AppendMergeFile(binding, strings);
    CallObserver(deviceInfo, strings);

    ITavixDevicePrivate* pPrivate = nullptr;
    DeviceGuard device = MakeDevice(deviceInfo, pPrivate);
    SetXmlSource(*device, LoadDescription(deviceInfo, *device, *pPrivate, binding, strings));
    KeepDevice(device.get());
    return device.release();
}

inline void CTransportLayerBase::AppendMergeFile(const XmlFileBinding& binding, gcstring_vector& xmlStrings) {
    if (!binding.hasMergeFile) return;
    const gcstring text = textFileToString(binding.mergeFilePath);
    LogTrace(LogCategory(), kLogDetail, "About to merge file '%s' into xml.", binding.mergeFilePath.c_str());
    xmlStrings.push_back(text);
}

inline void CTransportLayerBase::CallObserver(CDeviceInfo& info, gcstring_vector& xmlStrings) {
    if (!m_pObserver) return;
    info.ClearModified(); // so that only the observer's own changes count
    m_pObserver->OnCreateDevice(info, xmlStrings);
    if (info.IsModified()) throw RUNTIME_EXCEPTION("Device creation failed. Bad device information supplied.");
}

inline CTransportLayerBase::DeviceGuard CTransportLayerBase::MakeDevice(const CDeviceInfo& info,
                                                                        ITavixDevicePrivate*& pPrivate) {
    DeviceGuard device(InternalCreateDevice(info));
    if (!device) throw RUNTIME_EXCEPTION("Internal error. Device creation failed. Created device is NULL.");
    pPrivate = dynamic_cast<ITavixDevicePrivate*>(device.get());
    if (pPrivate) return device;
    LogTrace(LogCategory(), kLogError,
             "Device creation failed. Device doesn't implement ITavixDevicePrivate interface");
    throw RUNTIME_EXCEPTION("Internal error. Device creation failed. Device doesn't implement ITavixDevicePrivate "
                            "interface");
}

inline gcstring CTransportLayerBase::LoadDescription(const CDeviceInfo& info, ITavixDevice& device,
                                                     ITavixDevicePrivate& devicePrivate, const XmlFileBinding& binding,
                                                     const gcstring_vector& xmlStrings) {
    IXmlFileProvider* const pProvider = binding.fromDevice ? GetXmlFileProvider() : nullptr;
    if (pProvider && pProvider->CanProvideXmlFile(device.GetDeviceInfo())) {
        return LoadDescriptionFromDevice(info, device, devicePrivate, xmlStrings);
    }
    if (binding.hasFile) return LoadDescriptionFromFile(binding.filePath, device, devicePrivate, xmlStrings);

    constexpr const char* kNoFile =
        "Device creation failed. Don't know what XML configuration file to use for the device %s";
    const gcstring fullName = device.GetDeviceInfo().GetFullName();
    LogTrace(LogCategory(), kLogError, kNoFile, fullName.c_str());
    throw RUNTIME_EXCEPTION(kNoFile, fullName.c_str());
}

inline gcstring CTransportLayerBase::LoadDescriptionFromDevice(const CDeviceInfo& info, ITavixDevice& device,
                                                               ITavixDevicePrivate& devicePrivate,
                                                               const gcstring_vector& xmlStrings) {
    const gcstring fullName = device.GetDeviceInfo().GetFullName();
    gcstring fileName, xml;
    DownloadXml(info, fullName, fileName, xml);
    LogTrace(LogCategory(), kLogDetail, "Downloaded XML from device '%s' length %d", fullName.c_str(),
             static_cast<int>(xml.size()));
    devicePrivate.CreateNodemapFromString(xml, xmlStrings);
    if (IsChunkNodeMapSupportEnabled()) devicePrivate.ExtractChunkDataNodeMapFromString(xml, xmlStrings);
    return fileName.empty() ? gcstring("Device") : "Device:" + fileName;
}

inline void CTransportLayerBase::DownloadXml(const CDeviceInfo& info, const gcstring& fullName, gcstring& fileName,
                                             gcstring& xml) {
    constexpr const char* kError = "Error downloading XML from device '%s': %s";
    try {
        GetXmlFileProvider()->ProvideXmlFile(info, fileName, xml);
    } catch (const GenICam::GenericException& e) {
        LogTrace(LogCategory(), kLogDetail, kError, fullName.c_str(), e.GetDescription());
        throw;
    } catch (const std::exception& e) {
        LogTrace(LogCategory(), kLogDetail, kError, fullName.c_str(), e.what());
        throw;
    } catch (...) {
        LogTrace(LogCategory(), kLogDetail, "Error downloading XML from device '%s'", fullName.c_str());
        throw;
    }
}

inline gcstring CTransportLayerBase::LoadDescriptionFromFile(const gcstring& path, ITavixDevice& device,
                                                             ITavixDevicePrivate& devicePrivate,
                                                             const gcstring_vector& xmlStrings) {
    LogTrace(LogCategory(), kLogDetail, "Using XML from path '%s' for device '%s'", path.c_str(),
             device.GetDeviceInfo().GetFullName().c_str());
    devicePrivate.CreateNodemapFromFile(path, xmlStrings);
    if (IsChunkNodeMapSupportEnabled()) devicePrivate.ExtractChunkDataNodeMapFromFile(path, xmlStrings);
    return path;
}

inline bool CTransportLayerBase::IsChunkNodeMapSupportEnabled() {
    GenApi::INodeMap* const pNodeMap = GetNodeMap();
    const GenApi::CBooleanPtr enable(pNodeMap ? pNodeMap->GetNode("ChunkNodeMapSupportEnable") : nullptr);
    return enable.IsValid() && GenApi::IsReadable(enable->GetAccessMode()) && enable->GetValue();
}

/// The device's interfaces give its info to read only, yet where its description comes from is known no earlier than
/// here. The record stays the transport layer's, so that it still serves to create the device again.
inline void CTransportLayerBase::SetXmlSource(ITavixDevice& device, const gcstring& source) {
    CDeviceInfo& info = const_cast<CDeviceInfo&>(device.GetDeviceInfo());
    const bool wasUserProvided = info.IsUserProvided();
    info.SetXMLSource(source);
    if (!wasUserProvided) info.ClearUserProvided();
}

inline void CTransportLayerBase::KeepDevice(ITavixDevice* pDevice) {
    GenApi::AutoLock guard(m_pCreatedDevices->lock);
    m_pCreatedDevices->devices.insert(pDevice);
    ++m_RefCount;
}

inline void CTransportLayerBase::DestroyDevice(ITavixDevice* pDevice) {
    // Gives the device's reference back, also when its destruction throws. It may be the last one: nothing may follow.
    struct Reference {
        const ITransportLayer* pHolder = nullptr;
        ~Reference() {
            if (pHolder) CTlFactory::GetInstance().ReleaseTl(pHolder);
        }
    } reference;
    GenApi::AutoLock guard(m_pCreatedDevices->lock);
    if (m_pCreatedDevices->devices.count(pDevice) == 0) {
        throw LOGICAL_ERROR_EXCEPTION("Trying to destroy device which hasn't been created by me");
    }
    reference.pHolder = this;
    m_pCreatedDevices->Destroy(pDevice);
}

inline void CTransportLayerBase::DestroyAllDevices() {
    m_pCreatedDevices->DestroyAll();
}

} // namespace Tavix
