// Cameras that large transfers bring nothing of, or nothing whole.

#include "StreamEngine.h"

#include "vexlo/Logging.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vexlo {
namespace {

constexpr std::uint32_t kNarrowTransfer = 64u << 10;

} // namespace

std::uint32_t StreamEngine::LongestTransfer() const {
    return std::max(m_Plan.payloadCount == 0 ? 0 : m_Plan.payloadSize, m_Plan.final1Size);
}

bool StreamEngine::IsNarrow() const {
    return LongestTransfer() <= kNarrowTransfer;
}

/// Transfers for a whole block wait, and have waited for long, before any block told that their size is good.
bool StreamEngine::HearsNothing() {
    if (m_Silence.IsIgnored()) return false;
    const Clock::time_point now = Clock::now();
    const bool waits = m_Mode == Mode::Planned && !m_Bound.IsEmpty() && !m_InFlight.IsEmpty();
    if (std::exchange(m_Heard, false) || !waits) m_Silence.Break(now);
    return m_Silence.IsTooLong(now, m_Host.LastWrite());
}

/// Smaller transfers are tried once. When they bring nothing either, the camera waits for something, and is left alone
/// from then on.
void StreamEngine::OnSilence() {
    const auto waited = static_cast<unsigned int>(m_Silence.Patience().count());
    if (m_SilentAt == 0) {
        m_SilentAt = LongestTransfer();
        m_NarrowIsDue = true;
        Log(Tavix::kLogWarning, "Nothing came for %u ms with transfers of %u bytes; smaller ones are tried", waited,
            m_SilentAt);
        return;
    }
    m_Silence.Ignore();
    m_Host.TrustTransfers(m_SilentAt);
    Log(Tavix::kLogInfo, "Nothing came for %u ms with smaller transfers either; the camera waits for something",
        waited);
}

/// The first block is lost if it had begun.
void StreamEngine::LeaveToNarrow() {
    const bool begun = m_SilentAt != 0 && !m_Bound.IsEmpty() && m_Bound.Front()->Leader();
    Leave(Reason::Restart, begun ? VX_E_INCOMPLETE : VX_OK);
}

/// Smaller transfers, which every camera can do, from now on; and the next time too, if it is sure that they help.
VxStatus StreamEngine::Narrow() {
    u3v::TransferPlan plan;
    if (const VxStatus status = m_Registers.MakePlan({kNarrowTransfer, {}}, plan)) return status;
    const std::uint32_t longest = LongestTransfer();
    try {
        UsePlan(plan);
    } catch (const std::bad_alloc&) {
        return VX_E_NO_MEMORY;
    }
    m_NarrowIsDue = false;
    if (m_SilentAt == 0) {
        Log(Tavix::kLogWarning,
            "No block came whole with transfers of %u bytes; the camera is given %u bytes from now on", longest,
            kNarrowTransfer);
        m_Host.LimitTransfers(kNarrowTransfer);
    }
    return VX_OK;
}

void StreamEngine::NoteFirstBlock(VxStatus status) {
    if (m_FirstBlocks.Note(status)) {
        m_NarrowIsDue = !IsNarrow();
        m_Silence.Ignore();
    } else if (m_FirstBlocks.IsDecided()) {
        OnFirstWhole();
    }
}

/// A block that follows the smaller transfers soon owes itself to them; one that comes later may have had a reason of
/// its own.
void StreamEngine::OnFirstWhole() {
    const bool isLate = m_Silence.IsIgnored();
    m_Silence.Ignore();
    if (m_SilentAt == 0) return m_Host.TrustTransfers(LongestTransfer());
    if (isLate) return;
    Log(Tavix::kLogWarning, "Data comes with transfers of %u bytes; the camera is given these from now on",
        kNarrowTransfer);
    m_Host.LimitTransfers(kNarrowTransfer);
}

} // namespace vexlo
