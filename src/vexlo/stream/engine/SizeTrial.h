#pragma once
// Whether blocks come at all with transfers of this size, and which size is tried next.

#include "u3v/TransferPlan.h"
#include "vexlo/stream/StreamHost.h"
#include "vexlo/stream/block/FirstBlocks.h"
#include "vexlo/stream/engine/Silence.h"

#include <chrono>
#include <cstdint>

namespace vexlo {

/// Some cameras bring nothing of large transfers, or nothing whole, and some systems have no memory for them. Bound to
/// a thread.
class SizeTrial {
public:
    using Clock = std::chrono::steady_clock;
    enum class Refusal { Wait, TrySmaller, GiveUp };

    /// `silence`: how long nothing may come before the first block; 0: for ever. The host is borrowed.
    SizeTrial(StreamHost& host, std::chrono::milliseconds silence) : m_Host(host), m_Silence(silence) {}

    /// Transfers are those of this plan from now on.
    void Use(const u3v::TransferPlan& plan);
    /// For the first time, with the sizes of the plan.
    void Start(Clock::time_point now);
    /// The stream is switched on again.
    void SwitchedOn(Clock::time_point now) { m_Silence.SwitchedOn(now); }
    /// A transfer ended.
    void NoteTransfer() { m_Heard = true; }
    /// A transfer was queued.
    void NoteQueued() { m_RefusedSince = {}; }
    /// A block ended with this status.
    void NoteBlock(VxStatus status);
    /// Look is to be called now and then: silence may last too long.
    bool Listens() const { return !m_Silence.IsIgnored(); }
    /// `waits`: transfers for a whole block are in flight.
    void Look(Clock::time_point now, bool waits);
    /// Nothing is in flight, and still the system takes nothing. `mayShrink`: the stream is on its plan.
    Refusal NoteRefused(Clock::time_point now, bool mayShrink);

    /// Size of the smaller transfers that are to be tried; 0: none are.
    std::uint32_t Wanted() const { return m_Wanted; }
    /// Why a block that has begun fails when the smaller ones are tried; VX_OK: it is not known to.
    VxStatus Damage() const;
    /// They are in use: those that were wanted.
    void TookWanted(const u3v::TransferPlan& plan);
    /// Silence is to be looked at after this time; 0: never.
    std::chrono::milliseconds Timeout() const { return m_Silence.Timeout(); }

private:
    bool IsNarrow() const;
    void OnSilence();
    void OnFirstWhole();

    StreamHost& m_Host; // borrowed
    FirstBlocks m_FirstBlocks;
    Silence m_Silence;
    std::uint32_t m_Longest = 0; // transfer of the plan
    std::uint32_t m_Wanted = 0;
    bool m_IsForMemory = false;         // since the system has no memory for larger ones
    Clock::time_point m_RefusedSince{}; // nothing is queued and nothing is taken since then; 0: it is
    bool m_Heard = false;               // a transfer has ended since the last look
    std::uint32_t m_SilentAt = 0;       // size of the transfers that brought nothing, while smaller ones are tried
};

} // namespace vexlo
