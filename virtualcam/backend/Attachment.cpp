#include "virtualcam/backend/Attachment.h"

#include <algorithm>

namespace virtualcam {

Attachment::Attachment(Device& device, std::uint8_t bus, std::uint8_t address, std::uint8_t port)
    : m_Device(device), m_Generation(device.Generation()) {
    for (const std::uint8_t role : device.Endpoints().Roles())
        m_Endpoints.emplace_back(device, m_Generation, device.Endpoints().AddressOf(role));
    m_Entry.id = "virtual:" + std::to_string(bus) + ":" + std::to_string(address);
    m_Entry.bus = bus;
    m_Entry.address = address;
    m_Entry.ports = {port};
    m_Entry.speed = device.Settings().speed;
    m_Entry.activeConfiguration = 1;
    m_Entry.device = device.GetDescriptors().Device();
    m_Entry.configurations = {device.GetDescriptors().Configuration()};
}

usb::Result Attachment::Claim(std::uint8_t interfaceNumber, const void* owner) {
    if (!IsPresent()) return usb::Result::NoDevice;
    if (interfaceNumber >= m_Device.GetDescriptors().InterfaceCount()) return usb::Result::NotFound;
    const Tavix::MutexLock lock(m_Lock);
    const auto found = m_Claims.find(interfaceNumber);
    if (found != m_Claims.end()) return found->second == owner ? usb::Result::Ok : usb::Result::Busy;
    if (m_Device.RefusesClaim()) return usb::Result::Busy;
    m_Claims[interfaceNumber] = owner;
    return usb::Result::Ok;
}

usb::Result Attachment::Release(std::uint8_t interfaceNumber, const void* owner) {
    const Tavix::MutexLock lock(m_Lock);
    const auto found = m_Claims.find(interfaceNumber);
    if (found == m_Claims.end() || found->second != owner) return usb::Result::NotFound;
    m_Claims.erase(found);
    return IsPresent() ? usb::Result::Ok : usb::Result::NoDevice;
}

void Attachment::ReleaseAll(const void* owner) {
    const Tavix::MutexLock lock(m_Lock);
    for (auto claim = m_Claims.begin(); claim != m_Claims.end();)
        claim = claim->second == owner ? m_Claims.erase(claim) : std::next(claim);
}

EndpointQueue* Attachment::ClaimedEndpoint(std::uint8_t endpoint, const void* owner) {
    EndpointQueue* const queue = FindEndpoint(endpoint);
    if (!queue) return nullptr;
    const Tavix::MutexLock lock(m_Lock);
    const auto found = m_Claims.find(InterfaceOf(m_Device.Endpoints().RoleOf(endpoint)));
    return found != m_Claims.end() && found->second == owner ? queue : nullptr;
}

EndpointQueue* Attachment::FindEndpoint(std::uint8_t endpoint) {
    const std::vector<std::uint8_t>& roles = m_Device.Endpoints().Roles();
    const auto found = std::find(roles.begin(), roles.end(), m_Device.Endpoints().RoleOf(endpoint));
    return found == roles.end() ? nullptr : &m_Endpoints[static_cast<std::size_t>(found - roles.begin())];
}

void Attachment::PumpAll() {
    for (EndpointQueue& endpoint : m_Endpoints)
        endpoint.Pump();
}

} // namespace virtualcam
