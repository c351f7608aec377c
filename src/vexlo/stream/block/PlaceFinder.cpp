#include "vexlo/stream/block/PlaceFinder.h"

#include <algorithm>

namespace vexlo {
namespace {

/// Bytes that are looked through at least before the place is given up; less may be left of an earlier run.
constexpr std::uint64_t kFewestSearched = 256u << 10;

} // namespace

void PlaceFinder::Begin(Place place, std::uint64_t capacity) {
    m_Capacity = capacity;
    m_Parser.emplace(m_MaxPacketSize, capacity, place);
}

void PlaceFinder::Read(const PlannedTransfer& transfer) {
    if (transfer.unread) {
        if (transfer.usb.actualLength > 0) m_Parser->Skip();
    } else {
        m_Parser->Feed(transfer.usb.buffer, transfer.usb.actualLength, transfer.EndsShort());
    }
    // What a failed transfer has cost shows nowhere; a block that looks whole all the same may not be.
    if (transfer.HasFailed()) m_Parser->Skip();
}

void PlaceFinder::EndReading() {
    m_Found.splice(m_Found.end(), m_Parser->TakeBlocks());
}

/// The rest of one block and the whole of the next must show where a block ends, unless the camera fills leader and
/// trailer up so that they cannot be told from payload. An empty packet counts as well: they must not go on for ever.
PlaceFinder::Search PlaceFinder::SearchIn(const PlannedTransfer& transfer) {
    m_Parser->Feed(transfer.usb.buffer, transfer.usb.actualLength, transfer.EndsShort());
    EndReading();
    if (m_Parser->GetPlace() == Place::BetweenBlocks) return Search::Found;
    m_Searched += std::max<std::uint64_t>(transfer.usb.actualLength, m_MaxPacketSize);
    return m_Searched > std::max(3 * m_Capacity, kFewestSearched) ? Search::InVain : Search::GoesOn;
}

void PlaceFinder::DropAll() {
    if (m_Parser) (void)m_Parser->TakeBlocks();
    m_Found.clear();
}

} // namespace vexlo
