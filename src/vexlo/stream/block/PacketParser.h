#pragma once
// Finds blocks in transfers that no longer fit their planned roles.
//
// On the wire a stream is a sequence of packets. Leader and trailer are short packets, and a short packet ends a
// transfer; so whatever the host's transfers were planned for, a leader or trailer is always the last packet of the
// transfer that it arrived in. That is how the parser finds its place again.

#include "u3v/StreamPacket.h"

#include <cstdint>
#include <list>
#include <optional>
#include <utility>
#include <vector>

namespace vexlo {

/// Memory that it lacks costs a block: one that has begun ends short, one that would begin is not seen. Bound to a
/// thread.
class PacketParser {
public:
    enum class Place { Lost, BetweenBlocks, InBlock };

    /// A block that was found behind its leader.
    struct Block {
        u3v::Leader leader;
        std::optional<u3v::Trailer> trailer; ///< none: the next leader came first
        std::vector<std::uint8_t> payload;
        bool overran = false;  ///< more came than a block may bring, so these are not the bytes of one block
        bool wasShort = false; ///< memory was short: bytes are missing
    };

    /// A block whose leader nobody has seen cannot be read: a place in it counts as lost. `maxPayload`: most bytes that
    /// a block may bring; what goes beyond is dropped.
    PacketParser(std::uint32_t maxPacketSize, std::uint64_t maxPayload, Place place)
        : m_MaxPacketSize(maxPacketSize), m_MaxPayload(maxPayload),
          m_Place(place == Place::InBlock ? Place::Lost : place) {}

    /// The bytes of one transfer. `endsShort`: a short packet ended it, so that its last packet may be a leader or
    /// trailer.
    void Feed(const std::uint8_t* data, std::size_t size, bool endsShort);
    /// Bytes came that nobody can look at: the place is lost, and with it a block that had begun.
    void Skip() { m_Place = Place::Lost; }
    Place GetPlace() const { return m_Place; }
    /// Blocks that ended since the last call, oldest first. Needs no memory.
    std::list<Block> TakeBlocks() { return std::exchange(m_Blocks, {}); }

private:
    void FeedLastPacket(u3v::ByteView packet);
    void Begin(const u3v::Leader& leader);
    void End(std::optional<u3v::Trailer> trailer);
    void Append(u3v::ByteView bytes);

    const std::uint32_t m_MaxPacketSize;
    const std::uint64_t m_MaxPayload;
    Place m_Place;
    std::list<Block> m_Current;  // one, in a block
    bool m_PayloadEnded = false; // a short packet came: later bytes of the block mean nothing
    std::list<Block> m_Blocks;
};

} // namespace vexlo
