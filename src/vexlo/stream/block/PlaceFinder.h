#pragma once
// Where a stream is that has left its plan, and the blocks that came meanwhile.

#include "vexlo/stream/block/BlockSlot.h"
#include "vexlo/stream/block/PacketParser.h"

#include <cstdint>
#include <list>
#include <optional>

namespace vexlo {

/// Memory is needed for the blocks that are found, and their list alone. Bound to a thread.
class PlaceFinder {
public:
    using Place = PacketParser::Place;
    enum class Search { Found, GoesOn, InVain };

    explicit PlaceFinder(std::uint32_t maxPacketSize) : m_MaxPacketSize(maxPacketSize) {}

    /// The plan is left here. `capacity`: most payload bytes that a block may bring.
    void Begin(Place place, std::uint64_t capacity);
    /// Lost before the first Begin.
    Place GetPlace() const { return m_Parser ? m_Parser->GetPlace() : Place::Lost; }
    /// A transfer that was in flight when the plan was left, in the order of queuing.
    void Read(const PlannedTransfer& transfer);
    /// All of them are read: the blocks among them are found.
    void EndReading();

    void BeginSearch() { m_Searched = 0; }
    /// A transfer that was queued to find the place.
    Search SearchIn(const PlannedTransfer& transfer);

    /// Whole blocks that wait for buffers, oldest first.
    bool HasFound() const { return !m_Found.empty(); }
    const PacketParser::Block& Found() const { return m_Found.front(); }
    void RemoveFound() { m_Found.pop_front(); }
    void DropAll();

private:
    const std::uint32_t m_MaxPacketSize;
    std::uint64_t m_Capacity = 0;
    std::optional<PacketParser> m_Parser;
    std::list<PacketParser::Block> m_Found;
    std::uint64_t m_Searched = 0; // bytes
};

} // namespace vexlo
