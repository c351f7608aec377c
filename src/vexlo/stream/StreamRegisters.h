#pragma once
// The registers of an image stream: what the camera needs, and what it is told.

#include "u3v/TransferPlan.h"
#include "vexlo/stream/StreamHost.h"
#include "vexlo/stream/TransferBudget.h"

namespace vexlo {

/// Every operation is a few register transactions. Thread-safe as its host.
class StreamRegisters {
public:
    struct PlanWishes {
        std::uint32_t maxTransferSize = 0; ///< setting
        TransferMemory memory;
    };

    StreamRegisters(StreamHost& host, usb::Handle& handle, const StreamChannel& channel)
        : m_Host(host), m_Handle(handle), m_Channel(channel) {}

    /// Stops a stream that runs, reads what the camera needs and makes the plan. VX_E_PAYLOAD_SIZE when the camera's
    /// payload is 0 or cannot be planned, VX_E_LEADER_SIZE when it states an absurd leader or trailer.
    [[nodiscard]] VxStatus MakePlan(const PlanWishes& wishes, u3v::TransferPlan& plan);
    /// Tells the camera the sizes of the plan.
    [[nodiscard]] VxStatus Program(const u3v::TransferPlan& plan);
    /// Switches the stream on. The first transfers should be queued by then: some cameras begin to overflow at once.
    [[nodiscard]] VxStatus Enable();
    [[nodiscard]] VxStatus Disable();
    /// Clears the halt of the stream's endpoint; nothing may be queued on it.
    [[nodiscard]] VxStatus ClearHalt();
    /// Sets the halt, for cameras that clearing it alone does not bring to their senses; clear it next. Some cameras
    /// take it badly, so this is no first remedy. A failure means nothing.
    void SetHalt();

private:
    VxStatus Read32(std::uint64_t offset, std::uint32_t& value);
    VxStatus Read64(std::uint64_t offset, std::uint64_t& value);
    VxStatus Write32(std::uint64_t offset, std::uint32_t value);
    VxStatus SelectStandardPayload(std::uint32_t info);

    StreamHost& m_Host;    // borrowed
    usb::Handle& m_Handle; // borrowed
    const StreamChannel m_Channel;
};

} // namespace vexlo
