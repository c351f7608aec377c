#include "discovery/TavixUsbTL.h"

#include "Failure.h"
#include "TavixUsb.h"
#include "device/TavixUsbDevice.h"
#include "device/VxDevicePtr.h"
#include "discovery/DiscoveryRecord.h"
#include "discovery/PowerRequest.h"
#include "discovery/TavixUsbDeviceInfoImpl.h"

#include "tavix/usb/VandrelUsbDeviceInfo.h"
#include "vexlo/Enumerator.h"
#include "vexlo/XmlFile.h"

#include <limits>
#include <typeinfo>

namespace Tavix {

using GenICam::RuntimeException;

namespace {

constexpr char kProbeFunction[] = "InternalIsDeviceAccessible";
constexpr char kDownloadFunction[] = "ProvideXmlFile";

/// Appends an info for each camera that the USB access library reports.
class EnumCollector final : public vexlo::CEnumerator::Callee {
public:
    EnumCollector(const CTlInfo& tlInfo, DeviceInfoList& list) : m_TlInfo(tlInfo), m_List(list) {}

    int EnumCallback(const vexlo::DeviceDiscoveryInfo* record) override {
        const TavixUsbDeviceInfoImpl info(m_TlInfo, *record);
        m_List.push_back(info);
        LogTrace(LogCategoryTl(), kLogDebug, "Adding discovered device '%hs'", info.GetFullName().c_str());
        return 0;
    }

private:
    const CTlInfo& m_TlInfo; // borrowed
    DeviceInfoList& m_List;  // borrowed
};

void LogProbeFailure(const gcstring& fullName, unsigned int status) {
    LogTrace(LogCategoryTl(), kLogError, "%s: Error checking accessibility of device '%s'. (Err=%#x '%s')",
             kProbeFunction, fullName.c_str(), status, VxStatus2Msg(status).c_str());
}

/// Closes the connection of a download, whatever became of the download.
class DownloadConnection {
public:
    explicit DownloadConnection(vexlo::CVxDevice& device) : m_Device(device) {}
    DownloadConnection(const DownloadConnection&) = delete;
    DownloadConnection& operator=(const DownloadConnection&) = delete;
    ~DownloadConnection() {
        const unsigned int status = m_Device.Close();
        if (status == 0) return;
        LogTrace(LogCategoryTl(), kLogError, "%s: Failed to close device after XML file download: %s",
                 kDownloadFunction, VxStatus2Msg(status).c_str());
    }

private:
    vexlo::CVxDevice& m_Device; // borrowed
};

} // namespace

CTavixUsbTL::CTavixUsbTL(const CTlInfo&) {
    LogTrace(LogCategoryTl(), kLogInfo, "'%hs' TL created.", kDeviceClass);
}

CTavixUsbTL::~CTavixUsbTL() {
    LogTrace(LogCategoryTl(), kLogInfo, "'%hs' TL destroyed.", kDeviceClass);
}

CTlInfo CTavixUsbTL::GetTlInfo() const {
    return GetTLInfo();
}

gcstring CTavixUsbTL::InternalGetDeviceClass() const {
    return kDeviceClass;
}

CDeviceInfo CTavixUsbTL::InternalCreateDeviceInfo() {
    return CVandrelUsbDeviceInfo();
}

bool CTavixUsbTL::InternalIsSubset(const CDeviceInfo& device, const CDeviceInfo& pattern) {
    return device.IsSubset(pattern);
}

ITavixDevice* CTavixUsbTL::InternalCreateDevice(const CDeviceInfo& info) {
    return new CTavixUsbDevice(info);
}

int CTavixUsbTL::InternalEnumerateDevices(DeviceInfoList& list) {
    const CTlInfo tlInfo = GetTLInfo();
    EnumCollector collector(tlInfo, list);
    const unsigned int status = vexlo::CEnumerator::Discover(&collector);
    if (status != 0) {
        Throw<RuntimeException>(Here(), "Failed to discover USB devices: %s", VxStatus2Msg(status).c_str());
    }
    return CountOf(list.size());
}

int CTavixUsbTL::CountOf(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) throw std::bad_cast();
    return static_cast<int>(size);
}

bool CTavixUsbTL::CanProvideXmlFile(const CDeviceInfo&) {
    return true;
}

void CTavixUsbTL::ProvideXmlFile(const CDeviceInfo& info, gcstring& fileName, gcstring& xml) {
    fileName.clear();
    xml.clear();
    const gcstring fullName = info.GetFullName();

    vexlo::DeviceDiscoveryInfo record = {};
    if (vexlo::CEnumerator::DeviceInfoFromPath(fullName.c_str(), record) != 0) {
        LogAndThrow<RuntimeException>(LogCategoryTl(), Here(), "Failed to find device for XML file download: '%hs'",
                                      fullName.c_str());
    }
    VxDevicePtr device(vexlo::CVxDevice::CreateDevice(static_cast<vexlo::EDeviceType>(record.UsbDriverType)));
    if (!device) {
        LogAndThrow<RuntimeException>(LogCategoryTl(), Here(), "Failed to create USB device for XML file download.");
    }
    if (HasPowerRequest(info)) PreparePower(*device, info, record);

    const unsigned int status = OpenWithRetry(*device, record);
    if (status != 0) {
        LogAndThrowStatus(LogCategoryTl(), Here(), status,
                          "Failed to open device '%hs' for XML file download. Error: '%hs'", fullName.c_str(),
                          VxStatus2Msg(status).c_str());
    }
    Download(*device, fullName, fileName, xml);
    device.reset();
    LogTrace(LogCategoryTl(), kLogInfo, "%s: Successfully downloaded XML file from device: '%s'", kDownloadFunction,
             fullName.c_str());
}

void CTavixUsbTL::PreparePower(vexlo::CVxDevice& device, const CDeviceInfo& info, vexlo::DeviceDiscoveryInfo& record) {
    const unsigned int status = RequestPower(device, info, record);
    if (status != 0) {
        LogAndThrowStatus(LogCategoryTl(), Here(), status, "Failed to set power for device '%hs'. Error: '%hs'",
                          info.GetFullName().c_str(), VxStatus2Msg(status).c_str());
    }
    record.UsbPortVersionBcd = 0x300;
    record.SpeedSupportBitmask = 0xFF;
}

void CTavixUsbTL::Download(vexlo::CVxDevice& device, const gcstring& fullName, gcstring& fileName, gcstring& xml) {
    const DownloadConnection connection(device);
    vexlo::CXmlFile file;
    const unsigned int status = device.ProvideXmlFile(file);
    if (status != 0) {
        LogAndThrowStatus(LogCategoryTl(), Here(), status,
                          "Failed to retrieve XML file from camera device '%s'. Error: '%s'", fullName.c_str(),
                          VxStatus2Msg(status).c_str());
    }
    if (file.GetBuffer()) xml = file.GetBuffer();
    if (file.GetFilename()) fileName = file.GetFilename();
}

bool CTavixUsbTL::InternalIsDeviceAccessible(const CDeviceInfo& info, AccessModeSet,
                                             EDeviceAccessiblityInfo* pAccessInfo) {
    const gcstring fullName = info.GetFullName();
    EDeviceAccessiblityInfo access = Accessibility_Unknown;
    constexpr char kFailure[] = "%s: Error checking accessibility of device '%s': %s.";
    try {
        access = Probe(info);
    } catch (const GenICam::GenericException& e) {
        LogTrace(LogCategoryTl(), kLogError, kFailure, kProbeFunction, fullName.c_str(), e.GetDescription());
    } catch (const std::exception& e) {
        LogTrace(LogCategoryTl(), kLogError, kFailure, kProbeFunction, fullName.c_str(), e.what());
    } catch (...) {
        // The place of the device's name takes the function's, as it always has. sic
        LogTrace(LogCategoryTl(), kLogError, "Unknown error checking accessibility of device '%s'.", kProbeFunction);
    }
    if (pAccessInfo) *pAccessInfo = access;
    LogTrace(LogCategoryTl(), kLogDetail, "IsAccessible() for device '%s' returned %i", fullName.c_str(), access);
    return access == Accessibility_Ok;
}

EDeviceAccessiblityInfo CTavixUsbTL::Probe(const CDeviceInfo& info) {
    // The path is the key, as for the description: an open might find the same camera at another one, which can then
    // not be created by this info.
    vexlo::DeviceDiscoveryInfo present = {};
    const unsigned int found = vexlo::CEnumerator::DeviceInfoFromPath(info.GetFullName().c_str(), present);
    if (found != 0) {
        LogProbeFailure(info.GetFullName(), found);
        return Accessibility_Unknown;
    }
    const vexlo::DeviceDiscoveryInfo record = MakeProbeRecord(info);
    const VxDevicePtr device(vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb));
    if (!device) {
        LogTrace(LogCategoryTl(), kLogError, "%s: Failed to create USB device for checking accessibility.",
                 kProbeFunction);
        return Accessibility_Unknown;
    }
    const std::uint8_t isProbe = 1;
    if (device->SetProperty(vexlo::CVxDevice::Property_OpenAsProbe, &isProbe, sizeof isProbe) != 0) {
        LogTrace(LogCategoryTl(), kLogWarning, "%s: A silent device will be waited for as if it were to be used.",
                 kProbeFunction);
    }
    if (HasPowerRequest(info)) {
        const unsigned int status = RequestPower(*device, info, record);
        if (status != 0) {
            LogTrace(LogCategoryTl(), kLogError, "%s: Failed to prepare device for checking accessibility: %#x",
                     kProbeFunction, status);
        }
    }
    return ProbeOpen(*device, record, info.GetFullName());
}

EDeviceAccessiblityInfo CTavixUsbTL::ProbeOpen(vexlo::CVxDevice& device, const vexlo::DeviceDiscoveryInfo& record,
                                               const gcstring& fullName) {
    const unsigned int status = device.Open(record);
    if (status == vexlo::VX_E_BUSY) return Accessibility_OpenedExclusively;
    if (status != 0) {
        LogProbeFailure(fullName, status);
        return Accessibility_Unknown;
    }
    const unsigned int closeStatus = device.Close();
    if (closeStatus != 0) {
        LogTrace(LogCategoryTl(), kLogWarning, "%s: Failed to close device after checking accessibility: %s",
                 kProbeFunction, VxStatus2Msg(closeStatus).c_str());
    }
    return Accessibility_Ok;
}

} // namespace Tavix
