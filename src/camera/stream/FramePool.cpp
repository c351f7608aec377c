#include "camera/stream/FramePool.h"

#include "camera/image/ChunkReader.h"

#include <algorithm>

namespace Tavix::detail {
namespace {

/// For whoever comes first: the stream that ends, or the image that goes.
void Release(Frame& frame) {
    if (!frame.isReleased.exchange(true)) frame.memory.reset();
}

} // namespace

[[gnu::hot]] void FrameReturn::operator()(Frame* frame) const noexcept {
    const std::shared_ptr<FramePool> home = std::move(frame->home);
    if (home) {
        home->GiveBack(*frame);
    } else {
        delete frame;
    }
}

Frame& FramePool::Add() {
    m_Frames.push_back(std::make_unique<Frame>());
    return *m_Frames.back();
}

[[gnu::hot]] FramePtr FramePool::Lend(Frame& frame) {
    frame.home = shared_from_this();
    // Relaxed: the image that clears it is made after this, and the stream ends on this thread or after it was joined.
    frame.isLent.store(true, std::memory_order_relaxed);
    return FramePtr(&frame);
}

void FramePool::Remove(Frame& frame) {
    const auto at =
        std::find_if(m_Frames.begin(), m_Frames.end(), [&](const auto& one) { return one.get() == &frame; });
    if (at != m_Frames.end()) m_Frames.erase(at);
}

void FramePool::Retire() {
    m_IsRetired = true;
    for (const auto& frame : m_Frames) {
        if (!frame->isLent) Release(*frame);
    }
}

[[gnu::hot]] void FramePool::GiveBack(Frame& frame) noexcept {
    frame.isLent = false; // before the stream looks whether it was retired
    if (m_IsRetired) {
        Release(frame);
        return;
    }
    frame.next = m_Returned.load();
    while (!m_Returned.compare_exchange_weak(frame.next, &frame)) {
    }
    if (m_IsHungry) m_Bell.Signal();
}

} // namespace Tavix::detail
