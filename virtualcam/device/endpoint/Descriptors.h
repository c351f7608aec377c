#pragma once
// USB descriptors of the camera.

#include <array>
#include <cstdint>
#include <string>

#include "virtualcam/Bytes.h"
#include "virtualcam/settings/BackendSettings.h"

namespace virtualcam {

/// String indices of the device's string descriptors.
enum class Text : std::uint8_t {
    Languages = 0,
    Manufacturer,
    Product,
    Serial,
    Guid,
    Vendor,
    Model,
    Family,
    DeviceVersion,
    ManufacturerInfo,
    SerialNumber,
    UserName,
    Function,
    Count
};

/// Builds descriptors from settings. Re-entrant; constant after construction.
class Descriptors {
public:
    explicit Descriptors(const CameraSettings& settings);

    const Bytes& Device() const { return m_Device; }
    const Bytes& Configuration() const { return m_Configuration; }
    const Bytes& BinaryObjectStore() const { return m_BinaryObjectStore; }
    /// The string descriptor; empty when there is none. The user-defined name changes, so it is handed in.
    Bytes String(std::uint8_t index, const std::string& userName) const;
    std::uint8_t InterfaceCount() const { return m_Configuration[4]; }
    std::uint16_t MaxPacketSize() const { return m_MaxPacketSize; }
    /// Bit of the speed in bmSpeedSupport and in the current-speed register.
    static std::uint8_t SpeedBit(usb::Speed speed);

private:
    std::array<std::string, static_cast<std::size_t>(Text::Count)> m_Texts;
    bool m_SuperSpeed;
    std::uint16_t m_MaxPacketSize;
    Bytes m_Device;
    Bytes m_Configuration;
    Bytes m_BinaryObjectStore;

    void BuildDevice(const CameraSettings& settings);
    void BuildConfiguration(const CameraSettings& settings);
    void AddEndpoint(std::uint8_t address, std::uint8_t burst);
};

} // namespace virtualcam
