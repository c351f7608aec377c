#include "vexlo/stream/block/PacketParser.h"

#include <algorithm>
#include <new>

namespace vexlo {

void PacketParser::Feed(const std::uint8_t* data, std::size_t size, bool endsShort) {
    const bool hasLastPacket = endsShort && size % m_MaxPacketSize != 0;
    const std::size_t last = hasLastPacket ? size - size % m_MaxPacketSize : size;
    if (last > 0) {
        if (m_Place == Place::BetweenBlocks) m_Place = Place::Lost;
        if (m_Place == Place::InBlock) Append({data, last});
    }
    if (hasLastPacket) FeedLastPacket({data + last, size - last});
    if (endsShort && !hasLastPacket) m_PayloadEnded = true; // an empty packet
}

void PacketParser::FeedLastPacket(u3v::ByteView packet) {
    if (const auto leader = u3v::DecodeLeader(packet)) return Begin(*leader);
    const bool inBlock = m_Place == Place::InBlock;
    const auto trailer = u3v::DecodeTrailer(packet, inBlock ? m_Current.front().leader.payloadType : std::uint16_t(0));
    const bool fits = trailer && (!inBlock || trailer->blockId == m_Current.front().leader.blockId);
    if (fits && inBlock) return End(trailer);
    if (fits) {
        m_Place = Place::BetweenBlocks;
    } else if (inBlock) {
        Append(packet);
        m_PayloadEnded = true;
    } else {
        m_Place = Place::Lost;
    }
}

void PacketParser::Begin(const u3v::Leader& leader) {
    if (m_Place == Place::InBlock) End(std::nullopt);
    m_PayloadEnded = false;
    m_Place = Place::Lost;
    m_Current.clear();
    try {
        m_Current.push_back(Block{leader, std::nullopt, {}, false, false});
        m_Place = Place::InBlock;
    } catch (const std::bad_alloc&) { // the place is found again by the block's trailer
    }
}

void PacketParser::End(std::optional<u3v::Trailer> trailer) {
    m_Current.front().trailer = trailer;
    m_Blocks.splice(m_Blocks.end(), m_Current);
    m_Place = Place::BetweenBlocks;
}

void PacketParser::Append(u3v::ByteView bytes) {
    if (m_PayloadEnded) return;
    Block& block = m_Current.front();
    const std::uint64_t room = m_MaxPayload - std::min<std::uint64_t>(m_MaxPayload, block.payload.size());
    const u3v::ByteView kept = bytes.First(static_cast<std::size_t>(room));
    block.overran = block.overran || kept.size < bytes.size;
    try {
        block.payload.insert(block.payload.end(), kept.data, kept.data + kept.size);
    } catch (const std::bad_alloc&) {
        block.wasShort = true;
        m_PayloadEnded = true;
    }
}

} // namespace vexlo
