#pragma once
// What keeps the endpoints of a camera from answering.

#include "virtualcam/device/endpoint/EndpointSet.h"

namespace virtualcam {

/// By role. Bound to a thread; its owner locks.
class EndpointStates {
public:
    void Halt(std::uint8_t role) { m_Halted.Add(role); }
    bool IsHalted(std::uint8_t role) const { return m_Halted.Has(role); }
    void ClearHalt(std::uint8_t role) { m_Halted.Remove(role); }
    /// The interfaces were reset.
    void ClearHalts() { m_Halted.Clear(); }

    /// It answers nothing, until the host clears its halt.
    void SetMute(std::uint8_t role, bool isMute) { Set(m_Mute, role, isMute); }
    /// It answers nothing, by transfers that it cannot serve, until it is enabled anew.
    void SetChoked(std::uint8_t role, bool isChoked) { Set(m_Choked, role, isChoked); }
    bool IsSilent(std::uint8_t role) const { return m_Mute.Has(role) || m_Choked.Has(role); }

private:
    static void Set(EndpointSet& set, std::uint8_t role, bool isIn) {
        if (isIn)
            set.Add(role);
        else
            set.Remove(role);
    }

    EndpointSet m_Halted;
    EndpointSet m_Mute;
    EndpointSet m_Choked;
};

} // namespace virtualcam
