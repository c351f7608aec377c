#pragma once
// Which caches of a map's nodes hold what is in the device.

#include "genapi/description/Property.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace genapi {

/// A flag for each node. A node at which the present write ended keeps its cache, for its bytes are known. Guarded by
/// the map's lock.
class CacheStates {
public:
    /// Also for nodes that come one by one.
    void Resize(std::size_t count) { m_Flags.resize(count); }

    bool IsValid(NodeIndex node) const { return (m_Flags[node] & kValid) != 0; }
    void SetValid(NodeIndex node) { m_Flags[node] |= kValid; }
    void SetInvalid(NodeIndex node) { m_Flags[node] &= static_cast<uint8_t>(~kValid); }
    void SetAllInvalid() {
        for (uint8_t& flags : m_Flags)
            flags &= static_cast<uint8_t>(~kValid);
    }

    /// A write ended at the node.
    bool IsTerminal(NodeIndex node) const { return (m_Flags[node] & kTerminal) != 0; }
    void SetTerminal(NodeIndex node, bool isTerminal) {
        const auto others = static_cast<uint8_t>(m_Flags[node] & ~kTerminal);
        m_Flags[node] = static_cast<uint8_t>(others | (isTerminal ? kTerminal : 0));
    }

private:
    static constexpr uint8_t kValid = 1;
    static constexpr uint8_t kTerminal = 2;

    std::vector<uint8_t> m_Flags; ///< by node
};

} // namespace genapi
