#pragma once
// The USB transport layer: finds cameras, makes device objects, gives description files.

#include "tavix/internal/TransportLayerPrivateImpl.h"

namespace vexlo {
class CVxDevice;
struct DeviceDiscoveryInfo;
} // namespace vexlo

namespace Tavix {

/// The USB half of the transport layer. Thread-safe as far as its base is.
class CTavixUsbTL final : public CTransportLayerBase {
public:
    explicit CTavixUsbTL(const CTlInfo& info);
    ~CTavixUsbTL() override;

    CTlInfo GetTlInfo() const override;

    /// A number of list entries as the interfaces count; std::bad_cast for more than an int holds.
    static int CountOf(std::size_t size);

    /// True for every device.
    bool CanProvideXmlFile(const CDeviceInfo& info) override;
    /// Downloads the description over a connection of its own, which is closed again.
    void ProvideXmlFile(const CDeviceInfo& info, gcstring& fileName, gcstring& xml) override;

protected:
    int InternalEnumerateDevices(DeviceInfoList& list) override;
    ITavixDevice* InternalCreateDevice(const CDeviceInfo& info) override;
    CDeviceInfo InternalCreateDeviceInfo() override;
    bool InternalIsSubset(const CDeviceInfo& device, const CDeviceInfo& pattern) override;
    gcstring InternalGetDeviceClass() const override;
    /// Tries a short open. The access modes do not matter.
    bool InternalIsDeviceAccessible(const CDeviceInfo& info, AccessModeSet modes,
                                    EDeviceAccessiblityInfo* pAccessInfo) override;

private:
    static EDeviceAccessiblityInfo Probe(const CDeviceInfo& info);
    static EDeviceAccessiblityInfo ProbeOpen(vexlo::CVxDevice& device, const vexlo::DeviceDiscoveryInfo& record,
                                             const gcstring& fullName);
    static void PreparePower(vexlo::CVxDevice& device, const CDeviceInfo& info, vexlo::DeviceDiscoveryInfo& record);
    static void Download(vexlo::CVxDevice& device, const gcstring& fullName, gcstring& fileName, gcstring& xml);
};

} // namespace Tavix
