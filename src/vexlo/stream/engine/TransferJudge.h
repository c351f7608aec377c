#pragma once
// What a completed transfer tells, by its length and magic before it is believed.

#include "vexlo/stream/block/BlockSlot.h"
#include "vexlo/stream/engine/RecoveryPolicy.h"

#include <optional>

namespace vexlo {

struct Verdict {
    enum class Next {
        GoOn,
        Again, ///< queue the transfer once more, should none be in flight: its place is still empty
        Leave  ///< the plan, for `cause`
    };

    Next next = Next::GoOn;
    std::optional<BlockEvidence> ended; ///< of the oldest block, if the transfer ended it
    RecoveryPolicy::Cause cause = RecoveryPolicy::Cause::Misfit;
    VxStatus damage = VX_OK;  ///< of the oldest block then left; VX_OK: it is not damaged
    bool isMisplaced = false; ///< the transfer's bytes are those of another role, and to be read as packets
    std::uint64_t copiedBytes = 0;
};

/// Looks at transfers in the order of the plan. It knows blocks and bytes and no bus. Bound to a thread.
class TransferJudge {
public:
    Verdict Judge(PlannedTransfer& transfer);
    /// All blocks were given up.
    void Forget() { m_Late = nullptr; }

private:
    void JudgeLeader(PlannedTransfer& transfer, Verdict& verdict);
    void JudgeTrailer(PlannedTransfer& transfer, Verdict& verdict);
    bool TakeLateTrailer(const PlannedTransfer& transfer, Verdict& verdict);

    BlockSlot* m_Late = nullptr; // the oldest block, when something empty came in its trailer's place
};

} // namespace vexlo
