#pragma once
// The buffers of one stream.

#include "camera/image/Frame.h"
#include "core/WaitObject.h"

#include <atomic>
#include <memory>
#include <vector>

namespace Tavix::detail {

/// Owns the frames. The stream's thread adds, lends, takes back and retires them; images give theirs back on any thread
/// without waiting for anybody, also after the stream has ended: the pool lives as long as one of its images.
class FramePool : public std::enable_shared_from_this<FramePool> {
public:
    FramePool() = default;
    FramePool(const FramePool&) = delete;
    FramePool& operator=(const FramePool&) = delete;

    // For the stream's thread.
    Frame& Add();
    FramePtr Lend(Frame& frame);
    /// The frames that came back since; linked by `next`, null for none.
    Frame* TakeReturned() { return m_Returned.exchange(nullptr); }
    /// Whether the bell shall ring when a frame comes back.
    void SetHungry(bool isHungry) {
        if (m_IsHungry != isHungry) m_IsHungry = isHungry; // it seldom changes, and a write has its price
    }
    void Ring() const { m_Bell.Signal(); }
    bool HasReturned() const { return m_Returned.load() != nullptr; }
    const WaitObject& Bell() const { return m_Bell; }
    void Remove(Frame& frame);
    /// The stream is over: memory of frames that are at home is released, and of others when they come back.
    void Retire();
    std::size_t Count() const { return m_Frames.size(); }

    // For any thread.
    void GiveBack(Frame& frame) noexcept;

private:
    std::vector<std::unique_ptr<Frame>> m_Frames; // of the stream's thread
    // A list that many push to and one takes whole, so that no node is met twice in it: the push releases what the
    // image did to its frame, the exchange acquires it.
    std::atomic<Frame*> m_Returned{nullptr};
    // Two sides set a flag of their own and then look at the other's: hunger and the list, the end and isLent. In any
    // order weaker than the sequentially consistent one both could miss each other: no bell, or memory that stays.
    std::atomic<bool> m_IsHungry{false};
    std::atomic<bool> m_IsRetired{false};
    const WaitObjectEx m_Bell = WaitObjectEx::Create(/*manualReset=*/false);
};

} // namespace Tavix::detail
