#include "vexlo/stream/BlockJudge.h"

#include "vexlo/stream/BufferPool.h"

#include <algorithm>

namespace vexlo {
namespace {

std::optional<std::uint64_t> ExpectedImage(const BlockEvidence& e) {
    if (!e.leader || !e.leader->IsImage()) return std::nullopt;
    const std::uint32_t lines =
        e.trailer && e.trailer->sizeY ? std::min(*e.trailer->sizeY, e.leader->sizeY) : e.leader->sizeY;
    return u3v::ImageSize(*e.leader, lines);
}

/// Bytes of the payload that mean something.
std::uint64_t ValidSize(const BlockEvidence& e) {
    if (!e.trailer) return e.received;
    // Some cameras say 0 although the image is there.
    if (e.trailer->validPayloadSize == 0 && e.trailer->status == u3v::status::kSuccess) {
        return std::min(e.received, ExpectedImage(e).value_or(e.received));
    }
    return std::min(e.trailer->validPayloadSize, e.received);
}

VxStatus TrailerStatus(std::uint16_t status) {
    if (!u3v::status::IsError(status)) return VX_OK;
    if (status == u3v::status::kDataDiscarded) return VX_E_DATA_DISCARDED;
    if (status == u3v::status::kDataOverrun) return VX_E_DATA_OVERRUN;
    return VX_E_DEVICE_STATUS_BASE | status;
}

VxStatus BlockStatus(const BlockEvidence& e, std::uint64_t valid) {
    if (e.failure != VX_OK) return e.failure;
    if (!e.leader) return VX_E_BAD_LEADER;
    if (!e.trailer || e.trailer->blockId != e.leader->blockId) return VX_E_BAD_TRAILER;
    if (const VxStatus status = TrailerStatus(e.trailer->status)) return status;
    if (e.trailer->validPayloadSize > e.received) return VX_E_INCOMPLETE;
    if (valid < ExpectedImage(e).value_or(0) || valid == 0) return VX_E_INCOMPLETE;
    return valid > e.bufferSize ? VX_E_BUFFER_TOO_SMALL : VX_OK;
}

void FillGeometry(CVxStream::GrabResult& result, const BlockEvidence& e) {
    const u3v::Leader& leader = *e.leader;
    result.PayloadType = leader.payloadType;
    result.Timestamp = leader.timestamp;
    result.BlockId = leader.blockId;
    if (!leader.IsImage()) return;
    result.PixelFormat = leader.pixelFormat;
    result.G1 = e.trailer && e.trailer->sizeY ? std::min(*e.trailer->sizeY, leader.sizeY) : leader.sizeY;
    result.AnnouncedG1 = leader.sizeY;
    result.G2 = leader.sizeX;
    result.G3 = leader.offsetX;
    result.G4 = leader.offsetY;
    result.H2 = leader.paddingX;
}

} // namespace

[[gnu::hot]] CVxStream::GrabResult JudgeBlock(const BlockEvidence& evidence) {
    const std::uint64_t valid = ValidSize(evidence);
    CVxStream::GrabResult result = EmptyResult(BlockStatus(evidence, valid));
    result.PayloadSize = std::min(valid, evidence.bufferSize);
    if (evidence.trailer) result.ChunkLayoutId = evidence.trailer->chunkLayoutId.value_or(0);
    if (evidence.leader) {
        FillGeometry(result, evidence);
    } else if (evidence.trailer) {
        result.BlockId = evidence.trailer->blockId;
    }
    return result;
}

} // namespace vexlo
