#include "vexlo/stream/StreamRegisters.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"
#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>
#include <utility>

namespace vexlo {
namespace {

/// Each transfer of a block takes some memory; a camera that asks for more is out of its mind.
constexpr std::uint32_t kMostTransfers = 1u << 16;
/// A thousand times what any leader or trailer takes; whatever a camera states beyond is no size to believe.
constexpr std::uint32_t kLargestPacket = 64u << 10;
constexpr unsigned int kHaltTimeoutMs = 500;

} // namespace

VxStatus StreamRegisters::Read32(std::uint64_t offset, std::uint32_t& value) {
    std::uint8_t bytes[4];
    const VxStatus status = m_Host.ReadRegister(m_Channel.registerBase + offset, bytes, sizeof bytes);
    if (status == VX_OK) value = u3v::Load32(bytes);
    return status;
}

VxStatus StreamRegisters::Read64(std::uint64_t offset, std::uint64_t& value) {
    std::uint8_t bytes[8];
    const VxStatus status = m_Host.ReadRegister(m_Channel.registerBase + offset, bytes, sizeof bytes);
    if (status == VX_OK) value = u3v::Load64(bytes);
    return status;
}

VxStatus StreamRegisters::Write32(std::uint64_t offset, std::uint32_t value) {
    std::uint8_t bytes[4];
    u3v::Store32(bytes, value);
    return m_Host.WriteRegister(m_Channel.registerBase + offset, bytes, sizeof bytes);
}

VxStatus StreamRegisters::MakePlan(const PlanWishes& wishes, u3v::TransferPlan& plan) {
    std::uint32_t control = 0, info = 0;
    if (const VxStatus status = Read32(u3v::sirm::kControl, control)) return status;
    // A predecessor may have crashed while it streamed.
    if (control & u3v::sirm::kControlStreamEnable) {
        if (const VxStatus status = Disable()) return status;
    }
    u3v::TransferNeeds needs;
    if (const VxStatus status = Read32(u3v::sirm::kInfo, info)) return status;
    if (const VxStatus status = Read64(u3v::sirm::kRequiredPayloadSize, needs.payloadSize)) return status;
    if (const VxStatus status = Read32(u3v::sirm::kRequiredLeaderSize, needs.leaderSize)) return status;
    if (const VxStatus status = Read32(u3v::sirm::kRequiredTrailerSize, needs.trailerSize)) return status;
    if (std::max(needs.leaderSize, needs.trailerSize) > kLargestPacket) {
        Log(Tavix::kLogError, "The camera states %u bytes for a leader and %u for a trailer; %u are possible",
            needs.leaderSize, needs.trailerSize, kLargestPacket);
        return VX_E_LEADER_SIZE;
    }
    needs.alignmentExponent = info >> u3v::sirm::kInfoAlignmentShift;
    needs.packetSize = static_cast<std::uint16_t>(m_Channel.maxPacketSize);
    needs.maxTransferSize = SuitableTransferSize(wishes.maxTransferSize, needs.payloadSize, wishes.memory);
    const auto made = u3v::MakeTransferPlan(needs);
    if (!made || made->PayloadTransfers() > kMostTransfers) return VX_E_PAYLOAD_SIZE;
    plan = *made;
    return SelectStandardPayload(info);
}

VxStatus StreamRegisters::SelectStandardPayload(std::uint32_t info) {
    if (!(info & u3v::sirm::kInfoPayloadModes)) return VX_OK;
    return Write32(u3v::sirm::kPayloadMode, u3v::sirm::kPayloadModeStandard);
}

VxStatus StreamRegisters::Program(const u3v::TransferPlan& plan) {
    const std::pair<std::uint64_t, std::uint32_t> registers[] = {
        {u3v::sirm::kMaximumLeaderSize, plan.leaderSize},
        {u3v::sirm::kPayloadTransferSize, plan.payloadSize},
        {u3v::sirm::kPayloadTransferCount, plan.payloadCount},
        {u3v::sirm::kPayloadFinalTransfer1Size, plan.final1Size},
        {u3v::sirm::kPayloadFinalTransfer2Size, plan.final2Size},
        {u3v::sirm::kMaximumTrailerSize, plan.trailerSize},
    };
    for (const auto& [offset, value] : registers) {
        if (const VxStatus status = Write32(offset, value)) return status;
    }
    return VX_OK;
}

VxStatus StreamRegisters::Enable() {
    return Write32(u3v::sirm::kControl, u3v::sirm::kControlStreamEnable);
}

VxStatus StreamRegisters::Disable() {
    return Write32(u3v::sirm::kControl, 0);
}

VxStatus StreamRegisters::ClearHalt() {
    return ToStatus(m_Handle.ClearHalt(m_Channel.endpoint));
}

void StreamRegisters::SetHalt() {
    usb::ControlSetup halt;
    halt.requestType = u3v::descriptor::kRequestTypeEndpointOut;
    halt.request = u3v::descriptor::kRequestSetFeature;
    halt.value = u3v::descriptor::kFeatureEndpointHalt;
    halt.index = m_Channel.endpoint;
    std::size_t actual = 0;
    (void)m_Handle.Control(halt, nullptr, actual, kHaltTimeoutMs);
}

} // namespace vexlo
