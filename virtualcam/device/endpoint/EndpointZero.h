#pragma once
// Endpoint 0 of a camera: descriptors, standard requests, and a little memory to try transfers with.

#include <array>
#include <cstdint>
#include <string>

#include "virtualcam/device/DeviceListener.h"
#include "virtualcam/device/endpoint/Descriptors.h"
#include "virtualcam/device/endpoint/EndpointMap.h"
#include "virtualcam/device/endpoint/Pipe.h"

namespace virtualcam {

/// What requests ask of the rest of the device. Endpoints are meant by their roles.
class RequestHost {
public:
    virtual void ResetInterfaces() = 0;
    virtual bool IsRoleHalted(std::uint8_t role) const = 0;
    virtual void HostSetHalt(std::uint8_t role) = 0;
    virtual void HostClearedHalt(std::uint8_t role) = 0;
    /// The user-defined name.
    virtual const std::string& Name() const = 0;

protected:
    ~RequestHost() = default;
};

/// Refuses what it does not know. Bound to a thread; its owner locks.
class EndpointZero {
public:
    struct Parts {
        const Descriptors& descriptors;
        const EndpointMap& endpoints;
        RequestHost& host;
    };
    /// The parts are borrowed and outlive it.
    EndpointZero(const Parts& parts, bool hasReadableStrings)
        : m_Descriptors(parts.descriptors), m_Endpoints(parts.endpoints), m_Host(parts.host),
          m_HasReadableStrings(hasReadableStrings) {}

    /// `data` has setup.length bytes.
    PipeAnswer Serve(const usb::ControlSetup& setup, std::uint8_t* data);
    /// The device is powered up. Its memory keeps what it holds.
    void Reset() { m_Configuration = 1; }

private:
    PipeAnswer ServeDescriptor(const usb::ControlSetup& setup, std::uint8_t* data) const;
    PipeAnswer ServeDevice(const usb::ControlSetup& setup, std::uint8_t* data);
    PipeAnswer ServeEndpoint(const usb::ControlSetup& setup, std::uint8_t* data);
    PipeAnswer ServeScratch(const usb::ControlSetup& setup, std::uint8_t* data);

    const Descriptors& m_Descriptors;
    const EndpointMap& m_Endpoints;
    RequestHost& m_Host;
    const bool m_HasReadableStrings;
    std::uint8_t m_Configuration = 1;
    std::array<std::uint8_t, request::kScratchSize> m_Scratch{};
};

} // namespace virtualcam
