#include "discovery/PowerRequest.h"

#include "Log.h"

#include "vexlo/VxDevice.h"

#include <cstdlib>

namespace Tavix {

namespace {

using vexlo::CVxDevice;

constexpr char kPowerProperty[] = "_sap";
constexpr unsigned long kMaxPower = 65535;
constexpr std::uint8_t kPowerRequestCode = 0xBA;

/// Little-endian as the properties want it.
unsigned int Set(CVxDevice& device, CVxDevice::EPropertyValue id, std::uint32_t value, unsigned long size) {
    const unsigned char bytes[] = {
        static_cast<unsigned char>(value),
        static_cast<unsigned char>(value >> 8),
        static_cast<unsigned char>(value >> 16),
        static_cast<unsigned char>(value >> 24),
    };
    return device.SetProperty(id, bytes, size);
}

/// The camera's answer replaces the data word: 0, or the reason of its refusal.
unsigned int ReadAnswer(CVxDevice& device) {
    unsigned char bytes[4] = {};
    const unsigned int status = device.GetProperty(CVxDevice::Property_CustomRequestData, bytes, sizeof bytes);
    if (status != 0) return status;
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<unsigned int>(bytes[3]) << 24;
}

unsigned int SendRequest(CVxDevice& device, std::uint16_t power) {
    const struct {
        CVxDevice::EPropertyValue id;
        std::uint32_t value;
        unsigned long size;
    } steps[] = {
        {CVxDevice::Property_CustomRequestId, kPowerRequestCode, 1},
        {CVxDevice::Property_CustomRequestValue, 1, 2},
        {CVxDevice::Property_CustomRequestIndex, power, 2},
        {CVxDevice::Property_CustomRequestDataLength, 4, 2},
        {CVxDevice::Property_CustomRequestData, 0, 4},
        {CVxDevice::Property_CustomRequestExecuteRead, 0, 1},
    };
    for (const auto& step : steps) {
        const unsigned int status = Set(device, step.id, step.value, step.size);
        if (status != 0) return status;
    }
    return ReadAnswer(device);
}

} // namespace

bool HasPowerRequest(const CDeviceInfo& info) {
    return info.GetPropertyAvailable(kPowerProperty);
}

unsigned int RequestPower(CVxDevice& device, const CDeviceInfo& info, const vexlo::DeviceDiscoveryInfo& record) {
    gcstring text;
    info.GetPropertyValue(kPowerProperty, text);
    const auto power = static_cast<unsigned long>(std::strtol(text.c_str(), nullptr, 10)); // negative ones become large
    LogTrace(LogCategoryTl(), kLogInfo, "Setting power for device '%hs' to '%hs'", info.GetFullName().c_str(),
             text.c_str());
    if (power > kMaxPower) return vexlo::VX_E_INVALID_PARAMETER;

    const bool openedHere = !device.IsOpen();
    if (openedHere) {
        const unsigned int status = device.Open(record);
        if (status != 0) return status;
    }
    unsigned int status = SendRequest(device, static_cast<std::uint16_t>(power));
    if (openedHere) {
        const unsigned int closeStatus = device.Close();
        if (status == 0) status = closeStatus;
    }
    return status;
}

} // namespace Tavix
