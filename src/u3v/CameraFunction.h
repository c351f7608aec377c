#pragma once
// What the USB descriptors tell of a camera: its interfaces, endpoints and strings.

#include "u3v/ByteView.h"
#include "u3v/Constants.h"

#include <optional>
#include <vector>

namespace u3v {

/// Contents of the Device Info descriptor. String indices of 0 mean that there is no such text.
struct DeviceInfo {
    std::uint32_t genCpVersion = 0; ///< minor in the lower half, major in the upper
    std::uint32_t u3vVersion = 0;
    std::uint8_t guidIndex = 0;
    std::uint8_t vendorNameIndex = 0;
    std::uint8_t modelNameIndex = 0;
    std::uint8_t familyNameIndex = 0;
    std::uint8_t deviceVersionIndex = 0;
    std::uint8_t manufacturerInfoIndex = 0;
    std::uint8_t serialNumberIndex = 0;
    std::uint8_t userDefinedNameIndex = 0;
    std::uint8_t speedSupport = 0;
};

struct Endpoint {
    std::uint8_t address = 0; ///< direction bit included
    std::uint16_t packetSize = 0;
};

/// An interface with one bulk IN endpoint.
struct DataInterface {
    std::uint8_t number = 0;
    Endpoint in;
};

/// One camera function of a USB device.
struct CameraFunction {
    std::uint8_t configurationValue = 0;
    std::uint8_t controlInterface = 0;
    Endpoint controlOut;
    Endpoint controlIn;
    DeviceInfo info;
    std::optional<DataInterface> event;
    std::vector<DataInterface> streams; ///< in the order of their stream index
};

/// What the device descriptor tells.
struct DeviceIdentity {
    std::uint16_t usbVersion = 0; ///< binary-coded decimal
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::uint8_t manufacturerIndex = 0;
    std::uint8_t productIndex = 0;
    std::uint8_t serialNumberIndex = 0;
};

/// Nothing when there are fewer than 18 bytes or they are no device descriptor.
std::optional<DeviceIdentity> DecodeDeviceDescriptor(ByteView bytes);

/// Nothing when there are fewer than 20 bytes, or type or subtype are wrong. The descriptor may be longer.
std::optional<DeviceInfo> DecodeDeviceInfo(ByteView bytes);

/// All camera functions in one whole configuration descriptor set, in the order of their control interfaces. Ignored:
/// alternate settings, control interfaces without their two bulk endpoints or without Device Info, data interfaces
/// without a bulk IN endpoint or outside the function's association, everything behind a descriptor that is damaged.
std::vector<CameraFunction> FindCameraFunctions(ByteView configuration);

} // namespace u3v
