#pragma once
// How many blocks of a run the camera sent and nobody got.

#include "camera/image/Frame.h"

#include <algorithm>
#include <cstdint>

namespace Tavix::detail {

/// By the gaps in the block ids. A block that came broken is not missed. Bound to a thread.
class MissedBlocks {
public:
    /// The camera counts anew.
    void Begin() { *this = MissedBlocks(); }
    /// A block came broken; it is given to Note, too, if the application wants it all the same.
    void NoteBroken() { ++m_Broken; }
    /// A block that goes to the application: how many are missing before it.
    std::uint64_t Note(std::uint64_t blockId, bool isBroken) {
        if (blockId == kUnknownBlock) return 0;
        const std::uint64_t between = m_IsRunning && blockId > m_Last ? blockId - m_Last - 1 : 0;
        const std::uint64_t broken = m_Broken - (isBroken ? 1 : 0);
        m_Last = blockId;
        m_IsRunning = true;
        m_Broken = 0;
        return between - std::min(between, broken);
    }

private:
    std::uint64_t m_Last = 0;
    bool m_IsRunning = false;
    std::uint64_t m_Broken = 0; // since the last one
};

} // namespace Tavix::detail
