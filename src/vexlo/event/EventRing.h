#pragma once
// Event messages that wait for the application.

#include "u3v/EventPacket.h"
#include "vexlo/Alarm.h"
#include "vexlo/Status.h"

#include <memory>
#include <vector>

namespace vexlo {

/// A ring of single-event messages, the oldest first, and the counts of what came by. When it is full, what comes is
/// lost, counted as failed and told in the log: a message that waits has been announced by the wait object, and the
/// camera's own queue behaves the same way. Keeps the wait object signalled exactly while there is something
/// to take: messages, or the news of the channel's end; who sleeps on it wakes with the alarm, which outlives the
/// owner's lock. Bound to a thread: that lock.
class EventRing {
public:
    static constexpr std::size_t kLargestMessage = 576; ///< unless more is wished

    struct Counts {
        std::uint64_t total = 0;
        std::uint64_t failed = 0;
        VxStatus lastFailure = VX_OK;
    };

    void SetWaitObject(std::shared_ptr<Tavix::_WaitObjectPosix_t> waitObject, Alarm& alarm);
    /// Empties the ring and the counts.
    void Reset(std::size_t capacity, std::size_t largestMessage = kLargestMessage);
    /// Takes a message apart into its events.
    void Push(u3v::ByteView message, Alarm& alarm);
    void CountFailure(VxStatus status);
    /// The channel has ended: told once, behind the messages that are there.
    void End(VxStatus reason, Alarm& alarm);
    /// What nobody took is dropped; the counts stay.
    void Drop();

    /// Copies the oldest message out; see CVxEventStream::RetrieveEvent.
    [[nodiscard]] VxStatus Take(void* buffer, unsigned long& size);
    std::size_t Pending() const { return m_Count; }
    const Counts& GetCounts() const { return m_Counts; }

private:
    struct Message {
        std::size_t size = 0;
        std::vector<std::uint8_t> bytes; // as many as a message may have
    };

    void Store(const u3v::EventPacket& packet, const u3v::EventEntry& entry);
    bool IsReady() const { return m_Count != 0 || m_End != VX_OK; }
    void RaiseIfReady(Alarm& alarm);
    void LowerUnlessReady();
    void Lose();
    void TellOfLosses();

    std::vector<Message> m_Messages;
    std::size_t m_First = 0;
    std::size_t m_Count = 0;
    std::uint64_t m_Lost = 0; ///< since the ring became full
    Counts m_Counts;
    VxStatus m_End = VX_OK; ///< not yet told
    std::shared_ptr<Tavix::_WaitObjectPosix_t> m_WaitObject;
};

} // namespace vexlo
