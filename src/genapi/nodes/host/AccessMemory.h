#pragma once
// The access modes that the nodes of a map had a moment ago.

#include "genapi/description/Property.h"

#include <GenApi/Types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace genapi {

/// Modes hold for one generation only, for a port may change its own at any time: an operation of an application begins
/// a new one, and so does a change in its middle. It also counts the ports that gave no access when they were asked, so
/// that whoever computes a mode can tell what lies behind one. Guarded by the map's lock.
class AccessMemory {
    struct State;

public:
    /// Also for nodes that come one by one.
    void Resize(std::size_t count) { m_States.resize(count); }

    /// What was remembered before holds no longer.
    void NextGeneration() { ++m_Generation; }
    /// It comes round never.
    uint64_t Generation() const { return m_Generation; }

    /// The mode that the node had in this generation; counts the closed port that it lies behind. While its mode is
    /// computed, and leads back to it, the node restricts nothing, and what is computed under that holds for nobody
    /// else.
    std::optional<GenApi::EAccessMode> Find(NodeIndex node) {
        const State& state = m_States[node];
        if (state.isOpen) {
            ++m_Circles;
            return GenApi::RW;
        }
        if (state.generation != m_Generation) return std::nullopt;
        if (state.isBehindClosedPort) ++m_ClosedPorts;
        return static_cast<GenApi::EAccessMode>(state.mode);
    }

    void NoteClosedPort() { ++m_ClosedPorts; }
    uint32_t ClosedPorts() const { return m_ClosedPorts; }
    /// Closed ports met since then do not count.
    void ForgetClosedPortsSince(uint32_t count) { m_ClosedPorts = count; }

    /// The computing of one node's mode, also when that throws. No node comes meanwhile. bound to a thread
    class Evaluation {
    public:
        Evaluation(AccessMemory& memory, NodeIndex node)
            : m_Memory(memory), m_State(memory.m_States[node]), m_Generation(memory.m_Generation),
              m_Circles(memory.m_Circles), m_ClosedPorts(memory.m_ClosedPorts) {
            m_State.isOpen = true;
        }
        ~Evaluation() { m_State.isOpen = false; }
        Evaluation(const Evaluation&) = delete;
        Evaluation& operator=(const Evaluation&) = delete;

        /// Remembers the mode unless a circle was met or something changed on the way.
        void Keep(GenApi::EAccessMode mode) {
            if (m_Memory.m_Circles != m_Circles || m_Memory.m_Generation != m_Generation) return;
            m_State.generation = m_Generation;
            m_State.mode = static_cast<uint8_t>(mode);
            m_State.isBehindClosedPort = m_Memory.m_ClosedPorts != m_ClosedPorts;
        }

    private:
        AccessMemory& m_Memory;
        State& m_State;
        const uint64_t m_Generation;
        const uint32_t m_Circles;
        const uint32_t m_ClosedPorts;
    };

private:
    struct State {
        uint64_t generation = 0; ///< for which `mode` holds
        uint8_t mode = 0;
        bool isBehindClosedPort = false; ///< so is `mode`
        bool isOpen = false;
    };

    std::vector<State> m_States; ///< by node
    uint64_t m_Generation = 1;
    uint32_t m_Circles = 0;
    uint32_t m_ClosedPorts = 0;
};

} // namespace genapi
