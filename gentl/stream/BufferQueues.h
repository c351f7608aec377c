#pragma once
// The input pool and the output queue of a stream.

#include "gentl/stream/Buffer.h"

#include <array>
#include <memory>
#include <vector>

namespace gentl {

/// What to do when images come faster than the consumer takes them. The default is OldestFirst.
enum class Handling : std::uint64_t { Default = 0, OldestFirstOverwrite = 1, NewestOnly = 2, OldestFirst = 3 };

constexpr bool Overwrites(Handling handling) {
    return handling == Handling::OldestFirstOverwrite || handling == Handling::NewestOnly;
}

using SharedBuffer = std::shared_ptr<Buffer>;

/// Where the announced buffers of a stream are, by the places of `Place`, and how many went which way. Knows nothing of
/// the bus. Who has it has the ways of its buffers, so its owner's lock guards both; the buffers have handles. An
/// announced buffer lives until it is revoked, so those in the queues are not shared again. Re-entrant.
class BufferQueues {
public:
    using Queue = Buffer::Queue;

    /// Since the last BeginCounting.
    struct Counts {
        std::uint64_t filled = 0;
        std::uint64_t delivered = 0;
        std::uint64_t overwritten = 0;
    };

    Buffer::Way& WayOf(Buffer& buffer) { return buffer.m_Way; }
    const std::vector<SharedBuffer>& Announced() const { return m_Announced; }
    const Queue& Input() const { return At(Place::Input); }
    const Queue& Output() const { return At(Place::Output); }
    const Counts& Counted() const { return m_Counts; }
    void BeginCounting();
    /// Buffers that came into the output queue, ever.
    std::uint64_t Fired() const { return m_FiredBefore + m_Counts.filled; }

    void Announce(const SharedBuffer& buffer);
    bool HasMemory(const void* memory) const;
    /// From everywhere. The caller has a share of it.
    void Revoke(Buffer& buffer);
    /// All are revoked; these are the ones that were announced.
    std::vector<SharedBuffer> RevokeAll() noexcept;

    /// From wherever it is to the end of the input pool, without what it held.
    void PutIntoInput(Buffer& buffer);
    /// Given to the bus, or back from it.
    void NoteOnBus(Buffer& buffer, bool isOnBus);
    /// To neither queue.
    void PutAside(Buffer& buffer);
    /// From the input pool to the end of the output queue; it is back from the bus.
    void Fill(Buffer& buffer, const vexlo::CVxStream::GrabResult& result);
    /// What is in the input pool follows in the output queue as it is.
    void MoveInputToOutput();
    /// The oldest of the output queue goes to the consumer; null when there is none.
    Buffer* Deliver();
    /// The oldest of the output queue if it is to make room for newer ones, now put aside; null when none is. The
    /// newest image never is.
    Buffer* TakeOverwritten(Handling handling);

private:
    Queue& At(Place place) { return m_Queues[static_cast<std::size_t>(place)]; }
    const Queue& At(Place place) const { return m_Queues[static_cast<std::size_t>(place)]; }
    /// From wherever it is to the end of those at that place. Needs no memory.
    void Move(Buffer& buffer, Place place) noexcept;

    std::vector<SharedBuffer> m_Announced;
    std::array<Queue, kPlaces> m_Queues; // by place
    Counts m_Counts;
    std::uint64_t m_FiredBefore = 0; // those that are not among the filled ones
};

} // namespace gentl
