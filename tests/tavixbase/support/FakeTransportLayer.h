#pragma once
// A transport layer whose hooks do as they are told.

#include "FakeDevice.h"

#include "tavix/internal/TransportLayerPrivateImpl.h"

#include <mutex>

namespace Tavix {

// An info as discovery makes it.
inline CDeviceInfo Discovered(const char* deviceClass, const char* fullName, const char* model = "CamModel") {
    CDeviceInfo info;
    info.SetDeviceClass(deviceClass).SetFullName(fullName).SetModelName(model);
    info.ClearUserProvided();
    return info;
}

// As thread-safe as a real one, except for what a test sets and reads itself.
class FakeTransportLayer : public CTransportLayerBase {
public:
    explicit FakeTransportLayer(gcstring deviceClass = "FakeCam") : m_DeviceClass(std::move(deviceClass)) {}

    using CTransportLayerBase::FindDevice;
    using CTransportLayerBase::InternalApplyFilter;
    using CTransportLayerBase::InternalDoTlSpecificDeviceDiscovery;
    using CTransportLayerBase::InternalNeedsTlSpecificDeviceDiscovery;

    CTlInfo GetTlInfo() const override {
        return CTlInfo().SetDeviceClass(m_DeviceClass).SetFullName("Fake/" + m_DeviceClass);
    }
    int InternalEnumerateDevices(DeviceInfoList& list) override {
        ++discoveries;
        onDiscover();
        for (const CDeviceInfo& device : attached)
            list.push_back(device);
        return static_cast<int>(list.size());
    }
    ITavixDevice* InternalCreateDevice(const CDeviceInfo& info) override { return makeDevice(info); }
    CDeviceInfo InternalCreateDeviceInfo() override { return CDeviceInfo().SetDeviceClass(m_DeviceClass); }
    bool InternalIsSubset(const CDeviceInfo& device, const CDeviceInfo& pattern) override {
        return device.IsSubset(pattern);
    }
    gcstring InternalGetDeviceClass() const override { return m_DeviceClass; }
    GenApi::INodeMap* InternalGetNodeMap() override { return ownNodeMap; }
    bool InternalIsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                                    EDeviceAccessiblityInfo* pAccessInfo) override {
        Note(probed, info);
        probedModes = modes;
        if (pAccessInfo) *pAccessInfo = Accessibility_Ok;
        return true;
    }
    bool CanProvideXmlFile(const CDeviceInfo& info) override {
        Note(askedForXml, info);
        return canProvideXml;
    }
    void ProvideXmlFile(const CDeviceInfo& info, gcstring& fileName, gcstring& xml) override {
        Note(providedXmlFor, info);
        onProvideXml();
        fileName = xmlFileName;
        xml = xmlText;
    }

    // What the hooks answer, and what they saw.
    DeviceInfoList attached;
    std::function<void()> onDiscover = [] {};
    int discoveries = 0;
    bool canProvideXml = true;
    CDeviceInfo askedForXml, providedXmlFor;
    std::function<void()> onProvideXml = [] {};
    gcstring xmlFileName, xmlText = "<xml/>";
    GenApi::INodeMap* ownNodeMap = nullptr;
    CDeviceInfo probed;
    AccessModeSet probedModes;
    std::shared_ptr<DeviceDiary> diary = std::make_shared<DeviceDiary>();
    std::function<ITavixDevice*(const CDeviceInfo&)> makeDevice = [this](const CDeviceInfo& info) {
        return new FakeDevice(info, diary);
    };

private:
    void Note(CDeviceInfo& where, const CDeviceInfo& info) {
        const std::lock_guard<std::mutex> lock(m_Noting);
        where = info;
    }

    const gcstring m_DeviceClass;
    std::mutex m_Noting;
};

} // namespace Tavix
