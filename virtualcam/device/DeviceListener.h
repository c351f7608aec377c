#pragma once
// How a device on a bus is reached, whatever the bus: the border between the camera and its adapters.

#include <cstdint>

#include "usb/Backend.h"
#include "virtualcam/device/endpoint/Pipe.h"

namespace virtualcam {

/// Told by a device what happens on its own initiative. Called on the device's own thread with no lock of the device
/// held; may call the device back, but not Device::SetListener.
class DeviceListener {
public:
    DeviceListener() = default;
    DeviceListener(const DeviceListener&) = delete;
    DeviceListener& operator=(const DeviceListener&) = delete;
    virtual ~DeviceListener() = default;

    /// An endpoint that answered NotYet may have something now, or takes bytes again.
    virtual void EndpointReady(std::uint8_t endpoint) = 0;
    /// The device has left the bus; every call answers Gone until it is back.
    virtual void Unplugged() = 0;
    /// The device is on the bus, freshly powered up.
    virtual void Plugged() = 0;
};

/// Standard requests of endpoint 0 that the device knows.
namespace request {
inline constexpr std::uint8_t kGetStatus = 0x00;
inline constexpr std::uint8_t kClearFeature = 0x01;
inline constexpr std::uint8_t kSetFeature = 0x03;
inline constexpr std::uint8_t kSetAddress = 0x05;
inline constexpr std::uint8_t kGetDescriptor = 0x06;
inline constexpr std::uint8_t kGetConfiguration = 0x08;
inline constexpr std::uint8_t kSetConfiguration = 0x09;
inline constexpr std::uint8_t kGetInterface = 0x0A;
inline constexpr std::uint8_t kSetInterface = 0x0B;
inline constexpr std::uint8_t kSetSel = 0x30;
inline constexpr std::uint8_t kSetIsochronousDelay = 0x31;
/// Vendor request of this camera: 64 bytes of scratch memory, wIndex is the offset, either direction.
inline constexpr std::uint8_t kScratch = 0x5C;
inline constexpr std::size_t kScratchSize = 64;
} // namespace request

} // namespace virtualcam
