// The version of a camera that nobody needs to have open.
#include "u3v/Constants.h"
#include "vexlo/Enumerator.h"
#include "vexlo/Library.h"
#include "vexlo/NoThrow.h"
#include "vexlo/VxDevice.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace vexlo {
namespace {

struct Destroy {
    void operator()(CVxDevice* device) const { CVxDevice::DestroyDevice(device); }
};

/// Who lists cameras does not wait for one that boots: it can be asked again.
constexpr std::uint32_t kConnectLimitMs = 1500;

/// Opens the camera for a moment.
VxStatus AskForVersion(const DeviceDiscoveryInfo& info, std::string& version) {
    const std::unique_ptr<CVxDevice, Destroy> device(CVxDevice::CreateDevice(DeviceType_Libusb));
    if (!device) return VX_E_NO_MEMORY;
    const std::uint8_t isProbe = 1; // who only looks neither resets a camera nor writes to it
    VxStatus prepared = device->SetProperty(CVxDevice::Property_OpenAsProbe, &isProbe, sizeof isProbe);
    if (prepared == VX_OK)
        prepared = device->SetProperty(CVxDevice::Property_ConnectTimeout, &kConnectLimitMs, sizeof kConnectLimitMs);
    if (prepared != VX_OK) return prepared;
    const VxStatus opened = device->Open(info);
    if (opened != VX_OK) return opened;
    std::array<char, u3v::abrm::kStringSize> text{};
    unsigned long size = text.size();
    const VxStatus status = device->ReadMem(text.data(), u3v::abrm::kDeviceVersion, &size);
    if (status == VX_OK) version.assign(text.data(), ::strnlen(text.data(), text.size()));
    return status;
}

VxStatus FindVersion(Library& library, const DeviceDiscoveryInfo& info, std::string& version) {
    VersionNotes* const notes = library.Versions();
    if (notes == nullptr) return AskForVersion(info, version);
    if (const auto known = notes->Find(info.DevicePath, info.DeviceGUID)) {
        version = *known;
        return VX_OK;
    }
    const std::uint64_t departures = notes->Departures();
    const VxStatus status = AskForVersion(info, version);
    if (status == VX_OK) notes->Note(info.DevicePath, info.DeviceGUID, version, departures);
    return status;
}

} // namespace

VxStatus CEnumerator::DeviceVersion(const DeviceDiscoveryInfo& info, char* buffer, unsigned long size) {
    if (buffer == nullptr || size == 0) return VX_E_INVALID_PARAMETER;
    const auto library = Library::Get();
    if (!library) return VX_E_NOT_INITIALIZED;
    return NoThrow([&] {
        std::string version;
        const VxStatus status = FindVersion(*library, info, version);
        if (status != VX_OK) return status;
        const std::size_t count = std::min<std::size_t>(version.size(), size - 1);
        std::memcpy(buffer, version.data(), count);
        buffer[count] = '\0';
        return VX_OK;
    });
}

} // namespace vexlo
