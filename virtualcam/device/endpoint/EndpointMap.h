#pragma once
// The bulk endpoints of a camera: what they are for, and how they are called on the bus.

#include <cstdint>
#include <vector>

namespace virtualcam {

/// Cameras differ in the number of one endpoint. Inside an endpoint has its usual address, its role; on the bus that of
/// the descriptors. Constant after construction, re-entrant.
class EndpointMap {
public:
    /// `isApart`: the endpoints of the control interface have different numbers.
    EndpointMap(unsigned streams, bool isApart);

    /// Commands, acknowledges, events, streams.
    const std::vector<std::uint8_t>& Roles() const { return m_Roles; }
    bool HasRole(std::uint8_t role) const;
    /// No role when no endpoint has that address.
    std::uint8_t RoleOf(std::uint8_t address) const;
    std::uint8_t AddressOf(std::uint8_t role) const;

private:
    std::vector<std::uint8_t> m_Roles;
    bool m_IsApart;
};

} // namespace virtualcam
