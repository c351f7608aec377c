// Endpoint 0 and endpoint halts.

#include <algorithm>

#include "virtualcam/device/Device.h"

namespace virtualcam {
namespace {

constexpr std::uint8_t kTypeMask = 0x60;
constexpr std::uint8_t kVendorType = 0x40;
constexpr std::uint8_t kRecipientMask = 0x1F;
constexpr std::uint8_t kEndpointRecipient = 0x02;
constexpr std::uint8_t kDirectionIn = 0x80;
constexpr PipeAnswer kRefused{PipeStatus::Stall, 0};
constexpr PipeAnswer kDone{PipeStatus::Complete, 0};

} // namespace

PipeAnswer Device::Control(const usb::ControlSetup& setup, std::uint8_t* data) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (!m_Camera) return {PipeStatus::Gone, 0};
    if (m_Leaving) return {PipeStatus::Error, 0};
    if ((setup.requestType & kTypeMask) == kVendorType) return ScratchRequest(setup, data);
    if ((setup.requestType & kTypeMask) != 0) return kRefused;
    if (setup.request == request::kGetDescriptor) return GetDescriptor(setup, data);
    if ((setup.requestType & kRecipientMask) == kEndpointRecipient) return EndpointRequest(setup, data);
    return DeviceRequest(setup, data);
}

PipeAnswer Device::Answer(const usb::ControlSetup& setup, std::uint8_t* data, const Bytes& bytes) const {
    if (bytes.empty()) return kRefused;
    const std::size_t count = std::min<std::size_t>(bytes.size(), setup.length);
    std::copy_n(bytes.begin(), count, data);
    return {PipeStatus::Complete, count};
}

PipeAnswer Device::GetDescriptor(const usb::ControlSetup& setup, std::uint8_t* data) const {
    const std::uint8_t index = static_cast<std::uint8_t>(setup.value & 0xFF);
    switch (setup.value >> 8) {
    case 0x01:
        return Answer(setup, data, m_Descriptors.Device());
    case 0x02:
        return index == 0 ? Answer(setup, data, m_Descriptors.Configuration()) : kRefused;
    case 0x03:
        if (m_Settings.registers.unreadableStrings) return kRefused;
        return Answer(setup, data, m_Descriptors.String(index, m_Persistent.userName));
    case 0x0F:
        return Answer(setup, data, m_Descriptors.BinaryObjectStore());
    default:
        return kRefused;
    }
}

PipeAnswer Device::DeviceRequest(const usb::ControlSetup& setup, std::uint8_t* data) {
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
        m_Camera->ResetInterfaces();
        m_Halts = 0;
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

PipeAnswer Device::EndpointRequest(const usb::ControlSetup& setup, std::uint8_t* data) {
    const std::uint8_t endpoint = RoleOf(static_cast<std::uint8_t>(setup.index));
    if (setup.index == 0 || setup.index == kDirectionIn)
        return setup.request == request::kGetStatus ? Answer(setup, data, {0, 0}) : kDone;
    if (!HasEndpoint(endpoint)) return kRefused;
    if (setup.request == request::kGetStatus)
        return Answer(setup, data, {static_cast<std::uint8_t>(IsHaltedLocked(endpoint) ? 1 : 0), 0});
    if (setup.value != 0) return kRefused;
    if (setup.request == request::kSetFeature && m_Faults.dieOnSetHalt)
        UnplugLocked();
    else if (setup.request == request::kSetFeature)
        SetHaltLocked(endpoint);
    else if (setup.request == request::kClearFeature)
        ClearHaltLocked(endpoint);
    else
        return kRefused;
    return kDone;
}

PipeAnswer Device::ScratchRequest(const usb::ControlSetup& setup, std::uint8_t* data) {
    const bool fits = setup.index <= m_Scratch.size() && setup.length <= m_Scratch.size() - setup.index;
    if (setup.request != request::kScratch || !fits) return kRefused;
    if ((setup.requestType & kDirectionIn) != 0)
        std::copy_n(m_Scratch.begin() + setup.index, setup.length, data);
    else
        std::copy_n(data, setup.length, m_Scratch.begin() + setup.index);
    return {PipeStatus::Complete, setup.length};
}

// --- halts

bool Device::HasEndpoint(std::uint8_t endpoint) const {
    return std::find(m_Endpoints.begin(), m_Endpoints.end(), endpoint) != m_Endpoints.end();
}

std::uint8_t Device::RoleOf(std::uint8_t endpoint) const {
    if (!m_Settings.registers.asymmetricEndpoints) return endpoint;
    if (endpoint == kControlInApart) return kControlIn;
    return endpoint == kControlIn ? std::uint8_t{0} : endpoint;
}

std::uint8_t Device::AddressOf(std::uint8_t role) const {
    return role == kControlIn && m_Settings.registers.asymmetricEndpoints ? kControlInApart : role;
}

// OUT endpoints have the lower half of the bits.
std::uint32_t Device::EndpointBit(std::uint8_t endpoint) {
    return 1u << ((endpoint & 0x0F) | ((endpoint & 0x80) >> 3));
}

void Device::SetHalt(std::uint8_t endpoint) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Camera && HasEndpoint(RoleOf(endpoint))) SetHaltLocked(RoleOf(endpoint));
}

void Device::ClearHalt(std::uint8_t endpoint) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    if (m_Camera && HasEndpoint(RoleOf(endpoint))) ClearHaltLocked(RoleOf(endpoint));
}

bool Device::IsHalted(std::uint8_t endpoint) const {
    const std::lock_guard<std::mutex> lock(m_Lock);
    return IsHaltedLocked(RoleOf(endpoint));
}

void Device::SetHaltLocked(std::uint8_t endpoint) {
    m_Halts |= EndpointBit(endpoint);
    if (endpoint == kEventIn)
        m_Camera->DisableEvents();
    else if (const Stream* const stream = FindStream(endpoint))
        m_Camera->DisableStream(stream->index);
    else
        m_Camera->Control().Abort();
    Post(endpoint);
}

void Device::ClearHaltLocked(std::uint8_t endpoint) {
    m_Halts &= ~EndpointBit(endpoint);
    // A clear without a halt before it resets a channel just as well: nothing stale is left for the next host.
    if (endpoint == kControlOut || endpoint == kControlIn) m_Camera->Control().Abort();
    Stream* const stream = FindStream(endpoint);
    if (stream == nullptr) return;
    m_Camera->DisableStream(stream->index);
    stream->mute = false;
}

} // namespace virtualcam
