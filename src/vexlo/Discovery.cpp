// Cameras on the buses.
#include "vexlo/Discovery.h"

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

/// The serial number that a user would see.
const TextField& ShownSerialNumber(const DeviceDiscoveryInfo& info) {
    return IsEmpty(info.SerialNumber) ? info.FallbackSerialNumber : info.SerialNumber;
}

/// Functions of the active configuration; of the first one with any when it is not known which is active.
std::vector<u3v::CameraFunction> FunctionsOf(const usb::DeviceEntry& entry) {
    for (const auto& configuration : entry.configurations) {
        auto functions = u3v::FindCameraFunctions(configuration);
        if (functions.empty()) continue;
        if (entry.activeConfiguration == 0 || functions.front().configurationValue == entry.activeConfiguration)
            return functions;
    }
    return {};
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

bool IsSameCamera(const DeviceDiscoveryInfo& wanted, const DeviceDiscoveryInfo& found) {
    if (!IsEmpty(wanted.DeviceGUID)) return SameText(wanted.DeviceGUID, found.DeviceGUID);
    const TextField& serial = ShownSerialNumber(wanted);
    return !IsEmpty(serial) && wanted.VendorId == found.VendorId && wanted.ProductId == found.ProductId &&
           SameText(serial, ShownSerialNumber(found));
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

VxStatus FindCamera(const BackendList& backends, const DeviceDiscoveryInfo& wanted, FoundCamera& camera) {
    std::vector<FoundCamera> cameras;
    const VxStatus status = FindCameras(backends, cameras);
    if (status != VX_OK) return status;
    for (FoundCamera& candidate : cameras)
        if (candidate.path == wanted.DevicePath && !IsImpostor(wanted, candidate)) {
            camera = std::move(candidate);
            return VX_OK;
        }
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        DeviceDiscoveryInfo found;
        Describe(cameras[i], i, found);
        if (!IsSameCamera(wanted, found)) continue;
        camera = std::move(cameras[i]);
        return VX_OK;
    }
    return VX_E_NOT_FOUND;
}

} // namespace vexlo
