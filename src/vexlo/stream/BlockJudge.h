#pragma once
// From what arrived of a block to what the application is told.

#include "u3v/StreamPacket.h"
#include "vexlo/VxStream.h"

#include <optional>

namespace vexlo {

/// All that is known of a block when it ends.
struct BlockEvidence {
    std::optional<u3v::Leader> leader;   ///< none: missing or malformed
    std::optional<u3v::Trailer> trailer; ///< none: missing or malformed
    std::uint64_t received = 0;          ///< payload bytes that arrived in one piece from the start
    std::uint64_t bufferSize = 0;        ///< bytes that the buffer takes
    VxStatus failure = VX_OK;            ///< why the block ended early, if it did
};

/// The result of a block, handle, buffer and context left empty. A failed one tells how many bytes the buffer holds.
/// Re-entrant.
CVxStream::GrabResult JudgeBlock(const BlockEvidence& evidence);

} // namespace vexlo
