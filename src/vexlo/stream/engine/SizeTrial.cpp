#include "vexlo/stream/engine/SizeTrial.h"

#include "vexlo/Logging.h"
#include "vexlo/stream/StreamSettings.h"

#include <algorithm>
#include <utility>

namespace vexlo {
namespace {

constexpr std::uint32_t kNarrowTransfer = 64u << 10;
constexpr std::chrono::milliseconds kRefusalTimeout{100};
constexpr std::chrono::milliseconds kLastRefusalTimeout{2000}; ///< when transfers cannot be any smaller

} // namespace

void SizeTrial::Use(const u3v::TransferPlan& plan) {
    m_Longest = std::max(plan.payloadCount == 0 ? 0 : plan.payloadSize, plan.final1Size);
}

bool SizeTrial::IsNarrow() const {
    return m_Longest <= kNarrowTransfer;
}

void SizeTrial::Start(Clock::time_point now) {
    m_Silence.SwitchedOn(now);
    if (IsNarrow() || m_Longest <= m_Host.TrustedTransfer()) m_Silence.Ignore();
}

/// Transfers for a whole block wait, and have waited for long, before any block told that their size is good.
void SizeTrial::Look(Clock::time_point now, bool waits) {
    if (m_Silence.IsIgnored()) return;
    if (std::exchange(m_Heard, false) || !waits) m_Silence.Break(now);
    if (m_Silence.IsTooLong(now, m_Host.LastWrite())) OnSilence();
}

/// Smaller transfers are tried once. When they bring nothing either, the camera waits for something, and is left alone
/// from then on.
void SizeTrial::OnSilence() {
    const auto waited = static_cast<unsigned int>(m_Silence.Timeout().count());
    if (m_SilentAt == 0) {
        m_SilentAt = m_Longest;
        m_Wanted = kNarrowTransfer;
        Log(Tavix::kLogWarning, "Nothing came for %u ms with transfers of %u bytes; smaller ones are tried", waited,
            m_SilentAt);
        return;
    }
    m_Silence.Ignore();
    m_Host.TrustTransfers(m_SilentAt);
    Log(Tavix::kLogInfo, "Nothing came for %u ms with smaller transfers either; the camera waits for something",
        waited);
}

/// What is refused for long is too large for the system's memory; when it cannot be smaller, a buffer tells why nothing
/// comes.
SizeTrial::Refusal SizeTrial::NoteRefused(Clock::time_point now, bool mayShrink) {
    if (m_RefusedSince == Clock::time_point{}) m_RefusedSince = now;
    const bool isSmallest = m_Longest <= StreamSettings::kSmallestTransfer;
    if (now - m_RefusedSince < (isSmallest ? kLastRefusalTimeout : kRefusalTimeout)) return Refusal::Wait;
    m_RefusedSince = {};
    if (isSmallest || !mayShrink) return Refusal::GiveUp;
    m_IsForMemory = true;
    m_Wanted = std::max(m_Longest / 4, StreamSettings::kSmallestTransfer);
    return Refusal::TrySmaller;
}

VxStatus SizeTrial::Damage() const {
    if (m_IsForMemory) return VX_E_USB_NO_MEMORY;
    return m_SilentAt != 0 ? VX_E_INCOMPLETE : VX_OK;
}

/// The next time too, if it is sure that they help.
void SizeTrial::TookWanted(const u3v::TransferPlan& plan) {
    if (std::exchange(m_IsForMemory, false)) {
        Log(Tavix::kLogWarning, "The system has no memory for transfers of %u bytes; the camera is given %u bytes",
            m_Longest, m_Wanted);
    } else if (m_SilentAt == 0) {
        Log(Tavix::kLogWarning,
            "No block came whole with transfers of %u bytes; the camera is given %u bytes from now on", m_Longest,
            kNarrowTransfer);
        m_Host.LimitTransfers(kNarrowTransfer);
    }
    m_Wanted = 0;
    Use(plan);
}

[[gnu::hot]] void SizeTrial::NoteBlock(VxStatus status) {
    if (m_FirstBlocks.IsDecided()) return;
    if (m_FirstBlocks.Note(status)) {
        m_Wanted = IsNarrow() ? 0 : kNarrowTransfer;
        m_Silence.Ignore();
    } else if (m_FirstBlocks.IsDecided()) {
        OnFirstWhole();
    }
}

/// A block that follows the smaller transfers soon owes itself to them; one that comes later may have had a reason of
/// its own.
void SizeTrial::OnFirstWhole() {
    const bool isLate = m_Silence.IsIgnored();
    m_Silence.Ignore();
    if (m_SilentAt == 0) return m_Host.TrustTransfers(m_Longest);
    if (isLate) return;
    Log(Tavix::kLogWarning, "Data comes with transfers of %u bytes; the camera is given these from now on",
        kNarrowTransfer);
    m_Host.LimitTransfers(kNarrowTransfer);
}

} // namespace vexlo
