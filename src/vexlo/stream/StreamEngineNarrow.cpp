// Cameras that large transfers bring nothing of, or nothing whole.

#include "StreamEngine.h"

#include "vexlo/Logging.h"
#include "vexlo/stream/StreamSettings.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vexlo {
namespace {

constexpr std::uint32_t kNarrowTransfer = 64u << 10;
constexpr std::chrono::milliseconds kRefusalPatience{100};
constexpr std::chrono::milliseconds kLastPatience{2000}; ///< when transfers cannot be any smaller

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
        m_NarrowTo = kNarrowTransfer;
        Log(Tavix::kLogWarning, "Nothing came for %u ms with transfers of %u bytes; smaller ones are tried", waited,
            m_SilentAt);
        return;
    }
    m_Silence.Ignore();
    m_Host.TrustTransfers(m_SilentAt);
    Log(Tavix::kLogInfo, "Nothing came for %u ms with smaller transfers either; the camera waits for something",
        waited);
}

/// Nothing is queued, and still the system takes nothing. What it refuses for long is too large for its memory; when it
/// cannot be smaller, a buffer tells why nothing comes.
void StreamEngine::OnRefusedAlone(VxStatus status) {
    const Clock::time_point now = Clock::now();
    if (m_RefusedSince == Clock::time_point{}) m_RefusedSince = now;
    const std::uint32_t size = LongestTransfer();
    const bool isSmallest = size <= StreamSettings::kSmallestTransfer;
    if (now - m_RefusedSince < (isSmallest ? kLastPatience : kRefusalPatience)) return;
    m_RefusedSince = {};
    if (isSmallest || m_Mode != Mode::Planned) return Leave(Reason::Restart, status);
    m_IsForMemory = true;
    m_NarrowTo = std::max(size / 4, StreamSettings::kSmallestTransfer);
}

/// The first block is lost if it had begun.
void StreamEngine::LeaveToNarrow() {
    const bool begun = !m_Bound.IsEmpty() && m_Bound.Front()->Leader();
    if (m_IsForMemory) return Leave(Reason::Restart, begun ? VX_E_USB_NO_MEMORY : VX_OK);
    Leave(Reason::Restart, begun && m_SilentAt != 0 ? VX_E_INCOMPLETE : VX_OK);
}

/// Smaller transfers, which every camera can do, from now on; and the next time too, if it is sure that they help.
VxStatus StreamEngine::Narrow() {
    u3v::TransferPlan plan;
    if (const VxStatus status = m_Registers.MakePlan({m_NarrowTo, {}}, plan)) return status;
    const std::uint32_t longest = LongestTransfer();
    try {
        UsePlan(plan);
    } catch (const std::bad_alloc&) {
        return VX_E_NO_MEMORY;
    }
    if (std::exchange(m_IsForMemory, false)) {
        Log(Tavix::kLogWarning, "The system has no memory for transfers of %u bytes; the camera is given %u bytes",
            longest, m_NarrowTo);
    } else if (m_SilentAt == 0) {
        Log(Tavix::kLogWarning,
            "No block came whole with transfers of %u bytes; the camera is given %u bytes from now on", longest,
            kNarrowTransfer);
        m_Host.LimitTransfers(kNarrowTransfer);
    }
    m_NarrowTo = 0;
    return VX_OK;
}

void StreamEngine::NoteFirstBlock(VxStatus status) {
    if (m_FirstBlocks.Note(status)) {
        m_NarrowTo = IsNarrow() ? 0 : kNarrowTransfer;
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
