#pragma once
// The numbers that images bear when they are handed out, and what lies between two of them.

#include "camera/image/Frame.h"

#include <chrono>
#include <cstdint>

namespace Tavix::detail {

/// Images count from 0. What was dropped in between leaves its gap to the next one. Bound to a thread.
class ImageNumbers {
public:
    /// The application is about to get it.
    void HandOut(ImageFacts& image) {
        image.number = m_Next++;
        image.gapBefore += m_GapOfDropped;
        m_GapOfDropped = {};
        const bool isKnown = image.blockId != kUnknownBlock;
        const bool isSameRun = m_HasLast && isKnown && image.gapBefore.count() == 0;
        image.missedBefore = isSameRun && image.blockId > m_Last ? image.blockId - m_Last - 1 : 0;
        if (!isKnown) return;
        m_Last = image.blockId;
        m_HasLast = true;
    }
    /// A newer one replaces it.
    void Drop(const ImageFacts& image) { m_GapOfDropped += image.gapBefore; }

private:
    std::uint64_t m_Next = 0;
    std::uint64_t m_Last = 0; // block id of the last one
    bool m_HasLast = false;
    std::chrono::nanoseconds m_GapOfDropped{0};
};

} // namespace Tavix::detail
