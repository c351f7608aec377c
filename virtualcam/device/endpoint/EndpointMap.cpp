#include "virtualcam/device/endpoint/EndpointMap.h"

#include <algorithm>

#include "virtualcam/device/Protocol.h"

namespace virtualcam {

EndpointMap::EndpointMap(unsigned streams, bool isApart)
    : m_Roles{kControlOut, kControlIn, kEventIn}, m_IsApart(isApart) {
    for (unsigned stream = 0; stream < streams; ++stream)
        m_Roles.push_back(StreamEndpoint(stream));
}

bool EndpointMap::HasRole(std::uint8_t role) const {
    return std::find(m_Roles.begin(), m_Roles.end(), role) != m_Roles.end();
}

std::uint8_t EndpointMap::RoleOf(std::uint8_t address) const {
    if (!m_IsApart) return address;
    if (address == kControlInApart) return kControlIn;
    return address == kControlIn ? std::uint8_t{0} : address;
}

std::uint8_t EndpointMap::AddressOf(std::uint8_t role) const {
    return role == kControlIn && m_IsApart ? kControlInApart : role;
}

} // namespace virtualcam
