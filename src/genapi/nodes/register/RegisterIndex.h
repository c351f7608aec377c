#pragma once
// Which register nodes show the same bytes.

#include "genapi/nodes/host/Graph.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace genapi {

class Node;
class PortNode;
class RegisterNode;

/// Bytes behind a port.
struct RegisterPlace {
    const PortNode* pPort = nullptr;
    int64_t address = 0;
    int64_t length = 0;

    bool operator==(const RegisterPlace& other) const {
        return pPort == other.pPort && address == other.address && length == other.length;
    }
};

/// Made when the first register is written. Registers whose place is computed lie where they were read or written last;
/// they tell when that changes. Guarded by the map's lock.
class RegisterIndex {
public:
    explicit RegisterIndex(const std::vector<Node*>& nodes);

    /// The other registers that share bytes with what was written through one, or whose computed place is spelt alike.
    /// Holds until the next call.
    const std::vector<RegisterNode*>& Overlapping(const RegisterNode& changed, const RegisterPlace& written);
    /// A register of computed place has come from one place to another.
    void Move(RegisterNode& node, const RegisterPlace& from, const RegisterPlace& to);

    /// What was written last to a register that cannot be read; empty when nothing was.
    const std::vector<uint8_t>& Pattern(const RegisterPlace& place) const;
    void SetPattern(const RegisterPlace& place, const uint8_t* pBytes);

private:
    /// The length class comes before the address: what may reach into a place begins at most that far in front of it.
    using Key = std::tuple<const PortNode*, unsigned, uint64_t>;
    using Places = std::multimap<Key, RegisterNode*>;
    using PatternKey = std::pair<const PortNode*, int64_t>;
    struct PatternHash {
        std::size_t operator()(const PatternKey& key) const;
    };

    /// What was found for a register, as long as none has moved since.
    struct Answer {
        RegisterPlace written;
        uint64_t moves = 0;
        std::vector<RegisterNode*> found;
    };

    static Key KeyOf(const RegisterPlace& place);
    std::vector<RegisterNode*> Search(const RegisterNode& changed, const RegisterPlace& written) const;
    Places::iterator Find(const RegisterPlace& place, const RegisterNode& node);

    Places m_Places;
    uint64_t m_Classes = 0; ///< a bit for each length class that occurs
    uint64_t m_Moves = 1;
    std::unordered_map<const RegisterNode*, Answer> m_Answers; ///< short ones only
    std::vector<RegisterNode*> m_Long;                         ///< the last one that was too long to be kept
    std::unordered_map<std::string, std::vector<RegisterNode*>> m_BySpelling; ///< of computed places
    std::unordered_map<PatternKey, std::vector<uint8_t>, PatternHash> m_Patterns;
};

} // namespace genapi
