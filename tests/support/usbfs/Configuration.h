#pragma once
// What a device says of itself when it is enumerated.

#include "support/usbfs/DeviceModel.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace usbfs {

/// Descriptors as read by control requests, and the endpoints of the active configuration. Re-entrant.
class Configuration {
public:
    /// Reads all descriptors and selects the first configuration. False when the device does not answer properly.
    bool Enumerate(DeviceModel& model);

    /// Content of the file "descriptors" of sysfs.
    const std::vector<std::uint8_t>& Bytes() const { return m_Bytes; }
    int ActiveValue() const { return m_ActiveValue; }
    bool HasInterface(unsigned int number) const;
    /// The interface that an endpoint of the active configuration belongs to.
    std::optional<unsigned int> InterfaceOf(std::uint8_t endpoint) const;
    /// Takes another configuration as the active one; false when there is none with this value.
    bool Select(int value);

private:
    struct Endpoint {
        std::uint8_t address;
        unsigned int interface;
    };

    std::vector<std::uint8_t> m_Bytes;
    std::vector<std::vector<std::uint8_t>> m_Configurations;
    int m_ActiveValue = 0;
    std::vector<unsigned int> m_Interfaces;
    std::vector<Endpoint> m_Endpoints;
};

} // namespace usbfs
