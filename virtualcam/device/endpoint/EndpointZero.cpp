#include "virtualcam/device/endpoint/EndpointZero.h"

#include <algorithm>

namespace virtualcam {
namespace {

constexpr std::uint8_t kTypeMask = 0x60;
constexpr std::uint8_t kVendorType = 0x40;
constexpr std::uint8_t kRecipientMask = 0x1F;
constexpr std::uint8_t kEndpointRecipient = 0x02;
constexpr std::uint8_t kDirectionIn = 0x80;
constexpr PipeAnswer kRefused{PipeStatus::Stall, 0};
constexpr PipeAnswer kDone{PipeStatus::Complete, 0};

PipeAnswer Answer(const usb::ControlSetup& setup, std::uint8_t* data, const Bytes& bytes) {
    if (bytes.empty()) return kRefused;
    const std::size_t count = std::min<std::size_t>(bytes.size(), setup.length);
    std::copy_n(bytes.begin(), count, data);
    return {PipeStatus::Complete, count};
}

} // namespace

PipeAnswer EndpointZero::Serve(const usb::ControlSetup& setup, std::uint8_t* data) {
    if ((setup.requestType & kTypeMask) == kVendorType) return ServeScratch(setup, data);
    if ((setup.requestType & kTypeMask) != 0) return kRefused;
    if (setup.request == request::kGetDescriptor) return ServeDescriptor(setup, data);
    if ((setup.requestType & kRecipientMask) == kEndpointRecipient) return ServeEndpoint(setup, data);
    return ServeDevice(setup, data);
}

PipeAnswer EndpointZero::ServeDescriptor(const usb::ControlSetup& setup, std::uint8_t* data) const {
    const std::uint8_t index = static_cast<std::uint8_t>(setup.value & 0xFF);
    switch (setup.value >> 8) {
    case 0x01:
        return Answer(setup, data, m_Descriptors.Device());
    case 0x02:
        return index == 0 ? Answer(setup, data, m_Descriptors.Configuration()) : kRefused;
    case 0x03:
        return m_HasReadableStrings ? Answer(setup, data, m_Descriptors.String(index, m_Host.Name())) : kRefused;
    case 0x0F:
        return Answer(setup, data, m_Descriptors.BinaryObjectStore());
    default:
        return kRefused;
    }
}

PipeAnswer EndpointZero::ServeDevice(const usb::ControlSetup& setup, std::uint8_t* data) {
    switch (setup.request) {
    case request::kGetStatus:
        return Answer(setup, data, {0, 0});
    case request::kGetConfiguration:
        return Answer(setup, data, {m_Configuration});
    case request::kGetInterface:
        return setup.index < m_Descriptors.InterfaceCount() ? Answer(setup, data, {0}) : kRefused;
    case request::kSetInterface:
        return setup.value == 0 && setup.index < m_Descriptors.InterfaceCount() ? kDone : kRefused;
    case request::kSetConfiguration:
        if (setup.value > 1) return kRefused;
        m_Host.ResetInterfaces();
        m_Configuration = static_cast<std::uint8_t>(setup.value);
        return kDone;
    case request::kSetAddress:
    case request::kSetFeature:
    case request::kClearFeature:
    case request::kSetIsochronousDelay:
        return kDone;
    case request::kSetSel:
        return {PipeStatus::Complete, setup.length};
    default:
        return kRefused;
    }
}

PipeAnswer EndpointZero::ServeEndpoint(const usb::ControlSetup& setup, std::uint8_t* data) {
    const std::uint8_t role = m_Endpoints.RoleOf(static_cast<std::uint8_t>(setup.index));
    if (setup.index == 0 || setup.index == kDirectionIn)
        return setup.request == request::kGetStatus ? Answer(setup, data, {0, 0}) : kDone;
    if (!m_Endpoints.HasRole(role)) return kRefused;
    if (setup.request == request::kGetStatus)
        return Answer(setup, data, {static_cast<std::uint8_t>(m_Host.IsRoleHalted(role) ? 1 : 0), 0});
    if (setup.value != 0) return kRefused;
    if (setup.request == request::kSetFeature)
        m_Host.HostSetHalt(role);
    else if (setup.request == request::kClearFeature)
        m_Host.HostClearedHalt(role);
    else
        return kRefused;
    return kDone;
}

PipeAnswer EndpointZero::ServeScratch(const usb::ControlSetup& setup, std::uint8_t* data) {
    const bool fits = setup.index <= m_Scratch.size() && setup.length <= m_Scratch.size() - setup.index;
    if (setup.request != request::kScratch || !fits) return kRefused;
    if ((setup.requestType & kDirectionIn) != 0)
        std::copy_n(m_Scratch.begin() + setup.index, setup.length, data);
    else
        std::copy_n(data, setup.length, m_Scratch.begin() + setup.index);
    return {PipeStatus::Complete, setup.length};
}

} // namespace virtualcam
