#pragma once
// Whether blocks come whole at all after a stream was started.

#include "vexlo/Status.h"

namespace vexlo {

/// Some cameras, or what lies between them and the host, cannot do large transfers: then no block ever comes whole.
/// Bound to a thread.
class FirstBlocks {
public:
    /// A block came. True, once, when it is time to try smaller transfers.
    bool Note(VxStatus status) {
        if (m_Decided || TellsNothing(status)) return false;
        if (!IsBroken(status)) {
            m_Decided = true;
            return false;
        }
        return m_Decided = ++m_Broken >= kMostBroken;
    }
    /// Nothing more is to be learnt of those that come.
    bool IsDecided() const { return m_Decided; }

private:
    static constexpr unsigned int kMostBroken = 3;

    static bool TellsNothing(VxStatus status) {
        return status == VX_E_CANCELLED || status == VX_E_USB_NO_DEVICE || status == VX_E_NO_MEMORY ||
               status == VX_E_USB_NO_MEMORY;
    }

    /// Not those that the camera itself cut short, for want of memory or by an overrun: their transfers work.
    static bool IsBroken(VxStatus status) {
        switch (status) {
        case VX_E_INCOMPLETE:
        case VX_E_BAD_LEADER:
        case VX_E_BAD_TRAILER:
        case VX_E_RESYNCHRONIZED:
        case VX_E_USB_IO:
        case VX_E_USB_STALL:
        case VX_E_USB_OVERFLOW:
            return true;
        default:
            return false;
        }
    }

    unsigned int m_Broken = 0;
    bool m_Decided = false;
};

} // namespace vexlo
