// Cameras on the buses.
#include "vexlo/discovery/Discovery.h"

#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace vexlo {
namespace {

using TextField = char[DeviceDiscoveryInfo::kTextSize];

void SetText(TextField& field, const std::string& text) {
    const std::size_t end = std::min({text.size(), text.find('\0'), sizeof field - 1});
    std::memcpy(field, text.data(), end);
    std::memset(field + end, 0, sizeof field - end);
}

bool SameText(const TextField& left, const TextField& right) {
    return std::strncmp(left, right, sizeof left) == 0;
}

bool IsEmpty(const TextField& field) {
    return field[0] == '\0';
}

/// Functions of the active configuration; of the first one with any when the active one has none, or is not known.
std::vector<u3v::CameraFunction> FunctionsOf(const usb::DeviceEntry& entry) {
    std::vector<u3v::CameraFunction> first;
    for (const auto& configuration : entry.configurations) {
        auto functions = u3v::FindCameraFunctions(configuration);
        if (functions.empty()) continue;
        if (functions.front().configurationValue == entry.activeConfiguration) return functions;
        if (first.empty()) first = std::move(functions);
    }
    return first;
}

void AddCameras(const std::shared_ptr<usb::Backend>& backend, const usb::DeviceEntry& entry,
                std::vector<FoundCamera>& cameras) {
    const auto identity = u3v::DecodeDeviceDescriptor(entry.device);
    if (!identity) return;
    for (auto& function : FunctionsOf(entry)) {
        FoundCamera camera;
        camera.backend = backend;
        camera.id = entry.id;
        camera.speed = entry.speed;
        camera.identity = *identity;
        camera.isActive = entry.activeConfiguration == function.configurationValue;
        camera.path = std::string(backend->Name()) + ":" + entry.id + "#" + std::to_string(function.controlInterface);
        camera.function = std::move(function);
        cameras.push_back(std::move(camera));
    }
}

void ReadTexts(const FoundCamera& camera, usb::Handle& handle, DeviceDiscoveryInfo& info) {
    const u3v::DeviceInfo& strings = camera.function.info;
    const auto read = [&handle](std::uint8_t index) { return index == 0 ? std::string() : handle.ReadString(index); };
    SetText(info.DeviceGUID, read(strings.guidIndex));
    SetText(info.VendorName, read(strings.vendorNameIndex));
    SetText(info.ModelName, read(strings.modelNameIndex));
    SetText(info.SerialNumber, read(strings.serialNumberIndex));
    SetText(info.ManufacturerInfo, read(strings.manufacturerInfoIndex));
    SetText(info.UserDefinedName, read(strings.userDefinedNameIndex));
    // The plain strings matter only where the camera's own are missing.
    if (IsEmpty(info.VendorName)) SetText(info.FallbackVendorName, read(camera.identity.manufacturerIndex));
    if (IsEmpty(info.ModelName)) SetText(info.FallbackModelName, read(camera.identity.productIndex));
    if (IsEmpty(info.SerialNumber)) SetText(info.FallbackSerialNumber, read(camera.identity.serialNumberIndex));
}

/// A name for a camera that tells none, so that it can be told apart in a list.
void NameTheNameless(const FoundCamera& camera, DeviceDiscoveryInfo& info) {
    if (!IsEmpty(info.ModelName) || !IsEmpty(info.FallbackModelName)) return;
    std::snprintf(info.FallbackModelName, sizeof info.FallbackModelName, "USB3 Vision camera %04x:%04x",
                  camera.identity.vendorId, camera.identity.productId);
}

/// Whether the camera at the wanted path is known to be another than the wanted one.
bool IsImpostor(const DeviceDiscoveryInfo& wanted, const FoundCamera& camera) {
    if (IsEmpty(wanted.DeviceGUID)) return false;
    std::unique_ptr<usb::Handle> handle;
    if (camera.backend->Open(camera.id, handle) != usb::Result::Ok) return false;
    const std::uint8_t index = camera.function.info.guidIndex;
    const std::string guid = index == 0 ? std::string() : handle->ReadString(index);
    return !guid.empty() && guid.compare(0, std::string::npos, wanted.DeviceGUID) != 0;
}

/// The bits of the Device Info that a link's speed may stand for.
std::uint8_t MaskOf(usb::Speed speed) {
    switch (speed) {
    case usb::Speed::Low:
        return u3v::descriptor::kSpeedLow;
    case usb::Speed::Full:
        return u3v::descriptor::kSpeedFull;
    case usb::Speed::High:
        return u3v::descriptor::kSpeedHigh;
    case usb::Speed::Super:
        return u3v::descriptor::kSpeedSuper;
    case usb::Speed::SuperPlus:
        return u3v::descriptor::kSpeedSuperPlusGen2x1 | u3v::descriptor::kSpeedSuperPlusGen1x2 |
               u3v::descriptor::kSpeedSuperPlusGen2x2;
    case usb::Speed::Unknown:
        break;
    }
    return 0;
}

} // namespace

VxStatus FindCameras(const BackendList& backends, std::vector<FoundCamera>& cameras) {
    VxStatus failure = VX_OK;
    bool anyListed = false;
    for (const auto& backend : backends) {
        std::vector<usb::DeviceEntry> entries;
        const usb::Result result = backend->Enumerate(entries);
        if (result != usb::Result::Ok) {
            failure = ToStatus(result);
            continue;
        }
        anyListed = true;
        for (const usb::DeviceEntry& entry : entries)
            AddCameras(backend, entry, cameras);
    }
    return anyListed ? VX_OK : failure;
}

void Describe(const FoundCamera& camera, std::size_t index, DeviceDiscoveryInfo& info) {
    info = DeviceDiscoveryInfo{};
    info.DeviceIndex = static_cast<std::uint8_t>(index);
    info.VendorId = camera.identity.vendorId;
    info.ProductId = camera.identity.productId;
    info.UsbDriverType = UsbDriverType_Libusb;
    info.UsbPortVersionBcd = camera.identity.usbVersion;
    info.SpeedSupportBitmask = camera.function.info.speedSupport;
    SetText(info.DevicePath, camera.path);
    std::unique_ptr<usb::Handle> handle;
    if (camera.backend->Open(camera.id, handle) == usb::Result::Ok) ReadTexts(camera, *handle, info);
    NameTheNameless(camera, info);
}

void WarnOfEqualGuids(const std::vector<DeviceDiscoveryInfo>& infos) {
    for (std::size_t i = 0; i < infos.size(); ++i)
        for (std::size_t k = i + 1; k < infos.size(); ++k)
            if (!IsEmpty(infos[i].DeviceGUID) && SameText(infos[i].DeviceGUID, infos[k].DeviceGUID))
                Log(Tavix::kLogWarning,
                    "Cameras '%s' and '%s' state the same GUID %s; only their ports tell them apart",
                    infos[i].DevicePath, infos[k].DevicePath, infos[i].DeviceGUID);
}

std::string SpeedWarning(usb::Speed speed, std::uint8_t supported) {
    if (speed == usb::Speed::Unknown) return {};
    const bool couldBeFast = supported >= u3v::descriptor::kSpeedSuper;
    if (couldBeFast && speed < usb::Speed::Super)
        return "is a SuperSpeed camera on a slower link: check port, hub and cable, or lower its throughput limit";
    const bool couldBeFaster = supported >= u3v::descriptor::kSpeedSuperPlusGen2x1;
    if (couldBeFaster && speed == usb::Speed::Super) return "could run at 10 Gbit/s or more; its link came up with 5";
    if (supported != 0 && (supported & MaskOf(speed)) == 0) return "does not state that it works at its link's speed";
    return {};
}

VxStatus FindCamera(const BackendList& backends, const DeviceDiscoveryInfo& wanted, FoundCamera& camera) {
    std::vector<FoundCamera> cameras;
    const VxStatus status = FindCameras(backends, cameras);
    if (status != VX_OK) return status;
    for (FoundCamera& candidate : cameras)
        if (candidate.path == wanted.DevicePath && !IsImpostor(wanted, candidate)) {
            camera = std::move(candidate);
            return VX_OK;
        }
    return VX_E_NOT_FOUND;
}

} // namespace vexlo
